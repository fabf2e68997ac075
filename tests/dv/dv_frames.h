#pragma once

/// @file
/// The real frames that the tests read, and the edits that they make to copies of them.

#include <cstddef>
#include <functional>
#include <initializer_list>
#include <string>
#include <vector>

#include "platform/win_types.h"

namespace nyx::test {

/// One compressed frame in memory of exactly its size, so that a sanitizer sees a read past it.
class DvFrame {
  public:
    explicit DvFrame(std::vector<BYTE> bytes) : bytes_(std::move(bytes)) {}

    /// `size` bytes of 0xFF, which no search takes for a pack.
    static DvFrame Blank(std::size_t size) { return DvFrame(std::vector<BYTE>(size, 0xFF)); }

    const BYTE* data() const { return bytes_.data(); }
    std::size_t size() const { return bytes_.size(); }
    std::size_t Sequences() const { return size() / 12000; }
    BYTE& operator[](std::size_t offset) { return bytes_.at(offset); }

    /// Where in the frame `pack`, a result of the parser, lies; -1 for null.
    std::ptrdiff_t OffsetOf(const BYTE* pack) const { return pack ? pack - data() : -1; }

    /// Writes one pack, ID byte first.
    void Put(std::size_t offset, std::initializer_list<BYTE> pack);

    /// Calls `edit` with every pack of ID `id` in the audio, VAUX and subcode areas.
    void EditPacks(BYTE id, const std::function<void(BYTE* pack)>& edit);

    /// Overwrites every pack of ID `id` by an empty one.
    void RemovePacks(BYTE id);

    /// Sets byte `index` (1..4) of every pack of ID `id`.
    void SetPackByte(BYTE id, std::size_t index, BYTE value);

    /// Sets header bytes 4 to 7 and the subcode repetitions of the application ID everywhere.
    void SetApplicationId(BYTE id);

  private:
    std::vector<BYTE> bytes_;
};

/// Byte of a sequence where things lie, as the standards' block layouts give it.
std::size_t AudioPackByte(std::size_t block);
std::size_t VauxPackByte(std::size_t index);
std::size_t SubcodePackByte(std::size_t syncBlock);

/// Frame `index` of the clip `name`, whose frames are `frameBytes` long. A missing clip fails the
/// test and gives a blank frame.
DvFrame LoadFrame(const std::string& name, std::size_t frameBytes, std::size_t index = 0);

/// A clip, and what its frames are.
struct Clip {
    const char* name;
    std::size_t frameBytes;
};
constexpr Clip kClips[] = {
    {"dv25_525_4x3", 120000},     {"dv25_525_16x9", 120000},   {"dv25_625_4x3", 144000},
    {"dv25_625_16x9", 144000},    {"dv25_625_silent", 144000}, {"dvcpro25_625", 144000},
    {"dvcpro50_525", 240000},     {"dvcpro50_625", 288000},    {"dvcprohd_1080_60", 480000},
    {"dvcprohd_1080_50", 576000}, {"dvcprohd_720_60", 240000}, {"dvcprohd_720_50", 288000},
};

}  // namespace nyx::test

#pragma once

/// @file
/// The real frames that the tests read, and the edits that they make to copies of them.

#include <gtest/gtest.h>

#include <algorithm>
#include <fstream>
#include <initializer_list>
#include <map>
#include <string>
#include <vector>

#include "platform/win_types.h"

namespace nyx::test {

/// Byte of a sequence where packs lie, as the standards' block layouts give it.
inline std::size_t AudioPackByte(std::size_t block) {
    return 483 + 1280 * block;
}
inline std::size_t VauxPackByte(std::size_t index) {
    return 243 + 5 * (index + index / 15);
}
inline std::size_t SubcodePackByte(std::size_t syncBlock) {
    return 86 + 8 * (syncBlock + 4 * (syncBlock / 6));
}

/// All of them in `sequences` sequences: audio, VAUX, subcode.
inline std::vector<std::size_t> PackBytes(std::size_t sequences) {
    std::vector<std::size_t> places;
    for (std::size_t at = 0; at < sequences * 66; ++at) {
        const std::size_t i = at % 66;
        places.push_back(at / 66 * 12000 + (i < 9    ? AudioPackByte(i)
                                            : i < 54 ? VauxPackByte(i - 9)
                                                     : SubcodePackByte(i - 54)));
    }
    return places;
}

/// One compressed frame in memory of exactly its size, so that a sanitizer sees a read past it.
class DvFrame {
  public:
    explicit DvFrame(std::vector<BYTE> bytes) : bytes_(std::move(bytes)) {}

    /// `size` bytes of 0xFF, which no search takes for a pack.
    static DvFrame Blank(std::size_t size) { return DvFrame(std::vector<BYTE>(size, 0xFF)); }

    const BYTE* data() const { return bytes_.data(); }
    std::size_t size() const { return bytes_.size(); }
    BYTE& operator[](std::size_t offset) { return bytes_.at(offset); }
    DvFrame Cut(std::size_t size) const { return DvFrame({data(), data() + size}); }

    /// Where in the frame `pack`, a result of the parser, lies.
    std::size_t OffsetOf(const BYTE* pack) const { return std::size_t(pack - data()); }

    /// Writes one pack, ID byte first.
    void Put(std::size_t offset, std::initializer_list<BYTE> pack) {
        std::copy(pack.begin(), pack.end(), &bytes_.at(offset));
    }
    /// Sets byte `index` (1..4) of every pack of ID `id`; 0 makes the packs unknown ones.
    void SetPackByte(BYTE id, std::size_t index, BYTE value) {
        for (const std::size_t place : PackBytes(size() / 12000)) {
            BYTE* pack = &bytes_.at(place);
            pack[index] = *pack == id ? value : pack[index];
        }
    }
    /// Sets header bytes 4 to 7 and the subcode repetitions of the application ID everywhere, to
    /// the digits of `ids` in this order.
    void SetApplicationId(const std::string& ids, std::size_t first = 0, std::size_t count = 99) {
        const std::size_t end = std::min(size(), (first + count) * 12000);
        for (std::size_t sequence = first * 12000; sequence < end; sequence += 12000) {
            auto id = ids.begin();
            for (const std::size_t at : {4u, 5u, 6u, 7u, 83u, 163u, 203u}) {
                const int shift = at < 8 ? 0 : 4;
                BYTE& byte = bytes_.at(sequence + at);
                byte = static_cast<BYTE>((byte & ~(7 << shift)) | (*id++ - '0') << shift);
            }
        }
    }

  private:
    std::vector<BYTE> bytes_;
};

/// The clips, and the size of their frames.
inline const std::map<std::string, std::size_t> kClips = {
    {"dv25_525_4x3", 120000},     {"dv25_525_16x9", 120000},   {"dv25_625_4x3", 144000},
    {"dv25_625_16x9", 144000},    {"dv25_625_silent", 144000}, {"dvcpro25_625", 144000},
    {"dvcpro50_525", 240000},     {"dvcpro50_625", 288000},    {"dvcprohd_1080_60", 480000},
    {"dvcprohd_1080_50", 576000}, {"dvcprohd_720_60", 240000}, {"dvcprohd_720_50", 288000},
};

/// Frame `index` of a clip. A missing clip fails the test and gives a blank frame.
inline DvFrame LoadFrame(const std::string& clip, std::size_t index = 0) {
    DvFrame frame = DvFrame::Blank(kClips.at(clip));
    std::ifstream file(std::string(NYX_DV_FRAMES) + "/" + clip + ".dv", std::ios::binary);
    file.seekg(static_cast<std::streamoff>(index * frame.size()));
    file.read(reinterpret_cast<char*>(&frame[0]), static_cast<std::streamsize>(frame.size()));
    EXPECT_TRUE(file) << clip << ": no frame " << index << "; run the dv_frames fixture";
    return frame;
}

}  // namespace nyx::test

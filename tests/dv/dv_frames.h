#pragma once

/// @file
/// The real frames that the tests read, and the edits that they make to copies of them.

#include <gtest/gtest.h>

#include <algorithm>
#include <fstream>
#include <initializer_list>
#include <string>
#include <vector>

#include "platform/win_types.h"
#include "tests/support/material.h"

namespace nyx::test {

/// Byte of a sequence where packs lie, as the standards' block layouts give it.
inline std::size_t AudioPackByte(std::size_t block) {
    return 483 + 1280 * block;
}
inline std::size_t SubcodePackByte(std::size_t syncBlock) {
    return 86 + 8 * (syncBlock + 4 * (syncBlock / 6));
}

/// All of them in `sequences` sequences: audio, VAUX, subcode.
inline std::vector<std::size_t> PackBytes(std::size_t sequences) {
    std::vector<std::size_t> places;
    for (std::size_t start = 0; start < sequences * 12000; start += 12000) {
        for (std::size_t i = 0; i < 9; ++i) {
            places.push_back(start + AudioPackByte(i));
        }
        for (std::size_t i = 0; i < 45; ++i) {
            places.push_back(start + 243 + 5 * (i + i / 15));
        }
        for (std::size_t i = 0; i < 12; ++i) {
            places.push_back(start + SubcodePackByte(i));
        }
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
    /// Sets header bytes 4 to 7 and the subcode repetitions of the application ID in `count`
    /// sequences, to the digits of `ids` in this order.
    void SetApplicationId(const std::string& ids, std::size_t count = 99) {
        for (std::size_t i = 0; i < std::min(count, size() / 12000) * 7; ++i) {
            constexpr std::size_t kPlaces[] = {4, 5, 6, 7, 83, 163, 203};
            BYTE& byte = bytes_.at(i / 7 * 12000 + kPlaces[i % 7]);
            const int shift = i % 7 < 4 ? 0 : 4;
            byte = static_cast<BYTE>((byte & ~(7 << shift)) | (ids[i % 7] - '0') << shift);
        }
    }

  private:
    std::vector<BYTE> bytes_;
};

/// Frame `index` of a clip, whose name has the size. A missing clip fails the test and gives a
/// blank frame.
inline DvFrame LoadFrame(const std::string& clip, std::size_t index = 0) {
    const auto has = [&clip](const char* part) { return clip.find(part) != std::string::npos; };
    const std::size_t channel = has("_60") || has("525") ? 120000 : 144000;
    DvFrame frame = DvFrame::Blank((has("1080") ? 2u : 1u) * (has("25_") ? 1u : 2u) * channel);
    std::ifstream file(MaterialFile("dv/" + clip + ".dv"), std::ios::binary);
    file.seekg(static_cast<std::streamoff>(index * frame.size()));
    file.read(reinterpret_cast<char*>(&frame[0]), static_cast<std::streamsize>(frame.size()));
    EXPECT_TRUE(file) << clip << ": no frame " << index << "; run the fixture";
    return frame;
}

}  // namespace nyx::test

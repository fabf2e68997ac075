#include "tests/dv/dv_frames.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <fstream>

namespace nyx::test {

std::size_t AudioPackByte(std::size_t block) {
    return 483 + 1280 * block;
}
std::size_t VauxPackByte(std::size_t index) {
    return 243 + 5 * (index + index / 15);
}
std::size_t SubcodePackByte(std::size_t syncBlock) {
    return 86 + 8 * (syncBlock + 4 * (syncBlock / 6));
}

void DvFrame::Put(std::size_t offset, std::initializer_list<BYTE> pack) {
    for (const BYTE byte : pack) {
        bytes_.at(offset++) = byte;
    }
}

void DvFrame::EditPacks(BYTE id, const std::function<void(BYTE*)>& edit) {
    std::vector<std::size_t> places;
    for (std::size_t block = 0; block < 9; ++block) {
        places.push_back(AudioPackByte(block));
    }
    for (std::size_t index = 0; index < 45; ++index) {
        places.push_back(VauxPackByte(index));
    }
    for (std::size_t syncBlock = 0; syncBlock < 12; ++syncBlock) {
        places.push_back(SubcodePackByte(syncBlock));
    }
    for (std::size_t sequence = 0; sequence < Sequences(); ++sequence) {
        for (const std::size_t place : places) {
            BYTE* pack = &bytes_.at(sequence * 12000 + place);
            if (*pack == id) {
                edit(pack);
            }
        }
    }
}

void DvFrame::RemovePacks(BYTE id) {
    EditPacks(id, [](BYTE* pack) { std::fill_n(pack, 5, BYTE{0xFF}); });
}

void DvFrame::SetPackByte(BYTE id, std::size_t index, BYTE value) {
    EditPacks(id, [=](BYTE* pack) { pack[index] = value; });
}

void DvFrame::SetApplicationId(BYTE id) {
    const auto set = [this](std::size_t at, unsigned shift, BYTE value) {
        bytes_.at(at) =
            static_cast<BYTE>((bytes_.at(at) & ~(7u << shift)) | unsigned{value} << shift);
    };
    for (std::size_t sequence = 0; sequence < Sequences(); ++sequence) {
        for (std::size_t at = 4; at <= 7; ++at) {
            set(sequence * 12000 + at, 0, id);
        }
        for (const std::size_t at : {std::size_t{83}, std::size_t{163}, std::size_t{203}}) {
            set(sequence * 12000 + at, 4, id);
        }
    }
}

DvFrame LoadFrame(const std::string& name, std::size_t frameBytes, std::size_t index) {
    DvFrame frame = DvFrame::Blank(frameBytes);
    std::ifstream file(std::string(NYX_DV_FRAMES) + "/" + name + ".dv", std::ios::binary);
    file.seekg(static_cast<std::streamoff>(index * frameBytes));
    file.read(reinterpret_cast<char*>(&frame[0]), static_cast<std::streamsize>(frameBytes));
    EXPECT_TRUE(file) << name << ": no frame " << index << "; run the dv_frames fixture";
    return frame;
}

}  // namespace nyx::test

#include "tests/convert/picture.h"

#include <algorithm>
#include <cstring>

namespace nyx::test {
namespace {

/// The same numbers on every platform, which the library's distributions do not promise.
class Bytes {
  public:
    Bytes(Content content, std::uint32_t seed) : content_(content), engine_(seed) {}

    unsigned operator()() {
        constexpr BYTE kExtremes[] = {0, 1, 15, 16, 127, 128, 129, 235, 240, 254, 255, 0, 255};
        const auto number = engine_();
        if (content_ == Content::kRandom || number % 16 == 0) {
            return number >> 8 & 255;
        }
        return kExtremes[(number >> 8) % sizeof kExtremes];
    }

  private:
    Content content_;
    std::mt19937 engine_;
};

}  // namespace

Picture::Picture(std::size_t rowBytes, LONG height, Placement placement)
    : rowBytes_(rowBytes), height_(height) {
    const std::size_t pitch = rowBytes + placement.gap;
    const auto rows = static_cast<std::size_t>(height);
    bytes_.assign(placement.lead + pitch * (rows - 1) + rowBytes, kCanary);
    bytes_.shrink_to_fit();
    const LONG signedPitch = static_cast<LONG>(pitch) * (placement.bottomUp ? -1 : 1);
    const std::size_t first = placement.bottomUp ? pitch * (rows - 1) : 0;
    plane_ = {bytes_.data() + placement.lead + first, signedPitch,
              signedPitch - static_cast<LONG>(rowBytes)};
}

bool Picture::SurroundingsUntouched() const {
    std::vector<BYTE> copy = bytes_;
    for (LONG y = 0; y < height_; ++y) {
        std::memset(copy.data() + (Row(y) - bytes_.data()), kCanary, rowBytes_);
    }
    return std::count(copy.begin(), copy.end(), kCanary) ==
           static_cast<std::ptrdiff_t>(copy.size());
}

bool Picture::Untouched() const {
    return std::count(bytes_.begin(), bytes_.end(), kCanary) ==
           static_cast<std::ptrdiff_t>(bytes_.size());
}

bool SameRows(const Picture& a, const Picture& b) {
    for (LONG y = 0; y < a.height(); ++y) {
        if (std::memcmp(a.Row(y), b.Row(y), a.rowBytes()) != 0) {
            return false;
        }
    }
    return true;
}

std::uint64_t Digest(const Picture& picture) {
    std::uint64_t digest = 0xCBF29CE484222325;
    for (LONG y = 0; y < picture.height(); ++y) {
        for (std::size_t i = 0; i < picture.rowBytes(); ++i) {
            digest = (digest ^ picture.Row(y)[i]) * 0x100000001B3;
        }
    }
    return digest;
}

void FillContent(Picture& picture, Content content, std::uint32_t seed) {
    picture.Fill(Bytes(content, seed));
}

void FillTenBitContent(Picture& picture, Content content, std::uint32_t seed) {
    Bytes bytes(content, seed);
    for (LONG y = 0; y < picture.height(); ++y) {
        for (std::size_t i = 0; i < picture.rowBytes(); i += 2) {
            const unsigned sample = bytes() << 2 | (bytes() & 3);
            const unsigned above = bytes() < 8 ? bytes() & 0xFC : 0;
            picture.Row(y)[i] = static_cast<BYTE>(sample);
            picture.Row(y)[i + 1] = static_cast<BYTE>(sample >> 8 | above);
        }
    }
}

}  // namespace nyx::test

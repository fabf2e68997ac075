#pragma once

/// @file
/// Planes for the tests: exactly as large as the picture, so that the address sanitizer sees a byte
/// too far on either side, with gaps whose bytes must stay as they are.

#include <cstdint>
#include <random>
#include <vector>

#include "convert/convert.h"

namespace nyx::test {

/// How a plane lies in memory.
struct Placement {
    std::size_t lead;  ///< bytes before the first row in memory: 0, or an odd number
    std::size_t gap;   ///< bytes between rows
    bool bottomUp;
};

constexpr Placement kTight = {0, 0, false};

/// A plane of `height` rows of `rowBytes`. No byte follows the last row.
class Picture {
  public:
    Picture(std::size_t rowBytes, LONG height, Placement placement = kTight);

    Picture(const Picture&) = delete;
    Picture& operator=(const Picture&) = delete;

    const ImagePlane* plane() const { return &plane_; }
    BYTE* Row(LONG y) { return plane_.data + std::ptrdiff_t{plane_.pitch} * y; }
    const BYTE* Row(LONG y) const { return plane_.data + std::ptrdiff_t{plane_.pitch} * y; }
    std::size_t rowBytes() const { return rowBytes_; }
    LONG height() const { return height_; }

    /// Fills the rows, in processing order, with `next()`.
    template <class Next>
    void Fill(Next next) {
        for (LONG y = 0; y < height_; ++y) {
            for (std::size_t i = 0; i < rowBytes_; ++i) {
                Row(y)[i] = static_cast<BYTE>(next());
            }
        }
    }

    /// Gaps and lead are as they were made.
    bool SurroundingsUntouched() const;
    /// As above, and the rows as well.
    bool Untouched() const;

  private:
    static constexpr BYTE kCanary = 0xA5;

    std::size_t rowBytes_;
    LONG height_;
    std::vector<BYTE> bytes_;
    ImagePlane plane_;
};

/// Rows are equal, byte for byte.
bool SameRows(const Picture& a, const Picture& b);

/// The FNV-1a digest of the rows.
std::uint64_t Digest(const Picture& picture);

/// Sources of bytes. Adversarial bytes are mostly the extremes and their neighbours.
enum class Content { kRandom, kAdversarial };
void FillContent(Picture& picture, Content content, std::uint32_t seed);

/// As FillContent for a "W210" plane: words of 0 to 1023, now and then with bits above them.
void FillTenBitContent(Picture& picture, Content content, std::uint32_t seed);

}  // namespace nyx::test

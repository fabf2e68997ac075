/// Every conversion against the plain reference, at each tail length, with the planes directly
/// before or behind memory that may not be touched.

#include <gtest/gtest.h>

#include <random>

#include "convert/cpu_info.h"
#include "convert/formats.h"
#include "tests/support/conversion_reference.h"
#include "tests/support/guard.h"

namespace nyx::test {
namespace {

constexpr LONG kHeight = 3;
constexpr BYTE kUntouched = 0xA5;

/// How planes lie in memory: bytes between rows, the last row first, against which guarded page.
struct Placement {
    LONG gap;
    bool bottomUp, atEnd;
};
constexpr Placement kPlacements[] = {
    {0, false, true}, {5, false, false}, {7, true, true}, {1, true, false}};

/// A plane in guarded memory and its twin for the reference, gaps included.
struct Plane {
    ImagePlane guarded, unguarded;

    void Shape(LONG rowBytes, Placement placement) {
        const auto size = static_cast<std::size_t>((rowBytes + placement.gap) * (kHeight - 1));
        twin_.assign(size + static_cast<std::size_t>(rowBytes), kUntouched);
        data_ = placement.atEnd ? end_.data() + end_.size() - twin_.size() : start_.data();
        std::copy(twin_.begin(), twin_.end(), data_);
        const LONG pitch = (rowBytes + placement.gap) * (placement.bottomUp ? -1 : 1);
        const std::size_t first = placement.bottomUp ? size : 0;
        // Rows follow each other by the bytes written and the gap: the pitch is not looked at.
        guarded = {data_ + first, 12345, pitch - rowBytes};
        unguarded = {twin_.data() + first, -7, pitch - rowBytes};
    }
    /// Mostly the extremes and their neighbours; the same on every platform.
    void Fill(std::uint32_t seed) {
        constexpr BYTE kExtremes[] = {0, 1, 15, 16, 127, 128, 129, 235, 240, 254, 255, 3};
        std::generate_n(data_, twin_.size(), [&, random = std::mt19937(seed)]() mutable {
            const auto number = random();
            return number % 4 == 0 ? static_cast<BYTE>(number >> 8)
                                   : kExtremes[(number >> 8) % sizeof kExtremes];
        });
        std::copy_n(data_, twin_.size(), twin_.begin());
    }
    bool Agrees() const { return std::equal(twin_.begin(), twin_.end(), data_); }

  private:
    GuardedMemory end_{32768}, start_{32768, 0, GuardedMemory::Edge::kStart};
    std::vector<BYTE> twin_;
    BYTE* data_ = nullptr;
};

bool IsYuv(DWORD fourcc) {
    return fourcc == kYuy2 || fourcc == kW210;
}

/// The planes of one conversion; runs it and the reference.
struct Planes {
    Plane source, destination, sourceAlpha, destinationAlpha;

    /// A set bit of `alphas` gives the source an alpha plane, the next one the destination.
    void Check(const ConversionKind& kind, int alphas, LONG width, Placement placement) {
        destination.Shape(width * BytesPerPixel(kind.destination), placement);
        destinationAlpha.Shape(width, placement);
        const auto planes = [&](ImagePlane Plane::*of) -> ConversionPlanes {
            return {&(source.*of), &(destination.*of), alphas & 1 ? &(sourceAlpha.*of) : nullptr,
                    alphas & 2 ? &(destinationAlpha.*of) : nullptr};
        };
        const ConversionPlanes p = planes(&Plane::guarded), twins = planes(&Plane::unguarded);
        const DWORD yuv = kind.matrix == kMatrixBt709 ? 2 : 0, rgb = kind.range == kFullRange;
        const auto compare = [&](const auto& convert, auto run) {
            Conversion conversion;
            ASSERT_EQ(ChooseConversion(kind, &conversion), S_OK);
            ASSERT_TRUE(convert.Has(conversion.numbers));
            if (kind.matrix != kMatrixBt2020) {  // the entries have no code for it
                ASSERT_EQ(run(), S_OK);
                reference::Convert(convert, twins, width, kHeight);
            }
        };
        if (IsYuv(kind.source)) {
            compare(reference::ToRgb(kind), [&] {
                return ConvertFromYuv(p.source, p.sourceAlpha, kind.source, yuv,
                                      kind.sourceAlphaMode, p.destination, kind.destination, rgb,
                                      kind.destinationAlphaMode, width, kHeight);
            });
        } else {
            compare(reference::ToYuv(kind), [&] {
                return ConvertToYuv(p.source, kind.source, rgb, p.sourceAlpha, p.destination,
                                    p.destinationAlpha, kind.destination, yuv, kind.sourceAlphaMode,
                                    width, kHeight);
            });
        }
        ASSERT_TRUE(destination.Agrees() && destinationAlpha.Agrees() && source.Agrees())
            << width << ' ' << kind.matrix << kind.range << alphas << kind.sourceAlphaMode
            << kind.destinationAlphaMode;
    }

    /// All matrices, ranges and uses of alpha at one width.
    void CheckAll(DWORD from, DWORD to, LONG width, Placement placement, std::uint32_t seed) {
        const bool back = IsYuv(to);
        const bool deep = FindPixelFormat(back ? from : to)->kind == FormatKind::kDeepRgb;
        source.Shape(width * BytesPerPixel(from), placement);
        source.Fill(seed);
        sourceAlpha.Shape(width, placement);
        sourceAlpha.Fill(seed + 1);
        const int alphas = back ? 4 : 2;
        for (int i = 0; i < 6 * alphas * (deep ? 4 : 1); ++i) {
            const LONG mode = i / 6 / alphas % 2;
            const LONG otherMode = back ? mode : i / 6 / alphas / 2;
            const int planes = i / 6 % alphas;
            Check({.source = from,
                   .destination = to,
                   .range = i % 2,
                   .matrix = 2 + i / 2 % 3,
                   .alphaPlane = planes != 0,
                   .sourceAlphaMode = mode,
                   .destinationAlphaMode = otherMode},
                  planes, width, placement);
        }
    }
};

TEST(Kernels, EqualTheReferenceAndTouchNothingElse) {
    Planes planes;
    for (std::size_t pair = 0; pair < 4 * 13; ++pair) {
        DWORD from = pair % 2 == 0 ? kYuy2 : kW210, to = reference::kLayouts[2 + pair / 4].fourcc;
        if (pair % 4 >= 2) {
            std::swap(from, to);
        }
        SCOPED_TRACE(testing::Message() << std::hex << from << " to " << to);
        std::uint32_t seed = from ^ to;
        for (LONG width = 2; width <= 50; width += 2) {
            for (const Placement& placement : kPlacements) {
                // Every tail with every placement, longer rows with one.
                if (width <= 18 || ++seed % 4 == 0) {
                    planes.CheckAll(from, to, width, placement, ++seed);
                }
            }
        }
        planes.CheckAll(from, to, 322, kPlacements[0], seed);
        ASSERT_FALSE(HasFatalFailure());
    }
}

}  // namespace
}  // namespace nyx::test

/// Every conversion against the plain reference: each pair, matrix, range and way of alpha, at each
/// tail length, with the planes directly before or behind memory that may not be touched.

#include <gtest/gtest.h>

#include <random>

#include "convert/cpu_info.h"
#include "convert/formats.h"
#include "tests/convert/reference.h"
#include "tests/support/guard.h"

namespace nyx::test {
namespace {

constexpr DWORD kRgbFormats[] = {kBgr3, kRgb3, kBgra, kRgba, kArgb, k48rl, k64al,
                                 kA46l, kL64a, k30rl, k40al, kA04l, kL40a};
constexpr LONG kHeight = 3;
constexpr BYTE kUntouched = 0xA5;

/// Mostly the extremes and their neighbours; the same on every platform.
BYTE RandomByte(std::mt19937& engine) {
    constexpr BYTE kExtremes[] = {0, 1, 15, 16, 127, 128, 129, 235, 240, 254, 255, 3};
    const auto number = engine();
    return number % 4 == 0 ? static_cast<BYTE>(number >> 8)
                           : kExtremes[(number >> 8) % sizeof kExtremes];
}

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
    void Fill(std::uint32_t seed) {
        std::generate(twin_.begin(), twin_.end(),
                      [engine = std::mt19937(seed)]() mutable { return RandomByte(engine); });
        std::copy(twin_.begin(), twin_.end(), data_);
    }
    bool Agrees() const { return std::equal(twin_.begin(), twin_.end(), data_); }

  private:
    GuardedMemory end_{32768}, start_{32768, 0, GuardedMemory::Edge::kStart};
    std::vector<BYTE> twin_;
    BYTE* data_ = nullptr;
};

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
        Conversion conversion;
        ASSERT_EQ(ChooseConversion(kind, &conversion), S_OK);
        ASSERT_EQ(RunConversion(GetCpuInfo(), conversion, planes(&Plane::guarded), width, kHeight),
                  S_OK);
        const ConversionPlanes twins = planes(&Plane::unguarded);
        reference::WithConversion(kind, [&](const auto& convert) {
            ASSERT_TRUE(convert.Has(conversion.numbers));
            for (LONG y = 0; y < kHeight; ++y) {
                const auto row = [&](const ImagePlane* plane, LONG bytes) {
                    return plane ? plane->data + (width * bytes + plane->rowGap) * y : nullptr;
                };
                for (LONG x = 0; x < width; ++x) {
                    convert(row(twins.source, convert.kFromBytes), row(twins.sourceAlpha, 1),
                            row(twins.destination, convert.kToBytes),
                            row(twins.destinationAlpha, 1), static_cast<std::size_t>(x),
                            static_cast<std::size_t>(width));
                }
            }
        });
        ASSERT_TRUE(destination.Agrees() && destinationAlpha.Agrees() && source.Agrees())
            << "width " << width << " matrix " << kind.matrix << " range " << kind.range
            << " alpha " << alphas << kind.sourceAlphaMode << kind.destinationAlphaMode;
    }

    /// All matrices, ranges and ways of alpha at one width.
    void CheckAll(DWORD from, DWORD to, LONG width, Placement placement, std::uint32_t seed) {
        const bool back = FindPixelFormat(to)->kind == FormatKind::kYuv422;
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
            Check({from, to, i % 2, 2 + i / 2 % 3, planes != 0, mode, otherMode}, planes, width,
                  placement);
        }
    }
};

TEST(Kernels, EqualTheReferenceAndTouchNothingElse) {
    Planes planes;
    for (std::size_t pair = 0; pair < 4 * std::size(kRgbFormats); ++pair) {
        DWORD from = pair % 2 == 0 ? kYuy2 : kW210, to = kRgbFormats[pair / 4];
        pair % 4 >= 2 ? std::swap(from, to) : void();
        SCOPED_TRACE(testing::Message() << std::hex << from << " to " << to);
        std::uint32_t seed = from ^ to;
        for (LONG width = 2; width <= 70; width += 2) {
            for (const Placement& placement : kPlacements) {
                // Every tail with every placement, longer rows with one.
                if (width <= 18 || ++seed % 4 == 0) {
                    planes.CheckAll(from, to, width, placement, ++seed);
                }
            }
        }
        planes.CheckAll(from, to, 722, kPlacements[0], seed);
        ASSERT_FALSE(HasFatalFailure());
    }
}

}  // namespace
}  // namespace nyx::test

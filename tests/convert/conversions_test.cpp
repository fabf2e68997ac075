/// Every conversion against the plain reference, at each tail length, with the planes directly
/// before or behind memory that may not be touched; what the entries refuse.

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

/// The planes of conversions; runs them and the reference.
struct Planes {
    Plane source, destination, sourceAlpha, destinationAlpha;

    /// All matrices, ranges and uses of alpha at one width.
    void CheckAll(DWORD from, DWORD to, LONG width, Placement placement, std::uint32_t seed) {
        const bool back = to == kYuy2 || to == kW210;
        const bool deep = FindPixelFormat(back ? from : to)->kind == FormatKind::kDeepRgb;
        source.Shape(width * BytesPerPixel(from), placement);
        source.Fill(seed);
        sourceAlpha.Shape(width, placement);
        sourceAlpha.Fill(seed + 1);
        const int alphas = back ? 4 : 2;
        for (int i = 0; i < 6 * alphas * (deep ? 4 : 1); ++i) {
            // A set bit of `given` gives the source an alpha plane, the next one the destination.
            const int given = i / 6 % alphas;
            const LONG mode = i / 6 / alphas % 2, otherMode = back ? mode : i / 6 / alphas / 2;
            const ConversionKind kind = {from,       to,   i % 2,    2 + i / 2 % 3,
                                         given != 0, mode, otherMode};
            destination.Shape(width * BytesPerPixel(to), placement);
            destinationAlpha.Shape(width, placement);
            const auto planes = [&](ImagePlane Plane::*of) -> ConversionPlanes {
                return {&(source.*of), &(destination.*of), given & 1 ? &(sourceAlpha.*of) : nullptr,
                        given & 2 ? &(destinationAlpha.*of) : nullptr};
            };
            const ConversionPlanes p = planes(&Plane::guarded), twins = planes(&Plane::unguarded);
            const DWORD yuv = kind.matrix == kMatrixBt709 ? 2 : 0, rgb = kind.range == kFullRange;
            const auto compare = [&](const auto& convert) {
                Conversion conversion;
                ASSERT_EQ(ChooseConversion(kind, &conversion), S_OK);
                ASSERT_TRUE(convert.Has(conversion.numbers));
                if (kind.matrix == kMatrixBt2020) {  // the entries have no code for it
                    return;
                }
                ASSERT_EQ(back ? ConvertToYuv(p.source, from, rgb, p.sourceAlpha, p.destination,
                                              p.destinationAlpha, to, yuv, mode, width, kHeight)
                               : ConvertFromYuv(p.source, p.sourceAlpha, from, yuv, mode,
                                                p.destination, to, rgb, otherMode, width, kHeight),
                          S_OK);
                reference::Convert(convert, twins, width, kHeight);
            };
            back ? compare(reference::ToYuv(kind)) : compare(reference::ToRgb(kind));
            ASSERT_TRUE(destination.Agrees() && destinationAlpha.Agrees() && source.Agrees())
                << width << ' ' << kind.matrix << kind.range << given << mode << otherMode;
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

/// A valid request that a case spoils; planes are there or null, with data or without.
struct Request {
    DWORD yuv = kYuy2, rgb = kBgra, yuvFlags = 0, rgbFlags = 1, from = 0, to = 0, alphaPlane = 0;
    DWORD source = 1, sourceData = 1, destination = 1, destinationData = 1, width = 12, height = 2;
    BYTE bytes[3][256] = {};

    HRESULT Run(bool toYuv) {
        const ImagePlane p[] = {{sourceData ? bytes[0] : nullptr, 0, 0},
                                {destinationData ? bytes[1] : nullptr, 0, 0},
                                {bytes[2], 0, 0}};
        const ImagePlane *in = source ? p : nullptr, *out = destination ? p + 1 : nullptr,
                         *alpha = alphaPlane ? p + 2 : nullptr;
        const auto w = static_cast<LONG>(width), h = static_cast<LONG>(height);
        const auto mode = static_cast<LONG>(from), other = static_cast<LONG>(to);
        std::memset(bytes[1], 0xA5, sizeof bytes[1]);
        const HRESULT result =
            toYuv ? ConvertToYuv(in, rgb, rgbFlags, nullptr, out, alpha, yuv, yuvFlags, mode, w, h)
                  : ConvertFromYuv(in, alpha, yuv, yuvFlags, mode, out, rgb, rgbFlags, other, w, h);
        EXPECT_EQ(std::count(bytes[1], bytes[1] + 256, 0xA5) == 256, FAILED(result));
        return result;
    }
};

TEST(Entries, RefuseFaultyRequestsCombinationFirstAndWriteNothing) {
    using R = Request;
    struct Case {
        DWORD R::*field;
        std::vector<DWORD> values;
        HRESULT result, withoutSource;
    };
    constexpr DWORD kMinusTwo = 0xFFFFFFFE;
    const Case cases[] = {
        {&R::yuvFlags, {0, 2}, S_OK, E_POINTER},
        {&R::rgbFlags, {0, 3, kMinusTwo}, S_OK, E_POINTER},
        {&R::yuv, {0, FourCC("UYVY"), kRgba, k48rl}, E_INVALIDARG, E_INVALIDARG},
        {&R::rgb, {0, FourCC("BGR4"), kYuy2, kW210}, E_INVALIDARG, E_INVALIDARG},
        {&R::yuvFlags, {1, 3, 4, 0x80000002}, E_INVALIDARG, E_INVALIDARG},
        {&R::sourceData, {0}, E_POINTER, E_POINTER},
        {&R::destination, {0}, E_POINTER, E_POINTER},
        {&R::destinationData, {0}, E_POINTER, E_POINTER},
        {&R::width, {0, 1, 11, kMinusTwo}, E_INVALIDARG, E_POINTER},
        {&R::height, {0, kMinusTwo}, E_INVALIDARG, E_POINTER},
    };
    for (const Case& c : cases) {
        for (std::size_t i = 0; i < 2 * c.values.size(); ++i) {
            Request request;
            request.*c.field = c.values[i / 2];
            EXPECT_EQ(request.Run(i % 2 != 0), c.result) << &c - cases << ' ' << i;
            request.source = 0;
            EXPECT_EQ(request.Run(i % 2 != 0), c.withoutSource) << &c - cases << ' ' << i;
        }
    }
    Request reversed;
    std::swap(reversed.yuv, reversed.rgb);
    EXPECT_EQ(reversed.Run(false) & reversed.Run(true), E_INVALIDARG);
}

/// 8-bit layouts take straight alpha alone, deep ones any modes; without a plane none counts.
TEST(Entries, AlphaModesCountWithAnAlphaPlane) {
    for (DWORD code = 0; code < 64; ++code) {
        Request r;
        r.from = code % 4 - 1;
        r.to = code / 4 % 4 - 1;
        r.rgb = code / 16 % 2 ? k48rl : kRgba;
        r.alphaPlane = code / 32;
        const auto takes = [&](DWORD from, DWORD to) {
            const bool known = from < 2 && to < 2 && r.rgb == k48rl;
            return !r.alphaPlane || (from == 0 && to == 0) || known ? S_OK : E_INVALIDARG;
        };
        EXPECT_EQ(r.Run(false), takes(r.from, r.to)) << code;
        EXPECT_EQ(r.Run(true), takes(r.from, r.from)) << code;
    }
}

TEST(Entries, OtherMatricesRangesAndProcessorsAreRefusedAndThrowsBecomeResults) {
    BYTE bytes[64] = {};
    const ImagePlane plane = {bytes, 0, 0};
    Conversion conversion;
    for (const ConversionKind& kind : {ConversionKind{kYuy2, kBgra, 1, 1},
                                       {kYuy2, kBgra, 1, 5},
                                       {kYuy2, k48rl, 2, 4},
                                       {kBgra, kYuy2, -1, 4}}) {
        EXPECT_EQ(ChooseConversion(kind, &conversion), E_INVALIDARG);
    }
    ASSERT_EQ(ChooseConversion({kYuy2, kBgra, 1, 4}, &conversion), S_OK);
    CpuInfo plain = GetCpuInfo();
    plain.leaves[1].ecx &= ~(DWORD{1} << 9);
    EXPECT_EQ(RunConversion(plain, conversion, {&plane, &plane}, 2, 1), E_UNEXPECTED);
    EXPECT_EQ(RunConversion(plain, conversion, {&plane, nullptr}, 2, 1), E_POINTER);
    EXPECT_EQ(RunConversion(GetCpuInfo(), {}, {&plane, &plane}, 2, 1), E_INVALIDARG);
    EXPECT_EQ(RunKernel([] { throw HRESULT{E_OUTOFMEMORY}; }), E_OUTOFMEMORY);
    EXPECT_EQ(RunKernel([] { throw std::bad_alloc(); }), E_UNEXPECTED);
}

TEST(Processor, RecordHasTheFlagsOfTheKernels) {
    CpuInfo info = GetCpuInfo();
    EXPECT_EQ(info.xcr0Low != 0, (info.leaves[1].ecx >> 27 & 1) != 0);
    EXPECT_EQ(info.sseUsable, 1);
    for (int bit = 0; bit < 32; ++bit) {
        info.leaves[1].ecx = DWORD{1} << bit;
        EXPECT_EQ(HasCpuFeature(info, kCpuSsse3), bit == 9) << bit;
        EXPECT_EQ(HasCpuFeature(info, kCpuSse41), bit == 19) << bit;
    }
    info.leaves[0].eax = 0;
    EXPECT_EQ(HasCpuFeature(info, 2), 0);
}

}  // namespace
}  // namespace nyx::test

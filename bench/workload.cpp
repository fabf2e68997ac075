#include "bench/workload.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <new>
#include <stdexcept>

#include "codecs/ten_bit_rows.h"
#include "convert/convert.h"
#include "convert/cpu_info.h"
#include "convert/formats.h"
#include "media/v210.h"
#include "tests/support/conversion_reference.h"

namespace nyx::bench {
namespace {

constexpr std::size_t kAlignment = 4096;
constexpr std::size_t kSlack = 4096;
constexpr DWORD kQ210 = FourCC("Q210");

struct Pair {
    DWORD source;
    DWORD destination;
};

constexpr Pair kPairs[] = {
    {kYuy2, kBgra}, {kYuy2, kBgr3}, {kYuy2, k48rl}, {kYuy2, k64al}, {kYuy2, k30rl},
    {kYuy2, k40al}, {kW210, kBgra}, {kW210, kBgr3}, {kW210, k64al}, {kW210, k30rl},
    {kBgra, kYuy2}, {kBgr3, kYuy2}, {k48rl, kYuy2}, {k64al, kYuy2}, {k30rl, kYuy2},
    {k40al, kYuy2}, {kBgra, kW210}, {k64al, kW210}, {kQ210, kYuy2}, {kYuy2, kQ210},
};

constexpr Size kSizes[] = {{1920, 1080}, {720, 486}};

/// For one pair more sizes, to see that the cost grows with the pixels alone.
constexpr Size kLargeSizes[] = {{3840, 2160}, {7680, 4320}};

std::size_t RowBytes(DWORD format, LONG width) {
    if (format == kQ210) {
        return TenBitRowLayoutFor(width).stride;
    }
    return static_cast<std::size_t>(BytesPerPixel(format) * width);
}

std::size_t PictureBytes(DWORD format, Size size) {
    return RowBytes(format, size.width) * static_cast<std::size_t>(size.height);
}

std::string Name(DWORD format) {
    std::string name;
    for (int i = 0; i < 4; ++i) {
        name += static_cast<char>(format >> 8 * i & 255);
    }
    return name;
}

ImagePlane PlaneOf(BYTE* data, DWORD format, LONG width) {
    return {data, static_cast<LONG>(RowBytes(format, width)), 0};
}

void Check(HRESULT result) {
    if (FAILED(result)) {
        throw std::runtime_error("a conversion that is measured failed");
    }
}

std::vector<Implementation> ConversionsOfOurs(const Pictures& p) {
    const ImagePlane from = PlaneOf(p.source, p.sourceFormat, p.size.width);
    const ImagePlane to = PlaneOf(p.destination, p.destinationFormat, p.size.width);
    const ConversionKind kind = {.source = p.sourceFormat,
                                 .destination = p.destinationFormat,
                                 .range = kFullRange,
                                 .matrix = kMatrixBt709};
    const auto ours = [=] {
        Conversion conversion;
        Check(ChooseConversion(kind, &conversion));
        Check(RunConversion(GetCpuInfo(), conversion, {&from, &to}, p.size.width, p.size.height));
    };
    const bool toRgb = p.sourceFormat == kYuy2 || p.sourceFormat == kW210;
    const auto scalar = [=] {
        if (toRgb) {
            reference::Convert(reference::ToRgb(kind), {&from, &to}, p.size.width, p.size.height);
        } else {
            reference::Convert(reference::ToYuv(kind), {&from, &to}, p.size.width, p.size.height);
        }
    };
    return {{kOurs, ours, {}}, {kScalar, scalar, {}}};
}

/// The 10-bit packed format, one sample after the other.
void UnpackTenBitPlainly(const BYTE* groups, BYTE* yuy2, LONG width) {
    for (LONG x = 0; x < width; x += kV210GroupPixels, groups += kV210GroupBytes) {
        const V210Samples samples = UnpackV210Group(groups);
        const auto count = static_cast<std::size_t>(2 * std::min(width - x, kV210GroupPixels));
        for (std::size_t i = 0; i < count; ++i) {
            yuy2[i ^ 1] = static_cast<BYTE>(std::min((samples[i] + 2) >> 2, 255));
        }
        yuy2 += count;
    }
}

void PackTenBitPlainly(const BYTE* yuy2, BYTE* groups, LONG width) {
    for (LONG x = 0; x < width; x += kV210GroupPixels, groups += kV210GroupBytes) {
        V210Samples samples{};
        const auto count = static_cast<std::size_t>(2 * std::min(width - x, kV210GroupPixels));
        for (std::size_t i = 0; i < count; ++i) {
            samples[i] = static_cast<std::uint16_t>(yuy2[i ^ 1] << 2);
        }
        PackV210Group(samples, groups);
        yuy2 += count;
    }
}

using RowFunction = void (*)(const BYTE*, BYTE*, LONG);

std::function<void()> RowByRow(const Pictures& p, RowFunction convert) {
    const std::size_t in = RowBytes(p.sourceFormat, p.size.width);
    const std::size_t out = RowBytes(p.destinationFormat, p.size.width);
    return [=] {
        for (LONG y = 0; y < p.size.height; ++y) {
            const auto row = static_cast<std::size_t>(y);
            convert(p.source + row * in, p.destination + row * out, p.size.width);
        }
    };
}

std::vector<Implementation> TenBitRows(const Pictures& p) {
    const TenBitRowKernels& kernels = *SelectTenBitRowKernels();
    if (p.sourceFormat == kQ210) {
        return {{kOurs, RowByRow(p, kernels.unpack), {}},
                {kScalar, RowByRow(p, UnpackTenBitPlainly), {}}};
    }
    return {{kOurs, RowByRow(p, kernels.pack), {}}, {kScalar, RowByRow(p, PackTenBitPlainly), {}}};
}

/// A copy that reads and writes, taken together, the bytes that the conversion reads and writes.
Implementation Copy(const Pictures& p, std::size_t bytesIn, std::size_t bytesOut) {
    const std::size_t half = (bytesIn + bytesOut) / 2;
    return {kMemcpy, [=] { std::memcpy(p.destination, p.source, half); }, {}};
}

Workload MakeWorkload(Pair pair, Size size, const Buffers& buffers) {
    const std::size_t in = PictureBytes(pair.source, size);
    const std::size_t out = PictureBytes(pair.destination, size);
    const Pictures pictures{.sourceFormat = pair.source,
                            .destinationFormat = pair.destination,
                            .size = size,
                            .source = buffers.source.data(),
                            .destination = buffers.destination.data()};
    Workload workload{Name(pair.source) + "->" + Name(pair.destination),
                      std::to_string(size.width) + "x" + std::to_string(size.height),
                      {}};
    const bool tenBit = pair.source == kQ210 || pair.destination == kQ210;
    for (const auto& group : {tenBit ? TenBitRows(pictures) : ConversionsOfOurs(pictures),
                              LibyuvPeers(pictures), SwscalePeers(pictures)}) {
        workload.implementations.insert(workload.implementations.end(), group.begin(), group.end());
    }
    workload.implementations.push_back(Copy(pictures, in, out));
    return workload;
}

}  // namespace

Buffer::Buffer(std::size_t size) {
    const std::size_t whole = (size + kSlack + kAlignment - 1) / kAlignment * kAlignment;
    data_ = static_cast<BYTE*>(std::aligned_alloc(kAlignment, whole));
    if (!data_) {
        throw std::bad_alloc();
    }
    DWORD state = 1;
    for (std::size_t i = 0; i < whole; ++i) {
        state = state * 1664525 + 1013904223;
        data_[i] = static_cast<BYTE>(state >> 24);
    }
}

Buffer::~Buffer() {
    std::free(data_);
}

// The largest picture has four bytes per pixel; smaller ones have at most eight.
Buffers::Buffers()
    : source(PictureBytes(kBgra, kLargeSizes[1])),
      destination(PictureBytes(kBgra, kLargeSizes[1])) {}

std::vector<Workload> MakeWorkloads(const Buffers& buffers) {
    std::vector<Workload> workloads;
    for (const Pair& pair : kPairs) {
        for (const Size& size : kSizes) {
            workloads.push_back(MakeWorkload(pair, size, buffers));
        }
    }
    for (const Size& size : kLargeSizes) {
        workloads.push_back(MakeWorkload({kYuy2, kBgra}, size, buffers));
    }
    return workloads;
}

}  // namespace nyx::bench

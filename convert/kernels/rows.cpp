#include "convert/kernels/rows.h"

#include <cstring>

#include "convert/formats.h"

namespace nyx {
namespace {

constexpr BYTE kOpaque = 255;

/// The current row of a plane of rows of `rowBytes` bytes, each followed by the plane's gap; null
/// for an absent plane.
class RowCursor {
  public:
    RowCursor(const ImagePlane* plane, std::size_t rowBytes)
        : row_(plane ? plane->data : nullptr),
          step_(row_ ? static_cast<std::ptrdiff_t>(rowBytes) + plane->rowGap : 0) {}

    [[nodiscard]] BYTE* row() const { return row_; }
    void Next() { row_ += step_; }

  private:
    BYTE* row_;
    std::ptrdiff_t step_;
};

/// Converts the last pixels of a row, fewer than a window, through copies that a kernel may read
/// and write in whole steps. A copy of the last pair follows it, as its own right neighbour.
class RowTail {
  public:
    void Convert(const Kernel& kernel, KernelFunction convert, const KernelNumbers& numbers,
                 const BYTE* source, const BYTE* alpha, BYTE* destination, std::size_t pixels) {
        const std::size_t used = pixels * kernel.sourceBytes;
        std::memcpy(source_, source, used);
        BYTE pair[2 * kMaxBytes];
        std::memcpy(pair, source_ + used - 2 * kernel.sourceBytes, sizeof pair);
        std::memcpy(source_ + used, pair, sizeof pair);
        if (alpha) {
            std::memcpy(alpha_, alpha, pixels);
        }
        const std::size_t steps = (pixels + kernel.step - 1) / kernel.step;
        convert(numbers, source_, alpha_, destination_, steps * kernel.step);
        std::memcpy(destination, destination_, pixels * kernel.destinationBytes);
    }

  private:
    /// Two steps of eight and a window beyond.
    static constexpr std::size_t kPixels = 32;
    static constexpr std::size_t kMaxBytes = 8;

    BYTE source_[kPixels * kMaxBytes] = {};
    BYTE alpha_[kPixels] = {};
    BYTE destination_[kPixels * kMaxBytes];
};

/// The number of a row's pixels that can be converted in steps whose windows are inside the row.
std::size_t WholeSteps(const Kernel& kernel, std::size_t width) {
    return width < kernel.window
               ? 0
               : (width - kernel.window) / kernel.step * kernel.step + kernel.step;
}

/// The alpha plane's bytes as the alpha of an 8-bit layout's pixels.
void StoreAlpha(const PixelFormat& format, const BYTE* alpha, BYTE* pixels, std::size_t width) {
    BYTE* at = pixels + format.alphaByte;
    for (std::size_t x = 0; x < width; ++x, at += format.bytesPerPixel) {
        *at = alpha[x];
    }
}

/// The upper eight bits of the pixels' alpha.
void ExtractAlpha(const PixelFormat& format, const BYTE* pixels, BYTE* alpha, std::size_t width) {
    const BYTE* at = pixels + format.alphaByte;
    for (std::size_t x = 0; x < width; ++x, at += format.bytesPerPixel) {
        alpha[x] = format.alphaShift == 0
                       ? *at
                       : static_cast<BYTE>((at[0] | at[1] << 8) >> format.alphaShift);
    }
}

void FillAlpha(const PixelFormat& format, const BYTE* pixels, const BYTE* sourceAlpha, BYTE* alpha,
               std::size_t width) {
    if (sourceAlpha) {
        std::memcpy(alpha, sourceAlpha, width);
    } else if (format.alphaByte >= 0) {
        ExtractAlpha(format, pixels, alpha, width);
    } else {
        std::memset(alpha, kOpaque, width);
    }
}

}  // namespace

void ConvertRows(const Conversion& conversion, const ConversionPlanes& planes, LONG width,
                 LONG height) {
    const Kernel& kernel = *conversion.kernel;
    const KernelNumbers& numbers = conversion.numbers;
    const PixelFormat& from = *FindPixelFormat(kernel.source);
    const PixelFormat& to = *FindPixelFormat(kernel.destination);
    const auto pixels = static_cast<std::size_t>(width);
    const std::size_t whole = WholeSteps(kernel, pixels);
    RowCursor source(planes.source, pixels * kernel.sourceBytes);
    RowCursor destination(planes.destination, pixels * kernel.destinationBytes);
    RowCursor sourceAlpha(planes.sourceAlpha, pixels);
    RowCursor destinationAlpha(planes.destinationAlpha, pixels);
    const bool scales = sourceAlpha.row() && kernel.convertScaled;
    const bool stores = sourceAlpha.row() && !scales && to.alphaByte >= 0;
    const KernelFunction convert = scales ? kernel.convertScaled : kernel.convert;
    RowTail tail;
    for (LONG y = 0; y < height; ++y) {
        const BYTE* alpha = sourceAlpha.row();
        convert(numbers, source.row(), alpha, destination.row(), whole);
        if (whole < pixels) {
            tail.Convert(kernel, convert, numbers, source.row() + whole * kernel.sourceBytes,
                         alpha ? alpha + whole : nullptr,
                         destination.row() + whole * kernel.destinationBytes, pixels - whole);
        }
        if (stores) {
            StoreAlpha(to, alpha, destination.row(), pixels);
        }
        if (destinationAlpha.row()) {
            FillAlpha(from, source.row(), alpha, destinationAlpha.row(), pixels);
        }
        source.Next();
        destination.Next();
        sourceAlpha.Next();
        destinationAlpha.Next();
    }
}

}  // namespace nyx

#pragma once

/// @file
/// The open engines as a test process loads and calls them.

#include <windows.h>

#include <cmath>
#include <stdexcept>
#include <string>
#include <vector>

#include "dv/dv_engine.h"
#include "tests/support/guarded_memory.h"
#include "tests/support/loaded_module.h"

namespace nyx::test {

/// An engine of this build, loaded by its path while this object lives.
class OpenEngine {
  public:
    explicit OpenEngine(const wchar_t* name)
        : module_(LoadLibraryW((ProgramFolder() + L"..\\engines\\open\\" + name).c_str())) {
        if (!module_) {
            throw std::runtime_error("an open engine does not load");
        }
    }
    ~OpenEngine() { FreeLibrary(module_); }
    OpenEngine(const OpenEngine&) = delete;
    OpenEngine& operator=(const OpenEngine&) = delete;

    template <class Entry>
    Entry Get(const char* name) const {
        return reinterpret_cast<Entry>(reinterpret_cast<void*>(GetProcAddress(module_, name)));
    }

  private:
    HMODULE module_;
};

/// A picture's memory between an area of known bytes and a page that cannot be touched. Rows have
/// `gap` unused bytes of known value behind them.
class GuardedPicture {
  public:
    GuardedPicture(LONG width, LONG height, LONG bytesPerPixel, LONG gap = 0, bool bottomUp = false)
        : width_(width * bytesPerPixel),
          pitch_(width_ + gap),
          height_(height),
          bottomUp_(bottomUp),
          memory_(static_cast<std::size_t>(kBefore + pitch_ * height), kUntouched) {}

    LONG stride() const { return bottomUp_ ? -pitch_ : pitch_; }
    BYTE* data() const { return const_cast<BYTE*>(Row(0)); }
    const BYTE* Row(LONG y) const {
        return memory_.data() + kBefore + pitch_ * (bottomUp_ ? height_ - 1 - y : y);
    }

    /// Whether nothing outside the rows was written.
    bool IsIntact() const {
        bool intact = IsUntouched(memory_.data(), kBefore);
        for (LONG y = 0; y < height_; ++y) {
            intact = intact && IsUntouched(Row(y) + width_, pitch_ - width_);
        }
        return intact;
    }

    /// Whether not even the rows were.
    bool IsUntouched() const { return IsUntouched(memory_.data(), kBefore + pitch_ * height_); }

    /// The rows from the top, without gaps.
    std::vector<BYTE> Pixels() const {
        std::vector<BYTE> pixels;
        for (LONG y = 0; y < height_; ++y) {
            pixels.insert(pixels.end(), Row(y), Row(y) + width_);
        }
        return pixels;
    }

  private:
    static constexpr LONG kBefore = 256;
    static constexpr BYTE kUntouched = 0xA7;

    static bool IsUntouched(const BYTE* bytes, LONG count) {
        for (LONG i = 0; i < count; ++i) {
            if (bytes[i] != kUntouched) {
                return false;
            }
        }
        return true;
    }

    LONG width_;  // of rows, in bytes
    LONG pitch_;
    LONG height_;
    bool bottomUp_;
    GuardedMemory memory_;
};

/// In dB over every `step`th byte from `first` on.
inline double Psnr(const std::vector<BYTE>& a, const std::vector<BYTE>& b, std::size_t first,
                   std::size_t step) {
    double squares = 0;
    double count = 0;
    for (std::size_t i = first; i < a.size(); i += step, ++count) {
        const double difference = double{1} * a[i] - b[i];
        squares += difference * difference;
    }
    return squares == 0 ? 100 : 10 * std::log10(255.0 * 255.0 * count / squares);
}

}  // namespace nyx::test

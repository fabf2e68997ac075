#pragma once

/// @file
/// The measured workloads: conversions of one picture, each by several implementations.

#include <functional>
#include <string>
#include <vector>

#include "platform/win_types.h"

namespace nyx::bench {

/// Bytes on a page's boundary, with different values throughout and room for peers that write past
/// a row.
class Buffer {
  public:
    explicit Buffer(std::size_t size);
    Buffer(const Buffer&) = delete;
    Buffer& operator=(const Buffer&) = delete;
    ~Buffer();

    BYTE* data() const { return data_; }

  private:
    BYTE* data_;
};

/// The memory that all workloads share, so that all have the same addresses.
struct Buffers {
    Buffers();

    Buffer source;
    Buffer destination;
};

/// One picture size.
struct Size {
    LONG width;
    LONG height;
};

/// A source and a destination without gaps; "Q210" has its own row length.
struct Pictures {
    DWORD sourceFormat;
    DWORD destinationFormat;
    Size size;
    BYTE* source;
    BYTE* destination;
};

/// Converts one picture. `prepare` runs before each measurement and may be empty.
struct Implementation {
    std::string name;
    std::function<void()> convert;
    std::function<void()> prepare;
};

/// One conversion at one size, with all implementations of it.
struct Workload {
    std::string conversion;
    std::string size;
    std::vector<Implementation> implementations;
};

/// Names of implementations.
constexpr char kOurs[] = "ours";
constexpr char kScalar[] = "scalar";
constexpr char kLibyuv[] = "libyuv";
constexpr char kLibyuvSsse3[] = "libyuv_ssse3";
constexpr char kSwscale[] = "swscale";
constexpr char kSwscaleAccurate[] = "swscale_accurate";
constexpr char kMemcpy[] = "memcpy";

std::vector<Workload> MakeWorkloads(const Buffers& buffers);

/// The other libraries' implementations of a conversion; none where they have none.
std::vector<Implementation> LibyuvPeers(const Pictures& pictures);
std::vector<Implementation> SwscalePeers(const Pictures& pictures);

}  // namespace nyx::bench

#pragma once

/// @file
/// The conversions written as plainly as they can be, one pixel after the other: the definition
/// of the kernels. Requests are taken as valid.

#include "convert/conversion_groups.h"

namespace nyx::reference {

/// One pixel's channels, each in its layout's own codes.
struct Channels {
    int r;
    int g;
    int b;
    int a;
};

void FromYuv(const YuvToRgbRequest& request);
void ToYuv(const RgbToYuvRequest& request);

/// One pixel in an RGB layout. Layouts without alpha read as opaque.
void PackPixel(DWORD fourcc, const Channels& channels, BYTE* at);
Channels UnpackPixel(DWORD fourcc, const BYTE* at);

}  // namespace nyx::reference

#pragma once

#include <gtest/gtest.h>

#include "convert/convert.h"
#include "convert/formats.h"
#include "tests/support/frames.h"

namespace nyx::test {

/// Converts a picture without row gaps by the library; `code` is matrix and range.
inline Bytes Converted(Bytes picture, DWORD from, DWORD to, LONG width, LONG height, DWORD code) {
    Bytes result(static_cast<std::size_t>(width * height * BytesPerPixel(to)));
    const ImagePlane source = {picture.data(), width * BytesPerPixel(from), 0};
    const ImagePlane target = {result.data(), width * BytesPerPixel(to), 0};
    EXPECT_EQ(from == kYuy2 || from == kW210
                  ? ConvertFromYuv(&source, nullptr, from, code & 2, 0, &target, to, code, 0, width,
                                   height)
                  : ConvertToYuv(&source, from, code, nullptr, &target, nullptr, to, code & 2, 0,
                                 width, height),
              S_OK);
    return result;
}

}  // namespace nyx::test

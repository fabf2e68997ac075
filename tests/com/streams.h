#pragma once

/// @file
/// Streams of every size that a format knows, and what their types must say about fields and
/// picture aspect.

#include "tests/support/catalogue_under_test.h"

namespace nyx::test {

constexpr DWORD kTopFirst = 0xA5;  // interlaced, field 1 first, both fields regular, bob or weave
constexpr DWORD kBottomFirst = 0xA1;  // the same without field 1 first

struct Stream {
    Picture picture;
    DWORD interlaceFlags;
    DWORD aspectX;
    DWORD aspectY;
};

inline const Stream kStreams[] = {
    {{1920, 1080, 400000, Block::kVideoInfo}, kTopFirst, 16, 9},
    {{1440, 1080, 333666, Block::kVideoInfo2}, kTopFirst, 16, 9},
    {{1280, 1080, 400000, Block::kVideoInfo}, kTopFirst, 16, 9},
    {{1280, 720, 333666, Block::kVideoInfo}, 0, 16, 9},
    {{960, 720, 200000, Block::kVideoInfo2}, 0, 16, 9},
    {{720, 576, 400000, Block::kVideoInfo}, kBottomFirst, 4, 3},
    {{720, 576, 333667, Block::kVideoInfo2}, 0, 4, 3},
    {{720, 486, 333666, Block::kVideoInfo}, kTopFirst, 4, 3},
    {{720, 480, 333666, Block::kVideoInfo}, kBottomFirst, 27, 20},
    {{720, 480, 0, Block::kVideoInfo}, 0, 27, 20},
    {{640, 480, 400000, Block::kVideoInfo}, 0, 27, 20},
    {{320, 240, 400000, Block::kVideoInfo}, 0, 27, 20},
    {{160, 120, 400000, Block::kVideoInfo}, 0, 27, 20},
    {{800, 600, 400000, Block::kVideoInfo}, 0, 4, 3},
    {{352, 480, 333666, Block::kVideoInfo}, 0, 27, 20},
    {{352, 240, 333666, Block::kVideoInfo}, 0, 27, 20},
    {{352, 288, 400000, Block::kVideoInfo}, 0, 176, 135},
    {{176, 144, 400000, Block::kVideoInfo2}, 0, 176, 135},
    {{1280, 1024, 400000, Block::kVideoInfo}, 0, 5, 4},
    {{1280, 960, 400000, Block::kVideoInfo}, 0, 4, 3},
    {{1024, 768, 400000, Block::kVideoInfo}, 0, 4, 3},
    {{704, 480, 333666, Block::kVideoInfo}, 0, 33, 25},
    {{704, 576, 400000, Block::kVideoInfo}, 0, 176, 135},
    {{1000, 1000, 400000, Block::kVideoInfo}, 0, 1, 1},
    {{96, 16, 400000, Block::kVideoInfo2}, 0, 6, 1},
    // Top-down, as the encoder alone takes them: the negative height shows in the aspect.
    {{1920, -1080, 333666, Block::kVideoInfo2}, kTopFirst, 16, static_cast<DWORD>(-9)},
    {{720, -576, 400000, Block::kVideoInfo}, kBottomFirst, 4, static_cast<DWORD>(-3)},
};

}  // namespace nyx::test

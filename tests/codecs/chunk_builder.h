#pragma once

#include <cstring>
#include <initializer_list>
#include <string>
#include <vector>

#include "platform/win_types.h"

namespace nyx::test {

using Bytes = std::vector<BYTE>;

inline void AppendWord(Bytes* bytes, DWORD word) {
    for (int i = 0; i < 4; ++i) {
        bytes->push_back(static_cast<BYTE>(word >> (8 * i)));
    }
}

inline void AppendTag(Bytes* bytes, const char (&tag)[5]) {
    bytes->insert(bytes->end(), tag, tag + 4);
}

/// One chunk: tag, payload size, payload.
inline Bytes Chunk(const char (&tag)[5], std::initializer_list<DWORD> words) {
    Bytes chunk;
    AppendTag(&chunk, tag);
    AppendWord(&chunk, static_cast<DWORD>(4 * words.size()));
    for (DWORD word : words) {
        AppendWord(&chunk, word);
    }
    return chunk;
}

inline Bytes operator+(Bytes left, const Bytes& right) {
    left.insert(left.end(), right.begin(), right.end());
    return left;
}

/// An "INFO" container with the four words and the given sub-chunks.
inline Bytes InfoChunk(LONG a, LONG b, LONG aspectX, LONG aspectY, const Bytes& subChunks = {}) {
    Bytes info;
    AppendTag(&info, "INFO");
    AppendWord(&info, static_cast<DWORD>(16 + subChunks.size()));
    for (LONG word : {a, b, aspectX, aspectY}) {
        AppendWord(&info, static_cast<DWORD>(word));
    }
    return info + subChunks;
}

}  // namespace nyx::test

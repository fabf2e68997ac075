#include "avi_layout.h"

#include <windows.h>

#include <cstring>

#include "failure.h"
#include "input_file.h"
#include "text.h"

namespace nyx::host {
namespace {

constexpr long long kChunkHeader = 8;
constexpr long long kIndexEntry = 16;
constexpr long long kFirstChunk = 12;  // after "RIFF", the size and "AVI "

struct ChunkHeader {
    char tag[4];
    DWORD size;  // little-endian, as this program's machine is
};
static_assert(sizeof(ChunkHeader) == kChunkHeader);

bool HasTag(const ChunkHeader& chunk, const char* tag) {
    return std::memcmp(chunk.tag, tag, 4) == 0;
}

[[noreturn]] void Refuse(const std::string& why) {
    throw Failure(ExitCode::kNotAvi, why);
}

}  // namespace

AviLayout ReadAviLayout(const std::string& path) {
    const InputFile file(path);
    AviLayout layout{file.Size(), -1};
    if (layout.fileSize >= kAviSizeLimit) {
        Refuse(path + Format(" is %lld bytes long; an AVI of 2^31 bytes or more cannot be read",
                             layout.fileSize));
    }
    ChunkHeader riff{};
    char form[4];
    if (!file.ReadAt(0, &riff, sizeof(riff)) || !HasTag(riff, "RIFF") ||
        !file.ReadAt(kChunkHeader, form, sizeof(form)) || std::memcmp(form, "AVI ", 4) != 0) {
        Refuse(path + " is not an AVI file");
    }
    if (riff.size + kChunkHeader > layout.fileSize) {
        Refuse(path + Format(" is cut short: it has %lld bytes of %lld", layout.fileSize,
                             riff.size + kChunkHeader));
    }
    ChunkHeader chunk{};
    for (long long at = kFirstChunk; file.ReadAt(at, &chunk, sizeof(chunk));
         at += kChunkHeader + chunk.size + chunk.size % 2) {
        if (at + kChunkHeader + chunk.size > layout.fileSize) {
            Refuse(path + " is damaged: a chunk reaches beyond its end");
        }
        if (HasTag(chunk, "idx1")) {
            layout.indexEntries = chunk.size / kIndexEntry;
        }
    }
    if (layout.indexEntries < 0) {
        Refuse(path + " has no index; it was perhaps not finished");
    }
    return layout;
}

}  // namespace nyx::host

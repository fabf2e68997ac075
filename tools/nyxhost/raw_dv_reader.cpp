#include "raw_dv_reader.h"

#include <algorithm>
#include <cstring>

#include "dv/dif_layout.h"
#include "dv/dif_parser.h"
#include "failure.h"
#include "text.h"

namespace nyx::host {
namespace {

/// Two channels of 1080 lines of the 625/50 system: no frame is larger.
constexpr DWORD kLargestFrame = 4 * 12 * kDifSequenceBytes;

/// The ID of a header block and its first byte (IEC 61834-2, SMPTE 314M and 370M): section type in
/// the upper three bits, 0 for a header; sequence number, channel bits FSC and FSP; block number;
/// the system bit DSF before a fixed part.
struct HeaderBlock {
    const BYTE* bytes;

    /// The first sequence of channel 0 or 2.
    bool IsFirst() const {
        return bytes[0] >> 5 == 0 && (bytes[1] & 0xF8) == 0 && bytes[2] == 0 &&
               (bytes[3] & 0x7F) == 0x3F;
    }
    bool IsChannel0() const { return (bytes[1] & 0x04) != 0; }
};

/// The bytes of a frame as its video source pack tells, 0 when there is none. A frame is as long as
/// its system and its signal type (STYPE, SMPTE 314M and 370M) say.
DWORD FrameBytesOf(const std::vector<BYTE>& stream) {
    for (const DWORD channels : {1u, 2u, 4u}) {
        for (const DWORD sequences : {10u, 12u}) {
            const DWORD size = channels * sequences * static_cast<DWORD>(kDifSequenceBytes);
            CLvtDifParser parser;
            if (size <= stream.size() && SUCCEEDED(parser.Parse(stream.data(), size)) &&
                parser.State().format.frameBytes == static_cast<LONG>(size)) {
                return size;
            }
        }
    }
    return 0;
}

}  // namespace

bool IsRawDv(const std::string& path) {
    const InputFile file(path);
    BYTE block[kDifBlockBytes];
    return file.ReadAt(0, block, sizeof(block)) && HeaderBlock{block}.IsFirst();
}

RawDvReader::RawDvReader(const std::string& path) : file_(path), fileSize_(file_.Size()) {
    ReadFormat(path);
    CutIntoFrames();
}

void RawDvReader::ReadFormat(const std::string& path) {
    std::vector<BYTE> stream(kLargestFrame);
    stream.resize(file_.ReadUpTo(0, stream.data(), kLargestFrame));
    frameBytes_ = static_cast<LONG>(FrameBytesOf(stream));
    CLvtDifParser parser;
    if (frameBytes_ == 0 ||
        FAILED(parser.Parse(stream.data(), static_cast<std::size_t>(frameBytes_)))) {
        throw Failure(ExitCode::kNotAvi,
                      path + " begins like DV, but its first frame is none that is known");
    }
    const FormatRecord& format = parser.State().format;
    BITMAPINFOHEADER header{};
    header.biSize = sizeof(header);
    header.biWidth = format.codedWidth;
    header.biHeight = format.codedHeight;
    header.biPlanes = 1;
    header.biBitCount = 24;
    header.biCompression = static_cast<DWORD>(format.fourCC);
    header.biSizeImage = static_cast<DWORD>(frameBytes_);
    std::vector<BYTE> block(sizeof(header));
    std::memcpy(block.data(), &header, sizeof(header));
    SetFormat(std::move(block));
    SetRate(static_cast<DWORD>(format.frameRateNum), static_cast<DWORD>(format.frameRateDen));
}

// Of two 720-line frames the second one has channels 2 and 3; in 1080-line frames these are the
// second half.
bool RawDvReader::IsStart(const BYTE* block) const {
    constexpr LONG kPairedHeight = 720;
    const HeaderBlock header{block};
    return header.IsFirst() && (header.IsChannel0() || Header().biHeight == kPairedHeight);
}

bool RawDvReader::StartsFrame(long long offset) const {
    BYTE block[kDifBlockBytes];
    return file_.ReadAt(offset, block, sizeof(block)) && IsStart(block);
}

/// Where the next frame after the one at `offset` starts: a frame's length on, or at the next block
/// that looks like a start when there is none; the file's end when nothing does.
long long RawDvReader::NextStart(long long offset) const {
    constexpr long long kBlocksAtOnce = 1500;
    const long long expected = offset + frameBytes_;
    if (expected >= fileSize_ || StartsFrame(expected)) {
        return std::min(expected, fileSize_);
    }
    std::vector<BYTE> blocks(kBlocksAtOnce * kDifBlockBytes);
    for (long long at = offset + static_cast<long long>(kDifBlockBytes);; at += blocks.size()) {
        const DWORD read = file_.ReadUpTo(at, blocks.data(), static_cast<DWORD>(blocks.size()));
        for (std::size_t i = 0; i + kDifBlockBytes <= read; i += kDifBlockBytes) {
            if (IsStart(&blocks[i])) {
                return at + static_cast<long long>(i);
            }
        }
        if (read < blocks.size()) {
            return fileSize_;
        }
    }
}

void RawDvReader::CutIntoFrames() {
    std::vector<LONG> sizes;
    for (long long offset = 0; offset < fileSize_;) {
        const long long next = NextStart(offset);
        frameOffsets_.push_back(offset);
        sizes.push_back(static_cast<LONG>(std::min<long long>(next - offset, frameBytes_)));
        offset = next;
    }
    SetFrameSizes(std::move(sizes));
}

HRESULT RawDvReader::Read(LONG index, void* buffer, LONG capacity, LONG* size) const {
    const DWORD wanted = static_cast<DWORD>(std::min(capacity, FrameSize(index)));
    try {
        *size = static_cast<LONG>(
            file_.ReadUpTo(frameOffsets_[static_cast<std::size_t>(index)], buffer, wanted));
        return *size == static_cast<LONG>(wanted) ? S_OK : HRESULT_FROM_WIN32(ERROR_HANDLE_EOF);
    } catch (const Failure&) {
        *size = 0;
        return HRESULT_FROM_WIN32(ERROR_READ_FAULT);
    }
}

}  // namespace nyx::host

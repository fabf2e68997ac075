#include "host/avi_writer.h"

#include <algorithm>
#include <cstdlib>
#include <initializer_list>

#include "platform/fourcc.h"
#include "platform/system.h"

namespace nyx::host {
namespace {

constexpr DWORD kVideo = FourCC("vids");
constexpr DWORD kKeyFrame = 0x10;              // AVIIF_KEYFRAME
constexpr DWORD kHasIndexInterleaved = 0x110;  // AVIF_HASINDEX, AVIF_ISINTERLEAVED
constexpr DWORD kHighestQuality = 0xFFFFFFFF;  // which says "by default"
constexpr std::size_t kIndexPlaces = 256;
constexpr DWORD kOpenDmlBytes = 248;  // of its header, with what it reserves
// The first word of an index: words per entry, and what it lists.
constexpr DWORD kIndexOfIndices = 4;
constexpr DWORD kIndexOfChunks = 2 | 1 << 24;

/// Words in the file's order, the lowest byte first.
std::string Words(std::initializer_list<DWORD> words) {
    return {reinterpret_cast<const char*>(words.begin()), words.size() * sizeof(DWORD)};
}

/// A chunk: its id, the length of its data, the data, and a pad byte after an odd length.
std::string ChunkOf(DWORD id, const std::string& data) {
    return Words({id, static_cast<DWORD>(data.size())}) + data + std::string(data.size() % 2, '\0');
}

std::string ListOf(DWORD type, const std::string& data) {
    return ChunkOf(FourCC("LIST"), Words({type}) + data);
}

DWORD Low(unsigned long long value) {
    return static_cast<DWORD>(value);
}

DWORD High(unsigned long long value) {
    return static_cast<DWORD>(value >> 32);
}

/// "00dc", "01wb": the digits of a stream's number before two letters.
DWORD ChunkId(std::size_t stream, const char (&letters)[3]) {
    const char id[5] = {static_cast<char>('0' + stream / 10), static_cast<char>('0' + stream % 10),
                        letters[0], letters[1], '\0'};
    return FourCC(id);
}

}  // namespace

HRESULT AviWriter::Create(const std::wstring& path, const BITMAPINFOHEADER& header, DWORD rate,
                          DWORD scale) {
    file_ = AdoptFile(CreateFileW(path.c_str(), GENERIC_WRITE, FILE_SHARE_READ, nullptr,
                                  CREATE_ALWAYS, FILE_ATTRIBUTE_NORMAL, nullptr));
    if (file_ == nullptr) {
        return LastError();
    }
    path_ = path;
    streams_.push_back({.type = kVideo,
                        .handler = header.biCompression,
                        .chunk = ChunkId(0, "dc"),
                        .scale = scale,
                        .rate = rate,
                        .sampleSize = 0,
                        .corner = static_cast<DWORD>(header.biWidth & 0xFFFF) |
                                  static_cast<DWORD>(std::abs(header.biHeight)) << 16,
                        .format = {reinterpret_cast<const char*>(&header), sizeof(header)},
                        .indices = {}});
    streams_[0].format.replace(0, sizeof(DWORD), Words({sizeof(header)}));
    return S_OK;
}

void AviWriter::AddAudio(const WAVEFORMATEX& format, DWORD bytes) {
    streams_.push_back({.type = FourCC("auds"),
                        .handler = 0,
                        .chunk = ChunkId(streams_.size(), "wb"),
                        .scale = format.nBlockAlign,
                        .rate = format.nSamplesPerSec * format.nBlockAlign,
                        .sampleSize = format.nBlockAlign,
                        .corner = 0,
                        .format = {reinterpret_cast<const char*>(&format), bytes},
                        .indices = {}});
}

AviWriter::~AviWriter() {
    file_.reset();
    if (!path_.empty()) {
        DeleteFileW(path_.c_str());
    }
}

std::string AviWriter::StreamHeader(const Stream& stream) const {
    std::string index =
        Words({kIndexOfIndices, static_cast<DWORD>(stream.indices.size()), stream.chunk, 0, 0, 0});
    for (const IndexPlace& place : stream.indices) {
        index += Words({Low(place.offset), High(place.offset), place.bytes, place.duration});
    }
    index.resize(24 + 16 * kIndexPlaces);
    return ListOf(
        FourCC("strl"),
        ChunkOf(FourCC("strh"), Words({stream.type, stream.handler, 0, 0, 0, stream.scale,
                                       stream.rate, 0, stream.length, stream.largest,
                                       kHighestQuality, stream.sampleSize, 0, stream.corner})) +
            ChunkOf(FourCC("strf"), stream.format) + ChunkOf(FourCC("indx"), index));
}

/// The header list; as long at the end as at the start.
std::string AviWriter::Header() const {
    const Stream& video = streams_[0];
    std::string open = Words({video.length});
    open.resize(kOpenDmlBytes);
    std::string lists =
        ChunkOf(FourCC("avih"),
                Words({Low(1000000ULL * video.scale / video.rate), 0, 0, kHasIndexInterleaved,
                       firstFrames_, 0, static_cast<DWORD>(streams_.size()), video.largest,
                       video.corner & 0xFFFF, video.corner >> 16, 0, 0, 0, 0}));
    for (const Stream& stream : streams_) {
        lists += StreamHeader(stream);
    }
    return ListOf(FourCC("hdrl"), lists + ListOf(FourCC("odml"), ChunkOf(FourCC("dmlh"), open)));
}

HRESULT AviWriter::WriteAt(unsigned long long place, std::string_view bytes) {
    OVERLAPPED at{};
    at.Offset = Low(place);
    at.OffsetHigh = High(place);
    DWORD written = 0;
    if (!WriteFile(file_.get(), bytes.data(), static_cast<DWORD>(bytes.size()), &written, &at)) {
        return LastError();
    }
    end_ = std::max(end_, place + written);
    return written == bytes.size() ? S_OK : HRESULT_FROM_WIN32(ERROR_DISK_FULL);
}

HRESULT AviWriter::BeginRiff() {
    const bool first = end_ == 0;
    if (streams_[0].indices.size() == kIndexPlaces) {
        return HRESULT_FROM_WIN32(ERROR_FILE_TOO_LARGE);
    }
    riff_ = end_;
    const std::string head = Words({FourCC("RIFF"), 0, first ? FourCC("AVI ") : FourCC("AVIX")}) +
                             (first ? Header() : "") + ListOf(FourCC("movi"), "");
    movi_ = end_ + head.size() - sizeof(DWORD);
    return WriteAt(end_, head);
}

HRESULT AviWriter::WriteIndex(std::size_t stream) {
    std::string index;
    DWORD count = 0;
    DWORD duration = 0;
    for (const Chunk& chunk : chunks_) {
        if (chunk.stream == stream) {
            index += Words({chunk.offset + 8, chunk.bytes});  // of the data
            duration += chunk.duration;
            ++count;
        }
    }
    index =
        Words({kIndexOfChunks, count, streams_[stream].chunk, Low(movi_), High(movi_), 0}) + index;
    streams_[stream].indices.push_back(
        {.offset = end_, .bytes = static_cast<DWORD>(8 + index.size()), .duration = duration});
    return WriteAt(end_, ChunkOf(ChunkId(stream, "ix") << 16 | ChunkId(stream, "ix") >> 16, index));
}

HRESULT AviWriter::EndRiff() {
    HRESULT result = S_OK;
    for (std::size_t i = 0; i < streams_.size() && SUCCEEDED(result); ++i) {
        result = WriteIndex(i);
    }
    const unsigned long long moviEnd = end_;
    if (SUCCEEDED(result) && riff_ == 0) {
        firstFrames_ = streams_[0].length;
        std::string index;
        for (const Chunk& chunk : chunks_) {
            index += Words({streams_[chunk.stream].chunk, kKeyFrame, chunk.offset, chunk.bytes});
        }
        result = WriteAt(end_, ChunkOf(FourCC("idx1"), index));
    }
    chunks_.clear();
    if (SUCCEEDED(result)) {
        result = WriteAt(riff_ + 4, Words({Low(end_ - riff_ - 8)}));
    }
    return SUCCEEDED(result) ? WriteAt(movi_ - 4, Words({Low(moviEnd - movi_)})) : result;
}

HRESULT AviWriter::WriteTo(std::size_t index, const void* data, LONG size, DWORD duration) {
    // An entry takes 8 bytes in its stream's index and 16 in the first RIFF chunk's own.
    const std::size_t indices = 24 * (chunks_.size() + 1) + 32 * streams_.size() + 8;
    const DWORD bytes = static_cast<DWORD>(size);
    HRESULT result = S_OK;
    if (!chunks_.empty() && end_ - riff_ + bytes + 9 + indices > riffBytes_) {
        result = EndRiff();
    }
    if (SUCCEEDED(result) && chunks_.empty()) {
        result = BeginRiff();
    }
    if (FAILED(result)) {
        return result;
    }
    Stream& stream = streams_[index];
    chunks_.push_back({.stream = index,
                       .offset = static_cast<DWORD>(end_ - movi_),
                       .bytes = bytes,
                       .duration = duration});
    stream.length += duration;
    stream.largest = std::max(stream.largest, bytes);
    result = WriteAt(end_, Words({stream.chunk, bytes}));
    if (SUCCEEDED(result)) {
        result = WriteAt(end_, {static_cast<const char*>(data), bytes});
    }
    return SUCCEEDED(result) ? WriteAt(end_, std::string(bytes % 2, '\0')) : result;
}

HRESULT AviWriter::Write(const void* frame, LONG size) {
    return WriteTo(0, frame, size, 1);
}

HRESULT AviWriter::WriteAudio(std::size_t index, const void* data, LONG size) {
    const LONG frameBytes = static_cast<LONG>(streams_.at(index + 1).sampleSize);
    const LONG count = size / frameBytes;
    return count == 0 ? S_OK
                      : WriteTo(index + 1, data, count * frameBytes, static_cast<DWORD>(count));
}

HRESULT AviWriter::Finish() {
    HRESULT result = end_ == 0 ? BeginRiff() : S_OK;
    if (SUCCEEDED(result)) {
        result = EndRiff();
    }
    if (SUCCEEDED(result)) {
        result = WriteAt(12, Header());
    }
    if (SUCCEEDED(result) && !CloseFile(std::move(file_))) {
        result = LastError();
    }
    if (SUCCEEDED(result)) {
        path_.clear();
    }
    return result;
}

}  // namespace nyx::host

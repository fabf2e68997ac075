#include "wav_writer.h"

#include <algorithm>
#include <climits>
#include <vector>

#include "failure.h"
#include "graph_tools.h"

namespace nyx::host {
namespace {

/// Builds RIFF chunks: a code, the length of the data, the data and, after an odd length, a pad
/// byte.
class ChunkBytes {
  public:
    void Add(const void* data, std::size_t size) {
        const auto* from = static_cast<const BYTE*>(data);
        bytes_.insert(bytes_.end(), from, from + size);
    }
    void AddHead(const char (&code)[5], DWORD size) {
        Add(code, 4);
        Add(&size, sizeof(size));
    }
    const std::vector<BYTE>& Get() const { return bytes_; }

  private:
    std::vector<BYTE> bytes_;
};

}  // namespace

WavWriter::WavWriter(const std::string& path, const MediaType& type) : file_(path) {
    const auto& wave = *reinterpret_cast<const WAVEFORMATEX*>(type.pbFormat);
    rate_ = wave.nSamplesPerSec;
    frameBytes_ = wave.nBlockAlign;
    ChunkBytes head;  // Finish() fills in the two lengths that are 0 here
    head.AddHead("RIFF", 0);
    head.Add("WAVE", 4);
    head.AddHead("fmt ", type.cbFormat);
    head.Add(type.pbFormat, type.cbFormat);
    head.Add("", type.cbFormat % 2);
    head.AddHead("data", 0);
    headBytes_ = static_cast<DWORD>(head.Get().size());
    file_.Write(head.Get().data(), headBytes_);
}

void WavWriter::Write(IMediaSample& sample) {
    if (bytes_ == 0) {
        WriteSilence(sample);
    }
    Append(DataOf(sample), static_cast<DWORD>(sample.GetActualDataLength()));
}

void WavWriter::WriteSilence(IMediaSample& sample) {
    REFERENCE_TIME start = 0;
    REFERENCE_TIME stop = 0;
    if (FAILED(sample.GetTime(&start, &stop)) || start <= 0) {
        return;
    }
    constexpr LONGLONG kUnitsPerSecond = 10000000;
    const std::vector<BYTE> second(static_cast<std::size_t>(rate_) * frameBytes_);
    for (LONGLONG left = (start * rate_ + kUnitsPerSecond / 2) / kUnitsPerSecond; left > 0;
         left -= rate_) {
        Append(second.data(),
               static_cast<DWORD>(std::min(left, rate_)) * static_cast<DWORD>(frameBytes_));
    }
}

void WavWriter::Append(const void* data, DWORD size) {
    constexpr DWORD kMax = LONG_MAX - 4096;  // with the head
    if (size > kMax - bytes_) {
        throw Failure(ExitCode::kTooLarge, file_.Path() + " would reach 2^31 bytes");
    }
    file_.Write(data, size);
    bytes_ += size;
}

void WavWriter::Finish() {
    const DWORD padding = bytes_ % 2;
    const DWORD whole = headBytes_ - 8 + bytes_ + padding;
    file_.Write("", padding);
    file_.Replace(4, &whole, sizeof(whole));
    file_.Replace(headBytes_ - 4, &bytes_, sizeof(bytes_));
    file_.Finish();
}

}  // namespace nyx::host

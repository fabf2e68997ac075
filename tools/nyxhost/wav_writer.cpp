#include "wav_writer.h"

#include <algorithm>
#include <climits>
#include <vector>

#include "failure.h"
#include "footage.h"
#include "graph_tools.h"

namespace nyx::host {

void WriteLead(IMediaSample& first, const WAVEFORMATEX& format,
               const std::function<void(const BYTE* zeroes, DWORD size)>& write) {
    REFERENCE_TIME start = 0;
    REFERENCE_TIME stop = 0;
    if (FAILED(first.GetTime(&start, &stop)) || start <= 0) {
        return;
    }
    constexpr LONGLONG kUnitsPerSecond = 10000000;
    const LONGLONG rate = format.nSamplesPerSec;
    const std::vector<BYTE> second(static_cast<std::size_t>(rate) * format.nBlockAlign);
    for (LONGLONG left = (start * rate + kUnitsPerSecond / 2) / kUnitsPerSecond; left > 0;
         left -= rate) {
        write(second.data(), static_cast<DWORD>(std::min(left, rate)) * format.nBlockAlign);
    }
}

WavWriter::WavWriter(const std::string& path, const MediaType& type) : file_(path), type_(type) {
    // RIFF chunks: a code, the length of the data, the data and, after an odd length, a pad byte.
    // Finish() fills in the two lengths of a file.
    std::string head("RIFF\xff\xff\xff\xffWAVEfmt ", 16);
    head.append(reinterpret_cast<const char*>(&type.cbFormat), sizeof(type.cbFormat));
    head.append(reinterpret_cast<const char*>(type.pbFormat), type.cbFormat);
    head.append(type.cbFormat % 2, '\0');
    head.append("data\xff\xff\xff\xff", 8);
    headBytes_ = static_cast<DWORD>(head.size());
    file_.Write(head.data(), headBytes_);
}

void WavWriter::Write(IMediaSample& sample) {
    if (bytes_ == 0) {
        WriteLead(sample, WaveFormatOf(type_),
                  [this](const BYTE* zeroes, DWORD size) { Append(zeroes, size); });
    }
    Append(DataOf(sample), static_cast<DWORD>(sample.GetActualDataLength()));
}

void WavWriter::Append(const void* data, DWORD size) {
    constexpr std::uint64_t kMax = LONG_MAX - 4096;  // with the head
    if (!file_.IsStream() && bytes_ + size > kMax) {
        throw Failure(ExitCode::kTooLarge, file_.Path() + " would reach 2^31 bytes");
    }
    file_.Write(data, size);
    bytes_ += size;
}

void WavWriter::Finish() {
    const DWORD padding = bytes_ % 2;
    file_.Write("", padding);
    if (!file_.IsStream()) {
        const auto audio = static_cast<DWORD>(bytes_);
        const DWORD whole = headBytes_ - 8 + audio + padding;
        file_.Replace(4, &whole, sizeof(whole));
        file_.Replace(headBytes_ - 4, &audio, sizeof(audio));
    }
    file_.Finish();
}

}  // namespace nyx::host

#include "wav_writer.h"

#include <climits>
#include <vector>

#include "failure.h"
#include "graph_tools.h"
#include "text.h"

namespace nyx::host {

WavWriter::WavWriter(const std::string& path, const MediaType& type)
    : path_(path),
      file_(mmioOpenW(Wide(path).data(), nullptr, MMIO_CREATE | MMIO_WRITE | MMIO_ALLOCBUF)) {
    if (file_ == nullptr) {
        throw Failure(ExitCode::kOutput, "cannot create " + path);
    }
    const auto& wave = *reinterpret_cast<const WAVEFORMATEX*>(type.pbFormat);
    rate_ = wave.nSamplesPerSec;
    frameBytes_ = wave.nBlockAlign;
    riff_.fccType = mmioFOURCC('W', 'A', 'V', 'E');
    Done(mmioCreateChunk(file_, &riff_, MMIO_CREATERIFF));
    MMCKINFO format{};
    format.ckid = mmioFOURCC('f', 'm', 't', ' ');
    Done(mmioCreateChunk(file_, &format, 0));
    const auto size = static_cast<LONG>(type.cbFormat);
    Done(mmioWrite(file_, reinterpret_cast<const char*>(type.pbFormat), size) == size
             ? MMSYSERR_NOERROR
             : MMIOERR_CANNOTWRITE);
    Done(mmioAscend(file_, &format, 0));
    data_.ckid = mmioFOURCC('d', 'a', 't', 'a');
    Done(mmioCreateChunk(file_, &data_, 0));
}

WavWriter::~WavWriter() {
    if (file_ != nullptr) {
        mmioClose(file_, 0);
    }
}

void WavWriter::Done(MMRESULT result) {
    if (result != MMSYSERR_NOERROR) {
        throw Failure(ExitCode::kOutput, "cannot write " + path_);
    }
}

void WavWriter::Write(IMediaSample& sample) {
    if (bytes_ == 0) {
        WriteSilence(sample);
    }
    Append(reinterpret_cast<const char*>(DataOf(sample)), sample.GetActualDataLength());
}

void WavWriter::WriteSilence(IMediaSample& sample) {
    REFERENCE_TIME start = 0;
    REFERENCE_TIME stop = 0;
    if (FAILED(sample.GetTime(&start, &stop)) || start <= 0) {
        return;
    }
    constexpr LONGLONG kUnitsPerSecond = 10000000;
    const std::vector<char> frame(frameBytes_);
    for (LONGLONG left = (start * rate_ + kUnitsPerSecond / 2) / kUnitsPerSecond; left > 0;
         --left) {
        Append(frame.data(), static_cast<LONG>(frame.size()));
    }
}

void WavWriter::Append(const char* data, LONG size) {
    constexpr LONG kMost = LONG_MAX - 4096;  // with the headers
    if (size > kMost - bytes_) {
        throw Failure(ExitCode::kTooLarge, path_ + " would reach 2^31 bytes");
    }
    Done(mmioWrite(file_, data, size) == size ? MMSYSERR_NOERROR : MMIOERR_CANNOTWRITE);
    bytes_ += size;
}

void WavWriter::Finish() {
    Done(mmioAscend(file_, &data_, 0));
    Done(mmioAscend(file_, &riff_, 0));
    Done(mmioClose(std::exchange(file_, nullptr), 0));
}

}  // namespace nyx::host

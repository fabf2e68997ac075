#include "wav_writer.h"

#include <climits>

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
    constexpr LONG kMost = LONG_MAX - 4096;  // with the headers
    const auto* data = reinterpret_cast<const char*>(DataOf(sample));
    const LONG size = sample.GetActualDataLength();
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

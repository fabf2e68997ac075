#include "frame_sink.h"

#include "picture_format.h"

namespace nyx::host {

bool IsVideo(const MediaType& type) {
    return type.majortype == MEDIATYPE_Video && type.HasPicture();
}

bool IsPicture(const MediaType& type) {
    return IsVideo(type) && FindPictureFormat(type.subtype) != nullptr;
}

bool IsAudio(const MediaType& type) {
    return type.majortype == MEDIATYPE_Audio;
}

FrameSink::FrameSink(OnFrame onFrame, Accept accept) {
    pin_.onDynamicType = [accept](const MediaType& type) { return accept(type) ? S_OK : S_FALSE; };
    // A WAV file has one format: while connected, the pin accepts no other type from a sample.
    pin_.accept = [this, accept](const MediaType& type) {
        return accept(type) && (!pin_.peer || type == pin_.type) ? S_OK : S_FALSE;
    };
    pin_.onReceive = [this, onFrame](IMediaSample* sample) {
        if (State() == State_Stopped) {
            return VFW_E_WRONG_STATE;
        }
        return onFrame(*sample) ? S_OK : S_FALSE;
    };
    pin_.onEndOfStream = [this] {
        {
            const std::lock_guard lock(endLock_);
            endReached_ = true;
        }
        ReportEndIfDue();
        return S_OK;
    };
}

HRESULT FrameSink::OnStart() {
    const std::lock_guard lock(endLock_);
    endReached_ = endReported_ = false;
    return S_OK;
}

void FrameSink::OnRun() {
    ReportEndIfDue();
}

// The stream may end while the graph is still paused; it is reported once the graph runs.
void FrameSink::ReportEndIfDue() {
    {
        const std::lock_guard lock(endLock_);
        if (!endReached_ || endReported_ || State() != State_Running) {
            return;
        }
        endReported_ = true;
    }
    NotifyGraph(EC_COMPLETE, S_OK, reinterpret_cast<LONG_PTR>(static_cast<IBaseFilter*>(this)));
}

}  // namespace nyx::host

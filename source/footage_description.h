#pragma once

#include <optional>
#include <string>

#include "platform/footage_info.h"
#include "platform/thread.h"
#include "source/footage_facts.h"
#include "source/frame_timecode.h"

namespace nyx::source {

/// `INyxFootageInfo` of the filter, which supplies `IUnknown`. Nothing here waits for the filter's
/// locks or its reading.
class FootageDescription : public INyxFootageInfo {
  public:
    HRESULT STDMETHODCALLTYPE GetContainer(BSTR* name) override;
    HRESULT STDMETHODCALLTYPE GetTimecode(LONGLONG position, NyxTimecode* timecode,
                                          NyxTimecodeOrigin* origin) override;
    HRESULT STDMETHODCALLTYPE GetFrameRate(DWORD* numerator, DWORD* denominator) override;
    HRESULT STDMETHODCALLTYPE GetReelName(BSTR* name) override;
    HRESULT STDMETHODCALLTYPE GetClipName(BSTR* name) override;
    HRESULT STDMETHODCALLTYPE GetStreamCount(DWORD* count) override;
    HRESULT STDMETHODCALLTYPE GetStream(DWORD index, NyxStreamInfo* info) override;

  protected:
    /// What Load has opened.
    struct Opened {
        std::wstring path;
        FootageFacts facts;
        AVRational rate{};  ///< of the pictures; 0 without any
        bool dv = false;    ///< whether they are DV frames
        REFERENCE_TIME duration = 0;
    };

    ~FootageDescription() = default;

    /// Says it from now on.
    void Describe(Opened opened);

  private:
    [[nodiscard]] HRESULT StoreText(std::string FootageFacts::*text, BSTR* to);

    Mutex mutex_;
    std::optional<Opened> opened_;
    FrameTimecodes frames_;
};

}  // namespace nyx::source

#pragma once

#include <optional>
#include <span>
#include <string>
#include <vector>

#include "platform/footage_info.h"
#include "platform/thread.h"
#include "source/footage_file.h"

extern "C" {
#include <libavutil/timecode.h>
}

namespace nyx::source {

/// `INyxFootageInfo` of the filter, which supplies `IUnknown`. Nothing here waits for the filter's
/// locks or its reading.
class FootageDescription : public INyxFootageInfo {
  public:
    HRESULT STDMETHODCALLTYPE GetContainer(BSTR* name) override {
        return GiveText(&Facts::container, name);
    }
    HRESULT STDMETHODCALLTYPE GetTimecode(LONGLONG position, NyxTimecode* timecode,
                                          NyxTimecodeOrigin* origin) override;
    HRESULT STDMETHODCALLTYPE GetFrameRate(DWORD* numerator, DWORD* denominator) override;
    HRESULT STDMETHODCALLTYPE GetReelName(BSTR* name) override {
        return GiveText(&Facts::reel, name);
    }
    HRESULT STDMETHODCALLTYPE GetClipName(BSTR* name) override {
        return GiveText(&Facts::clip, name);
    }
    HRESULT STDMETHODCALLTYPE GetStreamCount(DWORD* count) override;
    HRESULT STDMETHODCALLTYPE GetStream(DWORD index, NyxStreamInfo* info) override;

  protected:
    struct Facts {
        std::wstring path, container, reel, clip;  ///< empty for none
        std::optional<AVTimecode> timecode{};      ///< the container's, of the first picture
        REFERENCE_TIME firstPicture = 0;
        AVRational rate{};  ///< of the pictures; 0 without any
        bool dv = false;    ///< whether they are DV frames
        REFERENCE_TIME duration = 0;
        std::vector<NyxStreamInfo> streams{};  ///< in the file's order
    };

    ~FootageDescription() = default;

    /// What an open file says of itself, before a thread reads it; its streams apart. As the next,
    /// throws std::bad_alloc.
    static Facts FactsOf(const FootageFile& file);
    /// Adds a file's streams; `pins` has the name of the pin of each that can be delivered.
    static void AddStreams(const FootageFile& file, std::span<const std::wstring> pins,
                           Facts* facts);
    /// Answers by these facts from now on.
    void Describe(Facts facts);

  private:
    template <class Answer>
    [[nodiscard]] HRESULT Give(Answer answer);
    [[nodiscard]] HRESULT GiveText(std::wstring Facts::*text, BSTR* to);
    std::optional<NyxTimecode> ReadTimecode(const std::wstring& path, REFERENCE_TIME time);

    Mutex mutex_;
    std::optional<Facts> facts_;
    std::unique_ptr<FootageFile> frames_;  ///< a reader of single frames; null until there is need
};

}  // namespace nyx::source

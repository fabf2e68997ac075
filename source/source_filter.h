#pragma once

#include <memory>
#include <string>
#include <vector>

#include "baseclasses/streams.h"
#include "source/footage_description.h"
#include "source/source_pin.h"
#include "source/track_selection.h"

namespace nyx::source {

constexpr wchar_t kFootageSourceName[] = L"Nyx Footage Source";

/// Plays a file of footage into a graph: one pin a stream, made by Load.
class FootageSource : public CBaseFilter,
                      public IFileSourceFilter,
                      public IAMFilterMiscFlags,
                      public ISupportErrorInfo,
                      public IAMOpenProgress,
                      public FootageDescription,
                      public TrackSelection,
                      public Seekable {
  public:
    /// For the class factory, which takes over the object; null without memory.
    static CUnknown* CALLBACK Create(LPUNKNOWN outer, HRESULT* result);
    ~FootageSource() override { FinishStreaming(); }

    DECLARE_IUNKNOWN
    HRESULT STDMETHODCALLTYPE NonDelegatingQueryInterface(REFIID iid, void** object) override;

    int GetPinCount() override;
    CBasePin* GetPin(int n) override;
    /// A pin's id is its name.
    HRESULT STDMETHODCALLTYPE FindPin(LPCWSTR id, IPin** pin) override;
    HRESULT STDMETHODCALLTYPE JoinFilterGraph(IFilterGraph* graph, LPCWSTR name) override;
    HRESULT STDMETHODCALLTYPE Stop() override;
    HRESULT STDMETHODCALLTYPE Pause() override;

    /// Opens a file, once: `E_UNEXPECTED` for another. Returns the system's error for a file that
    /// cannot be read, one of failures.h, or `E_OUTOFMEMORY`, and changes nothing then. Ignores the
    /// type. For each unsupported stream the graph gets `EC_STREAM_ERROR_STOPPED` with the reason
    /// and the stream's number in the file, here or when the filter joins it.
    HRESULT STDMETHODCALLTYPE Load(LPCOLESTR path, const AM_MEDIA_TYPE* type) noexcept override;
    /// The path that Load got; null before.
    HRESULT STDMETHODCALLTYPE GetCurFile(LPOLESTR* path, AM_MEDIA_TYPE* type) override;
    /// `S_OK` for IFileSourceFilter: when Load refuses a file, the thread's IErrorInfo has the
    /// reason.
    HRESULT STDMETHODCALLTYPE InterfaceSupportsErrorInfo(REFIID iid) override {
        return iid == IID_IFileSourceFilter ? S_OK : S_FALSE;
    }
    /// The bytes of the file and how many of them were read; all of them once it is open.
    /// `VFW_E_WRONG_STATE` without a file. From any thread, as AbortOperation.
    HRESULT STDMETHODCALLTYPE QueryProgress(LONGLONG* total, LONGLONG* current) override;
    /// Makes the running Load fail soon with `E_ABORT`. `S_FALSE` when there is none.
    HRESULT STDMETHODCALLTYPE AbortOperation() override;
    ULONG STDMETHODCALLTYPE GetMiscFlags() override { return AM_FILTER_MISC_FLAGS_IS_SOURCE; }

    REFERENCE_TIME Duration() override { return duration_; }
    Segment CurrentSegment() override;
    [[nodiscard]] HRESULT SeekTo(const void* pin, REFERENCE_TIME start,
                                 REFERENCE_TIME stop) override;
    [[nodiscard]] HRESULT StopAt(REFERENCE_TIME stop) override;
    [[nodiscard]] HRESULT SetPlaybackRate(double rate) override;

  protected:
    FootageSource(LPUNKNOWN outer, REFCLSID clsid);

    /// Opens a file by its bytes, as Load does. `path` is where others of its clip may be; empty
    /// for none. Sets `*reason` to why it is refused, in words where there are any.
    [[nodiscard]] HRESULT OpenBytes(std::unique_ptr<ByteSource> bytes, const std::wstring& path,
                                    std::string* reason);
    /// Whether to deliver the streams of a file that was opened.
    [[nodiscard]] virtual HRESULT Accept(const FootageFile&) const { return S_OK; }
    void ReportUnsupported();

    CCritSec lock_;

  private:
    SourcePin* AudioPin(long index) override;
    void SetSegment(const Segment& segment);
    [[nodiscard]] HRESULT OpenFile(const wchar_t* path);
    [[nodiscard]] HRESULT OpenWithProgress(FootageFile* file,
                                           std::unique_ptr<ByteSource> bytes) noexcept;
    void SetOpening(FootageFile* file);
    [[nodiscard]] HRESULT StartStreaming();
    void ApplyStopTime();
    void FinishStreaming();
    [[nodiscard]] HRESULT Flush();

    /// The innermost lock, of what it precedes. Downstream asks for them from a streaming thread,
    /// while the thread that holds the filter's lock may wait for that very thread.
    CCritSec stateLock_;
    FootageFile* opening_ = nullptr;                 ///< by Load, in another thread
    std::vector<std::unique_ptr<ReadAhead>> parts_;  ///< files; the first has the pictures
    std::vector<std::unique_ptr<SourcePin>> pins_;
    Segment segment_;
    std::wstring path_;
    REFERENCE_TIME duration_ = 0;
    std::vector<const void*> pinsThatSought_;  ///< the pins that asked for this segment
};

}  // namespace nyx::source

#pragma once

#include <memory>
#include <string>
#include <vector>

#include "baseclasses/streams.h"
#include "source/footage_description.h"
#include "source/source_pin.h"

namespace nyx::source {

constexpr wchar_t kFootageSourceName[] = L"Nyx Footage Source";

/// Plays a file of footage into a graph: one pin a stream, made by Load.
class FootageSource : public CBaseFilter,
                      public IFileSourceFilter,
                      public IAMFilterMiscFlags,
                      public ISupportErrorInfo,
                      public IAMOpenProgress,
                      public IAMStreamSelect,
                      public FootageDescription {
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

    // track_selection.cpp: IAMStreamSelect over the pins of audio, which all are enabled at first.
    // A pin that is not enabled delivers silence of the same length, so that the graph's clock and
    // length stay as they are and a change is heard from the next sample on. Any thread.
    /// The number of pins of audio: 0 before Load.
    HRESULT STDMETHODCALLTYPE Count(DWORD* count) override;
    /// Describes one; every pointer may be null. The group is 1, the object the pin. `S_FALSE` for
    /// an index without a pin.
    HRESULT STDMETHODCALLTYPE Info(long index, AM_MEDIA_TYPE** type, DWORD* flags, LCID* language,
                                   DWORD* group, LPWSTR* name, IUnknown** object,
                                   IUnknown** unknown) override;
    /// Enables that pin alone, with `AMSTREAMSELECTENABLE_ENABLEALL` all, with 0 none.
    /// `E_INVALIDARG` for another flag or an index without a pin.
    HRESULT STDMETHODCALLTYPE Enable(long index, DWORD flags) override;

    REFERENCE_TIME duration() const { return duration_; }
    Segment CurrentSegment();
    /// Plays another segment, from its start. A graph asks every pin for the same segment: the
    /// first `pin` that asks brings it about, the others change nothing.
    [[nodiscard]] HRESULT SeekTo(const void* pin, REFERENCE_TIME start, REFERENCE_TIME stop);
    /// Moves the end alone.
    [[nodiscard]] HRESULT StopAt(REFERENCE_TIME stop);
    /// Continues at another rate.
    [[nodiscard]] HRESULT SetPlaybackRate(double rate);

  protected:
    FootageSource(LPUNKNOWN outer, REFCLSID clsid);

    /// Opens a file by its bytes, as Load does. `path` is where others of its clip may be; empty
    /// for none.
    [[nodiscard]] HRESULT OpenBytes(std::unique_ptr<ByteSource> bytes, std::wstring path);
    /// Whether to deliver the streams of a file that was opened.
    [[nodiscard]] virtual HRESULT Accept(const FootageFile&) const { return S_OK; }

    CCritSec lock_;

  private:
    void ReportUnsupported();
    SourcePin* AudioPin(long index);
    void SetSegment(const Segment& segment);
    [[nodiscard]] HRESULT OpenWithProgress(FootageFile* file,
                                           std::unique_ptr<ByteSource> bytes) noexcept;
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

#include "source/source_filter.h"

#include <oleauto.h>
#include <strmif.h>

#include <algorithm>
#include <cwchar>
#include <limits>
#include <new>
#include <tuple>
#include <utility>

#include "platform/class_ids.h"
#include "platform/com.h"
#include "settings/settings.h"
#include "source/atom_siblings.h"
#include "source/disk_file.h"

namespace nyx::source {
namespace {

constexpr wchar_t kSettings[] = L"Software\\Veltro\\Source";

/// Leaves `reason`, plain ASCII, to the calling thread as an error of IFileSourceFilter, unless it
/// is empty. The system implements the error object, which may outlive the module. Returns
/// `result`.
[[nodiscard]] HRESULT WithReason(HRESULT result, const std::string& reason) {
    ComPtr<ICreateErrorInfo> error;
    if (reason.empty() || FAILED(CreateErrorInfo(&error))) {
        return result;
    }
    std::wstring text(reason.begin(), reason.end());
    error->SetGUID(IID_IFileSourceFilter);
    error->SetDescription(text.data());
    SetErrorInfo(0, As<IErrorInfo>(error).Get());
    return result;
}

}  // namespace

CUnknown* CALLBACK FootageSource::Create(LPUNKNOWN outer, HRESULT*) {
    return new (std::nothrow) FootageSource(outer, CLSID_NyxFootageSource);
}

FootageSource::FootageSource(LPUNKNOWN outer, REFCLSID clsid)
    : CBaseFilter(NAME("Footage source"), outer, &lock_, clsid) {}

HRESULT STDMETHODCALLTYPE FootageSource::NonDelegatingQueryInterface(REFIID iid, void** object) {
    const std::pair<const IID&, IUnknown*> own[] = {
        {IID_IFileSourceFilter, static_cast<IFileSourceFilter*>(this)},
        {IID_ISupportErrorInfo, static_cast<ISupportErrorInfo*>(this)},
        {IID_IAMOpenProgress, static_cast<IAMOpenProgress*>(this)},
        {__uuidof(INyxFootageInfo), static_cast<INyxFootageInfo*>(this)},
        {IID_IAMStreamSelect, static_cast<IAMStreamSelect*>(this)},
        {IID_IAMFilterMiscFlags, static_cast<IAMFilterMiscFlags*>(this)}};
    for (const auto& [id, unknown] : own) {
        if (iid == id) {
            return GetInterface(unknown, object);
        }
    }
    return CBaseFilter::NonDelegatingQueryInterface(iid, object);
}

int FootageSource::GetPinCount() {
    CAutoLock lock(&stateLock_);
    return static_cast<int>(pins_.size());
}

CBasePin* FootageSource::GetPin(int n) {
    CAutoLock lock(&stateLock_);
    return n >= 0 && n < FootageSource::GetPinCount() ? pins_[static_cast<std::size_t>(n)].get()
                                                      : nullptr;
}

HRESULT STDMETHODCALLTYPE FootageSource::Load(LPCOLESTR path, const AM_MEDIA_TYPE*) noexcept {
    CheckPointer(path, E_POINTER);
    CAutoLock lock(&lock_);
    if (!parts_.empty()) {
        return E_UNEXPECTED;
    }
    try {
        auto bytes = std::make_unique<DiskFile>();
        const HRESULT result = bytes->Open(path);
        return FAILED(result) ? result : OpenBytes(std::move(bytes), path);
    } catch (const std::bad_alloc&) {
        return E_OUTOFMEMORY;
    }
}

/// Makes everything before it keeps anything: a failure changes nothing.
HRESULT FootageSource::OpenBytes(std::unique_ptr<ByteSource> bytes, std::wstring path) {
    auto file = std::make_unique<FootageFile>();
    HRESULT result = OpenWithProgress(file.get(), std::move(bytes));
    if (SUCCEEDED(result)) {
        result = Accept(*file);
    }
    if (FAILED(result)) {
        return WithReason(result, file->Refusal(result));
    }
    Facts facts = FactsOf(*file);
    facts.path = path;
    std::vector<std::unique_ptr<FootageFile>> files = OpenSiblings(*file, path);
    files.insert(files.begin(), std::move(file));
    std::vector<std::unique_ptr<ReadAhead>> parts;
    std::vector<PacketSource> streams;
    for (auto& one : files) {
        facts.duration = std::max(facts.duration, one->duration());
        parts.push_back(std::make_unique<ReadAhead>(std::move(one)));
        const std::vector<StreamFormat>& formats = parts.back()->file().streams();
        for (std::size_t i = 0; i < formats.size(); ++i) {
            streams.push_back({parts.back().get(), i, &formats[i]});
        }
    }
    const bool pairsMono = ReadSettingDword(HKEY_CURRENT_USER, kSettings, L"pair_mono", 0) != 0;
    std::vector<std::unique_ptr<SourcePin>> pins;
    std::vector<std::wstring> names;  // of the pin of each stream
    int counts[2] = {};
    for (PinSources& sources : GroupIntoPins(streams, pairsMono)) {
        const bool video = sources.front().format->video.has_value();
        const std::wstring name =
            (video ? L"Video " : L"Audio ") + std::to_wstring(++counts[video ? 0 : 1]);
        names.insert(names.end(), sources.size(), name);
        pins.push_back(std::make_unique<SourcePin>(this, &lock_, &result, name.c_str(),
                                                   std::move(sources), facts.rate));
    }
    if (FAILED(result)) {
        return result;
    }
    std::span<const std::wstring> left = names;
    for (const auto& part : parts) {
        AddStreams(part->file(), left, &facts);
        left = left.subspan(part->file().streams().size());
    }
    pinsThatSought_.reserve(pins.size());
    path_ = std::move(path);
    duration_ = facts.duration;
    Describe(std::move(facts));
    {
        CAutoLock lock(&stateLock_);
        parts_ = std::move(parts);
        pins_ = std::move(pins);
        segment_ = {0, duration_, 1.0};
    }
    IncrementPinVersion();
    ReportUnsupported();
    return S_OK;
}

SourcePin* FootageSource::AudioPin(long index) {
    CAutoLock lock(&stateLock_);
    for (const auto& pin : pins_) {
        if (!pin->isVideo() && index-- == 0) {
            return pin.get();
        }
    }
    return nullptr;
}

HRESULT STDMETHODCALLTYPE FootageSource::QueryProgress(LONGLONG* total, LONGLONG* current) {
    CheckPointer(total, E_POINTER);
    CheckPointer(current, E_POINTER);
    CAutoLock lock(&stateLock_);
    const FootageFile* file = !parts_.empty() ? &parts_.front()->file() : opening_;
    *total = file ? file->size() : 0;
    *current = file == opening_ && file ? std::min<LONGLONG>(file->progress(), *total) : *total;
    return file ? S_OK : VFW_E_WRONG_STATE;
}

HRESULT STDMETHODCALLTYPE FootageSource::AbortOperation() {
    CAutoLock lock(&stateLock_);
    if (opening_) {
        opening_->Cancel(true);
    }
    return opening_ ? S_OK : S_FALSE;
}

HRESULT FootageSource::OpenWithProgress(FootageFile* file,
                                        std::unique_ptr<ByteSource> bytes) noexcept {
    const auto setOpening = [this](FootageFile* now) {
        CAutoLock lock(&stateLock_);
        opening_ = now;
    };
    HRESULT result = E_OUTOFMEMORY;
    setOpening(file);
    try {
        result = file->Open(std::move(bytes));
    } catch (const std::bad_alloc&) {
    }
    setOpening(nullptr);
    return file->isCancelled() ? E_ABORT : result;  // also when the file was open by then
}

HRESULT STDMETHODCALLTYPE FootageSource::JoinFilterGraph(IFilterGraph* graph, LPCWSTR name) {
    CAutoLock lock(&lock_);
    const HRESULT result = CBaseFilter::JoinFilterGraph(graph, name);
    ReportUnsupported();
    return result;
}

void FootageSource::ReportUnsupported() {
    if (parts_.empty() || !m_pGraph) {
        return;
    }
    for (const UnsupportedStream& stream : parts_.front()->file().unsupported()) {
        NotifyEvent(EC_STREAM_ERROR_STOPPED, stream.reason, stream.index);
    }
}

HRESULT STDMETHODCALLTYPE FootageSource::GetCurFile(LPOLESTR* path, AM_MEDIA_TYPE* type) {
    CheckPointer(path, E_POINTER);
    CAutoLock lock(&lock_);
    if (type) {
        *type = {};
        type->majortype = MEDIATYPE_Stream;
    }
    *path = nullptr;
    return !parts_.empty() ? AMGetWideString(path_.c_str(), path) : S_OK;
}

HRESULT STDMETHODCALLTYPE FootageSource::Pause() {
    CAutoLock lock(&lock_);
    const bool starts = m_State == State_Stopped;
    HRESULT result = CBaseFilter::Pause();
    if (starts && SUCCEEDED(result)) {
        result = StartStreaming();
        if (FAILED(result)) {
            std::ignore = Stop();  // the failure to start is the one to return
        }
    }
    return result;
}

HRESULT STDMETHODCALLTYPE FootageSource::Stop() {
    CAutoLock lock(&lock_);
    HRESULT result = S_OK;
    for (const auto& pin : pins_) {
        if (!IsStopped() && pin->IsConnected()) {
            const HRESULT stopped = pin->Inactive();  // ends a thread's wait for a buffer
            result = SUCCEEDED(result) ? stopped : result;
        }
    }
    m_State = State_Stopped;
    FinishStreaming();
    return result;
}

HRESULT STDMETHODCALLTYPE FootageSource::FindPin(LPCWSTR id, IPin** pin) {
    CheckPointer(pin, E_POINTER);
    *pin = nullptr;
    CheckPointer(id, E_POINTER);
    for (int i = 0; CBasePin* const own = GetPin(i); ++i) {
        if (std::wcscmp(own->Name(), id) == 0) {
            return GetInterface(static_cast<IPin*>(own), reinterpret_cast<void**>(pin));
        }
    }
    return VFW_E_NOT_FOUND;
}

HRESULT FootageSource::StartStreaming() {
    try {
        for (const auto& part : parts_) {
            std::vector<bool> wanted;
            for (std::size_t i = 0; i < part->file().streams().size(); ++i) {
                wanted.push_back(std::ranges::any_of(pins_, [&](const auto& pin) {
                    return pin->IsConnected() && pin->Delivers(*part, i);
                }));
            }
            if (std::ranges::find(wanted, true) != wanted.end()) {
                part->Start(segment_.start, wanted);
            }
        }
    } catch (const std::exception&) {
        return E_OUTOFMEMORY;  // no memory, or no thread can start
    }
    ApplyStopTime();
    constexpr REFERENCE_TIME kNever = std::numeric_limits<REFERENCE_TIME>::max();
    const REFERENCE_TIME cut = parts_.front()->file().rawDv().FirstRefused(
        segment_.start, kNever,
        [this](const AVDVProfile& system) { return pins_.front()->Accepts(system); });
    HRESULT result = S_OK;
    for (std::size_t i = 0; i < pins_.size() && SUCCEEDED(result); ++i) {
        if (pins_[i]->IsConnected()) {
            result = pins_[i]->StartThreads(segment_, cut);
        }
    }
    return result;
}

/// Sets where the pins stop: nowhere for the file's end, which may be estimated or move.
void FootageSource::ApplyStopTime() {
    const bool toTheEnd = segment_.stop >= duration_;
    for (const auto& pin : pins_) {
        pin->StopAt(toTheEnd ? std::numeric_limits<REFERENCE_TIME>::max() : segment_.stop);
    }
}

void FootageSource::FinishStreaming() {
    for (const auto& part : parts_) {
        part->Cancel();
    }
    for (const auto& pin : pins_) {
        pin->JoinThreads();
    }
    for (const auto& part : parts_) {
        part->Finish();
    }
}

/// Drops the samples on their way and streams from the segment's start.
HRESULT FootageSource::Flush() {
    if (IsStopped()) {
        return S_OK;
    }
    for (const auto& pin : pins_) {
        pin->DeliverBeginFlush();
    }
    FinishStreaming();
    for (const auto& pin : pins_) {
        pin->DeliverEndFlush();
    }
    return StartStreaming();
}

Segment FootageSource::CurrentSegment() {
    CAutoLock lock(&stateLock_);
    return segment_;
}

void FootageSource::SetSegment(const Segment& segment) {
    CAutoLock lock(&stateLock_);
    segment_ = segment;
}

HRESULT FootageSource::SeekTo(const void* pin, REFERENCE_TIME start, REFERENCE_TIME stop) {
    CAutoLock lock(&lock_);
    const bool same = segment_.start == start && segment_.stop == stop;
    if (!same || std::ranges::find(pinsThatSought_, pin) != pinsThatSought_.end()) {
        pinsThatSought_.clear();
    }
    const bool repeated = !pinsThatSought_.empty();
    pinsThatSought_.push_back(pin);
    if (repeated) {
        return S_OK;
    }
    SetSegment({start, stop, segment_.rate});
    return Flush();
}

HRESULT FootageSource::StopAt(REFERENCE_TIME stop) {
    CAutoLock lock(&lock_);
    SetSegment({segment_.start, stop, segment_.rate});
    ApplyStopTime();
    return S_OK;
}

HRESULT FootageSource::SetPlaybackRate(double rate) {
    CAutoLock lock(&lock_);
    if (rate == segment_.rate) {
        return S_OK;
    }
    const auto connected =
        std::ranges::find_if(pins_, [](const auto& pin) { return pin->IsConnected(); });
    const bool plays = !IsStopped() && connected != pins_.end();
    SetSegment({plays ? (*connected)->position() : segment_.start, segment_.stop, rate});
    return Flush();
}

}  // namespace nyx::source

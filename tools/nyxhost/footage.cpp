#include "footage.h"

#include <algorithm>
#include <climits>
#include <filesystem>

#include "graph_tools.h"
#include "module_registry.h"
#include "platform/class_ids.h"
#include "platform/system.h"
#include "platform/unique_handle.h"
#include "text.h"

namespace nyx::host {
namespace {

/// The registered source, else the one of the module beside this program, which stays loaded.
ComPtr<IBaseFilter> CreateSource() {
    ComPtr<IBaseFilter> filter;
    if (SUCCEEDED(CoCreateInstance(CLSID_NyxFootageSource, nullptr, CLSCTX_INPROC_SERVER,
                                   IID_IBaseFilter,
                                   reinterpret_cast<void**>(filter.GetAddressOf())))) {
        return filter;
    }
    const auto path = ModulePath(nullptr).replace_filename(kSourceModule);
    const HMODULE module = LoadLibraryW(path.c_str());
    const auto getClassObject =
        module == nullptr ? nullptr
                          : reinterpret_cast<decltype(&DllGetClassObject)>(reinterpret_cast<void*>(
                                GetProcAddress(module, "DllGetClassObject")));
    ComPtr<IClassFactory> factory;
    if (getClassObject == nullptr ||
        FAILED(getClassObject(CLSID_NyxFootageSource, IID_IClassFactory,
                              reinterpret_cast<void**>(factory.GetAddressOf()))) ||
        FAILED(factory->CreateInstance(nullptr, IID_IBaseFilter,
                                       reinterpret_cast<void**>(filter.GetAddressOf())))) {
        throw Failure(ExitCode::kNoDecoder, std::string(kSourceModule) +
                                                " is neither registered nor beside this program");
    }
    return filter;
}

/// The description that an object gives of its last failure in this thread, else the result in
/// words.
std::string ReasonOf(IUnknown* object, const IID& interfaceId, HRESULT result) {
    const auto support = As<ISupportErrorInfo>(object);
    ComPtr<IErrorInfo> info;
    BSTR text = nullptr;
    if (!support || support->InterfaceSupportsErrorInfo(interfaceId) != S_OK ||
        GetErrorInfo(0, info.GetAddressOf()) != S_OK || FAILED(info->GetDescription(&text)) ||
        SysStringLen(text) == 0) {
        return ResultText(result);
    }
    const std::string reason = Utf8(std::wstring_view(text, SysStringLen(text)));
    SysFreeString(text);
    return reason;
}

void Load(IBaseFilter* source, const std::string& path) {
    SetErrorInfo(0, nullptr);  // clears an older failure
    const auto file = As<IFileSourceFilter>(source);
    const HRESULT loaded =
        file ? file->Load(std::filesystem::path(Wide(path)).make_preferred().c_str(), nullptr)
             : E_NOINTERFACE;
    if (FAILED(loaded)) {
        const bool unreadable = HRESULT_FACILITY(loaded) == FACILITY_WIN32;
        throw Failure(unreadable ? ExitCode::kInput : ExitCode::kNotFootage,
                      (unreadable ? "cannot open " + path : path + " is not supported") + ": " +
                          ReasonOf(source, IID_IFileSourceFilter, loaded));
    }
}

SourceStream StreamOf(const ComPtr<IPin>& pin) {
    ComPtr<IEnumMediaTypes> types;
    AM_MEDIA_TYPE* first = nullptr;
    Check(pin->EnumMediaTypes(types.GetAddressOf()), "cannot query the source's media types");
    Check(types->Next(1, &first, nullptr) == S_OK ? S_OK : E_FAIL,
          "the source offers no media types");
    return {pin, MediaType::Adopt(first)};
}

}  // namespace

void CheckReadable(const std::string& path) {
    const UniqueHandle file = AdoptFile(CreateFileW(
        Wide(path).c_str(), GENERIC_READ, FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE,
        nullptr, OPEN_EXISTING, 0, nullptr));
    Check(file != nullptr ? S_OK : LastError(), "cannot open " + path, ExitCode::kInput);
    if (GetFileType(file.get()) != FILE_TYPE_DISK) {
        throw Failure(ExitCode::kInput, "cannot open " + path + ": not a file on a disk");
    }
}

Failure PastEnd(const std::string& path, LONG frames) {
    return {ExitCode::kPastEnd, path + Format(" has %ld frames and ends before --from", frames)};
}

Footage::Footage(IGraphBuilder* graph, const std::string& path) : path_(path) {
    CheckReadable(path);
    // By its class: the platform's own sources do not pass unknown FourCCs on.
    const ComPtr<IBaseFilter> source = CreateSource();
    Load(source.Get(), path);
    Check(graph->AddFilter(source.Get(), L"Footage"), "cannot add the source to the graph");
    for (const ComPtr<IPin>& pin : PinsOf(source.Get())) {
        SourceStream stream = StreamOf(pin);
        if (stream.type.majortype == MEDIATYPE_Audio) {
            audio_.push_back(std::move(stream));
        } else if (video_.pin == nullptr && stream.type.HasPicture()) {
            video_ = std::move(stream);
        }
    }
    if (video_.pin == nullptr) {
        throw Failure(ExitCode::kNotFootage, path + " has no video stream");
    }
    seeking_ = Query<IMediaSeeking>(video_.pin, "the source cannot seek");
}

REFERENCE_TIME Footage::Duration() const {
    LONGLONG duration = 0;
    Check(seeking_->GetDuration(&duration), "cannot query the source's duration");
    return duration;
}

LONGLONG Footage::Converted(LONGLONG value, const GUID& from, const GUID& to) const {
    LONGLONG converted = 0;
    Check(seeking_->ConvertTimeFormat(&converted, &to, value, &from),
          "the source cannot convert times and frames");
    return converted;
}

LONG Footage::FrameAt(REFERENCE_TIME time) const {
    return static_cast<LONG>(
        std::min<LONGLONG>(Converted(time, TIME_FORMAT_MEDIA_TIME, TIME_FORMAT_FRAME), LONG_MAX));
}

LONG Footage::FrameAt(const Place& place) const {
    const LONG frame = place.time < 0 ? place.frame : FrameAt(place.time);
    if (frame >= FrameCount()) {
        throw PastEnd(path_, FrameCount());
    }
    return frame;
}

REFERENCE_TIME Footage::TimeOf(LONG frame) const {
    return Converted(frame, TIME_FORMAT_FRAME, TIME_FORMAT_MEDIA_TIME);
}

void Footage::Select(LONG first, LONG count) const {
    LONGLONG start = TimeOf(first);
    LONGLONG stop = count < FrameCount() - first ? TimeOf(first + count) : Duration();
    Check(seeking_->SetPositions(&start, AM_SEEKING_AbsolutePositioning, &stop,
                                 AM_SEEKING_AbsolutePositioning),
          "the source cannot seek");
}

std::pair<LONG, LONG> RateOf(const MediaType& type) {
    constexpr LONG kUnitsPerSecond = 10000000;
    constexpr std::pair<LONG, LONG> kUsual[] = {
        {24000, 1001}, {24, 1}, {25, 1}, {30000, 1001}, {30, 1}, {50, 1}, {60000, 1001}, {60, 1}};
    const REFERENCE_TIME length = const_cast<MediaType&>(type).Info().AvgTimePerFrame;
    for (const auto& [frames, seconds] : kUsual) {
        if (length == std::int64_t{kUnitsPerSecond} * seconds / frames) {
            return {frames, seconds};
        }
    }
    return {kUnitsPerSecond, static_cast<LONG>(std::clamp<REFERENCE_TIME>(length, 1, LONG_MAX))};
}

std::string DescribeVideo(const Footage& footage) {
    const MediaType& type = footage.Video().type;
    const BITMAPINFOHEADER& header = type.Header();
    const auto [frames, seconds] = RateOf(type);
    return FourCCText(header.biCompression) +
           Format(", %ldx%ld, %u bits, %.3f frames per second, %ld frames, %.2f s", header.biWidth,
                  header.biHeight, header.biBitCount, 1.0 * frames / seconds, footage.FrameCount(),
                  static_cast<double>(footage.Duration()) / 1e7);
}

const WAVEFORMATEX& WaveFormatOf(const MediaType& type) {
    return *reinterpret_cast<const WAVEFORMATEX*>(type.pbFormat);
}

std::string DescribeAudio(const MediaType& type) {
    const WAVEFORMATEX& wave = WaveFormatOf(type);
    return Format("%u channel%s, %lu Hz, %u bits", wave.nChannels, wave.nChannels == 1 ? "" : "s",
                  wave.nSamplesPerSec, wave.wBitsPerSample);
}

std::string TimecodeText(const NyxTimecode& code) {
    return Format("%02u:%02u:%02u%c%02u", code.hours, code.minutes, code.seconds,
                  code.dropFrame != 0 ? ';' : ':', code.frames);
}

std::string TimecodeText(INyxFootageInfo* info, REFERENCE_TIME time) {
    NyxTimecode code{};
    NyxTimecodeOrigin origin = NyxTimecodeNone;
    if (info == nullptr || info->GetTimecode(time, &code, &origin) != S_OK) {
        return "no timecode";
    }
    return TimecodeText(code) + (origin == NyxTimecodeFrame ? " in the frame" : "");
}

}  // namespace nyx::host

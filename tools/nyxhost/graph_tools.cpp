#include "graph_tools.h"

#include <vector>

#include "creation_text.h"
#include "interrupt.h"
#include "text.h"

namespace nyx::host {
namespace {

struct Candidate {
    std::string name;
    ComPtr<IMoniker> moniker;
};

// The filters that intelligent connect would try: those that name the subtype itself, with a merit
// above MERIT_DO_NOT_USE.
std::vector<Candidate> FindCandidates(const GUID& subtype) {
    const auto mapper = CreateObject<IFilterMapper2>(CLSID_FilterMapper2, "no filter mapper");
    const GUID types[] = {MEDIATYPE_Video, subtype};
    ComPtr<IEnumMoniker> monikers;
    Check(mapper->EnumMatchingFilters(monikers.GetAddressOf(), 0, TRUE, MERIT_DO_NOT_USE + 1, TRUE,
                                      1, types, nullptr, nullptr, FALSE, TRUE, 0, nullptr, nullptr,
                                      nullptr),
          "the filter mapper does not answer");
    std::vector<Candidate> candidates;
    ComPtr<IMoniker> moniker;
    while (monikers->Next(1, moniker.ReleaseAndGetAddressOf(), nullptr) == S_OK) {
        candidates.push_back({FriendlyName(moniker.Get()), moniker});
    }
    return candidates;
}

/// The name that a filter's class is registered with, else what the graph calls it.
std::string ClassName(IBaseFilter* filter) {
    CLSID clsid{};
    wchar_t name[256] = L"";
    DWORD bytes = sizeof(name);
    if (FAILED(filter->GetClassID(&clsid)) ||
        RegGetValueW(HKEY_CLASSES_ROOT, Wide("CLSID\\" + GuidText(clsid)).c_str(), nullptr,
                     RRF_RT_REG_SZ, nullptr, name, &bytes) != ERROR_SUCCESS) {
        return FilterName(filter);
    }
    return Utf8(name);
}

void WaitForEnd(const ComPtr<IGraphBuilder>& graph, const std::function<bool()>& goesOn,
                const std::function<void(HRESULT)>& onRefused) {
    constexpr long kPollMs = 100;
    const auto events = Query<IMediaEvent>(graph, "the graph has no events", IID_IMediaEvent);
    while (goesOn()) {
        if (Interrupted()) {
            throw Failure(ExitCode::kInterrupted, "interrupted");
        }
        long code = 0;
        LONG_PTR first = 0;
        LONG_PTR second = 0;
        if (FAILED(events->GetEvent(&code, &first, &second, kPollMs))) {
            continue;
        }
        events->FreeEventParams(code, first, second);
        if (code == EC_COMPLETE || code == EC_USERABORT) {
            goesOn();
            return;
        }
        if (code == EC_STREAM_ERROR_STILLPLAYING) {
            onRefused(static_cast<HRESULT>(first));
        }
        if (code == EC_ERRORABORT || code == EC_STREAM_ERROR_STOPPED) {
            Check(static_cast<HRESULT>(first), "the graph aborted");
            throw Failure(ExitCode::kPlatform, "the graph aborted");
        }
    }
}

std::string CandidateAnswer(const Candidate& candidate, const MediaType& compressed,
                            const std::string& formatName) {
    ComPtr<IBaseFilter> filter;
    const HRESULT created = candidate.moniker->BindToObject(
        nullptr, nullptr, IID_IBaseFilter, reinterpret_cast<void**>(filter.GetAddressOf()));
    if (FAILED(created)) {
        return candidate.name + " cannot be created: " + CreationText(candidate.name, created);
    }
    const ComPtr<IPin> input = FindPin(filter.Get(), PINDIR_INPUT);
    if (input == nullptr || input->QueryAccept(&compressed) != S_OK) {
        return candidate.name + " refuses the clip's format";
    }
    return candidate.name + " takes the clip but does not deliver " + formatName;
}

}  // namespace

std::string MonikerText(IMoniker* moniker, const wchar_t* property) {
    ComPtr<IPropertyBag> bag;
    std::string text;
    if (SUCCEEDED(moniker->BindToStorage(nullptr, nullptr, IID_IPropertyBag,
                                         reinterpret_cast<void**>(bag.GetAddressOf())))) {
        VARIANT value;
        VariantInit(&value);
        if (SUCCEEDED(bag->Read(property, &value, nullptr)) && value.vt == VT_BSTR) {
            text = Utf8(std::wstring_view(value.bstrVal, SysStringLen(value.bstrVal)));
        }
        VariantClear(&value);
    }
    return text;
}

bool IsWine() {
    return GetProcAddress(GetModuleHandleW(L"ntdll"), "wine_get_version") != nullptr;
}

std::string FriendlyName(IMoniker* moniker) {
    const std::string name = MonikerText(moniker, L"FriendlyName");
    return name.empty() ? "a filter without a name" : name;
}

BYTE* DataOf(IMediaSample& sample) {
    BYTE* data = nullptr;
    Check(sample.GetPointer(&data), "a sample has no memory");
    return data;
}

ComPtr<IPin> FindPin(IBaseFilter* filter, PIN_DIRECTION direction) {
    ComPtr<IEnumPins> pins;
    ComPtr<IPin> pin;
    if (FAILED(filter->EnumPins(pins.GetAddressOf()))) {
        return nullptr;
    }
    while (pins->Next(1, pin.ReleaseAndGetAddressOf(), nullptr) == S_OK) {
        PIN_DIRECTION found = PINDIR_INPUT;
        if (SUCCEEDED(pin->QueryDirection(&found)) && found == direction) {
            return pin;
        }
    }
    return nullptr;
}

ComPtr<IBaseFilter> FilterOf(IPin* pin) {
    PIN_INFO info{};
    pin->QueryPinInfo(&info);
    return Adopt(info.pFilter);
}

std::string FilterName(IBaseFilter* filter) {
    FILTER_INFO info{};
    if (filter == nullptr || FAILED(filter->QueryFilterInfo(&info))) {
        return "a filter without a name";
    }
    if (info.pGraph != nullptr) {
        info.pGraph->Release();
    }
    return Utf8(info.achName);
}

std::vector<std::string> FilterNames(IGraphBuilder* graph) {
    ComPtr<IEnumFilters> filters;
    Check(graph->EnumFilters(filters.GetAddressOf()), "the graph tells no filters");
    std::vector<std::string> names;
    for (ComPtr<IBaseFilter> filter;
         filters->Next(1, filter.ReleaseAndGetAddressOf(), nullptr) == S_OK;) {
        names.push_back(ClassName(filter.Get()));
    }
    return names;
}

void RunToEnd(const ComPtr<IGraphBuilder>& graph, const std::function<bool()>& goesOn,
              const std::function<void(HRESULT)>& onRefused) {
    const auto control = Query<IMediaControl>(graph, "the graph cannot be controlled");
    const HRESULT run = control->Run();
    try {
        Check(run, "the graph does not run");
        WaitForEnd(graph, goesOn, onRefused);
    } catch (...) {
        control->Stop();
        throw;
    }
    control->Stop();
}

void ExplainFailedConnection(const MediaType& compressed, const std::string& formatName,
                             HRESULT result) {
    const std::string code = FourCCText(compressed.subtype.Data1);
    const std::vector<Candidate> candidates = FindCandidates(compressed.subtype);
    if (candidates.empty()) {
        throw Failure(ExitCode::kNoDecoder,
                      "no decoder is registered for \"" + code +
                          "\"; register one with regsvr32 (see nyxhost list)");
    }
    std::string message = "no decoder delivers this \"" + code + "\" clip as " + formatName;
    for (const Candidate& candidate : candidates) {
        message += "\n  " + CandidateAnswer(candidate, compressed, formatName);
    }
    message += "\n  the graph answered " + ResultText(result);
    throw Failure(ExitCode::kRefused, message);
}

}  // namespace nyx::host

#include "graph_description.h"

#include <algorithm>
#include <tuple>

#include "console.h"
#include "decoder_candidates.h"
#include "footage.h"
#include "graph_tools.h"
#include "module_registry.h"
#include "picture_format.h"
#include "text.h"

namespace nyx::host {
namespace {

std::string MeritText(const CLSID& clsid) {
    const std::optional<DWORD> merit = MeritOf(clsid);
    return merit ? Format(", merit 0x%08lX", *merit) : "";
}

/// The name that a filter's class is registered with, else its name in the graph.
std::string ClassName(IBaseFilter* filter, const CLSID& clsid) {
    wchar_t name[256] = L"";
    DWORD bytes = sizeof(name);
    return RegGetValueW(HKEY_CLASSES_ROOT, Wide("CLSID\\" + GuidText(clsid)).c_str(), nullptr,
                        RRF_RT_REG_SZ, nullptr, name, &bytes) == ERROR_SUCCESS
               ? Utf8(name)
               : FilterName(filter);
}

/// The subtypes of FourCCs differ in their first word alone.
std::string SubtypeText(const GUID& subtype) {
    GUID family = MEDIASUBTYPE_YUY2;
    family.Data1 = subtype.Data1;
    if (const PictureFormat* format = FindPictureFormat(subtype)) {
        return format->name;
    }
    return family == subtype ? FourCCText(subtype.Data1) : GuidText(subtype);
}

/// Our filters that name the subtype, when `winner` is a third-party filter.
std::string BeatenText(const CLSID& winner, const GUID& subtype) {
    const std::vector<RegisteredFilter> ours = FindFilters("nyxcodecs.dll");
    const auto isOurs = [&ours](const CLSID& clsid) {
        return std::any_of(ours.begin(), ours.end(),
                           [&clsid](const RegisteredFilter& own) { return own.clsid == clsid; });
    };
    std::string text;
    for (const Candidate& candidate : FindCandidates(subtype)) {
        if (isOurs(candidate.clsid) && !isOurs(winner)) {
            text += "  chosen over " + candidate.name + MeritText(candidate.clsid) + "\n";
        }
    }
    return text;
}

void PrintPins(IBaseFilter* filter, const CLSID& clsid) {
    ComPtr<IEnumPins> pins;
    Check(filter->EnumPins(pins.GetAddressOf()), "cannot list a filter's pins");
    for (ComPtr<IPin> pin; pins->Next(1, pin.ReleaseAndGetAddressOf(), nullptr) == S_OK;) {
        MediaType type;
        PIN_DIRECTION direction = PINDIR_INPUT;
        if (FAILED(pin->ConnectionMediaType(&type)) || FAILED(pin->QueryDirection(&direction))) {
            continue;
        }
        const bool input = direction == PINDIR_INPUT;
        Print(std::string(input ? "  in: " : "  out: ") + DescribeType(type) + "\n");
        if (input && type.majortype == MEDIATYPE_Video &&
            FindPictureFormat(type.subtype) == nullptr) {
            Print(BeatenText(clsid, type.subtype));
        }
    }
}

}  // namespace

std::string DescribeType(const MediaType& type) {
    if (type.majortype == MEDIATYPE_Audio && type.formattype == FORMAT_WaveFormatEx &&
        type.cbFormat >= sizeof(PCMWAVEFORMAT)) {
        return "audio, " + DescribeAudio(type);
    }
    const bool video = type.majortype == MEDIATYPE_Video;
    std::string text = video ? "video, " + SubtypeText(type.subtype) : GuidText(type.majortype);
    if (video && type.HasPicture()) {
        const BITMAPINFOHEADER& header = type.Header();
        text += Format(", %ldx%ld, %u bits", header.biWidth, header.biHeight, header.biBitCount);
    }
    return text;
}

void PrintGraph(IGraphBuilder* graph) {
    ComPtr<IEnumFilters> filters;
    Check(graph->EnumFilters(filters.GetAddressOf()), "cannot list the graph's filters");
    for (ComPtr<IBaseFilter> filter;
         filters->Next(1, filter.ReleaseAndGetAddressOf(), nullptr) == S_OK;) {
        CLSID clsid{};
        std::ignore = filter->GetClassID(&clsid);  // without one its name in the graph is shown
        Print("filter: " + ClassName(filter.Get(), clsid) + MeritText(clsid) + "\n");
        PrintPins(filter.Get(), clsid);
    }
}

}  // namespace nyx::host

#include "graph_description.h"

#include <algorithm>
#include <tuple>

#include "console.h"
#include "footage.h"
#include "graph_tools.h"
#include "module_registry.h"
#include "picture_format.h"
#include "text.h"

namespace nyx::host {
namespace {

/// The subtypes of FourCCs differ in their first word alone.
std::string SubtypeText(const GUID& subtype) {
    GUID family = MEDIASUBTYPE_YUY2;
    family.Data1 = subtype.Data1;
    if (const PictureFormat* format = FindPictureFormat(subtype)) {
        return format->name;
    }
    return family == subtype ? FourCCText(subtype.Data1) : GuidText(subtype);
}

void PrintPins(IBaseFilter* filter, const CLSID& clsid) {
    for (const ComPtr<IPin>& pin : PinsOf(filter)) {
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

std::string MeritText(const CLSID& clsid, int bits) {
    const std::optional<DWORD> merit = MeritOf(clsid, bits);
    return merit ? Format(", merit 0x%08lX", *merit) : "";
}

std::string ClassName(IBaseFilter* filter, const CLSID& clsid) {
    const std::string name = RegisteredText("CLSID\\" + GuidText(clsid));
    return name.empty() ? FilterName(filter) : name;
}

std::string BeatenText(const CLSID& winner, const GUID& subtype) {
    const std::vector<RegisteredFilter> ours = FindFilters(kCodecModule);
    const auto isOurs = [&ours](const CLSID& clsid) {
        return std::any_of(ours.begin(), ours.end(),
                           [&clsid](const RegisteredFilter& own) { return own.clsid == clsid; });
    };
    std::string text;
    for (const ListedFilter& candidate : DecodersFor(subtype)) {
        if (isOurs(candidate.clsid) && !isOurs(winner)) {
            text += "  chosen over " + candidate.name + MeritText(candidate.clsid) + "\n";
        }
    }
    return text;
}

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
    for (const ComPtr<IBaseFilter>& filter : FiltersOf(graph)) {
        CLSID clsid{};
        std::ignore = filter->GetClassID(&clsid);  // without one its name in the graph is shown
        Print("filter: " + ClassName(filter.Get(), clsid) + MeritText(clsid) + "\n");
        PrintPins(filter.Get(), clsid);
    }
}

}  // namespace nyx::host

#include "graph_description.h"

#include "console.h"
#include "footage.h"
#include "graph_tools.h"
#include "picture_format.h"
#include "text.h"

namespace nyx::host {
namespace {

void PrintPins(IBaseFilter* filter) {
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
            Print(BeatenText(ClassOf(filter), type.subtype));
        }
    }
}

/// A candidate's answer to a clip that could not be connected.
Failure AnswerOf(const ListedFilter& candidate, const MediaType& compressed,
                 const std::string& formatName) {
    try {
        const ComPtr<IBaseFilter> filter = CreateFilter(candidate);
        const ComPtr<IPin> input = FindPin(filter.Get(), PINDIR_INPUT);
        if (input == nullptr || input->QueryAccept(&compressed) != S_OK) {
            return {ExitCode::kNoDecoder, candidate.name + " refuses the clip's format"};
        }
    } catch (const Failure& failure) {
        return failure;
    }
    return {ExitCode::kRefused,
            candidate.name + " accepts the clip but does not deliver " + formatName};
}

}  // namespace

std::string SubtypeText(const GUID& subtype) {
    if (const PictureFormat* format = FindPictureFormat(subtype)) {
        return format->name;
    }
    return FourCCSubtype(subtype.Data1) == subtype ? FourCCText(subtype.Data1) : GuidText(subtype);
}

std::string MeritText(const CLSID& clsid, int bits) {
    const std::optional<DWORD> merit = MeritOf(clsid, bits);
    return merit ? Format(", merit 0x%08lX", *merit) : "";
}

std::string FilterText(IBaseFilter* filter) {
    if (filter == nullptr) {
        return "none";
    }
    const CLSID clsid = ClassOf(filter);
    const std::string name = TextOf(OpenView(HKEY_CLASSES_ROOT, "CLSID\\" + GuidText(clsid)));
    return (name.empty() ? FilterName(filter) : name) + MeritText(clsid);
}

std::string BeatenText(const CLSID& winner, const GUID& subtype) {
    const auto isOurs = [](const CLSID& clsid) {
        return IsNamed(RegisteredServer(GuidText(clsid)), kCodecModule);
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
        Print("filter: " + FilterText(filter.Get()) + "\n");
        PrintPins(filter.Get());
    }
}

void ExplainFailedConnection(const MediaType& compressed, const std::string& formatName,
                             HRESULT result) {
    const std::string fourcc = FourCCText(compressed.subtype.Data1);
    const std::vector<ListedFilter> candidates = DecodersFor(compressed.subtype);
    if (candidates.empty()) {
        throw Failure(ExitCode::kNoDecoder,
                      "no decoder is registered for \"" + fourcc +
                          "\"; register one with regsvr32 (see nyxhost list)");
    }
    std::string message = "no decoder delivers this \"" + fourcc + "\" clip as " + formatName;
    bool accepted = false;
    bool lacksEngine = false;
    for (const ListedFilter& candidate : candidates) {
        const Failure answer = AnswerOf(candidate, compressed, formatName);
        accepted = accepted || answer.Code() == ExitCode::kRefused;
        lacksEngine = lacksEngine || answer.Code() == ExitCode::kNoEngine;
        message += std::string("\n  ") + answer.what();
    }
    message += "\n  the graph returned " + ResultText(result);
    throw Failure(lacksEngine && !accepted ? ExitCode::kNoEngine : ExitCode::kRefused, message);
}

}  // namespace nyx::host

#include "clip_facts.h"

#include "audio_peaks.h"
#include "graph_tools.h"
#include "text.h"

namespace nyx::host {
namespace {

bool HasInfo2(const MediaType& type) {
    return type.HasPicture() && type.formattype == FORMAT_VideoInfo2;
}

/// The sample's own flag; nothing when it has none.
std::optional<bool> Field1First(IMediaSample& sample) {
    constexpr DWORD kVideoFlagField1First = 0x4;  // of AM_SAMPLE2_PROPERTIES::dwTypeSpecificFlags
    const auto sample2 = As<IMediaSample2>(&sample);
    AM_SAMPLE2_PROPERTIES properties{};
    if (!sample2 ||
        FAILED(sample2->GetProperties(sizeof(properties), reinterpret_cast<BYTE*>(&properties)))) {
        return std::nullopt;
    }
    return (properties.dwTypeSpecificFlags & kVideoFlagField1First) != 0;
}

bool IsDv(const MediaType& type) {
    const std::string code = FourCCText(type.subtype.Data1);
    return code == "QDVC" || code == "QDV5" || code == "QDVH";
}

}  // namespace

PictureFacts PictureFactsOf(const MediaType& type) {
    PictureFacts facts;
    if (!HasInfo2(type)) {
        return facts;
    }
    const VIDEOINFOHEADER2& info = type.Info2();
    facts.flags = info.dwInterlaceFlags;
    facts.aspect = Format("%lu:%lu", info.dwPictAspectRatioX, info.dwPictAspectRatioY);
    if ((facts.flags & AMINTERLACE_IsInterlaced) == 0) {
        facts.fieldOrder = kProgressiveOrder;
    } else {
        facts.fieldOrder = (facts.flags & AMINTERLACE_Field1First) != 0 ? 0 : 1;
    }
    return facts;
}

ClipFacts ReadClip(const ClipOptions& clip, const OnFrameFacts& onFrame) {
    PlaybackGraph::Options options = clip.graph;
    options.packets = true;
    PlaybackGraph graph(clip.path, options, [&](const ArrivedFrame& frame) {
        FrameFacts facts = {.bytes = frame.sample.GetActualDataLength(),
                            .isKey = frame.sample.IsSyncPoint() == S_OK};
        if (IsDv(graph.ConnectedType())) {
            facts.dv = ReadDvFacts(DataOf(frame.sample), static_cast<std::size_t>(facts.bytes));
        }
        onFrame(frame.index, std::move(facts));
    });
    const Footage& footage = graph.Clip();
    ClipFacts facts = {.path = clip.path,
                       .description = DescribeVideo(footage),
                       .container = ReadContainerFacts(footage.Video().pin.Get()),
                       .video = footage.Video().type,
                       .frameCount = footage.FrameCount(),
                       .duration = footage.Duration()};
    std::vector<std::unique_ptr<AudioPeaks>> peaks;
    for (const SourceStream& stream : footage.Audio()) {
        peaks.push_back(std::make_unique<AudioPeaks>(stream.type));
        graph.AddAudioSink(
            stream, [meter = peaks.back().get()](IMediaSample& sample) { meter->Measure(sample); });
    }
    graph.Play("reading");
    for (std::size_t i = 0; i < peaks.size(); ++i) {
        facts.audio.push_back({footage.Audio()[i].type, peaks[i]->Decibels()});
    }
    return facts;
}

ExitCode ReadPictures(const ClipOptions& options, ClipFacts* facts) {
    try {
        PlaybackGraph graph(options.path, options.graph, [facts](const ArrivedFrame& frame) {
            PictureFacts picture = PictureFactsOf(frame.type);
            picture.field1First = Field1First(frame.sample);
            picture.newType = frame.typeChanged;
            facts->frames[frame.index].picture = picture;
        });
        const PassResult result = graph.Play("decoding");
        for (const LostFrame& frame : result.lost) {
            facts->frames[frame.index].refused = frame.result;
        }
        facts->decoder = graph.DecoderName();
        return ReportLostFrames(result, "decoded");
    } catch (const Failure& failure) {
        // Without a decoder the packets are still described.
        if (failure.Code() != ExitCode::kNoDecoder && failure.Code() != ExitCode::kRefused &&
            failure.Code() != ExitCode::kNoEngine) {
            throw;
        }
        facts->problem = failure.what();
        return failure.Code();
    }
}

}  // namespace nyx::host

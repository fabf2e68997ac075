#include "dv/dif_parser.h"

#include <algorithm>

#include "dv/dif_layout.h"
#include "dv/sequence_headers.h"
#include "platform/byte_span.h"

namespace nyx {
namespace {

constexpr HRESULT kRecognised = 1;

LONG PayloadOf(const BYTE* pack) {
    if (!pack) {
        return -1;
    }
    return static_cast<LONG>(pack[kPc1] | DWORD{pack[kPc2]} << 8 | DWORD{pack[kPc3]} << 16 |
                             DWORD{pack[kPc4]} << 24);
}

}  // namespace

HRESULT CLvtDifParser::Parse(const void* frame, std::size_t size) {
    state_ = DifState{};
    MeasureFrame(frame, size);
    LocatePacks();
    const ByteSpan bytes = BytesAt(state_.frame, state_.frameBytes);
    const BYTE applicationId = VoteApplicationId(bytes, state_.videoSource);
    if (VoteAudioPresent(bytes)) {
        FindFirstHalfAudio();
    }
    const bool audioValid = DecodeAudio();
    const bool formatFound = LookUpFormat(state_.videoSource, state_.videoControl, &state_.format);
    if (formatFound) {
        RefineFormatCode(applicationId, DescribeAudio(), &state_.format);
        ApplyFrameRatePack(state_.frameRate, &state_.format);
    }
    return formatFound && audioValid && applicationId != kApplicationUnknown ? kRecognised : E_FAIL;
}

LONG CLvtDifParser::GetTimecodePack() const {
    return PayloadOf(state_.timecode);
}
LONG CLvtDifParser::GetBinaryGroupPack() const {
    return PayloadOf(state_.binaryGroup);
}
LONG CLvtDifParser::GetRecDatePack() const {
    return PayloadOf(state_.videoRecDate);
}
LONG CLvtDifParser::GetRecTimePack() const {
    return PayloadOf(state_.videoRecTime);
}

void CLvtDifParser::MeasureFrame(const void* frame, std::size_t size) {
    const ByteSpan bytes = BytesAt(frame, size);
    state_.frame = bytes.data();
    state_.frameBytes = bytes.size();
    state_.sequenceCount = static_cast<DWORD>(bytes.size() / kDifSequenceBytes);
    state_.sequencesPerChannel = SequencesPerChannel(bytes.size());
    if (state_.sequencesPerChannel != 0) {
        state_.channelCount = state_.sequenceCount / state_.sequencesPerChannel;
    }
}

void CLvtDifParser::LocatePacks() {
    const auto locate = [this](PackId id) {
        return LocatePack(state_.frame, state_.frameBytes, id);
    };
    state_.videoSource = locate(kVideoSourcePack);
    state_.videoControl = locate(kVideoControlPack);
    state_.videoRecDate = locate(kVideoRecDatePack);
    state_.videoRecTime = locate(kVideoRecTimePack);
    state_.frameRate = locate(kFrameRatePack);
    state_.audioControl = locate(kAudioControlPack);
    state_.audioRecDate = locate(kAudioRecDatePack);
    state_.audioRecTime = locate(kAudioRecTimePack);
    state_.timecode = FindTimecodePack(state_.frame, state_.frameBytes);
    state_.binaryGroup = locate(kBinaryGroupPack);
}

/// A buffer may claim more channels than any recorder writes.
std::size_t CLvtDifParser::ParsedChannels() const {
    return std::min<std::size_t>(state_.channelCount, kMaxDvChannels);
}

void CLvtDifParser::FindFirstHalfAudio() {
    for (DWORD channel = 0; channel < ParsedChannels(); ++channel) {
        state_.audioSource[2 * channel] =
            FindAudioSourcePack(state_.frame, state_.frameBytes, channel, 0);
    }
}

/// Looks the second halves up and decodes every slot; false when a pack is invalid. The second
/// half's pack counts even where the headers flag the audio areas as not valid.
bool CLvtDifParser::DecodeAudio() {
    state_.audio.fill(kNoAudio);
    bool allValid = true;
    for (DWORD channel = 0; channel < ParsedChannels(); ++channel) {
        state_.audioSource[2 * channel + 1] =
            FindAudioSourcePack(state_.frame, state_.frameBytes, channel, 1);
        for (std::size_t slot = 2 * channel; slot <= 2 * channel + 1; ++slot) {
            AudioRecord& record = state_.audio[slot];
            allValid &= SUCCEEDED(
                DecodeAudioSourcePack(state_.audioSource[slot], state_.videoSource, &record));
            state_.audioChannels += record.channels;
            state_.audioSamplesPerFrame =
                std::max(state_.audioSamplesPerFrame, record.samplesPerFrame);
        }
    }
    state_.audioChannelsEven = (state_.audioChannels + 1) / 2 * 2;
    return allValid;
}

AudioTraits CLvtDifParser::DescribeAudio() const {
    AudioTraits traits;
    for (const BYTE* pack : state_.audioSource) {
        if (pack) {
            traits.locked |= IsLockedAudio(pack);
            traits.sampling = traits.sampling.value_or(AudioSamplingOf(pack));
        }
    }
    return traits;
}

}  // namespace nyx

#pragma once

/// @file
/// What the Zeta engines have in common: the numbers by which they are told a layout, the end of an
/// encode, and their entries.

#include <algorithm>
#include <cstring>
#include <optional>
#include <string_view>

#include "codecs/engine_records.h"
#include "engines/standin/call_log.h"
#include "engines/standin/coder.h"
#include "engines/standin/picture.h"

namespace standin {

constexpr DWORD kYuy2Code = 0;

/// RGB codes count down in steps of `step` from `first`: high definition full range, high
/// definition studio range, standard definition full range, standard definition studio range.
inline std::optional<RgbLayout> RgbLayoutFor(DWORD code, DWORD first, DWORD step,
                                             int bytesPerPixel) {
    if (code == 0 || code > first || (first - code) % step != 0 || (first - code) / step > 3) {
        return std::nullopt;
    }
    const DWORD place = (first - code) / step;
    return RgbLayout{bytesPerPixel, place < 2, place % 2 == 0};
}

inline bool IsZero(const LONG* words, std::size_t count) {
    return std::all_of(words, words + count, [](LONG word) { return word == 0; });
}

/// Codes the picture into the caller's room. The coded length, or one more than the room holds when
/// told to lie.
inline LONG EncodeInto(void* output, std::size_t capacity, std::string_view tag,
                       const Picture& picture, LONG step, Action action) {
    const std::vector<BYTE> frame =
        EncodeFrame(tag, picture, static_cast<float>(std::max(step, LONG{1})), capacity);
    if (frame.empty()) {
        return kNoRoom;
    }
    std::memcpy(output, frame.data(), frame.size());
    return static_cast<LONG>(action == Action::kLonger ? capacity + 1 : frame.size());
}

/// Answers a probe with the coded length, or with one more when told to lie.
template <class Record>
LONG ProbeLength(Record* record, const std::optional<FrameHeader>& header, Action action) {
    if (!header) {
        record->codedLength = ~DWORD{0};  // more than any sample holds
        return kBadFrame;
    }
    record->codedLength = header->codedLength + (action == Action::kLonger ? 1 : 0);
    return kDone;
}

/// The decode entry of an engine whose records begin with a command.
template <class ProbeRecord, class Record>
LONG RunDecodeEntry(void* words, std::string_view tag,
                    LONG (*decode)(const Record& record, Action action)) {
    const auto& record = *static_cast<const Record*>(words);
    const bool probe = record.command == nyx::kCommandProbe;
    const Purpose purpose = probe ? kProbe : kDecode;
    LogCall(purpose, words, sizeof(record) / sizeof(DWORD));
    return RunEntry(purpose, [&](Action action) -> LONG {
        if (probe) {
            auto* asked = static_cast<ProbeRecord*>(words);
            return ProbeLength(asked, ReadHeader(asked->frame, tag), action);
        }
        return record.command == nyx::kCommandDecode ? decode(record, action) : LONG{kBadRecord};
    });
}

/// The encode entry of such an engine.
template <class Record>
LONG RunEncodeEntry(const void* words, LONG (*encode)(const Record& record, Action action)) {
    const auto& record = *static_cast<const Record*>(words);
    LogCall(kEncode, words, sizeof(record) / sizeof(DWORD));
    return RunEntry(kEncode, [&](Action action) { return encode(record, action); });
}

}  // namespace standin

#pragma once

/// @file
/// The entries of the three Zeta engines, by a class for each engine with these members:
///
///     kTag                            the first bytes of its frames
///     DecodeRecord, EncodeRecord      a probe's record is a decode's
///     kDecodeShape, kEncodeShape      the layout of their words
///     IsProbe(DecodeRecord)           whether the call is a probe
///     IsValid(record)                 whether every word has a value that a caller should give
///     LengthOf(DecodeRecord)          the bytes at the frame, if the record has them
///     SurfaceOf(record)               the caller's picture
///     CapacityOf(EncodeRecord), HasAlpha(EncodeRecord)
///     Copy(direction, code, surface, picture)   by number or callback; false for an unknown code

#include <algorithm>
#include <string_view>

#include "codecs/engine_records.h"
#include "engines/standin/call_log.h"
#include "engines/standin/coder.h"

namespace standin {

inline bool IsZero(const LONG* words, std::size_t count) {
    return std::all_of(words, words + count, [](LONG word) { return word == 0; });
}

/// Checks the picture's fields, common to all encode records.
template <class Record>
bool IsPicture(const Record& record, LONG encodeConstant) {
    return record.width >= 2 && record.height >= 1 && record.quantScale >= 0 &&
           record.encodeConstant == encodeConstant;
}

/// The common part of the core and the alpha engine.
struct ZetaRecords {
    static constexpr bool kReportsAlpha = false;

    template <class Record>
    static bool IsProbe(const Record& record) {
        return record.command == nyx::kCommandProbe;
    }
    template <class Record>
    static auto SurfaceOf(const Record& record) -> decltype(record.destination, Surface{}) {
        return {static_cast<BYTE*>(record.destination), record.stride, record.bytesPerPixel};
    }
    template <class Record>
    static auto SurfaceOf(const Record& record) -> decltype(record.source, Surface{}) {
        return {const_cast<BYTE*>(static_cast<const BYTE*>(record.source)), record.stride,
                record.bytesPerPixel};
    }
};

/// Quantiser steps of 10 bits in one of the caller's scale.
constexpr LONG kSamplesStep = 4;

/// Stores the coded length, or a wrong one as the action demands; an invalid frame gets a length
/// beyond any sample.
template <class Engine>
LONG AnswerProbe(typename Engine::DecodeRecord* record, Action action) {
    const auto header = ReadHeader(record->frame, Engine::kTag);
    record->codedLength = header ? header->codedLength : ~DWORD{0};
    if (action == Action::kZero) {
        record->codedLength = 0;
    } else if (header && action == Action::kLonger) {
        ++record->codedLength;
    }
    if constexpr (Engine::kReportsAlpha) {
        record->alphaKind = header && header->alpha != 0 ? header->alpha + 1 : 0;
    }
    return header ? kDone : kBadFrame;
}

template <class Engine>
LONG Decode(const typename Engine::DecodeRecord& record, Action action) {
    const auto header = ReadHeader(record.frame, Engine::kTag);
    if (!header || header->codedLength > Engine::LengthOf(record)) {
        return kBadFrame;
    }
    if (!Engine::IsValid(record)) {
        return kBadRecord;
    }
    auto picture = DecodeFrame(record.frame, *header);
    Surface surface = Engine::SurfaceOf(record);
    if (action == Action::kCallback && IsAddress(record.pixelFormat)) {
        surface.data = nullptr;
    }
    if (!picture) {
        return kBadFrame;
    }
    return Engine::Copy(Direction::kStore, record.pixelFormat, surface, &*picture) ? kDone
                                                                                   : kBadRecord;
}

template <class Engine>
LONG Encode(const typename Engine::EncodeRecord& record, Action action) {
    if (!Engine::IsValid(record)) {
        return kBadRecord;
    }
    Picture picture(record.width, record.height, Engine::HasAlpha(record));
    if (!Engine::Copy(Direction::kLoad, record.pixelFormat, Engine::SurfaceOf(record), &picture)) {
        return kBadRecord;
    }
    const std::size_t capacity = Engine::CapacityOf(record);
    const LONG length = EncodeFrame(Engine::kTag, picture, record.quantScale * kSamplesStep,
                                    record.output, capacity);
    return action == Action::kLonger || action == Action::kFull
               ? static_cast<LONG>(capacity) + (action == Action::kLonger ? 1 : 0)
               : length;
}

/// `inner` is a record that the first one points to, or null.
template <class Engine>
LONG DecodeEntry(void* words, const void* inner = nullptr, RecordShape innerShape = {}) {
    auto* record = static_cast<typename Engine::DecodeRecord*>(words);
    const bool probe = Engine::IsProbe(*record);
    LogCall(probe ? kProbe : kDecode, words, Engine::kDecodeShape, inner, innerShape);
    return RunEntry(probe ? kProbe : kDecode, [&](Action action) {
        return probe ? AnswerProbe<Engine>(record, action) : Decode<Engine>(*record, action);
    });
}

template <class Engine>
LONG EncodeEntry(const void* words, const void* inner = nullptr, RecordShape innerShape = {}) {
    const auto* record = static_cast<const typename Engine::EncodeRecord*>(words);
    LogCall(kEncode, words, Engine::kEncodeShape, inner, innerShape);
    return RunEntry(kEncode, [&](Action action) { return Encode<Engine>(*record, action); });
}

}  // namespace standin

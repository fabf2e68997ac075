#include "source/mpeg_groups.h"

#include <vector>

#include "media/mpeg2.h"

namespace nyx::source {
namespace {

constexpr std::size_t kHeaderBytes = 8;    // start code and time code
constexpr std::int64_t kNear = 256 << 10;  // bytes; reading so many beats another search step
constexpr int kBufferBytes = 64 << 10;

}  // namespace

void MpegGroups::Start(AVRational rate) {
    *this = {};
    base_ = rate.den > 0 ? (rate.num + rate.den / 2) / rate.den : 0;
}

/// ISO/IEC 13818-2, section 6.3.8: a flag, hours, minutes, a marker bit, seconds, pictures.
std::int64_t MpegGroups::NumberOf(const BYTE* header) const {
    const int minutes = (header[4] >> 2 & 31) * 60 + (header[4] & 3) * 16 + (header[5] >> 4);
    const int seconds = (header[5] & 7) * 8 + (header[6] >> 5);
    const int pictures = (header[6] & 31) * 2 + (header[7] >> 7);
    const bool drops = header[4] >> 7 != 0;  // two numbers a minute, except every tenth
    return (std::int64_t{minutes} * 60 + seconds) * base_ + pictures -
           (drops ? 2 * (minutes - minutes / 10) : 0);
}

void MpegGroups::Check(ByteSpan bytes, std::int64_t number) {
    for (std::size_t at = 0; Holds(bytes, at, kHeaderBytes); ++at) {
        const BYTE* header = bytes.data() + at;
        if (IsStartCode(header, kMpeg2Picture)) {
            return;
        }
        if (IsStartCode(header, kMpeg2Group)) {
            first_ = groups_++ == 0 ? NumberOf(header) - number : first_;
            agree_ = agree_ && NumberOf(header) - first_ == number;
            return;
        }
    }
}

/// The first group that begins in a part of the file; false when there is none.
bool MpegGroups::FindNext(ByteSource* file, std::int64_t from, std::int64_t to,
                          Group* group) const {
    std::vector<BYTE> buffer(kBufferBytes);
    std::int64_t sequence = -1;
    for (int got = 0; from < to; from += got - static_cast<int>(kHeaderBytes) + 1) {
        got = file->ReadAt(from, buffer);
        if (got < static_cast<int>(kHeaderBytes)) {
            return false;
        }
        const ByteSpan bytes(buffer.data(), static_cast<std::size_t>(got));
        for (std::size_t at = 0; Holds(bytes, at, kHeaderBytes); ++at) {
            const BYTE* header = bytes.data() + at;
            const std::int64_t place = from + static_cast<std::int64_t>(at);
            if (IsStartCode(header, kMpeg2Picture)) {
                sequence = -1;
            } else if (IsStartCode(header, kMpeg2SequenceHeader)) {
                sequence = place;
            } else if (IsStartCode(header, kMpeg2Group)) {
                *group = {sequence >= 0 ? sequence : place, NumberOf(header) - first_};
                return true;
            }
        }
    }
    return false;
}

MpegGroups::Group MpegGroups::Find(ByteSource* file, std::int64_t frame) const {
    Group before;
    std::int64_t end = file->Size();
    std::int64_t endFrame = INT64_MAX;  // of the first group known behind `end`
    while (end - before.position > kNear) {
        const std::int64_t middle = before.position + (end - before.position) / 2;
        Group group;
        const bool found = FindNext(file, middle, end, &group);
        if (found && (group.frame < before.frame || group.frame > endFrame)) {
            return {};
        }
        if (found && group.frame <= frame) {
            before = group;
        } else {
            endFrame = found ? group.frame : endFrame;
            end = middle;
        }
    }
    return before;
}

}  // namespace nyx::source

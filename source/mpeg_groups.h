#pragma once

#include "media/libav.h"
#include "platform/byte_span.h"
#include "source/byte_source.h"

namespace nyx::source {

/// Finds frames of an MPEG-2 elementary stream, which has no index, by the time codes of its groups
/// of pictures, if these count the frames. One thread at a time.
class MpegGroups {
  public:
    struct Group {
        std::int64_t position = 0;  ///< in the file, of its first header
        std::int64_t frame = 0;     ///< number of its first frame, from 0
    };

    /// Begins with a stream of `rate` frames per second.
    void Start(AVRational rate);
    /// Compares the time code in frame `number`, if it has one. Call it for every frame from the
    /// first on.
    void Check(ByteSpan bytes, std::int64_t number);
    /// Whether every time code was right so far, and there was more than one.
    bool areNumbered() const { return groups_ > 1 && agree_; }

    /// A group that begins with a frame or little before it, in few reads; the file's start when a
    /// time code goes back.
    Group Find(ByteSource* file, std::int64_t frame) const;

  private:
    std::int64_t NumberOf(const BYTE* header) const;
    bool FindNext(ByteSource* file, std::int64_t from, std::int64_t to, Group* group) const;

    int base_ = 0;            ///< frames that a time code counts in a second
    std::int64_t first_ = 0;  ///< number in the first group's time code
    int groups_ = 0;
    bool agree_ = true;
};

}  // namespace nyx::source

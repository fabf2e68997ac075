#pragma once

#include "media/libav.h"
#include "platform/byte_span.h"
#include "source/byte_source.h"

namespace nyx::source {

/// Finds frames of an MPEG-2 elementary stream, which has no index, by the time codes of its groups
/// of pictures, where these count the frames. One thread at a time.
class MpegGroups {
  public:
    struct Group {
        std::int64_t position;  ///< in the file, of its sequence header or its own
        std::int64_t frame;     ///< its first one's number, from 0
    };

    /// For a stream of so many frames per second.
    void Start(AVRational rate);
    /// Compares the time code in frame `number`, if there is one; all frames from the first on.
    void Check(ByteSpan bytes, std::int64_t number);
    /// Whether every time code was right so far, and there were some.
    bool areNumbered() const { return groups_ > 1 && agree_; }

    /// A group that begins with a frame or little before it; few reads. The file's start when its
    /// time codes go back somewhere.
    Group Find(ByteSource* file, std::int64_t frame) const;

  private:
    std::int64_t NumberOf(const BYTE* header) const;
    bool FindNext(ByteSource* file, std::int64_t from, std::int64_t to, Group* group) const;

    int base_ = 0;            ///< frames that a time code counts in a second
    std::int64_t first_ = 0;  ///< what the first group's says
    int groups_ = 0;
    bool agree_ = true;
};

}  // namespace nyx::source

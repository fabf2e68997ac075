#pragma once

#include <map>
#include <string>

#include "json.h"

namespace nyx::host {

/// Finds what changes between the frames of a DV recording. A frame that lacks a value is skipped:
/// the next one that has it is compared with the last one that had it.
class TapeSummary {
  public:
    /// Takes the next frame into account: its number in the clip, and the data of ReadDvFrame.
    void Add(LONG number, const Json& dv);

    /// As `summary` in docs/info-schema.json.
    Json Document() const;

  private:
    /// Whether the value of a frame follows that of a frame so many frames earlier; null where it
    /// stays the same.
    using Follows = bool (*)(LONG frames, const Json& before, const Json& now);

    void Compare(const char* what, LONG number, const Json& dv, const std::string& text,
                 Follows follows);
    void AddDamage(LONG number, const Json& dv);

    struct Seen {
        LONG frame;
        std::string text;
        Json dv;
    };
    std::map<std::string, Seen> last_;  ///< by kind of value
    Json events_ = Json::array();
    std::size_t damage_ = 0;  ///< place of the last event of damage
    LONG damageEnd_ = -1;     ///< number after its last frame
    LONG frames_ = 0;
    LONG next_ = 0;  ///< number after the last frame
    LONG damagedFrames_ = 0;
    LONG damagedBlocks_ = 0;
};

}  // namespace nyx::host

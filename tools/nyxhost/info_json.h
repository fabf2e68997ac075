#pragma once

#include <string>

#include "clip_facts.h"
#include "tape_summary.h"

namespace nyx::host {

/// The document that docs/info-schema.json describes, in UTF-8. With `summary` in place of the
/// frames unless it is null.
std::string InfoJson(const ClipFacts& facts, const TapeSummary* summary);

}  // namespace nyx::host

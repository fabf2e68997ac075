#pragma once

#include <dshow.h>

#include <optional>
#include <string>
#include <vector>

#include "platform/footage_info.h"

namespace nyx::host {

/// What the footage source knows of its file. Texts are empty where the file has none.
struct ContainerFacts {
    std::string container;  ///< short name, such as "mxf"; empty when the source gives no facts
    std::string reel;
    std::string clip;
    std::optional<NyxTimecode> start;  ///< of the first picture
    bool startFromFrame = false;       ///< read from the picture itself
    std::vector<NyxStreamInfo> streams;
};

/// Asks the filter of `pin`. Empty when it has no INyxFootageInfo.
ContainerFacts ReadContainerFacts(IPin* pin);

}  // namespace nyx::host

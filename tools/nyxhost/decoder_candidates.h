#pragma once

#include <dshow.h>

#include <string>
#include <vector>

#include "com.h"
#include "host/media_type.h"

namespace nyx::host {

/// A registered filter that a graph may try for a type.
struct Candidate {
    std::string name;
    CLSID clsid;
    ComPtr<IMoniker> moniker;
};

/// The filters that intelligent connect tries for a video subtype: those that register it, with a
/// merit above MERIT_DO_NOT_USE. Failure kPlatform.
std::vector<Candidate> FindCandidates(const GUID& subtype);

/// Reports why a clip of type `compressed` cannot be connected to `formatName`, with each
/// candidate's answer: kNoDecoder when no registered filter names the subtype, kNoEngine when one
/// cannot be created and no other accepts the clip, else kRefused. `result` is the graph's.
[[noreturn]] void ExplainFailedConnection(const MediaType& compressed,
                                          const std::string& formatName, HRESULT result);

}  // namespace nyx::host

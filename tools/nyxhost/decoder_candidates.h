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

/// The filters that intelligent connect would try for a video subtype: those that name it
/// themselves, with a merit above MERIT_DO_NOT_USE. Failure kPlatform.
std::vector<Candidate> FindCandidates(const GUID& subtype);

/// Says why no connection from a clip of type `compressed` to `formatName` came about: kNoDecoder
/// when no registered filter names the subtype, kNoEngine when one cannot be made and no other
/// takes the clip, else kRefused; with each candidate's answer. `result` is what the graph said.
[[noreturn]] void ExplainFailedConnection(const MediaType& compressed,
                                          const std::string& formatName, HRESULT result);

}  // namespace nyx::host

#include "decoder_candidates.h"

#include <algorithm>

#include "engine_text.h"
#include "graph_tools.h"
#include "text.h"

namespace nyx::host {
namespace {

struct Answer {
    ExitCode code;
    std::string text;
};

Answer AnswerOf(const Candidate& candidate, const MediaType& compressed,
                const std::string& formatName) {
    ComPtr<IBaseFilter> filter;
    const HRESULT created = candidate.moniker->BindToObject(
        nullptr, nullptr, IID_IBaseFilter, reinterpret_cast<void**>(filter.GetAddressOf()));
    if (FAILED(created)) {
        return {ExitCode::kNoEngine,
                candidate.name + " cannot be created: " + CreationText(candidate.name, created)};
    }
    const ComPtr<IPin> input = FindPin(filter.Get(), PINDIR_INPUT);
    if (input == nullptr || input->QueryAccept(&compressed) != S_OK) {
        return {ExitCode::kNoDecoder, candidate.name + " refuses the clip's format"};
    }
    return {ExitCode::kRefused,
            candidate.name + " accepts the clip but does not deliver " + formatName};
}

}  // namespace

std::vector<Candidate> FindCandidates(const GUID& subtype) {
    const auto mapper =
        CreateObject<IFilterMapper2>(CLSID_FilterMapper2, "cannot create the filter mapper");
    const GUID types[] = {MEDIATYPE_Video, subtype};
    ComPtr<IEnumMoniker> monikers;
    Check(mapper->EnumMatchingFilters(monikers.GetAddressOf(), 0, TRUE, MERIT_DO_NOT_USE + 1, TRUE,
                                      1, types, nullptr, nullptr, FALSE, TRUE, 0, nullptr, nullptr,
                                      nullptr),
          "cannot query the filter mapper");
    std::vector<Candidate> candidates;
    ComPtr<IMoniker> moniker;
    while (monikers->Next(1, moniker.ReleaseAndGetAddressOf(), nullptr) == S_OK) {
        Candidate candidate{FriendlyName(moniker.Get()), {}, moniker};
        if (SUCCEEDED(CLSIDFromString(Wide(MonikerText(moniker.Get(), L"CLSID")).c_str(),
                                      &candidate.clsid))) {
            candidates.push_back(candidate);
        }
    }
    return candidates;
}

void ExplainFailedConnection(const MediaType& compressed, const std::string& formatName,
                             HRESULT result) {
    const std::string fourcc = FourCCText(compressed.subtype.Data1);
    const std::vector<Candidate> candidates = FindCandidates(compressed.subtype);
    if (candidates.empty()) {
        throw Failure(ExitCode::kNoDecoder,
                      "no decoder is registered for \"" + fourcc +
                          "\"; register one with regsvr32 (see nyxhost list)");
    }
    std::string message = "no decoder delivers this \"" + fourcc + "\" clip as " + formatName;
    bool accepted = false;
    bool lacksEngine = false;
    for (const Candidate& candidate : candidates) {
        const Answer answer = AnswerOf(candidate, compressed, formatName);
        accepted = accepted || answer.code == ExitCode::kRefused;
        lacksEngine = lacksEngine || answer.code == ExitCode::kNoEngine;
        message += "\n  " + answer.text;
    }
    message += "\n  the graph returned " + ResultText(result);
    throw Failure(lacksEngine && !accepted ? ExitCode::kNoEngine : ExitCode::kRefused, message);
}

}  // namespace nyx::host

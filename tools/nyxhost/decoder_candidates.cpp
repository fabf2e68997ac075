#include "decoder_candidates.h"

#include "graph_tools.h"
#include "module_registry.h"
#include "text.h"

namespace nyx::host {
namespace {

struct Answer {
    ExitCode code;
    std::string text;
};

Answer AnswerOf(const ListedFilter& candidate, const MediaType& compressed,
                const std::string& formatName) {
    try {
        const ComPtr<IBaseFilter> filter = CreateFilter(candidate);
        const ComPtr<IPin> input = FindPin(filter.Get(), PINDIR_INPUT);
        if (input == nullptr || input->QueryAccept(&compressed) != S_OK) {
            return {ExitCode::kNoDecoder, candidate.name + " refuses the clip's format"};
        }
    } catch (const Failure& failure) {
        return {failure.Code(), failure.what()};
    }
    return {ExitCode::kRefused,
            candidate.name + " accepts the clip but does not deliver " + formatName};
}

}  // namespace

void ExplainFailedConnection(const MediaType& compressed, const std::string& formatName,
                             HRESULT result) {
    const std::string fourcc = FourCCText(compressed.subtype.Data1);
    const std::vector<ListedFilter> candidates = DecodersFor(compressed.subtype);
    if (candidates.empty()) {
        throw Failure(ExitCode::kNoDecoder,
                      "no decoder is registered for \"" + fourcc +
                          "\"; register one with regsvr32 (see nyxhost list)");
    }
    std::string message = "no decoder delivers this \"" + fourcc + "\" clip as " + formatName;
    bool accepted = false;
    bool lacksEngine = false;
    for (const ListedFilter& candidate : candidates) {
        const Answer answer = AnswerOf(candidate, compressed, formatName);
        accepted = accepted || answer.code == ExitCode::kRefused;
        lacksEngine = lacksEngine || answer.code == ExitCode::kNoEngine;
        message += "\n  " + answer.text;
    }
    message += "\n  the graph returned " + ResultText(result);
    throw Failure(lacksEngine && !accepted ? ExitCode::kNoEngine : ExitCode::kRefused, message);
}

}  // namespace nyx::host

#include "failure.h"

#include <iterator>

#include "text.h"

namespace nyx::host {
namespace {

constexpr struct {
    ExitCode code;
    const char* words;
} kExitCodes[] = {
    {ExitCode::kOk, "success"},
    {ExitCode::kUsage, "invalid command line"},
    {ExitCode::kInput, "input missing or unreadable"},
    {ExitCode::kNotFootage, "unsupported or damaged file"},
    {ExitCode::kNoDecoder, "no codec registered"},
    {ExitCode::kRefused, "format or output refused"},
    {ExitCode::kDecode, "frames lost in the codec"},
    {ExitCode::kOutput, "output cannot be written"},
    {ExitCode::kTooLarge, "file too large, or memory full"},
    {ExitCode::kPlatform, "COM, DirectShow or imaging failed"},
    {ExitCode::kInterrupted, "interrupted"},
    {ExitCode::kNoEngine, "engine missing or too old"},
    {ExitCode::kPastEnd, "--from past the clip's end"},
};

}  // namespace

std::string ExitCodeHelp() {
    constexpr std::size_t kRows = (std::size(kExitCodes) + 1) / 2;
    std::string text = "Exit codes:";
    for (std::size_t row = 0; row < kRows; ++row) {
        const auto& [code, words] = kExitCodes[row];
        std::string line = Format("%4d %s", static_cast<int>(code), words);
        if (row + kRows < std::size(kExitCodes)) {
            const auto& [second, secondWords] = kExitCodes[row + kRows];
            line.resize(40, ' ');
            line += Format("%3d %s", static_cast<int>(second), secondWords);
        }
        text += "\n" + line;
    }
    return text;
}

void Check(HRESULT result, std::string_view what, ExitCode code) {
    if (FAILED(result)) {
        throw Failure(code, std::string(what) + ": " + ResultText(result));
    }
}

}  // namespace nyx::host

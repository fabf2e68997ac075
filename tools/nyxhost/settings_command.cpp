#include <CLI/CLI.hpp>

#include "commands.h"
#include "console.h"
#include "platform/fourcc.h"
#include "settings/codec_settings.h"
#include "text.h"

namespace nyx::host {
namespace {

constexpr struct {
    const char (&code)[5];
    const char* name;
} kCodecs[] = {{"QZTA", "Zeta"}, {"QZT2", "Zeta2"}, {"QLLC", "Lossless"}, {"QMIC", "MPEG2-Intra"},
               {"Q210", "Q210"}, {"QDVC", "DV"},    {"QDV5", "DVCPRO50"}, {"QDVH", "DVCPRO HD"}};
constexpr wchar_t kColorSpace[] = L"color_space";

struct SettingsOptions {
    std::string codec = "all";
    std::string setting;  ///< "color_space=1"; empty to show what is stored
};

void Store(DWORD fourcc, const std::string& value) {
    const LONG error = value == "default"
                           ? ResetCodecSetting(fourcc, kColorSpace)
                           : WriteCodecSetting(fourcc, kColorSpace, std::stol(value));
    Check(HRESULT_FROM_WIN32(error), "cannot store the setting");
}

ExitCode RunSettings(const SettingsOptions& options) {
    for (const auto& [code, name] : kCodecs) {
        if (options.codec != "all" && options.codec != code) {
            continue;
        }
        const DWORD fourcc = FourCC(code);
        if (!options.setting.empty()) {
            Store(fourcc, options.setting.substr(options.setting.find('=') + 1));
        }
        const LONG value = ReadCodecSetting(fourcc, kColorSpace, 0);
        Print(Format("%s  %-12s color_space=%ld  RGB pictures %s\n", code, name, value,
                     value == 0 ? "span 0 to 255" : "have black at 16, white at 235"));
    }
    return ExitCode::kOk;
}

}  // namespace

void AddSettingsCommand(CLI::App& app, Action& action) {
    const auto [command, options] =
        AddCommand(app, action, "settings",
                   "Show or change the range of a codec's RGB pictures, for your own programs of "
                   "32 and of 64 bits; they use it for what they open from then on",
                   RunSettings);
    std::vector<std::string> codecs{"all"};
    for (const auto& codec : kCodecs) {
        codecs.emplace_back(codec.code);
    }
    command.add_option("codec", options.codec, "A codec by its FourCC")
        ->check(CLI::IsMember(codecs))
        ->capture_default_str();
    command
        .add_option("setting", options.setting,
                    "0, the default: black is 0 and white 255; 1: black is 16 and white 235")
        ->check(CLI::IsMember({"color_space=0", "color_space=1", "color_space=default"}));
}

}  // namespace nyx::host

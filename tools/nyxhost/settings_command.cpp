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
    const bool reset = value == "default";
    const LONG wanted = reset ? 0 : std::stol(value);
    const LONG error = reset ? ResetCodecSetting(fourcc, kColorSpace)
                             : WriteCodecSetting(fourcc, kColorSpace, wanted);
    const bool stored = error == 0 && ReadCodecSetting(fourcc, kColorSpace, 0) == wanted;
    Check(stored ? S_OK : HRESULT_FROM_WIN32(error != 0 ? error : ERROR_ACCESS_DENIED),
          "cannot store the setting");
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
    auto options = std::make_shared<SettingsOptions>();
    CLI::App* command = app.add_subcommand(
        "settings",
        "Show or change the range of a codec's RGB pictures, for your own programs of "
        "32 and of 64 bits; they use it for what they open from then on");
    std::vector<std::string> codecs{"all"};
    for (const auto& codec : kCodecs) {
        codecs.emplace_back(codec.code);
    }
    command->add_option("codec", options->codec, "A codec by its FourCC")
        ->check(CLI::IsMember(codecs))
        ->capture_default_str();
    command
        ->add_option("setting", options->setting,
                     "0, the default: black is 0 and white 255; 1: black is 16 and white 235")
        ->check(CLI::IsMember({"color_space=0", "color_space=1", "color_space=default"}));
    command->callback([options, &action] { action = [options] { return RunSettings(*options); }; });
}

}  // namespace nyx::host

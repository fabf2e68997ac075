#include <CLI/CLI.hpp>

#include <commdlg.h>

#include "commands.h"
#include "player.h"
#include "text.h"

namespace nyx::host {
namespace {

struct PlayOptions {
    ClipOptions clip;
    std::string folder;
};

/// The file that the user chooses in a dialog; empty when the dialog is cancelled.
std::string AskForFile() {
    wchar_t path[32768] = {};
    OPENFILENAMEW dialog{};
    dialog.lStructSize = sizeof(dialog);
    dialog.lpstrFilter =
        L"Footage\0*.avi;*.mov;*.mxf;*.gxf;*.dv;*.dif;*.m2v;*.mpg;*.ts\0All files\0*.*\0";
    dialog.lpstrFile = path;
    dialog.nMaxFile = ARRAYSIZE(path);
    dialog.lpstrTitle = L"Play footage";
    dialog.Flags = OFN_FILEMUSTEXIST | OFN_HIDEREADONLY | OFN_NOCHANGEDIR;
    return GetOpenFileNameW(&dialog) != FALSE ? Utf8(path) : "";
}

ExitCode RunPlay(const PlayOptions& options) {
    SetProcessDPIAware();  // before the first window, so that none is scaled
    ClipOptions clip = options.clip;
    const bool asks = clip.path.empty();
    clip.path = asks ? AskForFile() : clip.path;
    try {
        if (!clip.path.empty()) {
            Player(clip, options.folder).Run(asks);
        }
    } catch (const Failure& failure) {
        if (asks) {  // a console of our own closes before anyone reads it
            MessageBoxW(nullptr, Wide(failure.what()).c_str(), L"nyxhost", MB_ICONERROR);
        }
        throw;
    }
    return ExitCode::kOk;
}

}  // namespace

void AddPlayCommand(CLI::App& app, Action& action) {
    const auto [command, options] = AddCommand(
        app, action, "play",
        "Play a clip with its audio, in a window and in real time, until its end or Ctrl+C; once a "
        "key was used, until the window is closed. Keys: " +
            PlayerKeys(),
        RunPlay, COINIT_APARTMENTTHREADED);
    AddClipOptions(command, options.clip)
        ->required(false)
        ->description("A file of footage (default: a dialog asks for it)");
    command.add_option("--out", options.folder, "Folder for snapshots (default: your pictures)")
        ->type_name("DIR");
}

}  // namespace nyx::host

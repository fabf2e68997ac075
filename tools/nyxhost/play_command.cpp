#include <CLI/CLI.hpp>

#include <commdlg.h>

#include "commands.h"
#include "player.h"
#include "text.h"
#include "window_thread.h"

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

void Play(PlayOptions options) {
    if (!options.clip.path.empty()) {
        Player(options.clip, options.folder).Run(false);
        return;
    }
    options.clip.path = AskForFile();
    if (options.clip.path.empty()) {
        return;
    }
    try {
        Player(options.clip, options.folder).Run(true);
    } catch (const Failure& failure) {  // a console of our own closes before anyone reads it
        MessageBoxW(nullptr, Wide(failure.what()).c_str(), L"nyxhost", MB_ICONERROR);
        throw;
    }
}

}  // namespace

void AddPlayCommand(CLI::App& app, Action& action) {
    auto options = std::make_shared<PlayOptions>();
    CLI::App* command = app.add_subcommand(
        "play",
        "Play a clip with its audio, in a window and in real time, until its end or Ctrl+C; once a "
        "key was used, until the window is closed. Keys: " +
            PlayerKeys());
    AddClipOptions(*command, options->clip)
        ->required(false)
        ->description("A file of footage (default: a dialog asks for it)");
    command->add_option("--out", options->folder, "Folder for snapshots (default: your pictures)")
        ->type_name("DIR");
    command->callback([options, &action] {
        action = [options] {
            RunInWindowThread([&options] { Play(*options); });
            return ExitCode::kOk;
        };
    });
}

}  // namespace nyx::host

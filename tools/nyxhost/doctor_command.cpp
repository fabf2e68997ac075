#include <CLI/CLI.hpp>

#include <algorithm>
#include <fstream>
#include <optional>

#include "clip_options.h"
#include "commands.h"
#include "console.h"
#include "engine_text.h"
#include "graph_description.h"
#include "graph_tools.h"
#include "module_registry.h"
#include "platform/class_ids.h"
#include "text.h"

namespace nyx::host {
namespace {

constexpr const char* kModules[] = {"nyxcodecs.dll", "nyxsource.dll"};

/// Prints what is wrong and what helps, and keeps the first exit code.
class Findings {
  public:
    void Add(ExitCode code, const std::string& wrong, const std::string& remedy) {
        Print("  wrong: " + wrong + "\n    do: " + remedy + "\n");
        first_ = first_.value_or(code);
    }
    std::optional<ExitCode> First() const { return first_; }

  private:
    std::optional<ExitCode> first_;
};

/// The word size of a DLL or program by its PE header; 0 for another file.
int BitsOf(const std::filesystem::path& file) {
    constexpr std::streamoff kHeaderPlace = 0x3C;
    std::ifstream in(file, std::ios::binary);
    DWORD header = 0;
    WORD machine = 0;
    in.seekg(kHeaderPlace).read(reinterpret_cast<char*>(&header), sizeof(header));
    in.seekg(header + sizeof(DWORD)).read(reinterpret_cast<char*>(&machine), sizeof(machine));
    if (!in) {
        return 0;
    }
    return machine == IMAGE_FILE_MACHINE_I386 ? 32 : machine == IMAGE_FILE_MACHINE_AMD64 ? 64 : 0;
}

bool IsOwn(int bits) {
    return bits == WordSizes()[0];
}

/// The folders, in order, from which a program of a word size loads a library by its bare name. The
/// folder of the program itself is known for this one only.
std::wstring SearchedFolders(int bits) {
    wchar_t windows[MAX_PATH] = {};
    GetWindowsDirectoryW(windows, MAX_PATH);
    std::wstring path(32768, L'\0');  // the longest value of an environment variable
    path.resize(GetEnvironmentVariableW(L"PATH", path.data(), static_cast<DWORD>(path.size())));
    // The other word size has its system folder under a name of its own.
    const std::wstring system = IsOwn(bits)  ? L"\\system32;"
                                : bits == 32 ? L"\\SysWOW64;"
                                             : L"\\Sysnative;";
    std::wstring folders;
    if (IsOwn(bits)) {
        folders = ModulePath(nullptr).parent_path().wstring() + L";";
    }
    return folders + windows + system + windows + L";" + path;
}

/// The file of an engine that programs of a word size load: the first one on the search path, else
/// that in the folder "engines" beside the module, as the module itself searches. A file of the
/// other word size is returned if there is no other.
std::filesystem::path FindEngine(const Engine& engine, int bits,
                                 const std::filesystem::path& module) {
    wchar_t found[MAX_PATH] = {};
    SearchPathW(SearchedFolders(bits).c_str(), engine.library, nullptr, MAX_PATH, found, nullptr);
    std::filesystem::path file(found);
    const auto beside = module.parent_path() / L"engines" / engine.library;
    return BitsOf(file) == bits || BitsOf(beside) == 0 ? file : beside;
}

void ExamineEngine(const Engine& engine, int bits, const std::filesystem::path& module,
                   Findings& findings) {
    const std::string name = Utf8(engine.library);
    const auto file = FindEngine(engine, bits, module);
    const std::string remedy =
        std::string(engine.open ? "run the installer again, or put " : "put ") +
        Format("the %d-bit %s into the folder \"engines\" beside nyxcodecs.dll", bits,
               name.c_str());
    const std::string missing = std::string("not found; ") +
                                (engine.open ? "" : "a closed library ") + "for " + engine.family;
    Print(Format("  %-14s ", name.c_str()) +
          (file.empty() ? missing : EngineFileText(engine, file)) + "\n");
    if (file.empty()) {
        if (engine.open) {
            findings.Add(ExitCode::kNoEngine, name + " is missing", remedy);
        }
    } else if (BitsOf(file) != bits) {
        findings.Add(ExitCode::kNoEngine, name + Format(" is not a %d-bit library", bits), remedy);
    } else if (IsTooOld(engine, file)) {
        findings.Add(ExitCode::kNoEngine, name + " is too old", remedy);
    }
}

/// What programs of one word size have.
void ExamineSize(int bits, Findings& findings) {
    Print(Format("%d-bit programs\n", bits));
    std::filesystem::path codecs;
    for (const std::string module : kModules) {
        const auto path = RegisteredModule(module, bits);
        const std::string remedy =
            Format("run the installer again, or regsvr32 with the %d-bit ", bits) + module;
        Print(Format("  %-14s %s\n", module.c_str(),
                     path.empty() ? "not registered" : Utf8(path.wstring()).c_str()));
        if (path.empty()) {
            findings.Add(ExitCode::kNoDecoder, module + " is not registered", remedy);
        } else if (BitsOf(path) != bits) {
            findings.Add(
                ExitCode::kNoDecoder,
                Utf8(path.wstring()) + Format(" is registered and not a %d-bit library", bits),
                remedy);
        }
        codecs = module == kModules[0] ? path : codecs;
    }
    for (const Engine& engine : AllEngines()) {
        ExamineEngine(engine, bits, codecs, findings);
    }
}

/// Which source the system opens the file with.
void ExamineSource(const std::string& path, Findings& findings) {
    const auto graph = CreateGraph();
    ComPtr<IBaseFilter> source;
    CLSID clsid{};
    const HRESULT added =
        graph->AddSourceFilter(Wide(path).c_str(), L"Source", source.GetAddressOf());
    if (SUCCEEDED(added)) {
        std::ignore = source->GetClassID(&clsid);  // a failure leaves it empty
    }
    const std::string name =
        SUCCEEDED(added) ? ClassName(source.Get(), clsid) : "none, " + ResultText(added);
    Print("  source: " + name + "\n");
    if (clsid != CLSID_NyxFootageSource) {
        findings.Add(ExitCode::kRefused,
                     "the system does not open the file with Nyx Footage Source, which reads it",
                     "run the installer again and choose this type of file, or add the source by "
                     "its name, as nyxhost play does");
    }
}

/// Which decoder the system connects to the file's pictures.
void ExamineDecoder(const ClipOptions& clip, Findings& findings) {
    const PlaybackGraph graph(clip.path, clip.graph, [](const ArrivedFrame&) {});
    Print("  decoder: " + graph.DecoderName() + MeritText(graph.DecoderClass()) + "\n");
    const std::string server =
        Utf8(std::filesystem::path(
                 RegisteredText(HKEY_CLASSES_ROOT, Wide("CLSID\\" + GuidText(graph.DecoderClass()) +
                                                        "\\InprocServer32")))
                 .filename()
                 .wstring());
    if (server != kModules[0]) {
        const std::string beaten =
            BeatenText(graph.DecoderClass(), graph.Clip().Video().type.subtype);
        findings.Add(ExitCode::kRefused,
                     "the decoder is of " + server +
                         (beaten.empty() ? ", and none of ours has an entry for this type"
                                         : ", whose merit or place is higher than ours"),
                     beaten.empty() ? "run regsvr32 nyxcodecs.dll"
                                    : "lower its merit, or remove the program that brought it");
        Print(beaten);
    }
}

/// What this program's word size does with a file.
void ExamineFile(const std::string& path, Findings& findings) {
    Print(path + " in " + WordSize() + " programs\n");
    try {
        const auto graph = CreateGraph();
        Print("  " + DescribeVideo(Footage(graph.Get(), path)) + "\n");
        ExamineSource(path, findings);
        ClipOptions clip{.path = path, .graph = {}};
        clip.graph.frames = 1;
        ExamineDecoder(clip, findings);
    } catch (const Failure& failure) {
        findings.Add(failure.Code(), failure.what(),
                     failure.Code() == ExitCode::kNoEngine    ? "provide the engine, as above"
                     : failure.Code() == ExitCode::kNoDecoder ? "register the module, as above"
                                                              : "see nyxhost info");
    }
}

ExitCode RunDoctor(const std::string& path) {
    Findings own;
    Findings others;
    for (const int bits : WordSizes()) {
        ExamineSize(bits, IsOwn(bits) ? own : others);
    }
    if (!path.empty()) {
        ExamineFile(path, own);
    }
    if (!own.First() && !others.First()) {
        Print("nothing is wrong\n");
    }
    return own.First().value_or(others.First().value_or(ExitCode::kOk));
}

}  // namespace

void AddDoctorCommand(CLI::App& app, Action& action) {
    auto path = std::make_shared<std::string>();
    CLI::App* command = app.add_subcommand(
        "doctor", "Find out what is wrong with the installation, and why a file does not play");
    command->add_option("file", *path, "A file to examine");
    command->callback([path, &action] { action = [path] { return RunDoctor(*path); }; });
}

}  // namespace nyx::host

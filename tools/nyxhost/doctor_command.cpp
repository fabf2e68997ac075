#include <CLI/CLI.hpp>

#include <optional>

#include "clip_graph.h"
#include "commands.h"
#include "console.h"
#include "doctor_report.h"
#include "engine_text.h"
#include "graph_description.h"
#include "module_registry.h"
#include "platform/class_ids.h"
#include "rendered_file.h"
#include "text.h"

namespace nyx::host {
namespace {

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

void ExamineEngine(const Engine& engine, int bits, Findings& findings) {
    const std::string name = Utf8(engine.library);
    const auto file = FindEngine(engine, bits);
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
    } else if (const std::string failure = LoadFailure(file, bits); !failure.empty()) {
        findings.Add(ExitCode::kNoEngine, name + " is " + failure, remedy);
    } else if (IsTooOld(engine, file)) {
        findings.Add(ExitCode::kNoEngine, name + " is too old", remedy);
    }
}

/// The splitters, which are tried for what the system's own reader opens.
void PrintSplitters(int bits) {
    constexpr struct {
        const CLSID& clsid;
        const char* text;
    } kSplitters[] = {{CLSID_NyxAviSplitter, "AVI splitter"},
                      {CLSID_NyxMovSplitter, "MOV splitter"},
                      {CLSID_NyxRawSplitter, "Raw splitter"}};
    for (const auto& [clsid, text] : kSplitters) {
        const bool off = MeritOf(clsid, bits).value_or(0) <= MERIT_DO_NOT_USE;
        Print(std::string("    ") + text + MeritText(clsid, bits) +
              (off ? ", off\n" : ", where the decoder of the pictures can be created\n"));
    }
}

/// What programs of one word size have.
void ExamineSize(int bits, Findings& findings) {
    Print(Format("%d-bit programs\n", bits));
    for (const std::string module : kModules) {
        const auto path = RegisteredModule(module, bits);
        const std::string remedy =
            Format("run the installer again, or regsvr32 with the %d-bit ", bits) + module;
        const std::string file = path.empty() ? "not registered" : Utf8(path.wstring());
        Print(Format("  %-14s %s\n", module.c_str(), file.c_str()));
        const std::string failure = path.empty() ? "" : LoadFailure(path, bits);
        if (path.empty()) {
            findings.Add(ExitCode::kNoDecoder, module + " is not registered", remedy);
        } else if (!failure.empty()) {
            findings.Add(ExitCode::kNoDecoder, file + " is registered and " + failure, remedy);
        } else if (module == kSourceModule) {
            PrintSplitters(bits);
        }
    }
    for (const Engine& engine : AllEngines()) {
        ExamineEngine(engine, bits, findings);
    }
}

/// The filters between a file and its pictures; without splitter where the source has pins for its
/// streams.
struct Chain {
    ComPtr<IBaseFilter> source;
    ComPtr<IBaseFilter> splitter;
    ComPtr<IBaseFilter> decoder;
};

Chain ChainTo(ComPtr<IPin> input) {
    Chain chain;
    ComPtr<IPin> output;
    while (input && SUCCEEDED(input->ConnectedTo(output.ReleaseAndGetAddressOf()))) {
        const ComPtr<IBaseFilter> filter = FilterOf(output.Get());
        input = FindPin(filter.Get(), PINDIR_INPUT);
        MediaType type;
        if (input == nullptr || FAILED(input->ConnectionMediaType(&type))) {
            chain.source = filter;
        } else if (type.majortype == MEDIATYPE_Stream) {
            chain.splitter = filter;
        } else if (!IsPicture(type)) {
            chain.decoder = filter;
        }
    }
    return chain;
}

std::string ServerOf(IBaseFilter* filter) {
    return Utf8(RegisteredServer(GuidText(ClassOf(filter))).filename().wstring());
}

/// Which filters read the file: ours are the source and the splitters.
void ExamineSource(const std::string& path, const Chain& chain, Findings& findings) {
    IBaseFilter* reader = (chain.splitter ? chain.splitter : chain.source).Get();
    if (ServerOf(reader) == kSourceModule) {
        return;
    }
    const std::string entry = SourceEntryText(path);
    findings.Add(
        ExitCode::kRefused,
        "the system does not open the file with a filter of nyxsource.dll, which reads it, "
        "but with " +
            FilterText(reader) +
            (entry.empty() ? "; no entry names a source for it" : "\n    by " + entry),
        "run the installer again and choose this type of file, remove the program that "
        "brought the other source, or add ours by its name, as nyxhost play does");
}

/// Which decoder the system connects to the file's pictures.
void ExamineDecoder(IBaseFilter* decoder, const GUID& subtype, Findings& findings) {
    Print("  decoder: " + FilterText(decoder) + "\n");
    const std::string server = ServerOf(decoder);
    if (server == kCodecModule) {
        return;
    }
    const std::string beaten = BeatenText(ClassOf(decoder), subtype);
    findings.Add(ExitCode::kRefused,
                 "the decoder is of " + server +
                     (beaten.empty() ? ", and none of ours has an entry for this type"
                                     : ", whose merit or place is higher than ours"),
                 beaten.empty() ? "run regsvr32 nyxcodecs.dll"
                                : "lower its merit, or remove the program that brought it");
    Print(beaten);
}

/// What this program's word size does with a file.
void ExamineFile(const std::string& path, Findings& findings) {
    Print(path + " in " + WordSize() + " programs\n");
    try {
        const auto graph = CreateGraph();
        const Footage clip(graph.Get(), path);
        Print("  " + DescribeVideo(clip) + "\n");
        const RenderedFile file(path);
        const bool plays = file.type.HasPicture();
        Chain chain = ChainTo(file.end);
        if (!plays) {  // the source alone is known
            std::ignore =
                graph->AddSourceFilter(Wide(path).c_str(), L"Source", chain.source.GetAddressOf());
        }
        Print("  source: " + FilterText(chain.source.Get()) + "\n" +
              (chain.splitter ? "  splitter: " + FilterText(chain.splitter.Get()) + "\n" : ""));
        if (!plays) {  // a failure says why no decoder takes what our source delivers
            const ClipGraph decoded(path, {}, [](const ArrivedFrame&) {});
        }
        ExamineSource(path, chain, findings);
        if (plays) {
            ExamineDecoder(chain.decoder.Get(), clip.Video().type.subtype, findings);
        }
    } catch (const Failure& failure) {
        findings.Add(failure.Code(), failure.what(),
                     failure.Code() == ExitCode::kNoEngine    ? "provide the engine, as above"
                     : failure.Code() == ExitCode::kNoDecoder ? "register the module, as above"
                                                              : "see nyxhost info");
    }
}

struct DoctorOptions {
    std::string path;
    std::string report;
};

ExitCode RunDoctor(const DoctorOptions& options) {
    std::string printed;
    CopyPrintedTo(&printed);
    Findings own;
    Findings others;
    for (const int bits : WordSizes()) {
        ExamineSize(bits, bits == kOwnBits ? own : others);
    }
    if (!options.path.empty()) {
        ExamineFile(options.path, own);
    }
    if (!own.First() && !others.First()) {
        Print("nothing is wrong\n");
    }
    CopyPrintedTo(nullptr);
    if (!options.report.empty()) {
        WriteReport(options.report, printed);
        Print("report: " + options.report + "\n");
    }
    return own.First().value_or(others.First().value_or(ExitCode::kOk));
}

}  // namespace

void AddDoctorCommand(CLI::App& app, Action& action) {
    const auto [command, options] = AddCommand(
        app, action, "doctor",
        "Find out what is wrong with the installation, and why a file does not play", RunDoctor);
    command.add_option("file", options.path, "A file to examine");
    command
        .add_option("--report", options.report,
                    "Also write it to a file, with the system, the registry's entries and your "
                    "settings, for a bug report; it has no name of yours and no folder of yours")
        ->type_name("FILE");
}

}  // namespace nyx::host

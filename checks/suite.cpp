#include "checks/suite.h"

#include <windows.h>

#include <algorithm>
#include <sstream>

#include "checks/program.h"

namespace nyx::checks {
namespace {

constexpr DWORD kMinutes = 60;  // emulated processors are slow

/// What explains a failure outside of a test: the end of what was printed.
std::string EndOf(const std::string& output) {
    return output.substr(output.size() - std::min<std::size_t>(output.size(), 2000));
}

std::wstring CommandLine(const Suite& suite, const std::filesystem::path& root) {
    std::wstring line = L'"' + (root / suite.size / "bin" / (suite.name + ".exe")).wstring() + L'"';
    std::istringstream arguments(suite.arguments);
    for (std::string argument; std::getline(arguments, argument, ';');) {
        line += L' ' + Widen(argument);
    }
    return line;
}

}  // namespace

std::vector<Suite> ReadSuites(const std::filesystem::path& root, const std::string& size) {
    std::vector<Suite> suites;
    std::istringstream lines(ReadText(root / size / "suites.jsonl"));
    for (std::string line; std::getline(lines, line);) {
        suites.push_back(nlohmann::json::parse(line).get<Suite>());
        suites.back().size = size;
    }
    std::stable_sort(suites.begin(), suites.end(),
                     [](const Suite& a, const Suite& b) { return a.cost > b.cost; });
    return suites;
}

void ReadOutput(const std::string& output, Outcome* outcome) {
    constexpr std::size_t kMark = 12;
    std::istringstream lines(output);
    std::string test, said;
    for (std::string line; std::getline(lines, line);) {
        line.erase(std::find(line.begin(), line.end(), '\r'), line.end());
        const std::string mark = line.substr(0, kMark);
        if (mark == "[ RUN      ]") {
            test = line.substr(kMark + 1);
            said.clear();
        } else if (!test.empty() && mark == "[       OK ]") {
            ++outcome->passed;
            test.clear();
        } else if (!test.empty() && (mark == "[  FAILED  ]" || mark == "[  SKIPPED ]")) {
            (mark == "[  FAILED  ]" ? outcome->failed : outcome->skipped).push_back({test, said});
            test.clear();
        } else {
            said += line + "\n";
        }
    }
    if (!test.empty()) {
        outcome->failed.push_back({test, said + "the program ended in it\n"});
    }
}

Outcome Run(const Suite& suite, const std::filesystem::path& root) {
    Outcome outcome;
    outcome.size = suite.size;
    outcome.suite = suite.name;
    const ULONGLONG begin = GetTickCount64();
    const std::filesystem::path folder = root / "work" / (suite.size + "-" + suite.name);
    std::filesystem::create_directories(folder);
    // Relative, since the programs read narrow text.
    Variables variables = {{L"NYX_MATERIAL", L"..\\..\\material"}};
    if (const std::size_t equals = suite.environment.find('='); equals != std::string::npos) {
        variables[Widen(suite.environment.substr(0, equals))] =
            Widen(suite.environment.substr(equals + 1));
    }
    try {
        const Program program(CommandLine(suite, root), folder, folder / "output.txt", variables);
        const bool ended = program.Ends(kMinutes);
        const std::string output = ReadText(folder / "output.txt");
        ReadOutput(output, &outcome);
        const DWORD code = ended ? program.ExitCode() : 0;
        // A crashed program may exit with 0.
        const bool isUnfinished = output.find("[  PASSED  ]") == std::string::npos;
        if (!ended) {
            outcome.failed.push_back({suite.name, "runs for an hour\n" + EndOf(output)});
        } else if (outcome.failed.empty() && (code || isUnfinished)) {
            outcome.failed.push_back(
                {suite.name, "exit code " + std::to_string(code) + "\n" + EndOf(output)});
        } else if (outcome.failed.empty() && outcome.skipped.empty() && !outcome.passed) {
            outcome.passed = 1;  // a program without GoogleTest
        }
    } catch (const std::exception& error) {
        outcome.failed.push_back({suite.name, error.what()});
    }
    outcome.seconds = static_cast<double>(GetTickCount64() - begin) / 1000;
    return outcome;
}

}  // namespace nyx::checks

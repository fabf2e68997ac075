/// @file
/// checks.exe [win32|win64] [SUITE...] [--unprivileged]: runs the suites that are beside it, or
/// those named, for the programs of each word size that this system runs, and writes report.txt and
/// report.json there. Exit code 0 when nothing failed, 1 when something did, 2 when the checks
/// cannot run.

#include <windows.h>

#include <shellapi.h>

#include <algorithm>
#include <cstdio>
#include <deque>
#include <fstream>
#include <mutex>
#include <stdexcept>
#include <thread>

#include "checks/program.h"
#include "checks/report.h"
#include "platform/unique_handle.h"

namespace nyx::checks {
namespace {

namespace fs = std::filesystem;

/// Where this program is.
fs::path Root() {
    std::wstring path(0x8000, L'\0');
    path.resize(GetModuleFileNameW(nullptr, path.data(), static_cast<DWORD>(path.size())));
    return fs::path(path).parent_path();
}

/// The programs of each word size are packed in one that unpacks them.
void Unpack(const fs::path& root, const std::string& size) {
    if (!fs::exists(root / size / "suites.jsonl")) {
        const std::wstring packed = L'"' + (root / (size + ".exe")).wstring() + L'"';
        const Program program(packed + L" /S /D=" + (root / size).wstring(), root,
                              root / "work" / "unpacked.txt");
        if (!program.Ends() || program.ExitCode()) {
            throw std::runtime_error("cannot unpack " + size + ".exe");
        }
    }
}

/// Runs suites on a few threads; those that must be alone on one of them.
std::vector<Outcome> RunAll(const std::vector<Suite>& suites, const fs::path& root) {
    std::deque<Suite> alone, others;
    for (const Suite& suite : suites) {
        (suite.alone ? alone : others).push_back(suite);
    }
    std::mutex mutex;
    std::vector<Outcome> outcomes;
    const auto work = [&](std::deque<Suite>* first) {
        while (true) {
            std::unique_lock lock(mutex);
            auto& from = first->empty() ? others : *first;
            if (from.empty()) {
                return;
            }
            const Suite suite = from.front();
            from.pop_front();
            lock.unlock();
            const Outcome outcome = Run(suite, root);
            lock.lock();
            outcomes.push_back(outcome);
            std::printf("%s\n", LineOf(outcome).c_str());
            std::fflush(stdout);
        }
    };
    std::vector<std::thread> threads;
    const unsigned count = std::clamp(std::thread::hardware_concurrency(), 2u, 4u);
    for (unsigned i = 0; i < count; ++i) {
        threads.emplace_back(work, i ? &others : &alone);
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    return outcomes;
}

/// Why suites that register cannot run, empty when they can.
std::string Obstacle() {
    constexpr wchar_t kDecoder[] = L"CLSID\\{3D1F4E99-3ADF-471E-8C1A-B7D678B4A238}";
    const bool isRegistered =
        OpenKey(HKEY_CLASSES_ROOT, kDecoder, KEY_READ | DWORD{KEY_WOW64_32KEY}) ||
        OpenKey(HKEY_CLASSES_ROOT, kDecoder, KEY_READ | DWORD{KEY_WOW64_64KEY});
    return isRegistered ? "the codecs are registered on this system: uninstall them first\n" : "";
}

/// Runs this program as administrator for the suites that register. The reason if that fails.
std::string RunElevated(const fs::path& root, const std::wstring& same,
                        std::vector<Outcome>* outcomes) {
    std::printf("Windows asks for administrator's rights, to register and to install.\n");
    const std::wstring program = root / "checks.exe", arguments = same + L"--elevated";
    SHELLEXECUTEINFOW execute = {};
    execute.cbSize = sizeof(execute);
    execute.fMask = SEE_MASK_NOCLOSEPROCESS;
    execute.lpVerb = L"runas";
    execute.lpFile = program.c_str();
    execute.lpParameters = arguments.c_str();
    execute.nShow = SW_SHOWMINNOACTIVE;
    if (!ShellExecuteExW(&execute)) {
        return "administrator's rights were refused\n";
    }
    const UniqueHandle process(execute.hProcess);
    WaitForSingleObject(process.get(), INFINITE);
    const auto theirs = nlohmann::json::parse(ReadText(root / "work" / "elevated.json"));
    for (const Outcome& outcome : theirs.get<std::vector<Outcome>>()) {
        outcomes->push_back(outcome);
        std::printf("%s\n", LineOf(outcome).c_str());
    }
    return "";
}

/// Moves the suites that register from `suites` to the result.
std::vector<Suite> TakePrivileged(std::vector<Suite>* suites) {
    const auto first = std::stable_partition(suites->begin(), suites->end(),
                                             [](const Suite& one) { return !one.administrator; });
    std::vector<Suite> privileged(first, suites->end());
    suites->erase(first, suites->end());
    return privileged;
}

int Check(std::vector<std::wstring> arguments) {
    const auto has = [&](const wchar_t* option) { return std::erase(arguments, option) > 0; };
    const bool isElevated = has(L"--elevated"), isUnprivileged = has(L"--unprivileged");
    const fs::path root = Root();
    BOOL runs64 = FALSE;
    IsWow64Process(GetCurrentProcess(), &runs64);
    std::vector<std::wstring> sizes;
    for (const wchar_t* size : {L"win32", L"win64"}) {
        if (has(size)) {
            sizes.emplace_back(size);
        }
    }
    if (sizes.empty()) {
        sizes.assign({L"win32", L"win64"});
        sizes.resize(runs64 ? 2 : 1);
    }
    if (!isElevated) {
        fs::remove_all(root / "work");
        fs::create_directories(root / "work");
    }
    SetErrorMode(SEM_FAILCRITICALERRORS | SEM_NOGPFAULTERRORBOX);  // programs inherit it
    Unpack(root, "win32");  // which the 64-bit suites also use
    std::vector<Suite> suites;
    for (const std::wstring& size : sizes) {
        Unpack(root, Narrow(size));
        for (const Suite& suite : ReadSuites(root, Narrow(size))) {
            if (arguments.empty() || std::ranges::count(arguments, Widen(suite.name))) {
                suites.push_back(suite);
            }
        }
    }
    if (suites.empty()) {
        throw std::runtime_error("there are no suites of these names");
    }
    std::vector<Suite> privileged = TakePrivileged(&suites);
    std::string reason = Obstacle();
    if (isElevated) {
        std::ofstream(root / "work" / "elevated.json")
            << nlohmann::json(RunAll(privileged, root))
                   .dump(-1, ' ', false, nlohmann::json::error_handler_t::replace);
        return 0;
    }
    if (reason.empty() && isUnprivileged) {
        reason = "without administrator's rights, as asked\n";
    }
    if (reason.empty() && IsAdministrator()) {
        suites.insert(suites.end(), privileged.begin(), privileged.end());
        privileged.clear();
    }
    std::vector<Outcome> outcomes = RunAll(suites, root);
    if (reason.empty() && !privileged.empty()) {
        std::wstring same;
        for (const auto& words : {sizes, arguments}) {
            for (const std::wstring& word : words) {
                same += word + L" ";
            }
        }
        reason = RunElevated(root, same, &outcomes);
    }
    for (const Suite& suite : reason.empty() ? std::vector<Suite>() : privileged) {
        outcomes.push_back({suite.size, suite.name, 0, {}, {{"all of it", reason}}, 0});
    }
    return WriteReport(root, outcomes) ? 0 : 1;
}

}  // namespace
}  // namespace nyx::checks

int wmain(int count, wchar_t** arguments) {
    try {
        return nyx::checks::Check({arguments + 1, arguments + count});
    } catch (const std::exception& error) {
        std::fprintf(stderr, "checks: %s\n", error.what());
        return 2;
    }
}

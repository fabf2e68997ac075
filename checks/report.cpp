#include "checks/report.h"

#include <windows.h>

#include <shlobj.h>

#include <cstdio>
#include <fstream>

#include "checks/program.h"

namespace nyx::checks {
namespace {

/// A function of ntdll.dll, null when it has none of that name.
template <class Function>
Function OfSystem(const char* name) {
    return reinterpret_cast<Function>(
        reinterpret_cast<void*>(GetProcAddress(GetModuleHandleW(L"ntdll.dll"), name)));
}

std::string RegistryText(const wchar_t* key, const wchar_t* name) {
    wchar_t text[256] = {};
    DWORD bytes = sizeof(text) - sizeof(*text);
    RegGetValueW(HKEY_LOCAL_MACHINE, key, name, RRF_RT_REG_SZ, nullptr, text, &bytes);
    return Narrow(text);
}

/// The version of the checks and of the system, the processor and the rights.
nlohmann::json DescribeSystem() {
    OSVERSIONINFOW version = {};
    version.dwOSVersionInfoSize = sizeof(version);
    OfSystem<LONG(WINAPI*)(OSVERSIONINFOW*)>("RtlGetVersion")(&version);
    const auto wine = OfSystem<const char*(CDECL*)()>("wine_get_version");
    SYSTEM_INFO system = {};
    GetNativeSystemInfo(&system);
    MEMORYSTATUSEX memory = {};
    memory.dwLength = sizeof(memory);
    GlobalMemoryStatusEx(&memory);
    constexpr wchar_t kWindows[] = L"SOFTWARE\\Microsoft\\Windows NT\\CurrentVersion";
    return {{"version", NYX_VERSION},
            {"system", RegistryText(kWindows, L"ProductName") + ", " +
                           std::to_string(version.dwMajorVersion) + "." +
                           std::to_string(version.dwMinorVersion) + "." +
                           std::to_string(version.dwBuildNumber)},
            {"wine", wine ? wine() : ""},
            {"bits", system.wProcessorArchitecture == PROCESSOR_ARCHITECTURE_INTEL ? 32 : 64},
            {"processor", RegistryText(L"HARDWARE\\DESCRIPTION\\System\\CentralProcessor\\0",
                                       L"ProcessorNameString")},
            {"processors", system.dwNumberOfProcessors},
            {"memory_mib", memory.ullTotalPhys >> 20},
            {"administrator", IsAdministrator()}};
}

/// The text without the user's name, which paths have.
std::string WithoutUser(std::string text) {
    wchar_t profile[MAX_PATH] = {}, brief[MAX_PATH] = {};
    GetEnvironmentVariableW(L"USERPROFILE", profile, MAX_PATH);
    GetShortPathNameW(profile, brief, MAX_PATH);
    for (const wchar_t* path : {profile, brief}) {
        const std::string name = "\\" + Narrow(std::filesystem::path(path).filename().wstring());
        for (std::size_t at = 0; name.size() > 1 && (at = text.find(name, at)) != std::string::npos;
             ++at) {
            text.replace(at, name.size(), "\\USER");
        }
    }
    return text;
}

std::string Total(const std::vector<Outcome>& outcomes, std::size_t* failures) {
    std::size_t passed = 0, skipped = 0;
    *failures = 0;
    for (const Outcome& outcome : outcomes) {
        passed += static_cast<std::size_t>(outcome.passed);
        skipped += outcome.skipped.size();
        *failures += outcome.failed.size();
    }
    return std::to_string(passed) + " passed, " + std::to_string(*failures) + " failed, " +
           std::to_string(skipped) + " skipped";
}

}  // namespace

bool IsAdministrator() {
    return IsUserAnAdmin() != FALSE;
}

std::string LineOf(const Outcome& outcome) {
    char line[128];
    std::snprintf(line, sizeof(line), "%-6s  %s  %-28s %4d passed %3zu failed %3zu skipped %7.1f s",
                  outcome.failed.empty() ? outcome.passed ? "passed" : "SKIPPED" : "FAILED",
                  outcome.size.c_str(), outcome.suite.c_str(), outcome.passed,
                  outcome.failed.size(), outcome.skipped.size(), outcome.seconds);
    return line;
}

bool WriteReport(const std::filesystem::path& root, std::vector<Outcome> outcomes) {
    for (Outcome& outcome : outcomes) {
        for (Remark& remark : outcome.failed) {
            remark.text = WithoutUser(remark.text);
        }
    }
    nlohmann::json document = DescribeSystem();
    std::ofstream text(root / "report.txt");
    for (const auto& [name, value] : document.items()) {
        text << name << ": " << (value.is_string() ? value.get<std::string>() : value.dump())
             << "\n";
    }
    text << "\n";
    for (const Outcome& outcome : outcomes) {
        text << LineOf(outcome) << "\n";
    }
    std::size_t failures = 0;
    text << "\n" << Total(outcomes, &failures) << "\n";
    for (const Outcome& outcome : outcomes) {
        for (const auto& [remarks, word] :
             {std::pair(&outcome.failed, "FAILED"), {&outcome.skipped, "SKIPPED"}}) {
            for (const Remark& remark : *remarks) {
                text << "\n"
                     << word << " " << outcome.size << " " << outcome.suite << ": " << remark.test
                     << "\n"
                     << remark.text;
            }
        }
    }
    document["suites"] = outcomes;
    std::ofstream(root / "report.json")
        << document.dump(1, ' ', false, nlohmann::json::error_handler_t::replace) << "\n";
    std::printf("%s\n", Total(outcomes, &failures).c_str());
    return failures == 0;
}

}  // namespace nyx::checks

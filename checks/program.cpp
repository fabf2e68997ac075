#include "checks/program.h"

#include <fstream>
#include <iterator>
#include <mutex>
#include <stdexcept>

#include "platform/unique_handle.h"

namespace nyx::checks {
namespace {

struct IgnoreCase {
    bool operator()(const std::wstring& a, const std::wstring& b) const {
        return _wcsicmp(a.c_str(), b.c_str()) < 0;
    }
};

/// This process's environment with the variables, as CreateProcess has it.
std::wstring EnvironmentWith(const Variables& variables) {
    std::map<std::wstring, std::wstring, IgnoreCase> all;
    wchar_t* const block = GetEnvironmentStringsW();
    for (const wchar_t* entry = block; *entry; entry += std::wcslen(entry) + 1) {
        const std::wstring text = entry;
        const std::size_t equals = text.find(L'=', 1);  // a drive's folder begins with "="
        all[text.substr(0, equals)] = text.substr(equals + 1);
    }
    FreeEnvironmentStringsW(block);
    for (const auto& [name, value] : variables) {
        all[name] = value;
    }
    std::wstring text;
    for (const auto& [name, value] : all) {
        text += value.empty() ? L"" : name + L"=" + value + L'\0';
    }
    return text + L'\0';
}

UniqueHandle OpenInheritable(const wchar_t* path, DWORD access, DWORD disposition) {
    SECURITY_ATTRIBUTES inherit = {sizeof(inherit), nullptr, TRUE};
    return AdoptFile(CreateFileW(path, access, FILE_SHARE_READ | FILE_SHARE_WRITE, &inherit,
                                 disposition, 0, nullptr));
}

}  // namespace

Program::Program(const std::wstring& commandLine, const std::filesystem::path& folder,
                 const std::filesystem::path& output, const Variables& variables) {
    static std::mutex starting;  // so that a program inherits no other one's output
    const std::lock_guard lock(starting);
    const UniqueHandle input = OpenInheritable(L"NUL", GENERIC_READ, OPEN_EXISTING);
    const UniqueHandle file = OpenInheritable(output.c_str(), GENERIC_WRITE, CREATE_ALWAYS);
    STARTUPINFOW startup = {};
    startup.cb = sizeof(startup);
    startup.dwFlags = STARTF_USESTDHANDLES;
    startup.hStdInput = input.get();
    startup.hStdOutput = startup.hStdError = file.get();
    std::wstring line = commandLine, environment = EnvironmentWith(variables);
    bool isStarted = false;
    for (int i = 0; file && !isStarted && i < 3; ++i) {
        isStarted =
            CreateProcessW(nullptr, line.data(), nullptr, nullptr, TRUE, CREATE_UNICODE_ENVIRONMENT,
                           environment.data(), folder.c_str(), &startup, &process_) != FALSE;
        if (!isStarted && GetLastError() != ERROR_INTERNAL_ERROR) {
            break;  // Under load Wine's loader rarely ends with that error before it is ready.
        }
    }
    if (!isStarted) {
        throw std::runtime_error("error " + std::to_string(GetLastError()) + " of starting " +
                                 Narrow(commandLine));
    }
}

Program::~Program() {
    if (Runs()) {
        TerminateProcess(process_.hProcess, ERROR_CANCELLED);
        WaitForSingleObject(process_.hProcess, INFINITE);
    }
    CloseHandle(process_.hThread);
    CloseHandle(process_.hProcess);
}

bool Program::Ends(DWORD minutes) const {
    return WaitForSingleObject(process_.hProcess, minutes * 60000) == WAIT_OBJECT_0;
}

DWORD Program::ExitCode() const {
    DWORD code = 0;
    GetExitCodeProcess(process_.hProcess, &code);
    return code;
}

std::string ReadText(const std::filesystem::path& file) {
    std::ifstream stream(file, std::ios::binary);
    return {std::istreambuf_iterator<char>(stream), {}};
}

std::string Narrow(const std::wstring& text) {
    std::string narrow(text.size() * 3, '\0');
    narrow.resize(static_cast<std::size_t>(
        WideCharToMultiByte(CP_UTF8, 0, text.data(), static_cast<int>(text.size()), narrow.data(),
                            static_cast<int>(narrow.size()), nullptr, nullptr)));
    return narrow;
}

std::wstring Widen(const std::string& text) {
    std::wstring wide(text.size(), L'\0');
    wide.resize(static_cast<std::size_t>(
        MultiByteToWideChar(CP_UTF8, 0, text.data(), static_cast<int>(text.size()), wide.data(),
                            static_cast<int>(wide.size()))));
    return wide;
}

}  // namespace nyx::checks

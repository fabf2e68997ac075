#include "file_version.h"

#include <algorithm>
#include <string_view>
#include <vector>

#include "text.h"

namespace nyx::host {
namespace {

constexpr wchar_t kOurProduct[] = L"Nyx codec module";

/// A string of the version resource's table for US English, UTF-16, which this project uses.
std::wstring_view TextOf(const std::vector<BYTE>& block, const wchar_t* name) {
    void* text = nullptr;
    UINT length = 0;
    const std::wstring path = std::wstring(L"\\StringFileInfo\\040904B0\\") + name;
    if (VerQueryValueW(block.data(), path.c_str(), &text, &length) == FALSE || length == 0) {
        return {};
    }
    return {static_cast<const wchar_t*>(text), length - 1};  // without the null
}

}  // namespace

std::filesystem::path ModulePath(HMODULE module) {
    std::wstring path(MAX_PATH, L'\0');
    path.resize(GetModuleFileNameW(module, path.data(), MAX_PATH));
    return path;
}

FileVersion ReadFileVersion(const std::filesystem::path& file) {
    FileVersion version;
    DWORD ignored = 0;
    std::vector<BYTE> block(GetFileVersionInfoSizeW(file.c_str(), &ignored));
    void* root = nullptr;
    UINT size = 0;
    if (block.empty() ||
        GetFileVersionInfoW(file.c_str(), 0, static_cast<DWORD>(block.size()), block.data()) ==
            FALSE ||
        VerQueryValueW(block.data(), L"\\", &root, &size) == FALSE ||
        size < sizeof(VS_FIXEDFILEINFO)) {
        return version;
    }
    const auto& fixed = *static_cast<const VS_FIXEDFILEINFO*>(root);
    version.fixed = ULONGLONG{fixed.dwFileVersionMS} << 32 | fixed.dwFileVersionLS;
    version.number =
        Format("%u.%u.%u.%u", HIWORD(fixed.dwFileVersionMS), LOWORD(fixed.dwFileVersionMS),
               HIWORD(fixed.dwFileVersionLS), LOWORD(fixed.dwFileVersionLS));
    if (TextOf(block, L"ProductName") == kOurProduct) {
        const std::wstring_view words = TextOf(block, L"FileDescription");
        version.kind = Utf8(words.substr(0, words.find(L' ')));
        std::transform(version.kind.begin(), version.kind.end(), version.kind.begin(),
                       [](char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c + 32) : c; });
    }
    return version;
}

}  // namespace nyx::host

#include "source/atom_siblings.h"

#include <windows.h>

#include <algorithm>
#include <charconv>
#include <utility>

#include "source/disk_file.h"

namespace nyx::source {
namespace {

constexpr ULONGLONG kMaxMilliseconds = 2000;
constexpr std::size_t kMaxNames = 10000;
constexpr std::size_t kMaxSiblings = 16;
constexpr std::size_t kHeaderBytes = 256 << 10;  // of a file, that may name its packages

/// The bytes that "0x060A2B34..." stands for.
std::vector<BYTE> BytesOf(const std::string& hex) {
    std::vector<BYTE> bytes;
    for (std::size_t at = 2; at + 2 <= hex.size(); at += 2) {
        std::from_chars(hex.data() + at, hex.data() + at + 2, bytes.emplace_back(), 16);
    }
    return bytes;
}

std::vector<std::wstring> NamesIn(const std::wstring& folder) {
    std::vector<std::wstring> names;
    WIN32_FIND_DATAW found{};
    const HANDLE search = FindFirstFileW((folder + L"*.mxf").c_str(), &found);
    for (BOOL more = search != INVALID_HANDLE_VALUE; more && names.size() < kMaxNames;
         more = FindNextFileW(search, &found)) {
        names.emplace_back(found.cFileName);
    }
    if (search != INVALID_HANDLE_VALUE) {
        FindClose(search);
    }
    std::ranges::sort(names);
    return names;
}

}  // namespace

std::vector<std::unique_ptr<FootageFile>> OpenSiblings(const FootageFile& picture,
                                                       const std::wstring& path) {
    std::vector<std::unique_ptr<FootageFile>> siblings;
    // The universal label of the pattern, SMPTE 377: its 13th byte says OP-Atom.
    const std::string pattern = picture.Tag("operational_pattern_ul");
    const std::string package = picture.Tag("material_package_umid");
    if (ContainerOf(picture.container()) != kMxf || pattern.find(".10", 26) != 26 ||
        package.empty() || !picture.streams().front().video) {
        return siblings;
    }
    const ULONGLONG begin = GetTickCount64();
    const std::wstring folder = path.substr(0, path.find_last_of(L"\\/:") + 1);
    const std::vector<BYTE> key = BytesOf(package);
    std::vector<BYTE> header(kHeaderBytes);
    for (const std::wstring& name : NamesIn(folder)) {
        if (GetTickCount64() - begin > kMaxMilliseconds || siblings.size() == kMaxSiblings) {
            break;
        }
        auto bytes = std::make_unique<DiskFile>();
        const bool opened =
            folder + name != path && SUCCEEDED(bytes->Open((folder + name).c_str()));
        const auto end = header.begin() + (opened ? std::max(bytes->ReadAt(0, header), 0) : 0);
        auto file = std::make_unique<FootageFile>();
        if (std::search(header.begin(), end, key.begin(), key.end()) != end &&
            SUCCEEDED(file->Open(std::move(bytes))) &&
            file->Tag("material_package_umid") == package && !file->streams().front().video) {
            siblings.push_back(std::move(file));
        }
    }
    return siblings;
}

}  // namespace nyx::source

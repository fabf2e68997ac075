#include "doctor_report.h"

#include <shlobj.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <sstream>

#include "module_registry.h"
#include "output_file.h"
#include "platform/system.h"
#include "text.h"

namespace nyx::host {
namespace {

/// "Windows 10 Pro, 19043", with Wine's version under it.
std::string SystemText() {
    const UniqueKey key =
        OpenView(HKEY_LOCAL_MACHINE, "SOFTWARE\\Microsoft\\Windows NT\\CurrentVersion");
    const auto wine = reinterpret_cast<const char*(CDECL*)()>(reinterpret_cast<void*>(
        GetProcAddress(GetModuleHandleW(L"ntdll.dll"), "wine_get_version")));
    return TextOf(key, L"ProductName") + ", " + TextOf(key, L"CurrentBuild") +
           (wine != nullptr ? std::string(", Wine ") + wine() : "");
}

std::string ProcessorText() {
    SYSTEM_INFO info{};
    GetNativeSystemInfo(&info);
    return TextOf(
               OpenView(HKEY_LOCAL_MACHINE, "HARDWARE\\DESCRIPTION\\System\\CentralProcessor\\0"),
               L"ProcessorNameString") +
           Format(", %lu logical processors", info.dwNumberOfProcessors);
}

std::string SourceFilterOf(const std::string& key, int bits = kOwnBits) {
    return TextOf(OpenView(HKEY_CLASSES_ROOT, key, bits), L"Source Filter");
}

/// Whether a file has the bytes of an entry: offset, length, mask and bytes, again and again, the
/// latter two in hexadecimal. A negative offset counts from the file's end.
bool HasBytes(std::ifstream& file, const std::string& entry) {
    const auto byteOf = [](const std::string& digits, std::size_t i) {
        return std::strtoul(digits.substr(2 * i, 2).c_str(), nullptr, 16);
    };
    std::istringstream words(entry);
    std::string offset, length, mask, bytes;
    bool matches = false;
    while (std::getline(words, offset, ',') && std::getline(words, length, ',') &&
           std::getline(words, mask, ',') && std::getline(words, bytes, ',')) {
        const long long place = std::strtoll(offset.c_str(), nullptr, 10);
        file.clear();
        file.seekg(place, place < 0 ? std::ios::end : std::ios::beg);
        for (std::size_t i = 0; 2 * i < bytes.size(); ++i) {
            const unsigned long which = mask.empty()          ? 0xFF
                                        : 2 * i < mask.size() ? byteOf(mask, i)
                                                              : 0;
            const int found = file.get();
            if (found < 0 || ((static_cast<unsigned>(found) ^ byteOf(bytes, i)) & which) != 0) {
                return false;
            }
        }
        matches = true;
    }
    return matches;
}

/// Calls `visit` with the path of each media type's key below HKEY_CLASSES_ROOT, in the order of
/// the look-up: extensions come first.
template <class Visit>
void ForEachMediaType(int bits, Visit visit) {
    std::vector<std::string> majors = SubkeysOf(OpenView(HKEY_CLASSES_ROOT, "Media Type", bits));
    std::ranges::stable_partition(majors, [](const auto& name) { return name == "Extensions"; });
    for (const std::string& major : majors) {
        const std::string path = "Media Type\\" + major;
        for (const std::string& minor : SubkeysOf(OpenView(HKEY_CLASSES_ROOT, path, bits))) {
            visit(path + "\\" + minor);
        }
    }
}

/// A key with all below it, in lines.
std::string TreeText(HKEY root, const std::string& path, int bits) {
    const UniqueKey key = OpenView(root, path, bits);
    std::string text = key ? path + "\n" : "";
    for (const auto& [name, value] : ValuesOf(key)) {
        text += "  " + (name.empty() ? "(default)" : name) + " = " + value + "\n";
    }
    for (const std::string& below : SubkeysOf(key)) {
        text += TreeText(root, path + "\\" + below, bits);
    }
    return text;
}

/// All that the registry has of the modules, in the view of a word size, and of the user's
/// settings.
std::string OwnEntriesText(int bits) {
    std::string text;
    std::string ours;
    for (const std::string& clsid : SubkeysOf(OpenView(HKEY_CLASSES_ROOT, "CLSID", bits))) {
        const std::filesystem::path server = RegisteredServer(clsid, bits);
        if (std::ranges::none_of(kModules, [&](auto name) { return IsNamed(server, name); })) {
            continue;
        }
        ours += clsid;
        text += TreeText(HKEY_CLASSES_ROOT, "CLSID\\" + clsid, bits);
        for (const CLSID& category :
             {CLSID_LegacyAmFilterCategory, CLSID_VideoCompressorCategory}) {
            const std::string entry = "CLSID\\" + GuidText(category) + "\\Instance\\" + clsid;
            text += TreeText(HKEY_CLASSES_ROOT, entry, bits);
        }
    }
    ForEachMediaType(bits, [&](const std::string& key) {
        const std::string filter = SourceFilterOf(key, bits);
        if (!filter.empty() && ours.find(filter) != std::string::npos) {
            text += TreeText(HKEY_CLASSES_ROOT, key, bits);
        }
    });
    return text + TreeText(HKEY_CURRENT_USER, "Software\\Veltro", bits);
}

/// Puts `to` in place of a text of any case.
void ReplaceAll(std::wstring* text, const std::wstring& from, const std::wstring& to) {
    const auto same = [](wchar_t a, wchar_t b) { return towlower(a) == towlower(b); };
    for (;;) {
        const auto at = std::search(text->begin(), text->end(), from.begin(), from.end(), same);
        if (from.empty() || at == text->end()) {
            return;
        }
        text->replace(at, at + static_cast<std::ptrdiff_t>(from.size()), to);
    }
}

/// Without the user's profile folder, and without folders that have the user's name.
std::string WithoutPerson(const std::string& text) {
    std::wstring out = Wide(text);
    wchar_t profile[MAX_PATH] = {};
    wchar_t name[257] = {};  // UNLEN and the null
    DWORD length = ARRAYSIZE(name);
    SHGetFolderPathW(nullptr, CSIDL_PROFILE, nullptr, 0, profile);
    GetUserNameW(name, &length);
    ReplaceAll(&out, profile, L"%USERPROFILE%");
    ReplaceAll(&out, name[0] != 0 ? L"\\" + std::wstring(name) + L"\\" : L"", L"\\%USERNAME%\\");
    return Utf8(out);
}

}  // namespace

std::string SourceEntryText(const std::string& file) {
    const std::filesystem::path clip(Wide(file));
    std::ifstream in(clip, std::ios::binary);
    std::string found;
    ForEachMediaType(kOwnBits, [&](const std::string& key) {
        const std::string filter = SourceFilterOf(key);
        // Wine does not look up extensions.
        const bool named = !IsWine() && IsNamed(Wide(key), Utf8(clip.extension().wstring()));
        for (const auto& [name, value] : ValuesOf(OpenView(HKEY_CLASSES_ROOT, key))) {
            if (found.empty() && !filter.empty() && (named || HasBytes(in, value))) {
                found = "HKEY_CLASSES_ROOT\\" + key + ": " +
                        (named ? "" : name + " = " + value + ", ") + "Source Filter = " + filter;
            }
        }
    });
    return found;
}

void WriteReport(const std::string& path, const std::string& printed) {
    std::string text = "nyxhost " NYX_VERSION ", " + WordSize() + "\nsystem: " + SystemText() +
                       "\nprocessor: " + ProcessorText() + "\n\n" + printed;
    for (const int bits : WordSizes()) {
        text += Format("\nregistry of %d-bit programs\n", bits) + OwnEntriesText(bits);
    }
    text = WithoutPerson(text);
    OutputFile file(path);
    file.Write(text.data(), static_cast<DWORD>(text.size()));
    file.Finish();
}

}  // namespace nyx::host

#include "registry.h"

#include <dshow.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <sstream>

#include "module_registry.h"
#include "platform/system.h"
#include "text.h"

namespace nyx::host {
namespace {

constexpr char kMediaTypes[] = "Media Type";
constexpr wchar_t kSourceFilter[] = L"Source Filter";

/// The bytes of hexadecimal digits.
std::vector<BYTE> BytesOf(const std::string& digits) {
    std::vector<BYTE> bytes;
    for (std::size_t at = 0; at + 1 < digits.size(); at += 2) {
        bytes.push_back(static_cast<BYTE>(std::strtoul(digits.substr(at, 2).c_str(), nullptr, 16)));
    }
    return bytes;
}

/// Whether a file has the bytes of an entry: offset, length, mask and bytes, again and again. A
/// negative offset counts from the file's end.
bool HasBytes(std::ifstream& file, const std::string& entry) {
    std::istringstream words(entry);
    std::string offset, length, mask, value;
    bool matches = false;
    while (std::getline(words, offset, ',') && std::getline(words, length, ',') &&
           std::getline(words, mask, ',') && std::getline(words, value, ',')) {
        const std::vector<BYTE> expected = BytesOf(value);
        std::vector<BYTE> masked = BytesOf(mask);
        masked.resize(expected.size(), masked.empty() ? 0xFF : 0);
        std::vector<char> found(expected.size());
        const long long place = std::strtoll(offset.c_str(), nullptr, 10);
        file.clear();
        file.seekg(place, place < 0 ? std::ios::end : std::ios::beg);
        file.read(found.data(), static_cast<std::streamsize>(found.size()));
        matches = file.good() && !expected.empty();
        for (std::size_t i = 0; i < expected.size() && matches; ++i) {
            matches = ((static_cast<BYTE>(found[i]) ^ expected[i]) & masked[i]) == 0;
        }
        if (!matches) {
            return false;
        }
    }
    return matches;
}

std::string EntryText(const std::string& key, const std::string& value) {
    return "HKEY_CLASSES_ROOT\\" + key + ": " + value + (value.empty() ? "" : ", ") +
           "Source Filter = " + RegisteredText(key, kSourceFilter);
}

/// A key with all below it, in lines.
std::string TreeText(HKEY root, const std::string& path, int bits) {
    const UniqueKey key = OpenView(root, path, bits);
    std::string text = key ? path + "\n" : "";
    for (const RegistryValue& value : ValuesOf(key)) {
        text += "  " + (value.name.empty() ? "(default)" : value.name) + " = " + value.text + "\n";
    }
    for (const std::string& below : SubkeysOf(key)) {
        text += TreeText(root, path + "\\" + below, bits);
    }
    return text;
}

/// Calls `visit` with each media type's key below HKEY_CLASSES_ROOT, in the order of the look-up:
/// extensions come first.
template <class Visit>
void ForEachMediaType(int bits, Visit visit) {
    std::vector<std::string> majors = SubkeysOf(OpenView(HKEY_CLASSES_ROOT, kMediaTypes, bits));
    std::ranges::stable_partition(majors, [](const auto& name) { return name == "Extensions"; });
    for (const std::string& major : majors) {
        const std::string path = std::string(kMediaTypes) + "\\" + major;
        for (const std::string& minor : SubkeysOf(OpenView(HKEY_CLASSES_ROOT, path, bits))) {
            visit(major, path + "\\" + minor);
        }
    }
}

}  // namespace

UniqueKey OpenView(HKEY root, const std::string& path, int bits) {
    return OpenKey(root, Wide(path).c_str(),
                   KEY_READ | (bits == 32 ? KEY_WOW64_32KEY : KEY_WOW64_64KEY));
}

std::string RegisteredText(const std::string& path, const wchar_t* value, int bits) {
    wchar_t text[MAX_PATH] = {};
    DWORD bytes = sizeof(text);
    RegGetValueW(OpenView(HKEY_CLASSES_ROOT, path, bits).get(), nullptr, value, RRF_RT_REG_SZ,
                 nullptr, text, &bytes);
    return Utf8(text);
}

std::vector<std::string> SubkeysOf(const UniqueKey& key) {
    std::vector<std::string> names;
    wchar_t name[256];  // the longest
    for (DWORD i = 0; RegEnumKeyW(key.get(), i, name, ARRAYSIZE(name)) == ERROR_SUCCESS; ++i) {
        names.push_back(Utf8(name));
    }
    return names;
}

std::vector<RegistryValue> ValuesOf(const UniqueKey& key) {
    std::vector<RegistryValue> values;
    wchar_t name[1024];
    wchar_t data[2048];
    for (DWORD i = 0;; ++i) {
        DWORD length = ARRAYSIZE(name);
        DWORD type = REG_NONE;
        DWORD bytes = sizeof(data) - sizeof(wchar_t);
        const LSTATUS read = RegEnumValueW(key.get(), i, name, &length, nullptr, &type,
                                           reinterpret_cast<BYTE*>(data), &bytes);
        if (read != ERROR_SUCCESS && read != ERROR_MORE_DATA) {
            return values;
        }
        std::string text = Format("%lu bytes", bytes);
        if (read == ERROR_SUCCESS && (type == REG_SZ || type == REG_EXPAND_SZ)) {
            data[bytes / sizeof(wchar_t)] = L'\0';
            text = Utf8(data);
        } else if (read == ERROR_SUCCESS && type == REG_DWORD) {
            text = std::to_string(*reinterpret_cast<const DWORD*>(data));
        }
        values.push_back({Utf8(name), text});
    }
}

std::string SourceEntryText(const std::string& file) {
    const std::filesystem::path name(Wide(file));
    std::ifstream in(name, std::ios::binary);
    std::string found;
    ForEachMediaType(kOwnBits, [&](const std::string& major, const std::string& key) {
        const std::string filter = RegisteredText(key, kSourceFilter);
        if (!found.empty() || filter.empty()) {
            return;
        }
        if (major == "Extensions") {
            const bool same =
                _wcsicmp(Wide(key).c_str() + key.rfind('\\') + 1, name.extension().c_str()) == 0;
            found = same && !IsWine() ? EntryText(key, "") : "";  // Wine compares bytes alone
            return;
        }
        for (const RegistryValue& value : ValuesOf(OpenView(HKEY_CLASSES_ROOT, key))) {
            if (found.empty() && HasBytes(in, value.text)) {
                found = EntryText(key, value.name + " = " + value.text);
            }
        }
    });
    return found;
}

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
    ForEachMediaType(bits, [&](const std::string&, const std::string& key) {
        const std::string filter = RegisteredText(key, kSourceFilter, bits);
        if (!filter.empty() && ours.find(filter) != std::string::npos) {
            text += TreeText(HKEY_CLASSES_ROOT, key, bits);
        }
    });
    return text + TreeText(HKEY_CURRENT_USER, "Software\\Veltro", bits);
}

}  // namespace nyx::host

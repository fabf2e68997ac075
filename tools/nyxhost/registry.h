#pragma once

#include <string>
#include <vector>

#include "platform/unique_handle.h"

namespace nyx::host {

/// The word size of this program and of every module that it can load.
constexpr int kOwnBits = sizeof(void*) * 8;

/// Opens a key for reading in the view of programs of a word size; null where it is missing.
UniqueKey OpenView(HKEY root, const std::string& path, int bits = kOwnBits);

/// A text below HKEY_CLASSES_ROOT, by default a key's unnamed value; empty without one.
std::string RegisteredText(const std::string& path, const wchar_t* value = nullptr,
                           int bits = kOwnBits);

/// A value in words: a text or a number, else its number of bytes.
struct RegistryValue {
    std::string name;
    std::string text;
};

/// What an open key has, in the registry's order; nothing for null.
std::vector<std::string> SubkeysOf(const UniqueKey& key);
std::vector<RegistryValue> ValuesOf(const UniqueKey& key);

/// The entry by which the system, in programs of this word size, finds the source filter of a file:
/// "HKEY_CLASSES_ROOT\Media Type\...: 0 = 0,4,,52494646, Source Filter = {...}". Empty where none
/// applies, so that the system's own reader opens it.
std::string SourceEntryText(const std::string& file);

/// All that the registry has of the modules, in the view of a word size, and of the user's
/// settings.
std::string OwnEntriesText(int bits);

}  // namespace nyx::host

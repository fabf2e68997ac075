#pragma once

#include <windows.h>

#include <string>
#include <string_view>

namespace nyx::host {

/// printf into a string. Arguments follow the C library's rules.
std::string Format(const char* format, ...) __attribute__((format(gnu_printf, 1, 2)));

/// UTF-16 to UTF-8 and back; what cannot be converted becomes the replacement character.
std::string Utf8(std::wstring_view text);
std::wstring Wide(std::string_view text);

/// "{XXXXXXXX-XXXX-XXXX-XXXX-XXXXXXXXXXXX}".
std::string GuidText(const GUID& guid);

/// Four characters as they lie in memory; unprintable ones as "0x%08X" of the whole code.
std::string FourCCText(DWORD code);

/// An HRESULT by name where the tool knows it, with its number and the system's own words.
std::string ResultText(HRESULT result);

}  // namespace nyx::host

#pragma once

#include <windows.h>

#include <string>
#include <string_view>

namespace nyx::host {

/// printf into a string. Arguments follow the C library's rules.
std::string Format(const char* format, ...) __attribute__((format(gnu_printf, 1, 2)));

/// UTF-16 to UTF-8 and back; invalid characters become the replacement character.
std::string Utf8(std::wstring_view text);
std::wstring Wide(std::string_view text);

/// "{XXXXXXXX-XXXX-XXXX-XXXX-XXXXXXXXXXXX}".
std::string GuidText(const GUID& guid);

/// The four characters of a FourCC; "0x%08lX" of the code when one is unprintable.
std::string FourCCText(DWORD code);

/// An HRESULT in words: its name, if the tool knows it, or the system's message, with its number.
std::string ResultText(HRESULT result);

}  // namespace nyx::host

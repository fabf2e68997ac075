#include "text.h"

#include <dshow.h>

#include <cstdarg>
#include <cstdio>
#include <vector>

namespace nyx::host {
namespace {

struct NamedResult {
    HRESULT result;
    const char* name;
};

constexpr NamedResult kNamedResults[] = {
    {E_FAIL, "E_FAIL"},
    {E_POINTER, "E_POINTER"},
    {E_UNEXPECTED, "E_UNEXPECTED"},
    {E_OUTOFMEMORY, "E_OUTOFMEMORY"},
    {E_NOINTERFACE, "E_NOINTERFACE"},
    {REGDB_E_CLASSNOTREG, "REGDB_E_CLASSNOTREG"},
    {CLASS_E_CLASSNOTAVAILABLE, "CLASS_E_CLASSNOTAVAILABLE"},
    {VFW_E_TYPE_NOT_ACCEPTED, "VFW_E_TYPE_NOT_ACCEPTED"},
    {VFW_E_CANNOT_CONNECT, "VFW_E_CANNOT_CONNECT"},
    {VFW_E_NO_ACCEPTABLE_TYPES, "VFW_E_NO_ACCEPTABLE_TYPES"},
    {VFW_E_INVALIDMEDIATYPE, "VFW_E_INVALIDMEDIATYPE"},
    {VFW_E_CANNOT_RENDER, "VFW_E_CANNOT_RENDER"},
    {VFW_E_NO_ALLOCATOR, "VFW_E_NO_ALLOCATOR"},
    {VFW_E_WRONG_STATE, "VFW_E_WRONG_STATE"},
    {VFW_E_UNKNOWN_FILE_TYPE, "VFW_E_UNKNOWN_FILE_TYPE"},
    {VFW_E_INVALID_FILE_FORMAT, "VFW_E_INVALID_FILE_FORMAT"},
    {VFW_E_UNSUPPORTED_STREAM, "VFW_E_UNSUPPORTED_STREAM"},
    {VFW_E_UNSUPPORTED_VIDEO, "VFW_E_UNSUPPORTED_VIDEO"},
    {VFW_E_UNSUPPORTED_AUDIO, "VFW_E_UNSUPPORTED_AUDIO"},
    {VFW_S_PARTIAL_RENDER, "VFW_S_PARTIAL_RENDER"},
    {VFW_S_VIDEO_NOT_RENDERED, "VFW_S_VIDEO_NOT_RENDERED"},
    {VFW_S_AUDIO_NOT_RENDERED, "VFW_S_AUDIO_NOT_RENDERED"},
};

std::string SystemText(HRESULT result) {
    wchar_t buffer[256];
    const DWORD length =
        FormatMessageW(FORMAT_MESSAGE_FROM_SYSTEM | FORMAT_MESSAGE_IGNORE_INSERTS, nullptr,
                       static_cast<DWORD>(result), 0, buffer, ARRAYSIZE(buffer), nullptr);
    std::wstring_view text(buffer, length);
    while (!text.empty() && (text.back() <= L' ' || text.back() == L'.')) {
        text.remove_suffix(1);
    }
    return Utf8(text);
}

}  // namespace

std::string Format(const char* format, ...) {
    va_list arguments;
    va_start(arguments, format);
    va_list again;
    va_copy(again, arguments);
    const int length = std::vsnprintf(nullptr, 0, format, arguments);
    va_end(arguments);
    std::string text(length > 0 ? static_cast<std::size_t>(length) : 0, '\0');
    std::vsnprintf(text.data(), text.size() + 1, format, again);
    va_end(again);
    return text;
}

std::string Utf8(std::wstring_view text) {
    const int count = static_cast<int>(text.size());
    const int length =
        WideCharToMultiByte(CP_UTF8, 0, text.data(), count, nullptr, 0, nullptr, nullptr);
    std::string out(static_cast<std::size_t>(length), '\0');
    WideCharToMultiByte(CP_UTF8, 0, text.data(), count, out.data(), length, nullptr, nullptr);
    return out;
}

std::wstring Wide(std::string_view text) {
    const int count = static_cast<int>(text.size());
    const int length = MultiByteToWideChar(CP_UTF8, 0, text.data(), count, nullptr, 0);
    std::wstring out(static_cast<std::size_t>(length), L'\0');
    MultiByteToWideChar(CP_UTF8, 0, text.data(), count, out.data(), length);
    return out;
}

std::string GuidText(const GUID& guid) {
    wchar_t text[39];
    StringFromGUID2(guid, text, ARRAYSIZE(text));
    return Utf8(text);
}

std::string FourCCText(DWORD code) {
    std::string text;
    for (int i = 0; i < 4; ++i) {
        const char c = static_cast<char>(code >> (8 * i) & 0xff);
        if (c < ' ' || c > '~') {
            return Format("0x%08lX", code);
        }
        text += c;
    }
    return text;
}

std::string ResultText(HRESULT result) {
    const std::string number = Format("0x%08lX", static_cast<DWORD>(result));
    for (const NamedResult& entry : kNamedResults) {
        if (entry.result == result) {
            return std::string(entry.name) + " (" + number + ")";
        }
    }
    const std::string words = SystemText(result);
    return words.empty() ? number : words + " (" + number + ")";
}

}  // namespace nyx::host

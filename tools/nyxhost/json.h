#pragma once

#include <nlohmann/json.hpp>
#include <string>

namespace nyx::host {

/// Keeps its keys in the order of their insertion.
using Json = nlohmann::ordered_json;

/// A text of `value`, or `none` for anything else.
inline std::string TextOf(const Json& value, const char* none = "") {
    return value.is_string() ? value.get<std::string>() : none;
}

/// Null for an empty text.
inline Json TextOrNull(const std::string& text) {
    return text.empty() ? Json() : Json(text);
}

/// The member `key` of an object; null where there is none.
inline Json MemberOf(const Json& object, const char* key) {
    return object.is_object() ? object.value(key, Json()) : Json();
}

}  // namespace nyx::host

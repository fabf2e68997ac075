#pragma once

/// @file
/// Files that tests/make_material.sh makes on the build machine.

#include <cstdlib>
#include <filesystem>
#include <stdexcept>
#include <string>

namespace nyx::test {

/// The absolute path of a file below the folder that NYX_MATERIAL names.
inline std::filesystem::path MaterialFile(const std::string& name) {
    const char* const folder = std::getenv("NYX_MATERIAL");
    if (!folder) {
        throw std::runtime_error("NYX_MATERIAL is not set");
    }
    return std::filesystem::absolute(std::filesystem::path(folder) / name).make_preferred();
}

}  // namespace nyx::test

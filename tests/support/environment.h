#pragma once

#include <cstdlib>

namespace nyx::test {

/// The number in an environment variable by which a run is made longer or other.
inline int FromEnvironment(const char* name, int otherwise) {
    const char* text = std::getenv(name);
    return text ? std::atoi(text) : otherwise;
}

}  // namespace nyx::test

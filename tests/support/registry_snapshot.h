#pragma once

#include <map>
#include <string>

namespace nyx::test {

/// Every key and value below a registry key, by full path. A key's own entry ends with a backslash
/// and is empty; a value's is its type and bytes.
using RegistrySnapshot = std::map<std::wstring, std::string>;

/// The machine's software keys and all of the user's; the classes key is a merged view of the two.
/// Takes seconds.
RegistrySnapshot SnapshotOfSoftware();

/// The classes alone, which is where servers and filters are entered.
RegistrySnapshot SnapshotOfClasses();

/// The paths that only one of the two has or that differ, one a line, for a failed test's message.
std::string Difference(const RegistrySnapshot& before, const RegistrySnapshot& after);

}  // namespace nyx::test

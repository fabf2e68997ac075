#pragma once

#include <windows.h>

#include <vector>

namespace nyx::test {

/// Refuses one module the registry while in scope: its imports of the named functions answer
/// ERROR_ACCESS_DENIED, as keys without rights do. The rest of the process keeps its registry. Wine
/// holds no access rights of keys, so this is the only way to see it there. For one thread.
class DeniedRegistry {
  public:
    /// Throws std::runtime_error when the module does not import one of the functions.
    DeniedRegistry(HMODULE module, std::vector<const char*> functions);
    DeniedRegistry(const DeniedRegistry&) = delete;
    DeniedRegistry& operator=(const DeniedRegistry&) = delete;
    ~DeniedRegistry();

  private:
    struct Patched {
        void** slot;
        void* function;
    };
    std::vector<Patched> patched_;
};

}  // namespace nyx::test

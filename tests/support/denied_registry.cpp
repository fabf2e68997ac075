#include "tests/support/denied_registry.h"

#include <cstring>
#include <stdexcept>
#include <string>

namespace nyx::test {
namespace {

LSTATUS WINAPI DenyTree(HKEY, LPCWSTR) {
    return ERROR_ACCESS_DENIED;
}
LSTATUS WINAPI DenyOpen(HKEY, LPCWSTR, DWORD, REGSAM, HKEY*) {
    return ERROR_ACCESS_DENIED;
}
LSTATUS WINAPI DenyCreate(HKEY, LPCWSTR, DWORD, LPWSTR, DWORD, REGSAM, LPSECURITY_ATTRIBUTES, HKEY*,
                          DWORD*) {
    return ERROR_ACCESS_DENIED;
}
LSTATUS WINAPI DenyQuery(HKEY, LPCWSTR, DWORD*, DWORD*, BYTE*, DWORD*) {
    return ERROR_ACCESS_DENIED;
}
LSTATUS WINAPI DenySet(HKEY, LPCWSTR, DWORD, DWORD, const BYTE*, DWORD) {
    return ERROR_ACCESS_DENIED;
}

// Each refusal has the parameters of its function: the callee takes them off the stack.
const struct {
    const char* name;
    void* refusal;
} kRefusals[] = {
    {"RegDeleteTreeW", reinterpret_cast<void*>(&DenyTree)},
    {"RegOpenKeyExW", reinterpret_cast<void*>(&DenyOpen)},
    {"RegCreateKeyExW", reinterpret_cast<void*>(&DenyCreate)},
    {"RegQueryValueExW", reinterpret_cast<void*>(&DenyQuery)},
    {"RegSetValueExW", reinterpret_cast<void*>(&DenySet)},
};

void* RefusalOf(const char* name) {
    for (const auto& entry : kRefusals) {
        if (std::strcmp(entry.name, name) == 0) {
            return entry.refusal;
        }
    }
    throw std::runtime_error(std::string("no refusal is written for ") + name);
}

/// The module's import of a function, whichever library it comes from; null when there is none.
void** ImportSlot(HMODULE module, const char* name) {
    auto* const base = reinterpret_cast<BYTE*>(module);
    const auto at = [&](DWORD offset) { return base + offset; };
    const auto* const dos = reinterpret_cast<const IMAGE_DOS_HEADER*>(base);
    const auto* const headers =
        reinterpret_cast<const IMAGE_NT_HEADERS*>(at(static_cast<DWORD>(dos->e_lfanew)));
    const DWORD imports =
        headers->OptionalHeader.DataDirectory[IMAGE_DIRECTORY_ENTRY_IMPORT].VirtualAddress;
    for (auto* library = reinterpret_cast<const IMAGE_IMPORT_DESCRIPTOR*>(at(imports));
         library->FirstThunk != 0; ++library) {
        auto* const names =
            reinterpret_cast<const IMAGE_THUNK_DATA*>(at(library->OriginalFirstThunk));
        auto* const slots = reinterpret_cast<void**>(at(library->FirstThunk));
        for (int i = 0; names[i].u1.AddressOfData != 0; ++i) {
            if (!IMAGE_SNAP_BY_ORDINAL(names[i].u1.Ordinal) &&
                std::strcmp(
                    reinterpret_cast<const IMAGE_IMPORT_BY_NAME*>(at(names[i].u1.AddressOfData))
                        ->Name,
                    name) == 0) {
                return &slots[i];
            }
        }
    }
    return nullptr;
}

/// Import tables are read-only once the module is loaded.
void* Replace(void** slot, void* function) {
    DWORD protection = 0;
    VirtualProtect(slot, sizeof(*slot), PAGE_READWRITE, &protection);
    void* const before = *slot;
    *slot = function;
    VirtualProtect(slot, sizeof(*slot), protection, &protection);
    return before;
}

}  // namespace

DeniedRegistry::DeniedRegistry(HMODULE module, std::vector<const char*> functions) {
    for (const char* name : functions) {
        void** const slot = ImportSlot(module, name);
        if (!slot) {
            throw std::runtime_error(std::string("not imported: ") + name);
        }
        patched_.push_back({slot, Replace(slot, RefusalOf(name))});
    }
}

DeniedRegistry::~DeniedRegistry() {
    for (const Patched& import : patched_) {
        Replace(import.slot, import.function);
    }
}

}  // namespace nyx::test

// What a host can read from the module's file alone.

#include <set>

#include "checks/program.h"
#include "tests/support/host.h"

namespace nyx::test {
namespace {

class ModuleFile : public ::testing::Test {
  protected:
    const LoadedModule module;  // whose headers are those of the file

    template <class T>
    const T* At(DWORD offset) const {
        return reinterpret_cast<const T*>(reinterpret_cast<const BYTE*>(module.handle) + offset);
    }
    const IMAGE_NT_HEADERS& headers =
        *At<IMAGE_NT_HEADERS>(static_cast<DWORD>(At<IMAGE_DOS_HEADER>(0)->e_lfanew));
    const IMAGE_DATA_DIRECTORY& Directory(int index) const {
        return headers.OptionalHeader.DataDirectory[index];
    }
};

TEST_F(ModuleFile, ExportsAServersFunctions) {
    const auto& exported =
        *At<IMAGE_EXPORT_DIRECTORY>(Directory(IMAGE_DIRECTORY_ENTRY_EXPORT).VirtualAddress);
    std::set<std::string> names;
    for (DWORD i = 0; i < exported.NumberOfNames; ++i) {
        names.insert(At<char>(At<DWORD>(exported.AddressOfNames)[i]));
    }
    names.erase("DllMain");  // the entry point may be exported as well
    EXPECT_EQ(names, (std::set<std::string>{"DllCanUnloadNow", "DllGetClassObject",
                                            "DllRegisterServer", "DllUnregisterServer"}));
}

TEST_F(ModuleFile, ImportsFromTheSystemOnly) {
    const std::set<std::string> system = {"advapi32", "comctl32", "gdi32",    "kernel32",
                                          "msvcrt",   "ole32",    "oleaut32", "psapi",
                                          "user32",   "version",  "winmm"};
    const auto* import =
        At<IMAGE_IMPORT_DESCRIPTOR>(Directory(IMAGE_DIRECTORY_ENTRY_IMPORT).VirtualAddress);
    ASSERT_TRUE(import->Name);
    for (; import->Name; ++import) {
        std::string name = At<char>(import->Name);
        std::transform(name.begin(), name.end(), name.begin(),
                       [](char c) { return static_cast<char>(std::tolower(c)); });
        EXPECT_TRUE(system.count(name.substr(0, name.find(".dll")))) << name;
    }
}

TEST_F(ModuleFile, MayBeLoadedAnywhereAndIsHardened) {
    const WORD all = IMAGE_DLLCHARACTERISTICS_DYNAMIC_BASE | IMAGE_DLLCHARACTERISTICS_NX_COMPAT |
                     (sizeof(void*) == 8 ? IMAGE_DLLCHARACTERISTICS_HIGH_ENTROPY_VA : 0);
    EXPECT_EQ(headers.OptionalHeader.DllCharacteristics & all, all);
    EXPECT_EQ(headers.FileHeader.Characteristics & IMAGE_FILE_RELOCS_STRIPPED, 0);
    EXPECT_GT(Directory(IMAGE_DIRECTORY_ENTRY_BASERELOC).Size, 0u);
    // The stack protector ends the process with this code.
    const std::string file = checks::ReadText(ModulePath());
    EXPECT_NE(file.find(std::string("\x09\x04\0\xC0", 4)), std::string::npos);
}

}  // namespace
}  // namespace nyx::test

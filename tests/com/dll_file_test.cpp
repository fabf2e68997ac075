#include <gtest/gtest.h>

#include <algorithm>
#include <cctype>
#include <cstddef>
#include <set>
#include <string>
#include <vector>

#include "tests/support/catalogue_under_test.h"
#include "tests/support/engines.h"
#include "tests/support/loaded_module.h"
#include "tests/support/open_handles.h"

namespace nyx::test {
namespace {

/// The module's image, as the loader lays it out.
class DllFile : public ::testing::Test {
  protected:
    template <class T>
    const T* At(DWORD address) const {
        return reinterpret_cast<const T*>(reinterpret_cast<const BYTE*>(module_.handle()) +
                                          address);
    }
    DWORD Directory(int which) const {
        return headers_->OptionalHeader.DataDirectory[which].VirtualAddress;
    }

    LoadedModule module_;
    const IMAGE_NT_HEADERS32* headers_ =
        At<IMAGE_NT_HEADERS32>(static_cast<DWORD>(At<IMAGE_DOS_HEADER>(0)->e_lfanew));
};

TEST_F(DllFile, ExportsTheComEntriesUndecoratedAndNothingElse) {
    const auto* exports = At<IMAGE_EXPORT_DIRECTORY>(Directory(IMAGE_DIRECTORY_ENTRY_EXPORT));
    std::set<std::string> names;
    for (DWORD i = 0; i < exports->NumberOfNames; ++i) {
        names.insert(At<char>(At<DWORD>(exports->AddressOfNames)[i]));
    }
    names.erase("DllMain");  // the entry point, which may be exported as well
    EXPECT_EQ(names, (std::set<std::string>{"DllCanUnloadNow", "DllGetClassObject",
                                            "DllRegisterServer", "DllUnregisterServer"}));
}

TEST_F(DllFile, ImportsSystemLibrariesOnly) {
    const std::set<std::string> system = {
        "advapi32.dll", "comctl32.dll", "gdi32.dll",  "kernel32.dll", "msvcrt.dll", "ole32.dll",
        "oleaut32.dll", "psapi.dll",    "user32.dll", "version.dll",  "winmm.dll"};
    const auto* import = At<IMAGE_IMPORT_DESCRIPTOR>(Directory(IMAGE_DIRECTORY_ENTRY_IMPORT));
    int count = 0;
    for (; import->Name; ++import, ++count) {
        std::string name = At<char>(import->Name);
        std::transform(name.begin(), name.end(), name.begin(),
                       [](char c) { return static_cast<char>(std::tolower(c)); });
        EXPECT_EQ(system.count(name), 1u) << name;
    }
    EXPECT_GT(count, 0);
}

TEST_F(DllFile, MayBeLoadedAnywhereAndHasNoMemoryThatIsWritableAndExecutable) {
    const WORD flags = headers_->OptionalHeader.DllCharacteristics;
    EXPECT_NE(flags & IMAGE_DLLCHARACTERISTICS_DYNAMIC_BASE, 0);
    EXPECT_NE(flags & IMAGE_DLLCHARACTERISTICS_NX_COMPAT, 0);
    EXPECT_EQ(headers_->FileHeader.Characteristics & IMAGE_FILE_RELOCS_STRIPPED, 0);
    EXPECT_NE(Directory(IMAGE_DIRECTORY_ENTRY_BASERELOC), 0u);
    const IMAGE_SECTION_HEADER* section = IMAGE_FIRST_SECTION(headers_);
    for (WORD i = 0; i < headers_->FileHeader.NumberOfSections; ++i, ++section) {
        constexpr DWORD kBoth = IMAGE_SCN_MEM_WRITE | IMAGE_SCN_MEM_EXECUTE;
        EXPECT_NE(section->Characteristics & kBoth, kBoth) << i;
    }
}

TEST_F(DllFile, EndsTheProcessWhenAStackIsOverwritten) {
    // The last words of the compiler's stack protector.
    const std::string words = "*** stack smashing detected ***";
    const char* const end = At<char>(headers_->OptionalHeader.SizeOfImage);
    EXPECT_NE(std::search(At<char>(0), end, words.begin(), words.end()), end);
}

TEST_F(DllFile, ImportsNothingThatWidensTheSearchForLibraries) {
    const std::set<std::string> widening = {
        "AddDllDirectory",        "SearchPathA",          "SearchPathW",
        "SetCurrentDirectoryA",   "SetCurrentDirectoryW", "SetDefaultDllDirectories",
        "SetDllDirectoryA",       "SetDllDirectoryW",     "SetEnvironmentVariableA",
        "SetEnvironmentVariableW"};
    bool loads = false;
    const auto* import = At<IMAGE_IMPORT_DESCRIPTOR>(Directory(IMAGE_DIRECTORY_ENTRY_IMPORT));
    for (; import->Name; ++import) {
        const auto* thunk = At<IMAGE_THUNK_DATA32>(import->OriginalFirstThunk);
        for (; thunk->u1.AddressOfData; ++thunk) {
            if (!IMAGE_SNAP_BY_ORDINAL32(thunk->u1.Ordinal)) {
                const std::string name =
                    At<char>(thunk->u1.AddressOfData + offsetof(IMAGE_IMPORT_BY_NAME, Name));
                EXPECT_EQ(widening.count(name), 0u) << name;
                loads = loads || name == "LoadLibraryW";
            }
        }
    }
    EXPECT_TRUE(loads) << "the names were read";
}

TEST_F(DllFile, CarriesAVersion) {
    const std::wstring path = ModulePath();
    DWORD unused = 0;
    std::vector<BYTE> block(GetFileVersionInfoSizeW(path.c_str(), &unused));
    ASSERT_FALSE(block.empty());
    ASSERT_TRUE(
        GetFileVersionInfoW(path.c_str(), 0, static_cast<DWORD>(block.size()), block.data()));
    VS_FIXEDFILEINFO* info = nullptr;
    UINT size = 0;
    ASSERT_TRUE(VerQueryValueW(block.data(), L"\\", reinterpret_cast<void**>(&info), &size));
    EXPECT_GE(size, sizeof(VS_FIXEDFILEINFO));
    EXPECT_EQ(info->dwFileType, DWORD{VFT_DLL});
    EXPECT_NE(info->dwFileVersionMS, 0u);
}

TEST(DllLoading, LoadsAndUnloadsAgainAndKeepsNothing) {
    ASSERT_EQ(GetModuleHandleW(L"nyxcodecs.dll"), nullptr);
    // As in any DirectShow host, which has it of the graph manager; Wine's loses handles when
    // freed.
    ASSERT_TRUE(LoadLibraryW(L"winmm.dll"));
    const EngineSearch engines;
    const auto firstFreeSlot = [] {
        const DWORD slot = TlsAlloc();
        TlsFree(slot);
        return slot;
    };
    DWORD slot = 0;
    ULONG handles = 0;
    for (int i = 0; i < 25; ++i) {
        if (i == 5) {  // past what the system makes once and keeps
            slot = firstFreeSlot();
            handles = OpenHandles();
        }
        const LoadedModule module;
        for (const FilterUnderTest& row : CatalogueUnderTest()) {
            ASSERT_TRUE(module.CreateFilter(row.clsid)) << row.name;
        }
        ASSERT_EQ(module.CanUnloadNow(), S_OK) << i;
    }
    EXPECT_EQ(GetModuleHandleW(L"nyxcodecs.dll"), nullptr);
    EXPECT_EQ(firstFreeSlot(), slot);
    EXPECT_NE(handles, 0u);
    EXPECT_LE(OpenHandles(), handles);
}

}  // namespace
}  // namespace nyx::test

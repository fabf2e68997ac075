/// The module as a COM server and as an entry of the registry.

#include <algorithm>
#include <cctype>
#include <fstream>
#include <sstream>

#include "tests/support/leaks.h"
#include "tests/support/registry.h"
#include "tests/support/rig.h"
#include "tests/support/settings.h"
#include "tests/support/watchdog.h"

namespace nyx::test {
namespace {

using Server = ComTest;

TEST_F(Server, LoadsAndUnloadsAgainAndKeepsNothing) {
    // As in any DirectShow host, which has it of the graph manager; Wine's loses handles when
    // freed.
    ASSERT_TRUE(LoadLibraryW(L"winmm.dll"));
    const PrivateUserRegistry registry;  // with a setting, so that its key is opened
    registry.Store(L"Software\\Veltro\\Codec\\Q210", L"color_space", 0);
    const TemporaryFolder folder(L"copy");
    const std::wstring path = folder.PathOf(L"copied.dll");
    ASSERT_TRUE(CopyFileW(ModulePath().c_str(), path.c_str(), TRUE));
    const auto count = [] {
        const DWORD slot = TlsAlloc();  // the first that is free
        TlsFree(slot);
        return std::pair(slot, CountHeld().handles);
    };
    auto before = count();
    for (int i = 0; i < 6; ++i) {
        before = i == 3 ? count() : before;  // past what the system makes once
        const LoadedModule module(path);
        for (const CatalogueRow& row : Catalogue()) {
            ASSERT_TRUE(module.Create(row.clsid)) << row.name;
        }
        ASSERT_EQ(module.CanUnloadNow(), S_OK) << i;
    }
    EXPECT_EQ(GetModuleHandleW(L"copied.dll"), nullptr);
    EXPECT_NE(before.second, 0u);
    EXPECT_EQ(count().first, before.first);
    EXPECT_LE(count().second, before.second);
}

TEST_F(Server, ServesItsClassesWithoutTheirEnginesButMakesOnlyWhatNeedsNone) {
    const EngineSearch none(L"none");
    for (const CatalogueRow& row : Catalogue()) {
        void* made = &made;
        EXPECT_EQ(Module().Create(row.clsid, nullptr, IID_IUnknown, &made),
                  row.engine ? E_OUTOFMEMORY : S_OK);
        ASSERT_EQ(made == nullptr, row.engine != nullptr) << row.name;
        Adopt(static_cast<IUnknown*>(made));
    }
    EXPECT_TRUE(Module().Create<IUnknown>(kPropertyPage));
}

TEST_F(Server, FiltersMadeOnSeveralThreadsAtOnceAreNeverRefused) {
    std::atomic<int> refused{0};
    std::vector<std::thread> threads;
    for (std::size_t thread = 0; thread < 6; ++thread) {
        threads.emplace_back([&, thread] {
            std::size_t next = thread;
            For(std::chrono::milliseconds(1000), [&] {
                refused += Module().Create(Catalogue()[next++ % Catalogue().size()].clsid) ? 0 : 1;
            });
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    EXPECT_EQ(refused, 0);
}

TEST_F(Server, KnowsItsFactoriesInterfacesAndItsOwnClassesOnlyAndIsKeptByThem) {
    const CLSID clsid = Row("Q210Decoder").clsid;
    const CLSID unknown = {1, 2, 3, {4, 5, 6, 7, 8, 9, 10, 11}};
    void* none = &none;
    EXPECT_EQ(Module().GetClassObject(clsid, IID_IBaseFilter, &none), E_NOINTERFACE);
    EXPECT_EQ(none, nullptr);
    EXPECT_EQ(Module().GetClassObject(clsid, IID_IClassFactory, nullptr), E_POINTER);
    EXPECT_EQ(Module().GetClassObject(unknown, IID_IClassFactory, &none),
              CLASS_E_CLASSNOTAVAILABLE);
    EXPECT_EQ(none, nullptr);
    EXPECT_EQ(Module().CanUnloadNow(), S_OK);
    for (const BOOL lock : {TRUE, FALSE}) {
        ComPtr<IClassFactory> factory;
        ASSERT_EQ(Module().GetClassObject(clsid, IID_IClassFactory, &factory), S_OK);
        EXPECT_EQ(factory->CreateInstance(nullptr, IID_IBaseFilter, nullptr), E_POINTER);
        EXPECT_EQ(factory->QueryInterface(IID_IUnknown, nullptr), E_POINTER);
        EXPECT_EQ(factory->CreateInstance(nullptr, IID_IVideoWindow, &none), E_NOINTERFACE);
        EXPECT_EQ(none, nullptr);
        EXPECT_EQ(factory->LockServer(lock), S_OK);
        EXPECT_EQ(Module().CanUnloadNow(), S_FALSE) << "a factory is alive";
        factory.Reset();
        EXPECT_EQ(Module().CanUnloadNow(), lock ? S_FALSE : S_OK) << "the server is locked";
    }
    auto filter = Module().Create(clsid);
    EXPECT_EQ(Module().CanUnloadNow(), S_FALSE) << "a filter is alive";
}

constexpr IID kOutersOwn = {0x5D0E8B11, 0x0001, 0x4C10, {1, 2, 3, 4, 5, 6, 7, 8}};

/// A host's object that makes a filter part of itself.
class Outer : public Object<IUnknown> {
  protected:
    void* Find(REFIID iid) override { return iid == kOutersOwn ? this : nullptr; }
};

class Aggregation : public RowTest {};
NYX_FOR_ROWS(Aggregation, ThreeKinds());

TEST_P(Aggregation, TheInnerUnknownCountsByItselfAndAllElseIsTheOuters) {
    const auto outer = Make<Outer>();
    void* result = &result;
    EXPECT_EQ(Module().Create(row().clsid, outer.Get(), IID_IBaseFilter, &result), E_NOINTERFACE);
    EXPECT_EQ(result, nullptr);
    ComPtr<IUnknown> inner;
    ASSERT_EQ(Module().Create(row().clsid, outer.Get(), IID_IUnknown, &inner), S_OK);
    EXPECT_EQ(As<IUnknown>(inner).Get(), inner.Get());
    EXPECT_EQ(outer->References(), 1u);

    auto filter = As<IBaseFilter>(inner);
    ASSERT_TRUE(filter);
    EXPECT_EQ(outer->References(), 2u) << "the interface is counted by the outer object";
    EXPECT_EQ(As<IUnknown>(filter).Get(), static_cast<IUnknown*>(outer.Get()));
    ComPtr<IUnknown> own;
    EXPECT_EQ(filter->QueryInterface(kOutersOwn, &own), S_OK);
    EXPECT_EQ(filter->QueryInterface(IID_IBaseFilter, &own), E_NOINTERFACE) << "it decides";
    EXPECT_EQ(inner->QueryInterface(kOutersOwn, &own), E_NOINTERFACE);
    ComPtr<IPin> pin;
    ASSERT_EQ(filter->FindPin(L"In", &pin), S_OK);
    EXPECT_EQ(outer->References(), 3u) << "so is a pin";
    pin.Reset();
    filter.Reset();
    EXPECT_EQ(inner.Reset(), 0u);
}

std::wstring Text(const CLSID& clsid) {
    wchar_t text[40] = {};
    StringFromGUID2(clsid, text, 40);
    return text;
}

/// What a value of a class's key holds, as bytes in the form of text.
std::wstring ClassValue(const CLSID& clsid, const std::wstring& key, const wchar_t* name) {
    wchar_t data[1024] = {};
    DWORD size = sizeof(data) - sizeof(wchar_t);
    RegGetValueW(HKEY_CLASSES_ROOT, (L"CLSID\\" + Text(clsid) + key).c_str(), name,
                 RRF_RT_REG_SZ | RRF_RT_REG_BINARY, nullptr, data, &size);
    return std::wstring(data, size / sizeof(wchar_t)).c_str();
}

/// A filter's name in a category, where it is one instance, and its merit, which stands behind the
/// version of its data.
std::pair<std::wstring, DWORD> EntryIn(const CLSID& category, const std::wstring& instance) {
    const std::wstring key = L"\\Instance\\" + instance;
    DWORD data[64] = {};
    DWORD size = sizeof(data);
    RegGetValueW(HKEY_CLASSES_ROOT, (L"CLSID\\" + Text(category) + key).c_str(), L"FilterData",
                 RRF_RT_REG_BINARY, nullptr, data, &size);
    return {ClassValue(category, key, L"FriendlyName"), data[1]};
}

/// Whether the filter mapper proposes the class for turning video of one subtype into the other.
bool MapperFinds(REFCLSID clsid, const GUID& from, const GUID& to) {
    const GUID inputs[] = {MEDIATYPE_Video, from};
    const GUID outputs[] = {MEDIATYPE_Video, to};
    ComPtr<IFilterMapper2> mapper;
    ComPtr<IEnumMoniker> monikers;
    CoCreateInstance(CLSID_FilterMapper2, nullptr, CLSCTX_INPROC_SERVER, IID_IFilterMapper2,
                     &mapper);
    mapper->EnumMatchingFilters(&monikers, 0, FALSE, MERIT_DO_NOT_USE, TRUE, 1, inputs, nullptr,
                                nullptr, FALSE, TRUE, 1, outputs, nullptr, nullptr);
    bool found = false;
    for (ComPtr<IMoniker> moniker; monikers->Next(1, &moniker, nullptr) == S_OK;) {
        LPOLESTR name = nullptr;
        moniker->GetDisplayName(nullptr, nullptr, &name);
        found = found || std::wstring(name).find(Text(clsid)) != std::wstring::npos;
        CoTaskMemFree(name);
    }
    return found;
}

/// Leaves the system without the module, whatever it held before.
class Registration : public ComTest {
  protected:
    void SetUp() override { ASSERT_EQ(Module().RegisterServer(), S_OK); }
    void TearDown() override { EXPECT_EQ(Module().UnregisterServer(), S_OK); }
};

TEST_F(Registration, TwiceIsOnceAndUnregisteringLeavesTheRegistryAsItWas) {
    // The system makes the keys of its categories with the first filter and keeps them.
    ASSERT_EQ(Module().UnregisterServer(), S_OK);
    const auto before = RegistryBelow(L"CLSID");
    EXPECT_EQ(Module().RegisterServer(), S_OK);
    const auto once = RegistryBelow(L"CLSID");
    EXPECT_FALSE(once == before);
    EXPECT_EQ(Module().RegisterServer(), S_OK);
    EXPECT_TRUE(RegistryBelow(L"CLSID") == once);
    EXPECT_EQ(Module().UnregisterServer(), S_OK);
    EXPECT_TRUE(RegistryBelow(L"CLSID") == before);
    EXPECT_EQ(Module().RegisterServer(), S_OK);
}

TEST_F(Registration, EveryClassIsEnteredAndFoundByCategoryMeritAndTypes) {
    const std::pair<std::wstring, DWORD> none;
    const auto expectServer = [](const CLSID& clsid, const std::wstring& title) {
        EXPECT_EQ(ClassValue(clsid, L"", nullptr), title);
        EXPECT_EQ(ClassValue(clsid, L"\\InprocServer32", nullptr), ModulePath());
        EXPECT_EQ(ClassValue(clsid, L"\\InprocServer32", L"ThreadingModel"), L"Both");
    };
    expectServer(kPropertyPage, kPropertyPageTitle);
    EXPECT_EQ(EntryIn(CLSID_LegacyAmFilterCategory, Text(kPropertyPage)), none);
    const GUID foreign = MEDIASUBTYPE_MJPG;
    for (const CatalogueRow& row : Catalogue()) {
        SCOPED_TRACE(row.name);
        expectServer(row.clsid, row.title);
        const bool encoder = row.IsEncoder();
        const std::pair<std::wstring, DWORD> entry = {row.title, encoder ? 0x200000 : 0x800000};
        EXPECT_EQ(EntryIn(CLSID_LegacyAmFilterCategory, Text(row.clsid)), entry);
        EXPECT_EQ(EntryIn(CLSID_VideoCompressorCategory, row.title), encoder ? entry : none);
        const GUID made = row.OutputType().subtype;
        const GUID taken = row.InputType().subtype;
        for (const GUID& from : {taken, encoder ? MEDIASUBTYPE_RGB32 : taken}) {
            EXPECT_TRUE(MapperFinds(row.clsid, from, made));
            // Decoders are entered for any output: which ones they have is for them to say.
            EXPECT_EQ(MapperFinds(row.clsid, from, foreign), !encoder);
        }
        EXPECT_FALSE(MapperFinds(row.clsid, foreign, made));
    }
}

TEST_F(Registration, AFolderNamedInAnyScriptIsRegisteredAsItIs) {
    const TemporaryFolder folder(L"\u03A9\u0436\u65E5");
    const std::wstring path = folder.PathOf(L"nyxcodecs.dll");
    ASSERT_TRUE(CopyFileW(ModulePath().c_str(), path.c_str(), TRUE));
    const LoadedModule copy(path);
    ASSERT_EQ(copy.RegisterServer(), S_OK);
    EXPECT_EQ(ClassValue(kPropertyPage, L"\\InprocServer32", nullptr), path);
}

TEST_F(Registration, ARegistryThatRefusesIsReported) {
    // A key that is gone: nothing can be made below it.
    HKEY gone = nullptr;
    RegCreateKeyExW(HKEY_CURRENT_USER, L"Software\\nyx-gone", 0, nullptr, 0, KEY_ALL_ACCESS,
                    nullptr, &gone, nullptr);
    RegDeleteKeyW(HKEY_CURRENT_USER, L"Software\\nyx-gone");
    RegOverridePredefKey(HKEY_CLASSES_ROOT, gone);
    const HRESULT result = Module().RegisterServer();
    RegOverridePredefKey(HKEY_CLASSES_ROOT, nullptr);
    RegCloseKey(gone);
    EXPECT_EQ(result, HRESULT_FROM_WIN32(ERROR_KEY_DELETED));
}

/// Runs a small host under a name of the test's choice, with the siblings of these names beside it.
/// What they logged.
std::string LogOfHost(const std::wstring& name, const std::string& siblings,
                      const std::wstring& arguments = L"") {
    const TemporaryFolder folder(L"host");
    const auto copy = [&](const std::wstring& from, const std::wstring& to) {
        EXPECT_TRUE(CopyFileW((ProgramFolder() + from).c_str(), folder.PathOf(to).c_str(), TRUE));
    };
    copy(L"nyxcodecs.dll", L"nyxcodecs.dll");
    copy(L"preload_host.exe", name);
    std::istringstream list(siblings);
    for (std::string sibling; list >> sibling;) {
        copy(L"preload_sibling.dll", std::wstring(sibling.begin(), sibling.end()));
    }
    SetEnvironmentVariableW(L"NYX_PRELOAD_LOG", folder.PathOf(L"log.txt").c_str());
    EXPECT_EQ(_wsystem((L"\"" + folder.PathOf(name) + L"\" " + arguments).c_str()), 0);
    std::ifstream log(folder.path / "log.txt");
    std::string text(std::istreambuf_iterator<char>(log), {});
    std::transform(text.begin(), text.end(), text.begin(),
                   [](char c) { return static_cast<char>(std::tolower(c)); });
    return text;
}

TEST(HostPreload, TheNamedHostAloneKeepsTheSiblingsLoadedAndFreesThemInReverse) {
    const std::string all =
        "rkdv5codc.dll rkllccodc.dll rkzcodc.dll rkdvccodc.dll rkdvhcodc.dll rkz2codc.dll "
        "rk210codc.dll";
    std::string loads, frees;
    std::istringstream list(all);
    for (std::string name; list >> name;) {
        loads += "+" + name + "\n";
        frees = "-" + name + "\n" + frees;
    }
    EXPECT_EQ(LogOfHost(L"pCEMAVREl.exe", all), loads + frees);
    EXPECT_EQ(LogOfHost(L"PceMavrel2.exe", all), "");
    EXPECT_EQ(LogOfHost(L"PceMavrel.exe", "rkdvhcodc.dll rkllccodc.dll"),
              "+rkllccodc.dll\n+rkdvhcodc.dll\n-rkdvhcodc.dll\n-rkllccodc.dll\n")
        << "a missing one is passed over";
    EXPECT_EQ(LogOfHost(L"PceMavrel.exe", all, L"stay").substr(0, loads.size()), loads)
        << "and a host that just ends ends well";
}

}  // namespace
}  // namespace nyx::test

/// The module as a COM server.

#include "platform/class_ids.h"
#include "tests/support/leaks.h"
#include "tests/support/rig.h"
#include "tests/support/settings.h"

namespace nyx::test {
namespace {

using Server = ComTest;

TEST_F(Server, LoadsAndUnloadsAgainAndKeepsNothing) {
    const PrivateUserRegistry registry;  // with a setting, so that its key is opened
    registry.Store(L"Software\\Veltro\\Codec\\Q210", L"color_space", 0);
    const TemporaryFolder folder(L"copy");
    const std::wstring path = folder.PathOf(L"copied.dll");
    ASSERT_TRUE(CopyFileW(ModulePath().c_str(), path.c_str(), TRUE));
    ExpectNothingKept([&] {
        {
            const LoadedModule module(path);
            for (const CatalogueRow& row : Catalogue()) {
                ASSERT_TRUE(module.Create(row.clsid)) << row.name;
            }
            ASSERT_EQ(module.CanUnloadNow(), S_OK);
        }
        EXPECT_EQ(GetModuleHandleW(L"copied.dll"), nullptr);
    });
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
    EXPECT_EQ(Module().CanUnloadNow(), S_OK);
    for (const BOOL lock : {TRUE, FALSE}) {
        ComPtr<IClassFactory> factory;
        ASSERT_EQ(Module().GetClassObject(clsid, IID_IClassFactory, &factory), S_OK);
        EXPECT_EQ(factory->CreateInstance(nullptr, IID_IBaseFilter, nullptr), E_POINTER);
        EXPECT_EQ(factory->QueryInterface(IID_IUnknown, nullptr), E_POINTER);
        EXPECT_EQ(factory->CreateInstance(nullptr, IID_IVideoWindow, &none), E_NOINTERFACE);
        EXPECT_EQ(factory->LockServer(lock), S_OK);
        EXPECT_EQ(Module().CanUnloadNow(), S_FALSE) << "a factory is alive";
        factory.Reset();
        EXPECT_EQ(Module().CanUnloadNow(), lock ? S_FALSE : S_OK) << "the server is locked";
    }
    auto filter = Module().Create(clsid);
    EXPECT_EQ(Module().CanUnloadNow(), S_FALSE) << "a filter is alive";
    const EngineSearch without(L"none");
    EXPECT_TRUE(Module().Create<IUnknown>(CLSID_NyxZetaPropertyPage)) << "which needs no engine";
}

class Aggregation : public RowTest {};
NYX_FOR_ROWS(Aggregation, Rows({"Q210Decoder", "ZetaEncoder"}));

TEST_P(Aggregation, TheInnerUnknownCountsByItselfAndAllElseIsTheOuters) {
    const auto outer =
        Make<HostileAllocator>();  // any object of the host with an interface of its own
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
    EXPECT_EQ(filter->QueryInterface(IID_IMemAllocator, &own), S_OK);
    EXPECT_EQ(filter->QueryInterface(IID_IBaseFilter, &own), E_NOINTERFACE) << "it decides";
    EXPECT_EQ(inner->QueryInterface(IID_IMemAllocator, &own), E_NOINTERFACE);
    ComPtr<IPin> pin;
    ASSERT_EQ(filter->FindPin(L"In", &pin), S_OK);
    EXPECT_EQ(outer->References(), 3u) << "so is a pin";
    pin.Reset();
    filter.Reset();
    EXPECT_EQ(inner.Reset(), 0u);
}

TEST_F(Server, ARegistryThatRefusesIsReported) {
    // Below a deleted key no key can be created.
    UniqueKey deleted;
    ASSERT_EQ(CreateKey(HKEY_CURRENT_USER, L"Software\\nyx-gone", KEY_ALL_ACCESS, &deleted), 0);
    RegDeleteKeyW(HKEY_CURRENT_USER, L"Software\\nyx-gone");
    RegOverridePredefKey(HKEY_CLASSES_ROOT, deleted.get());
    const HRESULT result = Module().RegisterServer();
    RegOverridePredefKey(HKEY_CLASSES_ROOT, nullptr);
    EXPECT_EQ(result, HRESULT_FROM_WIN32(ERROR_KEY_DELETED));
}

}  // namespace
}  // namespace nyx::test

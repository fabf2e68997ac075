#include <gtest/gtest.h>

#include <new>
#include <vector>

#include "tests/baseclasses/passthrough.h"

namespace nyx::test {
namespace {

constexpr CLSID Class(WORD n) {
    return {0x0B9B1C70, 0x8A3F, n, {0x9D, 1, 2, 3, 4, 5, 6, 7}};
}
const CLSID kFailing = Class(1);
const CLSID kNothing = Class(2);
const CLSID kThrowing = Class(3);
const CLSID kUnknownClass = Class(4);

int loads = 0;

CUnknown* CALLBACK MakePassthrough(LPUNKNOWN outer, HRESULT*) {
    return new Passthrough(outer);
}
CUnknown* CALLBACK MakeFailing(LPUNKNOWN outer, HRESULT* phr) {
    *phr = E_ABORT;
    return new Passthrough(outer);
}
CUnknown* CALLBACK MakeNothing(LPUNKNOWN, HRESULT*) {
    return nullptr;
}
CUnknown* CALLBACK Throw(LPUNKNOWN, HRESULT*) {
    throw std::bad_alloc();
}
void CALLBACK OnLoad(BOOL loading, const CLSID* clsid) {
    loads += loading && *clsid == kFailing ? 1 : 0;
}

WCHAR pinName[] = L"Input";
const AMOVIESETUP_MEDIATYPE kTypes[] = {{&MEDIATYPE_Video, &MEDIASUBTYPE_YUY2}};
const AMOVIESETUP_PIN kPins[] = {
    {pinName, FALSE, FALSE, FALSE, FALSE, nullptr, nullptr, 1, kTypes}};
const AMOVIESETUP_FILTER kSetup = {&kPassthroughClass, L"Base class test filter", MERIT_DO_NOT_USE,
                                   1, kPins};

}  // namespace
}  // namespace nyx::test

CFactoryTemplate g_Templates[] = {
    {L"Base class test filter", &nyx::test::kPassthroughClass, nyx::test::MakePassthrough, nullptr,
     &nyx::test::kSetup},
    {L"Failing", &nyx::test::kFailing, nyx::test::MakeFailing, nyx::test::OnLoad, nullptr},
    {L"Nothing", &nyx::test::kNothing, nyx::test::MakeNothing, nullptr, nullptr},
    {L"Throwing", &nyx::test::kThrowing, nyx::test::Throw, nullptr, nullptr},
};
int g_cTemplates = ARRAYSIZE(g_Templates);

namespace nyx::test {
namespace {

ComPtr<IClassFactory> Factory(REFCLSID clsid) {
    ComPtr<IClassFactory> factory;
    EXPECT_EQ(DllGetClassObject(clsid, IID_IClassFactory, factory.PutVoid()), S_OK);
    return factory;
}

TEST(DllEntry, InitialisationRoutinesRunAtLoad) {
    EXPECT_EQ(loads, 1);
}

TEST(DllEntry, ClassObjectsAreServedForTheTemplatesAndTheTwoInterfacesOnly) {
    void* object = &object;
    EXPECT_EQ(DllGetClassObject(kUnknownClass, IID_IClassFactory, &object),
              CLASS_E_CLASSNOTAVAILABLE);
    EXPECT_EQ(object, nullptr);
    EXPECT_EQ(DllGetClassObject(kPassthroughClass, IID_IPersist, &object), E_NOINTERFACE);
    EXPECT_EQ(DllGetClassObject(kPassthroughClass, IID_IUnknown, nullptr), E_POINTER);
    EXPECT_EQ(DllCanUnloadNow(), S_OK);
}

TEST(DllEntry, FactoriesObjectsAndLocksKeepTheModuleLoaded) {
    auto factory = Factory(kPassthroughClass);
    EXPECT_EQ(DllCanUnloadNow(), S_FALSE);
    ComPtr<IBaseFilter> filter;
    ASSERT_EQ(factory->CreateInstance(nullptr, IID_IBaseFilter, filter.PutVoid()), S_OK);
    factory->LockServer(TRUE);
    factory.Reset();
    EXPECT_EQ(DllCanUnloadNow(), S_FALSE);
    EXPECT_EQ(filter.Reset(), 0u);
    EXPECT_EQ(DllCanUnloadNow(), S_FALSE);
    Factory(kPassthroughClass)->LockServer(FALSE);
    EXPECT_EQ(DllCanUnloadNow(), S_OK);
}

TEST(DllEntry, WhatCannotBeMadeLeavesNoObject) {
    const struct {
        const CLSID& clsid;
        HRESULT expected;
    } cases[] = {{kFailing, E_ABORT}, {kNothing, E_OUTOFMEMORY}, {kThrowing, E_OUTOFMEMORY}};
    for (const auto& row : cases) {
        void* object = &object;
        EXPECT_EQ(Factory(row.clsid)->CreateInstance(nullptr, IID_IUnknown, &object), row.expected);
        EXPECT_EQ(object, nullptr);
        EXPECT_EQ(CBaseObject::ObjectsActive(), 0);
    }
}

TEST(DllEntry, AQueryThatFailsDeletesTheObject) {
    void* object = &object;
    EXPECT_EQ(Factory(kPassthroughClass)->CreateInstance(nullptr, IID_IStream, &object),
              E_NOINTERFACE);
    EXPECT_EQ(object, nullptr);
    EXPECT_EQ(CBaseObject::ObjectsActive(), 0);
}

TEST(DllEntry, AggregationIsForIUnknownOnly) {
    const auto outer = MakeCom<TestObject<IUnknown>>();
    void* object = &object;
    EXPECT_EQ(Factory(kPassthroughClass)->CreateInstance(outer.get(), IID_IBaseFilter, &object),
              E_NOINTERFACE);
    EXPECT_EQ(object, nullptr);
    ComPtr<IUnknown> inner;
    EXPECT_EQ(
        Factory(kPassthroughClass)->CreateInstance(outer.get(), IID_IUnknown, inner.PutVoid()),
        S_OK);
    EXPECT_EQ(outer->References(), 1u);
    EXPECT_EQ(inner.Reset(), 0u);
}

}  // namespace
}  // namespace nyx::test

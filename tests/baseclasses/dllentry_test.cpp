#include <gtest/gtest.h>

#include <new>

#include "baseclasses/streams.h"
#include "tests/support/com_ptr.h"

namespace nyx::test {
namespace {

constexpr CLSID Class(WORD n) {
    return {0x0B9B1C70, 0x8A3F, n, {0x9D, 1, 2, 3, 4, 5, 6, 7}};
}
const CLSID kFailing = Class(1);
const CLSID kNothing = Class(2);
const CLSID kThrowing = Class(3);

CUnknown* CALLBACK MakeFailing(LPUNKNOWN outer, HRESULT* phr) {
    *phr = E_ABORT;
    return new CUnknown(NAME("Failing"), outer);
}
CUnknown* CALLBACK MakeNothing(LPUNKNOWN, HRESULT*) {
    return nullptr;
}
CUnknown* CALLBACK Throw(LPUNKNOWN, HRESULT*) {
    throw std::bad_alloc();
}

}  // namespace
}  // namespace nyx::test

CFactoryTemplate g_Templates[] = {
    {L"Failing", &nyx::test::kFailing, nyx::test::MakeFailing, nullptr},
    {L"Nothing", &nyx::test::kNothing, nyx::test::MakeNothing, nullptr},
    {L"Throwing", &nyx::test::kThrowing, nyx::test::Throw, nullptr},
};
int g_cTemplates = ARRAYSIZE(g_Templates);

namespace nyx::test {
namespace {

TEST(DllEntry, WhatCannotBeMadeLeavesNoObject) {
    const struct {
        const CLSID& clsid;
        HRESULT expected;
    } cases[] = {{kFailing, E_ABORT}, {kNothing, E_OUTOFMEMORY}, {kThrowing, E_OUTOFMEMORY}};
    for (const auto& row : cases) {
        ComPtr<IClassFactory> factory;
        ASSERT_EQ(DllGetClassObject(row.clsid, IID_IClassFactory, factory.PutVoid()), S_OK);
        void* object = &object;
        EXPECT_EQ(factory->CreateInstance(nullptr, IID_IUnknown, &object), row.expected);
        EXPECT_EQ(object, nullptr);
        factory.Reset();
        EXPECT_EQ(CBaseObject::ObjectsActive(), 0);
    }
}

}  // namespace
}  // namespace nyx::test

#include <gtest/gtest.h>

#include "baseclasses/streams.h"
#include "tests/support/com_ptr.h"
#include "tests/support/test_object.h"

namespace nyx::test {
namespace {

/// An object with one interface, which takes and gives back a reference to itself when it goes.
class Object : public CUnknown, public IPersist {
  public:
    explicit Object(IUnknown* outer) : CUnknown(NAME("Object"), outer) {}
    ~Object() override {
        AddRef();
        Release();
    }
    DECLARE_IUNKNOWN
    HRESULT STDMETHODCALLTYPE NonDelegatingQueryInterface(REFIID riid, void** ppv) override {
        return riid == IID_IPersist ? GetInterface(static_cast<IPersist*>(this), ppv)
                                    : CUnknown::NonDelegatingQueryInterface(riid, ppv);
    }
    HRESULT STDMETHODCALLTYPE GetClassID(CLSID*) override { return E_NOTIMPL; }
};

TEST(UnknownClass, TheLastReleaseDeletesOnceEvenWhenTheDestructorCountsAgain) {
    auto* const object = new Object(nullptr);
    EXPECT_EQ(CBaseObject::ObjectsActive(), 1);
    EXPECT_EQ(object->AddRef(), 1u) << "born without a reference";
    EXPECT_EQ(object->AddRef(), 2u);
    EXPECT_EQ(object->Release(), 1u);
    EXPECT_EQ(object->Release(), 0u);
    EXPECT_EQ(CBaseObject::ObjectsActive(), 0);
}

TEST(UnknownClass, IdentityIsOneAndTheSameThroughEveryInterface) {
    ComPtr<IPersist> persist(new Object(nullptr));
    ComPtr<IUnknown> first = persist.As<IUnknown>();
    ComPtr<IUnknown> second = first.As<IPersist>().As<IUnknown>();
    EXPECT_EQ(first.get(), second.get());
    void* none = &none;
    EXPECT_EQ(persist->QueryInterface(IID_IStream, &none), E_NOINTERFACE);
    EXPECT_EQ(none, nullptr);
    EXPECT_EQ(persist->QueryInterface(IID_IUnknown, nullptr), E_POINTER);
}

TEST(UnknownClass, AnInnerObjectHasItsOwnIdentityAndCountsInterfacesOnTheOuter) {
    const auto outer = MakeCom<TestObject<IUnknown>>();
    auto* const object = new Object(outer.get());
    EXPECT_EQ(object->GetOwner(), outer.get());
    ComPtr<IUnknown> inner;
    ASSERT_EQ(object->NonDelegatingQueryInterface(IID_IUnknown, inner.PutVoid()), S_OK);
    EXPECT_EQ(outer->References(), 1u);
    IPersist* persist = nullptr;
    ASSERT_EQ(inner->QueryInterface(IID_IPersist, reinterpret_cast<void**>(&persist)), S_OK);
    EXPECT_EQ(outer->References(), 2u);
    EXPECT_EQ(persist->Release(), 1u);
    EXPECT_EQ(inner.Reset(), 0u);
    EXPECT_EQ(CBaseObject::ObjectsActive(), 0);
}

}  // namespace
}  // namespace nyx::test

#include "tests/support/com_test.h"
#include "tests/support/loaded_module.h"
#include "tests/support/test_object.h"

namespace nyx::test {
namespace {

constexpr IID kOutersOwn = {0x5D0E8B11, 0x0001, 0x4C10, {1, 2, 3, 4, 5, 6, 7, 8}};

/// A host's object that makes a filter part of itself.
class Outer : public TestObject<IUnknown> {
  protected:
    void* Find(REFIID iid) override { return iid == kOutersOwn ? this : nullptr; }
};

class Aggregation : public FilterTest {
  protected:
    HRESULT CreateInner(ComPtr<IUnknown>* inner) {
        return Module().CreateInstance(row().clsid, outer.get(), IID_IUnknown, inner->PutVoid());
    }
    ComPtr<Outer> outer = MakeCom<Outer>();
};
NYX_FOR_EVERY_FILTER(Aggregation);

TEST_P(Aggregation, OnlyIUnknownMayBeAskedForAtCreation) {
    for (const IID& iid : {IID_IBaseFilter, IID_IPersist, IID_IMediaFilter}) {
        auto* result = reinterpret_cast<IUnknown*>(1);
        EXPECT_EQ(Module().CreateInstance(row().clsid, outer.get(), iid,
                                          reinterpret_cast<void**>(&result)),
                  E_NOINTERFACE);
        EXPECT_EQ(result, nullptr);
    }
    EXPECT_EQ(outer->References(), 1u);
}

TEST_P(Aggregation, TheInnerUnknownCountsByItself) {
    ComPtr<IUnknown> inner;
    ASSERT_EQ(CreateInner(&inner), S_OK);
    EXPECT_NE(inner.get(), static_cast<IUnknown*>(outer.get()));
    EXPECT_EQ(outer->References(), 1u);
    EXPECT_EQ(inner->AddRef(), 2u);
    EXPECT_EQ(inner->Release(), 1u);
    EXPECT_EQ(outer->References(), 1u);
    ComPtr<IUnknown> again;
    EXPECT_EQ(inner->QueryInterface(IID_IUnknown, again.PutVoid()), S_OK);
    EXPECT_EQ(again.get(), inner.get());
    again.Reset();
    EXPECT_EQ(inner.Reset(), 0u);
}

TEST_P(Aggregation, EveryOtherInterfaceDelegatesToTheOuterUnknown) {
    ComPtr<IUnknown> inner;
    ASSERT_EQ(CreateInner(&inner), S_OK);
    auto filter = inner.As<IBaseFilter>();
    ASSERT_TRUE(filter);
    EXPECT_EQ(outer->References(), 2u) << "the interface is counted by the outer object";
    EXPECT_EQ(filter.As<IUnknown>().get(), static_cast<IUnknown*>(outer.get()));
    ComPtr<IUnknown> own;
    EXPECT_EQ(filter->QueryInterface(kOutersOwn, own.PutVoid()), S_OK);
    EXPECT_EQ(filter->QueryInterface(IID_IBaseFilter, own.PutVoid()), E_NOINTERFACE)
        << "the outer object decides";
    EXPECT_EQ(inner->QueryInterface(kOutersOwn, own.PutVoid()), E_NOINTERFACE)
        << "the inner unknown knows the filter's interfaces alone";
    ComPtr<IPin> pin;
    ASSERT_EQ(filter->FindPin(L"In", pin.Put()), S_OK);
    EXPECT_EQ(outer->References(), 3u) << "so is a pin";
    pin.Reset();
    filter.Reset();
    EXPECT_EQ(outer->References(), 1u);
}

}  // namespace
}  // namespace nyx::test

#include "tests/baseclasses/passthrough.h"

namespace nyx::test {
namespace {

class PinEnumerator : public PassthroughTest {
  protected:
    PinEnumerator() { EXPECT_EQ(filter->EnumPins(pins.Put()), S_OK); }
    IPin* Next() {
        ComPtr<IPin> pin;
        return pins->Next(1, pin.Put(), nullptr) == S_OK ? pin.get() : nullptr;
    }
    ComPtr<IEnumPins> pins;
};

TEST_F(PinEnumerator, NextRefreshesWhenThePinsChangedAndRepeatsNoPin) {
    EXPECT_EQ(Next(), input.get());
    filter->IncrementPinVersion();
    EXPECT_EQ(pins->Skip(1), VFW_E_ENUM_OUT_OF_SYNC);
    auto* clone = reinterpret_cast<IEnumPins*>(1);
    EXPECT_EQ(pins->Clone(&clone), VFW_E_ENUM_OUT_OF_SYNC);
    EXPECT_EQ(clone, nullptr);
    EXPECT_EQ(Next(), output.get());
    EXPECT_EQ(Next(), nullptr);
    pins.Reset();
}

class TypeEnumeratorTest : public PassthroughTest {
  protected:
    TypeEnumeratorTest() {
        ConnectInput();
        EXPECT_EQ(output->EnumMediaTypes(types.Put()), S_OK);
    }
    ComPtr<IEnumMediaTypes> types;
};

TEST_F(TypeEnumeratorTest, EverythingButResetIsOutOfSyncAfterAChange) {
    filter->Output()->IncrementTypeVersion();
    AM_MEDIA_TYPE* type = nullptr;
    ULONG fetched = 9;
    EXPECT_EQ(types->Next(1, &type, &fetched), VFW_E_ENUM_OUT_OF_SYNC);
    EXPECT_EQ(fetched, 0u);
    EXPECT_EQ(types->Skip(1), VFW_E_ENUM_OUT_OF_SYNC);
    ComPtr<IEnumMediaTypes> clone;
    EXPECT_EQ(types->Clone(clone.Put()), VFW_E_ENUM_OUT_OF_SYNC);
    EXPECT_EQ(types->Reset(), S_OK);
    EXPECT_EQ(types->Next(1, &type, nullptr), S_OK);
    DeleteMediaType(type);
    types.Reset();
}

TEST_F(TypeEnumeratorTest, SkippingStaysWithinTheListHoweverFarItIsTold) {
    EXPECT_EQ(types->Skip(2), S_OK);
    AM_MEDIA_TYPE* type = nullptr;
    ASSERT_EQ(types->Next(1, &type, nullptr), S_OK);
    EXPECT_EQ(NumberOf(*type), 3u);
    DeleteMediaType(type);
    EXPECT_EQ(types->Skip(0xFFFFFFFFu), S_FALSE);
    EXPECT_EQ(types->Skip(0xFFFFFFFFu), S_FALSE);
    EXPECT_EQ(types->Next(1, &type, nullptr), S_FALSE);
    types.Reset();
}

}  // namespace
}  // namespace nyx::test

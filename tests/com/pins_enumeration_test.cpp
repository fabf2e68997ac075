#include <array>

#include "tests/support/com_test.h"
#include "tests/support/filter_rig.h"

namespace nyx::test {
namespace {

class PinsEnumeration : public FilterTest {
  protected:
    void SetUp() override { ASSERT_EQ(rig.filter->EnumPins(pins.Put()), S_OK); }
    /// Next(count), with the pins it gave released at once; how many it said it gave.
    HRESULT Next(ULONG count, ULONG* given) {
        std::array<IPin*, 4> got{};
        const HRESULT result = pins->Next(count, got.data(), given);
        for (ULONG i = 0; i < got.size(); ++i) {
            EXPECT_EQ(got[i] != nullptr, given && i < *given);
            if (got[i]) {
                got[i]->Release();
            }
        }
        return result;
    }
    IPin* NextPin() {
        ComPtr<IPin> pin;
        pins->Next(1, pin.Put(), nullptr);
        return pin.get();  // the rig keeps it alive
    }

    FilterRig rig{row()};
    ComPtr<IEnumPins> pins;
};
NYX_FOR_EVERY_FILTER(PinsEnumeration);

TEST_P(PinsEnumeration, TheInputComesFirstThenTheOutputThenNothing) {
    EXPECT_EQ(NextPin(), rig.input.get());
    EXPECT_EQ(NextPin(), rig.output.get());
    EXPECT_EQ(NextPin(), nullptr);
}

TEST_P(PinsEnumeration, NullResultsAreRefused) {
    EXPECT_EQ(rig.filter->EnumPins(nullptr), E_POINTER);
    EXPECT_EQ(pins->Next(1, nullptr, nullptr), E_POINTER);
    EXPECT_EQ(pins->Clone(nullptr), E_POINTER);
    EXPECT_EQ(pins->QueryInterface(IID_IEnumPins, nullptr), E_POINTER);
}

TEST_P(PinsEnumeration, ANullCountIsAllowedOnlyWhenOnePinIsAsked) {
    std::array<IPin*, 2> got{};
    EXPECT_EQ(pins->Next(2, got.data(), nullptr), E_INVALIDARG);
    EXPECT_EQ(got[0], nullptr);
    EXPECT_EQ(NextPin(), rig.input.get()) << "the refused call must not have moved on";
}

TEST_P(PinsEnumeration, AskingPastTheEndGivesWhatIsLeft) {
    ULONG given = 9;
    EXPECT_EQ(Next(3, &given), S_FALSE);
    EXPECT_EQ(given, 2u);
    EXPECT_EQ(Next(1, &given), S_FALSE);
    EXPECT_EQ(given, 0u);
    EXPECT_EQ(pins->Reset(), S_OK);
    EXPECT_EQ(Next(2, &given), S_OK);
    EXPECT_EQ(given, 2u);
    EXPECT_EQ(Next(2, &given), S_FALSE);
    EXPECT_EQ(given, 0u);
}

TEST_P(PinsEnumeration, SkippingPastTheEndIsFalse) {
    EXPECT_EQ(pins->Skip(3), S_FALSE);
    EXPECT_EQ(pins->Reset(), S_OK);
    EXPECT_EQ(pins->Skip(2), S_OK);
    EXPECT_EQ(pins->Skip(1), S_FALSE);
    EXPECT_EQ(pins->Reset(), S_OK);
    EXPECT_EQ(pins->Skip(1), S_OK);
    EXPECT_EQ(NextPin(), rig.output.get());
}

TEST_P(PinsEnumeration, ClonesKeepThePosition) {
    ASSERT_EQ(pins->Skip(1), S_OK);
    ComPtr<IEnumPins> clone;
    ASSERT_EQ(pins->Clone(clone.Put()), S_OK);
    ComPtr<IPin> pin;
    EXPECT_EQ(clone->Next(1, pin.Put(), nullptr), S_OK);
    EXPECT_EQ(pin.get(), rig.output.get());
    EXPECT_EQ(clone->Next(1, pin.Put(), nullptr), S_FALSE);
    EXPECT_EQ(NextPin(), rig.output.get()) << "the original must not have moved";
}

TEST_P(PinsEnumeration, PinsAreFoundByIdOnly) {
    ComPtr<IPin> pin;
    EXPECT_EQ(rig.filter->FindPin(L"In", pin.Put()), S_OK);
    EXPECT_EQ(pin.get(), rig.input.get());
    EXPECT_EQ(rig.filter->FindPin(L"Out", pin.Put()), S_OK);
    EXPECT_EQ(pin.get(), rig.output.get());
    for (const wchar_t* other : {L"XForm In", L"XForm Out", L"in", L"Input", L""}) {
        EXPECT_EQ(rig.filter->FindPin(other, pin.Put()), VFW_E_NOT_FOUND);
        EXPECT_EQ(pin.get(), nullptr);
    }
}

TEST_P(PinsEnumeration, PinsSayWhoTheyAre) {
    struct Identity {
        ComPtr<IPin> pin;
        PIN_DIRECTION direction;
        const wchar_t* name;
        const wchar_t* id;
    };
    for (const Identity& expected : {Identity{rig.input, PINDIR_INPUT, L"XForm In", L"In"},
                                     Identity{rig.output, PINDIR_OUTPUT, L"XForm Out", L"Out"}}) {
        PIN_INFO info{};
        ASSERT_EQ(expected.pin->QueryPinInfo(&info), S_OK);
        const auto filter = ComPtr<IBaseFilter>::Adopt(info.pFilter);
        EXPECT_EQ(filter.get(), rig.filter.get());
        EXPECT_EQ(info.dir, expected.direction);
        EXPECT_STREQ(info.achName, expected.name);
        PIN_DIRECTION direction{};
        EXPECT_EQ(expected.pin->QueryDirection(&direction), S_OK);
        EXPECT_EQ(direction, expected.direction);
        LPWSTR id = nullptr;
        ASSERT_EQ(expected.pin->QueryId(&id), S_OK);
        EXPECT_STREQ(id, expected.id);
        CoTaskMemFree(id);
    }
}

}  // namespace
}  // namespace nyx::test

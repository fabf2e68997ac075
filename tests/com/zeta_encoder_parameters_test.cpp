#include <array>

#include "tests/com/zeta_encoder_c_host.h"
#include "tests/com/zeta_encoder_fixture.h"

namespace nyx::test {
namespace {

using ZetaEncoderParameters = ZetaEncoderTest;

EncodeParameterBlock Read(const ComPtr<IEncodeParmeter_QZTA>& encoder, BOOL fromRegistry) {
    EncodeParameterBlock block = {-1, -1, -1, -1};
    EXPECT_EQ(encoder->GetParameter(&block, fromRegistry), S_OK);
    return block;
}

TEST_F(ZetaEncoderParameters, TheEncoderNamesItsPropertyPage) {
    const auto pages = Module().CreateFilter(ZetaEncoderRow().clsid).As<ISpecifyPropertyPages>();
    ASSERT_TRUE(pages);
    CAUUID list{};
    ASSERT_EQ(pages->GetPages(&list), S_OK);
    ASSERT_EQ(list.cElems, 1u);
    const CLSID page = {
        0x55B150FB, 0x86E8, 0x4B96, {0x98, 0x49, 0x73, 0xB7, 0x6D, 0x26, 0x0D, 0x2A}};
    EXPECT_EQ(list.pElems[0], page);
    CoTaskMemFree(list.pElems);
    EXPECT_EQ(pages->GetPages(nullptr), E_POINTER);
}

TEST_F(ZetaEncoderParameters, OnlyTheEncoderHasThem) {
    const auto decoder = Module().CreateFilter(ZetaDecoderRow().clsid);
    ASSERT_TRUE(decoder);
    EXPECT_FALSE(ParametersOf(decoder));
    EXPECT_FALSE(decoder.As<ISpecifyPropertyPages>());
}

TEST_F(ZetaEncoderParameters, ANewEncoderTakesTheStoredOnesUnderThePresetRules) {
    const struct {
        std::array<std::optional<LONG>, 4> stored;
        EncodeParameterBlock expected;
    } cases[] = {
        {{}, {0, 5, 30, 2}},
        {{1, 12, 60, 4}, {1, 12, 60, 4}},
        {{0, 25, 0, 4}, {0, 19, 4, 4}},
        {{0, 3, 101, 4}, {0, 4, 100, 4}},
        {{0, 12, 60, 1}, {0, 4, 40, 1}},
        {{-7, 12, 60, 0}, {-7, 3, 50, 0}},
        {{0, 12, 60, 3}, {0, 19, 4, 3}},
        {{0, 12, 60, 7}, {0, 5, 30, 2}},
        {{0, 12, 60, -1}, {0, 5, 30, 2}},
    };
    const wchar_t* const names[] = {L"color_space", L"quant_scale", L"max_stream_size", L"preset"};
    for (const auto& c : cases) {
        for (std::size_t i = 0; i < 4; ++i) {
            if (c.stored[i]) {
                user_.Store(kKey, names[i], *c.stored[i]);
            }
        }
        const auto encoder = NewEncoder();
        ASSERT_TRUE(encoder);
        EXPECT_EQ(Read(encoder, FALSE), c.expected);
        EXPECT_EQ(Read(encoder, TRUE), c.expected);
    }
}

TEST_F(ZetaEncoderParameters, LiveOnesAreTakenUncheckedAndStoredOnesAreLeft) {
    const auto encoder = NewEncoder();
    const EncodeParameterBlock odd = {2, 1000, -30, 77};
    ASSERT_EQ(encoder->SetParameter(&odd, FALSE), S_OK);
    EXPECT_EQ(Read(encoder, FALSE), odd);
    EXPECT_EQ(Read(encoder, TRUE), (EncodeParameterBlock{0, 5, 30, 2}));
    EXPECT_EQ(Read(encoder, FALSE), odd) << "reading the stored ones changes nothing";
    EXPECT_FALSE(user_.Stored(kKey, L"preset"));
    EXPECT_EQ(Read(NewEncoder(), FALSE), (EncodeParameterBlock{0, 5, 30, 2}));
}

TEST_F(ZetaEncoderParameters, SavingWritesThreeValuesAndLeavesTheColourSpace) {
    user_.Store(kKey, L"color_space", 5);
    const auto encoder = NewEncoder();
    const EncodeParameterBlock block = {1, 11, 70, 4};
    ASSERT_EQ(encoder->SetParameter(&block, TRUE), S_OK);
    EXPECT_EQ(user_.Stored(kKey, L"color_space"), 5);
    EXPECT_EQ(user_.Stored(kKey, L"quant_scale"), 11);
    EXPECT_EQ(user_.Stored(kKey, L"max_stream_size"), 70);
    EXPECT_EQ(user_.Stored(kKey, L"preset"), 4);
    EXPECT_EQ(Read(encoder, FALSE), block);
    EXPECT_EQ(Read(encoder, TRUE), (EncodeParameterBlock{5, 11, 70, 4}));
}

TEST_F(ZetaEncoderParameters, NoBlockIsAnInvalidArgument) {
    const auto encoder = NewEncoder();
    for (const BOOL flag : {FALSE, TRUE}) {
        EXPECT_EQ(encoder->GetParameter(nullptr, flag), E_INVALIDARG);
        EXPECT_EQ(encoder->SetParameter(nullptr, flag), E_INVALIDARG);
    }
    EXPECT_FALSE(user_.Stored(kKey, L"preset"));
}

TEST_F(ZetaEncoderParameters, AHostInCUsesTheSameHeader) {
    const auto encoder = NewEncoder();
    LONG before = 0;
    ASSERT_EQ(SetQuantScaleFromC(encoder.get(), 13, &before), S_OK);
    EXPECT_EQ(before, 5);
    EXPECT_EQ(Read(encoder, FALSE), (EncodeParameterBlock{0, 13, 30, 4}));
    const auto decoder = Module().CreateFilter(ZetaDecoderRow().clsid);
    EXPECT_EQ(SetQuantScaleFromC(decoder.get(), 13, &before), E_NOINTERFACE);
}

}  // namespace
}  // namespace nyx::test

#include <gtest/gtest.h>

#include <cstring>

#include "baseclasses/streams.h"
#include "tests/support/test_object.h"

namespace nyx::test {
namespace {

BYTE bytes[] = {1, 2, 3, 4};

/// A type with a block, by value.
AM_MEDIA_TYPE Video() {
    AM_MEDIA_TYPE type{};
    type.majortype = MEDIATYPE_Video;
    type.subtype = MEDIASUBTYPE_YUY2;
    type.formattype = FORMAT_VideoInfo;
    type.cbFormat = sizeof(bytes);
    type.pbFormat = bytes;
    return type;
}

/// Stands for a block of a size that no allocation can have.
AM_MEDIA_TYPE Huge(BYTE* block) {
    AM_MEDIA_TYPE type{};
    type.majortype = MEDIATYPE_Video;
    type.cbFormat = 0xFFFFFFF0u;
    type.pbFormat = block;
    return type;
}

TEST(MediaTypeClass, ACopyIsDeepAndHoldsTheUnknown) {
    auto* const held = new TestObject<IUnknown>;
    {
        AM_MEDIA_TYPE original = Video();
        original.pUnk = held;
        HRESULT hr = S_OK;
        CMediaType copy(original, &hr);
        EXPECT_EQ(hr, S_OK);
        EXPECT_NE(copy.pbFormat, bytes);
        EXPECT_EQ(std::memcmp(copy.pbFormat, bytes, sizeof(bytes)), 0);
        EXPECT_EQ(held->References(), 2u);
        EXPECT_EQ(copy.Set(original), S_OK);
        EXPECT_EQ(held->References(), 2u);
    }
    EXPECT_EQ(held->Release(), 0u);
}

TEST(MediaTypeClass, WithoutMemoryWhatWasThereStays) {
    BYTE byte = 0;
    const AM_MEDIA_TYPE huge = Huge(&byte);
    CMediaType type;
    ASSERT_EQ(type.Set(Video()), S_OK);
    EXPECT_EQ(type.Set(huge), E_OUTOFMEMORY);
    EXPECT_EQ(type.AllocFormatBuffer(huge.cbFormat), nullptr);
    EXPECT_EQ(type.subtype, MEDIASUBTYPE_YUY2);
    ASSERT_EQ(type.cbFormat, sizeof(bytes));
    EXPECT_EQ(type.pbFormat[3], 4);
    HRESULT hr = S_OK;
    const CMediaType made(huge, &hr);
    EXPECT_EQ(hr, E_OUTOFMEMORY);
    EXPECT_EQ(made.cbFormat, 0u);
    EXPECT_EQ(CreateMediaType(&huge), nullptr);
    ASSERT_NE(type.AllocFormatBuffer(2), nullptr);
    EXPECT_EQ(type.cbFormat, 2u);
    EXPECT_EQ(type.pbFormat[0], 0);
}

TEST(MediaTypeClass, ACountWithoutABlockIsCopiedAsNoBlock) {
    CMediaType copy;
    EXPECT_EQ(copy.Set(Huge(nullptr)), S_OK);
    EXPECT_EQ(copy.cbFormat, 0u);
    EXPECT_EQ(copy.pbFormat, nullptr);
}

TEST(MediaTypeClass, NullGuidsOfAPartialTypeAreWildcardsButAGivenFormatMatchesToTheByte) {
    struct {
        const char* what;
        bool matches;
        void (*change)(AM_MEDIA_TYPE&);
    } const changes[] = {
        {"nothing", true, [](AM_MEDIA_TYPE&) {}},
        {"any major", true, [](AM_MEDIA_TYPE& t) { t.majortype = GUID_NULL; }},
        {"other major", false, [](AM_MEDIA_TYPE& t) { t.majortype = MEDIATYPE_Audio; }},
        {"any sub", true, [](AM_MEDIA_TYPE& t) { t.subtype = GUID_NULL; }},
        {"other sub", false, [](AM_MEDIA_TYPE& t) { t.subtype = MEDIASUBTYPE_RGB24; }},
        {"other format", false, [](AM_MEDIA_TYPE& t) { t.formattype = FORMAT_VideoInfo2; }},
        {"shorter", false, [](AM_MEDIA_TYPE& t) { t.cbFormat = 3; }},
        {"other byte", false, [](AM_MEDIA_TYPE& t) { t.pbFormat[3] = 9; }},
        {"any format", true, [](AM_MEDIA_TYPE& t) { t.formattype = GUID_NULL, t.cbFormat = 1; }},
    };
    CMediaType type;
    ASSERT_EQ(type.Set(Video()), S_OK);
    for (const auto& change : changes) {
        CMediaType partial;
        ASSERT_EQ(partial.Set(Video()), S_OK);
        change.change(partial);
        EXPECT_EQ(type.MatchesPartial(&partial) != FALSE, change.matches) << change.what;
    }
}

TEST(MediaTypeClass, OnlyMajorAndFormatTypeMakeATypeFull) {
    CMediaType type;
    ASSERT_EQ(type.Set(Video()), S_OK);
    type.subtype = GUID_NULL;
    EXPECT_FALSE(type.IsPartiallySpecified());
    type.formattype = GUID_NULL;
    EXPECT_TRUE(type.IsPartiallySpecified());
}

}  // namespace
}  // namespace nyx::test

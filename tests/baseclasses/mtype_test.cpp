#include <gtest/gtest.h>

#include <cstring>

#include "baseclasses/streams.h"
#include "tests/support/test_object.h"

namespace nyx::test {
namespace {

const BYTE kBlock[] = {1, 2, 3, 4};

CMediaType Video() {
    CMediaType type(&MEDIATYPE_Video);
    type.SetSubtype(&MEDIASUBTYPE_YUY2);
    type.SetFormatType(&FORMAT_VideoInfo);
    type.SetFormat(kBlock, sizeof(kBlock));
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
        CMediaType original = Video();
        original.pUnk = held;
        held->AddRef();
        CMediaType copy(original);
        EXPECT_NE(copy.Format(), original.Format());
        EXPECT_EQ(std::memcmp(copy.Format(), kBlock, sizeof(kBlock)), 0);
        EXPECT_EQ(held->References(), 3u);
        copy = original;
        EXPECT_EQ(held->References(), 3u);
    }
    EXPECT_EQ(held->Release(), 0u);
}

TEST(MediaTypeClass, AssignmentToItselfKeepsTheBlock) {
    CMediaType type = Video();
    const CMediaType& same = type;
    type = same;
    EXPECT_EQ(type, Video());
}

TEST(MediaTypeClass, ACopyWithoutMemoryFailsAndKeepsWhatWasThere) {
    BYTE byte = 0;
    const AM_MEDIA_TYPE huge = Huge(&byte);
    CMediaType type = Video();
    EXPECT_EQ(type.Set(huge), E_OUTOFMEMORY);
    EXPECT_EQ(type, Video());
    HRESULT hr = S_OK;
    const CMediaType made(huge, &hr);
    EXPECT_EQ(hr, E_OUTOFMEMORY);
    EXPECT_EQ(made.FormatLength(), 0u);
    EXPECT_EQ(CreateMediaType(&huge), nullptr);
    EXPECT_EQ(type.AllocFormatBuffer(huge.cbFormat), nullptr);
    EXPECT_EQ(type, Video());
}

TEST(MediaTypeClass, ACountWithoutABlockIsCopiedAsNoBlock) {
    const CMediaType copy(Huge(nullptr));
    EXPECT_EQ(copy.FormatLength(), 0u);
    EXPECT_EQ(copy.Format(), nullptr);
}

TEST(MediaTypeClass, EqualityIsThreeGuidsAndTheFormatBytes) {
    const CMediaType type = Video();
    CMediaType other = Video();
    other.SetSampleSize(77);
    other.SetTemporalCompression(TRUE);
    EXPECT_EQ(type, other) << "flags and sample size do not count";
    struct {
        const char* what;
        void (*change)(CMediaType&);
    } const changes[] = {
        {"major", [](CMediaType& t) { t.SetType(&MEDIATYPE_Audio); }},
        {"sub", [](CMediaType& t) { t.SetSubtype(&MEDIASUBTYPE_RGB24); }},
        {"format", [](CMediaType& t) { t.SetFormatType(&FORMAT_VideoInfo2); }},
        {"a byte", [](CMediaType& t) { t.Format()[3] = 9; }},
        {"length", [](CMediaType& t) { t.ReallocFormatBuffer(5); }},
        {"no block", [](CMediaType& t) { t.ResetFormatBuffer(); }},
    };
    for (const auto& change : changes) {
        CMediaType changed = Video();
        change.change(changed);
        EXPECT_NE(type, changed) << change.what;
        EXPECT_NE(changed, type) << change.what;
    }
}

TEST(MediaTypeClass, NullGuidsOfAPartialTypeAreWildcardsButAGivenFormatMatchesToTheByte) {
    const CMediaType type = Video();
    CMediaType partial;
    EXPECT_TRUE(type.MatchesPartial(&partial));
    partial.SetFormat(kBlock, 1);
    EXPECT_TRUE(type.MatchesPartial(&partial)) << "a block without format type says nothing";
    partial.SetSubtype(&MEDIASUBTYPE_YUY2);
    EXPECT_TRUE(type.MatchesPartial(&partial));
    partial.SetFormatType(&FORMAT_VideoInfo);
    EXPECT_FALSE(type.MatchesPartial(&partial));
    partial.SetFormat(kBlock, sizeof(kBlock));
    EXPECT_TRUE(type.MatchesPartial(&partial));
    partial.SetType(&MEDIATYPE_Audio);
    EXPECT_FALSE(type.MatchesPartial(&partial));
}

TEST(MediaTypeClass, OnlyMajorAndFormatTypeMakeATypeFull) {
    CMediaType type = Video();
    type.SetSubtype(&GUID_NULL);
    EXPECT_FALSE(type.IsPartiallySpecified());
    type.SetFormatType(&GUID_NULL);
    EXPECT_TRUE(type.IsPartiallySpecified());
}

TEST(MediaTypeClass, AFormatBlockCanBeMadeOfItsOwnBytesAndGrowsZeroed) {
    CMediaType type = Video();
    EXPECT_TRUE(type.SetFormat(type.Format() + 1, 2));
    EXPECT_EQ(type.FormatLength(), 2u);
    EXPECT_EQ(type.Format()[0], 2);
    ASSERT_NE(type.ReallocFormatBuffer(4), nullptr);
    EXPECT_EQ(type.Format()[1], 3);
    EXPECT_EQ(type.Format()[2], 0);
    ASSERT_NE(type.AllocFormatBuffer(4), nullptr);
    EXPECT_EQ(type.Format()[0], 0);
}

}  // namespace
}  // namespace nyx::test

#include <numeric>

#include "tests/com/streams.h"
#include "tests/support/com_test.h"
#include "tests/support/filter_rig.h"
#include "tests/support/frames.h"

namespace nyx::test {
namespace {

// dvdmedia.h of the platform: AM_VIDEO_FLAG_FIELD1FIRST and AM_VIDEO_FLAG_WEAVE.
constexpr DWORD kField1First = 4;
constexpr DWORD kWeave = 2;

/// What the container in front of a frame tells. Field codes: 0 top first, 1 bottom first, 2
/// progressive.
struct FrameInfo {
    LONG pixelX;
    LONG pixelY;
    DWORD fieldCode;
};

Bytes WithInfoChunk(const Bytes& frame, const FrameInfo& info) {
    return InfoChunk(0, 0, info.pixelX, info.pixelY, Chunk("FIEL", {info.fieldCode})) + frame;
}

/// What an output type of the long form says about fields and picture aspect.
struct Shown {
    DWORD interlaceFlags;
    DWORD aspectX;
    DWORD aspectY;
    bool operator==(const Shown& o) const {
        return interlaceFlags == o.interlaceFlags && aspectX == o.aspectX && aspectY == o.aspectY;
    }
};
void PrintTo(const Shown& s, std::ostream* out) {
    *out << std::hex << s.interlaceFlags << std::dec << " " << s.aspectX << ":" << s.aspectY;
}

class FrameParameters : public FilterTest {
  protected:
    void SetUp() override {
        if (!row().carriesInfoChunk) {
            GTEST_SKIP() << "frames of this format carry no chunks";
        }
    }
    /// Connects with the filter's own first type of the given form and pauses.
    void Start(Block block = Block::kVideoInfo2) {
        ASSERT_EQ(rig.ConnectInput(), S_OK);
        const std::size_t count = row().outputs.size();
        ASSERT_EQ(
            rig.ConnectOutput(OfferedTypes(rig.output).at(block == Block::kVideoInfo2 ? 0 : count)),
            S_OK);
        ASSERT_EQ(rig.filter->Pause(), S_OK);
    }
    void OfferDynamicConnection(HRESULT answer) {
        rig.sink->in.offersPinConnection = true;
        rig.sink->in.dynamicAcceptResult = answer;
    }
    /// Pushes a frame with these chunks; what arrived.
    SampleProperties Push(const FrameInfo& info, DWORD upstreamFlags = 0) {
        SampleProperties sample = rig.Frame();
        sample.bytes = WithInfoChunk(sample.bytes, info);
        sample.typeSpecificFlags = upstreamFlags;
        rig.sink->in.Forget();
        EXPECT_EQ(rig.source->Push(sample), S_OK);
        const auto arrived = rig.sink->in.samples();
        EXPECT_EQ(arrived.size(), 1u);
        return arrived.empty() ? SampleProperties{} : arrived[0];
    }
    static Shown ShownBy(MediaType type) {
        const VIDEOINFOHEADER2& info = type.Info2();
        return {info.dwInterlaceFlags, info.dwPictAspectRatioX, info.dwPictAspectRatioY};
    }
    Shown ShownByThePin() const { return ShownBy(FilterRig::ConnectionType(rig.output)); }

    /// What a pixel aspect shows as for the stream's picture.
    Shown Expected(DWORD interlaceFlags, LONG pixelX, LONG pixelY) const {
        const LONG x = row().picture.width * pixelX;
        const LONG y = row().picture.height * pixelY;
        const LONG divisor = std::gcd(x, y);
        return {interlaceFlags, static_cast<DWORD>(x / divisor), static_cast<DWORD>(y / divisor)};
    }
    /// A chunk that tells what the type tells already.
    FrameInfo LikeTheType() const { return {row().pixelAspect.cx, row().pixelAspect.cy, 2}; }

    FilterRig rig{row()};
};
NYX_FOR_EVERY_DECODER(FrameParameters);

TEST_P(FrameParameters, Field1FirstIsSetForTopFieldFirstAndClearedOtherwise) {
    Start();
    EXPECT_EQ(Push({1, 1, 0}).typeSpecificFlags & kField1First, kField1First);
    for (const DWORD code : {1u, 2u, 3u}) {
        EXPECT_EQ(Push({1, 1, code}, kField1First).typeSpecificFlags & kField1First, 0u) << code;
    }
}

TEST_P(FrameParameters, OtherTypeSpecificFlagsComeFromUpstream) {
    Start();
    EXPECT_EQ(Push({1, 1, 0}, kWeave).typeSpecificFlags, kField1First | kWeave);
}

TEST_P(FrameParameters, AnOutputSampleWithoutIMediaSample2IsLeftWithoutFlags) {
    rig.sink->in.ownAllocator = MakeCom<TestAllocator>();
    rig.sink->in.ownAllocator->sampleBehaviour.offersSample2 = false;
    Start();
    EXPECT_EQ(Push({1, 1, 0}).typeSpecificFlags, 0u);
}

TEST_P(FrameParameters, AFrameLikeTheTypeChangesNothing) {
    OfferDynamicConnection(S_OK);
    Start();
    EXPECT_FALSE(Push(LikeTheType()).type);
    EXPECT_EQ(rig.sink->in.dynamicQueries(), 0);
}

TEST_P(FrameParameters, ANewAspectOrFieldOrderUpdatesTheTypeAndTravelsWithTheFrame) {
    OfferDynamicConnection(S_OK);
    Start();
    MediaType before = FilterRig::ConnectionType(rig.output);
    const SampleProperties arrived = Push({4, 3, 0});
    const Shown expected = Expected(kTopFirst, 4, 3);
    ASSERT_TRUE(arrived.type);
    EXPECT_EQ(ShownBy(*arrived.type), expected);
    EXPECT_EQ(ShownByThePin(), expected);
    MediaType rest = *arrived.type;
    rest.Info2().dwInterlaceFlags = before.Info2().dwInterlaceFlags;
    rest.Info2().dwPictAspectRatioX = before.Info2().dwPictAspectRatioX;
    rest.Info2().dwPictAspectRatioY = before.Info2().dwPictAspectRatioY;
    EXPECT_EQ(rest, before) << "only the three values change";
    EXPECT_EQ(rig.sink->in.dynamicQueries(), 1);

    EXPECT_FALSE(Push({4, 3, 0}).type) << "an unchanged frame is not announced again";
    EXPECT_EQ(rig.sink->in.dynamicQueries(), 1);

    EXPECT_EQ(ShownBy(Push({4, 3, 1}).type.value()), Expected(kBottomFirst, 4, 3));
    EXPECT_EQ(ShownBy(Push({1, 1, 2}).type.value()), Expected(0, 1, 1));
    EXPECT_EQ(ShownBy(Push({0, 0, 2}).type.value()), (Shown{0, 0, 0})) << "as it is";
}

TEST_P(FrameParameters, APeerThatTakesNoNewTypeDynamicallyStillLeavesTheTypeUpdated) {
    Start();
    EXPECT_FALSE(Push({4, 3, 0}).type) << "it has no dynamic connections";
    EXPECT_EQ(ShownByThePin(), Expected(kTopFirst, 4, 3));
    LONG aspect = 5;
    int queries = 0;
    for (const HRESULT refusal : {HRESULT{VFW_E_TYPE_NOT_ACCEPTED}, HRESULT{S_FALSE}}) {
        OfferDynamicConnection(refusal);
        EXPECT_FALSE(Push({aspect, 3, 0}).type);
        EXPECT_FALSE(Push({aspect, 3, 0}).type);
        EXPECT_EQ(rig.sink->in.dynamicQueries(), ++queries) << "it is asked once";
        EXPECT_EQ(ShownByThePin(), Expected(kTopFirst, aspect++, 3));
    }
}

TEST_P(FrameParameters, TheShortFormIsNeverUpdated) {
    OfferDynamicConnection(S_OK);
    Start(Block::kVideoInfo);
    const MediaType before = FilterRig::ConnectionType(rig.output);
    EXPECT_FALSE(Push({4, 3, 0}).type);
    EXPECT_EQ(FilterRig::ConnectionType(rig.output), before);
    EXPECT_EQ(rig.sink->in.dynamicQueries(), 0);
}

TEST_P(FrameParameters, DownstreamMayAskThePinForItsTypeWhileItIsAskedItself) {
    OfferDynamicConnection(S_OK);
    rig.sink->in.onDynamicQueryAccept = [&](const MediaType& type) {
        EXPECT_EQ(FilterRig::ConnectionType(rig.output), type);
    };
    Start();
    Push({4, 3, 0});
    EXPECT_EQ(rig.sink->in.dynamicQueries(), 1);
}

TEST_P(FrameParameters, AContainerThatClaimsMoreThanTheSampleHoldsIsSurvived) {
    Start();
    SampleProperties sample = rig.Frame();
    const auto whole = WithInfoChunk(sample.bytes, {4, 3, 0});
    for (const DWORD claim :
         {DWORD{0x7FFFFFFF}, DWORD{0xFFFFFFFF}, DWORD{0xFFFFFFF8},
          static_cast<DWORD>(whole.size() - 8), static_cast<DWORD>(whole.size())}) {
        sample.bytes = whole;
        for (unsigned i = 0; i < 4; ++i) {
            sample.bytes[4 + i] = static_cast<BYTE>(claim >> (8 * i));
        }
        EXPECT_EQ(rig.source->Push(sample), E_FAIL) << claim;
    }
    // Cut anywhere inside the container, or where the frame has just begun.
    const std::size_t container = whole.size() - rig.Frame().bytes.size();
    const std::size_t needed = row().shortestFrame > 0 ? row().shortestFrame : 4;
    for (std::size_t length = 0; length < container + needed; ++length) {
        sample.bytes.assign(whole.begin(), whole.begin() + static_cast<std::ptrdiff_t>(length));
        EXPECT_EQ(rig.source->Push(sample), E_FAIL) << length;
    }
}

}  // namespace
}  // namespace nyx::test

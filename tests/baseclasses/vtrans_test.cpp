#include <algorithm>

#include "tests/baseclasses/passthrough.h"

namespace nyx::test {
namespace {

using Calls = std::vector<std::string>;
constexpr LONGLONG kFrame = 400000;  // 25 frames per second, 100-ns units

class VideoTransform : public PassthroughTest {
  protected:
    /// Pushes frame `n`, timed, a key frame or not.
    HRESULT PushTimed(int n, bool key = true) {
        SampleProperties frame = Frame();
        frame.start = n * kFrame;
        frame.stop = *frame.start + kFrame;
        frame.syncPoint = key;
        return Push(frame);
    }
    void Notify(REFERENCE_TIME late) {
        EXPECT_EQ(output.As<IQualityControl>()->Notify(sink.get(), Quality{Flood, 1000, late, 0}),
                  E_FAIL);
    }
    /// Connects with an allocator of the sink's and pauses.
    TestAllocator& StartWithOwnAllocator() {
        sink->in.ownAllocator = MakeCom<TestAllocator>();
        Start();
        return *sink->in.ownAllocator;
    }
};

TEST_F(VideoTransform, ANewInputTypeRestartsTheStreamWithoutSetMediaType) {
    Start();
    filter->log.clear();
    SampleProperties frame = Frame();
    frame.type = Numbered(5);
    EXPECT_EQ(Push(frame), S_OK);
    EXPECT_EQ(filter->log, (Calls{"Stop", "Start", "Transform"}));
    EXPECT_EQ(NumberOf(filter->Input()->CurrentMediaType()), 5u);
    EXPECT_EQ(NumberOf(filter->Output()->CurrentMediaType()), 1u);
    EXPECT_EQ(filter->m_nWaitForKey, 0);
    EXPECT_FALSE(sink->in.samples().at(0).type) << "the input's type is not the output's";
}

TEST_F(VideoTransform, ANewOutputTypeRestartsTheStreamAndWaitsForAKeyFrame) {
    TestAllocator& allocator = StartWithOwnAllocator();
    filter->log.clear();
    allocator.AttachToNextBuffer(Numbered(6));
    SampleProperties frame = Frame();
    frame.syncPoint = false;
    EXPECT_EQ(Push(frame), S_OK);
    EXPECT_EQ(filter->log, (Calls{"Stop", "Start", "Transform"}));
    EXPECT_EQ(NumberOf(filter->Output()->CurrentMediaType()), 6u);
    EXPECT_EQ(Delivered(), 0u);
    allocator.AttachToNextBuffer(Numbered(7));
    EXPECT_EQ(Push(), S_OK) << "a key frame itself goes at once";
    EXPECT_EQ(Delivered(), 1u);
    EXPECT_EQ(NumberOf(*sink->in.samples().at(0).type->get()), 7u);
}

TEST_F(VideoTransform, ATypeWithWhichTheStreamCannotGoOnAbortsPlayback) {
    TestAllocator& allocator = StartWithOwnAllocator();
    filter->startResult = E_ABORT;
    SampleProperties frame = Frame();
    frame.type = Numbered(5);
    EXPECT_EQ(Push(frame), E_ABORT);
    ASSERT_EQ(graph->Count(EC_ERRORABORT), 1);
    EXPECT_EQ(graph->events().back().parameter1, E_ABORT);
    EXPECT_EQ(sink->in.events().endOfStream, 1);
    EXPECT_FALSE(allocator.last()) << "no buffer was taken";

    allocator.AttachToNextBuffer(Numbered(6));
    EXPECT_EQ(Push(), E_ABORT);
    EXPECT_EQ(graph->Count(EC_ERRORABORT), 2);
    EXPECT_EQ(sink->in.events().endOfStream, 2);
    EXPECT_EQ(allocator.last()->References(), 1u) << "the buffer was given back";
}

TEST_F(VideoTransform, AFailureWhileWaitingForAKeyFrameIsReturnedAsItIs) {
    Start();
    filter->transformResult = E_ABORT;
    SampleProperties frame = Frame();
    frame.syncPoint = false;
    frame.discontinuity = true;
    EXPECT_EQ(Push(frame), E_ABORT);
    EXPECT_TRUE(graph->events().empty());
}

TEST_F(VideoTransform, WhatTransformWithholdsIsNotDeliveredAndTheGraphIsToldOnce) {
    Start();
    filter->transformResult = S_FALSE;
    EXPECT_EQ(Push(), S_OK);
    EXPECT_EQ(Push(), S_OK);
    EXPECT_EQ(Delivered(), 0u);
    EXPECT_EQ(graph->Count(EC_QUALITY_CHANGE), 1);
    filter->Pause();
    EXPECT_EQ(Push(), S_OK);
    EXPECT_EQ(graph->Count(EC_QUALITY_CHANGE), 1) << "pausing does not make it news again";
    filter->Stop();
    filter->Pause();
    EXPECT_EQ(Push(), S_OK);
    EXPECT_EQ(graph->Count(EC_QUALITY_CHANGE), 2) << "starting does";
}

TEST_F(VideoTransform, AnAllKeyStreamMayDropAFrameOnceItsPeriodIsKnown) {
    Start();
    Notify(10 * kFrame);
    EXPECT_EQ(PushTimed(0), S_OK);
    EXPECT_EQ(Delivered(), 1u) << "the period of key frames is not known yet";
    EXPECT_EQ(PushTimed(1), S_OK);
    EXPECT_EQ(Delivered(), 1u);
    EXPECT_EQ(filter->m_itrLate, 9 * kFrame);
    EXPECT_EQ(graph->Count(EC_QUALITY_CHANGE), 1);
}

TEST_F(VideoTransform, ALongGroupOfPicturesIsSkippedToTheNextKeyFrame) {
    Start();
    const auto push = [&](int from, int to) {
        for (int i = from; i < to; ++i) {
            EXPECT_EQ(PushTimed(i, i % 5 == 0), S_OK);
        }
    };
    push(0, 6);
    EXPECT_EQ(filter->m_nKeyFramePeriod, 5);
    ASSERT_EQ(Delivered(), 6u);
    Notify(2 * kFrame);
    push(6, 7);
    EXPECT_EQ(Delivered(), 7u) << "less late than the next key frame is away";
    Notify(5 * kFrame / 2);
    push(7, 10);
    EXPECT_EQ(Delivered(), 7u) << "all up to the key frame are left out";
    push(10, 12);
    EXPECT_EQ(Delivered(), 9u);
}

TEST_F(VideoTransform, AFilterThatDecodesInNoTimeLeavesLatenessToOthers) {
    Start();
    PushTimed(0);
    filter->m_itrAvgDecode = kFrame / 4;
    Notify(100 * kFrame);
    EXPECT_EQ(PushTimed(1), S_OK);
    EXPECT_EQ(Delivered(), 2u);
}

TEST_F(VideoTransform, LatenessBeyondThirtySecondsIsCutOnTheMessageAfter) {
    Start();
    Notify(400000000);
    EXPECT_EQ(filter->m_itrLate, 400000000);
    Notify(5);
    EXPECT_EQ(filter->m_itrLate, 300000000);
    Notify(5);
    EXPECT_EQ(filter->m_itrLate, 5);
}

TEST_F(VideoTransform, EndFlushForgetsTheStatisticsWithoutTheDerivedStart) {
    Start();
    PushTimed(0);
    PushTimed(1);
    Notify(7 * kFrame);
    filter->log.clear();
    EXPECT_EQ(input->BeginFlush(), S_OK);
    EXPECT_EQ(input->EndFlush(), S_OK);
    EXPECT_TRUE(filter->log.empty());
    EXPECT_EQ(filter->m_itrLate, 0);
    EXPECT_EQ(filter->m_nKeyFramePeriod, 0);
    EXPECT_EQ(filter->m_itrAvgDecode, 300000);
}

/// Remembers with which flags its buffers were asked for.
class FlagsAllocator : public TestAllocator {
  public:
    std::vector<DWORD> flags;
    HRESULT STDMETHODCALLTYPE GetBuffer(IMediaSample** buffer, REFERENCE_TIME* start,
                                        REFERENCE_TIME* stop, DWORD asked) override {
        flags.push_back(asked);
        return TestAllocator::GetBuffer(buffer, start, stop, asked);
    }
};

TEST_F(VideoTransform, TheAllocatorIsToldOfSkippedFramesAndOfFramesThatAreNoKey) {
    const auto allocator = MakeCom<FlagsAllocator>();
    sink->in.ownAllocator = allocator.get();
    Start();
    PushTimed(0);
    PushTimed(1, false);
    filter->transformResult = S_FALSE;
    PushTimed(2);
    filter->transformResult = S_OK;
    PushTimed(3);
    PushTimed(4);
    EXPECT_EQ(allocator->flags,
              (std::vector<DWORD>{0, AM_GBF_NOTASYNCPOINT, 0, AM_GBF_PREVFRAMESKIPPED, 0}));
}

}  // namespace
}  // namespace nyx::test

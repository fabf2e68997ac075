#include <algorithm>

#include "tests/support/com_test.h"
#include "tests/support/filter_rig.h"

namespace nyx::test {
namespace {

/// The platform's samples and foreign ones must be treated alike.
enum class Buffers { kPlatform, kForeign, kForeignWithoutSample2 };

constexpr Buffers kAllBuffers[] = {Buffers::kPlatform, Buffers::kForeign,
                                   Buffers::kForeignWithoutSample2};

class Samples : public FilterTest {
  protected:
    /// Connects, again if need be, and pauses.
    void Start(Buffers buffers = Buffers::kPlatform) {
        rig.filter->Stop();
        rig.Disconnect();
        rig.sink->in.Forget();
        rig.sink->in.ownAllocator.Reset();
        if (buffers != Buffers::kPlatform) {
            rig.sink->in.ownAllocator = MakeCom<TestAllocator>();
            rig.sink->in.ownAllocator->sampleBehaviour.offersSample2 = buffers == Buffers::kForeign;
        }
        rig.Start();
    }
    const ComPtr<TestAllocator>& allocator() { return rig.sink->in.ownAllocator; }

    /// The one sample that arrives when `sample` is pushed.
    SampleProperties Through(const SampleProperties& sample, SampleBehaviour behaviour = {}) {
        rig.sink->in.Forget();
        EXPECT_EQ(rig.source->Push(sample, behaviour), S_OK);
        const auto arrived = rig.sink->in.samples();
        EXPECT_EQ(arrived.size(), 1u);
        return arrived.empty() ? SampleProperties{} : arrived[0];
    }
    /// Whether a buffer is as a refused frame must leave it: untouched, or black "YUY2".
    bool IsLeftBehind(const GuardedMemory& buffer) const {
        const bool black = row().paintsBadFramesBlack;
        const BYTE expected[] = {black ? BYTE{0x10} : TestAllocator::kUnwritten,
                                 black ? BYTE{0x80} : TestAllocator::kUnwritten};
        std::size_t at = 0;
        return std::all_of(buffer.data(), buffer.data() + buffer.size(),
                           [&](BYTE byte) { return byte == expected[at++ % 2]; });
    }
    FilterRig rig{row()};
};
NYX_FOR_EVERY_FILTER(Samples);

TEST_P(Samples, ThePictureArrivesWhole) {
    for (const Buffers buffers : kAllBuffers) {
        Start(buffers);
        const auto bytes = static_cast<LONG>(Through(rig.Frame()).bytes.size());
        EXPECT_GT(bytes, 0);
        EXPECT_TRUE(row().role == Role::kEncoder || bytes == row().BufferBytes(0)) << bytes;
    }
}

TEST_P(Samples, StartAndStopTimesAreCarriedAsSetAndMediaTimesOnlyWithoutIMediaSample2) {
    for (const Buffers buffers : kAllBuffers) {
        Start(buffers);
        SampleProperties sample = rig.Frame();
        SampleProperties arrived = Through(sample);
        EXPECT_FALSE(arrived.start);
        EXPECT_FALSE(arrived.stop);

        sample.start = 20000;
        arrived = Through(sample);
        EXPECT_EQ(arrived.start, 20000);
        EXPECT_FALSE(arrived.stop);

        sample.stop = 30000;
        sample.mediaTimes = Interval{7, 8};
        arrived = Through(sample);
        EXPECT_EQ(arrived.start, 20000);
        EXPECT_EQ(arrived.stop, 30000);
        if (buffers == Buffers::kForeignWithoutSample2) {
            EXPECT_EQ(arrived.mediaTimes, (Interval{7, 8}));
        } else {
            EXPECT_FALSE(arrived.mediaTimes);
        }
    }
}

TEST_P(Samples, SyncPointDiscontinuityAndPrerollAreCarried) {
    for (const Buffers buffers : kAllBuffers) {
        Start(buffers);
        SampleProperties sample = rig.Frame();
        SampleProperties arrived = Through(sample);
        EXPECT_TRUE(arrived.syncPoint);
        EXPECT_FALSE(arrived.discontinuity);
        EXPECT_FALSE(arrived.preroll);

        sample.syncPoint = false;
        EXPECT_FALSE(Through(sample).syncPoint);

        sample.preroll = true;
        // The older interface's way knows no preroll.
        EXPECT_EQ(Through(sample).preroll, buffers != Buffers::kForeignWithoutSample2);

        sample.syncPoint = sample.discontinuity = true;
        arrived = Through(sample);
        EXPECT_TRUE(arrived.syncPoint);
        EXPECT_TRUE(arrived.discontinuity);
    }
}

TEST_P(Samples, AnInputSampleWithoutIMediaSample2IsAsGood) {
    Start();
    SampleProperties sample = rig.Frame();
    sample.start = 20000;
    sample.stop = 30000;
    sample.preroll = true;
    SampleBehaviour plain;
    plain.offersSample2 = false;
    const SampleProperties arrived = Through(sample, plain);
    EXPECT_EQ(arrived.start, 20000);
    EXPECT_EQ(arrived.stop, 30000);
    EXPECT_TRUE(arrived.syncPoint);
    EXPECT_TRUE(arrived.preroll);
}

TEST_P(Samples, AFailingSetActualDataLengthDoesNotStopDelivery) {
    for (const Buffers buffers : {Buffers::kForeign, Buffers::kForeignWithoutSample2}) {
        Start(buffers);
        allocator()->sampleBehaviour.setActualDataLengthResult = E_NOTIMPL;
        Through(rig.Frame());
    }
}

TEST_P(Samples, AfterADiscontinuityFramesWaitForAKeyFrame) {
    Start();
    SampleProperties sample = rig.Frame();
    ASSERT_EQ(rig.source->Push(sample), S_OK);
    sample.syncPoint = false;
    sample.discontinuity = true;
    rig.sink->in.Forget();
    EXPECT_EQ(rig.source->Push(sample), S_OK);
    sample.discontinuity = false;
    EXPECT_EQ(rig.source->Push(sample), S_OK);
    EXPECT_EQ(rig.sink->in.sampleCount(), 0u);
    sample.syncPoint = true;
    EXPECT_EQ(rig.source->Push(sample), S_OK);
    sample.syncPoint = false;
    EXPECT_EQ(rig.source->Push(sample), S_OK);
    EXPECT_EQ(rig.sink->in.sampleCount(), 2u);
}

TEST_P(Samples, AnUpstreamThatMarksNoSyncPointsStillShowsPicturesAfterABoundedWait) {
    Start();
    SampleProperties sample = rig.Frame();
    sample.syncPoint = false;
    Through(sample);  // without a discontinuity there is nothing to wait for
    rig.sink->in.Forget();
    sample.discontinuity = true;
    constexpr int kWithheld = 29;
    for (int i = 0; i < kWithheld; ++i) {
        EXPECT_EQ(rig.source->Push(sample), S_OK);
        sample.discontinuity = false;
    }
    EXPECT_EQ(rig.sink->in.sampleCount(), 0u);
    EXPECT_EQ(rig.graph->Count(EC_QUALITY_CHANGE), 1);
    for (int i = 0; i < 3; ++i) {
        EXPECT_EQ(rig.source->Push(sample), S_OK);
    }
    EXPECT_EQ(rig.sink->in.sampleCount(), 3u);
}

TEST_P(Samples, AShortSampleFailsAndLeavesNoPicture) {
    Start(Buffers::kForeign);
    const std::size_t whole = rig.Frame().bytes.size();
    std::vector<std::size_t> lengths = {0, 1};
    if (row().shortestFrame == 0) {
        lengths.insert(lengths.end(), {whole / 2, whole - 1});
    }
    for (const std::size_t length : lengths) {
        SampleProperties sample = rig.Frame();
        sample.bytes.resize(length);
        EXPECT_EQ(rig.source->Push(sample), E_FAIL) << length;
        EXPECT_EQ(rig.sink->in.sampleCount(), 0u) << length;
        EXPECT_TRUE(IsLeftBehind(allocator()->last()->memory())) << length;
    }
    EXPECT_EQ(rig.graph->events().size(), 0u) << "a failed frame raises no event";
    EXPECT_EQ(rig.Push(), S_OK) << "and the next good one is delivered";
    EXPECT_EQ(rig.sink->in.sampleCount(), 1u);
}

TEST_P(Samples, ASampleOrBufferWithoutMemoryIsUnexpected) {
    SampleBehaviour noPointer;
    noPointer.getPointerResult = E_FAIL;
    SampleBehaviour nullPointer;
    nullPointer.nullPointer = true;
    for (const SampleBehaviour& behaviour : {noPointer, nullPointer}) {
        Start(Buffers::kForeign);
        EXPECT_EQ(rig.source->Push(rig.Frame(), behaviour), E_UNEXPECTED);
        allocator()->sampleBehaviour = behaviour;
        EXPECT_EQ(rig.Push(), E_UNEXPECTED);
        EXPECT_EQ(rig.sink->in.sampleCount(), 0u);
    }
}

TEST_P(Samples, WhatTheDownstreamPinReturnsComesBack) {
    Start();
    for (const HRESULT answer : {S_FALSE, E_FAIL, VFW_E_WRONG_STATE}) {
        rig.sink->in.onReceive = [answer](IMediaSample*) { return answer; };
        EXPECT_EQ(rig.Push(), answer);
    }
    rig.sink->in.onReceive = nullptr;
    EXPECT_EQ(rig.Push(), S_OK) << "and streaming goes on";
}

TEST_P(Samples, ReceiveMultipleCountsWhatWasTaken) {
    Start();
    const auto good = MakeCom<TestSample>(rig.Frame());
    SampleProperties shortSample = rig.Frame();
    shortSample.bytes.resize(1);
    const auto bad = MakeCom<TestSample>(shortSample);
    IMediaSample* samples[] = {good.get(), good.get(), bad.get(), good.get()};
    LONG done = -1;
    EXPECT_EQ(rig.transport->ReceiveMultiple(samples, 2, &done), S_OK);
    EXPECT_EQ(done, 2);
    EXPECT_EQ(rig.transport->ReceiveMultiple(samples, 4, &done), E_FAIL);
    EXPECT_EQ(done, 2);
    EXPECT_EQ(rig.sink->in.sampleCount(), 4u);
}

TEST_P(Samples, ReceiveCanBlockFollowsDownstream) {
    Start();
    rig.sink->in.receiveCanBlockResult = S_FALSE;
    EXPECT_EQ(rig.transport->ReceiveCanBlock(), S_FALSE);
    rig.sink->in.receiveCanBlockResult = S_OK;
    EXPECT_EQ(rig.transport->ReceiveCanBlock(), S_OK);
}

}  // namespace
}  // namespace nyx::test

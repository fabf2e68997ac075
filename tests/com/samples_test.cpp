#include <algorithm>

#include "tests/support/com_test.h"
#include "tests/support/filter_rig.h"

namespace nyx::test {
namespace {

/// The platform's samples and foreign ones must be treated alike.
enum class Buffers { kPlatform, kForeign, kForeignWithoutSample2 };

class Samples : public FilterTest {
  protected:
    void Start(Buffers buffers = Buffers::kPlatform) {
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
    /// Whether a "YUY2" buffer is as a refused frame must leave it: untouched, or black.
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
NYX_FOR_EVERY_DECODER(Samples);

constexpr Buffers kAllBuffers[] = {Buffers::kPlatform, Buffers::kForeign,
                                   Buffers::kForeignWithoutSample2};

TEST_P(Samples, ThePictureArrivesWhole) {
    for (const Buffers buffers : kAllBuffers) {
        FilterRig fresh(row());
        if (buffers != Buffers::kPlatform) {
            fresh.sink->in.ownAllocator = MakeCom<TestAllocator>();
            fresh.sink->in.ownAllocator->sampleBehaviour.offersSample2 =
                buffers == Buffers::kForeign;
        }
        fresh.Start();
        EXPECT_EQ(fresh.Push(), S_OK);
        ASSERT_EQ(fresh.sink->in.sampleCount(), 1u);
        EXPECT_EQ(fresh.sink->in.samples()[0].bytes.size(),
                  static_cast<std::size_t>(PictureBytes(row().OutputType(0).Header())));
    }
}

TEST_P(Samples, StartAndStopTimesAreCarriedAsSet) {
    Start();
    SampleProperties sample = rig.Frame();
    SampleProperties arrived = Through(sample);
    EXPECT_FALSE(arrived.start);
    EXPECT_FALSE(arrived.stop);

    sample.start = 20000;
    arrived = Through(sample);
    EXPECT_EQ(arrived.start, 20000);
    EXPECT_FALSE(arrived.stop);

    sample.stop = 30000;
    arrived = Through(sample);
    EXPECT_EQ(arrived.start, 20000);
    EXPECT_EQ(arrived.stop, 30000);
}

TEST_P(Samples, StartAndStopTimesReachASampleWithoutIMediaSample2) {
    Start(Buffers::kForeignWithoutSample2);
    SampleProperties sample = rig.Frame();
    sample.start = 20000;
    SampleProperties arrived = Through(sample);
    EXPECT_EQ(arrived.start, 20000);
    EXPECT_FALSE(arrived.stop);
    sample.stop = 30000;
    arrived = Through(sample);
    EXPECT_EQ(arrived.start, 20000);
    EXPECT_EQ(arrived.stop, 30000);
}

TEST_P(Samples, MediaTimesAreNotCarried) {
    for (const Buffers buffers : {Buffers::kPlatform, Buffers::kForeign}) {
        FilterRig fresh(row());
        if (buffers == Buffers::kForeign) {
            fresh.sink->in.ownAllocator = MakeCom<TestAllocator>();
        }
        fresh.Start();
        SampleProperties sample = fresh.Frame();
        sample.start = 20000;
        sample.stop = 30000;
        sample.mediaTimes = Interval{7, 8};
        ASSERT_EQ(fresh.source->Push(sample), S_OK);
        EXPECT_FALSE(fresh.sink->in.samples().at(0).mediaTimes);
    }
}

TEST_P(Samples, MediaTimesAreCopiedOnlyToASampleWithoutIMediaSample2) {
    Start(Buffers::kForeignWithoutSample2);
    SampleProperties sample = rig.Frame();
    sample.mediaTimes = Interval{7, 8};
    EXPECT_EQ(Through(sample).mediaTimes, (Interval{7, 8}));
}

TEST_P(Samples, SyncPointDiscontinuityAndPrerollAreCarried) {
    Start();
    SampleProperties sample = rig.Frame();
    SampleProperties arrived = Through(sample);
    EXPECT_TRUE(arrived.syncPoint);
    EXPECT_FALSE(arrived.discontinuity);
    EXPECT_FALSE(arrived.preroll);

    sample.syncPoint = false;
    EXPECT_FALSE(Through(sample).syncPoint);

    sample.preroll = true;
    EXPECT_TRUE(Through(sample).preroll);

    sample.syncPoint = sample.discontinuity = true;
    arrived = Through(sample);
    EXPECT_TRUE(arrived.syncPoint);
    EXPECT_TRUE(arrived.discontinuity);
}

TEST_P(Samples, SyncPointAndDiscontinuityReachASampleWithoutIMediaSample2) {
    Start(Buffers::kForeignWithoutSample2);
    SampleProperties sample = rig.Frame();
    sample.discontinuity = true;
    const SampleProperties arrived = Through(sample);
    EXPECT_TRUE(arrived.syncPoint);
    EXPECT_TRUE(arrived.discontinuity);
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
    EXPECT_EQ(arrived.bytes.size(),
              static_cast<std::size_t>(PictureBytes(row().OutputType(0).Header())));
}

TEST_P(Samples, AFailingSetActualDataLengthDoesNotStopDelivery) {
    for (const bool sample2 : {true, false}) {
        FilterRig fresh(row());
        fresh.sink->in.ownAllocator = MakeCom<TestAllocator>();
        fresh.sink->in.ownAllocator->sampleBehaviour.offersSample2 = sample2;
        fresh.sink->in.ownAllocator->sampleBehaviour.setActualDataLengthResult = E_NOTIMPL;
        fresh.Start();
        EXPECT_EQ(fresh.Push(), S_OK);
        EXPECT_EQ(fresh.sink->in.sampleCount(), 1u);
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

TEST_P(Samples, AStreamWithoutSyncPointsAndDiscontinuitiesNeedsNoWait) {
    Start();
    SampleProperties sample = rig.Frame();
    sample.syncPoint = false;
    EXPECT_EQ(rig.source->Push(sample), S_OK);
    EXPECT_EQ(rig.sink->in.sampleCount(), 1u);
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

TEST_P(Samples, ASampleWithoutMemoryIsUnexpected) {
    Start();
    SampleBehaviour noPointer;
    noPointer.getPointerResult = E_FAIL;
    EXPECT_EQ(rig.source->Push(rig.Frame(), noPointer), E_UNEXPECTED);
    SampleBehaviour nullPointer;
    nullPointer.nullPointer = true;
    EXPECT_EQ(rig.source->Push(rig.Frame(), nullPointer), E_UNEXPECTED);
    EXPECT_EQ(rig.sink->in.sampleCount(), 0u);
}

TEST_P(Samples, AnOutputBufferWithoutMemoryIsUnexpected) {
    rig.sink->in.ownAllocator = MakeCom<TestAllocator>();
    rig.sink->in.ownAllocator->sampleBehaviour.nullPointer = true;
    rig.Start();
    EXPECT_EQ(rig.Push(), E_UNEXPECTED);
    EXPECT_EQ(rig.sink->in.sampleCount(), 0u);
}

TEST_P(Samples, WhatTheDownstreamPinReturnsComesBack) {
    Start();
    rig.sink->in.onReceive = [](IMediaSample*) { return E_ABORT; };
    EXPECT_EQ(rig.Push(), E_ABORT);
    rig.sink->in.onReceive = [](IMediaSample*) { return S_FALSE; };
    EXPECT_EQ(rig.Push(), S_FALSE);
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

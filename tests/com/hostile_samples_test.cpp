/// Samples that are not what was agreed on: of other lengths, at odd addresses, in memory that may
/// not be written. All memory here ends at an inaccessible page.

#include <algorithm>

#include "tests/support/com_test.h"
#include "tests/support/filter_rig.h"

namespace nyx::test {
namespace {

class HostileSamples : public FilterTest {
  protected:
    HostileSamples() { rig.sink->in.ownAllocator = allocator; }

    /// Lets the sink's allocator promise what was asked for and hand out `more` bytes beyond it. A
    /// picture begins that much off an aligned address.
    void SetBuffers(LONG more) {
        rig.filter->Stop();
        ALLOCATOR_PROPERTIES properties = {1, row().BufferBytes(0) + more, 1, 0};
        ALLOCATOR_PROPERTIES actual{};
        ASSERT_EQ(allocator->SetProperties(&properties, &actual), S_OK);
        ASSERT_EQ(rig.filter->Pause(), S_OK);
    }
    ComPtr<TestAllocator> allocator = MakeCom<TestAllocator>();
    FilterRig rig{row()};
};
NYX_FOR_EVERY_FILTER(HostileSamples);

TEST_P(HostileSamples, ASampleCutAnywhereIsRefusedOrDeliveredWhole) {
    rig.Start();
    const SampleProperties whole = rig.Frame();
    std::size_t delivered = 0;
    // Every length where headers and tags lie, then in strides to the end.
    for (std::size_t size = 0; size < whole.bytes.size();
         size += size < 64 ? 1 : whole.bytes.size() / 50 + 1) {
        SampleProperties cut = whole;
        cut.bytes.resize(size);
        const HRESULT result = rig.source->Push(cut);
        delivered += result == S_OK ? 1 : 0;
        EXPECT_EQ(rig.sink->in.sampleCount(), delivered) << size;
    }
    EXPECT_EQ(rig.Push(), S_OK) << "and streaming goes on";
}

TEST_P(HostileSamples, BytesBehindAFrameAreOfNoConsequence) {
    rig.Start();
    ASSERT_EQ(rig.Push(), S_OK);
    // An odd number of them: the frame then begins at an odd address.
    for (const std::size_t more : {1u, 3u, 15u, 4097u}) {
        SampleProperties longer = rig.Frame();
        longer.bytes.resize(longer.bytes.size() + more, 0xFF);
        EXPECT_EQ(rig.source->Push(longer), S_OK) << more;
        EXPECT_EQ(rig.sink->in.samples().back().bytes, rig.sink->in.samples().front().bytes)
            << more;
    }
}

TEST_P(HostileSamples, ASampleThatClaimsMoreThanItsBufferIsReadNoFurther) {
    rig.Start();
    for (const LONG claim : {LONG{-1}, LONG{INT32_MIN}, LONG{INT32_MAX}}) {
        SampleBehaviour liar;
        liar.claimedLength = claim;
        rig.source->Push(rig.Frame(), liar);
        SampleProperties cut = rig.Frame();
        cut.bytes.resize(cut.bytes.size() / 3);
        rig.source->Push(cut, liar);
    }
    EXPECT_EQ(rig.Push(), S_OK);
}

TEST_P(HostileSamples, AnAllocatorOfTheWrongAlignmentGetsTheSamePicture) {
    rig.Start();
    ASSERT_EQ(rig.Push(), S_OK);
    const std::vector<BYTE> picture = rig.sink->in.samples().front().bytes;
    for (const LONG more : {1, 2, 3, 7, 15}) {
        SetBuffers(more);
        ASSERT_EQ(rig.Push(), S_OK) << more;
        const std::vector<BYTE> other = rig.sink->in.samples().back().bytes;
        ASSERT_GE(other.size(), picture.size());
        EXPECT_TRUE(std::equal(picture.begin(), picture.end(), other.begin())) << more;
    }
}

TEST_P(HostileSamples, AnAllocatorThatHandsOutLessThanItPromisedGetsNothing) {
    rig.Connect();
    for (const LONG size : {0L, 1L, 1000L, row().BufferBytes(0) - 1}) {
        SetBuffers(size - row().BufferBytes(0));
        EXPECT_EQ(rig.Push(), E_FAIL) << size;
        const GuardedMemory& memory = allocator->last()->memory();
        EXPECT_EQ(std::count(memory.data(), memory.data() + size, TestAllocator::kUnwritten), size);
    }
    EXPECT_EQ(rig.sink->in.sampleCount(), 0u);
}

TEST_P(HostileSamples, ABufferThatMayNotBeWrittenFailsTheFrameAndNotTheHost) {
    allocator->sampleBehaviour.readOnlyMemory = true;
    rig.Start();
    EXPECT_EQ(rig.Push(), E_FAIL);
    EXPECT_EQ(rig.sink->in.sampleCount(), 0u);
    allocator->sampleBehaviour = {};
    EXPECT_EQ(rig.Push(), S_OK) << "and streaming goes on";
}

}  // namespace
}  // namespace nyx::test

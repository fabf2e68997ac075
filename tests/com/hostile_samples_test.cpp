/// Samples that are not what was agreed on: of other lengths, at odd addresses, in memory that may
/// not be written. All memory here ends at an inaccessible page.

#include "tests/support/com_test.h"
#include "tests/support/filter_rig.h"

namespace nyx::test {
namespace {

class HostileSamples : public FilterTest {
  protected:
    /// Starts with an allocator of the sink's that hands out `more` bytes beyond the picture's, so
    /// that a picture begins that much off an aligned address.
    void StartWithBuffers(LONG more, SampleBehaviour behaviour = {}) {
        rig.sink->in.ownAllocator = MakeCom<TestAllocator>();
        rig.sink->in.ownAllocator->sampleBehaviour = behaviour;
        ASSERT_EQ(rig.ConnectInput(), S_OK);
        ASSERT_EQ(rig.ConnectOutput(), S_OK);
        ALLOCATOR_PROPERTIES properties = rig.sink->in.ownAllocator->requested();
        ASSERT_GT(properties.cbBuffer, 0);
        properties.cbBuffer += more;
        ALLOCATOR_PROPERTIES actual{};
        ASSERT_EQ(rig.sink->in.ownAllocator->SetProperties(&properties, &actual), S_OK);
        ASSERT_EQ(rig.filter->Pause(), S_OK);
    }
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
    StartWithBuffers(0);
    ASSERT_EQ(rig.Push(), S_OK);
    const std::vector<BYTE> picture = rig.sink->in.samples().front().bytes;
    ALLOCATOR_PROPERTIES properties = rig.sink->in.ownAllocator->requested();
    for (const LONG more : {1, 2, 3, 7, 15}) {
        ALLOCATOR_PROPERTIES odd = properties;
        odd.cbBuffer += more;
        ALLOCATOR_PROPERTIES actual{};
        rig.filter->Stop();
        ASSERT_EQ(rig.sink->in.ownAllocator->SetProperties(&odd, &actual), S_OK);
        ASSERT_EQ(rig.filter->Pause(), S_OK);
        ASSERT_EQ(rig.Push(), S_OK) << more;
        const std::vector<BYTE> other = rig.sink->in.samples().back().bytes;
        ASSERT_GE(other.size(), picture.size());
        EXPECT_TRUE(std::equal(picture.begin(), picture.end(), other.begin())) << more;
    }
}

TEST_P(HostileSamples, ABufferThatMayNotBeWrittenFailsTheFrameAndNotTheHost) {
    SampleBehaviour protectedMemory;
    protectedMemory.readOnlyMemory = true;
    StartWithBuffers(0, protectedMemory);
    EXPECT_EQ(rig.Push(), E_FAIL);
    EXPECT_EQ(rig.sink->in.sampleCount(), 0u);
    rig.sink->in.ownAllocator->sampleBehaviour = {};
    EXPECT_EQ(rig.Push(), S_OK) << "and streaming goes on";
}

}  // namespace
}  // namespace nyx::test

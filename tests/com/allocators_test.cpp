#include "tests/support/com_test.h"
#include "tests/support/filter_rig.h"

namespace nyx::test {
namespace {

class Allocators : public FilterTest {
  protected:
    /// Connects with an allocator of the sink's own.
    void ConnectWithOwnAllocator(std::size_t output = 0) {
        rig.sink->in.ownAllocator = own;
        rig.Connect(output);
    }
    FilterRig rig{row()};
    ComPtr<TestAllocator> own = MakeCom<TestAllocator>();
};
NYX_FOR_EVERY_FILTER(Allocators);

HRESULT GetBuffer(IMemAllocator* allocator) {
    ComPtr<IMediaSample> buffer;
    return allocator->GetBuffer(buffer.Put(), nullptr, nullptr, AM_GBF_NOWAIT);
}

TEST_P(Allocators, TheInputHasNoRequirements) {
    ALLOCATOR_PROPERTIES properties{};
    EXPECT_EQ(rig.transport->GetAllocatorRequirements(&properties), E_NOTIMPL);
}

TEST_P(Allocators, TheInputMakesThePlatformsAllocatorWithAllPropertiesZero) {
    ComPtr<IMemAllocator> allocator;
    ASSERT_EQ(rig.transport->GetAllocator(allocator.Put()), S_OK);
    ALLOCATOR_PROPERTIES properties{1, 2, 3, 4};
    ASSERT_EQ(allocator->GetProperties(&properties), S_OK);
    EXPECT_EQ(properties.cBuffers, 0);
    EXPECT_EQ(properties.cbBuffer, 0);
    EXPECT_EQ(properties.cbAlign, 0);
    EXPECT_EQ(properties.cbPrefix, 0);
    ComPtr<IMemAllocator> again;
    ASSERT_EQ(rig.transport->GetAllocator(again.Put()), S_OK);
    EXPECT_EQ(again.get(), allocator.get());
}

TEST_P(Allocators, TheNotifiedInputAllocatorIsTheOneThatIsGiven) {
    EXPECT_EQ(rig.transport->NotifyAllocator(nullptr, FALSE), E_POINTER);
    ASSERT_EQ(rig.transport->NotifyAllocator(own.get(), TRUE), S_OK);
    ComPtr<IMemAllocator> given;
    ASSERT_EQ(rig.transport->GetAllocator(given.Put()), S_OK);
    EXPECT_EQ(given.get(), static_cast<IMemAllocator*>(own.get()));
    given.Reset();
    const auto other = MakeCom<TestAllocator>();
    ASSERT_EQ(rig.transport->NotifyAllocator(other.get(), FALSE), S_OK);
    EXPECT_EQ(own->References(), 1u) << "the old one was let go";
}

TEST_P(Allocators, TheDownstreamPinsOwnAllocatorIsAskedForOneBuffer) {
    for (std::size_t i = 0; i < row().outputs.size(); ++i) {
        ConnectWithOwnAllocator(i);
        EXPECT_EQ(rig.sink->in.allocator(), own.get());
        EXPECT_FALSE(rig.sink->in.allocatorIsReadOnly());
        EXPECT_EQ(own->requested().cBuffers, 1);
        EXPECT_EQ(own->requested().cbBuffer, row().BufferBytes(i));
        EXPECT_EQ(own->requested().cbAlign, 1) << "an alignment of 0 is asked as 1";
        EXPECT_EQ(own->requested().cbPrefix, 0);
        rig.Disconnect();
    }
}

TEST_P(Allocators, WithoutOneThePlatformsAllocatorIsUsed) {
    rig.Connect();
    ASSERT_NE(rig.sink->in.allocator(), nullptr);
    ALLOCATOR_PROPERTIES properties{};
    ASSERT_EQ(rig.sink->in.allocator()->GetProperties(&properties), S_OK);
    EXPECT_EQ(properties.cBuffers, 1);
    EXPECT_EQ(properties.cbBuffer, row().BufferBytes(0));
}

TEST_P(Allocators, AWiderOutputSizesTheBufferAndATopDownOneAsksForTheNegativeProduct) {
    if (row().role == Role::kEncoder) {
        GTEST_SKIP() << "its output has one size";
    }
    rig.sink->in.ownAllocator = own;
    ASSERT_EQ(rig.ConnectInput(), S_OK);
    MediaType type = row().OutputType(row().outputs.size() - 1);
    type.Header().biWidth += 32;
    ASSERT_EQ(rig.ConnectOutput(type), S_OK);
    EXPECT_EQ(own->requested().cbBuffer, PictureBytes(type.Header()));
    rig.DisconnectOutput();
    type.Header().biHeight = -type.Header().biHeight;
    ASSERT_EQ(rig.ConnectOutput(type), S_OK);
    EXPECT_EQ(own->requested().cbBuffer, -PictureBytes(type.Header()));
}

TEST_P(Allocators, ThePeersAlignmentAndPrefixAreKept) {
    rig.sink->in.requirements = {3, 10, 16, 8};
    rig.sink->in.requirementsResult = S_OK;
    ConnectWithOwnAllocator();
    EXPECT_EQ(own->requested().cbAlign, 16);
    EXPECT_EQ(own->requested().cbPrefix, 8);
    EXPECT_EQ(own->requested().cBuffers, 1) << "exactly one buffer, whatever the peer wishes";
}

TEST_P(Allocators, AnAllocatorThatGrantsTooLittleOrFailsIsPassedOver) {
    const LONG size = row().BufferBytes(0);
    const struct {
        ALLOCATOR_PROPERTIES granted;
        HRESULT result;
        bool taken;
    } cases[] = {
        {{1, size, 1, 0}, S_OK, true},           {{4, size + 4711, 64, 0}, S_OK, true},
        {{1, size - 1, 1, 0}, S_OK, false},      {{0, size, 1, 0}, S_OK, false},
        {{1, size, 1, 0}, E_OUTOFMEMORY, false},
    };
    for (const auto& c : cases) {
        own->granted = c.granted;
        own->setPropertiesResult = c.result;
        ConnectWithOwnAllocator();
        EXPECT_NE(rig.sink->in.allocator(), nullptr);
        EXPECT_EQ(rig.sink->in.allocator() == own.get(), c.taken) << c.granted.cbBuffer;
        rig.Disconnect();
    }
}

TEST_P(Allocators, OutputBuffersAreThereFromPauseToStop) {
    rig.Connect();
    IMemAllocator* allocator = rig.sink->in.allocator();
    EXPECT_EQ(GetBuffer(allocator), VFW_E_NOT_COMMITTED);
    ASSERT_EQ(rig.filter->Pause(), S_OK);
    EXPECT_EQ(GetBuffer(allocator), S_OK);
    ASSERT_EQ(rig.filter->Run(0), S_OK);
    EXPECT_EQ(GetBuffer(allocator), S_OK);
    ASSERT_EQ(rig.filter->Pause(), S_OK);
    EXPECT_EQ(GetBuffer(allocator), S_OK);
    ASSERT_EQ(rig.filter->Stop(), S_OK);
    EXPECT_EQ(GetBuffer(allocator), VFW_E_NOT_COMMITTED);
}

TEST_P(Allocators, DisconnectingLetsTheAllocatorGo) {
    ConnectWithOwnAllocator();
    rig.DisconnectOutput();
    rig.sink->in.ownAllocator.Reset();
    EXPECT_EQ(own->References(), 1u);
}

}  // namespace
}  // namespace nyx::test

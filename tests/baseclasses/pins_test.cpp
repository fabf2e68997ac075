#include <atomic>
#include <thread>

#include "tests/baseclasses/passthrough.h"

namespace nyx::test {
namespace {

using Calls = std::vector<std::string>;

class Pins : public PassthroughTest {};

TEST_F(Pins, AFailureOnTheWayUndoesTheConnectionOnBothSides) {
    ConnectInput();
    filter->log.clear();
    filter->completeResult = E_ABORT;
    EXPECT_EQ(output->Connect(sink->pin(), Numbered(1).get()), E_ABORT);
    EXPECT_EQ(filter->log, (Calls{"SetMediaType out", "Complete out", "Break out"}));
    EXPECT_EQ(sink->in.peer(), nullptr) << "the peer had accepted and must be told";
    EXPECT_FALSE(filter->Output()->IsConnected());
    filter->completeResult = S_OK;
    EXPECT_EQ(output->Connect(sink->pin(), nullptr), S_OK);
}

TEST_F(Pins, ARefusedTypeBreaksWhatCheckConnectBegan) {
    ConnectInput();
    filter->log.clear();
    EXPECT_EQ(output->Connect(sink->pin(), Numbered(13).get()), VFW_E_TYPE_NOT_ACCEPTED);
    EXPECT_EQ(filter->log, (Calls{"Break out"}));
    EXPECT_EQ(output->QueryAccept(Numbered(13).get()), S_FALSE);
}

TEST_F(Pins, OfTheFailuresOfManyTypesTheSpecificOneIsKept) {
    ConnectInput();
    filter->decideResult = VFW_E_SIZENOTSET;
    EXPECT_EQ(output->Connect(sink->pin(), nullptr), VFW_E_SIZENOTSET);
    filter->decideResult = S_OK;
    sink->in.accept = [](const MediaType&) { return S_FALSE; };
    EXPECT_EQ(output->Connect(sink->pin(), nullptr), VFW_E_NO_ACCEPTABLE_TYPES);
}

TEST_F(Pins, ThePeersTypesAreTriedBeforeTheOwn) {
    ConnectInput();
    sink->in.proposals = {Numbered(13), Numbered(7)};
    ASSERT_EQ(output->Connect(sink->pin(), nullptr), S_OK);
    EXPECT_EQ(NumberOf(filter->Output()->CurrentMediaType()), 7u);
}

TEST_F(Pins, AnAllocatorThatThePeerCannotProvideIsThePlatforms) {
    ConnectInput();
    sink->in.requirementsResult = S_OK;
    sink->in.requirements = {3, 5, 0, 7};
    ASSERT_EQ(output->Connect(sink->pin(), Numbered(1).get()), S_OK);
    EXPECT_NE(sink->in.allocator(), nullptr);
    EXPECT_EQ(filter->lastRequest.cBuffers, 3);
    EXPECT_EQ(filter->lastRequest.cbAlign, 1) << "an alignment of 0 is asked as 1";
    EXPECT_EQ(filter->lastRequest.cbPrefix, 7);
}

TEST_F(Pins, APeersAllocatorThatCannotBeSizedIsReplaced) {
    ConnectInput();
    sink->in.ownAllocator = MakeCom<TestAllocator>();
    sink->in.ownAllocator->setPropertiesResult = E_FAIL;
    ASSERT_EQ(output->Connect(sink->pin(), Numbered(1).get()), S_OK);
    EXPECT_NE(sink->in.allocator(), sink->in.ownAllocator.get());
    EXPECT_NE(sink->in.allocator(), nullptr);
}

TEST_F(Pins, AThousandConnectionsLeaveNothingBehind) {
    for (int i = 0; i < 1000; ++i) {
        Connect();
        ASSERT_EQ(input->Disconnect(), S_OK);
        source->out.Disconnect();
        sink->in.Disconnect();
    }
}

TEST_F(Pins, NeighboursMayAskWhileTheTypeChangesInMidStream) {
    Start();
    std::atomic<bool> done{false};
    std::thread neighbour([&] {
        while (!done) {
            AM_MEDIA_TYPE type{};
            EXPECT_EQ(input->ConnectionMediaType(&type), S_OK);
            EXPECT_NE(NumberOf(type), 0u);
            FreeMediaType(type);
            EXPECT_EQ(output->QueryAccept(Numbered(2).get()), S_OK);
        }
    });
    for (DWORD i = 0; i < 2000; ++i) {
        SampleProperties frame = Frame();
        frame.type = Numbered(i % 2 + 1);
        EXPECT_EQ(Push(frame), S_OK);
    }
    done = true;
    neighbour.join();
}

TEST_F(Pins, QuestionsAboutAPinNeedNoFilterLock) {
    Start();
    filter->m_csFilter.Lock();
    std::thread neighbour([&] {
        ComPtr<IPin> peer;
        EXPECT_EQ(output->ConnectedTo(peer.Put()), S_OK);
        AM_MEDIA_TYPE type{};
        EXPECT_EQ(output->ConnectionMediaType(&type), S_OK);
        FreeMediaType(type);
        EXPECT_EQ(output->QueryAccept(Numbered(2).get()), S_OK);
        ComPtr<IPin> found;
        EXPECT_EQ(filter->FindPin(L"Out", found.Put()), S_OK);
        CoInitializeEx(nullptr, COINIT_MULTITHREADED);
        EXPECT_TRUE(output.As<IMediaSeeking>());
        CoUninitialize();
    });
    neighbour.join();
    filter->m_csFilter.Unlock();
}

TEST_F(Pins, ASampleTypeOfAPlainSampleIsCheckedToo) {
    Start();
    SampleProperties frame = Frame();
    frame.type = Numbered(13);
    SampleBehaviour plain;
    plain.offersSample2 = false;
    EXPECT_EQ(source->Push(frame, plain), VFW_E_INVALIDMEDIATYPE);
    EXPECT_EQ(graph->Count(EC_ERRORABORT), 1);
    EXPECT_EQ(sink->in.events().endOfStream, 0) << "the error keeps the end from being passed on";
    EXPECT_EQ(Push(), VFW_E_RUNTIME_ERROR);
}

TEST_F(Pins, SeekingIsPassedUpstreamAndTheHelperObjectGoesWithThePin) {
    Connect();
    ComPtr<IMediaSeeking> seeking = output.As<IMediaSeeking>();
    ASSERT_TRUE(seeking);
    LONGLONG duration = 0;
    EXPECT_EQ(seeking->GetDuration(&duration), S_OK);
    EXPECT_EQ(duration, TestSourcePin::kDuration);
    ComPtr<IPin> back;
    EXPECT_EQ(seeking->QueryInterface(IID_IPin, back.PutVoid()), S_OK);
    EXPECT_EQ(back.get(), output.get()) << "one object with the pin";
}

}  // namespace
}  // namespace nyx::test

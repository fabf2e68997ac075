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

}  // namespace
}  // namespace nyx::test

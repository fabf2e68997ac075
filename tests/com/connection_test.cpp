#include "tests/support/com_test.h"
#include "tests/support/filter_rig.h"

namespace nyx::test {
namespace {

class Connection : public FilterTest {
  protected:
    FilterRig rig{row()};
};
NYX_FOR_EVERY_FILTER(Connection);

/// A connection request with only these three set.
MediaType Partial(const GUID& major, const GUID& sub, const GUID& format) {
    MediaType type;
    type->majortype = major;
    type->subtype = sub;
    type->formattype = format;
    return type;
}

TEST_P(Connection, AnUnconnectedPinHasNoPeerAndNoType) {
    for (const auto& pin : {rig.input, rig.output}) {
        auto* peer = reinterpret_cast<IPin*>(1);
        EXPECT_EQ(pin->ConnectedTo(&peer), VFW_E_NOT_CONNECTED);
        EXPECT_EQ(peer, nullptr);
        AM_MEDIA_TYPE type = *row().InputType().get();
        EXPECT_EQ(pin->ConnectionMediaType(&type), VFW_E_NOT_CONNECTED);
        EXPECT_EQ(type.pbFormat, nullptr);
        EXPECT_EQ(type.cbFormat, 0u);
    }
}

TEST_P(Connection, TheOutputConnectsOnlyAfterTheInput) {
    EXPECT_EQ(rig.ConnectOutput(row().OutputType(0)), E_UNEXPECTED);
    EXPECT_FALSE(PeerOf(rig.output));
    EXPECT_EQ(rig.sink->in.peer(), nullptr);
}

TEST_P(Connection, AConnectedPinReportsItsTypeAndRefusesASecondPeer) {
    rig.Connect();
    EXPECT_EQ(FilterRig::ConnectionType(rig.input), row().InputType());
    const auto other = MakeCom<TestSource>();
    EXPECT_EQ(rig.input->ReceiveConnection(other->pin(), row().InputType().get()),
              VFW_E_ALREADY_CONNECTED);
    const auto otherSink = MakeCom<TestSink>();
    EXPECT_EQ(rig.output->Connect(otherSink->pin(), nullptr), VFW_E_ALREADY_CONNECTED);
    EXPECT_EQ(PeerOf(rig.input).get(), rig.source->pin());
    EXPECT_EQ(PeerOf(rig.output).get(), rig.sink->pin());
}

TEST_P(Connection, PinsOfTheSameDirectionDoNotConnect) {
    ASSERT_EQ(rig.ConnectInput(), S_OK);
    const auto other = MakeCom<TestSource>();
    EXPECT_EQ(rig.output->Connect(other->pin(), nullptr), VFW_E_INVALID_DIRECTION);
    EXPECT_FALSE(PeerOf(rig.output));
}

TEST_P(Connection, TheFirstOfTheOwnTypesThatThePeerTakesIsUsed) {
    ASSERT_EQ(rig.ConnectInput(), S_OK);
    const auto offered = OfferedTypes(rig.output);
    for (std::size_t wanted = 0; wanted < offered.size(); ++wanted) {
        rig.sink->in.accept = [&](const MediaType& type) {
            return type == offered[wanted] ? S_OK : S_FALSE;
        };
        ASSERT_EQ(rig.ConnectOutput(), S_OK);
        EXPECT_EQ(FilterRig::ConnectionType(rig.output), offered[wanted]);
        rig.DisconnectOutput();
    }
}

TEST_P(Connection, NullsInARequestAreWildcards) {
    ASSERT_EQ(rig.ConnectInput(), S_OK);
    const auto offered = OfferedTypes(rig.output);
    const std::size_t count = row().outputs.size();
    MediaType shortForm = offered[count];
    shortForm->majortype = shortForm->subtype = GUID_NULL;
    struct Request {
        MediaType type;
        const MediaType& expected;
    };
    const Request requests[] = {
        {Partial(GUID_NULL, GUID_NULL, GUID_NULL), offered[0]},
        {Partial(MEDIATYPE_Video, GUID_NULL, GUID_NULL), offered[0]},
        {Partial(GUID_NULL, row().outputs.back().subtype, GUID_NULL), offered[count - 1]},
        {Partial(MEDIATYPE_Video, row().outputs.back().subtype, GUID_NULL), offered[count - 1]},
        {shortForm, offered[count]},
    };
    for (const Request& request : requests) {
        ASSERT_EQ(rig.ConnectOutput(request.type), S_OK);
        EXPECT_EQ(FilterRig::ConnectionType(rig.output), request.expected);
        rig.DisconnectOutput();
    }
}

TEST_P(Connection, ARequestThatNothingMatchesFindsNoAcceptableTypes) {
    ASSERT_EQ(rig.ConnectInput(), S_OK);
    for (const MediaType& request : {Partial(MEDIATYPE_Audio, GUID_NULL, GUID_NULL),
                                     Partial(GUID_NULL, MEDIASUBTYPE_RGB565, GUID_NULL),
                                     Partial(GUID_NULL, GUID_NULL, FORMAT_WaveFormatEx)}) {
        EXPECT_EQ(rig.ConnectOutput(request), VFW_E_NO_ACCEPTABLE_TYPES);
        EXPECT_FALSE(PeerOf(rig.output));
    }
}

TEST_P(Connection, APeerThatRefusesEverythingLeavesNoAcceptableTypes) {
    ASSERT_EQ(rig.ConnectInput(), S_OK);
    rig.sink->in.accept = [](const MediaType&) { return S_FALSE; };
    EXPECT_EQ(rig.ConnectOutput(), VFW_E_NO_ACCEPTABLE_TYPES);
    EXPECT_EQ(rig.ConnectOutput(row().OutputType(0)), VFW_E_TYPE_NOT_ACCEPTED);
    EXPECT_FALSE(PeerOf(rig.output));
}

TEST_P(Connection, TheReceivingSidesOwnProposalsAreTriedFirst) {
    ASSERT_EQ(rig.ConnectInput(), S_OK);
    MediaType proposal = row().OutputType(row().outputs.size() - 1);
    proposal->lSampleSize = 4711;
    rig.sink->in.proposals = {Partial(MEDIATYPE_Audio, MEDIASUBTYPE_PCM, FORMAT_None), proposal};
    ASSERT_EQ(rig.ConnectOutput(), S_OK);
    EXPECT_EQ(FilterRig::ConnectionType(rig.output), proposal);
}

TEST_P(Connection, ConnectingAndDisconnectingNeedTheStoppedState) {
    ASSERT_EQ(rig.filter->Pause(), S_OK);
    EXPECT_EQ(rig.ConnectInput(), VFW_E_NOT_STOPPED);
    EXPECT_EQ(rig.ConnectOutput(), VFW_E_NOT_STOPPED);
    ASSERT_EQ(rig.filter->Stop(), S_OK);
    rig.Start();
    for (const auto& pin : {rig.input, rig.output}) {
        EXPECT_EQ(pin->Disconnect(), VFW_E_NOT_STOPPED);
        EXPECT_TRUE(PeerOf(pin));
    }
    ASSERT_EQ(rig.filter->Run(0), S_OK);
    EXPECT_EQ(rig.output->Disconnect(), VFW_E_NOT_STOPPED);
}

TEST_P(Connection, DisconnectingTwiceIsFalse) {
    EXPECT_EQ(rig.input->Disconnect(), S_FALSE);
    EXPECT_EQ(rig.output->Disconnect(), S_FALSE);
    rig.Connect();
    for (const auto& pin : {rig.output, rig.input}) {
        EXPECT_EQ(pin->Disconnect(), S_OK);
        EXPECT_EQ(pin->Disconnect(), S_FALSE);
    }
}

TEST_P(Connection, DisconnectingOneSideLeavesThePeerToItsOwner) {
    rig.Connect();
    ASSERT_EQ(rig.output->Disconnect(), S_OK);
    EXPECT_EQ(rig.sink->in.peer(), rig.output.get());
    ASSERT_EQ(rig.input->Disconnect(), S_OK);
    EXPECT_EQ(rig.source->out.peer(), rig.input.get());
}

TEST_P(Connection, TheOutputIsBrokenWhenTheInputIs) {
    rig.Connect();
    ASSERT_EQ(rig.input->Disconnect(), S_OK);
    EXPECT_FALSE(PeerOf(rig.output));
    EXPECT_TRUE(OfferedTypes(rig.output).empty());
}

TEST_P(Connection, APinCanBeConnectedAgainAsAnotherType) {
    rig.Connect(0, Block::kVideoInfo2);
    rig.DisconnectOutput();
    const std::size_t last = row().outputs.size() - 1;
    ASSERT_EQ(rig.ConnectOutput(row().OutputType(last)), S_OK);
    ASSERT_EQ(rig.filter->Pause(), S_OK);
    EXPECT_EQ(rig.Push(), S_OK);
    EXPECT_EQ(rig.sink->in.sampleCount(), 1u);
}

TEST_P(Connection, AFailedAllocatorNegotiationLeavesNothingConnected) {
    ASSERT_EQ(rig.ConnectInput(), S_OK);
    rig.sink->in.notifyAllocatorResult = E_FAIL;
    EXPECT_EQ(rig.ConnectOutput(row().OutputType(0)), E_FAIL);
    EXPECT_FALSE(PeerOf(rig.output));
    EXPECT_EQ(rig.sink->in.peer(), nullptr) << "the peer was told";
}

}  // namespace
}  // namespace nyx::test

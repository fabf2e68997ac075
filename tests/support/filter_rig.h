#pragma once

#include "tests/support/catalogue_under_test.h"
#include "tests/support/com_ptr.h"
#include "tests/support/test_graph.h"
#include "tests/support/test_sink.h"
#include "tests/support/test_source.h"

namespace nyx::test {

/// One filter of the module between a source and a sink of the suite's own, in a stand-in graph.
/// Everything is public: tests do to the parts what a host may do. Made unconnected and stopped;
/// stops and disconnects what is left when it goes.
struct FilterRig {
    static constexpr const wchar_t* kNameInGraph = L"under test";

    explicit FilterRig(const FilterUnderTest& filterRow)
        : FilterRig(filterRow, filterRow.picture) {}
    FilterRig(const FilterUnderTest& filterRow, const Picture& inputPicture);
    FilterRig(const FilterRig&) = delete;
    FilterRig& operator=(const FilterRig&) = delete;
    ~FilterRig();

    const FilterUnderTest& row;
    Picture picture;
    ComPtr<TestGraph> graph;
    ComPtr<IBaseFilter> filter;
    ComPtr<IPin> input;
    ComPtr<IPin> output;
    ComPtr<IMemInputPin> transport;
    ComPtr<TestSource> source;
    ComPtr<TestSink> sink;

    HRESULT ConnectInput() { return ConnectInput(row.InputType(picture)); }
    HRESULT ConnectInput(const MediaType& type);
    /// Lets the filter choose among its own types.
    HRESULT ConnectOutput();
    HRESULT ConnectOutput(const MediaType& type);

    /// Both sides; the output as position `output` of the row's list in the given form.
    void Connect(std::size_t outputPosition = 0, Block block = Block::kVideoInfo2);
    /// Takes the connections apart on either end; the filter must be stopped.
    void DisconnectOutput();
    void Disconnect();
    /// Connect, then pause: samples flow from here on.
    void Start(std::size_t outputPosition = 0, Block block = Block::kVideoInfo2);

    /// A well-formed sample of the rig's picture, a sync point without times.
    SampleProperties Frame() const;
    HRESULT Push() { return source->Push(Frame()); }

    /// The type of the connection as the filter's pin reports it, empty when there is none.
    static MediaType ConnectionType(const ComPtr<IPin>& pin);
};

/// The peer of a pin, null when it is not connected.
ComPtr<IPin> PeerOf(const ComPtr<IPin>& pin);

/// The types that a pin enumerates, in order.
std::vector<MediaType> OfferedTypes(const ComPtr<IPin>& pin);

}  // namespace nyx::test

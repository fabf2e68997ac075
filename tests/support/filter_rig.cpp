#include "tests/support/filter_rig.h"

#include <gtest/gtest.h>

#include <stdexcept>

#include "tests/support/loaded_module.h"

namespace nyx::test {

FilterRig::FilterRig(const FilterUnderTest& filterRow, const Picture& inputPicture)
    : row(filterRow),
      picture(inputPicture),
      graph(MakeCom<TestGraph>()),
      filter(Module().CreateFilter(filterRow.clsid)),
      source(MakeCom<TestSource>()),
      sink(MakeCom<TestSink>()) {
    if (!filter || filter->FindPin(L"In", input.Put()) != S_OK ||
        filter->FindPin(L"Out", output.Put()) != S_OK) {
        throw std::runtime_error(std::string("cannot make ") + row.name);
    }
    transport = input.As<IMemInputPin>();
    filter->JoinFilterGraph(graph.get(), kNameInGraph);
}

FilterRig::~FilterRig() {
    filter->Stop();
    Disconnect();
    filter->JoinFilterGraph(nullptr, nullptr);
}

HRESULT FilterRig::ConnectInput(const MediaType& type) {
    return source->out.Connect(input.get(), type.get());
}

HRESULT FilterRig::ConnectOutput() {
    return output->Connect(sink->pin(), nullptr);
}

HRESULT FilterRig::ConnectOutput(const MediaType& type) {
    return output->Connect(sink->pin(), type.get());
}

void FilterRig::Connect(std::size_t outputPosition, Block block) {
    ASSERT_EQ(ConnectInput(), S_OK);
    Picture outputPicture = picture;
    outputPicture.block = block;
    ASSERT_EQ(ConnectOutput(row.OutputType(outputPosition, outputPicture)), S_OK);
}

void FilterRig::DisconnectOutput() {
    output->Disconnect();
    sink->in.Disconnect();
}

void FilterRig::Disconnect() {
    DisconnectOutput();
    input->Disconnect();
    source->out.Disconnect();
}

void FilterRig::Start(std::size_t outputPosition, Block block) {
    Connect(outputPosition, block);
    ASSERT_EQ(filter->Pause(), S_OK);
}

SampleProperties FilterRig::Frame() const {
    SampleProperties sample;
    sample.bytes = row.sample(picture);
    return sample;
}

MediaType FilterRig::ConnectionType(const ComPtr<IPin>& pin) {
    MediaType type;
    pin->ConnectionMediaType(type.Put());
    return type;
}

ComPtr<IPin> PeerOf(const ComPtr<IPin>& pin) {
    ComPtr<IPin> peer;
    pin->ConnectedTo(peer.Put());
    return peer;
}

std::vector<MediaType> OfferedTypes(const ComPtr<IPin>& pin) {
    std::vector<MediaType> types;
    ComPtr<IEnumMediaTypes> enumerator;
    if (pin->EnumMediaTypes(enumerator.Put()) != S_OK) {
        return types;
    }
    AM_MEDIA_TYPE* type = nullptr;
    while (enumerator->Next(1, &type, nullptr) == S_OK) {
        types.emplace_back(*type);
        DeleteType(type);
    }
    return types;
}

}  // namespace nyx::test

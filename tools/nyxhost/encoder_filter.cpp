#include "encoder_filter.h"

#include "engine_text.h"
#include "graph_tools.h"
#include "text.h"

namespace nyx::host {
namespace {

constexpr char kEncoderName[] = "Rokka Zeta Encoder";

}  // namespace

EncoderFilter FindEncoder() {
    const auto devices =
        CreateObject<ICreateDevEnum>(CLSID_SystemDeviceEnum, "no device enumerator");
    ComPtr<IEnumMoniker> monikers;
    ComPtr<IMoniker> moniker;
    // S_FALSE, with no enumerator, tells of an empty category.
    const HRESULT listed =
        devices->CreateClassEnumerator(CLSID_VideoCompressorCategory, monikers.GetAddressOf(), 0);
    while (listed == S_OK && monikers->Next(1, moniker.ReleaseAndGetAddressOf(), nullptr) == S_OK) {
        EncoderFilter encoder;
        encoder.name = FriendlyName(moniker.Get());
        if (encoder.name != kEncoderName) {
            continue;
        }
        const HRESULT created =
            moniker->BindToObject(nullptr, nullptr, IID_IBaseFilter,
                                  reinterpret_cast<void**>(encoder.filter.GetAddressOf()));
        if (FAILED(created)) {
            throw Failure(ExitCode::kNoEngine, encoder.name + " cannot be created: " +
                                                   CreationText(encoder.name, created));
        }
        encoder.parameters = Query<IEncodeParmeter_QZTA>(
            encoder.filter, "the encoder lacks its parameters", IID_IEncodeParmeter_QZTA);
        return encoder;
    }
    throw Failure(ExitCode::kNoDecoder, std::string("no video compressor \"") + kEncoderName +
                                            "\" is registered; register the module with regsvr32");
}

std::string DescribeParameters(const EncodeParameterBlock& block) {
    return Format("preset %ld: quantiser %ld, at most %ld %% of a 4:2:2 picture", block.preset,
                  block.quant_scale, block.max_stream_size);
}

EncodeParameterBlock LiveParameters(const EncoderFilter& encoder) {
    EncodeParameterBlock block{};
    Check(encoder.parameters->GetParameter(&block, FALSE), "the encoder does not tell its quality");
    return block;
}

}  // namespace nyx::host

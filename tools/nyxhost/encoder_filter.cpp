#include "encoder_filter.h"

#include "engine_text.h"
#include "graph_tools.h"
#include "text.h"

namespace nyx::host {
namespace {

constexpr char kEncoderName[] = "Rokka Zeta Encoder";

}  // namespace

EncoderFilter FindEncoder() {
    for (const ComPtr<IMoniker>& moniker : FiltersOf(CLSID_VideoCompressorCategory)) {
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
            encoder.filter, "the encoder lacks IEncodeParmeter_QZTA", IID_IEncodeParmeter_QZTA);
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
    Check(encoder.parameters->GetParameter(&block, FALSE), "cannot query the encoder's parameters");
    return block;
}

}  // namespace nyx::host

#include "encoder_filter.h"

#include "module_registry.h"
#include "text.h"

namespace nyx::host {
namespace {

constexpr char kEncoderName[] = "Rokka Zeta Encoder";

}  // namespace

EncoderFilter FindEncoder() {
    for (const ListedFilter& listed : FiltersIn(CLSID_VideoCompressorCategory)) {
        if (listed.name == kEncoderName) {
            const ComPtr<IBaseFilter> filter = CreateFilter(listed);
            return {.filter = filter,
                    .parameters = Query<IEncodeParmeter_QZTA>(
                        filter, "the encoder lacks IEncodeParmeter_QZTA", IID_IEncodeParmeter_QZTA),
                    .name = listed.name};
        }
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

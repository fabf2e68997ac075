#pragma once

#include <dshow.h>

#include <string>

#include "com.h"
#include "filters/encode_parameter.h"

namespace nyx::host {

/// The registered Zeta encoder, from the system's list of video compressors.
struct EncoderFilter {
    ComPtr<IBaseFilter> filter;
    ComPtr<IEncodeParmeter_QZTA> parameters;  ///< of the same object
    std::string name;
};

/// Finds the encoder in the video compressor category by its friendly name. Failure kNoDecoder when
/// it is missing, kNoEngine when it cannot be created.
EncoderFilter FindEncoder();

/// "preset 2: quantiser 5, at most 30 % of a 4:2:2 picture".
std::string DescribeParameters(const EncodeParameterBlock& block);

/// The live parameters. Failure kPlatform.
EncodeParameterBlock LiveParameters(const EncoderFilter& encoder);

}  // namespace nyx::host

// Which engines each codec needs before it says it can work.

#include <gtest/gtest.h>

#include "tests/codecs/engine_codec_support.h"

namespace nyx {
namespace {

TEST(Availability, IsEveryEntryOfTheCodecsEngines) {
    for (const wchar_t* folder : {L"", L"none", L"old", L"no_decode"}) {
        const bool available = folder[0] == L'\0';
        const test::EngineSearch search(folder);
        test::EngineCodecs codecs;
        for (LONG mode : {kEngineForEncoding, kEngineForDecoding}) {
            EXPECT_EQ(CZetaCodec::IsEngineAvailable(mode), available);
            EXPECT_EQ(CZeta2Codec::IsEngineAvailable(mode), available);
            EXPECT_EQ(CLosslessCodec::IsEngineAvailable(mode), available);
        }
        EXPECT_EQ(CMpegIntraCodec::IsEngineAvailable(kEngineForDecoding), available);
        EXPECT_FALSE(CMpegIntraCodec::IsEngineAvailable(kEngineForEncoding));
        EXPECT_FALSE(CMpegIntraCodec::IsEngineAvailable(2));
    }
}

TEST(Availability, EndsWithTheLastObject) {
    const test::EngineSearch search;
    { CLosslessCodec codec; }
    EXPECT_FALSE(CLosslessCodec::IsEngineAvailable(kEngineForDecoding));
    EXPECT_FALSE(test::IsLoaded(L"rkllc.dll"));
}

}  // namespace
}  // namespace nyx

// Which engines each codec needs before it says it can work.

#include <gtest/gtest.h>

#include "codecs/lossless_codec.h"
#include "codecs/mpeg_intra_codec.h"
#include "codecs/zeta2_codec.h"
#include "codecs/zeta_codec.h"
#include "tests/codecs/standin_engines.h"

namespace nyx {
namespace {

TEST(Availability, IsEveryEntryOfTheCodecsEngines) {
    struct Case {
        const wchar_t* folder;
        bool zeta;
        bool zeta2;
        bool lossless;
        bool mpeg;
    };
    const Case cases[] = {
        {L"", true, true, true, true},
        {L"none", false, false, false, false},
        {L"old", false, false, false, false},
        {L"no_decode", false, false, false, false},
    };
    for (const Case& c : cases) {
        const test::EngineSearch search(c.folder);
        CZetaCodec zeta;
        CZeta2Codec zeta2;
        CLosslessCodec lossless;
        CMpegIntraCodec mpeg;
        for (LONG mode : {kEngineForEncoding, kEngineForDecoding}) {
            EXPECT_EQ(CZetaCodec::IsEngineAvailable(mode), c.zeta);
            EXPECT_EQ(CZeta2Codec::IsEngineAvailable(mode), c.zeta2);
            EXPECT_EQ(CLosslessCodec::IsEngineAvailable(mode), c.lossless);
        }
        EXPECT_EQ(CMpegIntraCodec::IsEngineAvailable(kEngineForDecoding), c.mpeg);
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

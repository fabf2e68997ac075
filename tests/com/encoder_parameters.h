#pragma once

#include <array>

#include "filters/encode_parameter.h"
#include "tests/support/rig.h"
#include "tests/support/settings.h"

__CRT_UUID_DECL(IEncodeParmeter_QZTA, 0x26890151, 0x8A34, 0x4C58, 0xBB, 0xBC, 0x40, 0x99, 0x3F,
                0x38, 0x16, 0x9A)

namespace nyx::test {

/// The encoder's colour space, quantiser, size and preset.
using Words = std::array<LONG, 4>;

/// A test of the encoder's parameters; the user has stored none.
class ParametersTest : public ComTest {
  protected:
    static ComPtr<IEncodeParmeter_QZTA> NewEncoder() {
        return Module().Create<IEncodeParmeter_QZTA>(Row("ZetaEncoder").clsid);
    }
    static Words Read(const ComPtr<IEncodeParmeter_QZTA>& encoder, BOOL fromRegistry = FALSE) {
        EncodeParameterBlock b = {-1, -1, -1, -1};
        EXPECT_EQ(encoder->GetParameter(&b, fromRegistry), S_OK);
        return {b.color_space, b.quant_scale, b.max_stream_size, b.preset};
    }
    void Store(const wchar_t* name, LONG value) { user_.Store(kKey, name, value); }
    LONG Stored(const wchar_t* name) { return user_.Stored(kKey, name).value_or(-1); }

  private:
    static constexpr wchar_t kKey[] = L"Software\\Veltro\\Codec\\QZTA";
    PrivateUserRegistry user_;
};

}  // namespace nyx::test

#pragma once

/// @file
/// The encoder's property page, shown for an encoder in a frame of the suite's own.

#include "filters/zeta_property_page_resources.h"
#include "tests/com/zeta_encoder_fixture.h"
#include "tests/support/page_host.h"

namespace nyx::test {

class ZetaPageTest : public ZetaEncoderTest {
  protected:
    // Windows bring system parts that keep task memory of their own.
    ZetaPageTest() { TaskMemoryIsTheSystems(); }

    static ComPtr<IPropertyPage> NewPage() {
        const CLSID clsid = {
            0x55B150FB, 0x86E8, 0x4B96, {0x98, 0x49, 0x73, 0xB7, 0x6D, 0x26, 0x0D, 0x2A}};
        ComPtr<IPropertyPage> page;
        Module().CreateInstance(clsid, nullptr, IID_IPropertyPage, page.PutVoid());
        return page;
    }

    static EncodeParameterBlock Live(const ComPtr<IEncodeParmeter_QZTA>& encoder) {
        EncodeParameterBlock block{};
        EXPECT_EQ(encoder->GetParameter(&block, FALSE), S_OK);
        return block;
    }
};

/// The radio buttons in the order of their presets.
constexpr int kPresetButtons[] = {IDC_PRESET_SUPERFINE, IDC_PRESET_FINE, IDC_PRESET_STANDARD,
                                  IDC_PRESET_OFFLINE, IDC_PRESET_CUSTOM};

}  // namespace nyx::test

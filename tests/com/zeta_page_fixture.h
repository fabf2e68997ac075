#pragma once

/// @file
/// The encoder's property page, shown for an encoder in a frame of the suite's own.

#include "filters/zeta_property_page_resources.h"
#include "tests/com/zeta_encoder_fixture.h"
#include "tests/support/module_classes.h"
#include "tests/support/page_host.h"

namespace nyx::test {

class ZetaPageTest : public ZetaEncoderTest {
  protected:
    // Windows bring system parts that keep task memory of their own.
    ZetaPageTest() { TaskMemoryIsTheSystems(); }

    /// The page closes the catalogue.
    static ComPtr<IPropertyPage> NewPage() {
        ComPtr<IPropertyPage> page;
        Module().CreateInstance(ModuleClasses().back().clsid, nullptr, IID_IPropertyPage,
                                page.PutVoid());
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

#pragma once

#include "baseclasses/streams.h"
#include "filters/encode_parameter.h"
#include "platform/com.h"

namespace nyx {

/// The Zeta encoder's property page: five presets and, for the custom one, two sliders with number
/// boxes. Runs on the property frame's thread. Applies and saves through IEncodeParmeter_QZTA, and
/// shows the stored settings while no encoder is connected. All numbers pass through the boxes,
/// which clamp them to the custom ranges: the page shows and applies preset 0, whose quantiser is
/// 3, with 4; an encoder that is created with the stored preset uses 3.
class CZetaProp : public CBasePropertyPage {
  public:
    CZetaProp(const wchar_t* name, IUnknown* outer);

    [[nodiscard]] HRESULT OnConnect(IUnknown* object) override;
    [[nodiscard]] HRESULT OnActivate() override;
    [[nodiscard]] HRESULT OnApplyChanges() override;
    INT_PTR OnReceiveMessage(HWND window, UINT message, WPARAM wParam, LPARAM lParam) override;

  private:
    bool OnCommand(int control);
    void OnPresetClick();
    bool OnSliderMoved(HWND slider);
    LONG CheckedPreset();
    void EnableCustomControls(bool custom);
    void SetSliders(LONG quantScale, LONG maxStreamSize);
    void WriteNumber(int box, LONG value);
    LONG ReadNumber(int box);
    void SetDirty(bool dirty, DWORD status);

    ComPtr<IUnknown> object_;
    EncodeParameterBlock block_;
    LONG chosen_;  ///< the checked preset, kept after the window closes until it is applied
};

}  // namespace nyx

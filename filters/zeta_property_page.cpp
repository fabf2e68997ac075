#include "filters/zeta_property_page.h"

#include <commctrl.h>

#include <cwchar>
#include <iterator>

#include "filters/zeta_property_page_resources.h"
#include "platform/fourcc.h"
#include "settings/quality_presets.h"

namespace nyx {
namespace {

/// The radio buttons in the order of their presets.
constexpr int kPresetButtons[] = {IDC_PRESET_SUPERFINE, IDC_PRESET_FINE, IDC_PRESET_STANDARD,
                                  IDC_PRESET_OFFLINE, IDC_PRESET_CUSTOM};

constexpr int kCustomControls[] = {IDC_QUANT_SLIDER, IDC_SIZE_SLIDER, IDC_QUANT_BOX, IDC_SIZE_BOX};

/// The encoder's parameter interface, or null.
ComPtr<IEncodeParmeter_QZTA> EncoderOf(const ComPtr<IUnknown>& object) {
    return As<IEncodeParmeter_QZTA>(object, IID_IEncodeParmeter_QZTA);
}

}  // namespace

CZetaProp::CZetaProp(const wchar_t* name, IUnknown* outer)
    : CBasePropertyPage(name, outer, IDD_ZETA_PROPERTIES, IDS_ZETA_PROPERTIES_TITLE),
      block_(ReadEncoderParameters(FourCC("QZTA"))),
      chosen_(block_.preset) {
    const INITCOMMONCONTROLSEX sliders = {sizeof(sliders), ICC_BAR_CLASSES};
    InitCommonControlsEx(&sliders);
}

HRESULT CZetaProp::OnConnect(IUnknown* object) {
    object_ = object;
    if (const auto encoder = EncoderOf(object_)) {
        encoder->GetParameter(&block_, FALSE);
        chosen_ = block_.preset;
    }
    return S_OK;
}

HRESULT CZetaProp::OnActivate() {
    for (int preset = 0; preset < static_cast<int>(std::size(kPresetButtons)); ++preset) {
        CheckDlgButton(m_Dlg, kPresetButtons[preset],
                       preset == chosen_ ? BST_CHECKED : BST_UNCHECKED);
    }
    EnableCustomControls(chosen_ == kCustomPreset);
    SendDlgItemMessageW(m_Dlg, IDC_QUANT_SLIDER, TBM_SETRANGE, TRUE,
                        MAKELPARAM(kQuantScaleRange.low, kQuantScaleRange.high));
    SendDlgItemMessageW(m_Dlg, IDC_SIZE_SLIDER, TBM_SETRANGE, TRUE,
                        MAKELPARAM(kMaxStreamSizeRange.low, kMaxStreamSizeRange.high));
    SetSliders(block_.quant_scale, block_.max_stream_size);
    WriteNumber(IDC_QUANT_BOX, block_.quant_scale);
    // The first box's notification may have clamped both numbers to their ranges.
    WriteNumber(IDC_SIZE_BOX, block_.max_stream_size);
    return S_OK;
}

HRESULT CZetaProp::OnApplyChanges() {
    if (m_Dlg) {
        chosen_ = CheckedPreset();
    }
    block_.preset = chosen_;
    if (const auto encoder = EncoderOf(object_)) {
        encoder->SetParameter(&block_, TRUE);
    }
    return S_OK;
}

INT_PTR CZetaProp::OnReceiveMessage(HWND window, UINT message, WPARAM wParam, LPARAM lParam) {
    if (message == WM_COMMAND && OnCommand(LOWORD(wParam))) {
        return TRUE;
    }
    if (message == WM_HSCROLL && OnSliderMoved(reinterpret_cast<HWND>(lParam))) {
        return TRUE;
    }
    return CBasePropertyPage::OnReceiveMessage(window, message, wParam, lParam);
}

/// Handles any notification of a control. True when it changed one of the numbers, directly or
/// through the number boxes that a preset wrote.
bool CZetaProp::OnCommand(int control) {
    const LONG quantBefore = block_.quant_scale;
    const LONG sizeBefore = block_.max_stream_size;
    if (control >= IDC_PRESET_OFFLINE && control <= IDC_PRESET_FINE) {
        OnPresetClick();
    } else if (control == IDC_QUANT_BOX) {
        block_.quant_scale = kQuantScaleRange.Clamp(ReadNumber(IDC_QUANT_BOX));
    } else if (control == IDC_SIZE_BOX) {
        block_.max_stream_size = kMaxStreamSizeRange.Clamp(ReadNumber(IDC_SIZE_BOX));
    } else {
        return false;
    }
    if (block_.quant_scale == quantBefore && block_.max_stream_size == sizeBefore) {
        return false;
    }
    WriteNumber(IDC_SIZE_BOX, block_.max_stream_size);
    WriteNumber(IDC_QUANT_BOX, block_.quant_scale);
    SetSliders(block_.quant_scale, block_.max_stream_size);
    SetDirty(true, PROPPAGESTATUS_DIRTY);
    return true;
}

void CZetaProp::OnPresetClick() {
    const LONG preset = CheckedPreset();
    chosen_ = preset;
    const bool custom = preset == kCustomPreset;
    const QualityPreset pair =
        custom ? QualityPreset{ReadNumber(IDC_QUANT_BOX), ReadNumber(IDC_SIZE_BOX)}
               : kQualityPresets[preset];
    EnableCustomControls(custom);
    // The boxes' notifications copy the numbers into the block.
    WriteNumber(IDC_QUANT_BOX, pair.quant_scale);
    WriteNumber(IDC_SIZE_BOX, pair.max_stream_size);
    SetSliders(pair.quant_scale, pair.max_stream_size);
    const bool presetChanged = preset != block_.preset;
    if (presetChanged || pair.quant_scale != block_.quant_scale ||
        pair.max_stream_size != block_.max_stream_size) {
        SetDirty(presetChanged, presetChanged ? PROPPAGESTATUS_DIRTY : PROPPAGESTATUS_VALIDATE);
    }
}

bool CZetaProp::OnSliderMoved(HWND slider) {
    const int control = GetDlgCtrlID(slider);
    const auto position = static_cast<LONG>(SendMessageW(slider, TBM_GETPOS, 0, 0));
    if (control == IDC_QUANT_SLIDER) {
        block_.quant_scale = position;
        WriteNumber(IDC_QUANT_BOX, position);
    } else if (control == IDC_SIZE_SLIDER) {
        block_.max_stream_size = position;
        WriteNumber(IDC_SIZE_BOX, position);
    } else {
        return false;
    }
    SetDirty(true, PROPPAGESTATUS_DIRTY);
    return true;
}

/// The preset of the checked button; custom when none is.
LONG CZetaProp::CheckedPreset() {
    for (LONG preset = 0; preset < kCustomPreset; ++preset) {
        if (IsDlgButtonChecked(m_Dlg, kPresetButtons[preset]) == BST_CHECKED) {
            return preset;
        }
    }
    return kCustomPreset;
}

void CZetaProp::EnableCustomControls(bool custom) {
    for (const int control : kCustomControls) {
        EnableWindow(GetDlgItem(m_Dlg, control), custom);
    }
}

void CZetaProp::SetSliders(LONG quantScale, LONG maxStreamSize) {
    SendDlgItemMessageW(m_Dlg, IDC_QUANT_SLIDER, TBM_SETPOS, TRUE, quantScale);
    SendDlgItemMessageW(m_Dlg, IDC_SIZE_SLIDER, TBM_SETPOS, TRUE, maxStreamSize);
}

void CZetaProp::WriteNumber(int box, LONG value) {
    wchar_t text[12];
    std::swprintf(text, std::size(text), L"%ld", value);
    SetDlgItemTextW(m_Dlg, box, text);
    // The caret goes behind the last of at most three digits.
    SendDlgItemMessageW(m_Dlg, box, EM_SETSEL, 3, 3);
}

/// The decimal number in a box, 0 for anything else.
LONG CZetaProp::ReadNumber(int box) {
    wchar_t text[256] = {};
    GetDlgItemTextW(m_Dlg, box, text, static_cast<int>(std::size(text)));
    return std::wcstol(text, nullptr, 10);
}

void CZetaProp::SetDirty(bool dirty, DWORD status) {
    m_bDirty = dirty;
    chosen_ = CheckedPreset();
    if (m_pPageSite) {
        m_pPageSite->OnStatusChange(status);
    }
}

}  // namespace nyx

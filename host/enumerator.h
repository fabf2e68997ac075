#pragma once

#include <algorithm>
#include <vector>

#include "host/media_type.h"

namespace nyx::host {

/// An item of a list as an enumerator gives it to its caller.
inline IPin* ForCaller(ComPtr<IPin> pin) {
    return pin.Detach();
}
inline AM_MEDIA_TYPE* ForCaller(MediaType type) {
    return type.Release();
}

/// Enumerates a list: IEnumPins over pins, IEnumMediaTypes over media types.
template <class Interface, class Item, class Given>
class Enumerator final : public Object<Interface> {
  public:
    explicit Enumerator(const std::vector<Item>& items, std::size_t at = 0)
        : items_(items), at_(at) {}

    /// A new one for the caller of an interface. E_POINTER, E_OUTOFMEMORY.
    [[nodiscard]] static HRESULT HandOut(const std::vector<Item>& items, Interface** out,
                                         std::size_t at = 0) {
        return out ? Guarded([&] { return *out = new Enumerator(items, at), S_OK; }) : E_POINTER;
    }

    STDMETHODIMP Next(ULONG count, Given** out, ULONG* fetched) override {
        if (!out || (!fetched && count != 1)) {
            return E_POINTER;
        }
        ULONG given = 0;
        const HRESULT result = Guarded([&] {
            for (; given < count && at_ < items_.size(); ++given, ++at_) {
                out[given] = ForCaller(items_[at_]);
            }
            return given == count ? S_OK : S_FALSE;
        });
        if (fetched) {
            *fetched = given;
        }
        return result;
    }
    STDMETHODIMP Skip(ULONG count) override {
        const std::size_t step = std::min<std::size_t>(count, items_.size() - at_);
        at_ += step;
        return step == count ? S_OK : S_FALSE;
    }
    STDMETHODIMP Reset() override { return at_ = 0, S_OK; }
    STDMETHODIMP Clone(Interface** clone) override { return HandOut(items_, clone, at_); }

  private:
    const std::vector<Item> items_;
    std::size_t at_;
};

using PinEnumerator = Enumerator<IEnumPins, ComPtr<IPin>, IPin>;
using TypeEnumerator = Enumerator<IEnumMediaTypes, MediaType, AM_MEDIA_TYPE>;

}  // namespace nyx::host

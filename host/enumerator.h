#pragma once

#include <algorithm>
#include <vector>

#include "host/media_type.h"

namespace nyx::host {

/// Hands a copy of an item to an enumerator's caller.
inline void HandOver(ComPtr<IPin> pin, IPin** out) {
    *out = pin.Detach();
}
inline void HandOver(MediaType type, AM_MEDIA_TYPE** out) {
    type.DetachTo(out);
}

/// Enumerates a list: IEnumPins over pins, IEnumMediaTypes over media types.
template <class Interface, class Item, class Output>
class Enumerator final : public Object<Interface> {
  public:
    explicit Enumerator(const std::vector<Item>& items, std::size_t at = 0)
        : items_(items), at_(at) {}

    /// Creates an enumerator of `items` that starts with number `at`. E_POINTER, E_OUTOFMEMORY.
    [[nodiscard]] static HRESULT Create(const std::vector<Item>& items, Interface** out,
                                        std::size_t at = 0) {
        if (!out) {
            return E_POINTER;
        }
        return Guarded([&] {
            *out = new Enumerator(items, at);
            return S_OK;
        });
    }

    STDMETHODIMP Next(ULONG count, Output** out, ULONG* fetched) override {
        if (!out || (!fetched && count != 1)) {
            return E_POINTER;
        }
        ULONG written = 0;
        const HRESULT result = Guarded([&] {
            for (; written < count && at_ < items_.size(); ++written, ++at_) {
                HandOver(items_[at_], &out[written]);
            }
            return written == count ? S_OK : S_FALSE;
        });
        if (fetched) {
            *fetched = written;
        }
        return result;
    }
    STDMETHODIMP Skip(ULONG count) override {
        const std::size_t step = std::min<std::size_t>(count, items_.size() - at_);
        at_ += step;
        return step == count ? S_OK : S_FALSE;
    }
    STDMETHODIMP Reset() override {
        at_ = 0;
        return S_OK;
    }
    STDMETHODIMP Clone(Interface** clone) override { return Create(items_, clone, at_); }

  private:
    const std::vector<Item> items_;
    std::size_t at_;
};

using PinEnumerator = Enumerator<IEnumPins, ComPtr<IPin>, IPin>;
using TypeEnumerator = Enumerator<IEnumMediaTypes, MediaType, AM_MEDIA_TYPE>;

}  // namespace nyx::host

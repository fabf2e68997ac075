#pragma once

#include <algorithm>
#include <cstddef>
#include <vector>

#include "tests/support/com_ptr.h"
#include "tests/support/media_type.h"
#include "tests/support/test_object.h"

namespace nyx::test {

/// IEnumPins or IEnumMediaTypes over a list; `Hand` turns a list element into what Next gives out.
template <class Interface, class Element, class Item, Item* (*Hand)(const Element&)>
class ListEnumerator : public TestObject<Interface> {
  public:
    explicit ListEnumerator(std::vector<Element> list, std::size_t position = 0)
        : list_(std::move(list)), position_(position) {}

    HRESULT STDMETHODCALLTYPE Next(ULONG count, Item** items, ULONG* fetched) override {
        ULONG given = 0;
        for (; given < count && position_ < list_.size(); ++given) {
            items[given] = Hand(list_[position_++]);
        }
        if (fetched) {
            *fetched = given;
        }
        return given == count ? S_OK : S_FALSE;
    }
    HRESULT STDMETHODCALLTYPE Skip(ULONG count) override {
        const std::size_t left = list_.size() - position_;
        position_ += std::min<std::size_t>(left, count);
        return count <= left ? S_OK : S_FALSE;
    }
    HRESULT STDMETHODCALLTYPE Reset() override {
        position_ = 0;
        return S_OK;
    }
    HRESULT STDMETHODCALLTYPE Clone(Interface** clone) override {
        *clone = new ListEnumerator(list_, position_);
        return S_OK;
    }

  private:
    std::vector<Element> list_;
    std::size_t position_;
};

inline IPin* HandPin(const ComPtr<IPin>& pin) {
    pin->AddRef();
    return pin.get();
}
inline AM_MEDIA_TYPE* HandType(const MediaType& type) {
    return NewType(*type.get());
}

using PinEnumerator = ListEnumerator<IEnumPins, ComPtr<IPin>, IPin, HandPin>;
using TypeEnumerator = ListEnumerator<IEnumMediaTypes, MediaType, AM_MEDIA_TYPE, HandType>;

}  // namespace nyx::test

#pragma once

#include <new>

#include "baseclasses/combase.h"
#include "platform/com.h"

class CBaseFilter;
class CBasePin;

/// A filter's pins, for CEnumerator.
struct CFilterPins {
    using Owner = CBaseFilter;
    using Interface = IEnumPins;
    using Item = IPin;

    /// Changes with the set of items.
    static LONG Version(Owner& filter);
    /// Item `position`, which the caller releases or frees. Null past the last or without memory.
    static IPin* Get(Owner& filter, int position);
    /// Advances `position`. False, and it stays, when fewer than `count` pins are left.
    static bool Skip(Owner& filter, ULONG count, int& position);
};

/// A pin's preferred media types. They count as unchanged: each is asked for when it is due.
struct CPinTypes {
    using Owner = CBasePin;
    using Interface = IEnumMediaTypes;
    using Item = AM_MEDIA_TYPE;

    static LONG Version(Owner&) { return 0; }
    static AM_MEDIA_TYPE* Get(Owner& pin, int position);
    /// Advances `position`, past the last type too. False when fewer than `count` types are left.
    static bool Skip(Owner& pin, ULONG count, int& position);
};

/// Enumerates items of an object and keeps that object alive. When the items have changed, Next
/// starts over; Skip and Clone return `VFW_E_ENUM_OUT_OF_SYNC` until Next or Reset.
template <class Items>
class CEnumerator final : public CSimpleUnknown<typename Items::Interface> {
    using Interface = typename Items::Interface;
    using Item = typename Items::Item;
    using Owner = typename Items::Owner;

  public:
    /// Starts at the first item, with one reference.
    explicit CEnumerator(Owner* owner) : m_pOwner(owner), m_Version(Items::Version(*owner)) {}

    HRESULT STDMETHODCALLTYPE Next(ULONG count, Item** items, ULONG* fetched) override {
        CheckPointer(items, E_POINTER);
        if (!fetched && count > 1) {
            return E_INVALIDARG;
        }
        if (IsOutOfSync()) {
            Reset();
        }
        ULONG written = 0;
        for (; written < count; ++written, ++m_Position) {
            Item* const item = Items::Get(*m_pOwner.Get(), m_Position);
            if (!item) {
                break;
            }
            items[written] = item;
        }
        if (fetched) {
            *fetched = written;
        }
        return written == count ? S_OK : S_FALSE;
    }
    HRESULT STDMETHODCALLTYPE Skip(ULONG count) override {
        if (IsOutOfSync()) {
            return VFW_E_ENUM_OUT_OF_SYNC;
        }
        return Items::Skip(*m_pOwner.Get(), count, m_Position) ? S_OK : S_FALSE;
    }
    HRESULT STDMETHODCALLTYPE Reset() override {
        m_Version = Items::Version(*m_pOwner.Get());
        m_Position = 0;
        return S_OK;
    }
    HRESULT STDMETHODCALLTYPE Clone(Interface** clone) override {
        CheckPointer(clone, E_POINTER);
        *clone = nullptr;
        if (IsOutOfSync()) {
            return VFW_E_ENUM_OUT_OF_SYNC;
        }
        *clone = new (std::nothrow) CEnumerator(*this);
        return *clone ? S_OK : E_OUTOFMEMORY;
    }

  private:
    bool IsOutOfSync() const { return Items::Version(*m_pOwner.Get()) != m_Version; }

    const nyx::ComPtr<Owner> m_pOwner;
    LONG m_Version;
    int m_Position = 0;
};

using CEnumPins = CEnumerator<CFilterPins>;
using CEnumMediaTypes = CEnumerator<CPinTypes>;

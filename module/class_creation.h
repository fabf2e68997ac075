#pragma once

#include <new>

#include "baseclasses/streams.h"
#include "codecs/codec.h"
#include "module/catalogue.h"

namespace nyx {

/// The creation function of a filter class, for the class factory. Construction binds the engine;
/// without an engine the new object is destroyed. Null with `E_OUTOFMEMORY` both for a failed
/// allocation and for a missing engine.
template <class Filter, const ClassIdentity& identity, EngineMode mode>
CUnknown* WINAPI CreateFilter(IUnknown* outer, HRESULT* result) {
    Filter* filter = new (std::nothrow) Filter(identity.objectName, outer, identity.clsid);
    if (filter && Filter::IsEngineAvailable(mode)) {
        return filter;
    }
    delete filter;
    *result = E_OUTOFMEMORY;
    return nullptr;
}

/// The creation function of a class without an engine. Null with `E_OUTOFMEMORY` without memory.
template <class Object, const ClassIdentity& identity>
CUnknown* WINAPI CreateObject(IUnknown* outer, HRESULT* result) {
    Object* object = new (std::nothrow) Object(identity.objectName, outer);
    if (!object) {
        *result = E_OUTOFMEMORY;
    }
    return object;
}

}  // namespace nyx

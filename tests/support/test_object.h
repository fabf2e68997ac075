#pragma once

#include <unknwn.h>

#include <atomic>

namespace nyx::test {

/// Counts the suite's own COM objects, so that a reference which the module under test keeps to one
/// of them shows as an object left over.
class CountedObject {
  public:
    static long Alive() { return alive_; }

  protected:
    CountedObject() { ++alive_; }
    CountedObject(const CountedObject&) = delete;
    CountedObject& operator=(const CountedObject&) = delete;
    ~CountedObject() { --alive_; }

  private:
    static inline std::atomic<long> alive_{0};
};

/// `self` as the interface `iid` when `I` or one of `More` is it, else null.
template <class I, class... More, class Self>
void* FindInterface(Self* self, REFIID iid) {
    if (iid == __uuidof(I)) {
        return static_cast<I*>(self);
    }
    if constexpr (sizeof...(More) > 0) {
        return FindInterface<More...>(self, iid);
    } else {
        return nullptr;
    }
}

/// IUnknown for a test object of the given interfaces, born with one reference. Thread-safe
/// counting.
template <class Primary, class... More>
class TestObject : public Primary, public More..., private CountedObject {
  public:
    HRESULT STDMETHODCALLTYPE QueryInterface(REFIID iid, void** object) override {
        if (!object) {
            return E_POINTER;
        }
        *object = iid == IID_IUnknown ? static_cast<Primary*>(this) : Find(iid);
        if (!*object) {
            return E_NOINTERFACE;
        }
        AddRef();
        return S_OK;
    }
    ULONG STDMETHODCALLTYPE AddRef() override { return ++references_; }
    ULONG STDMETHODCALLTYPE Release() override {
        const ULONG left = --references_;
        if (left == 0) {
            delete this;
        }
        return left;
    }

    /// References held at this moment.
    ULONG References() const { return references_; }

  protected:
    virtual ~TestObject() = default;

    /// The object as interface `iid`, without a new reference, or null.
    virtual void* Find(REFIID iid) { return FindInterface<Primary, More...>(this, iid); }

  private:
    std::atomic<ULONG> references_{1};
};

}  // namespace nyx::test

#pragma once

#include <unknwn.h>

#include <utility>

namespace nyx::test {

/// Owns one reference to a COM object; the C runtime of the cross compiler brings none of its own.
template <class T>
class ComPtr {
  public:
    ComPtr() = default;
    /// Shares `pointer`: adds a reference of its own. Null is allowed.
    ComPtr(T* pointer) : pointer_(pointer) {
        if (pointer_) {
            pointer_->AddRef();
        }
    }
    ComPtr(const ComPtr& other) : ComPtr(other.pointer_) {}
    ComPtr(ComPtr&& other) noexcept : pointer_(std::exchange(other.pointer_, nullptr)) {}
    ComPtr& operator=(ComPtr other) noexcept {
        std::swap(pointer_, other.pointer_);
        return *this;
    }
    ~ComPtr() { Reset(); }

    /// Takes over the caller's reference.
    static ComPtr Adopt(T* pointer) {
        ComPtr result;
        result.pointer_ = pointer;
        return result;
    }

    T* get() const { return pointer_; }
    T* operator->() const { return pointer_; }
    T& operator*() const { return *pointer_; }
    explicit operator bool() const { return pointer_ != nullptr; }

    /// Releases what is held; the result of that Release, 0 when nothing was held.
    ULONG Reset() {
        T* held = std::exchange(pointer_, nullptr);
        return held ? held->Release() : 0;
    }

    /// Where a method stores its result; what was held is released first.
    T** Put() {
        Reset();
        return &pointer_;
    }
    void** PutVoid() { return reinterpret_cast<void**>(Put()); }

    /// The same object's interface `U`, empty when it has none.
    template <class U>
    ComPtr<U> As() const {
        ComPtr<U> other;
        if (pointer_) {
            pointer_->QueryInterface(__uuidof(U), other.PutVoid());
        }
        return other;
    }

  private:
    T* pointer_ = nullptr;
};

/// A new test object of class `T`, whose constructor leaves one reference for its creator.
template <class T, class... Args>
ComPtr<T> MakeCom(Args&&... args) {
    return ComPtr<T>::Adopt(new T(std::forward<Args>(args)...));
}

}  // namespace nyx::test

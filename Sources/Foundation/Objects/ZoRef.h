// ZoRef<T>: owns one reference to an object and gives it back on every path. Moves; never converts silently.
// For C++ alone.

#pragma once

#include <utility>

#include "Foundation/Objects/ZoObject.h"

template <typename T>
class [[nodiscard]] ZoRef {
public:
    constexpr ZoRef() noexcept = default;
    constexpr ZoRef(std::nullptr_t) noexcept {}
    ZoRef(ZoRef&& other) noexcept : object_(std::exchange(other.object_, nullptr)) {}
    ZoRef(const ZoRef&) = delete;
    ZoRef& operator=(ZoRef&& other) noexcept
    {
        if (this != &other) reset(std::exchange(other.object_, nullptr));
        return *this;
    }
    ZoRef& operator=(const ZoRef&) = delete;
    ~ZoRef() { reset(); }

    /// Takes over a reference that the caller owns (what Create and Copy gave).
    static ZoRef adopt(T object) noexcept
    {
        ZoRef ref;
        ref.object_ = object;
        return ref;
    }
    /// Adds a reference of its own to a borrowed object, which may be absent.
    static ZoRef retain(T object) noexcept
    {
        if (object) ZoRetain(object);
        return adopt(object);
    }

    T get() const noexcept { return object_; }
    explicit operator bool() const noexcept { return object_ != nullptr; }
    /// Hands the reference to the caller.
    [[nodiscard]] T release() noexcept { return std::exchange(object_, nullptr); }
    /// For out-parameters of Create and Copy operations; lets go of what was held.
    T* outParam() noexcept
    {
        reset();
        return &object_;
    }
    void reset(T object = nullptr) noexcept
    {
        T old = std::exchange(object_, object);
        if (old) ZoRelease(old);
    }

private:
    T object_ = nullptr;
};

/// adopt() with the type worked out from the argument.
template <typename T>
ZoRef<T> zoAdopt(T object) noexcept
{
    return ZoRef<T>::adopt(object);
}

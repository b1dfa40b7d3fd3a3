// The stack of a walk over nested buffers: shallow walks allocate nothing, and a nesting of any depth grows the heap
// instead of the thread's stack. For C++ alone.

#pragma once

#include <cstdlib>
#include <cstring>
#include <type_traits>

template <typename T, size_t InlineCount>
class TavWalkStack {
    static_assert(std::is_trivially_copyable_v<T>);

public:
    TavWalkStack() noexcept = default;
    TavWalkStack(const TavWalkStack&) = delete;
    TavWalkStack& operator=(const TavWalkStack&) = delete;
    ~TavWalkStack()
    {
        if (places_ != inline_) std::free(places_);
    }

    bool empty() const noexcept { return count_ == 0; }
    void clear() noexcept { count_ = 0; }
    T pop() noexcept { return places_[--count_]; }
    /// False if there is no memory.
    [[nodiscard]] bool push(const T& place) noexcept
    {
        if (count_ == capacity_ && !grow()) return false;
        places_[count_++] = place;
        return true;
    }

private:
    bool grow() noexcept
    {
        const size_t newCapacity = capacity_ * 2;
        const bool wasInline = places_ == inline_;
        void* memory = std::realloc(wasInline ? nullptr : places_, newCapacity * sizeof(T));
        if (!memory) return false;
        if (wasInline) std::memcpy(memory, inline_, count_ * sizeof(T));
        places_ = static_cast<T*>(memory);
        capacity_ = newCapacity;
        return true;
    }

    size_t count_ = 0;
    size_t capacity_ = InlineCount;
    T* places_ = inline_;
    T inline_[InlineCount];
};

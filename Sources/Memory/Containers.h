// Containers for code that no exception may leave, std::bad_alloc included. Which one is a matter of what a shortage of
// memory means: the standard containers under a stopping allocator where nobody could go on without the few bytes, the
// reporting array where an allocator is passed or a size comes from input. Below everything; knows none of the layers.

#pragma once

#include <unistd.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <deque>
#include <functional>
#include <initializer_list>
#include <map>
#include <memory>
#include <new>
#include <set>
#include <span>
#include <string>
#include <type_traits>
#include <unordered_map>
#include <unordered_set>
#include <utility>
#include <vector>

namespace memory {

/// Ends the process with one line on standard error. Allocates nothing.
[[noreturn]] inline void stop() noexcept
{
    static constexpr char kLine[] = "luvia: out of memory\n";
    [[maybe_unused]] const ssize_t written = ::write(STDERR_FILENO, kLine, sizeof(kLine) - 1);
    std::abort();
}

/// `bytes` bytes for objects of the given alignment, or nothing. Freed with std::free.
inline void* allocate(size_t bytes, size_t alignment = alignof(std::max_align_t)) noexcept
{
    if (alignment <= alignof(std::max_align_t)) return std::malloc(bytes);
    return std::aligned_alloc(alignment, (bytes + alignment - 1) & ~(alignment - 1));
}

/// For standard containers: where there is no memory the process stops. A count from input never goes to one of these:
/// what is past max_size() still throws std::length_error.
template <typename T>
struct StoppingAllocator {
    using value_type = T;
    StoppingAllocator() = default;
    template <typename U>
    StoppingAllocator(const StoppingAllocator<U>&) noexcept
    {}
    T* allocate(size_t count) noexcept
    {
        void* block = count <= SIZE_MAX / 2 / sizeof(T) ? memory::allocate(count * sizeof(T), alignof(T)) : nullptr;
        if (!block) stop();
        return static_cast<T*>(block);
    }
    void deallocate(T* block, size_t) noexcept { std::free(block); }
    bool operator==(const StoppingAllocator&) const { return true; }
};

using String = std::basic_string<char, std::char_traits<char>, StoppingAllocator<char>>;
template <typename T>
using Vector = std::vector<T, StoppingAllocator<T>>;
template <typename T>
using Deque = std::deque<T, StoppingAllocator<T>>;
template <typename Key, typename Less = std::less<Key>>
using Set = std::set<Key, Less, StoppingAllocator<Key>>;
template <typename Key, typename Value, typename Less = std::less<Key>>
using Map = std::map<Key, Value, Less, StoppingAllocator<std::pair<const Key, Value>>>;
template <typename Key, typename Value, typename Less = std::less<Key>>
using Multimap = std::multimap<Key, Value, Less, StoppingAllocator<std::pair<const Key, Value>>>;
template <typename Key, typename Hash = std::hash<Key>, typename Equal = std::equal_to<Key>>
using UnorderedSet = std::unordered_set<Key, Hash, Equal, StoppingAllocator<Key>>;
template <typename Key, typename Value, typename Hash = std::hash<Key>, typename Equal = std::equal_to<Key>>
using UnorderedMap = std::unordered_map<Key, Value, Hash, Equal, StoppingAllocator<std::pair<const Key, Value>>>;

/// A new object, or the process stops. Deleted with `delete`.
template <typename T, typename... Arguments>
T* make(Arguments&&... arguments)
{
    T* object = new (std::nothrow) T(std::forward<Arguments>(arguments)...);
    if (!object) stop();
    return object;
}

/// Where a reporting array takes its memory from, unless told otherwise.
struct Heap {
    void* allocate(size_t bytes) const noexcept { return std::malloc(bytes); }
    void deallocate(void* block) const noexcept { std::free(block); }
};

/// A growing array whose every step that may need memory says whether there was any; where it says no, the array is as
/// it was. `Source` has allocate(bytes), which may give nothing, and deallocate(block).
template <typename T, typename Source = Heap>
class ReportingArray {
    static_assert(std::is_nothrow_move_constructible_v<T> && alignof(T) <= alignof(std::max_align_t));

public:
    explicit ReportingArray(Source source = {}) : source_(std::move(source)) {}
    ~ReportingArray()
    {
        clear();
        source_.deallocate(items_);
    }
    ReportingArray(const ReportingArray&) = delete;
    ReportingArray& operator=(const ReportingArray&) = delete;
    ReportingArray(ReportingArray&& other) noexcept
        : source_(other.source_),
          items_(std::exchange(other.items_, nullptr)),
          count_(std::exchange(other.count_, 0)),
          capacity_(std::exchange(other.capacity_, 0))
    {}

    /// Room for `capacity` items in all.
    [[nodiscard]] bool reserve(size_t capacity)
    {
        if (capacity <= capacity_) return true;
        if (capacity > SIZE_MAX / 2 / sizeof(T)) return false;
        T* grown = static_cast<T*>(source_.allocate(capacity * sizeof(T)));
        if (!grown) return false;
        std::uninitialized_move_n(items_, count_, grown);
        std::destroy_n(items_, count_);
        source_.deallocate(items_);
        items_ = grown;
        capacity_ = capacity;
        return true;
    }
    [[nodiscard]] bool append(T item)
    {
        if (count_ == capacity_ && !grow(1)) return false;
        new (items_ + count_++) T(std::move(item));
        return true;
    }
    [[nodiscard]] bool append(std::span<const T> more)
    {
        if (more.size() > capacity_ - count_ && !grow(more.size())) return false;
        std::uninitialized_copy_n(more.data(), more.size(), items_ + count_);
        count_ += more.size();
        return true;
    }
    /// New items are zero, or as their type makes them.
    [[nodiscard]] bool resize(size_t count)
    {
        if (count > capacity_ && !grow(count - count_)) return false;
        if (count < count_) truncate(count);
        std::uninitialized_value_construct_n(items_ + count_, count - count_);
        count_ = count;
        return true;
    }
    void truncate(size_t count)
    {
        std::destroy_n(items_ + count, count_ - count);
        count_ = count;
    }
    void clear() { truncate(0); }

    size_t size() const { return count_; }
    bool empty() const { return count_ == 0; }
    T* data() { return items_; }
    const T* data() const { return items_; }
    T& operator[](size_t index) { return items_[index]; }
    const T& operator[](size_t index) const { return items_[index]; }
    T& back() { return items_[count_ - 1]; }
    T* begin() { return items_; }
    T* end() { return items_ + count_; }
    const T* begin() const { return items_; }
    const T* end() const { return items_ + count_; }
    std::span<const T> span() const { return {items_, count_}; }

private:
    bool grow(size_t more)
    {
        if (more > SIZE_MAX / 2 - count_) return false;
        const size_t doubled = count_ < SIZE_MAX / 4 ? 2 * count_ : count_;
        return reserve(std::max<size_t>({count_ + more, doubled, 4}));
    }

    Source source_;
    T* items_ = nullptr;
    size_t count_ = 0;
    size_t capacity_ = 0;
};

}  // namespace memory

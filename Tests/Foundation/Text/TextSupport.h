// What the tests of text share: short spellings, printing, an allocator that counts and fails.

#pragma once

#include <cstdlib>
#include <ostream>
#include <string>
#include <string_view>

#include "Foundation/Objects/ZoAllocator.h"
#include "Foundation/Objects/ZoRef.h"
#include "Foundation/Text/ZoString.h"

namespace luvia_test {

using String = ZoRef<ZoStringRef>;
using MutableString = ZoRef<ZoMutableStringRef>;

inline String fromUTF8(std::string_view text)
{
    return zoAdopt(ZoStringCreateWithBytes(nullptr, reinterpret_cast<const uint8_t*>(text.data()),
                                           static_cast<ZoIndex>(text.size()), kZoStringEncodingUTF8, false));
}

inline String fromUTF16(std::u16string_view text)
{
    return zoAdopt(ZoStringCreateWithCharacters(nullptr, reinterpret_cast<const UniChar*>(text.data()),
                                                static_cast<ZoIndex>(text.size())));
}

inline MutableString mutableFrom(ZoStringRef string) { return zoAdopt(ZoStringCreateMutableCopy(nullptr, 0, string)); }

inline std::u16string toUTF16(ZoStringRef string)
{
    std::u16string text(static_cast<size_t>(ZoStringGetLength(string)), 0);
    ZoStringGetCharacters(string, {0, ZoStringGetLength(string)}, reinterpret_cast<UniChar*>(text.data()));
    return text;
}

/// "<nothing>" for an absent string; a surrogate that stands alone is "?".
inline std::string toUTF8(ZoStringRef string)
{
    if (!string) return "<nothing>";
    ZoIndex used = 0;
    const ZoRange all = {0, ZoStringGetLength(string)};
    ZoStringGetBytes(string, all, kZoStringEncodingUTF8, '?', false, nullptr, 0, &used);
    std::string text(static_cast<size_t>(used), '\0');
    ZoStringGetBytes(string, all, kZoStringEncodingUTF8, '?', false, reinterpret_cast<uint8_t*>(text.data()), used,
                     &used);
    return text;
}
inline std::string toUTF8(const String& string) { return toUTF8(string.get()); }

/// Counts what is out, and fails from the n-th allocation on.
class CountingAllocator {
public:
    explicit CountingAllocator(int allowed = 1 << 30) : allowed_(allowed)
    {
        ZoAllocatorContext context = {};
        context.info = this;
        context.allocate = [](ZoIndex size, ZoOptionFlags, void* info) { return self(info)->allocate(nullptr, size); };
        context.reallocate = [](void* memory, ZoIndex size, ZoOptionFlags, void* info) {
            return self(info)->allocate(memory, size);
        };
        context.deallocate = [](void* memory, void* info) {
            --self(info)->out_;
            free(memory);
        };
        allocator_ = zoAdopt(ZoAllocatorCreate(kZoAllocatorMalloc, &context));
    }
    ZoAllocatorRef get() const { return allocator_.get(); }
    int out() const { return out_; }
    int allocations() const { return allocations_; }
    /// Memory that counts as allocated here.
    char* lend(std::string_view text)
    {
        ++out_;
        return strndup(text.data(), text.size());
    }

private:
    static CountingAllocator* self(void* info) { return static_cast<CountingAllocator*>(info); }
    void* allocate(void* old, ZoIndex size)
    {
        if (allowed_-- <= 0) return nullptr;
        ++allocations_;
        out_ += !old;
        return realloc(old, static_cast<size_t>(size));
    }

    int allowed_;
    int out_ = 0;
    int allocations_ = 0;
    ZoRef<ZoAllocatorRef> allocator_;
};

}  // namespace luvia_test

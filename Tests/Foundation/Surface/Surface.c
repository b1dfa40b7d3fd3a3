// What a layer above relies on in binary form (the object header, the records of callbacks, constant strings), measured
// where C sees it: this program is built as C11.

#include <stddef.h>

#include "Foundation/Collections/ZoDictionary.h"
#include "Foundation/Objects/ZoAllocator.h"
#include "Foundation/Objects/ZoObject.h"
#include "Foundation/Text/ZoString.h"

// The header that instances begin with, and records that are laid out by hand elsewhere: one word a field, in order.
_Static_assert(sizeof(ZoRuntimeBase) == 16, "instances begin behind 16 bytes");
_Static_assert(sizeof(ZoConstantString) == 4 * sizeof(void*) && ZO_CONSTANT_STRING_FLAGS == 0x7C8, "constant strings");
_Static_assert(offsetof(ZoConstantString, text) == 16 && offsetof(ZoConstantString, length) == 24, "constant strings");
#define AT_WORD(type, field, word) \
    _Static_assert(offsetof(type, field) == (word) * sizeof(void*), #type "." #field " has moved")
// clang-format off
AT_WORD(ZoRuntimeClass, version, 0); AT_WORD(ZoRuntimeClass, className, 1); AT_WORD(ZoRuntimeClass, init, 2);
AT_WORD(ZoRuntimeClass, copy, 3); AT_WORD(ZoRuntimeClass, finalize, 4); AT_WORD(ZoRuntimeClass, equal, 5);
AT_WORD(ZoRuntimeClass, hash, 6); AT_WORD(ZoRuntimeClass, copyFormattingDesc, 7);
AT_WORD(ZoRuntimeClass, copyDebugDesc, 8); AT_WORD(ZoRuntimeClass, unused, 9);
AT_WORD(ZoAllocatorContext, info, 1); AT_WORD(ZoAllocatorContext, retain, 2); AT_WORD(ZoAllocatorContext, release, 3);
AT_WORD(ZoAllocatorContext, copyDescription, 4); AT_WORD(ZoAllocatorContext, allocate, 5);
AT_WORD(ZoAllocatorContext, reallocate, 6); AT_WORD(ZoAllocatorContext, deallocate, 7);
AT_WORD(ZoAllocatorContext, preferredSize, 8);
AT_WORD(ZoDictionaryKeyCallBacks, retain, 1); AT_WORD(ZoDictionaryKeyCallBacks, release, 2);
AT_WORD(ZoDictionaryKeyCallBacks, copyDescription, 3); AT_WORD(ZoDictionaryKeyCallBacks, equal, 4);
AT_WORD(ZoDictionaryKeyCallBacks, hash, 5); AT_WORD(ZoDictionaryValueCallBacks, equal, 4);
// clang-format on
_Static_assert(sizeof(ZoRuntimeClass) == 12 * sizeof(void*), "a class record has three spare words");

ZO_DEFINE_STRING(kOwnKey, "key");

int main(void)
{
    // Constant strings of C are keys as good as any.
    const void* key = kOwnKey;
    const void* value = ZOSTR("value");
    ZoDictionaryRef dictionary = ZoDictionaryCreate(NULL, &key, &value, 1, &kZoCopyStringDictionaryKeyCallBacks,
                                                    &kZoTypeDictionaryValueCallBacks);
    const int isFound = ZoDictionaryGetValue(dictionary, ZOSTR("key")) == value;
    ZoRelease(dictionary);
    return isFound ? 0 : 1;
}

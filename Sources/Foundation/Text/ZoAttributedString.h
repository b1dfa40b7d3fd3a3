// Text with attributes: dictionaries that hold for runs of it. Immutable ones may be read by any number of threads.
// Creation gives nothing where there is no memory, the allocator's for the text or the process's for the runs.
// Operations that change a mutable one have no status: the process stops with one line.

#pragma once

#include "Foundation/Objects/ZoObject.h"

ZO_EXTERN_C_BEGIN

ZoTypeID ZoAttributedStringGetTypeID(void);
/// `attributes`, which may be absent, hold for the whole string.
ZoAttributedStringRef ZoAttributedStringCreate(ZoAllocatorRef allocator, ZoStringRef string,
                                               ZoDictionaryRef attributes);
ZoAttributedStringRef ZoAttributedStringCreateCopy(ZoAllocatorRef allocator, ZoAttributedStringRef string);
/// `maximumLength` 0 is no limit; any other value is a hint.
ZoMutableAttributedStringRef ZoAttributedStringCreateMutable(ZoAllocatorRef allocator, ZoIndex maximumLength);
ZoMutableAttributedStringRef ZoAttributedStringCreateMutableCopy(ZoAllocatorRef allocator, ZoIndex maximumLength,
                                                                 ZoAttributedStringRef string);
ZoIndex ZoAttributedStringGetLength(ZoAttributedStringRef string);
/// Borrowed.
ZoStringRef ZoAttributedStringGetString(ZoAttributedStringRef string);
/// Borrowed. `effectiveRange` may be absent; it becomes the run around `location` that the attributes hold for.
ZoDictionaryRef ZoAttributedStringGetAttributes(ZoAttributedStringRef string, ZoIndex location,
                                                ZoRange* effectiveRange);
/// Borrowed; nothing if the attribute is not set there.
ZoTypeRef ZoAttributedStringGetAttribute(ZoAttributedStringRef string, ZoIndex location, ZoStringRef name,
                                         ZoRange* effectiveRange);
/// New text takes the attributes of the first character that it replaces, else of the one before it.
void ZoAttributedStringReplaceString(ZoMutableAttributedStringRef string, ZoRange range, ZoStringRef replacement);
void ZoAttributedStringSetAttribute(ZoMutableAttributedStringRef string, ZoRange range, ZoStringRef name,
                                    ZoTypeRef value);
void ZoAttributedStringRemoveAttribute(ZoMutableAttributedStringRef string, ZoRange range, ZoStringRef name);

ZO_EXTERN_C_END

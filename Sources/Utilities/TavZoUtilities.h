// A forgiving layer over the foundation's collections: absent collections are empty ones, getters look at the type of
// what they find, and plain numbers go in and come out without objects in the caller's hands. Times, ranges and
// geometry have the same operations in TavZoUtilities_Times.h and TavZoUtilities_Geometry.h.
//
// Names with Create or Copy give the caller a reference, Get borrows from the collection. No locks: as thread-safe as
// the collections that are passed in. Statuses are of the family below and are signalled where they are found; what
// answers with a Boolean signals in the same places and is false.

#pragma once

#include "Foundation/Collections/ZoArray.h"
#include "Foundation/Collections/ZoDictionary.h"
#include "Foundation/Collections/ZoSet.h"
#include "Foundation/Text/ZoString.h"
#include "Foundation/Values/ZoData.h"
#include "Foundation/Values/ZoNumber.h"
#include "Platform/Common/LuBase.h"

#ifdef __cplusplus
#include <functional>
#endif

ZO_EXTERN_C_BEGIN

enum {
    kTavZoUtilitiesError_InvalidParameter = -12990,
    kTavZoUtilitiesError_AllocationFailed = -12991,
    kTavZoUtilitiesError_BadBundle = -12992,
    kTavZoUtilitiesError_OutOfRange = -12993,
    kTavZoUtilitiesError_BadData = -12994,
    kTavZoUtilitiesError_DirCouldNotBeCreated = -12995,
    kTavZoUtilitiesError_IncompatibleURL = -12996,
};

/// A set of strings that ignores case; other members compare as they are.
extern const ZoSetCallBacks kTavCaseInsensitiveStringSetCallBacks;
/// Dispatch queues as values of a dictionary; described by their labels.
extern const ZoDictionaryValueCallBacks kTavDispatchQueueZoDictionaryValueCallbacks;

const void* TavZoTypeCollectionRetain(ZoAllocatorRef allocator, const void* value);
void TavZoTypeCollectionRelease(ZoAllocatorRef allocator, const void* value);
Boolean TavASCIIZoStringCaseInsensitiveEqualCallback(const void* value1, const void* value2);
ZoHashCode TavASCIIZoStringCaseInsensitiveHashCallback(const void* value);

// Absent collections.

/// Two absent objects are equal; an absent one equals no other.
Boolean TavZoEqual(ZoTypeRef object1, ZoTypeRef object2);
/// An absent source gives an empty dictionary.
ZoMutableDictionaryRef TavZoDictionaryCreateMutableCopy(ZoAllocatorRef allocator, ZoIndex capacity,
                                                        ZoDictionaryRef dictionary);
/// The pairs of the source under the standard callbacks, whichever it has itself.
ZoMutableDictionaryRef TavZoDictionaryCreateMutableCopyWithZoTypeCallbacks(ZoAllocatorRef allocator, ZoIndex capacity,
                                                                           ZoDictionaryRef dictionary);
void TavZoDictionarySetAllValuesFromDictionary(ZoMutableDictionaryRef destination, ZoDictionaryRef source);
ZoIndex TavZoDictionaryGetCount(ZoDictionaryRef dictionary);
void TavZoDictionaryRemoveAllValues(ZoMutableDictionaryRef dictionary);
/// Nothing happens if an argument is absent, or `dictionary` is none.
void TavZoDictionarySetValue(ZoMutableDictionaryRef dictionary, const void* key, const void* value);
/// Nothing if an argument is absent, or `dictionary` is none.
const void* TavZoDictionaryGetValue(ZoDictionaryRef dictionary, const void* key);
/// Whether the key is there; `valueOut`, which may be absent, is cleared first.
Boolean TavZoDictionaryGetValueIfPresent(ZoDictionaryRef dictionary, const void* key, const void** valueOut);
/// Whether a value was copied across; false too where `destination` found no memory.
Boolean TavZoDictionarySetValueFromKeyInDict(ZoMutableDictionaryRef destination, const void* destinationKey,
                                             ZoDictionaryRef source, const void* sourceKey);
void TavZoDictionarySetBoolean(ZoMutableDictionaryRef dictionary, const void* key, Boolean value);

ZoMutableArrayRef TavZoArrayCreateMutableCopy(ZoAllocatorRef allocator, ZoIndex capacity, ZoArrayRef array);
ZoArrayRef TavZoArrayCreateCopy(ZoAllocatorRef allocator, ZoArrayRef array);
/// A new array with the allocator of the first one that is there; empty if none is.
ZoArrayRef TavZoArrayCreateConcatenationOfTwoArrays(ZoArrayRef array1, ZoArrayRef array2);
void TavZoArrayAppendArray(ZoMutableArrayRef destination, ZoArrayRef source);
void TavZoArrayRemoveAllValues(ZoMutableArrayRef array);
Boolean TavZoArrayContainsValue(ZoArrayRef array, const void* value);
/// kZoNotFound for an absent array or value, or one that is not in the array.
ZoIndex TavZoArrayGetFirstIndexOfValue(ZoArrayRef array, const void* value);
ZoIndex TavZoArrayGetLastIndexOfValue(ZoArrayRef array, const void* value);
/// Whether one was removed.
Boolean TavZoArrayRemoveLastElementOfValue(ZoMutableArrayRef array, const void* value);
/// Nothing for an absent array or an index outside of it.
const void* TavZoArrayGetValueAtIndex(ZoArrayRef array, ZoIndex index);
const void* TavZoArrayGetFirstValue(ZoArrayRef array);
const void* TavZoArrayGetLastValue(ZoArrayRef array);
Boolean TavZoArrayContainsInt(ZoArrayRef array, int value);
Boolean TavZoArrayContainsInt16(ZoArrayRef array, int16_t value);
Boolean TavZoArrayContainsInt32(ZoArrayRef array, int32_t value);
Boolean TavZoArrayContainsInt64(ZoArrayRef array, int64_t value);

Boolean TavZoRangeEqual(ZoRange range1, ZoRange range2);
/// The first position behind the range.
ZoIndex TavZoRangeGetLimit(ZoRange range);

// Values of one type. Nothing if the key is not there or holds another type, which is no failure.

ZoStringRef TavZoDictionaryGetStringValue(ZoDictionaryRef dictionary, const void* key);
ZoURLRef TavZoDictionaryGetURLValue(ZoDictionaryRef dictionary, const void* key);
ZoDictionaryRef TavZoDictionaryGetDictionaryValue(ZoDictionaryRef dictionary, const void* key);
ZoArrayRef TavZoDictionaryGetArrayValue(ZoDictionaryRef dictionary, const void* key);
ZoDataRef TavZoDictionaryGetDataValue(ZoDictionaryRef dictionary, const void* key);
ZoBooleanRef TavZoDictionaryGetBooleanValue(ZoDictionaryRef dictionary, const void* key);
ZoNumberRef TavZoDictionaryGetNumberValue(ZoDictionaryRef dictionary, const void* key);

// One collection from another.

/// In order of enumeration; an absent or empty dictionary gives an empty array.
ZoArrayRef TavZoDictionaryCopyArrayOfValues(ZoDictionaryRef dictionary);
ZoArrayRef TavZoDictionaryCopyArrayOfKeys(ZoDictionaryRef dictionary);
/// The value of each of `keys`, kZoNull where there is none.
ZoMutableArrayRef TavZoDictionaryCreateMappedArray(ZoDictionaryRef dictionary, ZoArrayRef keys);
/// An absent collection succeeds and leaves the out-parameter as it is.
/// kTavZoUtilitiesError_InvalidParameter, _AllocationFailed
OSStatus TavZoSetCopyValuesAsZoArray(ZoSetRef set, ZoArrayRef* valuesOut);
OSStatus TavZoArrayCopyValuesAsZoSet(ZoArrayRef array, ZoSetRef* valuesOut);
ZoMutableDictionaryRef TavZoDictionaryCreateCopyRemovingKeys(ZoDictionaryRef dictionary, const void* const* keys,
                                                             ZoIndex count);
/// Adds the pairs of `source`, merging dictionaries that both hold under one key. `overwrite` decides who wins
/// elsewhere. Inner dictionaries of `destination` must be mutable; values are shared, not copied.
void TavZoDictionaryAddEntriesToDictionaryWithRecursion(ZoDictionaryRef source, ZoMutableDictionaryRef destination,
                                                        Boolean overwrite);
/// The pairs of all dictionaries, of which any may be absent, in list order.
/// kTavZoUtilitiesError_InvalidParameter, _AllocationFailed
OSStatus TavZoCreateCombinedDictionary(ZoAllocatorRef allocator, const ZoDictionaryRef* dictionaries,
                                       ZoIndex dictionaryCount, ZoDictionaryRef* dictionaryOut);
/// Numbers of the geometry float type.
ZoArrayRef TavCreateZoArrayFromColorValues(ZoAllocatorRef allocator, double red, double green, double blue,
                                           double alpha);

// Walks and searches.

typedef void (*TavZoArrayForEach2Function)(const void* value1, const void* value2, void* context);

void TavZoArrayApplyFunction(ZoArrayRef array, ZoArrayApplierFunction function, void* context);
/// Two arrays in step, as far as the shorter one goes; counts that differ are signalled.
void TavZoArrayForEach2(ZoArrayRef array1, ZoArrayRef array2, TavZoArrayForEach2Function function, void* context);
/// The last key in order of enumeration that has an equal value. `keyOut` may be absent.
Boolean TavZoDictionaryFindAnyKeyForValue(ZoDictionaryRef dictionary, const void* value, const void** keyOut);
/// The first match in order of enumeration; each further one is logged. `dictionary` has strings as keys.
Boolean TavZoDictionaryGetValueForCaseInsensitiveKeyIfPresent(ZoDictionaryRef dictionary, ZoStringRef key,
                                                              const void** valueOut);
/// Text for people: times in seconds, collections in brackets, "NULL" for what is absent. The caller releases it.
ZoMutableStringRef TavZoCopyCompactDescription(ZoTypeRef object);

// Numbers in collections. For each row <Suffix> of the list there are
//
//     Boolean TavZoDictionaryGet<Suffix>IfPresent(dictionary, key, out)   absent dictionary: false, nothing signalled
//     OSStatus TavZoDictionarySet<Suffix>(dictionary, key, value)
//     Boolean TavZoArrayGet<Suffix>AtIndex(array, index, out)
//     OSStatus TavZoArrayAppend<Suffix>(array, value)
//
// A getter is true if a number was there; it stores what comes closest in its own type.
// kTavZoUtilitiesError_InvalidParameter, _AllocationFailed

#define TAV_ZO_FOR_EACH_NUMBER_TYPE(ROW)             \
    ROW(WnFloat, double, kZoNumberGeometryFloatType) \
    ROW(Float, float, kZoNumberFloatType)            \
    ROW(Float32, float, kZoNumberFloat32Type)        \
    ROW(Float64, double, kZoNumberFloat64Type)       \
    ROW(Double, double, kZoNumberDoubleType)         \
    ROW(Int16, int16_t, kZoNumberSInt16Type)         \
    ROW(Int, int, kZoNumberIntType)                  \
    ROW(Int32, int32_t, kZoNumberSInt32Type)         \
    ROW(Int64, int64_t, kZoNumberSInt64Type)         \
    ROW(ZoIndex, ZoIndex, kZoNumberZoIndexType)

#define TAV_ZO_DECLARE_NUMBER_OPERATIONS(Suffix, type, numberType)                                              \
    Boolean TavZoDictionaryGet##Suffix##IfPresent(ZoDictionaryRef dictionary, const void* key, type* valueOut); \
    OSStatus TavZoDictionarySet##Suffix(ZoMutableDictionaryRef dictionary, const void* key, type value);        \
    Boolean TavZoArrayGet##Suffix##AtIndex(ZoArrayRef array, ZoIndex index, type* valueOut);                    \
    OSStatus TavZoArrayAppend##Suffix(ZoMutableArrayRef array, type value);

TAV_ZO_FOR_EACH_NUMBER_TYPE(TAV_ZO_DECLARE_NUMBER_OPERATIONS)
#undef TAV_ZO_DECLARE_NUMBER_OPERATIONS

/// As the number getters, for the two booleans.
Boolean TavZoDictionaryGetBooleanIfPresent(ZoDictionaryRef dictionary, const void* key, Boolean* valueOut);

/// The base64 text of the whole of `data`. An absent dictionary is left at that: 0, nothing signalled.
/// kTavZoUtilitiesError_InvalidParameter, and the statuses of the encoder
OSStatus TavZoDictionarySetBase64Data(ZoMutableDictionaryRef dictionary, const void* key, ZoDataRef data);

ZO_EXTERN_C_END

#ifdef __cplusplus
void TavZoDictionaryApplyBlock(ZoDictionaryRef dictionary,
                               const std::function<void(const void* key, const void* value)>& block);
void TavZoArrayApplyBlock(ZoArrayRef array, const std::function<void(const void* value)>& block);
#endif

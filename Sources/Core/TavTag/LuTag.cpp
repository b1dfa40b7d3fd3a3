#include <bit>
#include <cinttypes>
#include <cstdio>

#include "Core/TavTag/TavTag.h"
#include "Foundation/Collections/ZoDictionary.h"
#include "Foundation/Objects/ZoRef.h"
#include "Foundation/Text/ZoString.h"
#include "Foundation/Values/ZoNumber.h"
#include "Platform/Common/TavSignal.h"
#include "Utilities/TavZoUtilities.h"

// MARK: constants

static constexpr LuTag typeTag(OSType category, OSType value) { return {category, kLuTagDataType_OSType, value}; }
static constexpr LuTag flagsTag(OSType category, uint64_t value) { return {category, kLuTagDataType_Flags, value}; }

static constexpr OSType kMediaType = LU_FOURCC('m', 'd', 'i', 'a');
static constexpr OSType kMediaSubType = LU_FOURCC('m', 's', 'u', 'b');
static constexpr OSType kProjection = LU_FOURCC('p', 'r', 'o', 'j');
static constexpr OSType kPacking = LU_FOURCC('p', 'a', 'c', 'k');
static constexpr OSType kStereo = LU_FOURCC('e', 'y', 'e', 's');
static constexpr OSType kStereoInterpretation = LU_FOURCC('e', 'y', 'i', 'p');
static constexpr OSType kResource = LU_FOURCC('r', 's', 'r', 'c');

// Each under its public and, where the public one exists, its internal name.
#define TAG_UNDER_BOTH_NAMES(suffix, tag)      \
    extern const LuTag kLuTag##suffix = (tag); \
    TAV_DEFINE_ALIAS(kTavTag##suffix, kLuTag##suffix)

TAG_UNDER_BOTH_NAMES(Invalid, (LuTag{0, kLuTagDataType_Invalid, 0}));
TAG_UNDER_BOTH_NAMES(MediaTypeVideo, typeTag(kMediaType, LU_FOURCC('v', 'i', 'd', 'e')));
TAG_UNDER_BOTH_NAMES(MediaTypeAudio, typeTag(kMediaType, LU_FOURCC('s', 'o', 'u', 'n')));
TAG_UNDER_BOTH_NAMES(MediaTypeMetadata, typeTag(kMediaType, LU_FOURCC('m', 'e', 't', 'a')));
TAG_UNDER_BOTH_NAMES(MediaSubTypeMebx, typeTag(kMediaSubType, LU_FOURCC('m', 'e', 'b', 'x')));
TAG_UNDER_BOTH_NAMES(ProjectionTypeRectangular, typeTag(kProjection, LU_FOURCC('r', 'e', 'c', 't')));
TAG_UNDER_BOTH_NAMES(ProjectionTypeEquirectangular, typeTag(kProjection, LU_FOURCC('e', 'q', 'u', 'i')));
TAG_UNDER_BOTH_NAMES(ProjectionTypeFisheye, typeTag(kProjection, LU_FOURCC('f', 'i', 's', 'h')));
TAG_UNDER_BOTH_NAMES(PackingTypeNone, typeTag(kPacking, LU_FOURCC('n', 'o', 'n', 'e')));
TAG_UNDER_BOTH_NAMES(PackingTypeSideBySide, typeTag(kPacking, LU_FOURCC('s', 'i', 'd', 'e')));
TAG_UNDER_BOTH_NAMES(PackingTypeOverUnder, typeTag(kPacking, LU_FOURCC('o', 'v', 'e', 'r')));
TAG_UNDER_BOTH_NAMES(StereoNone, flagsTag(kStereo, 0));
TAG_UNDER_BOTH_NAMES(StereoLeftEye, flagsTag(kStereo, 1));
TAG_UNDER_BOTH_NAMES(StereoRightEye, flagsTag(kStereo, 2));
TAG_UNDER_BOTH_NAMES(StereoLeftAndRightEye, flagsTag(kStereo, 3));
TAG_UNDER_BOTH_NAMES(StereoInterpretationOrderReversed, flagsTag(kStereoInterpretation, 1));
extern const LuTag kTavTagProjectionTypeHalfEquirectangular = typeTag(kProjection, LU_FOURCC('h', 'e', 'q', 'u'));
extern const LuTag kTavTagResourceTypeCameraConfigurations = typeTag(kResource, LU_FOURCC('c', 'm', 'r', 'a'));
extern const LuTag kTavTagResourceTypeVenueDescription = typeTag(kResource, LU_FOURCC('v', 'e', 'n', 'u'));

ZO_DEFINE_STRING(kLuTagCategoryKey, "category");
ZO_DEFINE_STRING(kLuTagDataTypeKey, "flags");
ZO_DEFINE_STRING(kLuTagValueKey, "value");
TAV_DEFINE_ALIAS(kTavTagCategoryKey, kLuTagCategoryKey);
TAV_DEFINE_ALIAS(kTavTagFlagsKey, kLuTagDataTypeKey);
TAV_DEFINE_ALIAS(kTavTagValueKey, kLuTagValueKey);

// MARK: types and values

static constexpr LuTagDataType kTypeMask = 0xBFFFFFFF;

LuTagDataType LuTagGetValueDataType(LuTag tag) { return tag.dataType & kTypeMask; }

Boolean LuTagHasSInt64Value(LuTag tag) { return LuTagGetValueDataType(tag) == kLuTagDataType_SInt64; }
Boolean LuTagHasFloat64Value(LuTag tag) { return LuTagGetValueDataType(tag) == kLuTagDataType_Float64; }
Boolean LuTagHasOSTypeValue(LuTag tag) { return LuTagGetValueDataType(tag) == kLuTagDataType_OSType; }
Boolean LuTagHasFlagsValue(LuTag tag) { return LuTagGetValueDataType(tag) == kLuTagDataType_Flags; }

int64_t LuTagGetSInt64Value(LuTag tag) { return static_cast<int64_t>(tag.value); }
double LuTagGetFloat64Value(LuTag tag) { return std::bit_cast<double>(tag.value); }
OSType LuTagGetOSTypeValue(LuTag tag) { return static_cast<OSType>(tag.value); }
uint64_t LuTagGetFlagsValue(LuTag tag) { return tag.value; }

LuTag LuTagMakeWithSInt64Value(LuTagCategory category, int64_t value)
{
    return {category, kLuTagDataType_SInt64, static_cast<uint64_t>(value)};
}
LuTag LuTagMakeWithFloat64Value(LuTagCategory category, double value)
{
    return {category, kLuTagDataType_Float64, std::bit_cast<uint64_t>(value)};
}
LuTag LuTagMakeWithOSTypeValue(LuTagCategory category, OSType value) { return typeTag(category, value); }
LuTag LuTagMakeWithFlagsValue(LuTagCategory category, uint64_t value) { return flagsTag(category, value); }

// MARK: order and hash

Boolean LuTagEqualToTag(LuTag tag1, LuTag tag2)
{
    return tag1.category == tag2.category && LuTagGetValueDataType(tag1) == LuTagGetValueDataType(tag2) &&
           tag1.value == tag2.value;
}

// The sign of the 32-bit difference: numbers more than half the range apart come out the other way round.
static ZoComparisonResult compareByDifference(uint32_t a, uint32_t b)
{
    const auto difference = static_cast<int32_t>(a - b);
    return (difference > 0) - (difference < 0);
}

ZoComparisonResult LuTagCompare(LuTag tag1, LuTag tag2)
{
    if (ZoComparisonResult byCategory = compareByDifference(tag1.category, tag2.category)) return byCategory;
    const LuTagDataType type1 = LuTagGetValueDataType(tag1), type2 = LuTagGetValueDataType(tag2);
    if (ZoComparisonResult byType = compareByDifference(type1, type2)) return byType;
    if (type1 == kLuTagDataType_Float64) {
        const double value1 = LuTagGetFloat64Value(tag1), value2 = LuTagGetFloat64Value(tag2);
        return (value1 > value2) - (value1 < value2);
    }
    return (tag1.value > tag2.value) - (tag1.value < tag2.value);
}

uint64_t TavTagHashBytes(const void* bytes, size_t length)
{
    const auto* next = static_cast<const uint8_t*>(bytes);
    uint32_t hash = 0;
    for (size_t i = 0; i < length; ++i) {
        hash = (hash << 4) + next[i];
        const uint32_t top = hash & 0xF0000000;
        hash = (hash ^ top >> 24) & ~top;
    }
    return hash;
}

ZoHashCode LuTagHash(LuTag tag)
{
    constexpr uint64_t kMix = 0x9E3779B9, kHashOfNoValue = 0x1000000;
    const LuTagDataType type = LuTagGetValueDataType(tag);
    const uint64_t a = type == kLuTagDataType_Invalid ? kHashOfNoValue : TavTagHashBytes(&tag.value, sizeof(tag.value));
    const uint64_t b = ((a >> 2) + (a << 6) + TavTagHashBytes(&type, sizeof(type)) + kMix) ^ a;
    return (TavTagHashBytes(&tag.category, sizeof(tag.category)) + kMix + (b << 6) + (b >> 2)) ^ b;
}

// MARK: text and dictionary

struct FourCharacters {
    char text[5];
    explicit FourCharacters(OSType code)
        : text{static_cast<char>(code >> 24), static_cast<char>(code >> 16), static_cast<char>(code >> 8),
               static_cast<char>(code), 0}
    {}
};

static void describeValue(LuTag tag, char* text, size_t size)
{
    switch (LuTagGetValueDataType(tag)) {
        case kLuTagDataType_Invalid: snprintf(text, size, "<invalid>"); break;
        case kLuTagDataType_SInt64: snprintf(text, size, "%" PRId64 " <int64>", LuTagGetSInt64Value(tag)); break;
        case kLuTagDataType_Float64: snprintf(text, size, "%0.2f <Flt64>", LuTagGetFloat64Value(tag)); break;
        case kLuTagDataType_OSType:
            snprintf(text, size, "'%.4s' <OSType>", FourCharacters(LuTagGetOSTypeValue(tag)).text);
            break;
        case kLuTagDataType_Flags: snprintf(text, size, "0x%" PRIx64 " <flags>", LuTagGetFlagsValue(tag)); break;
        default:
            snprintf(text, size, "<raw:0x%0" PRIu64 " type:%d>", tag.value,
                     static_cast<int>(LuTagGetValueDataType(tag)));
    }
}

size_t TavTagDescribe(LuTag tag, char text[kTavTagDescriptionSize])
{
    const FourCharacters category(tag.category);
    int length;
    if (tag.dataType == 0) {
        length = snprintf(text, kTavTagDescriptionSize, "{category:'%.4s'{INVALID}", category.text);
    } else {
        char value[384];  // room for the longest double
        describeValue(tag, value, sizeof(value));
        length = snprintf(text, kTavTagDescriptionSize, "{category:'%.4s' value:%s}", category.text, value);
    }
    return static_cast<size_t>(length);
}

ZoStringRef LuTagCopyDescription(ZoAllocatorRef allocator, LuTag tag)
{
    char text[kTavTagDescriptionSize];
    TavTagDescribe(tag, text);
    return ZoStringCreateWithCString(allocator, text, kZoStringEncodingClassicRoman);
}

ZoDictionaryRef LuTagCopyAsDictionary(LuTag tag, ZoAllocatorRef allocator)
{
    const auto fail = [operation = __func__](const char* message) -> ZoDictionaryRef {
        (void)TAV_SIGNAL_FROM(operation, kLuTagError_AllocationFailed, message);
        return nullptr;
    };
    const auto category = static_cast<int32_t>(tag.category);
    const auto dataType = static_cast<int32_t>(LuTagGetValueDataType(tag));
    const auto value = static_cast<int64_t>(tag.value);

    const auto categoryNumber = zoAdopt(ZoNumberCreate(allocator, kZoNumberSInt32Type, &category));
    if (!categoryNumber) return fail("TavZoNumberCreateSInt32() returned NULL for tag.category");
    const auto typeNumber = zoAdopt(ZoNumberCreate(allocator, kZoNumberSInt32Type, &dataType));
    if (!typeNumber) return fail("TavZoNumberCreateSInt32() returned NULL tag.dataType");
    const auto valueNumber = zoAdopt(ZoNumberCreate(allocator, kZoNumberSInt64Type, &value));
    if (!valueNumber) return fail("TavZoNumberCreateSInt64() returned NULLtag.value");

    const void* keys[] = {kLuTagCategoryKey, kLuTagDataTypeKey, kLuTagValueKey};
    const void* values[] = {categoryNumber.get(), typeNumber.get(), valueNumber.get()};
    const ZoDictionaryRef dictionary = ZoDictionaryCreate(
        allocator, keys, values, std::size(keys), &kZoTypeDictionaryKeyCallBacks, &kZoTypeDictionaryValueCallBacks);
    return dictionary ? dictionary : fail("ZoDictionaryCreate() returned NULL");
}

LuTag LuTagMakeFromDictionary(ZoDictionaryRef dict)
{
    int32_t category = 0, dataType = 0;
    int64_t value = 0;
    if (!dict || ZoGetTypeID(dict) != ZoDictionaryGetTypeID()) return kLuTagInvalid;
    if (!TavZoDictionaryGetInt32IfPresent(dict, kLuTagCategoryKey, &category) ||
        !TavZoDictionaryGetInt32IfPresent(dict, kLuTagDataTypeKey, &dataType) ||
        !TavZoDictionaryGetInt64IfPresent(dict, kLuTagValueKey, &value))
        return kLuTagInvalid;
    return {static_cast<uint32_t>(category), static_cast<uint32_t>(dataType), static_cast<uint64_t>(value)};
}

// MARK: the internal names

TAV_DEFINE_ALIAS(TavTagHasSInt64Value, LuTagHasSInt64Value);
TAV_DEFINE_ALIAS(TavTagHasFloat64Value, LuTagHasFloat64Value);
TAV_DEFINE_ALIAS(TavTagHasOSTypeValue, LuTagHasOSTypeValue);
TAV_DEFINE_ALIAS(TavTagHasFlagsValue, LuTagHasFlagsValue);
TAV_DEFINE_ALIAS(TavTagGetValueDataType, LuTagGetValueDataType);
TAV_DEFINE_ALIAS(TavTagGetSInt64Value, LuTagGetSInt64Value);
TAV_DEFINE_ALIAS(TavTagGetFloat64Value, LuTagGetFloat64Value);
TAV_DEFINE_ALIAS(TavTagGetOSTypeValue, LuTagGetOSTypeValue);
TAV_DEFINE_ALIAS(TavTagGetFlagsValue, LuTagGetFlagsValue);
TAV_DEFINE_ALIAS(TavTagMakeWithSInt64Value, LuTagMakeWithSInt64Value);
TAV_DEFINE_ALIAS(TavTagMakeWithFloat64Value, LuTagMakeWithFloat64Value);
TAV_DEFINE_ALIAS(TavTagMakeWithOSTypeValue, LuTagMakeWithOSTypeValue);
TAV_DEFINE_ALIAS(TavTagMakeWithFlagsValue, LuTagMakeWithFlagsValue);
TAV_DEFINE_ALIAS(TavTagHash, LuTagHash);
TAV_DEFINE_ALIAS(TavTagEqualToTag, LuTagEqualToTag);
TAV_DEFINE_ALIAS(TavTagCompare, LuTagCompare);
TAV_DEFINE_ALIAS(TavTagCopyDescription, LuTagCopyDescription);
TAV_DEFINE_ALIAS(TavTagCopyAsDictionary, LuTagCopyAsDictionary);
TAV_DEFINE_ALIAS(TavTagMakeFromDictionary, LuTagMakeFromDictionary);

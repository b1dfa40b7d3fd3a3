// The public headers are C, and each operation and constant that they promise is there to be linked: this program is
// built as C11, takes the address of every one, and looks at the constants. What a layer above relies on in binary form
// (the object header, the records of callbacks, constant strings) is measured here, where C sees it.

#include <stddef.h>
#include <stdio.h>

#include "Foundation/Collections/ZoArray.h"
#include "Foundation/Collections/ZoCollectionCallbacks.h"
#include "Foundation/Collections/ZoDictionary.h"
#include "Foundation/Collections/ZoSet.h"
#include "Foundation/Dates/ZoCalendar.h"
#include "Foundation/Dates/ZoDate.h"
#include "Foundation/Dates/ZoDateFormatter.h"
#include "Foundation/Dates/ZoLocale.h"
#include "Foundation/Dates/ZoTimeZone.h"
#include "Foundation/Images/WnGeometry.h"
#include "Foundation/Images/YxImageBuffer.h"
#include "Foundation/Objects/ZoAllocator.h"
#include "Foundation/Objects/ZoBase.h"
#include "Foundation/Objects/ZoObject.h"
#include "Foundation/PropertyLists/ZoPropertyList.h"
#include "Foundation/Services/ZoBundle.h"
#include "Foundation/Services/ZoNotificationCenter.h"
#include "Foundation/Services/ZoPreferences.h"
#include "Foundation/Services/ZoReadStream.h"
#include "Foundation/Services/ZoRunLoop.h"
#include "Foundation/Text/ZoAttributedString.h"
#include "Foundation/Text/ZoString.h"
#include "Foundation/URLs/ZoURL.h"
#include "Foundation/Values/ZoData.h"
#include "Foundation/Values/ZoError.h"
#include "Foundation/Values/ZoNumber.h"
#include "Foundation/Values/ZoUUID.h"

// clang-format off
#define OPERATIONS(X) \
    X(WnPointCreateDictionaryRepresentation) X(WnPointMakeWithDictionaryRepresentation) \
    X(WnRectCreateDictionaryRepresentation) X(WnRectMakeWithDictionaryRepresentation) \
    X(WnSizeCreateDictionaryRepresentation) X(WnSizeMakeWithDictionaryRepresentation) \
    X(YxBufferCopyAttachment) X(YxBufferCopyAttachments) X(YxBufferGetAttachment) X(YxBufferRemoveAllAttachments) \
    X(YxBufferRemoveAttachment) X(YxBufferSetAttachment) X(YxImageBufferGetEncodedSize) \
    X(YxPixelBufferGetBytesPerRow) X(YxPixelBufferGetHeight) X(YxPixelBufferGetPixelFormatType) \
    X(YxPixelBufferGetTypeID) X(YxPixelBufferGetWidth) \
    X(ZoAllocatorAllocate) X(ZoAllocatorCreate) X(ZoAllocatorDeallocate) X(ZoAllocatorGetDefault) \
    X(ZoAllocatorGetTypeID) \
    X(ZoArrayAppendArray) X(ZoArrayAppendValue) X(ZoArrayApplyFunction) X(ZoArrayContainsValue) X(ZoArrayCreate) \
    X(ZoArrayCreateCopy) X(ZoArrayCreateMutable) X(ZoArrayCreateMutableCopy) X(ZoArrayGetCount) \
    X(ZoArrayGetFirstIndexOfValue) X(ZoArrayGetLastIndexOfValue) X(ZoArrayGetTypeID) X(ZoArrayGetValueAtIndex) \
    X(ZoArrayGetValues) X(ZoArrayRemoveAllValues) X(ZoArrayRemoveValueAtIndex) X(ZoArraySortValues) \
    X(ZoAttributedStringSetAttribute) \
    X(ZoBundleCopyResourceURL) X(ZoBundleCopyResourcesDirectoryURL) X(ZoBundleGetBundleWithIdentifier) \
    X(ZoCalendarComposeAbsoluteTime) X(ZoCalendarCopyTimeZone) X(ZoCalendarCreateWithIdentifier) \
    X(ZoCalendarDecomposeAbsoluteTime) X(ZoCalendarSetTimeZone) \
    X(ZoDataAppendBytes) X(ZoDataCreate) X(ZoDataCreateCopy) X(ZoDataCreateMutable) X(ZoDataCreateMutableCopy) \
    X(ZoDataCreateWithBytesNoCopy) X(ZoDataDeleteBytes) X(ZoDataGetBytePtr) X(ZoDataGetBytes) X(ZoDataGetLength) \
    X(ZoDataGetMutableBytePtr) X(ZoDataGetTypeID) X(ZoDataIncreaseLength) X(ZoDataReplaceBytes) X(ZoDataSetLength) \
    X(ZoAbsoluteTimeGetCurrent) X(ZoDateCreate) X(ZoDateGetTypeID) \
    X(ZoDateFormatterCreate) X(ZoDateFormatterGetAbsoluteTimeFromString) X(ZoDateFormatterSetProperty) \
    X(ZoDictionaryAddValue) X(ZoDictionaryApplyFunction) X(ZoDictionaryContainsKey) X(ZoDictionaryContainsValue) \
    X(ZoDictionaryCreate) X(ZoDictionaryCreateCopy) X(ZoDictionaryCreateMutable) X(ZoDictionaryCreateMutableCopy) \
    X(ZoDictionaryGetCount) X(ZoDictionaryGetCountOfKey) X(ZoDictionaryGetKeysAndValues) X(ZoDictionaryGetTypeID) \
    X(ZoDictionaryGetValue) X(ZoDictionaryGetValueIfPresent) X(ZoDictionaryRemoveAllValues) \
    X(ZoDictionaryRemoveValue) X(ZoDictionarySetValue) \
    X(ZoErrorCopyFailureReason) X(ZoErrorCopyUserInfo) X(ZoErrorCreate) X(ZoErrorGetCode) X(ZoErrorGetDomain) \
    X(ZoLocaleCopyCurrent) X(ZoLocaleCreate) X(ZoLocaleCreateCanonicalLocaleIdentifierFromScriptManagerCodes) \
    X(ZoNotificationCenterAddObserver) X(ZoNotificationCenterGetLocalCenter) X(ZoNotificationCenterGetTypeID) \
    X(ZoNotificationCenterPostNotification) X(ZoNotificationCenterRemoveObserver) \
    X(ZoBooleanGetTypeID) X(ZoBooleanGetValue) X(ZoNumberCreate) X(ZoNumberGetTypeID) X(ZoNumberGetValue) \
    X(ZoCopyDescription) X(ZoEqual) X(ZoGetAllocator) X(ZoGetRetainCount) X(ZoGetTypeID) X(ZoHash) X(ZoLog) \
    X(ZoRelease) X(ZoRetain) X(_ZoIsDeallocating) X(_ZoRuntimeCreateInstance) X(_ZoRuntimeGetClassWithTypeID) \
    X(_ZoRuntimeRegisterClass) X(_ZoTryRetain) X(__ZoRuntimeSetWeakReferenceReleaseObserver) \
    X(ZoPreferencesCopyAppValue) X(ZoPreferencesGetAppBooleanValue) X(ZoPreferencesGetAppIntegerValue) \
    X(ZoPreferencesSetMultiple) X(ZoPreferencesSynchronize) \
    X(ZoPropertyListCreateData) X(ZoPropertyListCreateDeepCopy) X(ZoPropertyListCreateWithData) \
    X(ZoPropertyListCreateWithStream) \
    X(ZoReadStreamCreateWithFile) X(ZoReadStreamOpen) \
    X(ZoRunLoopAddTimer) X(ZoRunLoopGetCurrent) X(ZoRunLoopRun) X(ZoRunLoopRunInMode) X(ZoRunLoopTimerCreate) \
    X(ZoRunLoopTimerInvalidate) X(ZoRunLoopWakeUp) \
    X(ZoSetCreate) X(ZoSetGetCount) X(ZoSetGetTypeID) X(ZoSetGetValues) \
    X(ZoCharacterSetGetPredefined) X(ZoStringAppend) X(ZoStringAppendFormat) X(ZoStringAppendFormatAndArguments) \
    X(ZoStringCompare) X(ZoStringCompareWithOptions) X(ZoStringCreateCopy) X(ZoStringCreateExternalRepresentation) \
    X(ZoStringCreateFromExternalRepresentation) X(ZoStringCreateMutable) X(ZoStringCreateMutableCopy) \
    X(ZoStringCreateWithBytes) X(ZoStringCreateWithBytesNoCopy) X(ZoStringCreateWithCString) \
    X(ZoStringCreateWithCStringNoCopy) X(ZoStringCreateWithFormat) X(ZoStringCreateWithPascalString) \
    X(ZoStringCreateWithSubstring) X(ZoStringFind) X(ZoStringFindAndReplace) X(ZoStringFindCharacterFromSet) \
    X(ZoStringFindWithOptions) X(ZoStringGetBytes) X(ZoStringGetCString) X(ZoStringGetCStringPtr) \
    X(ZoStringGetDoubleValue) X(ZoStringGetIntValue) X(ZoStringGetLength) X(ZoStringGetMaximumSizeForEncoding) \
    X(ZoStringGetPascalString) X(ZoStringGetTypeID) X(ZoStringHasPrefix) X(ZoStringInsert) X(ZoStringLowercase) \
    X(ZoTimeZoneCreateWithTimeIntervalFromGMT) \
    X(ZoURLCanBeDecomposed) X(ZoURLCopyAbsoluteURL) X(ZoURLCopyFileSystemPath) X(ZoURLCopyPath) \
    X(ZoURLCopyPathExtension) X(ZoURLCopyScheme) X(ZoURLCreateCopyAppendingPathComponent) \
    X(ZoURLCreateCopyAppendingPathExtension) X(ZoURLCreateCopyDeletingLastPathComponent) \
    X(ZoURLCreateFromFileSystemRepresentation) X(ZoURLCreateStringByAddingPercentEscapes) \
    X(ZoURLCreateStringByReplacingPercentEscapesUsingEncoding) X(ZoURLCreateWithFileSystemPath) \
    X(ZoURLCreateWithString) X(ZoURLGetFileSystemRepresentation) X(ZoURLGetString) X(ZoURLGetTypeID) \
    X(ZoURLHasDirectoryPath) \
    X(ZoUUIDCreate) X(ZoUUIDCreateFromString) X(ZoUUIDCreateString) X(ZoUUIDGetUUIDBytes)

#define CONSTANT_OBJECTS(X) \
    X(kYxBufferTimeScaleKey) X(kYxBufferTimeValueKey) X(kYxImageBufferChromaLocationBottomFieldKey) \
    X(kYxImageBufferChromaLocationTopFieldKey) X(kYxImageBufferChromaLocation_Bottom) \
    X(kYxImageBufferChromaLocation_BottomLeft) X(kYxImageBufferChromaLocation_Center) \
    X(kYxImageBufferChromaLocation_DV420) X(kYxImageBufferChromaLocation_Left) X(kYxImageBufferChromaLocation_Top) \
    X(kYxImageBufferChromaLocation_TopLeft) X(kYxImageBufferCleanApertureHeightKey) \
    X(kYxImageBufferCleanApertureHorizontalOffsetKey) X(kYxImageBufferCleanApertureKey) \
    X(kYxImageBufferCleanApertureVerticalOffsetKey) X(kYxImageBufferCleanApertureWidthKey) \
    X(kYxImageBufferColorPrimariesKey) X(kYxImageBufferColorPrimaries_EBU_3213) \
    X(kYxImageBufferColorPrimaries_ITU_R_709_2) X(kYxImageBufferColorPrimaries_SMPTE_C) \
    X(kYxImageBufferFieldCountKey) X(kYxImageBufferFieldDetailKey) X(kYxImageBufferFieldDetailSpatialFirstLineEarly) \
    X(kYxImageBufferFieldDetailSpatialFirstLineLate) X(kYxImageBufferFieldDetailTemporalBottomFirst) \
    X(kYxImageBufferFieldDetailTemporalTopFirst) X(kYxImageBufferGammaLevelKey) \
    X(kYxImageBufferPixelAspectRatioHorizontalSpacingKey) X(kYxImageBufferPixelAspectRatioKey) \
    X(kYxImageBufferPixelAspectRatioVerticalSpacingKey) X(kYxImageBufferTransferFunctionKey) \
    X(kYxImageBufferTransferFunction_ITU_R_709_2) X(kYxImageBufferTransferFunction_SMPTE_240M_1995) \
    X(kYxImageBufferTransferFunction_UseGamma) X(kYxImageBufferYCbCrMatrixKey) \
    X(kYxImageBufferYCbCrMatrix_ITU_R_601_4) X(kYxImageBufferYCbCrMatrix_ITU_R_709_2) \
    X(kYxImageBufferYCbCrMatrix_SMPTE_240M_1995) \
    X(kZoAllocatorDefault) X(kZoAllocatorMalloc) X(kZoAllocatorNull) \
    X(kZoGregorianCalendar) \
    X(kZoDateFormatterIsLenient) \
    X(kZoErrorDescriptionKey) X(kZoErrorFilePathKey) X(kZoErrorLocalizedDescriptionKey) \
    X(kZoErrorLocalizedFailureReasonKey) X(kZoErrorLocalizedRecoverySuggestionKey) X(kZoErrorURLKey) \
    X(kZoErrorUnderlyingErrorKey) \
    X(kZoBooleanFalse) X(kZoBooleanTrue) X(kZoNull) \
    X(kZoPreferencesAnyHost) X(kZoPreferencesCurrentUser) \
    X(kZoRunLoopCommonModes) X(kZoRunLoopDefaultMode)
// clang-format on

typedef void (*Operation)(void);
#define OPERATION_ROW(name) {#name, (Operation)name},
static const struct {
    const char* name;
    Operation address;
} kOperations[] = {OPERATIONS(OPERATION_ROW)};

#define OBJECT_ROW(name) {#name, (const ZoTypeRef*)(const void*)&name},
static const struct {
    const char* name;
    const ZoTypeRef* object;
} kObjects[] = {CONSTANT_OBJECTS(OBJECT_ROW)};

// The header that instances begin with, and records that are laid out by hand elsewhere: one word a field, in order.
_Static_assert(sizeof(ZoRuntimeBase) == 16, "instances begin behind 16 bytes");
_Static_assert(sizeof(ZoConstantString) == 4 * sizeof(void*) && ZO_CONSTANT_STRING_FLAGS == 0x7C8, "constant strings");
_Static_assert(offsetof(ZoConstantString, text) == 16 && offsetof(ZoConstantString, length) == 24, "constant strings");
#define AT_WORD(type, field, word) \
    _Static_assert(offsetof(type, field) == (word) * sizeof(void*), #type "." #field " has moved")
AT_WORD(ZoRuntimeClass, version, 0);
AT_WORD(ZoRuntimeClass, className, 1);
AT_WORD(ZoRuntimeClass, init, 2);
AT_WORD(ZoRuntimeClass, copy, 3);
AT_WORD(ZoRuntimeClass, finalize, 4);
AT_WORD(ZoRuntimeClass, equal, 5);
AT_WORD(ZoRuntimeClass, hash, 6);
AT_WORD(ZoRuntimeClass, copyFormattingDesc, 7);
AT_WORD(ZoRuntimeClass, copyDebugDesc, 8);
_Static_assert(sizeof(ZoRuntimeClass) == 12 * sizeof(void*), "a class record has three spare words");
AT_WORD(ZoAllocatorContext, info, 1);
AT_WORD(ZoAllocatorContext, retain, 2);
AT_WORD(ZoAllocatorContext, release, 3);
AT_WORD(ZoAllocatorContext, copyDescription, 4);
AT_WORD(ZoAllocatorContext, allocate, 5);
AT_WORD(ZoAllocatorContext, reallocate, 6);
AT_WORD(ZoAllocatorContext, deallocate, 7);
AT_WORD(ZoAllocatorContext, preferredSize, 8);
AT_WORD(ZoDictionaryKeyCallBacks, retain, 1);
AT_WORD(ZoDictionaryKeyCallBacks, release, 2);
AT_WORD(ZoDictionaryKeyCallBacks, copyDescription, 3);
AT_WORD(ZoDictionaryKeyCallBacks, equal, 4);
AT_WORD(ZoDictionaryKeyCallBacks, hash, 5);
AT_WORD(ZoDictionaryValueCallBacks, equal, 4);

ZO_DEFINE_STRING(kOwnKey, "key");

static int failures;

static void expect(int holds, const char* what)
{
    if (holds) return;
    fprintf(stderr, "%s\n", what);
    ++failures;
}

int main(void)
{
    for (size_t i = 0; i < sizeof kOperations / sizeof kOperations[0]; ++i)
        expect(kOperations[i].address != NULL, kOperations[i].name);
    for (size_t i = 0; i < sizeof kObjects / sizeof kObjects[0]; ++i) {
        expect(*kObjects[i].object != NULL && ZoGetTypeID(*kObjects[i].object) != 0, kObjects[i].name);
        for (size_t j = 0; j < i; ++j)
            if (ZoGetTypeID(*kObjects[i].object) == ZoStringGetTypeID())
                expect(*kObjects[i].object != *kObjects[j].object, kObjects[i].name);
    }
    // Constant strings of C are keys as good as any.
    const void* key = kOwnKey;
    const void* value = ZOSTR("value");
    ZoDictionaryRef dictionary = ZoDictionaryCreate(NULL, &key, &value, 1, &kZoCopyStringDictionaryKeyCallBacks,
                                                    &kZoTypeDictionaryValueCallBacks);
    expect(ZoDictionaryGetValue(dictionary, ZOSTR("key")) == value, "a constant string is found by equal text");
    ZoRelease(dictionary);
    ZoArrayRef array = ZoArrayCreate(NULL, &value, 1, &kZoTypeArrayCallBacks);
    ZoSetRef set = ZoSetCreate(NULL, &value, 1, &kZoTypeSetCallBacks);
    ZoDictionaryRef plain = ZoDictionaryCreate(NULL, &key, &value, 1, &kZoTypeDictionaryKeyCallBacks, NULL);
    expect(ZoArrayGetCount(array) == 1 && ZoSetGetCount(set) == 1 && ZoDictionaryGetCount(plain) == 1, "collections");
    ZoRelease(array);
    ZoRelease(set);
    ZoRelease(plain);
    return failures != 0;
}

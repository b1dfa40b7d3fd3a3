#define TAV_SUBSYSTEM "<<< TavAssetAnalysis >>>"

#include "Utilities/TavAssetAnalysisSupport.h"

#include <dispatch/dispatch.h>
#include "Foundation/Collections/ZoArray.h"
#include "Foundation/Collections/ZoDictionary.h"
#include "Foundation/Objects/ZoAllocator.h"
#include "Foundation/Objects/ZoRef.h"
#include "Foundation/Text/ZoString.h"
#include "Foundation/Values/ZoNumber.h"
#include "Platform/Common/TavNote.h"
#include "Platform/Common/TavSignal.h"

ZO_DEFINE_STRING(kTavAssetAnalysisKey_AnalysisType, "AnalysisType");
ZO_DEFINE_STRING(kTavAssetAnalysisKey_DiagnosticInformation, "DiagnosticInformation");
ZO_DEFINE_STRING(kTavAssetAnalysisMovieMessageKey_MessageType, "MessageType");
ZO_DEFINE_STRING(kTavAssetAnalysisMovieMessageKey_AtomOffset, "AtomOffset");
ZO_DEFINE_STRING(kTavAssetAnalysisMovieMessageKey_AtomType, "AtomType");
ZO_DEFINE_STRING(kTavAssetAnalysisMovieMessageKey_TrackID, "TrackID");
ZO_DEFINE_STRING(kTavAssetAnalysisMovieMessageKey_TrackType, "TrackType");
ZO_DEFINE_STRING(kTavAssetAnalysisMovieMessageKey_FailureCode, "FailureCode");
ZO_DEFINE_STRING(kTavAssetAnalysisMovieMessageKey_AtomContainer, "AtomContainer");
ZO_DEFINE_STRING(kTavAssetAnalysisAtomStreamMessageKey_AtomType, "AtomType");
ZO_DEFINE_STRING(kTavAssetAnalysisAtomStreamMessageKey_AtomContainer, "AtomContainer");

struct TavAssetAnalysisReporter {
    ZoRuntimeBase base;
    ZoMutableArrayRef messages;  ///< of dictionaries
};

static TavTraceNote gAssetAnalysisNoteControl;

// MARK: the class

static TavAssetAnalysisReporter* assetAnalysisReporter(ZoTypeRef object)
{
    return static_cast<TavAssetAnalysisReporter*>(const_cast<void*>(object));
}

static void AssetAnalysisReporter_Init(ZoTypeRef object) { assetAnalysisReporter(object)->messages = nullptr; }

static void AssetAnalysisReporter_Finalize(ZoTypeRef object)
{
    if (ZoMutableArrayRef messages = assetAnalysisReporter(object)->messages) ZoRelease(messages);
}

static ZoStringRef AssetAnalysisReporter_CopyDebugDesc(ZoTypeRef object)
{
    return ZoStringCreateWithFormat(kZoAllocatorDefault, nullptr, ZOSTR("TavAssetAnalysisReporter %d messages"),
                                    static_cast<int>(ZoArrayGetCount(assetAnalysisReporter(object)->messages)));
}

static const ZoRuntimeClass sReporterClass = {
    .version = 0,
    .className = "TavAssetAnalysisReporter",
    .init = AssetAnalysisReporter_Init,
    .copy = nullptr,
    .finalize = AssetAnalysisReporter_Finalize,
    .equal = nullptr,
    .hash = nullptr,
    .copyFormattingDesc = nullptr,
    .copyDebugDesc = AssetAnalysisReporter_CopyDebugDesc,
    .unused = {},
};

ZoTypeID TavAssetAnalysisReporterGetTypeID(void)
{
    static ZoTypeID sTypeID;
    static dispatch_once_t sOnce;
    dispatch_once_f(&sOnce, &sTypeID, [](void* typeID) {
        tavTraceNoteRegister(&gAssetAnalysisNoteControl, "assetanalysis_trace", 0);
        *static_cast<ZoTypeID*>(typeID) = _ZoRuntimeRegisterClass(&sReporterClass);
    });
    return sTypeID;
}

OSStatus TavAssetAnalysisReporterCreate(ZoAllocatorRef allocator, TavAssetAnalysisReporterRef* outNewReporter)
{
    if (!outNewReporter) return TAV_SIGNAL(kTavAssetAnalysisReporterError_InvalidParameter, "NULL outNewReporter");
    *outNewReporter = nullptr;
    constexpr ZoIndex kExtraBytes = sizeof(TavAssetAnalysisReporter) - sizeof(ZoRuntimeBase);
    auto reporter = zoAdopt(assetAnalysisReporter(
        _ZoRuntimeCreateInstance(allocator, TavAssetAnalysisReporterGetTypeID(), kExtraBytes, nullptr)));
    if (!reporter)
        return TAV_SIGNAL(kTavAssetAnalysisReporterError_AllocationFailed,
                          "Could not create TavAssetAnalysisReporterRef");
    reporter.get()->messages = ZoArrayCreateMutable(allocator, 0, &kZoTypeArrayCallBacks);
    if (!reporter.get()->messages)
        return TAV_SIGNAL(kTavAssetAnalysisReporterError_AllocationFailed, "Could not allocate messageArray");
    *outNewReporter = reporter.release();
    return 0;
}

// MARK: messages

static OSStatus assetAnalysisCheckMessage(TavAssetAnalysisReporterRef reporter, ZoDictionaryRef messageDict,
                                          const char* operation)
{
    if (!reporter) return TAV_SIGNAL_FROM(operation, kTavAssetAnalysisReporterError_InvalidParameter, "NULL reporter");
    if (!messageDict)
        return TAV_SIGNAL_FROM(operation, kTavAssetAnalysisReporterError_InvalidParameter, "NULL messageDict");
    if (ZoDictionaryGetCount(messageDict) < 2)
        return TAV_SIGNAL_FROM(operation, kTavAssetAnalysisReporterError_InvalidParameter, "Empty messageDict");
    if (!ZoDictionaryContainsKey(messageDict, kTavAssetAnalysisKey_AnalysisType))
        return TAV_SIGNAL_FROM(operation, kTavAssetAnalysisReporterError_InvalidParameter,
                               "messageDict must contain kTavAssetAnalysisKey_AnalysisType");
    return 0;
}

// A copy of the newest message for editing; nothing if there is none or no memory.
static ZoRef<ZoMutableDictionaryRef> assetAnalysisEditNewest(TavAssetAnalysisReporterRef reporter)
{
    const ZoIndex count = ZoArrayGetCount(reporter->messages);
    const auto newest = static_cast<ZoDictionaryRef>(ZoArrayGetValueAtIndex(reporter->messages, count - 1));
    return zoAdopt(ZoDictionaryCreateMutableCopy(ZoGetAllocator(reporter), 0, newest));
}

static void assetAnalysisReplaceNewest(TavAssetAnalysisReporterRef reporter, ZoDictionaryRef edited)
{
    ZoArraySetValueAtIndex(reporter->messages, ZoArrayGetCount(reporter->messages) - 1, edited);
}

// Setting and appending say nothing where there is no memory; what is there afterwards does.
static bool assetAnalysisSet(const ZoRef<ZoMutableDictionaryRef>& message, ZoStringRef key, const void* value)
{
    if (value) ZoDictionarySetValue(message.get(), key, value);
    return value && ZoDictionaryGetValue(message.get(), key) == value;
}
static bool assetAnalysisAppend(ZoMutableArrayRef array, const void* value)
{
    const ZoIndex count = ZoArrayGetCount(array);
    ZoArrayAppendValue(array, value);
    return ZoArrayGetCount(array) > count;
}

static OSStatus assetAnalysisAdd(TavAssetAnalysisReporterRef reporter, ZoDictionaryRef messageDict,
                                 const char* operation)
{
    if (assetAnalysisAppend(reporter->messages, messageDict)) return 0;
    return TAV_SIGNAL_FROM(operation, kTavAssetAnalysisReporterError_AllocationFailed, "Could not keep message");
}

OSStatus TavAssetAnalysisReporterAddMessage(TavAssetAnalysisReporterRef reporter, ZoDictionaryRef messageDict)
{
    TAV_TRY(assetAnalysisCheckMessage(reporter, messageDict, __func__));
    return assetAnalysisAdd(reporter, messageDict, __func__);
}

OSStatus TavAssetAnalysisReporterEditAndAppendMessage(TavAssetAnalysisReporterRef reporter, ZoDictionaryRef messageDict,
                                                      int32_t messageType)
{
    TAV_TRY(assetAnalysisCheckMessage(reporter, messageDict, __func__));
    if (ZoArrayGetCount(reporter->messages) == 0) return assetAnalysisAdd(reporter, messageDict, __func__);

    const auto edited = assetAnalysisEditNewest(reporter);
    if (!edited) return 0;
    const auto nested =
        static_cast<ZoArrayRef>(ZoDictionaryGetValue(edited.get(), kTavAssetAnalysisMovieMessageKey_AtomContainer));
    // The array is copied too: a message that its maker keeps must not change under it.
    const auto container = zoAdopt(nested ? ZoArrayCreateMutableCopy(ZoGetAllocator(reporter), 0, nested)
                                          : ZoArrayCreateMutable(ZoGetAllocator(reporter), 0, &kZoTypeArrayCallBacks));
    const int64_t wideType = messageType;
    const auto number = zoAdopt(ZoNumberCreate(ZoGetAllocator(reporter), kZoNumberSInt64Type, &wideType));
    if (container && assetAnalysisAppend(container.get(), messageDict) &&
        assetAnalysisSet(edited, kTavAssetAnalysisMovieMessageKey_AtomContainer, container.get()) &&
        assetAnalysisSet(edited, kTavAssetAnalysisMovieMessageKey_MessageType, number.get()))
        assetAnalysisReplaceNewest(reporter, edited.get());
    return 0;  // else the newest message stays as it was
}

OSStatus TavAssetAnalysisReporterEditAndCombineMessage(TavAssetAnalysisReporterRef reporter,
                                                       ZoDictionaryRef messageDict)
{
    TAV_TRY(assetAnalysisCheckMessage(reporter, messageDict, __func__));
    if (ZoArrayGetCount(reporter->messages) == 0) return assetAnalysisAdd(reporter, messageDict, __func__);

    const auto edited = assetAnalysisEditNewest(reporter);
    if (!edited) return 0;
    for (ZoStringRef key : {kTavAssetAnalysisMovieMessageKey_TrackID, kTavAssetAnalysisMovieMessageKey_TrackType}) {
        const void* value = ZoDictionaryGetValue(messageDict, key);
        if (value && !assetAnalysisSet(edited, key, value)) return 0;
    }
    const ZoStringRef key = kTavAssetAnalysisKey_DiagnosticInformation;
    if (const auto text = static_cast<ZoStringRef>(ZoDictionaryGetValue(messageDict, key))) {
        const auto combined = zoAdopt(ZoStringCreateMutableCopy(ZoGetAllocator(reporter), 0, text));
        const auto old = static_cast<ZoStringRef>(ZoDictionaryGetValue(edited.get(), key));
        if (combined && old) ZoStringAppend(combined.get(), old);
        const ZoIndex length = ZoStringGetLength(text) + (old ? ZoStringGetLength(old) : 0);
        if (!combined || ZoStringGetLength(combined.get()) != length) return 0;
        if (!assetAnalysisSet(edited, key, combined.get())) return 0;
    }
    assetAnalysisReplaceNewest(reporter, edited.get());
    return 0;
}

OSStatus TavAssetAnalysisReporterCopyMessages(TavAssetAnalysisReporterRef reporter, ZoArrayRef* messagesOut)
{
    if (messagesOut) *messagesOut = nullptr;
    if (!reporter) return TAV_SIGNAL(kTavAssetAnalysisReporterError_InvalidParameter, "NULL reporter");
    if (!messagesOut) return TAV_SIGNAL(kTavAssetAnalysisReporterError_InvalidParameter, "NULL messagesOut");
    *messagesOut = ZoArrayCreateCopy(ZoGetAllocator(reporter), reporter->messages);
    if (!*messagesOut) return TAV_SIGNAL(kTavAssetAnalysisReporterError_AllocationFailed, "Could not copy messages");
    return 0;
}

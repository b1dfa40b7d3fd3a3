#include "Core/TavFormatDescription/TavFormatDescriptionPrivate.h"
#include "Foundation/Objects/ZoHashingPrivate.h"
#include "Foundation/Objects/ZoRef.h"
#include "Foundation/PropertyLists/ZoPropertyList.h"
#include "Foundation/Text/ZoString.h"
#include "Platform/Common/CommonThread.h"
#include "Platform/Common/TavLog.h"
#include "Platform/Ostra/OstraDebug.h"
#include "Platform/Ostra/OstraThread.h"
#include "Utilities/TavZoUtilities.h"

static_assert(sizeof(TavDerivedFormatDescriptionCallbacks) == 36);

static LuFormatDescription_* asDescription(ZoTypeRef object)
{
    return static_cast<LuFormatDescription_*>(const_cast<void*>(object));
}

// MARK: the class

static void tavFormatDescriptionInit(ZoTypeRef object)
{
    LuFormatDescription_* description = asDescription(object);
    description->mediaType = 0;
    description->mediaSubType = 0;
    description->extensions = nullptr;
    description->kind = nullptr;
}

static void tavFormatDescriptionFinalize(ZoTypeRef object)
{
    LuFormatDescription_* description = asDescription(object);
    if (description->kind && description->kind->finalize) description->kind->finalize(description);
    if (description->extensions) ZoRelease(description->extensions);
    description->extensions = nullptr;
}

static Boolean tavFormatDescriptionEqual(ZoTypeRef object1, ZoTypeRef object2)
{
    return LuFormatDescriptionEqualIgnoringExtensionKeys(asDescription(object1), asDescription(object2), nullptr,
                                                         nullptr);
}

// Of what equal ones of every kind have in common.
static ZoHashCode tavFormatDescriptionHash(ZoTypeRef object)
{
    return zoHashMix(asDescription(object)->mediaType, asDescription(object)->mediaSubType);
}

static ZoStringRef tavFormatDescriptionKindName(LuMediaType mediaType)
{
    switch (mediaType) {
        case kLuMediaType_Video: return ZOSTR("Video");
        case kLuMediaType_AuxiliaryPicture: return ZOSTR("AuxiliaryPicture");
        case kLuMediaType_Audio: return ZOSTR("Audio");
        case kLuMediaType_Metadata: return ZOSTR("Metadata");
        case kLuMediaType_Muxed: return ZOSTR("Muxed");
        case kLuMediaType_TaggedBufferGroup: return ZOSTR("TaggedBufferGroup");
        case kLuMediaType_Text: return ZOSTR("Text");
        case kLuMediaType_ClosedCaption: return ZOSTR("ClosedCaption");
        case kLuMediaType_Subtitle: return ZOSTR("Subtitle");
        case kLuMediaType_Scene: return ZOSTR("Scene");
        case kLuMediaType_PointCloud: return ZOSTR("PointCloud");
        default: return ZOSTR("");
    }
}

static ZoStringRef tavFormatDescriptionCopyDebugDesc(ZoTypeRef object)
{
    const LuFormatDescription_* description = asDescription(object);
    const OSType type = description->mediaType, subType = description->mediaSubType;
    const TavDerivedFormatDescriptionCallbacks* kind = description->kind;
    const auto mediaSpecific = zoAdopt(kind && kind->copyDebugDesc ? kind->copyDebugDesc(description) : nullptr);
    return ZoStringCreateWithFormat(
        nullptr, nullptr,
        ZOSTR("<Lu%@FormatDescription %p [%p]> {\n\tmediaType:'%c%c%c%c' \n\tmediaSubType:'%c%c%c%c' "
              "\n\tmediaSpecific: {\n%@ \n\t} \n\textensions: {%@}\n}"),
        tavFormatDescriptionKindName(type), object, static_cast<const void*>(ZoGetAllocator(object)), type >> 24 & 0xFF,
        type >> 16 & 0xFF, type >> 8 & 0xFF, type & 0xFF, subType >> 24 & 0xFF, subType >> 16 & 0xFF,
        subType >> 8 & 0xFF, subType & 0xFF, mediaSpecific.get(), description->extensions);
}

static ZoTypeID sTypeID;

static void tavFormatDescriptionRegisterClass()
{
    static constexpr ZoRuntimeClass kClass = {.version = 0,
                                              .className = "LuFormatDescription",
                                              .init = tavFormatDescriptionInit,
                                              .copy = nullptr,
                                              .finalize = tavFormatDescriptionFinalize,
                                              .equal = tavFormatDescriptionEqual,
                                              .hash = tavFormatDescriptionHash,
                                              .copyFormattingDesc = nullptr,
                                              .copyDebugDesc = tavFormatDescriptionCopyDebugDesc,
                                              .unused = {}};
    sTypeID = _ZoRuntimeRegisterClass(&kClass);
}

ZoTypeID LuFormatDescriptionGetTypeID(void)
{
    static TavThreadOnce sOnce = PTHREAD_ONCE_INIT;
    TavThreadRunOnce(&sOnce, tavFormatDescriptionRegisterClass);
    return sTypeID;
}

// MARK: creation

static void tavFormatDescriptionLogExtensions(const char* function, ZoDictionaryRef extensions)
{
    tav_log(kTavLogType_Error, kTavLogFlag_LocalTime, 0, 0,
            TAV_SUBSYSTEM
            " %s: Failed since extensions dictionary contains key/value that cannot be in a property list",
            function);
    tav_log(kTavLogType_Error, kTavLogFlag_LocalTime, 0, 0, TAV_SUBSYSTEM " %s: extensions: %@", function, extensions);
    TavLogBacktrace();
}

/// Both creations. Failures are signalled in the name of `operation`.
static OSStatus tavFormatDescriptionCreate(const char* operation, ZoAllocatorRef allocator, LuMediaType mediaType,
                                           OSType mediaSubType, ZoDictionaryRef extensions,
                                           LuFormatDescriptionRef* descriptionOut)
{
    if (mediaType == 0) return TAV_SIGNAL_FROM(operation, kTavFormatDescriptionError_InvalidParameter, "!mediaType");
    if (!tavFormatDescriptionRegistryExists())
        return TAV_SIGNAL_FROM(operation, kTavFormatDescriptionError_InvalidParameter,
                               "!sTavFormatDescriptionRegistry");
    const TavDerivedFormatDescriptionCallbacks* kind = tavFormatDescriptionFindKind(mediaType);
    if (!kind) return TAV_SIGNAL_FROM(operation, kTavFormatDescriptionError_InvalidParameter, "unregistered mediaType");

    constexpr size_t kFieldBytes = sizeof(LuFormatDescription_) - sizeof(ZoRuntimeBase);
    ZoIndex extraBytes;
    ZoRef<LuFormatDescriptionRef> description;
    if (!__builtin_add_overflow(kFieldBytes, kind->derivedStorageSize, &extraBytes))
        description = zoAdopt(static_cast<LuFormatDescriptionRef>(
            _ZoRuntimeCreateInstance(allocator, LuFormatDescriptionGetTypeID(), extraBytes, nullptr)));
    if (!description)
        return TAV_SIGNAL_FROM(operation, kTavFormatDescriptionError_AllocationFailed, "allocation failed");

    LuFormatDescription_* fields = asDescription(description.get());
    fields->kind = kind;
    fields->mediaType = mediaType;
    fields->mediaSubType = mediaSubType;
    if (extensions) {
        fields->extensions =
            static_cast<ZoDictionaryRef>(ZoPropertyListCreateDeepCopy(allocator, extensions, kZoPropertyListImmutable));
        if (!fields->extensions) {
            description.reset();
            const OSStatus status = TAV_SIGNAL_FROM(operation, kTavFormatDescriptionError_InvalidParameter,
                                                    "couldn't copy extensions dictionary");
            tavFormatDescriptionLogExtensions(operation, extensions);
            return status;
        }
    }
    *descriptionOut = description.release();
    return 0;
}

OSStatus TavDerivedFormatDescriptionCreate(ZoAllocatorRef allocator, LuMediaType mediaType, OSType mediaSubType,
                                           ZoDictionaryRef extensions, LuFormatDescriptionRef* descriptionOut)
{
    if (!descriptionOut) return TAV_SIGNAL(kTavFormatDescriptionError_InvalidParameter, "NULL == descOut");
    return tavFormatDescriptionCreate(__func__, allocator, mediaType, mediaSubType, extensions, descriptionOut);
}

OSStatus LuFormatDescriptionCreate(ZoAllocatorRef allocator, LuMediaType mediaType, OSType mediaSubType,
                                   ZoDictionaryRef extensions, LuFormatDescriptionRef* descriptionOut)
{
    if (!descriptionOut) return TAV_SIGNAL(kTavFormatDescriptionError_InvalidParameter, "!outDesc");
    tavFormatDescriptionRegisterGenericKind();
    return tavFormatDescriptionCreate(__func__, allocator, mediaType, mediaSubType, extensions, descriptionOut);
}

// MARK: fields

void* TavDerivedFormatDescriptionGetDerivedStorage(LuFormatDescriptionRef description)
{
    if (description) return description->kind->derivedStorageSize != 0 ? asDescription(description) + 1 : nullptr;
    (void)TAV_SIGNAL(kTavFormatDescriptionError_InvalidParameter, "!desc");
    return nullptr;
}

void* TavDerivedFormatDescriptionGetDerivedStorageOfKind(LuFormatDescriptionRef description,
                                                         const TavDerivedFormatDescriptionCallbacks* callbacks)
{
    // A kind that serves several media types is registered once for each; its functions tell it.
    const bool isOfKind = description && description->kind->equal == callbacks->equal &&
                          description->kind->derivedStorageSize == callbacks->derivedStorageSize;
    return isOfKind ? TavDerivedFormatDescriptionGetDerivedStorage(description) : nullptr;
}

LuMediaType LuFormatDescriptionGetMediaType(LuFormatDescriptionRef description)
{
    return description ? description->mediaType : 0;
}

OSType LuFormatDescriptionGetMediaSubType(LuFormatDescriptionRef description)
{
    return description ? description->mediaSubType : 0;
}

ZoDictionaryRef LuFormatDescriptionGetExtensions(LuFormatDescriptionRef description)
{
    return description ? description->extensions : nullptr;
}

ZoPropertyListRef LuFormatDescriptionGetExtension(LuFormatDescriptionRef description, ZoStringRef key)
{
    return TavZoDictionaryGetValue(LuFormatDescriptionGetExtensions(description), key);
}

LuFormatDescriptionRef TavFormatDescriptionRetain(LuFormatDescriptionRef description)
{
    if (description) ZoRetain(description);
    return description;
}

void TavFormatDescriptionRelease(LuFormatDescriptionRef description)
{
    if (description) ZoRelease(description);
}

#include "Core/TavFormatDescription/TavFormatDescriptionPrivate.h"
#include "Platform/Common/CommonThread.h"
#include "Platform/Common/TavLog.h"
#include "Platform/Ostra/OstraThread.h"

// Each kind's own registration, which runs once however often it is called. Weak until the kind's module is there,
// which loses the mark then: a weak reference does not fetch it from the archive. Meanwhile the generic kind serves its
// types. The object file that registers a kind holds what descriptions of it need, storage, equality, text for people,
// and nothing that reads a codec's or a file's records: every program with format descriptions carries it.
ZO_EXTERN_C_BEGIN
void TavVideoFormatDescriptionRegister(void) __attribute__((weak));
void TavAudioFormatDescriptionRegister(void) __attribute__((weak));
void TavMetadataFormatDescriptionRegister(void) __attribute__((weak));
void TavMuxedFormatDescriptionRegister(void) __attribute__((weak));
void TavTaggedBufferGroupFormatDescriptionRegister(void) __attribute__((weak));
void TavTimeCodeFormatDescriptionRegister(void) __attribute__((weak));
ZO_EXTERN_C_END

static constexpr LuMediaType kGenericMediaType = LU_FOURCC('g', 'e', 'n', 'r');

namespace {

struct OnDemandKind {
    LuMediaType mediaType;
    void (*registerKind)(void);
};

}  // namespace

static const OnDemandKind kOnDemandKinds[] = {
    {kLuMediaType_Video, TavVideoFormatDescriptionRegister},
    {kLuMediaType_AuxiliaryPicture, TavVideoFormatDescriptionRegister},
    {kLuMediaType_Picture, TavVideoFormatDescriptionRegister},
    {kLuMediaType_Metadata, TavMetadataFormatDescriptionRegister},
    {kLuMediaType_Muxed, TavMuxedFormatDescriptionRegister},
    {kLuMediaType_Audio, TavAudioFormatDescriptionRegister},
    {kLuMediaType_TaggedBufferGroup, TavTaggedBufferGroupFormatDescriptionRegister},
    {kLuMediaType_TimeCode, TavTimeCodeFormatDescriptionRegister},
};

static void tavFormatDescriptionRegisterOnDemand(const OnDemandKind& kind)
{
    const LuMediaType mediaType = kind.mediaType;
    if (tavTraceIsOn(&gTavFormatDescTrace))
        tav_log(kTavLogType_Notice, kTavLogFlag_LocalTime, 0, 0, TAV_SUBSYSTEM " %s: registering '%c%c%c%c'", __func__,
                static_cast<char>(mediaType >> 24), static_cast<char>(mediaType >> 16),
                static_cast<char>(mediaType >> 8), static_cast<char>(mediaType));
    kind.registerKind();
}

const TavDerivedFormatDescriptionCallbacks* tavFormatDescriptionFindKind(LuMediaType mediaType)
{
    if (const TavDerivedFormatDescriptionCallbacks* kind = tavFormatDescriptionGetKind(mediaType)) return kind;
    for (const OnDemandKind& kind : kOnDemandKinds) {
        if (kind.mediaType != mediaType || !kind.registerKind) continue;
        tavFormatDescriptionRegisterOnDemand(kind);
        // Where that failed, the generic kind must not stand in: the storage that the kind counts on would be missing.
        return tavFormatDescriptionGetKind(mediaType);
    }
    return tavFormatDescriptionGetKind(kGenericMediaType);
}

// MARK: the generic kind

static Boolean tavGenericFormatDescriptionEqual(LuFormatDescriptionRef description1,
                                                LuFormatDescriptionRef description2, ZoTypeRef keysToIgnore,
                                                ZoTypeRef extensionAtomKeysToIgnore)
{
    return TavFormatDescriptionExtensionsDictionariesEqualIgnoringKeys(LuFormatDescriptionGetExtensions(description1),
                                                                       LuFormatDescriptionGetExtensions(description2),
                                                                       keysToIgnore, extensionAtomKeysToIgnore);
}

static void tavGenericFormatDescriptionRegister()
{
    const TavDerivedFormatDescriptionCallbacks callbacks = {.version = 0,
                                                            .derivedStorageSize = 0,
                                                            .equal = tavGenericFormatDescriptionEqual,
                                                            .copyDebugDesc = nullptr,
                                                            .finalize = nullptr};
    TavDerivedFormatDescriptionRegister(kGenericMediaType, &callbacks);
}

void tavFormatDescriptionRegisterGenericKind()
{
    static TavThreadOnce sOnce = PTHREAD_ONCE_INIT;
    TavThreadRunOnce(&sOnce, tavGenericFormatDescriptionRegister);
}

// Block buffers as attachment bearers: one dictionary for each mode, made when something is attached in it.

#include "Core/TavAttachmentBearer/TavAttachmentBearer.h"
#include "Core/TavBlockBuffer/TavBlockBufferPrivate.h"
#include "Foundation/Collections/ZoDictionary.h"

ZO_DEFINE_STRING(kLuBlockBufferAttachmentKey_YxDataBuffer, "YxDataBuffer");

static LuBlockBufferRef bbufOf(ZoTypeRef object) { return static_cast<LuBlockBufferRef>(const_cast<void*>(object)); }

static void BBufSetAttachment(ZoTypeRef object, ZoStringRef key, ZoTypeRef value, LuAttachmentMode mode)
{
    if (mode > kLuAttachmentMode_ShouldPropagate) return;
    ZoMutableDictionaryRef& inMode = bbufOf(object)->attachments[mode];
    ZoMutableDictionaryRef inOtherMode = bbufOf(object)->attachments[1 - mode];
    if (!inMode) {
        inMode = ZoDictionaryCreateMutable(ZoGetAllocator(object), 0, &kZoCopyStringDictionaryKeyCallBacks,
                                           &kZoTypeDictionaryValueCallBacks);
    }
    if (inMode && value) ZoDictionarySetValue(inMode, key, value);
    if (inMode && !value) ZoDictionaryRemoveValue(inMode, key);
    // What could not be attached in this mode, for want of memory, stays in the other.
    const bool isSet = !value || (inMode && ZoDictionaryGetValue(inMode, key) == value);
    if (inOtherMode && isSet) ZoDictionaryRemoveValue(inOtherMode, key);
}

static ZoTypeRef BBufGetAttachment(ZoTypeRef object, ZoStringRef key, LuAttachmentMode* modeOut)
{
    for (LuAttachmentMode mode = 0; mode <= kLuAttachmentMode_ShouldPropagate; ++mode) {
        ZoDictionaryRef attachments = bbufOf(object)->attachments[mode];
        ZoTypeRef value = attachments ? ZoDictionaryGetValue(attachments, key) : nullptr;
        if (!value) continue;
        if (modeOut) *modeOut = mode;
        return value;
    }
    return nullptr;
}

static void BBufRemoveAttachment(ZoTypeRef object, ZoStringRef key)
{
    for (ZoMutableDictionaryRef attachments : bbufOf(object)->attachments) {
        if (attachments) ZoDictionaryRemoveValue(attachments, key);
    }
}

static void BBufRemoveAllAttachments(ZoTypeRef object)
{
    for (ZoMutableDictionaryRef& attachments : bbufOf(object)->attachments) {
        if (attachments) ZoRelease(attachments);
        attachments = nullptr;
    }
}

static ZoDictionaryRef BBufCopyDictionaryOfAttachments(ZoAllocatorRef allocator, ZoTypeRef object,
                                                       LuAttachmentMode mode)
{
    if (mode > kLuAttachmentMode_ShouldPropagate) return nullptr;
    ZoDictionaryRef attachments = bbufOf(object)->attachments[mode];
    return attachments ? ZoDictionaryCreateCopy(allocator, attachments) : nullptr;
}

static const TavAttachmentBearerCallbacks sTavBlockBufferAttachmentBearerCallbacks = {
    .version = 0,
    .setAttachment = BBufSetAttachment,
    .getAttachment = BBufGetAttachment,
    .removeAttachment = BBufRemoveAttachment,
    .removeAllAttachments = BBufRemoveAllAttachments,
    .copyDictionaryOfAttachments = BBufCopyDictionaryOfAttachments,
};

void TavAttachmentsRegisterBlockBuffer(void)
{
    TavRuntimeEnsureAttachmentBearerWithTypeID(&sTavBlockBufferAttachmentBearerCallbacks, LuBlockBufferGetTypeID());
}

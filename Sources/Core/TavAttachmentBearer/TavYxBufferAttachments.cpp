// Pixel buffers keep attachments of their own, in the same two modes; the table only forwards.

#include "Core/TavAttachmentBearer/TavYxBufferAttachments.h"

#include "Core/TavAttachmentBearer/TavAttachmentBearer.h"
#include "Foundation/Images/YxImageBuffer.h"

static YxBufferRef bufferOf(ZoTypeRef object) { return static_cast<YxBufferRef>(const_cast<void*>(object)); }

static void TavYxBufferSetAttachment(ZoTypeRef object, ZoStringRef key, ZoTypeRef value, LuAttachmentMode mode)
{
    if (value)
        YxBufferSetAttachment(bufferOf(object), key, value, mode);
    else
        YxBufferRemoveAttachment(bufferOf(object), key);
}

static ZoTypeRef TavYxBufferGetAttachment(ZoTypeRef object, ZoStringRef key, LuAttachmentMode* modeOut)
{
    return YxBufferGetAttachment(bufferOf(object), key, modeOut);
}

static void TavYxBufferRemoveAttachment(ZoTypeRef object, ZoStringRef key)
{
    YxBufferRemoveAttachment(bufferOf(object), key);
}

static void TavYxBufferRemoveAllAttachments(ZoTypeRef object) { YxBufferRemoveAllAttachments(bufferOf(object)); }

static ZoDictionaryRef TavYxBufferCopyDictionaryOfAttachments(ZoAllocatorRef, ZoTypeRef object, LuAttachmentMode mode)
{
    return YxBufferCopyAttachments(bufferOf(object), mode);
}

static const TavAttachmentBearerCallbacks sTavYxBufferAttachmentBearerCallbacks = {
    .version = 0,
    .setAttachment = TavYxBufferSetAttachment,
    .getAttachment = TavYxBufferGetAttachment,
    .removeAttachment = TavYxBufferRemoveAttachment,
    .removeAllAttachments = TavYxBufferRemoveAllAttachments,
    .copyDictionaryOfAttachments = TavYxBufferCopyDictionaryOfAttachments,
};

void TavAttachmentsRegisterYxBuffer(void)
{
    TavRuntimeRegisterAttachmentBearerWithTypeID(&sTavYxBufferAttachmentBearerCallbacks, YxPixelBufferGetTypeID());
}

#include "Foundation/Images/YxImageBuffer.h"

#include <cstring>
#include <mutex>
#include <new>

#include "Foundation/Objects/ZoAllocator.h"
#include "Foundation/Objects/ZoAssertPrivate.h"
#include "Foundation/Objects/ZoRef.h"
#include "Foundation/Text/ZoString.h"

namespace {

constexpr YxAttachmentMode kModes = 2;

struct Attachments {
    std::mutex lock;
    ZoRef<ZoMutableDictionaryRef> byMode[kModes];  // each key in at most one of them
};

}  // namespace

struct YxBuffer_ {
    ZoRuntimeBase header;
    size_t width, height, bytesPerRow;
    uint32_t pixelFormatType;
    void* pixels;
    alignas(Attachments) unsigned char attachments[sizeof(Attachments)];
};

namespace {

YxBuffer_* bufferOf(ZoTypeRef object) { return static_cast<YxBuffer_*>(const_cast<void*>(object)); }

Attachments& attachmentsOf(YxBufferRef buffer)
{
    return *std::launder(reinterpret_cast<Attachments*>(buffer->attachments));
}

void pixelBufferInit(ZoTypeRef object) { new (bufferOf(object)->attachments) Attachments; }

void pixelBufferFinalize(ZoTypeRef object)
{
    attachmentsOf(bufferOf(object)).~Attachments();
    ZoAllocatorDeallocate(ZoGetAllocator(object), bufferOf(object)->pixels);
}

ZoStringRef pixelBufferCopyDescription(ZoTypeRef object)
{
    const YxBuffer_* buffer = bufferOf(object);
    return ZoStringCreateWithFormat(nullptr, nullptr, ZOSTR("<YxPixelBuffer %zux%zu, format 0x%08x, %zu bytes a row>"),
                                    buffer->width, buffer->height, buffer->pixelFormatType, buffer->bytesPerRow);
}

const ZoRuntimeClass kPixelBufferClass = {
    .version = 0,
    .className = "YxPixelBuffer",
    .init = pixelBufferInit,
    .copy = nullptr,
    .finalize = pixelBufferFinalize,
    .equal = nullptr,
    .hash = nullptr,
    .copyFormattingDesc = nullptr,
    .copyDebugDesc = pixelBufferCopyDescription,
    .unused = {},
};

bool isBuffer(YxBufferRef buffer) { return buffer && ZoGetTypeID(buffer) == YxPixelBufferGetTypeID(); }

/// Takes the attachment out of where it is. Its value comes back, so that it is released without the lock.
ZoRef<ZoTypeRef> take(Attachments& attachments, ZoStringRef key)
{
    for (auto& dictionary : attachments.byMode) {
        if (!dictionary) continue;
        auto value = ZoRef<ZoTypeRef>::retain(ZoDictionaryGetValue(dictionary.get(), key));
        if (!value) continue;
        ZoDictionaryRemoveValue(dictionary.get(), key);
        return value;
    }
    return nullptr;
}

}  // namespace

ZoTypeRef YxBufferCopyAttachment(YxBufferRef buffer, ZoStringRef key, YxAttachmentMode* mode)
{
    if (mode) *mode = kYxAttachmentModeShouldNotPropagate;
    if (!ZO_EXPECT(isBuffer(buffer), "not a buffer") || !key) return nullptr;
    Attachments& attachments = attachmentsOf(buffer);
    const std::lock_guard guard(attachments.lock);
    for (YxAttachmentMode m = 0; m < kModes; ++m) {
        if (!attachments.byMode[m]) continue;
        const ZoTypeRef value = ZoDictionaryGetValue(attachments.byMode[m].get(), key);
        if (!value) continue;
        if (mode) *mode = m;
        return ZoRetain(value);
    }
    return nullptr;
}

ZoTypeRef YxBufferGetAttachment(YxBufferRef buffer, ZoStringRef key, YxAttachmentMode* mode)
{
    // The buffer's own reference keeps the value, once this one is gone.
    return zoAdopt(YxBufferCopyAttachment(buffer, key, mode)).get();
}

ZoDictionaryRef YxBufferCopyAttachments(YxBufferRef buffer, YxAttachmentMode mode)
{
    if (!ZO_EXPECT(isBuffer(buffer), "not a buffer") || mode >= kModes) return nullptr;
    Attachments& attachments = attachmentsOf(buffer);
    const std::lock_guard guard(attachments.lock);
    const ZoDictionaryRef dictionary = attachments.byMode[mode].get();
    return dictionary && ZoDictionaryGetCount(dictionary) ? ZoDictionaryCreateCopy(nullptr, dictionary) : nullptr;
}

void YxBufferSetAttachment(YxBufferRef buffer, ZoStringRef key, ZoTypeRef value, YxAttachmentMode mode)
{
    if (!ZO_EXPECT(isBuffer(buffer), "not a buffer") || !key || !value || mode >= kModes) return;
    Attachments& attachments = attachmentsOf(buffer);
    ZoRef<ZoTypeRef> old;  // outlives the guard
    const std::lock_guard guard(attachments.lock);
    auto& dictionary = attachments.byMode[mode];
    if (!dictionary)
        dictionary.reset(
            ZoDictionaryCreateMutable(nullptr, 0, &kZoTypeDictionaryKeyCallBacks, &kZoTypeDictionaryValueCallBacks));
    if (!dictionary) return;
    old = take(attachments, key);
    ZoDictionarySetValue(dictionary.get(), key, value);
}

void YxBufferRemoveAttachment(YxBufferRef buffer, ZoStringRef key)
{
    if (!ZO_EXPECT(isBuffer(buffer), "not a buffer") || !key) return;
    Attachments& attachments = attachmentsOf(buffer);
    ZoRef<ZoTypeRef> old;
    const std::lock_guard guard(attachments.lock);
    old = take(attachments, key);
}

void YxBufferRemoveAllAttachments(YxBufferRef buffer)
{
    if (!ZO_EXPECT(isBuffer(buffer), "not a buffer")) return;
    Attachments& attachments = attachmentsOf(buffer);
    ZoRef<ZoMutableDictionaryRef> old[kModes];
    const std::lock_guard guard(attachments.lock);
    for (YxAttachmentMode m = 0; m < kModes; ++m) old[m] = std::move(attachments.byMode[m]);
}

ZoTypeID YxPixelBufferGetTypeID(void)
{
    static const ZoTypeID sTypeID = _ZoRuntimeRegisterClass(&kPixelBufferClass);
    return sTypeID;
}

YxPixelBufferRef YxPixelBufferCreate(ZoAllocatorRef allocator, size_t width, size_t height, uint32_t pixelFormatType,
                                     size_t bytesPerRow)
{
    size_t size;
    if (!width || !height || !bytesPerRow || __builtin_mul_overflow(height, bytesPerRow, &size) || size > PTRDIFF_MAX)
        return nullptr;
    auto buffer = zoAdopt(bufferOf(_ZoRuntimeCreateInstance(allocator, YxPixelBufferGetTypeID(),
                                                            sizeof(YxBuffer_) - sizeof(ZoRuntimeBase), nullptr)));
    if (!buffer) return nullptr;
    void* pixels = ZoAllocatorAllocate(allocator, static_cast<ZoIndex>(size), 0);
    if (!pixels) return nullptr;
    memset(pixels, 0, size);
    YxBuffer_& fields = *buffer.get();
    fields.width = width;
    fields.height = height;
    fields.bytesPerRow = bytesPerRow;
    fields.pixelFormatType = pixelFormatType;
    fields.pixels = pixels;
    return buffer.release();
}

size_t YxPixelBufferGetWidth(YxPixelBufferRef pixelBuffer)
{
    return ZO_EXPECT(isBuffer(pixelBuffer), "not a pixel buffer") ? pixelBuffer->width : 0;
}

size_t YxPixelBufferGetHeight(YxPixelBufferRef pixelBuffer)
{
    return ZO_EXPECT(isBuffer(pixelBuffer), "not a pixel buffer") ? pixelBuffer->height : 0;
}

size_t YxPixelBufferGetBytesPerRow(YxPixelBufferRef pixelBuffer)
{
    return ZO_EXPECT(isBuffer(pixelBuffer), "not a pixel buffer") ? pixelBuffer->bytesPerRow : 0;
}

uint32_t YxPixelBufferGetPixelFormatType(YxPixelBufferRef pixelBuffer)
{
    return ZO_EXPECT(isBuffer(pixelBuffer), "not a pixel buffer") ? pixelBuffer->pixelFormatType : 0;
}

void* YxPixelBufferGetBaseAddress(YxPixelBufferRef pixelBuffer)
{
    return ZO_EXPECT(isBuffer(pixelBuffer), "not a pixel buffer") ? pixelBuffer->pixels : nullptr;
}

WnSize YxImageBufferGetEncodedSize(YxImageBufferRef imageBuffer)
{
    return {static_cast<WnFloat>(YxPixelBufferGetWidth(imageBuffer)),
            static_cast<WnFloat>(YxPixelBufferGetHeight(imageBuffer))};
}

// What a block buffer looks like to someone who debugs.

#include "Core/TavBlockBuffer/TavBlockBufferPrivate.h"
#include "Foundation/Collections/ZoDictionary.h"
#include "Foundation/Objects/ZoRef.h"
#include "Foundation/Text/ZoString.h"

namespace {
// Nested buffers are described in place, as far as a reader may be expected to follow: a buffer that is referred to
// many times is described as often, so without a bound a few buffers could ask for any number of lines.
struct Description {
    ZoMutableStringRef text;
    int nestedDescriptionsLeft = 4096;
};
}  // namespace

static constexpr int kIndentWidth = 4;
static constexpr int kMaximumDescribedDepth = 64;

static void describeBuffer(Description* description, LuBlockBufferRef buffer, int level);

static void describeAttachment(const void* key, const void* value, ZoMutableStringRef text, int level,
                               const char* modeMark)
{
    char keyText[200];
    const bool shown =
        ZoStringGetCString(static_cast<ZoStringRef>(key), keyText, sizeof keyText, kZoStringEncodingUTF8);
    ZoStringAppendFormat(text, nullptr, ZOSTR("%*s %-10s%s = %@\n"), level * kIndentWidth, "", shown ? keyText : "????",
                         modeMark, value);
}

static void describeHead(ZoMutableStringRef text, LuBlockBufferRef buffer, int level)
{
    ZoStringAppendFormat(text, nullptr,
                         ZOSTR("%*sLuBlockBuffer %p totalDataLength: %ld retainCount: %ld allocator: %p "
                               "subBlockCapacity: %d\n"),
                         level * kIndentWidth, "", static_cast<const void*>(buffer),
                         static_cast<long>(LuBlockBufferGetDataLength(buffer)),
                         static_cast<long>(ZoGetRetainCount(buffer)), static_cast<const void*>(ZoGetAllocator(buffer)),
                         buffer->subBlockCapacity);
    struct Context {
        ZoMutableStringRef text;
        int level;
        const char* modeMark;
    };
    for (int mode = 0; mode < 2; ++mode) {
        if (!buffer->attachments[mode]) continue;
        Context context = {text, level, mode == 1 ? "(P)" : ""};
        const auto describe = [](const void* key, const void* value, void* opaque) {
            const Context* to = static_cast<Context*>(opaque);
            describeAttachment(key, value, to->text, to->level, to->modeMark);
        };
        ZoDictionaryApplyFunction(buffer->attachments[mode], describe, &context);
    }
}

static void describeReference(Description* description, LuBlockBufferRef target, int level)
{
    ZoStringAppendCString(description->text, "Buffer Reference:\n", kZoStringEncodingASCII);
    if (level < kMaximumDescribedDepth && description->nestedDescriptionsLeft-- > 0) {
        describeBuffer(description, target, level);
    } else {
        describeHead(description->text, target, level);
    }
}

static void describeMemory(ZoMutableStringRef text, const SubBlock& piece)
{
    if (piece.isUnallocated())
        ZoStringAppendCString(text, "Memory UNALLOCATED", kZoStringEncodingASCII);
    else
        ZoStringAppendFormat(text, nullptr, ZOSTR("Memory Block %p"), piece.block);
    const long blockLength = static_cast<long>(piece.blockLength);
    if (piece.type == kBBufSubBlock_UnallocatedAllocator || piece.type == kBBufSubBlock_MemoryAllocator) {
        ZoStringAppendFormat(text, nullptr, ZOSTR(", %ld bytes (allocator %p)\n"), blockLength, piece.source);
        return;
    }
    const LuBlockBufferCustomBlockSource custom = piece.custom();
    ZoStringAppendFormat(text, nullptr, ZOSTR(", %ld bytes (custom V=%d A=%p F=%p R=%p)\n"), blockLength,
                         static_cast<int>(custom.version), reinterpret_cast<void*>(custom.AllocateBlock),
                         reinterpret_cast<void*>(custom.FreeBlock), custom.refCon);
}

static void describePiece(Description* description, const SubBlock& piece, int level)
{
    switch (piece.type) {
        case kBBufSubBlock_Unused:
            ZoStringAppendCString(description->text, "UNUSED!!!\n", kZoStringEncodingASCII);
            return;
        case kBBufSubBlock_Reference: describeReference(description, piece.target(), level + 1); return;
        case kBBufSubBlock_UnallocatedAllocator:
        case kBBufSubBlock_MemoryAllocator:
        case kBBufSubBlock_UnallocatedCustom:
        case kBBufSubBlock_MemoryCustom: describeMemory(description->text, piece); return;
    }
    ZoStringAppendCString(description->text, "UNKNOWN STATE!!!\n", kZoStringEncodingASCII);
}

static void describeBuffer(Description* description, LuBlockBufferRef buffer, int level)
{
    describeHead(description->text, buffer, level);
    int chainDepth = 0;
    for (LuBlockBufferRef table = buffer; table; table = table->overflow(), ++chainDepth) {
        for (int32_t i = 0; i < table->pieceCount(); ++i) {
            const SubBlock& piece = table->subBlocks()[i];
            ZoStringAppendFormat(description->text, nullptr, ZOSTR("%*s [%d] %ld bytes @ offset %ld "),
                                 level * kIndentWidth, "", (table->subBlockCapacity - 1) * chainDepth + i,
                                 static_cast<long>(table->lengthOf(i)), static_cast<long>(piece.offset));
            describePiece(description, piece, level);
        }
    }
}

ZoStringRef BBufCopyDebugDesc(ZoTypeRef object)
{
    ZoRef<ZoMutableStringRef> text = zoAdopt(ZoStringCreateMutable(kZoAllocatorDefault, 0));
    if (!text) return nullptr;
    Description description = {.text = text.get()};
    describeBuffer(&description, static_cast<LuBlockBufferRef>(const_cast<void*>(object)), 0);
    return text.release();
}

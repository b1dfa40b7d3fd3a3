// The block buffer as an object: its class, its tables, its end.

#include "Core/TavBlockBuffer/TavBlockBuffer.h"

#include <algorithm>

#include "Core/TavBlockBuffer/TavBlockBufferPrivate.h"
#include "Foundation/Text/ZoString.h"
#include "Platform/Ostra/OstraThread.h"

static void BBufFinalize(ZoTypeRef object);

static ZoStringRef BBufCopyFormattingDesc(ZoTypeRef object, ZoDictionaryRef)
{
    return ZoStringCreateWithFormat(kZoAllocatorDefault, nullptr, ZOSTR("[LuBlockBuffer %p]"), object);
}

static const ZoRuntimeClass sBBufClass = {
    .version = 0,
    .className = "LuBlockBuffer",
    .init = nullptr,
    .copy = nullptr,
    .finalize = BBufFinalize,
    .equal = nullptr,
    .hash = nullptr,
    .copyFormattingDesc = BBufCopyFormattingDesc,
    .copyDebugDesc = BBufCopyDebugDesc,
    .unused = {},
};

static TavThreadOnce sBBufOnce = TAV_THREAD_ONCE_INIT;
static ZoTypeID sBBufTypeID;

ZoTypeID LuBlockBufferGetTypeID(void)
{
    TavThreadRunOnce(&sBBufOnce, [] { sBBufTypeID = _ZoRuntimeRegisterClass(&sBBufClass); });
    return sBBufTypeID;
}

// The type becomes a bearer before there is an object of it. Outside the first once-step, which asks for the type ID.
static void bbufBecomeAttachmentBearer()
{
    static TavThreadOnce sOnce = TAV_THREAD_ONCE_INIT;
    TavThreadRunOnce(&sOnce, TavAttachmentsRegisterBlockBuffer);
}

LuBlockBufferRef bbufCreateTable(ZoAllocatorRef allocator, int32_t subBlockCapacity)
{
    bbufBecomeAttachmentBearer();
    const ZoIndex bytes = static_cast<ZoIndex>(sizeof(LuBlockBuffer_) - sizeof(ZoRuntimeBase)) +
                          static_cast<ZoIndex>(sizeof(SubBlock)) * subBlockCapacity;
    ZoTypeRef object = _ZoRuntimeCreateInstance(allocator, LuBlockBufferGetTypeID(), bytes, nullptr);
    if (!object) return nullptr;
    auto* table = static_cast<LuBlockBufferRef>(const_cast<void*>(object));
    table->subBlockCapacity = subBlockCapacity;
    return table;
}

OSStatus LuBlockBufferCreateEmpty(ZoAllocatorRef structureAllocator, uint32_t subBlockCapacity, LuBlockBufferFlags,
                                  LuBlockBufferRef* newBBufOut)
{
    if (!newBBufOut) return TAV_SIGNAL(kTavBlockBufferBadPointerParameterErr, "NULL newBBufOut");
    *newBBufOut = nullptr;
    LuBlockBufferRef table = nullptr;
    if (subBlockCapacity < INT32_MAX) {
        table = bbufCreateTable(structureAllocator, std::max(2, static_cast<int32_t>(subBlockCapacity) + 1));
    }
    if (!table) {
        return TAV_SIGNAL(kTavBlockBufferStructureAllocationFailedErr, "Could not allocate BlockBuffer structure");
    }
    *newBBufOut = table;
    return 0;
}

OSStatus bbufCreateForOnePiece(ZoAllocatorRef allocator, LuBlockBufferRef* newBBufOut)
{
    return LuBlockBufferCreateEmpty(allocator, 1, 0, newBBufOut);
}

OSStatus bbufAllocatePiece(SubBlock* piece, const char* operation, const BBufAllocationWords& words)
{
    const bool isCustom = piece->type == kBBufSubBlock_UnallocatedCustom;
    void* block = nullptr;
    if (isCustom) {
        block = piece->custom().AllocateBlock(piece->custom().refCon, piece->blockLength);
    } else if (piece->blockLength <= static_cast<size_t>(INTPTR_MAX)) {
        block = ZoAllocatorAllocate(piece->allocator(), static_cast<ZoIndex>(piece->blockLength), 0);
    }
    if (!block) {
        return TAV_SIGNAL_FROM(operation, kTavBlockBufferBlockAllocationFailedErr,
                               isCustom ? words.customSource : words.allocator);
    }
    piece->block = block;
    piece->type = isCustom ? kBBufSubBlock_MemoryCustom : kBBufSubBlock_MemoryAllocator;
    return 0;
}

void bbufDeallocateBlock(const SubBlock& piece)
{
    if (!piece.block) return;
    if (piece.type == kBBufSubBlock_MemoryCustom) {
        const LuBlockBufferCustomBlockSource& custom = piece.custom();
        if (custom.FreeBlock) custom.FreeBlock(custom.refCon, piece.block, piece.blockLength);
    } else if (piece.allocator() != kZoAllocatorNull) {
        ZoAllocatorDeallocate(piece.allocator(), piece.block);
    }
}

void bbufReleaseSource(const SubBlock& piece, ZoAllocatorRef structureAllocator)
{
    if (piece.type == kBBufSubBlock_UnallocatedCustom || piece.type == kBBufSubBlock_MemoryCustom) {
        ZoAllocatorDeallocate(structureAllocator, const_cast<void*>(piece.source));
    } else if (piece.source) {
        ZoRelease(piece.source);
    }
}

// Releasing a reference may end the next buffer, and so on: the run-time bounds how deep ends nest on the stack.
static void BBufFinalize(ZoTypeRef object)
{
    auto* buffer = static_cast<LuBlockBufferRef>(const_cast<void*>(object));
    for (int32_t i = 0; i < buffer->subBlockCount; ++i) {
        const SubBlock& piece = buffer->subBlocks()[i];
        if (piece.isReference()) {
            ZoRelease(piece.block);
        } else {
            bbufDeallocateBlock(piece);
            bbufReleaseSource(piece, ZoGetAllocator(object));
        }
    }
    bbufReleaseIndex(buffer);
    for (ZoMutableDictionaryRef attachments : buffer->attachments) {
        if (attachments) ZoRelease(attachments);
    }
}

LuBlockBufferRef TavBlockBufferRetain(LuBlockBufferRef buffer)
{
    if (buffer) ZoRetain(buffer);
    return buffer;
}

void TavBlockBufferRelease(LuBlockBufferRef buffer)
{
    if (buffer) ZoRelease(buffer);
}

Boolean LuBlockBufferIsEmpty(LuBlockBufferRef theBuffer) { return !theBuffer || theBuffer->subBlockCount == 0; }

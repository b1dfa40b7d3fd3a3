#include "Foundation/Objects/ZoRef.h"
#include "Platform/Common/TavLogPrivate.h"

// The collecting buffer is changed on its queue only.
static LuBlockBufferRef sNoteBBuf;
static dispatch_queue_t sNoteBBufQueue;
static constexpr uint32_t kPieces = 256;

OSStatus tav_log_prepare_block_buffer()
{
    TavLogControlLock lock;
    if (sNoteBBufQueue) return 0;
    LuBlockBufferRef buffer = nullptr;
    if (OSStatus status = LuBlockBufferCreateEmpty(nullptr, kPieces, 0, &buffer)) return status;
    sNoteBBuf = buffer;
    __atomic_store_n(&sNoteBBufQueue, dispatch_queue_create("com.orvane.luvia.tavnote", DISPATCH_QUEUE_SERIAL),
                     __ATOMIC_RELEASE);
    return 0;
}

static void appendOnQueue(void* context)
{
    const auto line = zoAdopt(static_cast<LuBlockBufferRef>(context));
    if (sNoteBBuf) LuBlockBufferAppendBufferReference(sNoteBBuf, line.get(), 0, 0, 0);
}

void tav_log_append_to_block_buffer(const char* text, size_t length)
{
    const dispatch_queue_t queue = __atomic_load_n(&sNoteBBufQueue, __ATOMIC_ACQUIRE);
    if (!queue) return;
    constexpr char kEnd[2] = {'\n', '\0'};
    const size_t size = length + sizeof(kEnd);
    ZoRef<LuBlockBufferRef> line;
    if (LuBlockBufferCreateWithMemoryBlock(nullptr, nullptr, size, nullptr, nullptr, 0, size,
                                           kLuBlockBufferAssureMemoryNowFlag, line.outParam()) != 0)
        return;
    if (length > 0) LuBlockBufferReplaceDataBytes(text, line.get(), 0, length);
    LuBlockBufferReplaceDataBytes(kEnd, line.get(), length, sizeof(kEnd));
    dispatch_async_f(queue, line.release(), appendOnQueue);
}

LuBlockBufferRef tav_log_take_block_buffer()
{
    const dispatch_queue_t queue = __atomic_load_n(&sNoteBBufQueue, __ATOMIC_ACQUIRE);
    if (!queue) return nullptr;
    LuBlockBufferRef taken = nullptr;
    dispatch_sync_f(queue, &taken, [](void* out) {
        *static_cast<LuBlockBufferRef*>(out) = sNoteBBuf;
        sNoteBBuf = nullptr;
        LuBlockBufferCreateEmpty(nullptr, kPieces, 0, &sNoteBBuf);
    });
    return taken;
}

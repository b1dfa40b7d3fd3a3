#include "Foundation/Objects/ZoRef.h"
#include "Platform/Common/TavLogPrivate.h"

// The collecting buffer is changed on its queue only, and absent where there was no memory for a new one.
static LuBlockBufferRef sNoteBBuf;
static dispatch_queue_t sNoteBBufQueue;
static constexpr uint32_t kPieces = 256;

namespace {

/// Block buffers signal their failures, and signalled failures come here as lines: a thread that is at work on a line
/// takes no other.
class LineAtWork {
public:
    LineAtWork() : isFirst_(!tAtWork) { tAtWork = true; }
    ~LineAtWork()
    {
        if (isFirst_) tAtWork = false;
    }
    LineAtWork(const LineAtWork&) = delete;
    LineAtWork& operator=(const LineAtWork&) = delete;
    bool isFirst() const { return isFirst_; }

private:
    static inline thread_local constinit bool tAtWork = false;
    const bool isFirst_;
};

}  // namespace

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
    const LineAtWork atWork;
    const auto line = zoAdopt(static_cast<LuBlockBufferRef>(context));
    if (!sNoteBBuf) LuBlockBufferCreateEmpty(nullptr, kPieces, 0, &sNoteBBuf);
    if (sNoteBBuf) LuBlockBufferAppendBufferReference(sNoteBBuf, line.get(), 0, 0, 0);
}

void tav_log_append_to_block_buffer(const char* text, size_t length)
{
    const dispatch_queue_t queue = __atomic_load_n(&sNoteBBufQueue, __ATOMIC_ACQUIRE);
    const LineAtWork atWork;
    if (!queue || !atWork.isFirst()) return;
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
        const LineAtWork atWork;
        *static_cast<LuBlockBufferRef*>(out) = sNoteBBuf;
        sNoteBBuf = nullptr;
        LuBlockBufferCreateEmpty(nullptr, kPieces, 0, &sNoteBBuf);
    });
    return taken;
}

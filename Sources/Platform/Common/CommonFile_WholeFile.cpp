#include <sys/mman.h>
#include <unistd.h>

#include "Foundation/Objects/ZoAllocator.h"
#include "Platform/Common/CommonFile.h"
#include "Platform/Ostra/OstraFilePrivate.h"

namespace {

// Gives its memory back unless it is handed on.
struct FileBlock {
    ZoAllocatorRef allocator;
    uint8_t* bytes;
    ~FileBlock()
    {
        if (bytes) ZoAllocatorDeallocate(allocator, bytes);
    }
};

// Memory that is written once from end to end costs most in page faults; large pages have few.
void preferLargePages(uint8_t* bytes, size_t size)
{
    constexpr size_t kWorthwhile = 4 << 20;
    if (size < kWorthwhile) return;
    const auto pageSize = static_cast<uintptr_t>(sysconf(_SC_PAGESIZE));
    const uintptr_t first = (reinterpret_cast<uintptr_t>(bytes) + pageSize - 1) / pageSize * pageSize;
    const uintptr_t end = (reinterpret_cast<uintptr_t>(bytes) + size) / pageSize * pageSize;
    madvise(reinterpret_cast<void*>(first), end - first, MADV_HUGEPAGE);
}

// Short transfers are no end: one call moves less than 2 GiB.
OSStatus readAll(TavFileForkRef fork, uint8_t* bytes, size_t length, size_t* countOut)
{
    for (*countOut = 0; *countOut < length;) {
        size_t count = 0;
        TAV_TRY(TavFileForkRead(fork, bytes + *countOut, length - *countOut, static_cast<int64_t>(*countOut), &count));
        if (count == 0) break;
        *countOut += count;
    }
    return 0;
}

}  // namespace

OSStatus fileCopyWholeFork(const char* operation, ZoAllocatorRef allocator, TavFileForkRef fork, ZoDataRef* dataOut)
{
    int64_t length = 0;
    TAV_TRY(TavFileForkGetLengthAtOffset(fork, 0, &length));
    size_t count = 0;
    FileBlock block = {allocator, nullptr};
    if (length > 0) {
        block.bytes = static_cast<uint8_t*>(ZoAllocatorAllocate(allocator, static_cast<ZoIndex>(length), 0));
        if (!block.bytes) return TAV_SIGNAL_FROM(operation, kTavFilePlatformError_AllocationFailed, "no data buffer");
        preferLargePages(block.bytes, static_cast<size_t>(length));
        TAV_TRY(readAll(fork, block.bytes, static_cast<size_t>(length), &count));
    }
    *dataOut = count == 0 ? ZoDataCreate(allocator, nullptr, 0)
                          : ZoDataCreateWithBytesNoCopy(allocator, block.bytes, static_cast<ZoIndex>(count),
                                                        allocator ? allocator : kZoAllocatorDefault);
    if (!*dataOut) return TAV_SIGNAL_FROM(operation, kTavFilePlatformError_AllocationFailed, "no zo data");
    if (count > 0) block.bytes = nullptr;
    return 0;
}

OSStatus TavFileReadURLAndCreateZoData(ZoURLRef url, ZoDataRef* outData)
{
    if (!outData) return TAV_SIGNAL(kTavFilePlatformError_InvalidParameter, "dataOut was NULL");
    *outData = nullptr;
    TavFileForkRef fork = nullptr;
    TAV_TRY(fileOpenForReadingAll(url, &fork));
    const OSStatus status = fileCopyWholeFork(__func__, nullptr, fork, outData);
    TavFileForkClose(fork);
    return status;
}

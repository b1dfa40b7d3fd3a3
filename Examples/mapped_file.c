// A file in a block buffer without a byte of it copied: the buffer refers to the mapped file, and gives the mapping
// back when the last one who needs it has gone. A second buffer puts bytes of its own in front of a part of the first.
//
//     mapped 36 bytes
//     head: quick brown fox
//     unmapped 36 bytes

#include <stdio.h>
#include <stdlib.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include "Core/TavBlockBuffer/LuBlockBuffer.h"

static void unmap(void* refCon, void* memory, size_t size)
{
    (void)refCon;
    munmap(memory, size);
    printf("unmapped %zu bytes\n", size);
}

// The file as a block buffer, which the caller releases.
static LuBlockBufferRef createFromFile(int file)
{
    struct stat state;
    if (fstat(file, &state) != 0 || state.st_size <= 0) return NULL;
    const size_t size = (size_t)state.st_size;
    void* memory = mmap(NULL, size, PROT_READ, MAP_PRIVATE, file, 0);
    if (memory == MAP_FAILED) return NULL;

    const LuBlockBufferCustomBlockSource source = {.version = 0, .FreeBlock = unmap};
    LuBlockBufferRef buffer;
    if (LuBlockBufferCreateWithMemoryBlock(NULL, memory, size, NULL, &source, 0, size, 0, &buffer) != 0) {
        munmap(memory, size);
        return NULL;
    }
    printf("mapped %zu bytes\n", LuBlockBufferGetDataLength(buffer));
    return buffer;
}

// "head: " and 15 bytes of `file`, from byte 4 on.
static OSStatus createMessage(LuBlockBufferRef file, LuBlockBufferRef* messageOut)
{
    static char sHead[] = "head: ";
    const size_t headLength = sizeof(sHead) - 1;
    OSStatus status = LuBlockBufferCreateWithMemoryBlock(NULL, sHead, headLength, kZoAllocatorNull, NULL, 0, headLength,
                                                         0, messageOut);
    if (status == 0) status = LuBlockBufferAppendBufferReference(*messageOut, file, 4, 15, 0);
    return status;
}

int main(void)
{
    char path[] = "/tmp/luvia-example-XXXXXX";
    const int file = mkstemp(path);
    if (file < 0) return EXIT_FAILURE;
    unlink(path);
    if (write(file, "The quick brown fox, and so forth.\r\n", 36) != 36) return EXIT_FAILURE;

    LuBlockBufferRef mapped = createFromFile(file), message = NULL;
    close(file);
    if (!mapped) return EXIT_FAILURE;
    OSStatus status = createMessage(mapped, &message);
    ZoRelease(mapped);  // the message still refers to it

    // From piece to piece, as writev(2) would take them.
    size_t at = 0, total = 1, run;
    char* bytes;
    while (status == 0 && at < total) {
        status = LuBlockBufferGetDataPointer(message, at, &run, &total, &bytes);
        if (status == 0) printf("%.*s", (int)run, bytes);
        at += run;
    }
    puts("");
    if (message) ZoRelease(message);
    return status == 0 ? EXIT_SUCCESS : EXIT_FAILURE;
}

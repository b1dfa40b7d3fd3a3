#include "Tests/Memory/FailingHeap.h"

#include <link.h>

#include <atomic>
#include <cerrno>
#include <cstddef>
#include <cstdlib>
#include <cstring>

#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
#define HEAP_IS_TAKEN
#elif defined(__has_feature)
#if __has_feature(address_sanitizer) || __has_feature(thread_sanitizer)
#define HEAP_IS_TAKEN
#endif
#endif

static std::atomic<int64_t> sCountdown, sLive;
static std::atomic<bool> sGoesOn, sRefused;

void failing_heap::failAt(int64_t n, bool andAfter)
{
    sRefused = false;
    sGoesOn = andAfter;
    sCountdown = n;
}
bool failing_heap::stopFailing()
{
    sCountdown = 0;
    return sRefused;
}
int64_t failing_heap::liveBlocks() { return sLive; }

struct Span {
    uintptr_t first, end;
};
static Span sSpared[16];

void failing_heap::spareCallsFrom(const char* part)
{
    const auto add = [](dl_phdr_info* info, size_t, void* wanted) {
        if (!std::strstr(info->dlpi_name, static_cast<const char*>(wanted))) return 0;
        for (int i = 0; i < info->dlpi_phnum; ++i) {
            const ElfW(Phdr)& segment = info->dlpi_phdr[i];
            if (segment.p_type != PT_LOAD || !(segment.p_flags & PF_X)) continue;
            Span* span = sSpared;
            while (span->end && span < sSpared + 15) ++span;
            span->first = info->dlpi_addr + segment.p_vaddr;
            span->end = span->first + segment.p_memsz;
        }
        return 0;
    };
    dl_iterate_phdr(add, const_cast<char*>(part));
}

#ifdef HEAP_IS_TAKEN
bool failing_heap::isThere() { return false; }
#else
bool failing_heap::isThere() { return true; }

static bool refuses(const void* caller)
{
    if (sCountdown <= 0) return false;
    for (const Span* span = sSpared; span->end; ++span)
        if (reinterpret_cast<uintptr_t>(caller) - span->first < span->end - span->first) return false;
    if (sCountdown.fetch_sub(1) != 1) return false;
    if (sGoesOn) sCountdown = 1;
    sRefused = true;
    errno = ENOMEM;
    return true;
}
static void* counted(void* block)
{
    if (block) ++sLive;
    return block;
}

#define CALLER __builtin_return_address(0)

extern "C" {
void* __libc_malloc(size_t size);
void* __libc_calloc(size_t count, size_t size);
void* __libc_realloc(void* block, size_t size);
void* __libc_memalign(size_t alignment, size_t size);
void __libc_free(void* block);

void* malloc(size_t size) { return refuses(CALLER) ? nullptr : counted(__libc_malloc(size)); }
void* calloc(size_t count, size_t size) { return refuses(CALLER) ? nullptr : counted(__libc_calloc(count, size)); }
void* realloc(void* block, size_t size)
{
    if (refuses(CALLER)) return nullptr;
    void* grown = __libc_realloc(block, size);
    return block ? grown : counted(grown);
}
void* memalign(size_t alignment, size_t size)
{
    return refuses(CALLER) ? nullptr : counted(__libc_memalign(alignment, size));
}
void* aligned_alloc(size_t alignment, size_t size) { return memalign(alignment, size); }
int posix_memalign(void** out, size_t alignment, size_t size)
{
    void* block = memalign(alignment, size);
    if (block) *out = block;
    return block ? 0 : ENOMEM;
}
void free(void* block)
{
    if (block) --sLive;
    __libc_free(block);
}
}
#endif

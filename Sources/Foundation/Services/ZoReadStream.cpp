#include "Foundation/Services/ZoReadStream.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <climits>

#include "Foundation/Objects/ZoAssertPrivate.h"
#include "Foundation/Objects/ZoRef.h"
#include "Foundation/Objects/ZoRuntimePrivate.h"

struct ZoReadStream_ {
    ZoRuntimeBase header;
    ZoURLRef url;
    int descriptor;  // -1 while not open
    bool wasOpened;
};

static ZoReadStream_* streamOf(ZoTypeRef object) { return static_cast<ZoReadStream_*>(const_cast<void*>(object)); }

static void readStreamInit(ZoTypeRef object) { streamOf(object)->descriptor = -1; }

static void readStreamFinalize(ZoTypeRef object)
{
    ZoReadStreamClose(streamOf(object));
    if (streamOf(object)->url) ZoRelease(streamOf(object)->url);
}

const ZoRuntimeClass __ZoReadStreamClass = {
    .version = 0,
    .className = "ZoReadStream",
    .init = readStreamInit,
    .copy = nullptr,
    .finalize = readStreamFinalize,
    .equal = nullptr,
    .hash = nullptr,
    .copyFormattingDesc = nullptr,
    .copyDebugDesc = nullptr,
    .unused = {},
};

ZoTypeID ZoReadStreamGetTypeID(void) { return kZoTypeIDReadStream; }

static bool isStream(ZoReadStreamRef stream) { return zoIsOfType(stream, kZoTypeIDReadStream); }

ZoReadStreamRef ZoReadStreamCreateWithFile(ZoAllocatorRef allocator, ZoURLRef fileURL)
{
    uint8_t path[PATH_MAX];
    if (!fileURL || !ZoURLGetFileSystemRepresentation(fileURL, true, path, sizeof path)) return nullptr;
    auto* stream = streamOf(_ZoRuntimeCreateInstance(allocator, kZoTypeIDReadStream,
                                                     sizeof(ZoReadStream_) - sizeof(ZoRuntimeBase), nullptr));
    if (stream) stream->url = ZoRef<ZoURLRef>::retain(fileURL).release();
    return stream;
}

Boolean ZoReadStreamOpen(ZoReadStreamRef stream)
{
    if (!ZO_EXPECT(isStream(stream), "not a stream") || stream->wasOpened) return false;
    uint8_t path[PATH_MAX];
    if (!ZoURLGetFileSystemRepresentation(stream->url, true, path, sizeof path)) return false;
    const int descriptor = open(reinterpret_cast<const char*>(path), O_RDONLY | O_CLOEXEC | O_NOCTTY);
    if (descriptor < 0) return false;
    struct stat status;
    if (fstat(descriptor, &status) != 0 || S_ISDIR(status.st_mode)) {
        close(descriptor);
        errno = EISDIR;
        return false;
    }
    stream->descriptor = descriptor;
    stream->wasOpened = true;
    return true;
}

ZoIndex ZoReadStreamRead(ZoReadStreamRef stream, uint8_t* buffer, ZoIndex length)
{
    if (!ZO_EXPECT(isStream(stream), "not a stream") || stream->descriptor < 0 || !buffer || length < 0) return -1;
    ssize_t count;
    do {
        count = read(stream->descriptor, buffer, static_cast<size_t>(length));
    } while (count < 0 && errno == EINTR);
    return count;
}

void ZoReadStreamClose(ZoReadStreamRef stream)
{
    if (!ZO_EXPECT(isStream(stream), "not a stream") || stream->descriptor < 0) return;
    close(stream->descriptor);
    stream->descriptor = -1;
}

#include <unistd.h>

#include <cerrno>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "Foundation/Objects/ZoAssertPrivate.h"
#include "Foundation/Objects/ZoObject.h"
#include "Foundation/Objects/ZoRef.h"
#include "Foundation/Text/ZoString.h"

namespace {

// One write for one line, so that lines of several threads do not mix.
void writeLine(const char* line, size_t length)
{
    while (length > 0) {
        const ssize_t written = write(STDERR_FILENO, line, length);
        if (written < 0 && errno == EINTR) continue;
        if (written <= 0) return;
        line += written;
        length -= static_cast<size_t>(written);
    }
}

}  // namespace

void ZoLog(int32_t, ZoStringRef format, ...)
{
    if (!ZO_EXPECT(format, "absent format")) return;
    const int savedErrno = errno;
    va_list arguments;
    va_start(arguments, format);
    const auto text = zoAdopt(ZoStringCreateWithFormatAndArguments(nullptr, nullptr, format, arguments));
    va_end(arguments);
    if (!text) return;

    char head[128];
    int headLength = std::snprintf(head, sizeof head, "%s[%d]: ", program_invocation_short_name, getpid());
    if (headLength < 0 || headLength >= static_cast<int>(sizeof head)) headLength = sizeof head - 1;
    const ZoIndex room = ZoStringGetMaximumSizeForEncoding(ZoStringGetLength(text.get()), kZoStringEncodingUTF8) + 1;
    auto* line = static_cast<char*>(std::malloc(static_cast<size_t>(headLength + room) + 1));
    if (!line) return;
    std::memcpy(line, head, static_cast<size_t>(headLength));
    if (ZoStringGetCString(text.get(), line + headLength, room, kZoStringEncodingUTF8)) {
        size_t length = std::strlen(line);
        if (line[length - 1] != '\n') line[length++] = '\n';
        writeLine(line, length);
    }
    std::free(line);
    errno = savedErrno;
}

// luvia-inspect: prints the tree of boxes of a movie or ISO file. Ends with 0, with 1 where the file is malformed, and
// with 2 where it cannot be read, is something else, or the command line cannot be.

#include <fcntl.h>
#include <getopt.h>
#include <sys/stat.h>

#include <cerrno>
#include <cstring>

#include "DataIO/TavByteStreams/TavForkByteStream.h"
#include "Foundation/Objects/ZoRef.h"
#include "Memory/Containers.h"
#include "Platform/Ostra/OstraDebugPrivate.h"
#include "inspect/Inspection.h"

// What the library finds wrong is printed behind the tree; it need not be logged as well.
extern "C" const TavDiagnosticServices __TavDiagnosticServices = {
    .log = [](uintptr_t, const void*, const char*, va_list) {},
    .logBacktrace = [](const char*) {},
    .wantsBacktraces = [] { return false; }};

namespace {

constexpr int kMalformed = 1, kUnreadable = 2;
constexpr char kUsage[] =
    "Usage: luvia-inspect [--json] FILE\n"
    "Prints the tree of boxes of a movie or ISO base media file, and what is wrong with it.\n\n"
    "  -j, --json     print one JSON object\n"
    "  -h, --help     show this and stop\n"
    "  -V, --version  show the version and stop\n\n"
    "Ends with 0 if the file is well formed, 1 if it is not, 2 if it cannot be read or is no such file.\n";

int refuse(const char* name, const char* reason)
{
    fprintf(stderr, "luvia-inspect: %s: %s\n", name, reason);
    return kUnreadable;
}

int inspectStream(const char* name, LuByteStreamRef stream, bool json)
{
    const Inspected result = inspectBoxes(stream, {.json = json, .name = name}, stdout);
    if (result == Inspected::kUnreadable) return refuse(name, strerror(errno));
    if (result == Inspected::kNotAMovie) return refuse(name, "not a movie or ISO file");
    if (result == Inspected::kCut) return refuse(name, "became shorter while it was read");
    if (fflush(stdout) != 0 || ferror(stdout)) return refuse(name, "the tree cannot be written");
    return result == Inspected::kWellFormed ? 0 : kMalformed;
}

int inspectFile(const char* name, bool json)
{
    // A FIFO without a writer must not hold the open up.
    const int descriptor = open(name, O_RDONLY | O_NONBLOCK | O_CLOEXEC | O_NOCTTY);
    if (descriptor < 0) return refuse(name, strerror(errno));
    TavFileForkRef fork = nullptr;
    ZoRef<LuByteStreamRef> stream;  // owns the fork
    if (TavFileWrapOstraFileDesc(descriptor, &fork) != 0 ||
        TavByteStreamCreateForTavFileFork(fork, 0, nullptr, stream.outParam()) != 0)
        memory::stop();
    struct stat info;
    if (fstat(descriptor, &info) != 0) return refuse(name, strerror(errno));
    if (!S_ISREG(info.st_mode)) return refuse(name, S_ISDIR(info.st_mode) ? "is a directory" : "is not a regular file");
    if (info.st_size == 0) return refuse(name, "is empty");
    return inspectStream(name, stream.get(), json);
}

}  // namespace

int main(int argc, char* argv[])
{
    static const option kOptions[] = {{"json", no_argument, nullptr, 'j'},
                                      {"help", no_argument, nullptr, 'h'},
                                      {"version", no_argument, nullptr, 'V'},
                                      {}};
    bool json = false;
    for (int letter; (letter = getopt_long(argc, argv, "jhV", kOptions, nullptr)) != -1;) {
        if (letter == 'h') return fputs(kUsage, stdout) < 0;
        if (letter == 'V') return puts("luvia-inspect " LUVIA_VERSION) < 0;
        if (letter == '?') return kUnreadable;
        json = true;
    }
    if (optind + 1 != argc) {
        fputs(kUsage, stderr);
        return kUnreadable;
    }
    return inspectFile(argv[optind], json);
}

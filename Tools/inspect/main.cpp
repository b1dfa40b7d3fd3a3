// luvia-inspect: prints the tree of boxes of a movie or ISO file. Ends with 0, with 1 where the file is malformed, and
// with 2 where it cannot be read, is something else, or the command line cannot be.

#include <fcntl.h>
#include <getopt.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstring>

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

// The file became shorter while it was mapped: what was read of it is all there is.
void tellThatPagesAreGone(int)
{
    static constexpr char kText[] = "luvia-inspect: the file became shorter while it was read\n";
    [[maybe_unused]] const ssize_t written = write(STDERR_FILENO, kText, sizeof(kText) - 1);
    _exit(kUnreadable);
}

// What the walk has passed is given back to the system.
struct MappedFile {
    char* memory;
    size_t released;
    size_t pageSize;
};

void releasePages(void* context, size_t passed)
{
    auto& file = *static_cast<MappedFile*>(context);
    const size_t end = passed / file.pageSize * file.pageSize;
    if (end <= file.released) return;
    madvise(file.memory + file.released, end - file.released, MADV_DONTNEED);
    file.released = end;
}

int inspectMapped(const char* name, void* memory, size_t size, bool json)
{
    signal(SIGBUS, tellThatPagesAreGone);
    madvise(memory, size, MADV_RANDOM);
    MappedFile file = {static_cast<char*>(memory), 0, static_cast<size_t>(sysconf(_SC_PAGESIZE))};
    const InspectionOptions options = {.json = json, .name = name, .releasePages = releasePages, .context = &file};
    const Inspected result = inspectBoxes({static_cast<const uint8_t*>(memory), size}, options, stdout);
    if (result == Inspected::kNotAMovie) return refuse(name, "not a movie or ISO file");
    if (fflush(stdout) != 0 || ferror(stdout)) return refuse(name, "the tree cannot be written");
    return result == Inspected::kWellFormed ? 0 : kMalformed;
}

int inspectDescriptor(const char* name, int descriptor, bool json)
{
    struct stat info;
    if (fstat(descriptor, &info) != 0) return refuse(name, strerror(errno));
    if (!S_ISREG(info.st_mode)) return refuse(name, S_ISDIR(info.st_mode) ? "is a directory" : "is not a regular file");
    if (info.st_size == 0) return refuse(name, "is empty");
    const auto size = static_cast<size_t>(info.st_size);
    void* const memory = mmap(nullptr, size, PROT_READ, MAP_PRIVATE, descriptor, 0);
    if (memory == MAP_FAILED) return refuse(name, strerror(errno));
    const int status = inspectMapped(name, memory, size, json);
    munmap(memory, size);
    return status;
}

int inspectFile(const char* name, bool json)
{
    // A FIFO without a writer must not hold the open up.
    const int descriptor = open(name, O_RDONLY | O_NONBLOCK | O_CLOEXEC | O_NOCTTY);
    if (descriptor < 0) return refuse(name, strerror(errno));
    const int status = inspectDescriptor(name, descriptor, json);
    close(descriptor);
    return status;
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

#include <errno.h>
#include <fcntl.h>
#include <limits.h>
#include <signal.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>

#include "Platform/Common/TavLogPrivate.h"
#include "Platform/Ostra/OstraStrings.h"

static constexpr size_t kPathSize = 4096;

static int sExternalLogfile = -1;
static char sExternalLogfilePath[kPathSize] = "/tmp/tav.log";
static char sOpenedPath[kPathSize + 64];
static bool sOpenedIsRegular;  ///< only such a file counts towards the limit, and is ever removed
static int64_t sExternalLogfileSizeLimit;
static int64_t sExternalLogfileNumBytesWritten;
static bool sPublicLogFileInUse;

static constexpr char kPublicLogPath[] = "/tmp/luviad_log_";

static void externalLogPath(char* path, size_t size)
{
    if (!sPublicLogFileInUse) {
        strlcpy(path, sExternalLogfilePath, size);
        return;
    }
    const time_t now = time(nullptr);
    struct tm local = {};
    localtime_r(&now, &local);
    char when[64];
    strftime(when, sizeof(when), "%Y-%m-%d-%H%M%S.txt", &local);
    snprintf(path, size, "%s%s", kPublicLogPath, when);
}

void tav_note_set_external_log_file(const char* path, int64_t sizeLimit, bool isPublic)
{
    TavLogControlLock lock;
    sPublicLogFileInUse = isPublic;
    if (path) strlcpy(sExternalLogfilePath, path, sizeof(sExternalLogfilePath));
    sExternalLogfileSizeLimit = sizeLimit;
}

// MARK: opening

/// Whether every link that stands at the end of the path, one behind the other, is this user's or root's.
static bool linksAreTrusted(const char* path)
{
    constexpr int kMostLinks = 40;
    char link[PATH_MAX], target[PATH_MAX];
    strlcpy(link, path, sizeof(link));
    for (int count = 0; count < kMostLinks; ++count) {
        struct stat status = {};
        if (lstat(link, &status) != 0 || !S_ISLNK(status.st_mode)) return true;
        if (status.st_uid != geteuid() && status.st_uid != 0) return false;
        const ssize_t length = readlink(link, target, sizeof(target) - 1);
        if (length <= 0) return false;
        target[length] = 0;
        char* const name = target[0] == '/' ? link : strrchr(link, '/') ? strrchr(link, '/') + 1 : link;
        const size_t room = sizeof(link) - static_cast<size_t>(name - link);
        if (strlcpy(name, target, room) >= room) return false;
    }
    return false;
}

/// Waits for nobody: a FIFO without a reader is refused.
static int openForAppending(const char* path)
{
    constexpr int kFlags = O_WRONLY | O_APPEND | O_CREAT | O_CLOEXEC | O_NOCTTY | O_NONBLOCK;
    const int file = open(path, kFlags | O_NOFOLLOW, 0666);
    if (file >= 0 || errno != ELOOP || !linksAreTrusted(path)) return file;
    return open(path, kFlags, 0666);
}

// MARK: writing

/// A FIFO's reader may leave; the signal for that is the process's own affair, not the log's.
static ssize_t writeWithoutSignal(const char* bytes, size_t size)
{
    sigset_t brokenPipe, before, pending;
    sigemptyset(&brokenPipe);
    sigaddset(&brokenPipe, SIGPIPE);
    sigpending(&pending);
    pthread_sigmask(SIG_BLOCK, &brokenPipe, &before);
    const ssize_t written = write(sExternalLogfile, bytes, size);
    constexpr struct timespec kNow = {};
    if (written < 0 && errno == EPIPE && !sigismember(&pending, SIGPIPE)) sigtimedwait(&brokenPipe, nullptr, &kNow);
    pthread_sigmask(SIG_SETMASK, &before, nullptr);
    return written;
}

/// One write(2) a line: those of several processes do not tear. Gives what was written.
static ssize_t writeLine(const char* line, size_t length)
{
    char inPlace[2048];
    char* const bytes = length < sizeof(inPlace) ? inPlace : static_cast<char*>(malloc(length + 1));
    if (!bytes) return -1;
    memcpy(bytes, line, length);
    bytes[length] = '\n';
    const ssize_t written =
        sOpenedIsRegular ? write(sExternalLogfile, bytes, length + 1) : writeWithoutSignal(bytes, length + 1);
    if (bytes != inPlace) free(bytes);
    return written;
}

void tav_note_open_external_log_file()
{
    TavLogControlLock lock;
    tav_note_close_external_log_file();
    externalLogPath(sOpenedPath, sizeof(sOpenedPath));
    sExternalLogfile = openForAppending(sOpenedPath);
    if (sExternalLogfile < 0) {
        __atomic_store_n(&gTavLogControl, kTavLogControl_Syslog, __ATOMIC_RELAXED);
        return;
    }
    struct stat status = {};
    sOpenedIsRegular = fstat(sExternalLogfile, &status) == 0 && S_ISREG(status.st_mode);
    const time_t now = time(nullptr);
    char when[32] = "", banner[160];
    ctime_r(&now, when);
    const int length = snprintf(
        banner, sizeof(banner),
        "\n\n\n=== New Log Starting At %.24s =============================================================", when);
    writeLine(banner, static_cast<size_t>(length));
    __atomic_store_n(&gTavLogControl, kTavLogControl_ExternalFile, __ATOMIC_RELAXED);
    sExternalLogfileNumBytesWritten = fstat(sExternalLogfile, &status) == 0 ? status.st_size : 0;
}

void tav_note_close_external_log_file()
{
    TavLogControlLock lock;
    if (sExternalLogfile >= 0) close(sExternalLogfile);
    sExternalLogfile = -1;
}

// MARK: the limit

/// Removes what is open where its name, with links followed, still means it. Otherwise another process has begun the
/// file anew, or someone moved it away: what has the name now is gone on with. A file that cannot be removed grows by
/// another limit.
static void beginAnew()
{
    char path[PATH_MAX];
    struct stat opened = {}, named = {};
    const bool isStillNamed = fstat(sExternalLogfile, &opened) == 0 && realpath(sOpenedPath, path) &&
                              lstat(path, &named) == 0 && opened.st_dev == named.st_dev &&
                              opened.st_ino == named.st_ino;
    if (isStillNamed && unlink(path) != 0) {
        sExternalLogfileNumBytesWritten = 0;
        return;
    }
    tav_note_open_external_log_file();
}

void tav_log_write_external(const char* line, size_t length)
{
    tav_note_initialize_logging();
    TavLogControlLock lock;
    if (sExternalLogfile < 0) return;
    const ssize_t written = writeLine(line, length);
    if (written <= 0 || sExternalLogfileSizeLimit == 0 || !sOpenedIsRegular) return;
    sExternalLogfileNumBytesWritten += written;
    if (sExternalLogfileNumBytesWritten > sExternalLogfileSizeLimit) beginAnew();
}

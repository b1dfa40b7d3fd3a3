#include <sys/time.h>
#include <unistd.h>

#include <cstdio>
#include <ctime>

#include "Platform/Common/TavLogPrivate.h"
#include "Platform/Ostra/OstraStrings.h"

static FILE* sExternalLogfile;
static char sExternalLogfilePath[4096] = "/tmp/tav.log";
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

void tav_note_open_external_log_file()
{
    TavLogControlLock lock;
    const time_t now = time(nullptr);
    sExternalLogfileNumBytesWritten = 0;
    char path[sizeof(sExternalLogfilePath) + 64];
    externalLogPath(path, sizeof(path));
    sExternalLogfile = fopen(path, "abe");
    if (!sExternalLogfile) {
        __atomic_store_n(&gTavLogControl, kTavLogControl_Syslog, __ATOMIC_RELAXED);
        return;
    }
    setvbuf(sExternalLogfile, nullptr, _IONBF, 0);
    char when[32] = "";
    ctime_r(&now, when);
    fprintf(sExternalLogfile,
            "\n\n\n=== New Log Starting At %.24s =============================================================\n",
            when);
    __atomic_store_n(&gTavLogControl, kTavLogControl_ExternalFile, __ATOMIC_RELAXED);
    sExternalLogfileNumBytesWritten = ftell(sExternalLogfile);
}

void tav_note_close_external_log_file()
{
    TavLogControlLock lock;
    if (!sExternalLogfile) return;
    fclose(sExternalLogfile);
    sExternalLogfile = nullptr;
}

void tav_log_write_external(const char* line)
{
    tav_note_initialize_logging();
    TavLogControlLock lock;
    if (!sExternalLogfile) return;
    const int written = fprintf(sExternalLogfile, "%s\n", line);
    fflush(sExternalLogfile);
    if (written <= 0 || sExternalLogfileSizeLimit == 0) return;
    sExternalLogfileNumBytesWritten += written;
    if (sExternalLogfileNumBytesWritten <= sExternalLogfileSizeLimit) return;
    tav_note_close_external_log_file();
    unlink(sExternalLogfilePath);
    tav_note_open_external_log_file();
}

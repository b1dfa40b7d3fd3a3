#include "id3tag/ConsoleLog.h"

#include <stdarg.h>
#include <stdio.h>
#include <sys/time.h>
#include <time.h>

#include "Platform/Ostra/OstraClock.h"

static int32_t gAllowOutput = -1;  // the highest level that is printed
static uint8_t gOutputTimestamps = 1;
static FILE* gOutputFile = nullptr;  // absent: standard output, from the first message on

void OutputInit(uint8_t timestamps)
{
    gAllowOutput = 1;
    gOutputTimestamps = timestamps;
}

void OutputSetFile(const char* path)
{
    OutputClose();
    gOutputFile = fopen(path, "aw");
    if (!gOutputFile) {
        printf("Cannot open %s - using stdout\n", path);
        gOutputFile = stdout;
    }
}

void OutputAllowDebug(void) { gAllowOutput = 2; }

bool OutputIsDebug(void) { return gAllowOutput == 2; }

void OutputBeQuiet(void) { gAllowOutput = 0; }

static void printTimestamp(FILE* file)
{
    struct timeval now = {};
    struct tm local = {};
    char text[80] = "";
    gettimeofday(&now, nullptr);
    localtime_r(&now.tv_sec, &local);
    strftime(text, sizeof text, "%b %e %Y %T", &local);
    fprintf(file, "%s.%03lu: ", text, static_cast<unsigned long>(now.tv_usec / 1000));
}

void OutputMessage(int32_t level, const char* format, ...)
{
    if (gAllowOutput < level) return;
    if (!gOutputFile) gOutputFile = stdout;
    if (gOutputTimestamps) printTimestamp(gOutputFile);
    va_list arguments;
    va_start(arguments, format);
    vfprintf(gOutputFile, format, arguments);
    va_end(arguments);
    fputc('\n', gOutputFile);
    fflush(gOutputFile);
}

void OutputClose(void)
{
    if (gOutputFile && gOutputFile != stdout) fclose(gOutputFile);
    gOutputFile = nullptr;
}

uint64_t GetCurrentTime(void) { return TavGetUpTimeNanoseconds() / 1000000; }

// A silent note, a line to a file, a signalled failure with logging off, each beside the least that does the same.
//
// bar: SilentNote_luvia <= 1.02 * SilentNote_load
// bar: LineToFile_luvia <= 1.3 * LineToFile_stdio
// bar: SignalOff_luvia <= 10 * SignalOff_fieldsUnderLock

#include <benchmark/benchmark.h>
#include <pthread.h>
#include <sys/time.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <string>

#include "Foundation/Collections/ZoDictionary.h"
#include "Foundation/Objects/ZoRef.h"
#include "Foundation/Text/ZoString.h"
#include "Platform/Common/TavLog.h"
#include "Platform/Common/TavNote.h"
#include "Platform/Common/TavSignal.h"
#include "Utilities/TavZoUtilities_Text.h"

namespace {

constexpr char kText[] =
    "a line of one hundred bytes, as a trace writes them: opened the stream, found 3 tracks, 1200 samples x";

const std::string& folder()
{
    static const std::string sFolder = [] {
        char pattern[] = "/tmp/luvia-bench-XXXXXX";
        return std::string(mkdtemp(pattern));
    }();
    return sFolder;
}

// Before anything reads a preference.
[[gnu::constructor]] void usePreferencesOfOurOwn() { setenv("LUVIA_PREFERENCES_DIR", folder().c_str(), 1); }

void sendLog(const char* destination)
{
    const auto where = zoAdopt(ZoStringCreateWithCString(nullptr, destination, kZoStringEncodingUTF8));
    const auto path =
        zoAdopt(ZoStringCreateWithCString(nullptr, (folder() + "/ours.log").c_str(), kZoStringEncodingUTF8));
    const void* keys[] = {ZOSTR("tav_notes"), ZOSTR("tav_notes_log")};
    const void* values[] = {where.get(), path.get()};
    const auto pairs = zoAdopt(
        ZoDictionaryCreate(nullptr, keys, values, 2, &kZoTypeDictionaryKeyCallBacks, &kZoTypeDictionaryValueCallBacks));
    TavNote_SetPreferences(ZOSTR(kTavApplicationID), pairs.get());
}

TavTraceNote sTrace;
volatile int32_t sPlain;

void SilentNote_luvia(benchmark::State& state)
{
    for (auto _ : state)
        for (int i = 0; i < 1000; ++i)
            if (tavTraceIsOn(&sTrace)) tav_log(1, 1, 0, 0, "%s", kText);
}
BENCHMARK(SilentNote_luvia);

void SilentNote_load(benchmark::State& state)
{
    for (auto _ : state)
        for (int i = 0; i < 1000; ++i)
            if (ZO_UNLIKELY(sPlain != 0)) abort();
}
BENCHMARK(SilentNote_load);

void LineToFile_luvia(benchmark::State& state)
{
    sendLog("external");
    for (auto _ : state) tav_log(1, kTavLogFlag_LocalTime, 0, 0, "%s", kText);
    sendLog("off");
    truncate((folder() + "/ours.log").c_str(), 0);
}
BENCHMARK(LineToFile_luvia);

void LineToFile_stdio(benchmark::State& state)
{
    const std::string path = folder() + "/theirs.log";
    FILE* file = fopen(path.c_str(), "ab");
    setvbuf(file, nullptr, _IONBF, 0);
    for (auto _ : state) {
        char stamp[32];
        TavZoGetLocalTimeString(stamp, sizeof(stamp));
        fprintf(file, "[%s] %s\n", stamp, kText);
        fflush(file);
    }
    fclose(file);
    unlink(path.c_str());
}
BENCHMARK(LineToFile_stdio);

void SignalOff_luvia(benchmark::State& state)
{
    sendLog("off");
    for (auto _ : state) benchmark::DoNotOptimize(TAV_SIGNAL(kTavNoteError_UnknownName, "nobody knows it"));
}
BENCHMARK(SignalOff_luvia);

struct {
    pthread_mutex_t mutex = PTHREAD_MUTEX_INITIALIZER;
    int32_t code;
    char texts[5][128];
    int64_t line;
    struct timeval time;
} sRecord;

void SignalOff_fieldsUnderLock(benchmark::State& state)
{
    for (auto _ : state) {
        pthread_mutex_lock(&sRecord.mutex);
        sRecord.code = kTavNoteError_UnknownName;
        const char* texts[] = {"kTavNoteError_UnknownName", "nobody knows it", "(Tav)", __func__, __FILE__};
        for (int i = 0; i < 5; ++i) snprintf(sRecord.texts[i], sizeof(sRecord.texts[i]), "%s", texts[i]);
        sRecord.line = __LINE__;
        gettimeofday(&sRecord.time, nullptr);
        pthread_mutex_unlock(&sRecord.mutex);
        benchmark::ClobberMemory();
    }
}
BENCHMARK(SignalOff_fieldsUnderLock);

}  // namespace

BENCHMARK_MAIN();

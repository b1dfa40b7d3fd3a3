#include <algorithm>

#include "DataIO/TavByteStreams/TavByteStream.h"
#include "Foundation/Collections/ZoDictionary.h"
#include "Foundation/Objects/ZoRef.h"
#include "Foundation/Text/ZoString.h"
#include "Foundation/URLs/ZoURL.h"
#include "Foundation/Values/ZoNumber.h"
#include "Platform/Common/TavLog.h"
#include "Platform/Ostra/OstraClock.h"

static constexpr uint64_t kSecond = 1000000000, kHalfASecond = 500000000, kMicrosecond = 1000;

void TavByteStreamStatsSetupWorker(TavByteStreamStats* stats)
{
    if (!stats) return;
    *stats = {};
    stats->mutex = TavSimpleMutexCreate();
}

void TavByteStreamStatsTeardownWorker(TavByteStreamStats* stats)
{
    if (!stats) return;
    TavSimpleMutexDestroy(stats->mutex);
    *stats = {};
}

static constexpr const char* kLogOneRead = "TavByteStreamStatsLogOneRead";

// Counts slow reads and says each.
static void statsNoteSlowRead(TavByteStreamStats* stats, uint64_t nanoseconds, int64_t offset, size_t bytesRead)
{
    const double seconds = static_cast<double>(nanoseconds) / static_cast<double>(kSecond);
    if (nanoseconds >= kSecond) {
        stats->numberOfReadsTakingOneSecondOrLonger += 1;
        tav_log_emit(
            0, 1, 1, 0, 0,
            "<<<< TavByteStream >>>> %s: ByteStream read of %zd bytes @ %lld took %f secs. to complete, %d reads >= "
            "1 sec.",
            kLogOneRead, bytesRead, static_cast<long long>(offset), seconds,
            static_cast<int>(stats->numberOfReadsTakingOneSecondOrLonger));
    } else if (nanoseconds >= kHalfASecond) {
        stats->numberOfReadsTakingHalfASecondOrLonger += 1;
        tav_log_emit(
            0, 1, 1, 0, 0,
            "<<<< TavByteStream >>>> %s: ByteStream read of %zd bytes @ %lld took %f sec. to complete, %d reads >= "
            "0.5 sec.",
            kLogOneRead, bytesRead, static_cast<long long>(offset), seconds,
            static_cast<int>(stats->numberOfReadsTakingOneSecondOrLonger +
                             stats->numberOfReadsTakingHalfASecondOrLonger));
    }
}

void TavByteStreamStatsLogOneRead(TavByteStreamStats* stats, uint64_t startTime, uint64_t endTime, OSStatus status,
                                  int64_t offset, size_t bytesRead)
{
    if (!stats || !stats->mutex || status != 0 || bytesRead == 0) return;
    TavSimpleMutexLock(stats->mutex);
    const uint64_t nanoseconds = TavHostTimeToNanoseconds(endTime - startTime);
    const uint64_t microseconds = nanoseconds / kMicrosecond;
    const auto size = static_cast<uint32_t>(std::min<size_t>(bytesRead, UINT32_MAX));
    const bool isFirst = stats->numberOfReads == 0;
    stats->numberOfReads += 1;
    stats->totalBytesRead += static_cast<int64_t>(bytesRead);
    stats->smallestReadSize = isFirst ? size : std::min(stats->smallestReadSize, size);
    stats->largestReadSize = std::max(stats->largestReadSize, size);
    stats->totalReadTime += microseconds;
    stats->shortestReadTime = isFirst ? microseconds : std::min(stats->shortestReadTime, microseconds);
    stats->longestReadTime = std::max(stats->longestReadTime, microseconds);
    statsNoteSlowRead(stats, nanoseconds, offset, bytesRead);
    TavSimpleMutexUnlock(stats->mutex);
}

// Setting says nothing where there is no memory; what is there afterwards does.
static bool statsSet(ZoMutableDictionaryRef dictionary, ZoStringRef key, ZoTypeRef value)
{
    if (value) ZoDictionarySetValue(dictionary, key, value);
    return value && ZoDictionaryGetValue(dictionary, key) == value;
}

static bool statsSetNumber(ZoMutableDictionaryRef dictionary, ZoStringRef key, ZoNumberType type, const void* value)
{
    const auto number = zoAdopt(ZoNumberCreate(ZoGetAllocator(dictionary), type, value));
    return statsSet(dictionary, key, number.get());
}

// All of them, or false.
static bool statsDescribe(const TavByteStreamStats& stats, ZoMutableDictionaryRef dictionary)
{
    const auto average = [&stats](uint64_t total) {
        return stats.numberOfReads == 0 ? 0 : total / static_cast<uint64_t>(stats.numberOfReads);
    };
    struct Count {
        ZoStringRef key;
        int64_t value;
    };
    const Count counts[] = {
        {ZOSTR("NumberOfReads"), stats.numberOfReads},
        {ZOSTR("SmallestReadSize"), stats.smallestReadSize},
        {ZOSTR("LargestReadSize"), stats.largestReadSize},
        {ZOSTR("AverageReadSize"), static_cast<int64_t>(average(static_cast<uint64_t>(stats.totalBytesRead)))},
        {ZOSTR("NumberOfReadsTakingOneSecondOrLonger"), stats.numberOfReadsTakingOneSecondOrLonger},
        {ZOSTR("NumberOfReadsTakingHalfASecondOrLonger"), stats.numberOfReadsTakingHalfASecondOrLonger},
    };
    struct Time {
        ZoStringRef key;
        uint64_t microseconds;
    };
    const Time times[] = {
        {ZOSTR("TotalReadTime"), stats.totalReadTime},
        {ZOSTR("ShortestReadTime"), stats.shortestReadTime},
        {ZOSTR("LongestReadTime"), stats.longestReadTime},
        {ZOSTR("AverageReadTime"), average(stats.totalReadTime)},
    };
    bool set = statsSetNumber(dictionary, ZOSTR("TotalBytesRead"), kZoNumberSInt64Type, &stats.totalBytesRead);
    for (const Count& count : counts) {
        const auto narrow = static_cast<int32_t>(count.value);
        set = set && statsSetNumber(dictionary, count.key, kZoNumberSInt32Type, &narrow);
    }
    for (const Time& time : times) {
        const double seconds = static_cast<double>(time.microseconds) / 1e6;
        set = set && statsSetNumber(dictionary, time.key, kZoNumberFloat64Type, &seconds);
    }
    return set;
}

ZoDictionaryRef TavByteStreamStatsCreateStatsDictionary(ZoAllocatorRef allocator, ZoStringRef streamType, ZoURLRef url,
                                                        TavByteStreamStats* stats)
{
    if (!stats || !stats->mutex) return nullptr;
    auto dictionary = zoAdopt(
        ZoDictionaryCreateMutable(allocator, 0, &kZoTypeDictionaryKeyCallBacks, &kZoTypeDictionaryValueCallBacks));
    if (!dictionary) return nullptr;
    TavSimpleMutexLock(stats->mutex);
    const bool described = statsDescribe(*stats, dictionary.get());
    TavSimpleMutexUnlock(stats->mutex);
    if (!described || !statsSet(dictionary.get(), ZOSTR("URL"), url ? ZoURLGetString(url) : ZOSTR("UNKNOWN")) ||
        (streamType && !statsSet(dictionary.get(), ZOSTR("ByteStreamType"), streamType)))
        return nullptr;
    return dictionary.release();
}

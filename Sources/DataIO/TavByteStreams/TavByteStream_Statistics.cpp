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
            __func__, bytesRead, static_cast<long long>(offset), seconds,
            static_cast<int>(stats->numberOfReadsTakingOneSecondOrLonger));
    } else if (nanoseconds >= kHalfASecond) {
        stats->numberOfReadsTakingHalfASecondOrLonger += 1;
        tav_log_emit(
            0, 1, 1, 0, 0,
            "<<<< TavByteStream >>>> %s: ByteStream read of %zd bytes @ %lld took %f sec. to complete, %d reads >= "
            "0.5 sec.",
            __func__, bytesRead, static_cast<long long>(offset), seconds,
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

static void statsSet(ZoMutableDictionaryRef dictionary, ZoStringRef key, ZoNumberType type, const void* value)
{
    if (const auto number = zoAdopt(ZoNumberCreate(ZoGetAllocator(dictionary), type, value)))
        ZoDictionarySetValue(dictionary, key, number.get());
}

static void statsSetCount(ZoMutableDictionaryRef dictionary, ZoStringRef key, int64_t value)
{
    const auto narrow = static_cast<int32_t>(value);
    statsSet(dictionary, key, kZoNumberSInt32Type, &narrow);
}

static void statsSetSeconds(ZoMutableDictionaryRef dictionary, ZoStringRef key, uint64_t microseconds)
{
    const double seconds = static_cast<double>(microseconds) / 1e6;
    statsSet(dictionary, key, kZoNumberFloat64Type, &seconds);
}

ZoDictionaryRef TavByteStreamStatsCreateStatsDictionary(ZoAllocatorRef allocator, ZoStringRef streamType, ZoURLRef url,
                                                        TavByteStreamStats* stats)
{
    if (!stats || !stats->mutex) return nullptr;
    const ZoMutableDictionaryRef dictionary =
        ZoDictionaryCreateMutable(allocator, 0, &kZoTypeDictionaryKeyCallBacks, &kZoTypeDictionaryValueCallBacks);
    if (!dictionary) return nullptr;
    TavSimpleMutexLock(stats->mutex);
    const int64_t reads = stats->numberOfReads;
    const auto average = [reads](uint64_t total) { return reads == 0 ? 0 : total / static_cast<uint64_t>(reads); };
    ZoDictionarySetValue(dictionary, ZOSTR("URL"), url ? ZoURLGetString(url) : ZOSTR("UNKNOWN"));
    statsSetCount(dictionary, ZOSTR("NumberOfReads"), reads);
    statsSet(dictionary, ZOSTR("TotalBytesRead"), kZoNumberSInt64Type, &stats->totalBytesRead);
    statsSetCount(dictionary, ZOSTR("SmallestReadSize"), stats->smallestReadSize);
    statsSetCount(dictionary, ZOSTR("LargestReadSize"), stats->largestReadSize);
    statsSetCount(dictionary, ZOSTR("AverageReadSize"),
                  static_cast<int64_t>(average(static_cast<uint64_t>(stats->totalBytesRead))));
    statsSetSeconds(dictionary, ZOSTR("TotalReadTime"), stats->totalReadTime);
    statsSetSeconds(dictionary, ZOSTR("ShortestReadTime"), stats->shortestReadTime);
    statsSetSeconds(dictionary, ZOSTR("LongestReadTime"), stats->longestReadTime);
    statsSetSeconds(dictionary, ZOSTR("AverageReadTime"), average(stats->totalReadTime));
    statsSetCount(dictionary, ZOSTR("NumberOfReadsTakingOneSecondOrLonger"),
                  stats->numberOfReadsTakingOneSecondOrLonger);
    statsSetCount(dictionary, ZOSTR("NumberOfReadsTakingHalfASecondOrLonger"),
                  stats->numberOfReadsTakingHalfASecondOrLonger);
    if (streamType) ZoDictionarySetValue(dictionary, ZOSTR("ByteStreamType"), streamType);
    TavSimpleMutexUnlock(stats->mutex);
    return dictionary;
}

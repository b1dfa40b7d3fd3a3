#include <execinfo.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>

#include "Foundation/Collections/ZoArray.h"
#include "Foundation/Objects/ZoRef.h"
#include "Foundation/Text/ZoString.h"
#include "Platform/Common/TavLog.h"
#include "Platform/Ostra/OstraDebugPrivate.h"

namespace {

constexpr int kMostFrames = 51;
constexpr size_t kTextSize = 4096;
constexpr char kTruncated[] = "TavBacktrace Truncated";

struct Freed {
    void operator()(char** symbols) const { free(symbols); }
};
using Symbols = std::unique_ptr<char*, Freed>;

// Text of fixed size, one piece behind the other.
class Text {
public:
    template <typename... Arguments>
    void add(const char* format, Arguments... arguments)
    {
        length_ += static_cast<size_t>(safe_snprintf(text_ + length_, room(), format, arguments...));
    }
    size_t room() const { return sizeof(text_) - length_; }
    bool isFull() const { return room() <= 1; }
    // Writes over the last characters.
    void overwriteEnd(const char* ending)
    {
        snprintf(text_ + sizeof(text_) - 1 - strlen(ending), strlen(ending) + 1, "%s", ending);
    }
    const char* get() const { return text_; }

private:
    char text_[kTextSize] = "";
    size_t length_ = 0;
};

void logText(const Text& text) { tav_log(kTavLogType_Notice, kTavLogFlag_LocalTime, 0, 0, "%s", text.get()); }

}  // namespace

__attribute__((noinline)) ZoIndex TavCopyBacktrace(ZoAllocatorRef allocator, ZoArrayRef* addressesOut,
                                                   ZoArrayRef* symbolsOut)
{
    if (addressesOut) *addressesOut = nullptr;
    if (symbolsOut) *symbolsOut = nullptr;
    void* frames[kMostFrames];
    const int count = backtrace(frames, kMostFrames) - 1;  // without this function
    if (count < 1) return 0;
    void* const* own = frames + 1;
    if (addressesOut) {
        const void* values[kMostFrames];
        std::copy_n(own, count, values);
        *addressesOut = ZoArrayCreate(allocator, values, count, nullptr);
    }
    if (symbolsOut) {
        const Symbols names(backtrace_symbols(own, count));
        const ZoMutableArrayRef lines = ZoArrayCreateMutable(allocator, count, &kZoTypeArrayCallBacks);
        for (int i = 0; lines && names && i < count; ++i) {
            const auto line =
                zoAdopt(ZoStringCreateWithFormat(allocator, nullptr, ZOSTR("%s    [%p]"), names.get()[i], own[i]));
            if (line) ZoArrayAppendValue(lines, line.get());
        }
        *symbolsOut = lines;
    }
    return count;
}

__attribute__((noinline)) void TavLogBacktrace(void) { TavLogBacktraceWithMsg(nullptr); }

__attribute__((noinline)) void TavLogBacktraceWithMsg(const char* message)
{
    constexpr int kFewestFrames = 3, kDroppedFrames = 2;
    Text text;
    if (message && *message) text.add("%s\n", message);
    void* frames[kMostFrames];
    const int count = backtrace(frames, kMostFrames);
    if (count < kFewestFrames) {
        text.add("%s", "Not enough frames to display");
    } else {
        void* const* shown = frames + kDroppedFrames;
        const int shownCount = count - kDroppedFrames;
        const Symbols names(backtrace_symbols(shown, shownCount));
        for (int position = 0; position < shownCount && !text.isFull(); ++position) {
            const int frame = shownCount - 1 - position;  // outermost first
            text.add("%2d %*s %p  %s\n", position + 1, position, "", shown[frame], names ? names.get()[frame] : "");
        }
    }
    if (text.isFull()) text.overwriteEnd(" - TavBacktrace Truncated");
    tav_log_with_return_address(0, kTavLogType_Notice, kTavLogFlag_LocalTime, 0, 0, __builtin_return_address(0), "%s",
                                text.get());
}

void TavLogBacktraceFrames(ZoArrayRef addresses, const char* message)
{
    constexpr ZoIndex kMostShown = 50;
    Text text;
    if (message) text.add("%s\n", message);
    if (!addresses) {
        text.add("%s", "TavLogBacktrace passed NULL backtrace");
        logText(text);
        return;
    }
    ZoIndex count = ZoArrayGetCount(addresses);
    const bool tooMany = count >= kMostShown;
    if (tooMany) {
        text.add("%s", "Too many frames\n");
        count = kMostShown;
    }
    void* frames[kMostShown];
    for (ZoIndex i = 0; i < count; ++i) frames[i] = const_cast<void*>(ZoArrayGetValueAtIndex(addresses, i));
    const Symbols names(count > 0 ? backtrace_symbols(frames, static_cast<int>(count)) : nullptr);
    for (ZoIndex i = 0; i < count && !text.isFull(); ++i)
        text.add("%s    [%p]\n", names ? names.get()[i] : "", frames[i]);
    if (text.isFull() || (tooMany && text.room() < sizeof(kTruncated))) {
        text.overwriteEnd(" - TavBacktrace Truncated");
    } else if (tooMany) {
        text.add("%s", kTruncated);
    }
    logText(text);
}

#include "Tests/Platform/Diagnostics/DiagnosticsSupport.h"

#include <gtest/gtest.h>

#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <mutex>

#include "Tests/Support/Objects.h"

static std::mutex sSyslogMutex;
static std::vector<std::pair<int, std::string>> sSyslog;

static void keepLine(int priority, const char* format, va_list arguments)
{
    char text[4096];
    vsnprintf(text, sizeof(text), format, arguments);
    const std::lock_guard lock(sSyslogMutex);
    sSyslog.emplace_back(priority, text);
}

extern "C" void __wrap_syslog(int priority, const char* format, ...)
{
    va_list arguments;
    va_start(arguments, format);
    keepLine(priority, format, arguments);
    va_end(arguments);
}

// What the call is in code that is compiled with _FORTIFY_SOURCE.
extern "C" void __wrap___syslog_chk(int priority, int, const char* format, ...)
{
    va_list arguments;
    va_start(arguments, format);
    keepLine(priority, format, arguments);
    va_end(arguments);
}

static thread_local constinit bool tWithoutMemory = false;

extern "C" void* __real_malloc(size_t size);
extern "C" void* __wrap_malloc(size_t size) { return tWithoutMemory ? nullptr : __real_malloc(size); }
extern "C" void* __real_calloc(size_t count, size_t size);
extern "C" void* __wrap_calloc(size_t count, size_t size)
{
    return tWithoutMemory ? nullptr : __real_calloc(count, size);
}

namespace luvia_test {

void withoutMemory(void (*work)())
{
    tWithoutMemory = true;
    work();
    tWithoutMemory = false;
}

// Before anything reads a preference.
[[gnu::constructor]] static void usePreferencesOfOurOwn()
{
    setenv("LUVIA_PREFERENCES_DIR", (temporaryFolder() + "/preferences").c_str(), 1);
}

const std::string& temporaryFolder()
{
    // Never destroyed: it is needed to the very end.
    static const auto* sFolder = [] {
        char pattern[] = "/tmp/luvia-diagnostics-XXXXXX";
        const auto* folder = new std::string(mkdtemp(pattern));
        std::filesystem::create_directory(*folder + "/preferences");
        atexit([] { std::filesystem::remove_all(temporaryFolder()); });
        return folder;
    }();
    return *sFolder;
}

std::string contentsOf(const std::string& path)
{
    std::ifstream in(path, std::ios::binary);
    return std::string(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
}

void setPreference(ZoStringRef key, ZoTypeRef value)
{
    TavNote_SetPreferences(ZOSTR(kTavApplicationID), dictionary({{key, value}}).get());
}

void setPreference(ZoStringRef key, const char* text) { setPreference(key, str(text).get()); }

void setPreference(ZoStringRef key, int64_t value) { setPreference(key, number(value).get()); }

LogDestination::LogDestination(const char* destination) { setPreference(ZOSTR("tav_notes"), destination); }
LogDestination::~LogDestination() { setPreference(ZOSTR("tav_notes"), "off"); }

std::vector<std::pair<int, std::string>> takeSyslog()
{
    const std::lock_guard lock(sSyslogMutex);
    return std::exchange(sSyslog, {});
}

}  // namespace luvia_test

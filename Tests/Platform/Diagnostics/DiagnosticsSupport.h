// Preferences of a test's own, and what reached the system log.

#pragma once

#include <string>
#include <utility>
#include <vector>

#include "Foundation/Collections/ZoDictionary.h"
#include "Foundation/Objects/ZoRef.h"
#include "Foundation/Services/ZoPreferences.h"
#include "Foundation/Text/ZoString.h"
#include "Foundation/Values/ZoNumber.h"
#include "Platform/Common/TavNote.h"

namespace luvia_test {

/// Sets one preference of the framework and brings notes up to date. Nothing removes the key.
void setPreference(ZoStringRef key, ZoTypeRef value);
void setPreference(ZoStringRef key, const char* text);
void setPreference(ZoStringRef key, int64_t number);

/// Puts the log where `destination` says, and back to nowhere at the end.
class LogDestination {
public:
    explicit LogDestination(const char* destination);
    ~LogDestination();
};

/// What was given to syslog(3) since the last call: priority and text.
std::vector<std::pair<int, std::string>> takeSyslog();

/// Calls `work`, with no memory for this thread meanwhile.
void withoutMemory(void (*work)());

/// A folder that goes with the process.
const std::string& temporaryFolder();
std::string contentsOf(const std::string& path);

}  // namespace luvia_test

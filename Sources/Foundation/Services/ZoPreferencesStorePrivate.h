// The file behind a domain of preferences: read as a whole, changed under a lock, put in place at once.

#pragma once

#include "Foundation/Collections/ZoDictionary.h"
#include "Foundation/Objects/ZoRef.h"
#include "Memory/Containers.h"

namespace zoprefs {

/// What a program has set and not yet written: values by key, absent for a key that was removed.
using Changes = memory::Map<memory::String, ZoRef<ZoTypeRef>>;

enum class Reading {
    ok,         // or there is no file, which is the same as an empty one
    corrupt,    // it is no property list, or its root is no dictionary
    unreadable  // errno tells why; ENOMEM passes
};

/// The place of a domain's file; empty for a name that cannot be one.
memory::String pathOfDomain(const memory::String& domain);
/// All of the file; an empty dictionary unless it could be read. The process stops where there is no memory for that.
Reading readStore(const memory::String& path, ZoRef<ZoDictionaryRef>& contents);
/// Merges `changes` into the file, which others may be changing at the same time, and gives what it holds then. A
/// corrupt file is kept under another name first, and a line on standard error says so. False, with a line on standard
/// error, if the file is as before.
bool updateStore(const memory::String& path, const Changes& changes, ZoRef<ZoDictionaryRef>& contents);

}  // namespace zoprefs

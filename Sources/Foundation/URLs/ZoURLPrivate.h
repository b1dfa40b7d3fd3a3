// What the sources of ZoURL share.

#pragma once

#include "Foundation/Objects/ZoRef.h"
#include "Foundation/URLs/ZoURL.h"
#include "Foundation/URLs/ZoURLSyntaxPrivate.h"

struct ZoURL_ {
    ZoRuntimeBase header;
    ZoStringRef string;
    ZoURLRef base;   // absolute, or at least without a base of its own; so chains do not grow
    UrlParts parts;  // of the text, which follows the structure
};

/// A URL of plain text; `base` as in ZoURLCreateWithString.
ZoRef<ZoURLRef> zoURLFromText(ZoAllocatorRef allocator, std::string_view text, ZoURLRef base);
/// The URL itself, or where its own path is empty and the base's stands for it, the absolute URL.
ZoRef<ZoURLRef> zoURLWithOwnPath(ZoURLRef url);

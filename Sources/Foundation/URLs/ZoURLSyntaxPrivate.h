// The grammar of RFC 3986 on plain text: components, reference resolution, escapes. Knows no objects.

#pragma once

#include <cstdint>
#include <string_view>

#include "Memory/Containers.h"

/// Components as they stand in the text, without their delimiters. A component may be there and empty.
struct UrlParts {
    std::string_view scheme, authority, path, query, fragment;
    bool hasScheme, hasAuthority, hasQuery, hasFragment;

    /// Of a scheme whose text behind it has no hierarchy.
    bool isOpaque() const noexcept { return hasScheme && !hasAuthority && (path.empty() || path.front() != '/'); }
};

/// Classes of characters; those of RFC 3986 section 2, and what else its productions name.
enum : uint8_t {
    kUrlAlpha = 1 << 0,
    kUrlDigit = 1 << 1,
    kUrlUnreservedMark = 1 << 2,  // - . _ ~
    kUrlSubDelim = 1 << 3,        // ! $ & ' ( ) * + , ; =
    kUrlColon = 1 << 4,
    kUrlAt = 1 << 5,
    kUrlSlash = 1 << 6,
    kUrlQuestion = 1 << 7,
    kUrlUnreserved = kUrlAlpha | kUrlDigit | kUrlUnreservedMark,
    kUrlRegName = kUrlUnreserved | kUrlSubDelim,
    kUrlUserInfo = kUrlRegName | kUrlColon,
    kUrlPathCharacters = kUrlUserInfo | kUrlAt | kUrlSlash,
    kUrlQueryCharacters = kUrlPathCharacters | kUrlQuestion,
};

bool urlIsOfClass(unsigned char character, uint8_t classes) noexcept;

/// Takes `text` apart; the parts point into it. False unless it is a URI-reference.
bool urlSplit(std::string_view text, UrlParts& parts) noexcept;
/// Puts parts together (5.3), with "./" or "/." before a path that would be read as something else.
memory::String urlCompose(const UrlParts& parts);
/// The target of `reference` at `base` (5.2.2, strict).
memory::String urlResolve(const UrlParts& base, const UrlParts& reference);

/// The value of two hexadecimal digits, or -1.
int urlHexPair(unsigned char high, unsigned char low) noexcept;
void urlAppendEscape(memory::String& out, unsigned char byte);
/// Appends `bytes`, escaping all that are not of the classes.
void urlAppendEscaped(memory::String& out, std::string_view bytes, uint8_t classesToKeep);
/// The bytes that valid escaped text stands for.
memory::String urlUnescape(std::string_view text);

#include "Foundation/URLs/ZoURLSyntaxPrivate.h"
#include "Memory/Containers.h"

#include <arpa/inet.h>

#include <array>

namespace {

constexpr std::array<uint8_t, 256> makeClasses()
{
    std::array<uint8_t, 256> classes{};
    for (unsigned c = 'a'; c <= 'z'; ++c) classes[c] = classes[c - 'a' + 'A'] = kUrlAlpha;
    for (unsigned c = '0'; c <= '9'; ++c) classes[c] = kUrlDigit;
    for (unsigned char c : std::string_view("-._~")) classes[c] = kUrlUnreservedMark;
    for (unsigned char c : std::string_view("!$&'()*+,;=")) classes[c] = kUrlSubDelim;
    classes[':'] = kUrlColon;
    classes['@'] = kUrlAt;
    classes['/'] = kUrlSlash;
    classes['?'] = kUrlQuestion;
    return classes;
}

constexpr std::array<uint8_t, 256> kClasses = makeClasses();

int hexDigit(unsigned char c) noexcept
{
    if (c >= '0' && c <= '9') return c - '0';
    if (c >= 'a' && c <= 'f') return c - 'a' + 10;
    if (c >= 'A' && c <= 'F') return c - 'A' + 10;
    return -1;
}

/// Only characters of the classes, and whole escapes.
bool consistsOf(std::string_view text, uint8_t classes) noexcept
{
    for (size_t i = 0; i < text.size(); ++i) {
        const auto c = static_cast<unsigned char>(text[i]);
        if (kClasses[c] & classes) continue;
        if (c != '%' || text.size() - i < 3) return false;
        if (urlHexPair(static_cast<unsigned char>(text[i + 1]), static_cast<unsigned char>(text[i + 2])) < 0)
            return false;
        i += 2;
    }
    return true;
}

// RFC 3986 3.1
bool isScheme(std::string_view text) noexcept
{
    if (text.empty() || !urlIsOfClass(static_cast<unsigned char>(text[0]), kUrlAlpha)) return false;
    for (char c : text)
        if (!urlIsOfClass(static_cast<unsigned char>(c), kUrlAlpha | kUrlDigit) && c != '+' && c != '-' && c != '.')
            return false;
    return true;
}

// RFC 3986 3.2.2 and, for zones of link-local addresses, RFC 6874
bool isIPLiteral(std::string_view text) noexcept
{
    if (!text.empty() && (text[0] == 'v' || text[0] == 'V')) {
        const size_t dot = text.find('.');
        if (dot == std::string_view::npos || dot < 2 || dot + 1 == text.size()) return false;
        for (char c : text.substr(1, dot - 1))
            if (hexDigit(static_cast<unsigned char>(c)) < 0) return false;
        return text.find('%') == std::string_view::npos && consistsOf(text.substr(dot + 1), kUrlUserInfo);
    }
    const size_t zone = text.find("%25");
    if (zone != std::string_view::npos) {
        const std::string_view name = text.substr(zone + 3);
        if (name.empty() || !consistsOf(name, kUrlUnreserved)) return false;
        text = text.substr(0, zone);
    }
    char address[INET6_ADDRSTRLEN];
    if (text.size() >= sizeof address || text.find('\0') != std::string_view::npos) return false;
    address[text.copy(address, sizeof address - 1)] = '\0';
    in6_addr parsed;
    return inet_pton(AF_INET6, address, &parsed) == 1;
}

// RFC 3986 3.2
bool isAuthority(std::string_view text) noexcept
{
    const size_t at = text.find('@');
    if (at != std::string_view::npos) {
        if (!consistsOf(text.substr(0, at), kUrlUserInfo)) return false;
        text.remove_prefix(at + 1);
    }
    size_t hostEnd;
    if (!text.empty() && text[0] == '[') {
        const size_t close = text.find(']');
        if (close == std::string_view::npos || !isIPLiteral(text.substr(1, close - 1))) return false;
        hostEnd = close + 1;
    } else {
        hostEnd = std::min(text.find(':'), text.size());
        if (!consistsOf(text.substr(0, hostEnd), kUrlRegName)) return false;
    }
    if (hostEnd == text.size()) return true;
    if (text[hostEnd] != ':') return false;
    for (char c : text.substr(hostEnd + 1))
        if (!urlIsOfClass(static_cast<unsigned char>(c), kUrlDigit)) return false;
    return true;
}

/// Takes what stands behind the first `delimiter` off the end of `rest`.
bool takeTail(std::string_view& rest, char delimiter, std::string_view& tail) noexcept
{
    const size_t at = rest.find(delimiter);
    if (at == std::string_view::npos) return false;
    tail = rest.substr(at + 1);
    rest = rest.substr(0, at);
    return true;
}

// RFC 3986 5.2.4
memory::String removeDotSegments(std::string_view in)
{
    memory::String out;
    const auto dropLastSegment = [&out] {
        const size_t slash = out.rfind('/');
        out.resize(slash == memory::String::npos ? 0 : slash);
    };
    while (!in.empty()) {
        if (in.starts_with("../")) {
            in.remove_prefix(3);
        } else if (in.starts_with("./") || in.starts_with("/./")) {
            in.remove_prefix(2);
        } else if (in == "/.") {
            in = "/";
        } else if (in.starts_with("/../")) {
            in.remove_prefix(3);
            dropLastSegment();
        } else if (in == "/..") {
            in = "/";
            dropLastSegment();
        } else if (in == "." || in == "..") {
            in = {};
        } else {
            const size_t end = std::min(in.find('/', 1), in.size());
            out += in.substr(0, end);
            in.remove_prefix(end);
        }
    }
    return out;
}

/// The same for a path that stays relative, since its base has no scheme, which RFC 3986 leaves out: ".." that lead
/// further up are kept.
memory::String removeInnerDotSegments(std::string_view path)
{
    memory::Vector<std::string_view> segments;
    bool isFolder = false;
    for (size_t start = 0; start <= path.size();) {
        const size_t end = std::min(path.find('/', start), path.size());
        const std::string_view segment = path.substr(start, end - start);
        start = end + 1;
        isFolder = segment.empty() || segment == "." || segment == "..";
        if (segment == ".." && !segments.empty() && segments.back() != "..")
            segments.pop_back();
        else if (segment != "." && (!segment.empty() || start <= path.size()))
            segments.push_back(segment);
    }
    memory::String out;
    for (std::string_view segment : segments) (out += segment) += '/';
    if (!isFolder && !out.empty()) out.pop_back();
    return out.empty() ? "./" : out.front() == '/' ? "./" + out : out;
}

// RFC 3986 5.2.3
memory::String mergePaths(const UrlParts& base, std::string_view path)
{
    memory::String merged;
    if (base.hasAuthority && base.path.empty()) {
        merged = "/";
    } else {
        const size_t slash = base.path.rfind('/');
        if (slash != std::string_view::npos) merged = base.path.substr(0, slash + 1);
    }
    merged += path;
    return merged;
}

}  // namespace

bool urlIsOfClass(unsigned char character, uint8_t classes) noexcept { return kClasses[character] & classes; }

int urlHexPair(unsigned char high, unsigned char low) noexcept
{
    const int h = hexDigit(high), l = hexDigit(low);
    return h < 0 || l < 0 ? -1 : h * 16 + l;
}

bool urlSplit(std::string_view text, UrlParts& parts) noexcept
{
    parts = {};
    std::string_view rest = text;
    parts.hasFragment = takeTail(rest, '#', parts.fragment);
    parts.hasQuery = takeTail(rest, '?', parts.query);
    const size_t colon = rest.find(':');
    if (colon != std::string_view::npos && rest.find('/') > colon) {  // a first segment with ":" is a scheme
        parts.hasScheme = true;
        parts.scheme = rest.substr(0, colon);
        rest.remove_prefix(colon + 1);
    }
    if (rest.starts_with("//")) {
        rest.remove_prefix(2);
        parts.hasAuthority = true;
        parts.authority = rest.substr(0, std::min(rest.find('/'), rest.size()));
        rest.remove_prefix(parts.authority.size());
    }
    parts.path = rest;
    return (!parts.hasScheme || isScheme(parts.scheme)) && (!parts.hasAuthority || isAuthority(parts.authority)) &&
           consistsOf(parts.path, kUrlPathCharacters) && consistsOf(parts.query, kUrlQueryCharacters) &&
           consistsOf(parts.fragment, kUrlQueryCharacters);
}

memory::String urlCompose(const UrlParts& parts)
{
    memory::String text;
    if (parts.hasScheme) (text += parts.scheme) += ':';
    if (parts.hasAuthority) {
        (text += "//") += parts.authority;
    } else if (parts.path.starts_with("//")) {
        text += "/.";
    } else if (!parts.hasScheme && parts.path.find(':') < parts.path.find('/')) {
        text += "./";
    }
    text += parts.path;
    if (parts.hasQuery) (text += '?') += parts.query;
    if (parts.hasFragment) (text += '#') += parts.fragment;
    return text;
}

memory::String urlResolve(const UrlParts& base, const UrlParts& reference)
{
    UrlParts target = reference;
    memory::String path;
    if (reference.hasScheme || reference.hasAuthority) {
        path = removeDotSegments(reference.path);
    } else {
        target.hasAuthority = base.hasAuthority;
        target.authority = base.authority;
        if (reference.path.empty()) {
            path = base.path;
            if (!reference.hasQuery) {
                target.hasQuery = base.hasQuery;
                target.query = base.query;
            }
        } else if (reference.path.front() == '/') {
            path = removeDotSegments(reference.path);
        } else {
            path = mergePaths(base, reference.path);
            path = base.hasScheme || path.starts_with('/') ? removeDotSegments(path) : removeInnerDotSegments(path);
        }
    }
    if (!reference.hasScheme) {
        target.hasScheme = base.hasScheme;
        target.scheme = base.scheme;
    }
    target.path = path;
    return urlCompose(target);
}

void urlAppendEscape(memory::String& out, unsigned char byte)
{
    static constexpr char kDigits[] = "0123456789ABCDEF";
    out += '%';
    out += kDigits[byte >> 4];
    out += kDigits[byte & 15];
}

void urlAppendEscaped(memory::String& out, std::string_view bytes, uint8_t classesToKeep)
{
    for (char c : bytes) {
        const auto byte = static_cast<unsigned char>(c);
        if (kClasses[byte] & classesToKeep)
            out += c;
        else
            urlAppendEscape(out, byte);
    }
}

memory::String urlUnescape(std::string_view text)
{
    memory::String bytes;
    bytes.reserve(text.size());
    for (size_t i = 0; i < text.size(); ++i) {
        const int value = text[i] == '%' && text.size() - i >= 3 ? urlHexPair(static_cast<unsigned char>(text[i + 1]),
                                                                              static_cast<unsigned char>(text[i + 2]))
                                                                 : -1;
        if (value < 0) {
            bytes += text[i];
        } else {
            bytes += static_cast<char>(value);
            i += 2;
        }
    }
    return bytes;
}

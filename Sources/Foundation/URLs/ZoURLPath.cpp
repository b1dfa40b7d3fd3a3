// URLs and the file system: paths to and from URLs, and edits of a URL's path.

#include <strings.h>
#include <unistd.h>

#include <climits>

#include "Foundation/Objects/ZoAssertPrivate.h"
#include "Foundation/Text/ZoStringBytesPrivate.h"
#include "Foundation/URLs/ZoURLPrivate.h"
#include "Memory/Containers.h"

static std::string_view withoutTrailingSlashes(std::string_view path)
{
    while (!path.empty() && path.back() == '/') path.remove_suffix(1);
    return path;
}

static std::string_view lastComponent(std::string_view path)
{
    path = withoutTrailingSlashes(path);
    return path.substr(path.rfind('/') + 1);  // npos + 1 is 0: all of it
}

static ZoRef<ZoURLRef> workingDirectory(ZoAllocatorRef allocator)
{
    char path[PATH_MAX];
    if (!getcwd(path, sizeof path) || path[0] != '/') return nullptr;
    memory::String text = "file://";
    urlAppendEscaped(text, path, kUrlPathCharacters);
    if (text.back() != '/') text += '/';
    return zoURLFromText(allocator, text, nullptr);
}

static ZoURLRef createWithPath(ZoAllocatorRef allocator, std::string_view path, bool isDirectory)
{
    if (path.empty() || path.find('\0') != std::string_view::npos) return nullptr;
    const bool isAbsolute = path.front() == '/';
    path = withoutTrailingSlashes(path);
    memory::String text = isAbsolute ? "file://" : "";
    // A ":" in the first segment of a relative reference would end a scheme.
    urlAppendEscaped(text, path, isAbsolute ? kUrlPathCharacters : kUrlPathCharacters & ~kUrlColon);
    if (isDirectory || path.empty()) text += '/';
    ZoRef<ZoURLRef> base;
    if (!isAbsolute) base = workingDirectory(allocator);
    return zoURLFromText(allocator, text, base.get()).release();
}

ZoURLRef ZoURLCreateWithFileSystemPath(ZoAllocatorRef allocator, ZoStringRef path, ZoURLPathStyle style,
                                       Boolean isDirectory)
{
    memory::String bytes;
    if (style != kZoURLPOSIXPathStyle || !zoAppendBytes(path, kZoStringEncodingUTF8, bytes)) return nullptr;
    return createWithPath(allocator, bytes, isDirectory);
}

ZoURLRef ZoURLCreateFromFileSystemRepresentation(ZoAllocatorRef allocator, const uint8_t* bytes, ZoIndex length,
                                                 Boolean isDirectory)
{
    if (!bytes || length <= 0) return nullptr;
    return createWithPath(allocator, {reinterpret_cast<const char*>(bytes), static_cast<size_t>(length)}, isDirectory);
}

static bool namesFile(const UrlParts& parts)
{
    return !parts.isOpaque() && (!parts.hasScheme || strncasecmp(parts.scheme.data(), "file:", 5) == 0) &&
           (parts.authority.empty() || parts.authority == "localhost");
}

/// The path's bytes, without a trailing "/" unless it is the root; empty if the URL names no file.
static memory::String fileSystemPath(ZoURLRef url)
{
    if (!namesFile(url->parts) || (url->base && !namesFile(url->base->parts))) return {};
    memory::String path = urlUnescape(url->parts.path);
    if (path.find('\0') != memory::String::npos) return {};
    const bool isAbsolute = !path.empty() && path.front() == '/';
    path.resize(withoutTrailingSlashes(path).size());
    return path.empty() && isAbsolute ? "/" : path;
}

ZoStringRef ZoURLCopyFileSystemPath(ZoURLRef url, ZoURLPathStyle style)
{
    const auto own = zoURLWithOwnPath(url);
    if (!own || style != kZoURLPOSIXPathStyle) return nullptr;
    const memory::String path = fileSystemPath(own.get());
    return path.empty() ? nullptr : zoStringFromUTF8(ZoGetAllocator(url), path).release();
}

Boolean ZoURLGetFileSystemRepresentation(ZoURLRef url, Boolean resolveAgainstBase, uint8_t* buffer,
                                         ZoIndex maxBufferLength)
{
    if (!buffer || maxBufferLength <= 0) return false;
    buffer[0] = '\0';
    if (!url) return false;
    const auto whole = resolveAgainstBase ? zoAdopt(ZoURLCopyAbsoluteURL(url)) : zoURLWithOwnPath(url);
    if (!whole) return false;
    const memory::String path = fileSystemPath(whole.get());
    if (path.empty() || path.size() >= static_cast<size_t>(maxBufferLength)) return false;
    buffer[path.copy(reinterpret_cast<char*>(buffer), path.size())] = '\0';
    return true;
}

ZoRef<ZoURLRef> zoURLWithOwnPath(ZoURLRef url)
{
    const ZoURLRef base = ZoURLGetBaseURL(url);
    if (base && url->parts.path.empty() && !url->parts.hasAuthority) return zoAdopt(ZoURLCopyAbsoluteURL(url));
    return ZoRef<ZoURLRef>::retain(url);
}

/// `url` with another path; its base and, if wanted, its query and fragment go along.
static ZoURLRef createWithNewPath(ZoAllocatorRef allocator, ZoURLRef url, std::string_view path, bool keepTail)
{
    UrlParts parts = url->parts;
    parts.path = path;
    if (!keepTail) parts.hasQuery = parts.hasFragment = false;
    return zoURLFromText(allocator, urlCompose(parts), url->base).release();
}

ZoURLRef ZoURLCreateCopyAppendingPathComponent(ZoAllocatorRef allocator, ZoURLRef url, ZoStringRef component,
                                               Boolean isDirectory)
{
    memory::String name;
    if (!ZoURLCanBeDecomposed(url) || !zoAppendBytes(component, kZoStringEncodingUTF8, name)) return nullptr;
    const auto own = zoURLWithOwnPath(url);
    if (!own) return nullptr;
    memory::String path(own.get()->parts.path);
    if (path.empty() ? own.get()->parts.hasAuthority : path.back() != '/') path += '/';
    const size_t start = std::min(name.find_first_not_of('/'), name.size());
    urlAppendEscaped(path, withoutTrailingSlashes(std::string_view(name).substr(start)), kUrlPathCharacters);
    if (isDirectory && !path.empty() && path.back() != '/') path += '/';
    return createWithNewPath(allocator, own.get(), path, true);
}

ZoURLRef ZoURLCreateCopyAppendingPathExtension(ZoAllocatorRef allocator, ZoURLRef url, ZoStringRef extension)
{
    memory::String name;
    if (!ZoURLCanBeDecomposed(url) || !zoAppendBytes(extension, kZoStringEncodingUTF8, name)) return nullptr;
    const auto own = zoURLWithOwnPath(url);
    if (!own || name.empty() || name.find('/') != memory::String::npos) return nullptr;
    const std::string_view path = own.get()->parts.path, stem = withoutTrailingSlashes(path);
    const std::string_view last = lastComponent(path);
    if (last.empty() || last == "." || last == "..") return nullptr;
    memory::String changed(stem);
    changed += '.';
    urlAppendEscaped(changed, name, kUrlPathCharacters);
    if (stem.size() < path.size()) changed += '/';
    return createWithNewPath(allocator, own.get(), changed, true);
}

static memory::String parentDirectory(std::string_view path)
{
    const bool isAbsolute = path.starts_with("/");
    std::string_view rest = withoutTrailingSlashes(path);
    while (lastComponent(rest) == ".") {
        rest.remove_suffix(1);
        rest = withoutTrailingSlashes(rest);
    }
    if (rest.empty()) return isAbsolute ? "/" : "../";
    if (lastComponent(rest) == "..") return memory::String(rest) + "/../";
    const size_t slash = rest.rfind('/');
    return slash == std::string_view::npos ? "./" : memory::String(rest.substr(0, slash + 1));
}

ZoURLRef ZoURLCreateCopyDeletingLastPathComponent(ZoAllocatorRef allocator, ZoURLRef url)
{
    if (!ZoURLCanBeDecomposed(url)) return nullptr;
    const auto own = zoURLWithOwnPath(url);
    if (!own) return nullptr;
    const UrlParts& parts = own.get()->parts;
    const memory::String path = parts.path.empty() && parts.hasAuthority ? "/" : parentDirectory(parts.path);
    return createWithNewPath(allocator, own.get(), path, false);
}

ZoStringRef ZoURLCopyPathExtension(ZoURLRef url)
{
    if (!ZoURLCanBeDecomposed(url)) return nullptr;
    const auto own = zoURLWithOwnPath(url);
    if (!own) return nullptr;
    const memory::String name = urlUnescape(lastComponent(own.get()->parts.path));
    const size_t dot = name.rfind('.');
    if (dot == memory::String::npos || dot + 1 == name.size()) return nullptr;
    if (name.find_first_not_of('.') >= dot) return nullptr;  // ".profile": all of it is the name
    return zoStringFromUTF8(ZoGetAllocator(url), std::string_view(name).substr(dot + 1)).release();
}

Boolean ZoURLHasDirectoryPath(ZoURLRef url)
{
    if (!ZoURLCanBeDecomposed(url)) return false;
    const bool isEmpty = url->parts.path.empty() && !url->parts.hasAuthority;
    const std::string_view path = isEmpty && url->base ? url->base->parts.path : url->parts.path;
    if (path.empty()) return false;
    const std::string_view last = path.substr(path.rfind('/') + 1);
    return last.empty() || last == "." || last == "..";
}

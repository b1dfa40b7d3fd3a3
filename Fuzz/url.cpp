// URLs: the first line is a base, the rest a reference or a path. No crash, and what operations give is a URL again.

#include <climits>
#include <cstdint>
#include <cstdlib>
#include <string_view>

#include "Foundation/Objects/ZoRef.h"
#include "Foundation/URLs/ZoURL.h"
#include "Fuzz/Support/Require.h"

using URL = ZoRef<ZoURLRef>;

static ZoRef<ZoStringRef> latin1(std::string_view text)
{
    return zoAdopt(ZoStringCreateWithBytes(nullptr, reinterpret_cast<const uint8_t*>(text.data()),
                                           static_cast<ZoIndex>(text.size()), kZoStringEncodingISOLatin1, false));
}

static void checkURL(ZoURLRef url)
{
    const auto copy = zoAdopt(ZoURLCreateWithString(nullptr, ZoURLGetString(url), ZoURLGetBaseURL(url)));
    require(copy && ZoEqual(copy.get(), url), "its own text makes another URL");
    const URL absolute = zoAdopt(ZoURLCopyAbsoluteURL(url));
    require(absolute.get(), "not resolved");
    const URL again = zoAdopt(ZoURLCopyAbsoluteURL(absolute.get()));
    require(ZoEqual(again.get(), absolute.get()), "resolving again changes it");
    zoAdopt(ZoURLCopyScheme(url)).reset();
    zoAdopt(ZoURLCopyPathExtension(url)).reset();
    zoAdopt(ZoURLCopyFileSystemPath(url, kZoURLPOSIXPathStyle)).reset();
    uint8_t buffer[PATH_MAX];
    ZoURLGetFileSystemRepresentation(url, true, buffer, sizeof buffer);
    ZoURLHasDirectoryPath(url);
    require(ZoURLCanBeDecomposed(url) == static_cast<Boolean>(zoAdopt(ZoURLCopyPath(url)).get() != nullptr),
            "a path without components, or the other way round");
}

static void checkEdits(ZoURLRef url, ZoStringRef text)
{
    const bool hasComponents = ZoURLCanBeDecomposed(url);
    const URL parent = zoAdopt(ZoURLCreateCopyDeletingLastPathComponent(nullptr, url));
    const URL child = zoAdopt(ZoURLCreateCopyAppendingPathComponent(nullptr, url, text, false));
    require(hasComponents == (parent.get() != nullptr) && hasComponents == (child.get() != nullptr), "an edit failed");
    if (parent) require(ZoURLHasDirectoryPath(parent.get()), "a parent that is no directory");
    for (const URL* edited : {&parent, &child})
        if (*edited) checkURL(edited->get());
    const URL extended = zoAdopt(ZoURLCreateCopyAppendingPathExtension(nullptr, url, text));
    if (extended) checkURL(extended.get());
}

static void checkPath(std::string_view path, bool isDirectory)
{
    const URL url = zoAdopt(ZoURLCreateFromFileSystemRepresentation(
        nullptr, reinterpret_cast<const uint8_t*>(path.data()), static_cast<ZoIndex>(path.size()), isDirectory));
    require((url.get() != nullptr) == (!path.empty() && path.find('\0') == std::string_view::npos),
            "a path refused or not");
    if (!url) return;
    checkURL(url.get());
    while (path.size() > 1 && path.back() == '/') path.remove_suffix(1);
    uint8_t buffer[PATH_MAX];
    if (path.size() < sizeof buffer && ZoURLGetFileSystemRepresentation(url.get(), false, buffer, sizeof buffer))
        require(path == reinterpret_cast<const char*>(buffer), "a path that comes back as another");
}

static void checkEscapes(ZoStringRef text, ZoStringRef set)
{
    const auto escaped =
        zoAdopt(ZoURLCreateStringByAddingPercentEscapes(nullptr, text, nullptr, set, kZoStringEncodingUTF8));
    require(escaped.get(), "text not escaped");
    const auto plain = zoAdopt(ZoURLCreateStringByReplacingPercentEscapesUsingEncoding(
        nullptr, escaped.get(), ZOSTR(""), kZoStringEncodingUTF8));
    require(plain && ZoEqual(plain.get(), text), "escapes do not come back as the text");
    zoAdopt(ZoURLCreateStringByReplacingPercentEscapesUsingEncoding(nullptr, text, set, kZoStringEncodingUTF8)).reset();
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* bytes, size_t size)
{
    const std::string_view input(reinterpret_cast<const char*>(bytes), size);
    const size_t line = std::min(input.find('\n'), input.size());
    const std::string_view first = input.substr(0, line), rest = input.substr(std::min(line + 1, size));
    const auto baseText = latin1(first), text = latin1(rest);

    const URL base = zoAdopt(ZoURLCreateWithString(nullptr, baseText.get(), nullptr));
    if (base) checkURL(base.get());
    const URL url = zoAdopt(ZoURLCreateWithString(nullptr, text.get(), base.get()));
    if (url) {
        checkURL(url.get());
        checkEdits(url.get(), baseText.get());
    }
    checkPath(rest, first.size() % 2);
    checkEscapes(text.get(), baseText.get());
    return 0;
}

#include "Foundation/URLs/ZoURL.h"

#include <cstring>

#include "Foundation/Objects/ZoAssertPrivate.h"
#include "Foundation/Objects/ZoRuntimePrivate.h"
#include "Foundation/Text/ZoStringBytesPrivate.h"
#include "Foundation/URLs/ZoURLPrivate.h"
#include "Memory/Containers.h"

static const ZoURL_* urlOf(ZoTypeRef object) { return static_cast<const ZoURL_*>(object); }

static void urlFinalize(ZoTypeRef object)
{
    if (urlOf(object)->string) ZoRelease(urlOf(object)->string);
    if (urlOf(object)->base) ZoRelease(urlOf(object)->base);
}

static Boolean urlEqual(ZoTypeRef object1, ZoTypeRef object2)
{
    const ZoURLRef base1 = urlOf(object1)->base, base2 = urlOf(object2)->base;
    if (!ZoEqual(urlOf(object1)->string, urlOf(object2)->string)) return false;
    return base1 == base2 || (base1 && base2 && ZoEqual(base1, base2));
}

static ZoHashCode urlHash(ZoTypeRef object) { return ZoHash(urlOf(object)->string); }

static ZoStringRef urlCopyDescription(ZoTypeRef object)
{
    const ZoURL_* url = urlOf(object);
    if (!url->base) return ZoStringCreateCopy(nullptr, url->string);
    return ZoStringCreateWithFormat(nullptr, nullptr, ZOSTR("%@ -- %@"), url->string, url->base->string);
}

const ZoRuntimeClass __ZoURLClass = {
    .version = 0,
    .className = "ZoURL",
    .init = nullptr,
    .copy = nullptr,
    .finalize = urlFinalize,
    .equal = urlEqual,
    .hash = urlHash,
    .copyFormattingDesc = nullptr,
    .copyDebugDesc = urlCopyDescription,
    .unused = {},
};

ZoTypeID ZoURLGetTypeID(void) { return kZoTypeIDURL; }

static bool isURL(ZoURLRef url) { return zoIsOfType(url, kZoTypeIDURL); }

static ZoStringRef createString(ZoAllocatorRef allocator, std::string_view text)
{
    return zoStringFromUTF8(allocator, text).release();
}

ZoRef<ZoURLRef> zoURLFromText(ZoAllocatorRef allocator, std::string_view text, ZoURLRef base)
{
    UrlParts parts;
    if (!urlSplit(text, parts)) return nullptr;
    ZoRef<ZoURLRef> ownBase;
    if (base && !parts.hasScheme) {
        ownBase.reset(ZoURLCopyAbsoluteURL(base));
        if (!ownBase) return nullptr;
    }
    auto* url = static_cast<ZoURL_*>(const_cast<void*>(_ZoRuntimeCreateInstanceWithTail(
        allocator, kZoTypeIDURL, sizeof(ZoURL_) - sizeof(ZoRuntimeBase), static_cast<ZoIndex>(text.size() + 1))));
    if (!url) return nullptr;
    auto result = zoAdopt<ZoURLRef>(url);
    char* storage = reinterpret_cast<char*>(url + 1);
    storage[text.copy(storage, text.size())] = '\0';
    urlSplit({storage, text.size()}, url->parts);
    url->base = ownBase.release();
    url->string = createString(allocator, text);
    if (!url->string) return nullptr;
    return result;
}

ZoURLRef ZoURLCreateWithString(ZoAllocatorRef allocator, ZoStringRef string, ZoURLRef baseURL)
{
    memory::String text;
    if (!ZO_EXPECT(!baseURL || isURL(baseURL), "the base is not a URL")) return nullptr;
    if (!zoAppendBytes(string, kZoStringEncodingASCII, text) || (text.empty() && !baseURL)) return nullptr;
    return zoURLFromText(allocator, text, baseURL).release();
}

ZoURLRef ZoURLCopyAbsoluteURL(ZoURLRef url)
{
    if (!ZO_EXPECT(isURL(url), "not a URL")) return nullptr;
    if (!url->base) return ZoRef<ZoURLRef>::retain(url).release();
    return zoURLFromText(ZoGetAllocator(url), urlResolve(url->base->parts, url->parts), nullptr).release();
}

ZoStringRef ZoURLGetString(ZoURLRef url) { return ZO_EXPECT(isURL(url), "not a URL") ? url->string : nullptr; }

ZoURLRef ZoURLGetBaseURL(ZoURLRef url) { return ZO_EXPECT(isURL(url), "not a URL") ? url->base : nullptr; }

ZoStringRef ZoURLCopyScheme(ZoURLRef url)
{
    if (!ZO_EXPECT(isURL(url), "not a URL")) return nullptr;
    if (!url->parts.hasScheme && url->base) return ZoURLCopyScheme(url->base);
    return url->parts.hasScheme ? createString(ZoGetAllocator(url), url->parts.scheme) : nullptr;
}

ZoStringRef ZoURLCopyPath(ZoURLRef url)
{
    if (!ZoURLCanBeDecomposed(url)) return nullptr;
    return createString(ZoGetAllocator(url), url->parts.path);
}

Boolean ZoURLCanBeDecomposed(ZoURLRef url)
{
    if (!ZO_EXPECT(isURL(url), "not a URL")) return false;
    return !url->parts.isOpaque() && (!url->base || !url->base->parts.isOpaque());
}

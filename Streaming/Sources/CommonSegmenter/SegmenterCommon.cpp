#include "CommonSegmenter/SegmenterCommon.h"

#include <bsd/stdlib.h>

#include "Foundation/Objects/ZoRef.h"
#include "Foundation/Text/ZoString.h"
#include "Platform/Common/TavSignal.h"

static constexpr OSStatus kSegmenterCommonError = -1;

static const char kShortVersion[] = LUVIA_VERSION;
static const char kBuildVersion[] = "659.18b-240228";

static ZoRef<ZoStringRef> segmentercommonCreateString(const char* text)
{
    return zoAdopt(ZoStringCreateWithCString(nullptr, text, kZoStringEncodingUTF8));
}

OSStatus SCCreateFormattedVersionString(ZoStringRef* formattedVersionStringOut)
{
    if (!formattedVersionStringOut) return TAV_SIGNAL(kSegmenterCommonError, "NULL formattedVersionStringOut");
    *formattedVersionStringOut = nullptr;

    const ZoRef<ZoStringRef> shortVersion = segmentercommonCreateString(kShortVersion);
    if (!shortVersion) return TAV_SIGNAL(kSegmenterCommonError, "Failed to get short version number\n");
    const ZoRef<ZoStringRef> buildVersion = segmentercommonCreateString(kBuildVersion);
    if (!buildVersion) return TAV_SIGNAL(kSegmenterCommonError, "Failed to get build version number\n");

    *formattedVersionStringOut =
        ZoStringCreateWithFormat(nullptr, nullptr, ZOSTR("%@ (%@)"), shortVersion.get(), buildVersion.get());
    if (!*formattedVersionStringOut)
        return TAV_SIGNAL(kSegmenterCommonError, "Failed to create formatted version string\n");
    return 0;
}

OSStatus SCCreateExecutableName(ZoAllocatorRef, ZoStringRef* executableNameOut)
{
    *executableNameOut = nullptr;
    const char* const name = getprogname();
    if (!name) return TAV_SIGNAL(kSegmenterCommonError, "Failed to get program name\n");
    *executableNameOut = segmentercommonCreateString(name).release();
    if (!*executableNameOut) return TAV_SIGNAL(kSegmenterCommonError, "ZoStringCreate failed");
    return 0;
}

OSStatus SCCreateFormattedVersionStringWithExecutableName(ZoStringRef* formattedVersionStringOut)
{
    if (!formattedVersionStringOut) return TAV_SIGNAL(kSegmenterCommonError, "NULL formattedVersionStringOut");
    *formattedVersionStringOut = nullptr;

    ZoRef<ZoStringRef> name;
    (void)SCCreateExecutableName(nullptr, name.outParam());  // signalled; the text does without a name
    ZoRef<ZoStringRef> version;
    TAV_TRY(SCCreateFormattedVersionString(version.outParam()));

    *formattedVersionStringOut =
        ZoStringCreateWithFormat(nullptr, nullptr, ZOSTR("%@: Version %@"), name.get(), version.get());
    if (!*formattedVersionStringOut)
        return TAV_SIGNAL(kSegmenterCommonError, "Failed to create formatted version string\n");
    return 0;
}

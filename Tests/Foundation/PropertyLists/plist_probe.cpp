// plist_probe xml|binary OPTIONS IN OUT: reads a property list of either form from a stream and writes it in one.
// Ends with 1 and the reason on standard error if that does not work.

#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "Foundation/Objects/ZoRef.h"
#include "Foundation/PropertyLists/ZoPropertyList.h"
#include "Foundation/Text/ZoString.h"

static int complain(ZoErrorRef owned)
{
    const auto error = zoAdopt(owned);
    char reason[256] = "no error object";
    if (error) {
        const auto text = zoAdopt(ZoErrorCopyFailureReason(error.get()));
        if (text) ZoStringGetCString(text.get(), reason, sizeof reason, kZoStringEncodingUTF8);
    }
    std::fprintf(stderr, "%s\n", reason);
    return 1;
}

int main(int argc, char** argv)
{
    if (argc != 5) return 2;
    const auto path = zoAdopt(ZoStringCreateWithCString(nullptr, argv[3], kZoStringEncodingUTF8));
    const auto url = zoAdopt(ZoURLCreateWithFileSystemPath(nullptr, path.get(), kZoURLPOSIXPathStyle, false));
    const auto stream = zoAdopt(ZoReadStreamCreateWithFile(nullptr, url.get()));
    if (!stream || !ZoReadStreamOpen(stream.get())) return 2;
    ZoErrorRef error = nullptr;
    const auto options = static_cast<ZoOptionFlags>(std::atoi(argv[2]));
    const auto list = zoAdopt(ZoPropertyListCreateWithStream(nullptr, stream.get(), 0, options, nullptr, &error));
    if (!list) return complain(error);
    const ZoPropertyListFormat format =
        std::strcmp(argv[1], "xml") == 0 ? kZoPropertyListXMLFormat_v1_0 : kZoPropertyListBinaryFormat_v1_0;
    const auto data = zoAdopt(ZoPropertyListCreateData(nullptr, list.get(), format, 0, &error));
    if (!data) return complain(error);
    std::FILE* out = std::fopen(argv[4], "wb");
    if (!out) return 2;
    const auto length = static_cast<size_t>(ZoDataGetLength(data.get()));
    const bool isWritten = std::fwrite(ZoDataGetBytePtr(data.get()), 1, length, out) == length;
    return std::fclose(out) == 0 && isWritten ? 0 : 2;
}

// Property lists of both forms: what is read is written in both, and reads back as the same. The first byte picks the
// mutability option; the rest is the list.

#include <cstdint>
#include <cstdlib>

#include "Foundation/Objects/ZoRef.h"
#include "Foundation/PropertyLists/ZoPropertyList.h"
#include "Fuzz/Support/Require.h"

static ZoRef<ZoTypeRef> read(ZoDataRef data, ZoOptionFlags options, ZoPropertyListFormat* format)
{
    ZoErrorRef error = nullptr;
    auto list = zoAdopt<ZoTypeRef>(ZoPropertyListCreateWithData(nullptr, data, options, format, &error));
    require((error == nullptr) == (list.get() != nullptr), "an error with a list, or neither");
    zoAdopt(error).reset();
    return list;
}

static ZoRef<ZoDataRef> write(ZoTypeRef list, ZoPropertyListFormat format)
{
    return zoAdopt(ZoPropertyListCreateData(nullptr, list, format, 0, nullptr));
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* bytes, size_t size)
{
    if (size == 0) return 0;
    const auto data = zoAdopt(ZoDataCreate(nullptr, bytes + 1, static_cast<ZoIndex>(size - 1)));
    ZoPropertyListFormat format = 0;
    const auto list = read(data.get(), bytes[0] % 3, &format);
    if (!list) return 0;

    // The binary form carries all that can be read; the XML form may refuse, but does not change a value.
    const auto binary = write(list.get(), kZoPropertyListBinaryFormat_v1_0);
    require(binary.get(), "not written in binary form");
    const auto again = read(binary.get(), 0, nullptr);
    require(again.get(), "its own binary form not read");
    const auto binaryAgain = write(again.get(), kZoPropertyListBinaryFormat_v1_0);
    require(ZoEqual(binary.get(), binaryAgain.get()), "changed by the binary form");

    const auto xml = write(list.get(), kZoPropertyListXMLFormat_v1_0);
    require(xml.get() || format == kZoPropertyListBinaryFormat_v1_0, "read from XML, but not written");
    if (!xml) return 0;
    const auto fromXML = read(xml.get(), 0, nullptr);
    require(fromXML.get(), "its own XML form not read");
    const auto xmlAgain = write(fromXML.get(), kZoPropertyListXMLFormat_v1_0);
    require(ZoEqual(xml.get(), xmlAgain.get()), "changed by the XML form");
    return 0;
}

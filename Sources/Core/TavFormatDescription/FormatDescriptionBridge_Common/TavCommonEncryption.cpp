#define TAV_SUBSYSTEM "<<< FormatDescriptionBridge_Common >>>"

#include "Core/TavFormatDescription/FormatDescriptionBridge_Common/TavCommonEncryption.h"

#include <algorithm>
#include <initializer_list>
#include <iterator>

#include "Core/TavFormatDescription/FormatDescriptionBridge_Common/TavBridgeErrors.h"
#include "Foundation/Objects/ZoObject.h"
#include "Foundation/Values/ZoData.h"
#include "Platform/Common/TavSignal.h"
#include "Utilities/TavAtomStream.h"
#include "Utilities/TavBigEndian.h"

// Puts the cursor on the box at the end of the path; false where there is none.
static bool findBox(const void* sinf, size_t sinfLength, std::initializer_list<OSType> path, TavAtomStream& box)
{
    return sinf && sinfLength != 0 && TavAtomStreamInitWithMemoryBlock(sinf, sinfLength, 0, true, &box) == 0 &&
           TavAtomStreamPositionViaAtomPath(&box, static_cast<ZoIndex>(path.size()), path.begin()) == 0;
}

OSType TavBridgeGetCommonEncryptionScheme(const void* sinf, size_t sinfLength)
{
    constexpr uint32_t kSchemeVersion = 0x00010000;
    constexpr OSType kSchemes[] = {LU_FOURCC('c', 'e', 'n', 'c'), LU_FOURCC('c', 'b', 'c', '2'),
                                   LU_FOURCC('c', 'b', 'c', 's')};
    TavAtomStream box;
    uint8_t bytes[12];  // version and flags, scheme type, scheme version
    if (!findBox(sinf, sinfLength, {LU_FOURCC('s', 'c', 'h', 'm')}, box) ||
        box.dataLength < static_cast<int64_t>(sizeof(bytes)) ||
        TavAtomStreamReadCurrentAtomData(&box, 0, sizeof(bytes), bytes) != 0)
        return 0;
    const OSType scheme = loadBE32(bytes + 4);
    const bool known = std::find(std::begin(kSchemes), std::end(kSchemes), scheme) != std::end(kSchemes);
    return known && loadBE32(bytes + 8) == kSchemeVersion ? scheme : 0;
}

OSType TavBridgeGetOriginalFormatFromSinf(const void* sinf, size_t sinfLength)
{
    TavAtomStream box;
    uint8_t format[4];
    if (!findBox(sinf, sinfLength, {LU_FOURCC('f', 'r', 'm', 'a')}, box) || box.dataLength != sizeof(format) ||
        TavAtomStreamReadCurrentAtomData(&box, 0, sizeof(format), format) != 0)
        return 0;
    return loadBE32(format);
}

OSStatus TavBridgeExtractCommonEncryptionTrackEncryptionExtension(ZoAllocatorRef allocator, const void** keys,
                                                                  const void** values, ZoIndex* count, const void* sinf,
                                                                  size_t sinfLength)
{
    constexpr int64_t kLeastLength = 24;
    TavAtomStream box;
    if (!findBox(sinf, sinfLength, {LU_FOURCC('s', 'c', 'h', 'i'), LU_FOURCC('t', 'e', 'n', 'c')}, box) ||
        box.dataLength < kLeastLength)
        return 0;
    OSStatus status = 0;
    if (values) {
        // The box lies in the caller's memory, where the cursor found it.
        const auto* payload = static_cast<const uint8_t*>(sinf) + box.containerOffset + box.dataOffset;
        const ZoDataRef data = ZoDataCreate(allocator, payload, box.dataLength);
        if (!data) status = TAV_SIGNAL(kTavBridgeAllocationFailedErr, "ZoDataCreate failed");
        values[*count] = data;
    }
    if (keys) keys[*count] = ZoRetain(kTavFormatDescriptionExtension_CommonEncryptionTrackEncryptionBox);
    *count += 1;
    return status;
}

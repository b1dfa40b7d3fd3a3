#define TAV_SUBSYSTEM "<<<< H264Bridge >>>>"

#include <cerrno>
#include <cstring>

#include "Core/TavFormatDescription/TavH264Bridge/TavH264Bridge.h"
#include "Core/TavFormatDescription/TavH264Bridge/TavH264Unescaped.h"

// The 03 of the next 00 00 03 at or behind `from`, or nothing. The byte 03 is rarer than zeros in most streams, and
// memchr(3) is as fast as memory.
static const uint8_t* nextEmulation3Byte(const uint8_t* begin, const uint8_t* from, const uint8_t* end)
{
    while (from < end) {
        const auto* found = static_cast<const uint8_t*>(memchr(from, 3, static_cast<size_t>(end - from)));
        if (!found) return nullptr;
        if (found - begin >= 2 && found[-1] == 0 && found[-2] == 0) return found;
        from = found + 1;
    }
    return nullptr;
}

OSStatus RemoveEmulation3Byte(const uint8_t* bytes, size_t size, ZoRef<ZoDataRef>& unescapedOut)
{
    constexpr size_t kLeastSize = 3;
    if (!bytes || size < kLeastSize) return 0;
    const uint8_t* const end = bytes + size;
    const uint8_t* found = nextEmulation3Byte(bytes, bytes, end);
    if (!found) return 0;
    auto unescaped = zoAdopt(ZoDataCreateMutable(nullptr, static_cast<ZoIndex>(size + 3)));
    if (!unescaped) return TAV_SIGNAL_NAMED(ENOMEM, "ENOMEM", "emulation3Byte malloc");
    const uint8_t* piece = bytes;
    size_t removed = 0;
    for (; found; found = nextEmulation3Byte(bytes, found + 1, end), ++removed) {
        ZoDataAppendBytes(unescaped.get(), piece, found - piece);
        piece = found + 1;
    }
    ZoDataAppendBytes(unescaped.get(), piece, end - piece);
    if (static_cast<size_t>(ZoDataGetLength(unescaped.get())) != size - removed)
        return TAV_SIGNAL_NAMED(ENOMEM, "ENOMEM", "emulation3Byte malloc");
    unescapedOut = ZoRef<ZoDataRef>::adopt(unescaped.release());
    return 0;
}

OSStatus TavH264Bridge_CopyDataWithEmulationPreventionBytesRemoved(ZoDataRef data, ZoDataRef* dataOut)
{
    if (dataOut) *dataOut = nullptr;
    if (!data || !dataOut || ZoGetTypeID(data) != ZoDataGetTypeID())
        return TAV_SIGNAL(kTavBridgeParameterErr, "no data or not a ZoData");
    ZoRef<ZoDataRef> unescaped;
    TAV_TRY(RemoveEmulation3Byte(ZoDataGetBytePtr(data), static_cast<size_t>(ZoDataGetLength(data)), unescaped));
    *dataOut = unescaped ? unescaped.release() : ZoDataCreateCopy(nullptr, data);
    return *dataOut ? 0 : TAV_SIGNAL(kTavBridgeAllocationFailedErr, "no data copy");
}

extern "C" __typeof__(TavH264Bridge_CopyDataWithEmulationPreventionBytesRemoved)
    H264Bridge_CopyDataWithEmulationPreventionBytesRemoved
    __attribute__((__alias__("TavH264Bridge_CopyDataWithEmulationPreventionBytesRemoved")));

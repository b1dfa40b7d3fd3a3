// A NAL unit without its emulation prevention, for as long as it is read.

#pragma once

#include <cstring>

#include "Foundation/Objects/ZoRef.h"
#include "Foundation/Values/ZoData.h"
#include "Platform/Common/TavSignal.h"

/// `unescapedOut` gets a copy of the bytes without the 03 of each 00 00 03, or stays empty where there is none.
/// ENOMEM, signalled, when out of memory.
OSStatus RemoveEmulation3Byte(const uint8_t* bytes, size_t size, ZoRef<ZoDataRef>& unescapedOut);

/// The bytes to read: the copy where there is one, else the original.
class H264Unescaped {
public:
    OSStatus set(const uint8_t* bytes, size_t size)
    {
        bytes_ = bytes;
        size_ = size;
        TAV_TRY(RemoveEmulation3Byte(bytes, size, copy_));
        if (copy_) {
            bytes_ = ZoDataGetBytePtr(copy_.get());
            size_ = static_cast<size_t>(ZoDataGetLength(copy_.get()));
        }
        return 0;
    }
    const uint8_t* bytes() const { return bytes_; }
    size_t size() const { return size_; }

private:
    const uint8_t* bytes_ = nullptr;
    size_t size_ = 0;
    ZoRef<ZoDataRef> copy_;
};

// A byte stream over a string, which does what a test asks of it: says another length, reads in small pieces, fails.

#pragma once

#include <algorithm>
#include <functional>
#include <string>
#include <vector>

#include "DataIO/TavByteStreams/TavByteStream.h"
#include "Foundation/Objects/ZoRef.h"
#include "Foundation/Text/ZoString.h"
#include "Foundation/Values/ZoNumber.h"
#include "Platform/Common/TavSignal.h"

namespace luvia_test {

/// Must outlive its stream.
class FakeByteStream {
public:
    static constexpr OSStatus kFailure = -4711;

    std::string content;
    int64_t claimedLength = -1;  ///< -1: that of the content
    bool lengthIsText = false;   ///< the length property is no number
    size_t mostBytesARead = SIZE_MAX;
    std::function<OSStatus(int64_t)> onRead;  ///< asked before each read
    int failingWrite = -1;                    ///< which write fails, from 0; later ones succeed
    std::vector<size_t> writes;               ///< length of each

    explicit FakeByteStream(const std::string& bytes = "") : content(bytes) { make(&kVTable); }
    /// A class that leaves every operation out.
    struct Empty {};
    explicit FakeByteStream(Empty) { make(&kEmptyVTable); }

    LuByteStreamRef get() const { return stream_.get(); }

private:
    void make(const LuVTable* table)
    {
        LuBaseObjectRef object = nullptr;
        LuDerivedObjectCreate(nullptr, table, LuByteStreamGetClassID(), &object);
        stream_ = zoAdopt(reinterpret_cast<LuByteStreamRef>(object));
        *static_cast<FakeByteStream**>(LuBaseObjectGetDerivedStorage(object)) = this;
    }
    static FakeByteStream& self(const void* stream)
    {
        const auto object = static_cast<LuBaseObjectRef>(const_cast<void*>(stream));
        return **static_cast<FakeByteStream**>(LuBaseObjectGetDerivedStorage(object));
    }
    static OSStatus read(LuByteStreamRef stream, size_t size, int64_t offset, void* destination, size_t* countOut)
    {
        FakeByteStream& fake = self(stream);
        if (countOut) *countOut = 0;
        if (fake.onRead) TAV_TRY(fake.onRead(offset));
        const size_t at = std::min(static_cast<size_t>(offset), fake.content.size());
        const size_t count = std::min({size, fake.mostBytesARead, fake.content.size() - at});
        fake.content.copy(static_cast<char*>(destination), count, at);
        if (countOut) *countOut = count;
        return 0;
    }
    static OSStatus write(LuByteStreamRef stream, size_t size, int64_t offset, const void* source, size_t* countOut)
    {
        FakeByteStream& fake = self(stream);
        if (countOut) *countOut = 0;
        fake.writes.push_back(size);
        if (static_cast<int>(fake.writes.size()) - 1 == fake.failingWrite) return kFailure;
        const auto at = static_cast<size_t>(offset);
        fake.content.resize(std::max(fake.content.size(), at + size));
        fake.content.replace(at, size, static_cast<const char*>(source), size);
        if (countOut) *countOut = size;
        return 0;
    }
    static OSStatus availableLength(LuByteStreamRef stream, int64_t offset, int64_t* lengthOut)
    {
        *lengthOut = std::max<int64_t>(0, static_cast<int64_t>(self(stream).content.size()) - offset);
        return 0;
    }
    static OSStatus copyProperty(LuBaseObjectRef object, ZoStringRef key, ZoAllocatorRef allocator, void* valueOut)
    {
        const FakeByteStream& fake = self(object);
        if (!ZoEqual(key, kLuByteStreamProperty_EntireLength)) return kTavBaseObjectError_PropertyNotFound;
        const int64_t length = fake.claimedLength >= 0 ? fake.claimedLength : static_cast<int64_t>(fake.content.size());
        *static_cast<ZoTypeRef*>(valueOut) =
            fake.lengthIsText ? ZoRetain(ZOSTR("long")) : ZoNumberCreate(allocator, kZoNumberSInt64Type, &length);
        return 0;
    }

    static constexpr LuByteStreamClass kClass = {
        .version = 1, .read = read, .write = write, .getAvailableLengthAtOffset = availableLength};
    static constexpr LuByteStreamClass kEmptyClass = {.version = 1};
    static constexpr LuBaseClass kBase = {
        .version = 1, .derivedStorageSize = sizeof(FakeByteStream*), .copyProperty = copyProperty};
    static constexpr LuBaseClass kEmptyBase = {.version = 1, .derivedStorageSize = sizeof(FakeByteStream*)};
    static constexpr LuVTable kVTable = {.base = &kBase, .derived = &kClass};
    static constexpr LuVTable kEmptyVTable = {.base = &kEmptyBase, .derived = &kEmptyClass};

    ZoRef<LuByteStreamRef> stream_;
};

}  // namespace luvia_test

// What the readers and writers of property lists share: the bounds, the latch of the first failure, bytes that grow,
// and dates as text. Sizes come from input: all memory is asked for, and a lack of it is a failure like others.

#pragma once

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <span>
#include <string_view>

#include "Foundation/Objects/ZoRef.h"
#include "Foundation/PropertyLists/ZoPropertyList.h"
#include "Memory/Containers.h"

namespace zoplist {

/// Keeps the first thing that went wrong; what fails later because of it changes nothing.
class Failure {
public:
    /// Gives false, so that a failing function can return it. Line 0 is none.
    bool set(int32_t code, const char* reason, unsigned long line = 0)
    {
        if (!ok()) return false;
        code_ = code;
        if (line)
            std::snprintf(reason_, sizeof reason_, "line %lu: %s", line, reason);
        else
            std::snprintf(reason_, sizeof reason_, "%s", reason);
        return false;
    }
    bool corrupt(const char* reason) { return set(kZoPropertyListErrorCorrupt, reason); }
    bool unsupported(const char* reason) { return set(kZoPropertyListErrorUnsupported, reason); }
    bool noMemory() { return set(kZoPropertyListErrorAllocation, "no memory"); }
    bool ok() const { return code_ == 0; }
    int32_t code() const { return code_; }
    std::string_view reason() const { return reason_; }

private:
    int32_t code_ = 0;
    char reason_[160] = {};
};

/// The containers that a walk is in, from the root down. Keeps it from going too deep and round in circles.
class Path {
public:
    bool enter(ZoTypeRef container, Failure& failure)
    {
        if (depth_ == kZoPropertyListMaximumDepth) return failure.unsupported("nested too deep");
        if (std::find(containers_, containers_ + depth_, container) != containers_ + depth_)
            return failure.unsupported("a container is within itself");
        containers_[depth_++] = container;
        return true;
    }
    void leave() { --depth_; }

private:
    size_t depth_ = 0;
    ZoTypeRef containers_[kZoPropertyListMaximumDepth];
};

/// Bytes that grow. That there was no memory is latched: what follows does nothing, and ok() says so.
class Output {
public:
    Output& operator+=(std::string_view bytes)
    {
        if (!bytes_.append(std::span<const char>(bytes))) isWhole_ = false;
        return *this;
    }
    Output& operator+=(char byte)
    {
        if (!bytes_.append(byte)) isWhole_ = false;
        return *this;
    }
    /// Where `count` more bytes are to be put, or nothing.
    char* extend(size_t count)
    {
        const size_t before = bytes_.size();
        if (!bytes_.resize(before + count)) isWhole_ = false;
        return isWhole_ ? bytes_.data() + before : nullptr;
    }
    /// Appends all of `string`; false if it is not in `encoding`.
    bool append(ZoStringRef string, ZoStringEncoding encoding);
    void truncate(size_t size)
    {
        if (size < bytes_.size()) bytes_.truncate(size);
    }

    bool ok() const { return isWhole_; }
    size_t size() const { return bytes_.size(); }
    std::string_view text(size_t from = 0) const { return {bytes_.data() + from, bytes_.size() - from}; }
    const uint8_t* bytes() const { return reinterpret_cast<const uint8_t*>(bytes_.data()); }

private:
    memory::ReportingArray<char> bytes_;
    bool isWhole_ = true;
};

/// What stands between the first and the last character that is not XML white space.
std::string_view trimmed(std::string_view text);
/// "2001-01-01T00:00:00Z", cut to whole seconds, into `text`; false outside of the years 1 to 9999.
bool formatDate(ZoAbsoluteTime time, char (&text)[24]);
bool parseDate(std::string_view text, ZoAbsoluteTime& time);

// Readers give nothing, with `failure` set, unless all of `bytes` is a property list. All they make is immutable.
ZoRef<ZoTypeRef> readXML(ZoAllocatorRef allocator, std::span<const uint8_t> bytes, Failure& failure);
/// `copiesLeaves`: somebody is going to make a copy of each leaf wherever it stands.
ZoRef<ZoTypeRef> readBinary(ZoAllocatorRef allocator, std::span<const uint8_t> bytes, bool copiesLeaves,
                            Failure& failure);
bool isBinary(std::span<const uint8_t> bytes);

bool writeXML(ZoTypeRef root, Output& out, Failure& failure);
bool writeBinary(ZoTypeRef root, Output& out, Failure& failure);

/// An integer of 64 bits with a sign or without.
ZoRef<ZoTypeRef> createInteger(ZoAllocatorRef allocator, bool isNegative, uint64_t magnitude);

}  // namespace zoplist

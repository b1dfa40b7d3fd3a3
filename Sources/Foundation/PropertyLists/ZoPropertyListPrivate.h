// What the readers and writers of property lists share: the bounds, the latch of the first failure, and dates as text.

#pragma once

#include <algorithm>
#include <cstdint>
#include <span>
#include <string>
#include <string_view>

#include "Foundation/Objects/ZoRef.h"
#include "Foundation/PropertyLists/ZoPropertyList.h"

namespace zoplist {

/// Keeps the first thing that went wrong; what fails later because of it changes nothing.
class Failure {
public:
    /// Gives false, so that a failing function can return it.
    bool set(int32_t code, std::string reason)
    {
        if (ok()) {
            code_ = code;
            reason_ = std::move(reason);
        }
        return false;
    }
    bool corrupt(std::string reason) { return set(kZoPropertyListErrorCorrupt, std::move(reason)); }
    bool unsupported(std::string reason) { return set(kZoPropertyListErrorUnsupported, std::move(reason)); }
    bool noMemory() { return set(kZoPropertyListErrorAllocation, "no memory"); }
    bool ok() const { return code_ == 0; }
    int32_t code() const { return code_; }
    const std::string& reason() const { return reason_; }

private:
    int32_t code_ = 0;
    std::string reason_;
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

/// What stands between the first and the last character that is not XML white space.
std::string_view trimmed(std::string_view text);
/// "2001-01-01T00:00:00Z", cut to whole seconds; false outside of the years 1 to 9999.
bool formatDate(ZoAbsoluteTime time, std::string& text);
bool parseDate(std::string_view text, ZoAbsoluteTime& time);

// Readers give nothing, with `failure` set, unless all of `bytes` is a property list. All they make is immutable.
ZoRef<ZoTypeRef> readXML(ZoAllocatorRef allocator, std::span<const uint8_t> bytes, Failure& failure);
ZoRef<ZoTypeRef> readBinary(ZoAllocatorRef allocator, std::span<const uint8_t> bytes, Failure& failure);
bool isBinary(std::span<const uint8_t> bytes);

bool writeXML(ZoTypeRef root, std::string& out, Failure& failure);
bool writeBinary(ZoTypeRef root, std::string& out, Failure& failure);

/// An integer of 64 bits with a sign or without.
ZoRef<ZoTypeRef> createInteger(ZoAllocatorRef allocator, bool isNegative, uint64_t magnitude);

}  // namespace zoplist

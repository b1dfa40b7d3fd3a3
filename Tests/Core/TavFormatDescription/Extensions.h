// Extension dictionaries and descriptions in a line, and a kind of descriptions that counts.

#pragma once

#include <initializer_list>
#include <string>
#include <utility>

#include "Core/TavFormatDescription/TavFormatDescription.h"
#include "Foundation/PropertyLists/ZoPropertyList.h"
#include "Tests/Support/Objects.h"

namespace luvia_test {

/// A value of an extension: text, or a dictionary. Made anew for each description, so that nothing is equal by
/// identity.
class Value {
public:
    Value(const char* text) : object_(ZoRef<ZoTypeRef>::retain(str(text).get())) {}
    Value(std::initializer_list<std::pair<const char*, Value>> pairs)
    {
        const auto made = luvia_test::dictionary();
        for (const auto& [key, value] : pairs) {
            ZoDictionarySetValue(made.get(), str(key).get(), value.object_.get());
        }
        object_ = ZoRef<ZoTypeRef>::retain(made.get());
    }
    Value(const Value& other) : object_(ZoRef<ZoTypeRef>::retain(other.object_.get())) {}
    Value& operator=(const Value&) = delete;

    ZoTypeRef get() const { return object_.get(); }
    ZoDictionaryRef dictionary() const { return static_cast<ZoDictionaryRef>(object_.get()); }

private:
    ZoRef<ZoTypeRef> object_;
};

using Extensions = Value;
using Description = ZoRef<LuFormatDescriptionRef>;

constexpr OSType kSubtitle = kLuMediaType_Subtitle;
constexpr OSType kSubType = LU_FOURCC('t', 'x', '3', 'g');

inline Description describe(ZoDictionaryRef extensions = nullptr, OSType mediaType = kSubtitle,
                            OSType mediaSubType = kSubType)
{
    Description description;
    LuFormatDescriptionCreate(nullptr, mediaType, mediaSubType, extensions, description.outParam());
    return description;
}

}  // namespace luvia_test

// Extension dictionaries and descriptions in a line, and a kind of descriptions that counts.

#pragma once

#include <initializer_list>
#include <string>
#include <utility>

#include "Core/TavFormatDescription/TavFormatDescription.h"
#include "Foundation/Collections/ZoDictionary.h"
#include "Foundation/Objects/ZoRef.h"
#include "Foundation/PropertyLists/ZoPropertyList.h"
#include "Foundation/Text/ZoString.h"

namespace luvia_test {

/// A value of an extension: text, or a dictionary. Made anew for each description, so that nothing is equal by
/// identity.
class Value {
public:
    Value(const char* text) : object_(zoAdopt<ZoTypeRef>(ZoStringCreateWithCString(nullptr, text, kEncoding))) {}
    Value(std::initializer_list<std::pair<const char*, Value>> pairs)
    {
        const auto dictionary = zoAdopt(
            ZoDictionaryCreateMutable(nullptr, 0, &kZoTypeDictionaryKeyCallBacks, &kZoTypeDictionaryValueCallBacks));
        for (const auto& [key, value] : pairs) {
            const Value keyText(key);
            ZoDictionarySetValue(dictionary.get(), keyText.object_.get(), value.object_.get());
        }
        object_ = ZoRef<ZoTypeRef>::retain(dictionary.get());
    }
    Value(const Value& other) : object_(ZoRef<ZoTypeRef>::retain(other.object_.get())) {}
    Value& operator=(const Value&) = delete;

    ZoTypeRef get() const { return object_.get(); }
    ZoDictionaryRef dictionary() const { return static_cast<ZoDictionaryRef>(object_.get()); }

private:
    static constexpr auto kEncoding = kZoStringEncodingUTF8;
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

inline std::string textOf(ZoRef<ZoStringRef> string)
{
    char text[2048] = "";
    ZoStringGetCString(string.get(), text, sizeof text, kZoStringEncodingUTF8);
    return text;
}

}  // namespace luvia_test

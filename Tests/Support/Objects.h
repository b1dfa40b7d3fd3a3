// Short spellings for tests of the object library's services.

#pragma once

#include <gtest/gtest.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>

#include "Foundation/Collections/ZoDictionary.h"
#include "Foundation/Objects/ZoRef.h"
#include "Foundation/Text/ZoString.h"
#include "Foundation/Values/ZoNumber.h"

namespace luvia_test {

/// A string object of UTF-8 text, which may hold NULs.
inline ZoRef<ZoStringRef> str(std::string_view text)
{
    return zoAdopt(ZoStringCreateWithBytes(nullptr, reinterpret_cast<const uint8_t*>(text.data()),
                                           static_cast<ZoIndex>(text.size()), kZoStringEncodingUTF8, false));
}

/// The object's text, or "(none)".
inline std::string text(ZoStringRef string)
{
    if (!string) return "(none)";
    std::string out(
        static_cast<size_t>(ZoStringGetMaximumSizeForEncoding(ZoStringGetLength(string), kZoStringEncodingUTF8)), '\0');
    ZoIndex used = 0;
    ZoStringGetBytes(string, ZoRangeMake(0, ZoStringGetLength(string)), kZoStringEncodingUTF8, '?', false,
                     reinterpret_cast<uint8_t*>(out.data()), static_cast<ZoIndex>(out.size()), &used);
    out.resize(static_cast<size_t>(used));
    return out;
}
inline std::string text(const ZoRef<ZoStringRef>& string) { return text(string.get()); }
/// The same of a string that the caller owns.
inline std::string textOf(ZoStringRef string) { return text(zoAdopt(string)); }

inline ZoRef<ZoNumberRef> number(int64_t value)
{
    return zoAdopt(ZoNumberCreate(nullptr, kZoNumberSInt64Type, &value));
}
inline ZoRef<ZoNumberRef> real(double value) { return zoAdopt(ZoNumberCreate(nullptr, kZoNumberFloat64Type, &value)); }

inline ZoRef<ZoMutableDictionaryRef> dictionary()
{
    return zoAdopt(
        ZoDictionaryCreateMutable(nullptr, 0, &kZoTypeDictionaryKeyCallBacks, &kZoTypeDictionaryValueCallBacks));
}

/// A folder of its own, gone at the end.
class TemporaryFolder {
public:
    TemporaryFolder()
    {
        std::string name = testing::TempDir() + "luvia-XXXXXX";
        path_ = mkdtemp(name.data());
    }
    TemporaryFolder(const TemporaryFolder&) = delete;
    TemporaryFolder& operator=(const TemporaryFolder&) = delete;
    ~TemporaryFolder() { std::filesystem::remove_all(path_); }
    std::filesystem::path operator/(std::string_view name) const { return path_ / name; }
    const std::filesystem::path& path() const { return path_; }

private:
    std::filesystem::path path_;
};

inline std::string contentsOf(const std::filesystem::path& path)
{
    std::ifstream in(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
}

inline void writeFile(const std::filesystem::path& path, std::string_view contents)
{
    std::ofstream(path, std::ios::binary) << contents;
}

}  // namespace luvia_test

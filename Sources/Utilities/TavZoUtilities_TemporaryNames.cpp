#include "Utilities/TavZoUtilities_TemporaryNames.h"

#include <cstdint>
#include <cstring>
#include <ctime>
#include <string_view>
#include <utility>

#include "Platform/Ostra/OstraAtomics.h"
#include "Utilities/TavZoUtilitiesPrivate.h"
#include "Utilities/TavZoUtilities_FilePathPrivate.h"

using namespace tavzo;

static int32_t sTemporaryNameCounter;

namespace {

/// A path of up to 4,095 bytes. What does not fit is left out.
class NamedPath {
public:
    std::string_view text() const { return {bytes_, length_}; }
    const uint8_t* bytes() const { return reinterpret_cast<const uint8_t*>(bytes_); }

    void append(char character)
    {
        if (length_ < sizeof bytes_ - 1) bytes_[length_++] = character;
    }
    void append(std::string_view more)
    {
        for (const char character : more) append(character);
    }
    /// Five bits a character, the low ones first, as long as bits are left.
    void appendBits(uint64_t bits)
    {
        for (; bits != 0; bits >>= 5) append("ABCDEFGHIJKLMNOPQRSTUVWXYZ234567"[bits & 31]);
    }
    /// Exchanges the characters from `start` to the middle of the path with those as far from its end.
    void mixFrom(size_t start)
    {
        for (size_t i = start; i < length_ / 2; ++i) std::swap(bytes_[i], bytes_[length_ - 1 - i]);
    }

private:
    char bytes_[4096];
    size_t length_ = 0;
};

}  // namespace

/// The template's own part of a name; false for a template that makes none.
static bool appendTemplate(ZoStringRef nameTemplate, NamedPath& path)
{
    if (!nameTemplate) return true;
    char text[1024];
    if (!isOfType(nameTemplate, ZoStringGetTypeID()) ||
        !ZoStringGetCString(nameTemplate, text, sizeof text, kZoStringEncodingUTF8))
        return false;
    std::string_view own = text;
    while (!own.empty() && own.back() == 'X') own.remove_suffix(1);
    if (own.find('/') != own.npos) return false;
    if (own.size() >= 2) path.append(own);
    return true;
}

static ZoURLRef createTemporaryURL(const char* operation, ZoAllocatorRef allocator, ZoURLRef directory,
                                   ZoStringRef nameTemplate)
{
    const auto refuse = [operation](const char* message) {
        (void)TAV_SIGNAL_FROM(operation, kTavZoUtilitiesError_AllocationFailed, message);
        return nullptr;
    };
    NamedPath path;
    if (directory) {
        FilePath given;
        if (!given.read(directory)) return refuse("Failed to read temp dir system path");
        if (!given.isDirectory()) return refuse("Temporary directory doesn't exist");
        path.append(given.text());
    } else {
        path.append("/tmp");
    }
    if (path.text().back() != '/') path.append('/');
    if (!appendTemplate(nameTemplate, path)) return refuse("Failed to generate temporary file name");
    const size_t start = path.text().size();
    const auto count = static_cast<int16_t>(TavAtomicIncrement32(&sTemporaryNameCounter));
    path.appendBits(static_cast<uint64_t>(time(nullptr)));
    if (count > 0) path.appendBits(static_cast<uint64_t>(count));
    path.mixFrom(start);
    const ZoURLRef url = ZoURLCreateFromFileSystemRepresentation(allocator, path.bytes(),
                                                                 static_cast<ZoIndex>(path.text().size()), false);
    return url ? url : refuse("Failed to generate temporary file name");
}

ZoURLRef TavZoURLCreateFromSystemTemporaryDirectory(ZoAllocatorRef allocator)
{
    const ZoURLRef url = ZoURLCreateWithFileSystemPath(allocator, ZOSTR("/tmp"), kZoURLPOSIXPathStyle, true);
    if (!url) (void)TAV_SIGNAL(kTavZoUtilitiesError_AllocationFailed, "Failed to get temporary directory URL");
    return url;
}

ZoURLRef TavZoURLCreateFromTemporaryFileWithDirectoryAndSuffix(ZoAllocatorRef allocator, ZoURLRef directory,
                                                               ZoStringRef nameTemplate)
{
    return createTemporaryURL(__func__, allocator, directory, nameTemplate);
}

ZoURLRef TavZoURLCreateFromTemporaryFileWithDirectory(ZoAllocatorRef allocator, ZoURLRef directory)
{
    return createTemporaryURL(__func__, allocator, directory, nullptr);
}

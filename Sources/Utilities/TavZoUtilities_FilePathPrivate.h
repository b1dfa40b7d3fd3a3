// The path of a URL as the file system takes it, for the helpers that ask the system about a file.

#pragma once

#include <sys/stat.h>

#include <cstring>

#include "Foundation/URLs/ZoURL.h"
#include "Platform/Ostra/OstraFilePrivate.h"

namespace tavzo {

constexpr OSStatus kParamErr = -50;  // what a URL without a path is told with

class FilePath {
public:
    /// False for an absent URL, one that names no file, and a path that is too long.
    bool read(ZoURLRef url)
    {
        return url && ZoURLGetFileSystemRepresentation(url, true, reinterpret_cast<uint8_t*>(bytes_), sizeof bytes_);
    }
    const char* text() const { return bytes_; }
    bool isDirectory() const
    {
        struct stat status;
        return ::stat(bytes_, &status) == 0 && S_ISDIR(status.st_mode);
    }

private:
    char bytes_[kFilePathSize];
};

}  // namespace tavzo

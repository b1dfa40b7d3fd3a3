// URLs of files in a test's folder.

#pragma once

#include "Foundation/Objects/ZoRef.h"
#include "Foundation/URLs/ZoURL.h"
#include "Tests/Support/TemporaryFolder.h"

namespace luvia_test {

inline ZoRef<ZoURLRef> fileURL(const std::filesystem::path& path, bool isFolder = false)
{
    return zoAdopt(ZoURLCreateFromFileSystemRepresentation(nullptr, reinterpret_cast<const uint8_t*>(path.c_str()),
                                                           static_cast<ZoIndex>(path.native().size()), isFolder));
}
/// Writes a file first.
inline std::filesystem::path madeFile(const std::filesystem::path& path, std::string_view contents)
{
    writeFile(path, contents);
    return path;
}

}  // namespace luvia_test

// A folder that goes with all that is in it, and processes of a test's own.

#pragma once

#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>

#include "Foundation/Objects/ZoRef.h"
#include "Foundation/URLs/ZoURL.h"

namespace luvia_test {

inline ZoRef<ZoURLRef> fileURL(const std::string& path, bool isFolder = false)
{
    return zoAdopt(ZoURLCreateFromFileSystemRepresentation(nullptr, reinterpret_cast<const uint8_t*>(path.data()),
                                                           static_cast<ZoIndex>(path.size()), isFolder));
}
inline std::string contentOf(const std::string& path)
{
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

struct TemporaryFolder {
    std::string folder = "/tmp/luvia-test.XXXXXX";
    TemporaryFolder() { mkdtemp(folder.data()); }
    ~TemporaryFolder() { std::filesystem::remove_all(folder); }
    std::string path(const std::string& name) const { return folder + "/" + name; }
    std::string write(const std::string& name, const std::string& content) const
    {
        std::ofstream(path(name), std::ios::binary) << content;
        return path(name);
    }
};

/// Whether `body` holds in a process of its own, which may limit and unprivilege itself.
template <typename Body>
bool holdsInChild(Body body)
{
    const pid_t child = fork();
    if (child == 0) {
        body();
        _exit(::testing::Test::HasFailure() ? 1 : 0);
    }
    int status = -1;
    return waitpid(child, &status, 0) == child && status == 0;
}

}  // namespace luvia_test

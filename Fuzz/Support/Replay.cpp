// main() of a fuzz target that was built without libFuzzer: runs every file of the named folders once, in name order.

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size);

namespace {

std::vector<std::filesystem::path> filesBelow(const std::filesystem::path& place)
{
    if (!std::filesystem::is_directory(place)) return {place};
    std::vector<std::filesystem::path> files;
    for (const auto& entry : std::filesystem::recursive_directory_iterator(place))
        if (entry.is_regular_file()) files.push_back(entry.path());
    std::sort(files.begin(), files.end());
    return files;
}

}  // namespace

int main(int argc, char** argv)
{
    size_t count = 0;
    for (int i = 1; i < argc; ++i) {
        for (const auto& path : filesBelow(argv[i])) {
            std::ifstream in(path, std::ios::binary);
            const std::vector<uint8_t> bytes((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
            std::printf("%s (%zu bytes)\n", path.c_str(), bytes.size());
            std::fflush(stdout);  // so that a crash names its input
            LLVMFuzzerTestOneInput(bytes.data(), bytes.size());
            ++count;
        }
    }
    std::printf("%zu inputs replayed\n", count);
    return count == 0 ? 1 : 0;
}

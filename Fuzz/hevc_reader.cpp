// Operations chosen by the input on the HEVC bit reader and on a naive one: they must agree on all that can be seen.

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>

#include "Tests/Support/HEVCReaderModel.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    if (size < 2 || size > 4096) return 0;
    const std::string input(reinterpret_cast<const char*>(data), size);
    const size_t operationBytes = std::min<size_t>(size - 2, 2 * size_t{data[1]});
    const std::string operations = input.substr(2, operationBytes);
    const std::string what = luvia_test::readerDisagrees(input.substr(2 + operationBytes), data[0] & 1, operations,
                                                         [] { return std::string(); });
    if (what.empty()) return 0;
    fprintf(stderr, "%s\n", what.c_str());
    abort();
}

// digest_probe LENGTH PIECE: prints the SHA-1 of LENGTH bytes of a counting pattern, appended PIECE bytes at a time
// (the pieces grow by one each turn, so that they fall everywhere in a block).

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <vector>

#include "Utilities/TavDigestSHA1.h"

int main(int argc, char** argv)
{
    if (argc != 3) return 2;
    const uint64_t length = strtoull(argv[1], nullptr, 10);
    uint64_t piece = std::max<uint64_t>(strtoull(argv[2], nullptr, 10), 1);
    std::vector<uint8_t> pattern(251 * 4096);  // 251: no multiple of a block
    for (size_t i = 0; i < pattern.size(); ++i) pattern[i] = static_cast<uint8_t>(i % 251);

    TavDigestSHA1* context = TavDigestSHA1Create();
    for (uint64_t done = 0; done < length;) {
        const uint64_t at = done % pattern.size();
        const uint64_t count = std::min({piece, length - done, pattern.size() - at});
        TavDigestSHA1AppendData(context, pattern.data() + at, count);
        done += count;
        ++piece;
    }
    uint8_t digest[kTavDigestSHA1Length];
    TavDigestSHA1GetDigest(context, digest);
    TavDigestSHA1Destroy(context);
    for (uint8_t byte : digest) std::printf("%02x", byte);
    std::printf("\n");
}

#include "Foundation/Objects/ZoHashingPrivate.h"

#include <sys/auxv.h>
#include <sys/random.h>

ZoHashSeed __ZoHashSeed;

namespace {

// A kernel that has no random numbers yet still gave the process sixteen bytes at its start.
[[gnu::constructor(101)]] void fillSeed()
{
    if (getrandom(&__ZoHashSeed, sizeof __ZoHashSeed, GRND_NONBLOCK) != sizeof __ZoHashSeed) {
        const auto* given = reinterpret_cast<const void*>(getauxval(AT_RANDOM));
        if (given) std::memcpy(&__ZoHashSeed, given, sizeof __ZoHashSeed);
    }
    __ZoHashSeed.first |= 1;
    __ZoHashSeed.second |= 1;
}

}  // namespace

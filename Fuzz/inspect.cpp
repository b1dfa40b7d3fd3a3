// Arbitrary bytes through luvia-inspect, in both of its forms.

#include <cstdint>
#include <cstdio>
#include <cstdlib>

#include "Platform/Common/TavNote.h"
#include "inspect/Inspection.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    gTavLogControl = kTavLogControl_Off;
    if (size == 0) return 0;
    static FILE* const nowhere = fopen("/dev/null", "w");
    const bool asText = inspectBoxes({data, size}, {}, nowhere);
    const bool asJSON = inspectBoxes({data, size}, {.json = true}, nowhere);
    if (asText != asJSON) abort();
    return 0;
}

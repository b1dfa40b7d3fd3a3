// Prints what the walk of each NAL unit of an Annex B file reports: a line "name value" each. An argument "words" asks
// for the constraint bits as two numbers. Without a file, the names of all fields of parameter sets.

#include <cstdio>
#include <fstream>
#include <iterator>
#include <string>

#include "Core/TavFormatDescription/TavHEVCBridge/TavHEVCBridgeParser.h"

template <typename Value>
static OSStatus print(void*, uint32_t field, Value value, int32_t)
{
    printf("%s %lld\n", NALFieldsStrings[field], static_cast<long long>(value));
    return 0;
}

static int printUnit(const uint8_t* unit, size_t size, bool asWords)
{
    HEVCBridgeParseContext context = {
        .flagCallback = print<Boolean>, .unsignedCallback = print<uint32_t>, .signedCallback = print<int32_t>};
    for (uint32_t field = 0; field <= HEVCField::dpb_output_delay_length_minus1; ++field)
        hevcbridgeRequest(&context, HEVCFieldPlace::of(field));
    for (const uint32_t word : {312u, 313u}) hevcbridgeRequest(&context, HEVCFieldPlace::of(word), asWords);
    HEVCBitstream reader = hevcbridgeBitstreamOver(unit, size, true);
    const OSStatus status = hevcbridgeAdvanceInBitstream(&reader, 0);
    return status != 0 ? status : hevcbridgeParseNALUnit(&reader, &context);
}

int main(int argc, char** argv)
{
    if (argc < 2) {
        for (uint32_t field = 0; field <= HEVCField::dpb_output_delay_length_minus1; ++field)
            puts(NALFieldsStrings[field]);
        return 0;
    }
    std::ifstream file(argv[1], std::ios::binary);
    const std::string stream{std::istreambuf_iterator<char>(file), {}};
    const std::string startCode("\0\0\1", 3);
    for (size_t start = stream.find(startCode); start != std::string::npos;) {
        const size_t next = stream.find(startCode, start + 3);
        size_t end = next == std::string::npos ? stream.size() : next;
        while (end > start + 3 && stream[end - 1] == 0) --end;
        const auto* unit = reinterpret_cast<const uint8_t*>(stream.data()) + start + 3;
        if (const int status = printUnit(unit, end - start - 3, argc > 2)) return printf("error %d\n", status), 1;
        start = next;
    }
}

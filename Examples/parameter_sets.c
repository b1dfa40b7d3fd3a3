// The parameter sets of an H.264 stream, and the size of its pictures, out of the avcC record of a movie file.
//
//     lengths of 4 bytes, 1 SPS, 1 PPS
//     SPS 0 of 30 bytes: 1920x1080, chroma format 1, 8 bits
//     PPS 0 of 6 bytes refers to SPS 0

#include <stdio.h>
#include <stdlib.h>

#include "Core/TavFormatDescription/TavH264Bridge/TavH264Bridge.h"
#include "Foundation/Values/ZoData.h"

static const uint8_t kRecord[] = {
    0x01, 0x64, 0x00, 0x28, 0xFF, 0xE1, 0x00, 0x1E, 0x67, 0x64, 0x00, 0x28, 0xAC, 0xD9, 0x40, 0x78, 0x02,
    0x27, 0xE5, 0xC0, 0x5A, 0x80, 0x80, 0x80, 0xA0, 0x00, 0x00, 0x03, 0x00, 0x20, 0x00, 0x00, 0x07, 0x91,
    0xE3, 0x06, 0x32, 0xC0, 0x01, 0x00, 0x06, 0x68, 0xEB, 0xE3, 0xCB, 0x22, 0xC0, 0xFD, 0xF8, 0xF8, 0x00,
};

static OSStatus showSPS(size_t index)
{
    const uint8_t* sps;
    size_t size;
    int32_t width, height;
    uint8_t chromaFormat, depth;
    OSStatus status = TavH264Bridge_GetSPSFromAVCC(kRecord, sizeof(kRecord), index, &sps, &size);
    if (status == 0) status = TavH264Bridge_GetSPSWidthAndHeight(sps, size, &width, &height);
    if (status == 0) status = TavH264Bridge_GetSPSChromaFormatAndBitDepths(sps, size, &chromaFormat, &depth, NULL);
    if (status == 0)
        printf("SPS %zu of %zu bytes: %dx%d, chroma format %d, %d bits\n", index, size, (int)width, (int)height,
               chromaFormat, depth);
    return status;
}

static OSStatus showPPS(size_t index)
{
    const uint8_t* pps;
    size_t size;
    uint32_t spsID, ppsID;
    OSStatus status = TavH264Bridge_GetPPSFromAVCC(kRecord, sizeof(kRecord), index, &pps, &size);
    if (status == 0) status = TavH264Bridge_GetPPSSequenceID(pps, size, &spsID, &ppsID);
    if (status == 0) printf("PPS %u of %zu bytes refers to SPS %u\n", (unsigned)ppsID, size, (unsigned)spsID);
    return status;
}

int main(void)
{
    int32_t lengthSize;
    size_t spsCount, ppsCount;
    ZoDataRef record = ZoDataCreate(NULL, kRecord, sizeof(kRecord));
    if (!record) return EXIT_FAILURE;
    OSStatus status = TavH264Bridge_GetNALUnitHeaderLengthFromAVCC(kRecord, sizeof(kRecord), &lengthSize);
    if (status == 0) status = TavH264Bridge_GetSPSAndPPSCountFromAVCC(record, &spsCount, &ppsCount);
    ZoRelease(record);
    if (status == 0) printf("lengths of %d bytes, %zu SPS, %zu PPS\n", (int)lengthSize, spsCount, ppsCount);
    for (size_t i = 0; status == 0 && i < spsCount; i++) status = showSPS(i);
    for (size_t i = 0; status == 0 && i < ppsCount; i++) status = showPPS(i);
    return status == 0 ? EXIT_SUCCESS : EXIT_FAILURE;
}

// A tag made in memory, and looked at: its header, and the frames in the order in which a reader meets them.
//
//     ID3v2.4, 42 bytes
//     TPE1 World
//     TIT2 Hello

#include <stdio.h>
#include <stdlib.h>

#include "id3tag/ID3Builder.h"

// Sizes in a tag have seven bits a byte, so that no byte looks like the start of an audio frame.
static uint32_t readSize(const uint8_t* bytes)
{
    return (uint32_t)bytes[0] << 21 | (uint32_t)bytes[1] << 14 | (uint32_t)bytes[2] << 7 | bytes[3];
}

int main(void)
{
    enum { kTagHeaderSize = 10, kFrameHeaderSize = 10, kEncodingSize = 1 };
    ID3TagRef tag = ID3CreateTag();
    uint8_t* bytes = NULL;
    uint64_t length = 0;
    OSStatus status = tag ? 0 : kID3Err_Failure;
    if (status == 0) status = ID3AddFrame(tag, kID3FrameText, "TIT2", NULL, NULL, "Hello", 5);
    if (status == 0) status = ID3AddFrame(tag, kID3FrameText, "TPE1", NULL, NULL, "World", 5);
    if (status == 0) status = ID3GenerateTag(tag, &bytes, &length);
    ID3DestroyTag(tag);
    if (status != 0) return EXIT_FAILURE;

    printf("%.3sv2.%d, %d bytes\n", (const char*)bytes, bytes[3], (int)length);
    for (uint64_t at = kTagHeaderSize; at + kFrameHeaderSize < length;) {
        const char* frame = (const char*)bytes + at;
        const uint32_t size = readSize(bytes + at + 4);
        printf("%.4s %.*s\n", frame, (int)size - kEncodingSize, frame + kFrameHeaderSize + kEncodingSize);
        at += kFrameHeaderSize + size;
    }
    free(bytes);
    return EXIT_SUCCESS;
}

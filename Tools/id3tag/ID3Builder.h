// Builds one ID3v2.4 tag in memory: no extended header, no footer, no unsynchronisation, no padding.
// A frame is serialised when it is added; the frame added last stands first in the tag.
// No lock: a tag belongs to its caller. Failures are reported through the console log and leave the tag as it was.

#pragma once

#include <stddef.h>

#include "Platform/Common/LuBase.h"

ZO_EXTERN_C_BEGIN

typedef struct ID3Tag* ID3TagRef;

enum { kID3Err_Failure = -17187 };

/// The frames that the builder knows, and what `subtype` and `description` of ID3AddFrame mean for each.
enum {
    kID3FrameText = 1,      // T???: subtype is the frame ID; no description
    kID3FrameUserText = 2,  // TXXX
    kID3FrameURL = 3,       // W???: subtype is the frame ID; no description
    kID3FrameUserURL = 4,   // WXXX
    kID3FramePicture = 5,   // APIC: subtype is the picture type, 0 to 20 in decimal
    kID3FrameObject = 6,    // GEOB: subtype is the MIME type; the only one that carries a file name
    kID3FramePrivate = 7,   // PRIV: description is the owner identifier
};

/// A new, empty tag, or nothing if there is no memory. Its frames and what it generates come from malloc.
ID3TagRef ID3CreateTag(void);

/// The same, with frames and generated tags from `allocate`, which gives memory for free(), or nothing; absent: malloc.
ID3TagRef ID3CreateTagWithMemory(void* (*allocate)(size_t size));

/// Adds one frame. Texts are NUL-terminated UTF-8, passed through as they are; an absent description or file name
/// counts as empty. The payload is copied verbatim and gets no terminator. The MIME type of a picture is worked out
/// from its first byte. Everything is copied.
///
/// kID3Err_Failure   no such frame code; the subtype is absent where the frame needs one, or no picture type; the frame
///                   has 2^28 bytes or more, its header included; no memory
OSStatus ID3AddFrame(ID3TagRef tag, uint32_t frameCode, const char* subtype, const char* description,
                     const char* fileName, const void* payload, uint64_t payloadLength);

/// A copy of the finished tag, which the caller gives to free(). May be called again.
///
/// kID3Err_Failure   the tag has 2^28 bytes or more
/// -1                no memory
OSStatus ID3GenerateTag(ID3TagRef tag, uint8_t** bytesOut, uint64_t* lengthOut);

/// Frees the tag with its frames. An absent tag is ignored.
void ID3DestroyTag(ID3TagRef tag);

ZO_EXTERN_C_END

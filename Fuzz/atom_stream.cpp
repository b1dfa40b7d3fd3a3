// Arbitrary bytes as atoms in memory, in a block buffer of small pieces and in a byte stream: all must find the same.

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>

#include "Platform/Common/TavNote.h"
#include "Tests/Support/AtomTranscript.h"

using namespace luvia_test;

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    gTavLogControl = kTavLogControl_Off;
    if (size < 2 || size > 512) return 0;
    const bool allowZeroSize = data[0] & 1;
    const size_t pieceLength = 1 + (data[0] >> 1) % 40;
    const std::string bytes(reinterpret_cast<const char*>(data) + 1, size - 1);
    AtomInput memory(AtomSource::memory, bytes);
    const std::string expected = transcriptOf(memory, allowZeroSize);
    for (const AtomSource source : {AtomSource::blockBuffer, AtomSource::byteStream}) {
        AtomInput input(source, bytes, pieceLength);
        if (transcriptOf(input, allowZeroSize) == expected) continue;
        fprintf(stderr, "sources differ\n");
        abort();
    }
    if (expected.find("CURSOR MOVED") != std::string::npos || expected.find("IN PIECES") != std::string::npos) abort();

    // The helpers for single headers agree with each other.
    ZoRef<LuBlockBufferRef> buffer;
    ZoRef<LuByteStreamRef> stream;
    TavCreateBlockBufferCopyingMemoryBlock(nullptr, bytes.data(), bytes.size(), buffer.outParam());
    LuByteStreamCreateForBlockBuffer(nullptr, buffer.get(), 0, stream.outParam());
    OSType type1 = 0, type2 = 0;
    int64_t size1 = 0, size2 = 0;
    size_t header1 = 0, header2 = 0;
    const OSStatus status1 = TavAtomUtilityGetAtomTypeAndLengthInBBuf(buffer.get(), 0, &type1, &size1, &header1);
    const OSStatus status2 = TavAtomUtilityGetAtomTypeAndLengthInByteStream(stream.get(), 0, &type2, &size2, &header2);
    if (status1 != status2 || type1 != type2 || size1 != size2 || header1 != header2) abort();
    return 0;
}

// id3tag: makes an ID3v2.4 tag from the frames on the command line and delivers it to a file, to a segmenter, or both.
// Whatever happens, the exit status is 0; only a version text that cannot be made ends with its own status.

#include <fcntl.h>
#include <signal.h>
#include <stdio.h>
#include <unistd.h>

#include <memory>

#include "CommonSegmenter/SegmenterCommon.h"
#include "Foundation/Objects/ZoRef.h"
#include "Foundation/Text/ZoString.h"
#include "Utilities/TavZoUtilities_Text.h"
#include "id3tag/CommandLine.h"
#include "id3tag/ID3Output.h"
#include "id3tag/LargeBlocks.h"
#include "id3tag/Malloced.h"

namespace {

struct TagDestroyed {
    void operator()(ID3TagRef tag) const { ID3DestroyTag(tag); }
};

void deliver(ID3TagRef tag, const Destination& destination)
{
    uint8_t* generated = nullptr;
    uint64_t length = 0;
    const OSStatus status = ID3GenerateTag(tag, &generated, &length);
    const Malloced<uint8_t> bytes(generated);
    if (status < 0 || !bytes || length == 0) {
        fputs("ID3 frame generation failed\n", stderr);
        return;
    }
    if (destination.outputFile && ID3OutputWriteFile(bytes.get(), length, destination.outputFile) < 0) {
        fputs("Failed to write ID3 tag\n", stderr);
    }
    if (destination.hasAddress() &&
        ID3OutputSendTag(bytes.get(), length, destination.address, destination.port, destination.repeat) != 0) {
        fputs("Failed to send ID3 tag\n", stderr);
    }
}

}  // namespace

// A reader that leaves, of the file, of standard error or of the connection, and a file that may not grow are errors of
// the call that meets them: they must not end the process, which would keep the tag from being sent.
static void ignoreSignalsOfOutput()
{
    signal(SIGPIPE, SIG_IGN);
    signal(SIGXFSZ, SIG_IGN);
}

// A shell may start a program without its three streams. What opens next would take their numbers, and a complaint
// would go into the file or to the segmenter.
static void keepNumbersOfStreams()
{
    for (int stream = 0; stream <= STDERR_FILENO; ++stream) {
        if (fcntl(stream, F_GETFD) < 0 && open("/dev/null", O_RDWR) != stream) return;
    }
}

int main(int argc, char* argv[])
{
    ignoreSignalsOfOutput();
    keepNumbersOfStreams();
    prepareLargeBlocks();
    ZoRef<ZoStringRef> version;
    const OSStatus status = SCCreateFormattedVersionStringWithExecutableName(version.outParam());
    if (status != 0) return status;
    char* bufferToFree = nullptr;
    const char* const versionText =
        TavZoStringGetCStringPtrAndBufferToFree(version.get(), kZoStringEncodingUTF8, &bufferToFree);
    const Malloced<char> versionTextOwner(bufferToFree);

    const std::unique_ptr<ID3Tag, TagDestroyed> tag(ID3CreateTagWithMemory(mallocLarge));
    if (!tag) return 0;
    Destination destination;
    if (ReadCommandLine(argc, argv, versionText, tag.get(), &destination)) deliver(tag.get(), destination);
    return 0;
}

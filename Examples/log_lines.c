// Log lines of a module of one's own, behind a note: a number in static data which says how much the module tells. The
// preferences set it, under the key "example_trace" (see "Trace what happens inside" in README.md); here the program
// does so itself, and has lines sent to standard output instead of the system log.
//
//     <Example> opened a.mp4, 3 tracks
//     <Example> closed a.mp4

#include <stdlib.h>

#include "Foundation/Objects/ZoObject.h"
#include "Platform/Common/TavLog.h"
#include "Platform/Common/TavNote.h"

static TavTraceNote sTrace;

static void openFile(const char* path, int tracks)
{
    if (tavTraceIsOn(&sTrace))
        tav_log(kTavLogType_Notice, kTavLogFlag_NoTimeStamp, 0, 0, "<Example> opened %s, %d tracks", path, tracks);
}

static void closeFile(const char* path)
{
    if (tavTraceIsOn(&sTrace)) tav_log(kTavLogType_Notice, kTavLogFlag_NoTimeStamp, 0, 0, "<Example> closed %s", path);
}

int main(void)
{
    tavTraceNoteRegister(&sTrace, "example_trace", 0);
    gTavLogControl = kTavLogControl_StandardOutput;
    openFile("unseen.mp4", 1);  // the note is 0: one load, and no line

    if (TavNote_ChangeValue(ZOSTR(kTavApplicationID), ZOSTR("example_trace"), 1) != 0) return EXIT_FAILURE;
    openFile("a.mp4", 3);
    closeFile("a.mp4");
    return EXIT_SUCCESS;
}

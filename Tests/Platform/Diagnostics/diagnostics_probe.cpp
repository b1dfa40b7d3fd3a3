// diagnostics_probe: a process that runs long, for the test beside it. Registers one trace note, then answers each line
// of standard input with the note's value and the destination of the log; "fail" signals a failure first, "break" may
// trap.

#include <cstdio>
#include <cstring>

#include "Platform/Common/TavLog.h"
#include "Platform/Common/TavNote.h"
#include "Platform/Ostra/OstraDebug.h"

static TavTraceNote sTrace;

int main()
{
    tavTraceNoteRegister(&sTrace, "probe_trace", 0);
    TavNote_OneTimeInitializationForLuviad();
    char line[64];
    while (fgets(line, sizeof(line), stdin)) {
        if (strcmp(line, "fail\n") == 0) (void)TAV_SIGNAL(kTavNoteError_UnknownName, "asked for");
        if (strcmp(line, "break\n") == 0) TavUserBreak();
        printf("%d %d %d\n", sTrace.level, gTavLogControl, TavIsItOKToLogURLs());
        fflush(stdout);
    }
}

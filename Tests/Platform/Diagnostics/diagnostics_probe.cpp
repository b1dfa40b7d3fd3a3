// diagnostics_probe: a process that runs long, for the test beside it. Registers one trace note, then answers each line
// of standard input with the note's value and the destination of the log; "fail" signals a failure first, "break" may
// trap, "long" logs 200 lines of 20,000 characters of the process's own.

#include <unistd.h>

#include <cstdio>
#include <cstring>
#include <string>

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
        if (strcmp(line, "long\n") == 0) {
            const std::string text(20000, static_cast<char>('a' + getpid() % 26));
            for (int i = 0; i < 200; ++i)
                tav_log(kTavLogType_Notice, kTavLogFlag_NoTimeStamp, 0, 0, "%s", text.c_str());
        }
        printf("%d %d %d\n", sTrace.level, gTavLogControl, TavIsItOKToLogURLs());
        fflush(stdout);
    }
}

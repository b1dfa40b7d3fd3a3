#include "Foundation/Text/ZoString.h"
#include "Platform/Ostra/OstraDebugPrivate.h"

static void copyText(const char* text, ZoStringRef* textOut)
{
    if (textOut) *textOut = ZoStringCreateWithCString(nullptr, text, kZoStringEncodingClassicRoman);
}

OSStatus TavCopyLastSignaledErrorInfo(OSStatus* codeOut, ZoStringRef* errorNameOut, ZoStringRef* messageOut,
                                      ZoStringRef* subsystemOut, ZoStringRef* functionOut, ZoStringRef* fileOut,
                                      int64_t* lineOut, struct timeval* timeOut)
{
    OstraLastError last;
    const int status = ostraDebugGetLastError(&last);
    if (codeOut) *codeOut = last.code;
    copyText(last.errorName, errorNameOut);
    copyText(last.message, messageOut);
    copyText(last.subsystem, subsystemOut);
    copyText(last.function, functionOut);
    copyText(last.file, fileOut);
    if (lineOut) *lineOut = last.line;
    if (timeOut) *timeOut = last.time;
    return status;
}

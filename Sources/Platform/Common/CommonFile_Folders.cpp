// What the syntax of URLs tells about folders.

#include "Core/TavBaseObject/LuBaseObject.h"
#include "Foundation/Objects/ZoRef.h"
#include "Platform/Common/CommonFile.h"
#include "Platform/Common/TavLog.h"
#include "Platform/Common/TavSignal.h"

OSStatus TavFileValidateFileNameIsWithinParentDirectory(ZoURLRef enclosingURL, ZoStringRef fileName,
                                                        Boolean isDirectory)
{
    if (!enclosingURL) return TAV_SIGNAL(kLuBaseObjectError_ParamErr, "enclosingURL was NULL");
    if (!fileName) return TAV_SIGNAL(kLuBaseObjectError_ParamErr, "fileName was NULL");
    const auto file = zoAdopt(ZoURLCreateCopyAppendingPathComponent(nullptr, enclosingURL, fileName, isDirectory));
    if (!file) return TAV_SIGNAL(kTavFilePlatformError_AllocationFailed, "Could not allocate fileNameURL");
    const auto absoluteFile = zoAdopt(ZoURLCopyAbsoluteURL(file.get()));
    if (!absoluteFile)
        return TAV_SIGNAL(kTavFilePlatformError_AllocationFailed, "Could not allocate absoluteFileNameURL");
    const auto absoluteEnclosing = zoAdopt(ZoURLCopyAbsoluteURL(enclosingURL));
    if (!absoluteEnclosing)
        return TAV_SIGNAL(kTavFilePlatformError_AllocationFailed, "Could not allocate absoluteEnclosingURL");
    const auto holder = zoAdopt(ZoURLCreateCopyDeletingLastPathComponent(nullptr, absoluteFile.get()));
    if (!holder)
        return TAV_SIGNAL(kTavFilePlatformError_AllocationFailed,
                          "Could not allocate absoluteFileNameURLWithOutLastComponent");
    if (!ZoEqual(holder.get(), absoluteEnclosing.get()))
        return TAV_SIGNAL(kTavPersistentURLError_TranslationFailed, "fileName does not exist with directory");
    return 0;
}

OSStatus TavFileConvertURLToAbsoluteAndMarkAsDirectory(ZoURLRef url, ZoURLRef* directoryURLOut)
{
    if (!url) return TAV_SIGNAL(kTavFilePlatformError_InvalidParameter, "url was NULL");
    if (!directoryURLOut) return TAV_SIGNAL(kTavFilePlatformError_InvalidParameter, "directoryURLOut was NULL");
    if (ZoURLHasDirectoryPath(url))
        *directoryURLOut = static_cast<ZoURLRef>(ZoRetain(url));
    else
        tav_log(kTavLogType_Error, kTavLogFlag_LocalTime, 0, 0,
                "Sources/Platform/Common/CommonFile %s: Unsupported platform", __func__);
    return 0;
}

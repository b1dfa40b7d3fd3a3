// Makes an object with the standard barrier in an initialiser, before main, and asks the barrier of it: only an object
// that was registered answers 0.

#include "Core/TavBaseObject/TavBaseObject.h"

static LuBaseObjectRef makeObject()
{
    static const TavClassDescription kDescription = {
        .version = 1, .className = "Shape", .reserved = nullptr, .copyFormattingDescription = nullptr};
    static const LuBaseClass kBase = {.version = 2, .notificationBarrier = TavBaseObjectStandardNotificationBarrier};
    static const LuVTable kTable = {.reserved = nullptr, .base = &kBase, .derived = nullptr};
    LuClassID classID = nullptr;
    LuBaseObjectRef object = nullptr;
    if (TavBaseClassRegisterClass(&kDescription, LuBaseGetClassID(), kTavBaseClassRegister_OwnType, &classID) != 0)
        return nullptr;
    return LuDerivedObjectCreate(nullptr, &kTable, classID, &object) == 0 ? object : nullptr;
}

static LuBaseObjectRef sObject = makeObject();
static char sStranger[64];

int main()
{
    if (!sObject || TavBaseObjectStandardNotificationBarrier(sObject) != 0) return 1;
    if (TavBaseObjectStandardNotificationBarrier(reinterpret_cast<LuBaseObjectRef>(sStranger)) == 0) return 2;
    ZoRelease(sObject);
    return 0;
}

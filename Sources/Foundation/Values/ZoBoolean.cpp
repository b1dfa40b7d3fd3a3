#include "Foundation/Objects/ZoAssertPrivate.h"
#include "Foundation/Objects/ZoDescriptionPrivate.h"
#include "Foundation/Objects/ZoRuntimePrivate.h"
#include "Foundation/Values/ZoNumber.h"

// Two booleans and one null object are all that there are, so that identity is equality. Their hashes are fixed.
struct ZoBoolean_ {
    ZoConstantHeader header{kZoTypeIDBoolean};
    bool value;
};

struct ZoNull_ {
    ZoConstantHeader header{kZoTypeIDNull};
};

namespace {

constinit const ZoBoolean_ kTrue{.value = true};
constinit const ZoBoolean_ kFalse{.value = false};
constinit const ZoNull_ kNull{};

ZoHashCode booleanHash(ZoTypeRef object) { return object == &kTrue ? 1231 : 1237; }
ZoHashCode nullHash(ZoTypeRef) { return 1229; }

}  // namespace

constinit const ZoBooleanRef kZoBooleanTrue = &kTrue;
constinit const ZoBooleanRef kZoBooleanFalse = &kFalse;
constinit const ZoNullRef kZoNull = &kNull;

const ZoRuntimeClass __ZoBooleanClass = {
    .className = "ZoBoolean", .hash = booleanHash, .copyDebugDesc = _ZoBooleanCopyDescription};
const ZoRuntimeClass __ZoNullClass = {.className = "ZoNull", .hash = nullHash, .copyDebugDesc = _ZoNullCopyDescription};

ZoTypeID ZoBooleanGetTypeID() { return kZoTypeIDBoolean; }

Boolean ZoBooleanGetValue(ZoBooleanRef boolean)
{
    return ZO_EXPECT(zoIsOfType(boolean, kZoTypeIDBoolean), "not a boolean") && boolean->value;
}

ZoTypeID ZoNullGetTypeID() { return kZoTypeIDNull; }

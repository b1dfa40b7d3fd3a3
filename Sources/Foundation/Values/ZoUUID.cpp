#include "Foundation/Values/ZoUUID.h"

#include <uuid/uuid.h>

#include <cstring>

#include "Foundation/Objects/ZoAssertPrivate.h"
#include "Foundation/Objects/ZoHashingPrivate.h"
#include "Foundation/Objects/ZoRuntimePrivate.h"
#include "Foundation/Text/ZoString.h"

struct ZoUUID_ {
    ZoRuntimeBase base;
    uuid_t bytes;
};

static_assert(sizeof(ZoUUIDBytes) == sizeof(uuid_t));

namespace {

bool isUUID(ZoUUIDRef uuid) { return ZO_EXPECT(zoIsOfType(uuid, kZoTypeIDUUID), "not a UUID"); }

ZoUUIDRef createWithBytes(ZoAllocatorRef allocator, const void* bytes)
{
    ZoTypeRef object = _ZoRuntimeCreateInstance(allocator, kZoTypeIDUUID, sizeof(uuid_t), nullptr);
    if (!object) return nullptr;
    auto* uuid = static_cast<ZoUUID_*>(const_cast<void*>(object));
    std::memcpy(uuid->bytes, bytes, sizeof uuid->bytes);
    return uuid;
}

Boolean uuidEqual(ZoTypeRef a, ZoTypeRef b)
{
    return uuid_compare(static_cast<ZoUUIDRef>(a)->bytes, static_cast<ZoUUIDRef>(b)->bytes) == 0;
}

ZoHashCode uuidHash(ZoTypeRef object) { return zoHashBytes(static_cast<ZoUUIDRef>(object)->bytes, sizeof(uuid_t)); }

ZoStringRef uuidCopyDescription(ZoTypeRef object)
{
    return ZoUUIDCreateString(nullptr, static_cast<ZoUUIDRef>(object));
}

}  // namespace

const ZoRuntimeClass __ZoUUIDClass = {
    .className = "ZoUUID", .equal = uuidEqual, .hash = uuidHash, .copyDebugDesc = uuidCopyDescription};

ZoTypeID ZoUUIDGetTypeID() { return kZoTypeIDUUID; }

ZoUUIDRef ZoUUIDCreate(ZoAllocatorRef allocator)
{
    uuid_t bytes;
    uuid_generate_random(bytes);
    return createWithBytes(allocator, bytes);
}

ZoUUIDRef ZoUUIDCreateFromString(ZoAllocatorRef allocator, ZoStringRef text)
{
    if (!ZO_EXPECT(text, "absent text")) return nullptr;
    char buffer[UUID_STR_LEN];
    uuid_t bytes;
    // Text with a NUL inside is shorter for C than it is.
    if (ZoStringGetLength(text) != UUID_STR_LEN - 1) return nullptr;
    if (!ZoStringGetCString(text, buffer, sizeof buffer, kZoStringEncodingASCII)) return nullptr;
    return uuid_parse(buffer, bytes) == 0 ? createWithBytes(allocator, bytes) : nullptr;
}

ZoUUIDRef ZoUUIDCreateFromUUIDBytes(ZoAllocatorRef allocator, ZoUUIDBytes bytes)
{
    return createWithBytes(allocator, &bytes);
}

ZoStringRef ZoUUIDCreateString(ZoAllocatorRef allocator, ZoUUIDRef uuid)
{
    if (!isUUID(uuid)) return nullptr;
    char buffer[UUID_STR_LEN];
    uuid_unparse_upper(uuid->bytes, buffer);
    return ZoStringCreateWithCString(allocator, buffer, kZoStringEncodingASCII);
}

ZoUUIDBytes ZoUUIDGetUUIDBytes(ZoUUIDRef uuid)
{
    ZoUUIDBytes bytes = {};
    if (isUUID(uuid)) std::memcpy(&bytes, uuid->bytes, sizeof bytes);
    return bytes;
}

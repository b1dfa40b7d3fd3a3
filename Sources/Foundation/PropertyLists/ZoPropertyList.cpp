#include "Foundation/PropertyLists/ZoPropertyList.h"

#include "Foundation/Collections/ZoArray.h"
#include "Foundation/Collections/ZoCollectionsPrivate.h"
#include "Foundation/Collections/ZoDictionary.h"
#include "Foundation/Dates/ZoDate.h"
#include "Foundation/PropertyLists/ZoPropertyListPrivate.h"
#include "Foundation/Text/ZoStringPrivate.h"
#include "Foundation/Values/ZoNumber.h"

ZO_DEFINE_STRING(kZoErrorDomainPropertyList, "ZoPropertyListErrorDomain");

using namespace zoplist;

static constexpr size_t kMaximumStreamLength = size_t{1} << 30;

/// Hands what went wrong to the caller, if the caller wants it.
static void report(ZoAllocatorRef allocator, const Failure& failure, ZoErrorRef* error)
{
    if (!error || failure.ok()) return;
    const std::string_view text = failure.reason();
    const auto reason =
        zoAdopt(ZoStringCreateWithBytes(allocator, reinterpret_cast<const uint8_t*>(text.data()),
                                        static_cast<ZoIndex>(text.size()), kZoStringEncodingUTF8, false));
    const void* key = kZoErrorLocalizedFailureReasonKey;
    const void* value = reason.get();
    const auto userInfo = zoAdopt(ZoDictionaryCreate(allocator, &key, &value, reason ? 1 : 0,
                                                     &kZoTypeDictionaryKeyCallBacks, &kZoTypeDictionaryValueCallBacks));
    *error = ZoErrorCreate(allocator, kZoErrorDomainPropertyList, failure.code(), userInfo.get());
}

ZoDataRef ZoPropertyListCreateData(ZoAllocatorRef allocator, ZoPropertyListRef propertyList,
                                   ZoPropertyListFormat format, ZoOptionFlags options, ZoErrorRef* error)
{
    if (error) *error = nullptr;
    Failure failure;
    Output bytes;
    ZoRef<ZoDataRef> data;
    if (!propertyList || options != 0)
        failure.set(kZoPropertyListErrorBadArgument, propertyList ? "options are 0" : "no property list");
    else if (format == kZoPropertyListXMLFormat_v1_0)
        writeXML(propertyList, bytes, failure);
    else if (format == kZoPropertyListBinaryFormat_v1_0)
        writeBinary(propertyList, bytes, failure);
    else
        failure.set(kZoPropertyListErrorBadArgument, "unknown format");
    if (failure.ok()) {
        if (bytes.ok()) data.reset(ZoDataCreate(allocator, bytes.bytes(), static_cast<ZoIndex>(bytes.size())));
        if (!data) failure.noMemory();
    }
    report(allocator, failure, error);
    return data.release();
}

static ZoPropertyListRef createWithBytes(ZoAllocatorRef allocator, std::span<const uint8_t> bytes,
                                         ZoOptionFlags options, ZoPropertyListFormat* format, Failure& failure)
{
    if (options > kZoPropertyListMutableContainersAndLeaves) {
        failure.set(kZoPropertyListErrorBadArgument, "unknown options");
        return nullptr;
    }
    const bool binary = isBinary(bytes);
    const bool copiesLeaves = options == kZoPropertyListMutableContainersAndLeaves;
    ZoRef<ZoTypeRef> list =
        binary ? readBinary(allocator, bytes, copiesLeaves, failure) : readXML(allocator, bytes, failure);
    if (list && options != kZoPropertyListImmutable) {
        // By a copy: objects that the bytes share must not change together.
        list.reset(ZoPropertyListCreateDeepCopy(allocator, list.get(), options));
        if (!list) failure.noMemory();
    }
    if (list && format) *format = binary ? kZoPropertyListBinaryFormat_v1_0 : kZoPropertyListXMLFormat_v1_0;
    return list.release();
}

ZoPropertyListRef ZoPropertyListCreateWithData(ZoAllocatorRef allocator, ZoDataRef data, ZoOptionFlags options,
                                               ZoPropertyListFormat* format, ZoErrorRef* error)
{
    if (error) *error = nullptr;
    if (format) *format = 0;
    Failure failure;
    ZoPropertyListRef list = nullptr;
    if (!data)
        failure.set(kZoPropertyListErrorBadArgument, "no data");
    else
        list = createWithBytes(allocator, {ZoDataGetBytePtr(data), static_cast<size_t>(ZoDataGetLength(data))}, options,
                               format, failure);
    report(allocator, failure, error);
    return list;
}

/// All of an open stream, up to `limit` bytes; more than the most that is read without a limit is refused.
static bool drain(ZoReadStreamRef stream, size_t limit, memory::ReportingArray<uint8_t>& bytes, Failure& failure)
{
    constexpr size_t kPiece = 1 << 16;
    const size_t most = limit ? limit : kMaximumStreamLength;
    while (bytes.size() < most) {
        const size_t before = bytes.size();
        if (!bytes.resize(before + std::min(kPiece, most - before))) return failure.noMemory();
        const ZoIndex count =
            ZoReadStreamRead(stream, bytes.data() + before, static_cast<ZoIndex>(bytes.size() - before));
        if (count < 0) return failure.set(kZoPropertyListErrorStream, "the stream is not open, or cannot be read");
        bytes.truncate(before + static_cast<size_t>(count));
        if (count == 0) return true;
    }
    uint8_t more;
    if (!limit && ZoReadStreamRead(stream, &more, 1) != 0)
        return failure.set(kZoPropertyListErrorStream, "the stream is longer than 1 GiB");
    return true;
}

ZoPropertyListRef ZoPropertyListCreateWithStream(ZoAllocatorRef allocator, ZoReadStreamRef stream, ZoIndex streamLength,
                                                 ZoOptionFlags options, ZoPropertyListFormat* format, ZoErrorRef* error)
{
    if (error) *error = nullptr;
    if (format) *format = 0;
    Failure failure;
    ZoPropertyListRef list = nullptr;
    memory::ReportingArray<uint8_t> bytes;
    if (!stream || streamLength < 0)
        failure.set(kZoPropertyListErrorBadArgument, stream ? "a length below 0" : "no stream");
    else if (drain(stream, static_cast<size_t>(streamLength), bytes, failure))
        list = createWithBytes(allocator, bytes.span(), options, format, failure);
    report(allocator, failure, error);
    return list;
}

namespace {

class Copier {
public:
    Copier(ZoAllocatorRef allocator, ZoOptionFlags mutability) : allocator_(allocator), mutability_(mutability) {}

    ZoRef<ZoTypeRef> copy(ZoTypeRef object)
    {
        if (!object) return nullptr;
        const ZoTypeID type = ZoGetTypeID(object);
        if (type == ZoArrayGetTypeID()) return copyArray(static_cast<ZoArrayRef>(object));
        if (type == ZoDictionaryGetTypeID()) return copyDictionary(static_cast<ZoDictionaryRef>(object));
        const bool isMutable = mutability_ == kZoPropertyListMutableContainersAndLeaves;
        if (type == ZoStringGetTypeID()) {
            const auto string = static_cast<ZoStringRef>(object);
            return zoAdopt<ZoTypeRef>(isMutable ? ZoStringCreateMutableCopy(allocator_, 0, string)
                                                : ZoStringCreateCopy(allocator_, string));
        }
        if (type == ZoDataGetTypeID()) {
            const auto data = static_cast<ZoDataRef>(object);
            return zoAdopt<ZoTypeRef>(isMutable ? ZoDataCreateMutableCopy(allocator_, 0, data)
                                                : ZoDataCreateCopy(allocator_, data));
        }
        const bool isLeaf = type == ZoNumberGetTypeID() || type == ZoBooleanGetTypeID() || type == ZoDateGetTypeID() ||
                            type == ZoNullGetTypeID();
        return isLeaf ? ZoRef<ZoTypeRef>::retain(object) : nullptr;
    }

private:
    static const void* copyMember(const void*, const void* value, void* context)
    {
        return static_cast<Copier*>(context)->copy(value).release();
    }
    static const void* copyPair(const void* key, const void* value, void* context)
    {
        return zo::isString(key) ? copyMember(key, value, context) : nullptr;
    }

    ZoRef<ZoTypeRef> copyArray(ZoArrayRef array)
    {
        if (!path_.enter(array, failure_)) return nullptr;
        const bool isMutable = mutability_ != kZoPropertyListImmutable;
        const ZoArrayRef copied =
            _ZoArrayCreateConverted(allocator_, array, isMutable, &kZoTypeArrayCallBacks, copyMember, this);
        path_.leave();
        return zoAdopt<ZoTypeRef>(copied);
    }

    ZoRef<ZoTypeRef> copyDictionary(ZoDictionaryRef dictionary)
    {
        if (!path_.enter(dictionary, failure_)) return nullptr;
        const bool isMutable = mutability_ != kZoPropertyListImmutable;
        const ZoDictionaryRef copied =
            _ZoDictionaryCreateConverted(allocator_, dictionary, isMutable, &kZoCopyStringDictionaryKeyCallBacks,
                                         &kZoTypeDictionaryValueCallBacks, copyPair, this);
        path_.leave();
        return zoAdopt<ZoTypeRef>(copied);
    }

    ZoAllocatorRef allocator_;
    ZoOptionFlags mutability_;
    Path path_;
    Failure failure_;
};

}  // namespace

ZoPropertyListRef ZoPropertyListCreateDeepCopy(ZoAllocatorRef allocator, ZoPropertyListRef propertyList,
                                               ZoOptionFlags mutabilityOption)
{
    if (mutabilityOption > kZoPropertyListMutableContainersAndLeaves) return nullptr;
    return Copier(allocator, mutabilityOption).copy(propertyList).release();
}

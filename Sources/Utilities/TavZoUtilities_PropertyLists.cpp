#include "Utilities/TavZoUtilities_PropertyLists.h"

#include "Foundation/Dates/ZoDate.h"
#include "Foundation/Objects/ZoAllocator.h"
#include "Utilities/TavZoUtilitiesPrivate.h"

using namespace tavzo;

// MARK: Bytes

/// What `call` left behind when it gave nothing.
static OSStatus statusOf(const char* operation, const char* call, ZoErrorRef error)
{
    if (!error) return kTavZoUtilitiesError_BadData;
    const auto code = static_cast<OSStatus>(ZoErrorGetCode(error));
    const auto reason = zoAdopt(ZoErrorCopyFailureReason(error));
    ZoLog(3, ZOSTR("Sources/Utilities/TavZoUtilities %s: %s failed: err = %d \"%@\""), operation, call, code,
          reason.get());
    return code ? code : static_cast<OSStatus>(kTavZoUtilitiesError_BadData);
}

OSStatus TavCreateZoDataFromZoPropertyList(ZoPropertyListRef propertyList, ZoAllocatorRef allocator, ZoDataRef* dataOut)
{
    if (!dataOut) return TAV_SIGNAL(kTavZoUtilitiesError_InvalidParameter, "NULL dataOut");
    ZoRef<ZoErrorRef> error;
    *dataOut = propertyList ? ZoPropertyListCreateData(allocator, propertyList, kZoPropertyListBinaryFormat_v1_0, 0,
                                                       error.outParam())
                            : ZoDataCreate(allocator, nullptr, 0);
    return *dataOut ? 0 : statusOf(__func__, "ZoPropertyListCreateData", error.get());
}

OSStatus TavCreateZoPropertyListFromData(const uint8_t* bytes, ZoIndex length, ZoAllocatorRef allocator,
                                         ZoPropertyListRef* propertyListOut)
{
    if (length == 0) return 0;
    if (!propertyListOut) return TAV_SIGNAL(kTavZoUtilitiesError_InvalidParameter, "NULL propertyListOut");
    const auto data = zoAdopt(
        bytes && length > 0 ? ZoDataCreateWithBytesNoCopy(allocator, bytes, length, kZoAllocatorNull) : nullptr);
    if (!data) return TAV_SIGNAL(kTavZoUtilitiesError_AllocationFailed, "ZoDataCreateWithBytesNoCopy failed");
    ZoRef<ZoErrorRef> error;
    *propertyListOut =
        ZoPropertyListCreateWithData(allocator, data.get(), kZoPropertyListImmutable, nullptr, error.outParam());
    return *propertyListOut ? 0 : statusOf(__func__, "ZoPropertyListCreateWithData", error.get());
}

// MARK: What a list can carry

namespace {

/// A walk that goes on only until something is found that a list cannot carry.
struct SerializableWalk {
    const char* operation;
    int depth = 0;
    bool isSerializable = true;

    void refuse(const char* message)
    {
        (void)TAV_SIGNAL_FROM(operation, kTavZoUtilitiesError_InvalidParameter, message);
        isSerializable = false;
    }
    void visit(ZoTypeRef value)
    {
        if (!value) return refuse("null value is not serializable");
        const ZoTypeID type = ZoGetTypeID(value);
        const bool isContainer = type == ZoArrayGetTypeID() || type == ZoDictionaryGetTypeID();
        if (!isContainer && type != ZoBooleanGetTypeID() && type != ZoDataGetTypeID() && type != ZoDateGetTypeID() &&
            type != ZoNumberGetTypeID() && type != ZoStringGetTypeID())
            return refuse("Value type is not serializable");
        if (!isContainer) return;
        if (depth == kZoPropertyListMaximumDepth) return refuse("value is nested too deeply to be serializable");
        ++depth;
        if (type == ZoArrayGetTypeID())
            visitElements(static_cast<ZoArrayRef>(value));
        else
            ZoDictionaryApplyFunction(static_cast<ZoDictionaryRef>(value), visitPair, this);
        --depth;
    }
    void visitElements(ZoArrayRef array)
    {
        const ZoIndex count = ZoArrayGetCount(array);
        for (ZoIndex i = 0; i < count && isSerializable; ++i) visit(ZoArrayGetValueAtIndex(array, i));
    }
    static void visitPair(const void* key, const void* value, void* context)
    {
        auto& walk = *static_cast<SerializableWalk*>(context);
        if (!walk.isSerializable) return;
        if (!isOfType(key, ZoStringGetTypeID())) return walk.refuse("Dictionary key type is not serializable");
        walk.visit(value);
    }
};

}  // namespace

Boolean TavZoTypeIsPListSerializable(ZoTypeRef value)
{
    SerializableWalk walk{__func__};
    walk.visit(value);
    return walk.isSerializable;
}

// MARK: Extended dictionaries

OSStatus TavZoCreateExtendedDictionary(ZoAllocatorRef allocator, ZoDictionaryRef dictionary,
                                       const void* const* extraKeys, const void* const* extraValues,
                                       ZoIndex numExtraValues, ZoDictionaryRef* dictionaryOut)
{
    if (!dictionaryOut) return TAV_SIGNAL(kTavZoUtilitiesError_InvalidParameter, "! dictOut");
    *dictionaryOut = nullptr;
    if (numExtraValues > 0 && !extraKeys)
        return TAV_SIGNAL(kTavZoUtilitiesError_InvalidParameter, "numExtraValues > 0 && ! extraKeys");
    if (numExtraValues > 0 && !extraValues)
        return TAV_SIGNAL(kTavZoUtilitiesError_InvalidParameter, "numExtraValues > 0 && ! extraValues");
    const ZoIndex own = TavZoDictionaryGetCount(dictionary);
    ZoIndex total = 0;
    const bool isCount = numExtraValues >= 0 && !__builtin_add_overflow(own, numExtraValues, &total) && total > 0;
    const PointerList keys = isCount ? makePointerList(total) : nullptr;
    const PointerList values = isCount ? makePointerList(total) : nullptr;
    if (!keys || !values) return TAV_SIGNAL(kTavZoUtilitiesError_AllocationFailed, "allocation failed");

    if (own > 0) ZoDictionaryGetKeysAndValues(dictionary, keys.get(), values.get());
    for (ZoIndex i = 0; i < numExtraValues; ++i) {
        keys[static_cast<size_t>(own + i)] = extraKeys[i];
        values[static_cast<size_t>(own + i)] = extraValues[i];
    }
    *dictionaryOut = ZoDictionaryCreate(allocator, keys.get(), values.get(), total, &kZoTypeDictionaryKeyCallBacks,
                                        &kZoTypeDictionaryValueCallBacks);
    return *dictionaryOut ? 0 : TAV_SIGNAL(kTavZoUtilitiesError_AllocationFailed, "allocation failed");
}

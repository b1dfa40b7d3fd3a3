// Tag collections as text, as a dictionary, and as atoms.

#include <algorithm>
#include <memory>
#include <string_view>

#include "Core/TavTag/TavTagCollectionPrivate.h"
#include "Foundation/Collections/ZoArray.h"
#include "Foundation/Collections/ZoDictionary.h"
#include "Foundation/Objects/ZoRef.h"
#include "Foundation/Text/ZoString.h"
#include "Foundation/Values/ZoData.h"
#include "Utilities/TavAtomStream.h"
#include "Utilities/TavAtomWriter.h"
#include "Utilities/TavBigEndian.h"
#include "Utilities/TavBlockBufferUtilities.h"

// MARK: text

ZoStringRef LuTagCollectionCopyDescription(ZoAllocatorRef allocator, LuTagCollectionRef tagCollection)
{
    if (!tagCollection) {
        (void)TAV_SIGNAL(kLuTagCollectionError_ParamErr, "NULL tagCollection");
        return nullptr;
    }
    if (tagCollectionCheck(__func__, tagCollection) != 0) return nullptr;
    memory::ReportingArray<char, ZoAllocatorSource> text{ZoAllocatorSource{allocator}};
    const auto append = [&text](std::string_view more) { return text.append(std::span(more.data(), more.size())); };
    const bool isMutable = tagCollection->flags & kTagCollectionIsMutable;
    bool complete = append(isMutable ? "LuMutableTagCollection{\n" : "LuTagCollection{\n");
    for (ZoIndex i = 0; complete && i < tagCollection->count; ++i) {
        char tag[kTavTagDescriptionSize];
        complete = append({tag, TavTagDescribe(tagCollection->tags[i], tag)}) && append("\n");
    }
    ZoStringRef description = nullptr;
    if (complete && append("}"))
        description = ZoStringCreateWithBytes(allocator, reinterpret_cast<const uint8_t*>(text.data()),
                                              static_cast<ZoIndex>(text.size()), kZoStringEncodingClassicRoman, false);
    if (!description) (void)TAV_SIGNAL(kLuTagCollectionError_AllocationFailed, "couldn't allocate description");
    return description;
}

// MARK: dictionary

ZoDictionaryRef LuTagCollectionCopyAsDictionary(LuTagCollectionRef tagCollection, ZoAllocatorRef allocator)
{
    const auto fail = [operation = __func__](const char* message) -> ZoDictionaryRef {
        (void)TAV_SIGNAL_FROM(operation, kLuTagCollectionError_AllocationFailed, message);
        return nullptr;
    };
    if (tagCollectionCheck(__func__, tagCollection) != 0) return nullptr;
    auto dictionary = zoAdopt(
        ZoDictionaryCreateMutable(allocator, 0, &kZoTypeDictionaryKeyCallBacks, &kZoTypeDictionaryValueCallBacks));
    if (!dictionary) return fail("could not allocate mutable dictionary");
    const auto array = zoAdopt(ZoArrayCreateMutable(allocator, 0, &kZoTypeArrayCallBacks));
    if (!array) return fail("could not allocate mutable array");
    for (ZoIndex i = 0; i < tagCollection->count; ++i) {
        const auto tag = zoAdopt(LuTagCopyAsDictionary(tagCollection->tags[i], allocator));
        if (!tag) return fail("LuTagCopyAsDictionary failed");
        ZoArrayAppendValue(array.get(), tag.get());
        if (ZoArrayGetCount(array.get()) != i + 1) return fail("could not allocate mutable array");
    }
    ZoDictionarySetValue(dictionary.get(), kLuTagCollectionTagsArrayKey, array.get());
    if (ZoDictionaryGetCount(dictionary.get()) == 0) return fail("could not allocate mutable dictionary");
    return dictionary.release();
}

static OSStatus addTagFromDictionary(const char* operation, TagInserter& inserter, ZoTypeRef element)
{
    if (!element || ZoGetTypeID(element) != ZoDictionaryGetTypeID())
        return TAV_SIGNAL_FROM(operation, kLuTagCollectionError_ParamErr,
                               "tagDictionary is NULL or not a ZoDictionary");
    const LuTag tag = LuTagMakeFromDictionary(static_cast<ZoDictionaryRef>(element));
    if (tag.dataType == kLuTagDataType_Invalid)
        return TAV_SIGNAL_FROM(operation, kLuTagCollectionError_InternalError,
                               "LuTag dictionary did not produce a valid LuTag");
    return inserter.add(tag);
}

OSStatus LuTagCollectionCreateFromDictionary(ZoDictionaryRef dict, ZoAllocatorRef allocator,
                                             LuTagCollectionRef* newCollectionOut)
{
    if (!dict || ZoGetTypeID(dict) != ZoDictionaryGetTypeID())
        return TAV_SIGNAL(kLuTagCollectionError_ParamErr, "dict is NULL or not a ZoDictionary");
    if (!newCollectionOut) return TAV_SIGNAL(kLuTagCollectionError_ParamErr, "newCollectionOut is NULL");
    const auto array = static_cast<ZoArrayRef>(ZoDictionaryGetValue(dict, kLuTagCollectionTagsArrayKey));
    if (!array || ZoGetTypeID(array) != ZoArrayGetTypeID())
        return TAV_SIGNAL(kLuTagCollectionError_InvalidTagCollectionDictionary,
                          "ZoDictionary does not contain a tags array");
    ZoRef<LuMutableTagCollectionRef> collection;
    TAV_TRY(tagCollectionCreateMutable(__func__, allocator, collection.outParam()));
    TagInserter inserter(__func__, collection.get(), ZoArrayGetCount(array));
    for (ZoIndex i = 0; i < ZoArrayGetCount(array); ++i)
        TAV_TRY(addTagFromDictionary(__func__, inserter, ZoArrayGetValueAtIndex(array, i)));
    TAV_TRY(inserter.finish());
    *newCollectionOut = collection.release();
    return 0;
}

// MARK: atoms

static constexpr OSType kContainerAtom = LU_FOURCC('t', 'g', 'c', 'o');
static constexpr OSType kInfoAtom = LU_FOURCC('t', 'g', 'i', 'n');
static constexpr OSType kListAtom = LU_FOURCC('t', 'g', 'l', 'i');
static constexpr OSType kSignature1 = LU_FOURCC('t', 'a', 'g', ' ');
static constexpr OSType kSignature2 = LU_FOURCC('c', 'o', 'l', 'l');
static constexpr int64_t kInfoDataLength = 12, kListHeaderLength = 8, kTagLength = 16, kVersionAndFlagsLength = 4;

static OSStatus writeInfo(TavAtomWriter* container)
{
    TavAtomWriter info;
    TAV_TRY(TavAtomWriterInitWithParent(container, &info));
    TAV_TRY(TavAtomWriterBeginAtom(&info, kInfoAtom, false));
    TAV_TRY(TavAtomWriterAppendVersionAndFlags(&info, 0, 0));
    uint8_t signatures[8];
    storeBE32(signatures, kSignature1);
    storeBE32(signatures + 4, kSignature2);
    TAV_TRY(TavAtomWriterAppendData(&info, signatures, sizeof(signatures)));
    return TavAtomWriterEndAtom(&info);
}

static OSStatus writeList(TavAtomWriter* container, LuTagCollectionRef tagCollection)
{
    TavAtomWriter list;
    TAV_TRY(TavAtomWriterInitWithParent(container, &list));
    TAV_TRY(TavAtomWriterBeginAtom(&list, kListAtom, false));
    TAV_TRY(TavAtomWriterAppendVersionAndFlags(&list, 0, 0));
    uint8_t bytes[kTagLength];
    storeBE32(bytes, static_cast<uint32_t>(tagCollection->count));
    TAV_TRY(TavAtomWriterAppendData(&list, bytes, 4));
    for (ZoIndex i = 0; i < tagCollection->count; ++i) {
        const LuTag& tag = tagCollection->tags[i];
        storeBE32(bytes, tag.category);
        storeBE32(bytes + 4, tag.dataType);
        storeBE64(bytes + 8, tag.value);
        TAV_TRY(TavAtomWriterAppendData(&list, bytes, sizeof(bytes)));
    }
    return TavAtomWriterEndAtom(&list);
}

static OSStatus writeCollection(LuTagCollectionRef tagCollection, LuBlockBufferRef buffer)
{
    TavAtomWriter container;
    TAV_TRY(TavAtomWriterInitWithBlockBuffer(buffer, &container));
    OSStatus status = TavAtomWriterBeginAtom(&container, kContainerAtom, false);
    if (status == 0) status = writeInfo(&container);
    if (status == 0) status = writeList(&container, tagCollection);
    const OSStatus ended = TavAtomWriterEndAtom(&container);  // also after a failure: it lets go of its stream
    return status != 0 ? status : ended;
}

ZoDataRef LuTagCollectionCopyAsData(LuTagCollectionRef tagCollection, ZoAllocatorRef allocator)
{
    constexpr uint32_t kPieces = 4;
    ZoRef<LuBlockBufferRef> buffer;
    if (tagCollectionCheck(__func__, tagCollection) != 0 ||
        LuBlockBufferCreateEmpty(nullptr, kPieces, 0, buffer.outParam()) != 0 ||
        writeCollection(tagCollection, buffer.get()) != 0)
        return nullptr;
    const size_t length = LuBlockBufferGetDataLength(buffer.get());
    struct Freed {
        void operator()(uint8_t* block) const { ZoAllocatorDeallocate(nullptr, block); }
    };
    const std::unique_ptr<uint8_t, Freed> block(
        static_cast<uint8_t*>(ZoAllocatorAllocate(nullptr, static_cast<ZoIndex>(length), 0)));
    if (!block) {
        (void)TAV_SIGNAL(kLuTagCollectionError_ParamErr, "dataMallocedBuffer should not be NULL");
        return nullptr;
    }
    if (LuBlockBufferCopyDataBytes(buffer.get(), 0, length, block.get()) != 0) return nullptr;
    const ZoDataRef data = ZoDataCreate(allocator, block.get(), static_cast<ZoIndex>(length));
    if (!data)
        (void)TAV_SIGNAL(kLuTagCollectionError_ParamErr, "resultImmutableData from ZoDataCreate() should not be NULL");
    return data;
}

static constexpr char kFromData[] = "LuTagCollectionCreateFromData";

static OSStatus ProcessTagCollectionInfoAtom(const TavAtomStream* atom, TagInserter&)
{
    uint8_t version = 0;
    TAV_TRY(TavAtomStreamGetCurrentAtomVersionAndFlags(atom, &version, nullptr));
    if (version != 0)
        return TAV_SIGNAL_FROM(kFromData, kLuTagCollectionError_InvalidTagCollectionDataVersion,
                               "Version 0 expected for 'tgin' atom");
    if (atom->dataLength < kInfoDataLength)
        return TAV_SIGNAL_FROM(kFromData, kLuTagCollectionError_InvalidTagCollectionData,
                               "Invalid atomDataLength < sizeof(LuTagInfoAtom)");
    uint8_t signatures[8];
    TAV_TRY(TavAtomStreamReadCurrentAtomData(atom, kVersionAndFlagsLength, sizeof(signatures), signatures));
    if (loadBE32(signatures) != kSignature1)
        return TAV_SIGNAL_FROM(kFromData, kLuTagCollectionError_InvalidTagCollectionData, "signature1 is not 'tag '");
    if (loadBE32(signatures + 4) != kSignature2)
        return TAV_SIGNAL_FROM(kFromData, kLuTagCollectionError_InvalidTagCollectionData, "signature2 is not 'coll'");
    return 0;
}

static OSStatus ProcessTagCollectionListAtom(const TavAtomStream* atom, TagInserter& inserter)
{
    uint8_t version = 0;
    TAV_TRY(TavAtomStreamGetCurrentAtomVersionAndFlags(atom, &version, nullptr));
    if (version != 0)
        return TAV_SIGNAL_FROM(kFromData, kLuTagCollectionError_InvalidTagCollectionDataVersion,
                               "Version 0 expected for 'tgli' atom");
    uint8_t bytes[kTagLength] = {};
    if (atom->dataLength >= kListHeaderLength)
        TAV_TRY(TavAtomStreamReadCurrentAtomData(atom, kVersionAndFlagsLength, 4, bytes));
    const int64_t tagCount = loadBE32(bytes);
    if (atom->dataLength < kListHeaderLength || atom->dataLength != kListHeaderLength + kTagLength * tagCount)
        return TAV_SIGNAL_FROM(kFromData, kLuTagCollectionError_InvalidTagCollectionData,
                               "Invalid atomDataLength < sizeof(LuTagInfoAtom)");
    for (int64_t i = 0; i < tagCount; ++i) {
        TAV_TRY(TavAtomStreamReadCurrentAtomData(atom, kListHeaderLength + kTagLength * i, sizeof(bytes), bytes));
        TAV_TRY(inserter.add({loadBE32(bytes), loadBE32(bytes + 4), loadBE64(bytes + 8)}));
    }
    return 0;
}

// Hands each atom of the run to `process`; the end of the run is success.
template <typename Process>
static OSStatus forEachAtom(TavAtomStream& stream, Process process)
{
    OSStatus status = 0;
    while (status == 0) {
        TAV_TRY(process(stream));
        status = TavAtomStreamAdvanceToNextAtom(&stream);
    }
    return status == kTavAtomStream_AtEnd ? 0 : status;
}

static OSStatus ProcessTagCollectionContainerAtom(const TavAtomStream& container, TagInserter& inserter)
{
    struct Row {
        OSType type;
        OSStatus (*process)(const TavAtomStream* atom, TagInserter& inserter);
    };
    static constexpr Row atomDispatch[] = {
        {kInfoAtom, ProcessTagCollectionInfoAtom},
        {kListAtom, ProcessTagCollectionListAtom},
    };
    TavAtomStream atoms;
    TAV_TRY(TavAtomStreamInitWithParent(&container, 0, &atoms));
    return forEachAtom(atoms, [&inserter](const TavAtomStream& atom) -> OSStatus {
        for (const Row& row : atomDispatch)
            if (row.type == atom.type) return row.process(&atom, inserter);
        return 0;
    });
}

OSStatus LuTagCollectionCreateFromData(ZoDataRef data, ZoAllocatorRef allocator, LuTagCollectionRef* newCollectionOut)
{
    if (!data || ZoGetTypeID(data) != ZoDataGetTypeID())
        return TAV_SIGNAL(kLuTagCollectionError_ParamErr, "data is NULL or not a ZoDataRef");
    if (!newCollectionOut) return TAV_SIGNAL(kLuTagCollectionError_ParamErr, "newCollectionOut is NULL");
    if (ZoDataGetLength(data) < kTavAtomHeaderSize)
        return TAV_SIGNAL(kLuTagCollectionError_ParamErr, "ZoDataGetLength() should have more than 8 bytes");
    ZoRef<LuMutableTagCollectionRef> collection;
    TAV_TRY(tagCollectionCreateMutable(__func__, allocator, collection.outParam()));
    ZoRef<LuBlockBufferRef> buffer;
    TAV_TRY(TavCreateBlockBufferWithZoDataNoCopy(nullptr, data, 0, 0, buffer.outParam()));
    TavAtomStream stream;
    TAV_TRY(TavAtomStreamInitWithBBuf(buffer.get(), 0, false, &stream));
    TagInserter inserter(__func__, collection.get(), ZoDataGetLength(data) / kTagLength);
    TAV_TRY(forEachAtom(stream, [&inserter](const TavAtomStream& atom) -> OSStatus {
        return atom.type == kContainerAtom ? ProcessTagCollectionContainerAtom(atom, inserter) : 0;
    }));
    TAV_TRY(inserter.finish());
    *newCollectionOut = collection.release();
    return 0;
}

// MARK: the other names

TAV_DEFINE_ALIAS(TavTagCollectionCopyDescription, LuTagCollectionCopyDescription);
TAV_DEFINE_ALIAS(TavTagCollectionCopyAsDictionary, LuTagCollectionCopyAsDictionary);
TAV_DEFINE_ALIAS(TavTagCollectionCreateFromDictionary, LuTagCollectionCreateFromDictionary);
TAV_DEFINE_ALIAS(TavTagCollectionCopyAsData, LuTagCollectionCopyAsData);
TAV_DEFINE_ALIAS(TavTagCollectionCreateFromData, LuTagCollectionCreateFromData);

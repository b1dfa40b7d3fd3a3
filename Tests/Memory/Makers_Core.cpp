#include "Core/TavAttachmentBearer/LuAttachment.h"
#include "Core/TavBaseObject/TavBaseObject.h"
#include "Core/TavFormatDescription/LuFormatDescription.h"
#include "Core/TavFormatDescription/TavH264Bridge/TavH264Bridge.h"
#include "Core/TavNotificationCenter/TavNotificationCenter.h"
#include "Core/TavTag/TavTagCollection.h"
#include "Core/TavTime/LuTimeRange.h"
#include "DataIO/TavByteStreams/TavByteStream.h"
#include "Foundation/Images/YxImageBuffer.h"
#include "Foundation/Values/ZoData.h"
#include "Tests/Memory/MemoryMakers.h"
#include "Tests/Support/H264Builder.h"
#include "Utilities/TavAssetAnalysisSupport.h"
#include "Utilities/TavAtomStream.h"
#include "Utilities/TavAtomWriter.h"
#include "Utilities/TavBlockBufferUtilities.h"
#include "Utilities/TavDigestSHA1.h"
#include "Utilities/TavZoUtilities.h"
#include "Utilities/TavZoUtilities_Boxing.h"
#include "Utilities/TavZoUtilities_Geometry.h"
#include "Utilities/TavZoUtilities_Times.h"
#include "Utilities/TavZoWeakReferenceHolder.h"
#include "Utilities/TavZoWeakReferenceTable.h"

using namespace luvia_test;

namespace {

using Buffer = ZoRef<LuBlockBufferRef>;
using Tags = ZoRef<LuMutableTagCollectionRef>;

template <typename Ref>
ZoRef<Ref> dictionaryOf(ZoAllocatorRef allocator)
{
    return zoAdopt(
        ZoDictionaryCreateMutable(allocator, 0, &kZoTypeDictionaryKeyCallBacks, &kZoTypeDictionaryValueCallBacks));
}

// MARK: collection helpers

Made fillDictionary(ZoAllocatorRef allocator)
{
    const auto dictionary = dictionaryOf<ZoMutableDictionaryRef>(allocator);
    const ZoStringRef keys[] = {ZOSTR("a"), ZOSTR("b"), ZOSTR("c"), ZOSTR("d"), ZOSTR("e"), ZOSTR("f"),
                                ZOSTR("g"), ZOSTR("h"), ZOSTR("i"), ZOSTR("j"), ZOSTR("k"), ZOSTR("l")};
    if (!dictionary) return Made::kRefused;
    for (int i = 0; i < 12; ++i)
        if (TavZoDictionarySetInt32(dictionary.get(), keys[i], i) != 0) return Made::kRefused;
    WnRect rect = {{1, 2}, {3, 4}}, back = {};
    if (TavZoDictionarySetLuTime(dictionary.get(), ZOSTR("time"), LuTimeMake(1, 2)) != 0 ||
        TavZoDictionarySetWnRect(dictionary.get(), ZOSTR("rect"), rect) != 0)
        return Made::kRefused;
    int32_t eleven = 0;
    LuTime time = {};
    return made(true,
                TavZoDictionaryGetInt32IfPresent(dictionary.get(), keys[11], &eleven) && eleven == 11 &&
                    TavZoDictionaryGetLuTimeIfPresent(dictionary.get(), ZOSTR("time"), &time) && time.timescale == 2 &&
                    TavZoDictionaryGetWnRectIfPresent(dictionary.get(), ZOSTR("rect"), &back) && back.size.height == 4);
}

Made fillArray(ZoAllocatorRef allocator)
{
    const auto array = zoAdopt(ZoArrayCreateMutable(allocator, 0, &kZoTypeArrayCallBacks));
    if (!array) return Made::kRefused;
    for (int i = 0; i < 12; ++i)
        if (TavZoArrayAppendInt(array.get(), i) != 0) return Made::kRefused;
    int eleven = 0;
    return made(true, TavZoArrayGetIntAtIndex(array.get(), 11, &eleven) && eleven == 11);
}

Made convertCollections(ZoAllocatorRef allocator)
{
    const void* keys[] = {ZOSTR("a"), ZOSTR("b"), ZOSTR("c"), ZOSTR("d"), ZOSTR("e")};
    const auto array = zoAdopt(ZoArrayCreate(allocator, keys, 5, &kZoTypeArrayCallBacks));
    const auto dictionary = zoAdopt(
        ZoDictionaryCreate(allocator, keys, keys, 5, &kZoTypeDictionaryKeyCallBacks, &kZoTypeDictionaryValueCallBacks));
    if (!array || !dictionary) return Made::kRefused;
    const ZoDictionaryRef both[] = {dictionary.get(), nullptr, dictionary.get()};
    ZoRef<ZoDictionaryRef> combined;
    ZoRef<ZoSetRef> set;
    ZoRef<ZoArrayRef> list;
    if (TavZoCreateCombinedDictionary(allocator, both, 3, combined.outParam()) != 0 ||
        TavZoArrayCopyValuesAsZoSet(array.get(), set.outParam()) != 0 ||
        TavZoSetCopyValuesAsZoArray(set.get(), list.outParam()) != 0)
        return Made::kRefused;
    const auto twice = zoAdopt(TavZoArrayCreateConcatenationOfTwoArrays(array.get(), array.get()));
    const auto mapped = zoAdopt(TavZoDictionaryCreateMappedArray(dictionary.get(), array.get()));
    const auto copy = zoAdopt(TavZoDictionaryCreateMutableCopyWithZoTypeCallbacks(allocator, 0, dictionary.get()));
    const auto colour = zoAdopt(TavCreateZoArrayFromColorValues(allocator, 0.25, 0.5, 1, 2));
    if (!twice || !mapped || !copy || !colour) return Made::kRefused;
    return made(true, ZoEqual(combined.get(), dictionary.get()) && ZoEqual(list.get(), array.get()) &&
                          ZoEqual(mapped.get(), array.get()) && ZoEqual(copy.get(), dictionary.get()) &&
                          ZoArrayGetCount(twice.get()) == 10 && ZoArrayGetCount(colour.get()) == 4);
}

Made describeCompactly(ZoAllocatorRef)
{
    const void* words[] = {ZOSTR("a"), ZOSTR("b")};
    const auto array = zoAdopt(ZoArrayCreate(nullptr, words, 2, &kZoTypeArrayCallBacks));
    ZoRef<ZoSetRef> set;
    if (!array || TavZoArrayCopyValuesAsZoSet(array.get(), set.outParam()) != 0) return Made::kRefused;
    return madeText(zoAdopt(TavZoCopyCompactDescription(set.get())), "{a, b}");
}

// MARK: times

Made makeTimes(ZoAllocatorRef allocator)
{
    const LuTimeMapping mapping =
        LuTimeMappingMake({LuTimeMake(1, 2), LuTimeMake(3, 4)}, {LuTimeMake(5, 6), LuTimeMake(7, 8)});
    const auto dictionary = zoAdopt(LuTimeMappingCopyAsDictionary(allocator, mapping));
    const auto text = zoAdopt(LuTimeRangeCopyDescription(allocator, mapping.source));
    if (!dictionary || !text) return Made::kRefused;
    const LuTimeMapping back = LuTimeMappingMakeFromDictionary(dictionary.get());
    return made(true, LuTimeRangeEqual(back.target, mapping.target) &&
                          (isText(text.get(), "{{1/2 = 0.500}, {3/4 = 0.750}}") ||
                           isText(text.get(), "{ERROR CONSTRUCTING DESCRIPTION}")));
}

// MARK: tags

Made makeTags(ZoAllocatorRef allocator, ZoIndex count)
{
    LuTag tags[100];
    for (ZoIndex i = 0; i < count; ++i) tags[i] = LuTagMakeWithSInt64Value(LU_FOURCC('n', 'u', 'm', ' '), count - i);
    Tags all, some, either, less;
    if (LuTagCollectionCreateMutable(allocator, 0, all.outParam()) != 0 ||
        LuTagCollectionAddTagsFromArray(all.get(), tags, count) != 0 ||
        LuTagCollectionCreateMutable(allocator, 0, some.outParam()) != 0 ||
        LuTagCollectionAddTagsFromArray(some.get(), tags, count / 2) != 0 ||
        LuTagCollectionCreateUnion(some.get(), all.get(), either.outParam()) != 0 ||
        LuTagCollectionCreateDifference(all.get(), some.get(), less.outParam()) != 0)
        return Made::kRefused;
    const auto dictionary = zoAdopt(LuTagCollectionCopyAsDictionary(all.get(), allocator));
    const auto data = zoAdopt(LuTagCollectionCopyAsData(all.get(), allocator));
    const auto text = zoAdopt(LuTagCollectionCopyDescription(allocator, less.get()));
    ZoRef<LuTagCollectionRef> fromDictionary, fromData;
    if (!dictionary || !data || !text ||
        LuTagCollectionCreateFromDictionary(dictionary.get(), allocator, fromDictionary.outParam()) != 0 ||
        LuTagCollectionCreateFromData(data.get(), allocator, fromData.outParam()) != 0)
        return Made::kRefused;
    const ZoIndex line =
        count > 3 ? 0 : ZoStringGetLength(text.get()) - ZoStringGetLength(ZOSTR("LuMutableTagCollection{\n}"));
    return made(true, ZoEqual(either.get(), all.get()) && ZoEqual(fromDictionary.get(), all.get()) &&
                          ZoEqual(fromData.get(), all.get()) &&
                          LuTagCollectionGetCount(less.get()) == count - count / 2 && line % 2 == 0 &&
                          ZoStringGetLength(text.get()) > 30 * (count - count / 2));
}
Made makeFewTags(ZoAllocatorRef allocator) { return makeTags(allocator, 3); }
Made makeManyTags(ZoAllocatorRef allocator) { return makeTags(allocator, 100); }

// MARK: attachments and base objects

Made attach(ZoAllocatorRef allocator)
{
    ZoRef<LuBlockBufferRef> source, destination;
    const auto pixels = zoAdopt(YxPixelBufferCreate(nullptr, 2, 2, LU_FOURCC('g', 'r', 'e', 'y'), 2));
    if (!pixels || LuBlockBufferCreateEmpty(allocator, 1, 0, source.outParam()) != 0 ||
        LuBlockBufferCreateEmpty(allocator, 1, 0, destination.outParam()) != 0)
        return Made::kRefused;
    const ZoStringRef value = ZOSTR("value");
    LuSetAttachment(source.get(), ZOSTR("key"), value, kLuAttachmentMode_ShouldPropagate);
    if (!LuGetAttachment(source.get(), ZOSTR("key"), nullptr)) return Made::kRefused;
    LuPropagateAttachments(source.get(), destination.get());
    LuPropagateAttachments(source.get(), pixels.get());
    const ZoTypeRef there = LuGetAttachment(destination.get(), ZOSTR("key"), nullptr);
    const ZoTypeRef onPixels = LuGetAttachment(pixels.get(), ZOSTR("key"), nullptr);
    return made(there && onPixels, there == value && onPixels == value);
}

Made makeBaseObject(ZoAllocatorRef allocator)
{
    static constexpr LuBaseClass kBase = {.version = 1, .derivedStorageSize = 100};
    static constexpr LuVTable kTable = {.base = &kBase};
    LuBaseObjectRef object = nullptr;
    if (LuDerivedObjectCreate(allocator, &kTable, LuByteStreamGetClassID(), &object) != 0) return Made::kRefused;
    const auto owner = zoAdopt(object);
    const auto text = zoAdopt(ZoCopyDescription(object));
    if (!text || isText(text.get(), "<TavByteStream>")) return Made::kRefused;
    return made(true, ZoStringGetLength(text.get()) > 20);
}

// MARK: block buffers, streams, atoms

Made makeBuffers(ZoAllocatorRef allocator)
{
    char block[20] = "0123456789abcdefghi", copied[33] = "";
    Buffer buffer, borrowed, contiguous, copy, fromData, fromString;
    ZoRef<ZoDataRef> data;
    if (LuBlockBufferCreateEmpty(allocator, 2, 0, buffer.outParam()) != 0 ||
        LuBlockBufferCreateWithMemoryBlock(allocator, block, 20, kZoAllocatorNull, nullptr, 0, 20, 0,
                                           borrowed.outParam()) != 0)
        return Made::kRefused;
    for (size_t i = 0; i < 5; ++i)
        if (LuBlockBufferAppendBufferReference(buffer.get(), borrowed.get(), 4 * i, 4, 0) != 0) return Made::kRefused;
    if (LuBlockBufferAppendMemoryBlock(buffer.get(), nullptr, 12, allocator, nullptr, 0, 12, 0) != 0 ||
        LuBlockBufferAssureBlockMemory(buffer.get()) != 0 ||
        LuBlockBufferFillDataBytes('x', buffer.get(), 20, 12) != 0 ||
        LuBlockBufferCreateContiguous(allocator, buffer.get(), allocator, nullptr, 0, 0, 0, contiguous.outParam()) !=
            0 ||
        TavCreateBlockBufferCopyingMemoryBlock(allocator, "bytes", 5, copy.outParam()) != 0 ||
        TavCreateZoDataWithBlockBufferNoCopy(allocator, contiguous.get(), 0, 0, data.outParam()) != 0 ||
        TavCreateBlockBufferWithZoDataNoCopy(allocator, data.get(), 0, 0, fromData.outParam()) != 0 ||
        TavCreateBlockBufferWithZoString(allocator, ZOSTR("text"), fromString.outParam()) != 0 ||
        LuBlockBufferCopyDataBytes(fromData.get(), 0, 32, copied) != 0)
        return Made::kRefused;
    return made(true, std::memcmp(copied, "0123456789abcdefghi\0xxxxxxxxxxxx", 32) == 0);
}

Made dumpBuffer(ZoAllocatorRef)
{
    Buffer buffer;
    const auto text = zoAdopt(ZoStringCreateMutable(nullptr, 0));
    if (!text || TavCreateBlockBufferCopyingMemoryBlock(nullptr, "0123456789", 10, buffer.outParam()) != 0)
        return Made::kRefused;
    TavBlockBufferAppendHexDumpToZoString(buffer.get(), 0, 0, 0, 128, kTavBlockBufferHexDump_CArray, text.get());
    return made(true, ZoStringGetLength(text.get()) > 6 * 128);
}

Made stream(ZoAllocatorRef allocator)
{
    static constexpr char kPiece[10000] = "x";
    Buffer buffer, read;
    ZoRef<LuByteStreamRef> writer, reader;
    if (LuBlockBufferCreateEmpty(allocator, 2, 0, buffer.outParam()) != 0 ||
        LuByteStreamCreateWritableForBlockBuffer(allocator, buffer.get(), 0, allocator, nullptr, writer.outParam()) !=
            0)
        return Made::kRefused;
    for (int i = 0; i < 4; ++i) {
        size_t written = 99;
        const OSStatus status = LuByteStreamAppend(writer.get(), sizeof(kPiece), kPiece, &written);
        if (status != 0) return made(written != 0, false);
    }
    if (LuByteStreamCreateForBlockBuffer(allocator, buffer.get(), 0, reader.outParam()) != 0 ||
        LuCreateContiguousBlockBufferFromStream(reader.get(), allocator, 5, 29999, read.outParam(), nullptr) != 0)
        return Made::kRefused;
    char bytes[5] = "";
    const OSStatus status = LuBlockBufferCopyDataBytes(read.get(), 0, 5, bytes);
    return made(status == 0, std::memcmp(bytes, "\0x\0\0\0", 5) == 0);
}

Made writeAtoms(ZoAllocatorRef allocator)
{
    static constexpr char kExpected[] = "\0\0\0\x1Coutr\0\0\0\x14innr\0\0\0\0payload!";
    Buffer buffer;
    TavAtomWriter outer, inner;
    if (LuBlockBufferCreateEmpty(allocator, 4, 0, buffer.outParam()) != 0 ||
        TavAtomWriterInitWithBlockBuffer(buffer.get(), &outer) != 0 ||
        TavAtomWriterBeginAtom(&outer, LU_FOURCC('o', 'u', 't', 'r'), false) != 0)
        return Made::kRefused;
    OSStatus status = TavAtomWriterInitWithParent(&outer, &inner);
    if (status == 0) status = TavAtomWriterBeginAtom(&inner, LU_FOURCC('i', 'n', 'n', 'r'), false);
    if (status == 0) status = TavAtomWriterAppendVersionAndFlags(&inner, 0, 0);
    if (status == 0) status = TavAtomWriterAppendData(&inner, "payload!", 8);
    if (status == 0) status = TavAtomWriterEndAtom(&inner);
    const OSStatus ended = TavAtomWriterEndAtom(&outer);
    char bytes[28];
    if (status != 0 || ended != 0 || LuBlockBufferCopyDataBytes(buffer.get(), 0, 28, bytes) != 0) return Made::kRefused;
    TavAtomStream atoms, children;
    Buffer payload;
    if (TavAtomStreamInitWithBBuf(buffer.get(), 0, false, &atoms) != 0 ||
        TavAtomStreamInitWithParent(&atoms, 0, &children) != 0 ||
        TavAtomStreamReadCurrentAtomDataAndCreateBBuf(&children, 4, 8, payload.outParam()) != 0)
        return Made::kRefused;
    return made(true, std::memcmp(bytes, kExpected, 28) == 0 && LuBlockBufferGetDataLength(payload.get()) == 8);
}

Made report(ZoAllocatorRef allocator)
{
    ZoRef<TavAssetAnalysisReporterRef> reporter;
    ZoRef<ZoArrayRef> messages;
    const void* keys[] = {kTavAssetAnalysisKey_AnalysisType, kTavAssetAnalysisKey_DiagnosticInformation};
    const void* values[] = {ZOSTR("type"), ZOSTR("text")};
    const auto message = zoAdopt(ZoDictionaryCreate(allocator, keys, values, 2, &kZoTypeDictionaryKeyCallBacks,
                                                    &kZoTypeDictionaryValueCallBacks));
    if (!message || TavAssetAnalysisReporterCreate(allocator, reporter.outParam()) != 0 ||
        TavAssetAnalysisReporterAddMessage(reporter.get(), message.get()) != 0 ||
        TavAssetAnalysisReporterEditAndAppendMessage(reporter.get(), message.get(), 7) != 0 ||
        TavAssetAnalysisReporterEditAndCombineMessage(reporter.get(), message.get()) != 0 ||
        TavAssetAnalysisReporterCopyMessages(reporter.get(), messages.outParam()) != 0)
        return Made::kRefused;
    const auto* newest = static_cast<ZoDictionaryRef>(TavZoArrayGetFirstValue(messages.get()));
    // A message that cannot be edited stays as it was.
    const auto container = TavZoDictionaryGetArrayValue(newest, kTavAssetAnalysisMovieMessageKey_AtomContainer);
    return made(container, container && ZoArrayGetCount(messages.get()) == 1 && ZoArrayGetCount(container) == 1);
}

Made digest(ZoAllocatorRef)
{
    TavDigestSHA1* context = TavDigestSHA1Create();
    if (!context) return Made::kRefused;
    uint8_t bytes[kTavDigestSHA1Length];
    TavDigestSHA1AppendData(context, "abc", 3);
    TavDigestSHA1GetDigest(context, bytes);
    TavDigestSHA1Destroy(context);
    return made(true, bytes[0] == 0xA9 && bytes[19] == 0x9D);
}

// MARK: notifications, weak references, boxes

int sHeard;  // atomic

void hear(ZoNotificationCenterRef, void*, ZoStringRef, const void*, ZoDictionaryRef)
{
    __atomic_add_fetch(&sHeard, 1, __ATOMIC_RELAXED);
}

// Names that are made: a constant one is never copied.
Made listen(ZoAllocatorRef)
{
    const LuNotificationCenterRef center = LuNotificationCenterGetDefaultLocalCenter();
    const auto listener = dictionaryOf<ZoMutableDictionaryRef>(nullptr);
    const auto name = zoAdopt(ZoStringCreateMutableCopy(nullptr, 0, ZOSTR("the news of the day")));
    if (!listener || !name) return Made::kRefused;
    sHeard = 0;
    if (TavNotificationCenterAddWeakListener(center, listener.get(), hear, name.get(), nullptr, 0, nullptr) != 0)
        return Made::kRefused;
    OSStatus status = LuNotificationCenterAddListener(center, &sHeard, hear, name.get(), nullptr, 0);
    status |= LuNotificationCenterPostNotification(center, name.get(), &sHeard, nullptr, 0);
    status |= LuNotificationCenterPostNotification(center, ZOSTR("other news"), &sHeard, nullptr, 0);
    status |= LuNotificationCenterRemoveListener(center, &sHeard, hear, name.get(), nullptr);
    const int heard = sHeard;
    OSStatus removed = kTavNotificationAllocationFailedError;
    for (int i = 0; i < 2 && removed == kTavNotificationAllocationFailedError; ++i)
        removed = TavNotificationCenterRemoveWeakListener(center, listener.get(), hear, name.get(), nullptr);
    if (removed == kTavNotificationAllocationFailedError) return Made::kRefused;  // it goes with the listener
    return made(true, status == 0 && removed == 0 && heard == 2);
}

Made deferNotification(ZoAllocatorRef allocator)
{
    const LuNotificationCenterRef center = LuNotificationCenterGetDefaultLocalCenter();
    const dispatch_queue_t queue = dispatch_queue_create("org.example.news", DISPATCH_QUEUE_SERIAL);
    const ZoStringRef name = ZOSTR("news");
    sHeard = 0;
    const OSStatus toQueue =
        TavDeferNotificationToDispatchQueue(hear, center, nullptr, name, nullptr, nullptr, queue, allocator);
    dispatch_sync_f(queue, nullptr, [](void*) {});
    dispatch_release(queue);
    const OSStatus toLoop =
        TavDeferNotificationToRunLoop(hear, center, nullptr, name, nullptr, nullptr, ZoRunLoopGetCurrent(), allocator);
    TavRunDeferredNotificationsOnCurrentRunLoop();
    const int expected = (toQueue == 0) + (toLoop == 0);
    return sHeard != expected ? Made::kWrong : made(expected == 2, true);
}

Made useBarrier(ZoAllocatorRef)
{
    const LuNotificationCenterRef center = LuNotificationCenterGetDefaultLocalCenter();
    const int object = 0;
    if (LuNotificationCenterRegisterForBarrierSupport(center, &object) != 0) return Made::kRefused;
    const OSStatus status = LuNotificationCenterBarrier(center, &object);
    return made(true, LuNotificationCenterUnregisterForBarrierSupport(center, &object) == 0 && status == 0);
}

// More references than an entry has room for.
Made holdWeakly(ZoAllocatorRef allocator)
{
    const auto object = dictionaryOf<ZoMutableDictionaryRef>(nullptr);
    ZoRef<TavZoWeakReferenceTableRef> table;
    if (!object || TavZoWeakReferenceTableCreate(allocator, 0, table.outParam()) != 0) return Made::kRefused;
    uint64_t key = 0;
    for (int i = 0; i < 12; ++i)
        if (TavZoWeakReferenceTableAddValueAndGetKey(table.get(), object.get(), &key) != 0) return Made::kRefused;
    ZoRef<ZoDictionaryRef> values;
    const auto holder = zoAdopt(TavZoWeakReferenceHolderCreateWithReferencedObject(object.get()));
    if (!holder || TavZoWeakReferenceTableCopyValues(table.get(), values.outParam()) != 0) return Made::kRefused;
    const auto found = zoAdopt(TavZoWeakReferenceTableCopyValue(table.get(), key));
    const auto held = zoAdopt(TavZoWeakReferenceHolderCopyReferencedObject(holder.get()));
    return made(true,
                ZoDictionaryGetCount(values.get()) == 12 && found.get() == object.get() && held.get() == object.get());
}

Made box(ZoAllocatorRef allocator)
{
    const auto large = zoAdopt(TavZoNumberCreateUInt64(allocator, UINT64_MAX));
    const auto real = zoAdopt(TavZoNumberCreateFloat64(allocator, 1e300));
    return made(large && real,
                TavZoNumberGetUInt64(large.get()) == UINT64_MAX && TavZoNumberGetFloat64(real.get()) == 1e300);
}

// MARK: descriptions of formats

Made describeFormat(ZoAllocatorRef allocator)
{
    const auto inner = dictionaryOf<ZoMutableDictionaryRef>(nullptr),
               outer = dictionaryOf<ZoMutableDictionaryRef>(nullptr);
    if (!inner || !outer) return Made::kRefused;
    ZoDictionarySetValue(inner.get(), ZOSTR("avcC"), ZOSTR("record"));
    ZoDictionarySetValue(outer.get(), ZOSTR("SampleDescriptionExtensionAtoms"), inner.get());
    ZoDictionarySetValue(outer.get(), ZOSTR("key"), ZOSTR("value"));
    LuFormatDescriptionRef description = nullptr;
    if (LuFormatDescriptionCreate(allocator, LU_FOURCC('s', 'b', 't', 'l'), LU_FOURCC('t', 'x', '3', 'g'), outer.get(),
                                  &description) != 0)
        return Made::kRefused;
    const auto owner = zoAdopt(description);
    const auto text = zoAdopt(ZoCopyDescription(description));
    return made(bool(text), ZoEqual(LuFormatDescriptionGetExtension(description, ZOSTR("key")), ZOSTR("value")) &&
                                ZoEqual(LuFormatDescriptionGetExtensions(description), outer.get()));
}

const std::string kSPS = H264SPS().unit(), kPPS = h264PPS(0, 0);

Made makeAVCC(ZoAllocatorRef allocator)
{
    ZoRef<ZoDataRef> record;
    size_t count = 0;
    int32_t width = 0, height = 0;
    const auto* sps = reinterpret_cast<const uint8_t*>(kSPS.data());
    if (TavH264Bridge_CreateAVCCFromSPSAndPPS(allocator, sps, kSPS.size(),
                                              reinterpret_cast<const uint8_t*>(kPPS.data()), kPPS.size(), 4,
                                              record.outParam()) != 0 ||
        TavH264Bridge_GetSPSAndPPSCountFromAVCC(record.get(), &count, nullptr) != 0 ||
        TavH264Bridge_GetSPSWidthAndHeight(sps, kSPS.size(), &width, &height) != 0)
        return Made::kRefused;
    return made(true, count == 1 && width > 0);
}

constexpr Maker kRows[] = {
    {"filledDictionary", fillDictionary, 3},
    {"filledArray", fillArray, 3},
    {"convertedCollections", convertCollections, 8},
    {"compactDescription", describeCompactly},
    {"times", makeTimes, 8},
    {"fewTags", makeFewTags, 15},
    {"manyTags", makeManyTags, 15},
    {"attachments", attach, 4},
    {"baseObject", makeBaseObject, 1},
    {"blockBuffers", makeBuffers, 10},
    {"hexDump", dumpBuffer},
    {"byteStream", stream, 5},
    {"atoms", writeAtoms, 1},
    {"analysisReport", report, 5},
    {"digest", digest},
    {"weakListener", listen},
    {"deferredNotification", deferNotification, 2},
    {"notificationBarrier", useBarrier},
    {"weakReferences", holdWeakly, 2},
    {"boxes", box, 2},
    {"formatDescription", describeFormat, 3},
    {"avcC", makeAVCC},
};

}  // namespace

const std::span<const Maker> luvia_test::kCoreMakers = kRows;

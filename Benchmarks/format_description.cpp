// Descriptions that share nothing, of extensions of all types that video has, atoms among them: equality, also while
// keys are ignored, and creation, whose time is that of the deep copy.
//
// bar: Equality12Extensions_luvia <= 1000 ns
// bar: Equality12ExtensionsIgnoringTwo_luvia <= 2 * Equality12Extensions_luvia
// bar: Create19Extensions_luvia <= 1200 ns

#include <benchmark/benchmark.h>

#include <cstdlib>
#include <string>
#include <vector>

#include "Core/TavFormatDescription/LuFormatDescription.h"
#include "Foundation/Collections/ZoArray.h"
#include "Foundation/Collections/ZoDictionary.h"
#include "Foundation/Objects/ZoRef.h"
#include "Foundation/Text/ZoString.h"
#include "Foundation/Values/ZoData.h"
#include "Foundation/Values/ZoNumber.h"

namespace {

ZoRef<ZoMutableDictionaryRef> dictionary()
{
    return zoAdopt(
        ZoDictionaryCreateMutable(nullptr, 0, &kZoTypeDictionaryKeyCallBacks, &kZoTypeDictionaryValueCallBacks));
}

void set(const ZoRef<ZoMutableDictionaryRef>& in, const char* key, ZoRef<ZoTypeRef> value)
{
    const auto keyString = zoAdopt(ZoStringCreateWithCString(nullptr, key, kZoStringEncodingUTF8));
    ZoDictionarySetValue(in.get(), keyString.get(), value.get());
}

ZoRef<ZoTypeRef> text(const char* value)
{
    return zoAdopt<ZoTypeRef>(ZoStringCreateWithCString(nullptr, value, kZoStringEncodingUTF8));
}

ZoRef<ZoTypeRef> number(int64_t value)
{
    return zoAdopt<ZoTypeRef>(ZoNumberCreate(nullptr, kZoNumberSInt64Type, &value));
}

ZoRef<ZoTypeRef> data(size_t size)
{
    const std::vector<uint8_t> bytes(size, 0x5A);
    return zoAdopt<ZoTypeRef>(ZoDataCreate(nullptr, bytes.data(), static_cast<ZoIndex>(size)));
}

// Every object in it is made anew.
ZoRef<ZoMutableDictionaryRef> makeExtensions(int64_t version = 0)
{
    const auto aperture = dictionary(), aspect = dictionary(), atoms = dictionary();
    auto extensions = dictionary();
    set(aperture, "Width", number(1920));
    set(aperture, "Height", number(1080));
    set(aperture, "HorizontalOffset", number(0));
    set(aperture, "VerticalOffset", number(0));
    set(aspect, "HorizontalSpacing", number(1));
    set(aspect, "VerticalSpacing", number(1));
    set(atoms, "avcC", data(48));
    set(extensions, "FormatName", text("H.264"));
    set(extensions, "Depth", number(24));
    set(extensions, "Version", number(version));
    set(extensions, "RevisionLevel", number(0));
    set(extensions, "TemporalQuality", number(512));
    set(extensions, "SpatialQuality", number(512));
    set(extensions, "YxImageBufferColorPrimaries", text("ITU_R_709_2"));
    set(extensions, "YxImageBufferTransferFunction", text("ITU_R_709_2"));
    set(extensions, "YxImageBufferYCbCrMatrix", text("ITU_R_709_2"));
    set(extensions, "YxCleanAperture", ZoRef<ZoTypeRef>::retain(aperture.get()));
    set(extensions, "YxPixelAspectRatio", ZoRef<ZoTypeRef>::retain(aspect.get()));
    set(extensions, "SampleDescriptionExtensionAtoms", ZoRef<ZoTypeRef>::retain(atoms.get()));
    if (ZoDictionaryGetCount(extensions.get()) != 12) abort();
    return extensions;
}

ZoRef<LuFormatDescriptionRef> describe(const ZoRef<ZoMutableDictionaryRef>& extensions)
{
    ZoRef<LuFormatDescriptionRef> description;
    // A type of the generic kind, which compares extensions and nothing else.
    LuFormatDescriptionCreate(nullptr, kLuMediaType_PointCloud, LU_FOURCC('a', 'v', 'c', '1'), extensions.get(),
                              description.outParam());
    return description;
}

void Create19Extensions_luvia(benchmark::State& state)
{
    const auto extensions = makeExtensions();
    set(extensions, "VerbatimISOSampleEntry", data(300));
    set(extensions, "YxImageBufferChromaLocationTopField", text("Left"));
    set(extensions, "YxImageBufferChromaLocationBottomField", text("Left"));
    set(extensions, "YxFieldCount", number(1));
    set(extensions, "FullRangeVideo", ZoRef<ZoTypeRef>::retain(kZoBooleanFalse));
    set(extensions, "MasteringDisplayColorVolume", data(24));
    set(extensions, "ContentLightLevelInfo", data(4));
    if (ZoDictionaryGetCount(extensions.get()) != 19) abort();
    for (auto _ : state) benchmark::DoNotOptimize(describe(extensions).get());
}
BENCHMARK(Create19Extensions_luvia);

void Equality12Extensions_luvia(benchmark::State& state)
{
    const auto description1 = describe(makeExtensions()), description2 = describe(makeExtensions());
    for (auto _ : state)
        if (!LuFormatDescriptionEqual(description1.get(), description2.get())) abort();
}
BENCHMARK(Equality12Extensions_luvia);

// What callers do that know the verbatim record of the file to differ; here one of the two keys does.
void Equality12ExtensionsIgnoringTwo_luvia(benchmark::State& state)
{
    const auto description1 = describe(makeExtensions()), description2 = describe(makeExtensions(1));
    const void* keys[] = {ZOSTR("FormatName"), ZOSTR("Version")};
    const auto ignored = zoAdopt(ZoArrayCreate(nullptr, keys, 2, &kZoTypeArrayCallBacks));
    for (auto _ : state)
        if (!LuFormatDescriptionEqualIgnoringExtensionKeys(description1.get(), description2.get(), ignored.get(),
                                                           nullptr))
            abort();
}
BENCHMARK(Equality12ExtensionsIgnoringTwo_luvia);

}  // namespace

BENCHMARK_MAIN();

// bar: DescriptionEqual12_luvia <= 1000 ns

#include <benchmark/benchmark.h>

#include "Core/TavFormatDescription/LuFormatDescription.h"
#include "Foundation/ZoData.h"
#include "Foundation/ZoNumber.h"
#include "Foundation/ZoRef.h"
#include "Foundation/ZoString.h"

/// What a video track brings: strings, numbers, a nested dictionary with a record.
static ZoRef<LuFormatDescriptionRef> descriptionWith12Extensions()
{
    const auto extensions = zoAdopt(
        ZoDictionaryCreateMutable(nullptr, 0, &kZoTypeDictionaryKeyCallBacks, &kZoTypeDictionaryValueCallBacks));
    const auto set = [&](ZoStringRef key, ZoTypeRef value) { ZoDictionarySetValue(extensions.get(), key, value); };
    const auto number = [](int32_t value) { return zoAdopt(ZoNumberCreate(nullptr, kZoNumberSInt32Type, &value)); };
    set(ZOSTR("FormatName"), ZOSTR("H.264"));
    set(ZOSTR("Vendor"), ZOSTR("orvn"));
    set(ZOSTR("YxImageBufferColorPrimaries"), ZOSTR("ITU_R_709_2"));
    set(ZOSTR("YxImageBufferTransferFunction"), ZOSTR("ITU_R_709_2"));
    set(ZOSTR("YxImageBufferYCbCrMatrix"), ZOSTR("ITU_R_709_2"));
    set(ZOSTR("Depth"), number(24).get());
    set(ZOSTR("Version"), number(0).get());
    set(ZOSTR("RevisionLevel"), number(0).get());
    set(ZOSTR("SpatialQuality"), number(512).get());
    set(ZOSTR("TemporalQuality"), number(512).get());
    set(ZOSTR("YxFieldCount"), number(1).get());
    const uint8_t record[64] = {1, 100, 0, 31, 255};
    const void* key = ZOSTR("avcC");
    const auto data = zoAdopt(ZoDataCreate(nullptr, record, sizeof record));
    const void* value = data.get();
    const auto atoms = zoAdopt(
        ZoDictionaryCreate(nullptr, &key, &value, 1, &kZoTypeDictionaryKeyCallBacks, &kZoTypeDictionaryValueCallBacks));
    set(kLuFormatDescriptionExtension_SampleDescriptionExtensionAtoms, atoms.get());
    ZoRef<LuFormatDescriptionRef> description;
    LuFormatDescriptionCreate(nullptr, kLuMediaType_Subtitle, 1, extensions.get(), description.outParam());
    return description;
}

static void DescriptionEqual12_luvia(benchmark::State& state)
{
    const auto one = descriptionWith12Extensions(), two = descriptionWith12Extensions();
    if (!LuFormatDescriptionEqual(one.get(), two.get())) return state.SkipWithError("not equal");
    for (auto _ : state) benchmark::DoNotOptimize(LuFormatDescriptionEqual(one.get(), two.get()));
}
BENCHMARK(DescriptionEqual12_luvia);

BENCHMARK_MAIN();

// Objects, numbers, strings and dictionaries beside what C++ and C offer for the same.
//
// The look-ups by other records ask with constants of equal text that are not the ones stored, as two libraries would;
// they are without a bar at 8 entries, where std::unordered_map compares eight short texts of different lengths.
//
// Processes with one thread count without locked instructions, here as in std::shared_ptr; the benchmarks of counting
// are therefore run twice, the second time with another thread alive.
//
// bar: RetainRelease_luvia <= 1.2 * RetainRelease_sharedPtr
// bar: RetainReleaseThreaded_luvia <= 1.2 * RetainReleaseThreaded_sharedPtr
// bar: CreateRelease32_luvia <= 1.5 * CreateRelease32_malloc
// bar: CreateRelease32Threaded_luvia <= 1.5 * CreateRelease32Threaded_malloc
// bar: LookUp8_luvia <= 1.0 * LookUp8_unorderedMap
// bar: LookUp1000_luvia <= 1.0 * LookUp1000_unorderedMap
// bar: LookUpOtherRecords1000_luvia <= 1.0 * LookUp1000_unorderedMap
// bar: Insert1000_luvia <= 1.2 * Insert1000_unorderedMap
// bar: DeepCopy19_luvia <= 1200 ns
// bar: ReadHostileKeys_luvia <= 1.5 * ReadOrdinaryKeys_luvia
// bar: CreateNumber_luvia <= 1.5 * CreateNumber_malloc
// bar: CreateSmallNumber_luvia <= 1.5 * CreateNumber_malloc
// bar: CreateString_luvia <= 1.5 * CreateString_malloc

#include <benchmark/benchmark.h>

#include <cstdlib>
#include <cstring>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <unordered_map>
#include <vector>

#include "Foundation/Collections/ZoDictionary.h"
#include "Foundation/Objects/ZoRef.h"
#include "Foundation/PropertyLists/ZoPropertyList.h"
#include "Foundation/Text/ZoString.h"
#include "Foundation/Values/ZoData.h"
#include "Foundation/Values/ZoNumber.h"

namespace {

// While one is alive the process has two threads; the C library does not forget it afterwards, so that benchmarks that
// use it are registered last.
class AnotherThread {
public:
    AnotherThread() { lock_.lock(); }
    ~AnotherThread() { lock_.unlock(); }

private:
    std::mutex lock_;
    std::jthread thread_{[this] { const std::lock_guard guard(lock_); }};
};

const ZoRuntimeClass kPlainClass = {.className = "Plain"};

ZoTypeRef createPlain()
{
    static const ZoTypeID typeID = _ZoRuntimeRegisterClass(&kPlainClass);
    return _ZoRuntimeCreateInstance(nullptr, typeID, 32 - sizeof(ZoRuntimeBase), nullptr);
}

void retainRelease(benchmark::State& state)
{
    const auto object = zoAdopt(createPlain());
    for (auto _ : state) {
        ZoTypeRef copy = ZoRetain(object.get());
        benchmark::DoNotOptimize(copy);
        ZoRelease(copy);
    }
}

void copyDestroy(benchmark::State& state)
{
    const auto object = std::make_shared<int64_t>(5);
    for (auto _ : state) {
        auto copy = object;
        benchmark::DoNotOptimize(copy);
    }
}

void createRelease(benchmark::State& state)
{
    for (auto _ : state) {
        ZoTypeRef object = createPlain();
        benchmark::DoNotOptimize(object);
        ZoRelease(object);
    }
}

void mallocFree(benchmark::State& state)
{
    for (auto _ : state) {
        void* memory = std::malloc(32);
        benchmark::DoNotOptimize(std::memset(memory, 0, 32));
        benchmark::ClobberMemory();
        std::free(memory);
    }
}

void RetainRelease_luvia(benchmark::State& state) { retainRelease(state); }
void RetainRelease_sharedPtr(benchmark::State& state) { copyDestroy(state); }
void CreateRelease32_luvia(benchmark::State& state) { createRelease(state); }
void CreateRelease32_malloc(benchmark::State& state) { mallocFree(state); }
BENCHMARK(RetainRelease_luvia);
BENCHMARK(RetainRelease_sharedPtr);
BENCHMARK(CreateRelease32_luvia);
BENCHMARK(CreateRelease32_malloc);

std::string keyText(size_t i) { return "com.example.luvia.key-" + std::to_string(i * 7919); }

// Constant string records as a program's static data has them, made at run time because there are many.
struct ConstantKeys {
    std::vector<std::string> texts;
    std::vector<ZoConstantString> records;

    explicit ConstantKeys(size_t count)
    {
        for (size_t i = 0; i < count; ++i) texts.push_back(keyText(i));
        for (const std::string& text : texts)
            records.push_back({__ZoConstantStringClassReference, ZO_CONSTANT_STRING_FLAGS, text.c_str(),
                               static_cast<ZoIndex>(text.size())});
    }
    const void* operator[](size_t i) const { return &records[i]; }
};

ZoRef<ZoMutableDictionaryRef> makeDictionary(const ConstantKeys& keys)
{
    auto dictionary = zoAdopt(
        ZoDictionaryCreateMutable(nullptr, 0, &kZoTypeDictionaryKeyCallBacks, &kZoTypeDictionaryValueCallBacks));
    for (size_t i = 0; i < keys.texts.size(); ++i) ZoDictionarySetValue(dictionary.get(), keys[i], kZoNull);
    return dictionary;
}

void lookUp(benchmark::State& state, size_t count, bool bySameRecords)
{
    const ConstantKeys keys(count), others(count);
    const auto dictionary = makeDictionary(keys);
    const ConstantKeys& asked = bySameRecords ? keys : others;
    size_t i = 0;
    for (auto _ : state) {
        benchmark::DoNotOptimize(ZoDictionaryGetValue(dictionary.get(), asked[i]));
        i = i + 1 == count ? 0 : i + 1;
    }
}

void lookUpInMap(benchmark::State& state, size_t count)
{
    std::unordered_map<std::string, void*> map;
    std::vector<std::string> asked;
    for (size_t i = 0; i < count; ++i) {
        map[keyText(i)] = &map;
        asked.push_back(keyText(i));
    }
    size_t i = 0;
    for (auto _ : state) {
        benchmark::DoNotOptimize(map.find(asked[i])->second);
        i = i + 1 == count ? 0 : i + 1;
    }
}

void LookUp8_luvia(benchmark::State& state) { lookUp(state, 8, true); }
void LookUpOtherRecords8_luvia(benchmark::State& state) { lookUp(state, 8, false); }
void LookUp8_unorderedMap(benchmark::State& state) { lookUpInMap(state, 8); }
void LookUp1000_luvia(benchmark::State& state) { lookUp(state, 1000, true); }
void LookUpOtherRecords1000_luvia(benchmark::State& state) { lookUp(state, 1000, false); }
void LookUp1000_unorderedMap(benchmark::State& state) { lookUpInMap(state, 1000); }
BENCHMARK(LookUp8_luvia);
BENCHMARK(LookUpOtherRecords8_luvia);
BENCHMARK(LookUp8_unorderedMap);
BENCHMARK(LookUp1000_luvia);
BENCHMARK(LookUpOtherRecords1000_luvia);
BENCHMARK(LookUp1000_unorderedMap);

void Insert1000_luvia(benchmark::State& state)
{
    const ConstantKeys keys(1000);
    for (auto _ : state) benchmark::DoNotOptimize(makeDictionary(keys).get());
}
BENCHMARK(Insert1000_luvia);

void Insert1000_unorderedMap(benchmark::State& state)
{
    std::vector<std::string> keys;
    for (size_t i = 0; i < 1000; ++i) keys.push_back(keyText(i));
    for (auto _ : state) {
        std::unordered_map<std::string, void*> map;
        for (const std::string& key : keys) map[key] = &map;
        benchmark::DoNotOptimize(map);
    }
}
BENCHMARK(Insert1000_unorderedMap);

// As a format description copies its extensions: nineteen of text, numbers, dictionaries and data.
void DeepCopy19_luvia(benchmark::State& state)
{
    const ConstantKeys keys(19), twoKeys(2);
    const auto extensions = makeDictionary(keys);
    for (size_t i = 0; i < 19; ++i) {
        ZoRef<ZoTypeRef> value = ZoRef<ZoTypeRef>::retain(keys[18 - i]);
        const auto number = static_cast<int64_t>(i * 1000);
        if (i < 6) value = zoAdopt<ZoTypeRef>(ZoNumberCreate(nullptr, kZoNumberSInt64Type, &number));
        if (i == 6 || i == 7) value = zoAdopt<ZoTypeRef>(makeDictionary(twoKeys).release());
        if (i == 8) value = zoAdopt<ZoTypeRef>(ZoDataCreate(nullptr, reinterpret_cast<const uint8_t*>(&keys), 40));
        ZoDictionarySetValue(extensions.get(), keys[i], value.get());
    }
    for (auto _ : state) {
        const auto copy = zoAdopt(ZoPropertyListCreateDeepCopy(nullptr, extensions.get(), kZoPropertyListImmutable));
        if (!copy) std::abort();
    }
}
BENCHMARK(DeepCopy19_luvia);

// A property list of 32,000 keys of eight units. The hostile ones all have one hash if the hash has no key: their ends
// made a factor 0 once.
void readKeys(benchmark::State& state, std::string_view end)
{
    std::string text = "<plist><dict>";
    for (int i = 0; i < 32000; ++i) {
        text += "<key>";
        for (int shift = 12; shift >= 0; shift -= 4) text += static_cast<char>('a' + (i >> shift & 15));
        (text += end) += "</key><true/>";
    }
    text += "</dict></plist>";
    const auto data = zoAdopt(
        ZoDataCreate(nullptr, reinterpret_cast<const uint8_t*>(text.data()), static_cast<ZoIndex>(text.size())));
    for (auto _ : state) {
        const auto list = zoAdopt(ZoPropertyListCreateWithData(nullptr, data.get(), 0, nullptr, nullptr));
        if (!list) std::abort();
    }
}
void ReadHostileKeys_luvia(benchmark::State& state) { readKeys(state, "\u28DB\uA0B4\u7ED1\uE703"); }
void ReadOrdinaryKeys_luvia(benchmark::State& state) { readKeys(state, "\u3061\u3062\u3063\u3064"); }
BENCHMARK(ReadHostileKeys_luvia)->Unit(benchmark::kMicrosecond);
BENCHMARK(ReadOrdinaryKeys_luvia)->Unit(benchmark::kMicrosecond);

void createNumbers(benchmark::State& state, int64_t first)
{
    int64_t value = first;
    for (auto _ : state) {
        ZoNumberRef number = ZoNumberCreate(nullptr, kZoNumberSInt64Type, &value);
        benchmark::DoNotOptimize(number);
        ZoRelease(number);
        value = first + ((value + 1) & 0x7F);
    }
}
void CreateNumber_luvia(benchmark::State& state) { createNumbers(state, int64_t{1} << 40); }
void CreateSmallNumber_luvia(benchmark::State& state) { createNumbers(state, 0); }
BENCHMARK(CreateNumber_luvia);
BENCHMARK(CreateSmallNumber_luvia);

void CreateNumber_malloc(benchmark::State& state)
{
    int64_t value = int64_t{1} << 40;
    for (auto _ : state) {
        benchmark::DoNotOptimize(&value);  // in memory, where the library reads it from
        auto* memory = static_cast<char*>(std::malloc(24));
        std::memcpy(memory + 16, &value, sizeof value);
        benchmark::DoNotOptimize(memory);
        benchmark::ClobberMemory();
        std::free(memory);
        value = (int64_t{1} << 40) + ((value + 1) & 0x7F);
    }
}
BENCHMARK(CreateNumber_malloc);

constexpr char kText[] = "a line of text of 40 characters, as here";

void CreateString_luvia(benchmark::State& state)
{
    const char* text = kText;
    for (auto _ : state) {
        benchmark::DoNotOptimize(text);
        ZoStringRef string = ZoStringCreateWithCString(nullptr, text, kZoStringEncodingASCII);
        benchmark::DoNotOptimize(string);
        ZoRelease(string);
    }
}
BENCHMARK(CreateString_luvia);

void CreateString_malloc(benchmark::State& state)
{
    const char* text = kText;
    for (auto _ : state) {
        benchmark::DoNotOptimize(text);
        const size_t length = std::strlen(text);
        auto* memory = static_cast<char*>(std::malloc(length + 1));
        std::memcpy(memory, text, length + 1);
        benchmark::DoNotOptimize(memory);
        benchmark::ClobberMemory();
        std::free(memory);
    }
}
BENCHMARK(CreateString_malloc);

template <void (*Run)(benchmark::State&)>
void withAnotherThread(benchmark::State& state)
{
    const AnotherThread thread;
    Run(state);
}

BENCHMARK(withAnotherThread<retainRelease>)->Name("RetainReleaseThreaded_luvia");
BENCHMARK(withAnotherThread<copyDestroy>)->Name("RetainReleaseThreaded_sharedPtr");
BENCHMARK(withAnotherThread<createRelease>)->Name("CreateRelease32Threaded_luvia");
BENCHMARK(withAnotherThread<mallocFree>)->Name("CreateRelease32Threaded_malloc");

}  // namespace

BENCHMARK_MAIN();

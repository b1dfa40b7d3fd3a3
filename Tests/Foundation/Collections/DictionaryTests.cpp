#include <gtest/gtest.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <set>
#include <string>
#include <vector>

#include "Foundation/Collections/ZoDictionary.h"
#include "Foundation/Collections/ZoSet.h"
#include "Foundation/Objects/ZoRef.h"
#include "Foundation/Text/ZoString.h"
#include "Foundation/Values/ZoNumber.h"
#include "Tests/Support/FailingAllocator.h"
#include "Tests/Support/Misuse.h"

namespace {

using luvia_test::FailingAllocator;
using Values = std::vector<const void*>;

const void* plain(uintptr_t value) { return reinterpret_cast<const void*>(value); }

ZoRef<ZoNumberRef> number(int64_t value) { return zoAdopt(ZoNumberCreate(nullptr, kZoNumberSInt64Type, &value)); }

ZoRef<ZoStringRef> text(const std::string& ascii)
{
    return zoAdopt(ZoStringCreateWithCString(nullptr, ascii.c_str(), kZoStringEncodingASCII));
}

ZoRef<ZoMutableDictionaryRef> objectDictionary(ZoAllocatorRef allocator = nullptr)
{
    return zoAdopt(
        ZoDictionaryCreateMutable(allocator, 0, &kZoTypeDictionaryKeyCallBacks, &kZoTypeDictionaryValueCallBacks));
}

Values keysOf(ZoDictionaryRef dictionary)
{
    Values keys(static_cast<size_t>(ZoDictionaryGetCount(dictionary)));
    ZoDictionaryGetKeysAndValues(dictionary, keys.data(), nullptr);
    return keys;
}

TEST(Dictionary, enumeratesInOrderOfInsertion)
{
    auto dictionary = zoAdopt(ZoDictionaryCreateMutable(nullptr, 0, nullptr, nullptr));
    for (uintptr_t i = 0; i < 100; ++i) ZoDictionaryAddValue(dictionary.get(), plain(i * 37 % 100), plain(i));
    ZoDictionarySetValue(dictionary.get(), plain(74), plain(1000));  // keeps its place
    ZoDictionaryAddValue(dictionary.get(), plain(37), plain(1000));  // changes nothing
    ZoDictionaryRemoveValue(dictionary.get(), plain(0));
    ZoDictionaryRemoveValue(dictionary.get(), plain(4711));
    ZoDictionaryAddValue(dictionary.get(), plain(0), plain(7));  // goes to the end
    Values expected;
    for (uintptr_t i = 1; i < 100; ++i) expected.push_back(plain(i * 37 % 100));
    expected.push_back(plain(0));
    EXPECT_EQ(keysOf(dictionary.get()), expected);
    EXPECT_EQ(ZoDictionaryGetValue(dictionary.get(), plain(74)), plain(1000));
    EXPECT_EQ(ZoDictionaryGetValue(dictionary.get(), plain(37)), plain(1));

    Values applied;
    ZoDictionaryApplyFunction(
        dictionary.get(), [](const void* key, const void*, void* out) { static_cast<Values*>(out)->push_back(key); },
        &applied);
    EXPECT_EQ(applied, expected);
    EXPECT_EQ(keysOf(zoAdopt(ZoDictionaryCreateCopy(nullptr, dictionary.get())).get()), expected);
}

TEST(Dictionary, tellsAbsentFromNothing)
{
    auto dictionary = zoAdopt(ZoDictionaryCreateMutable(nullptr, 0, nullptr, nullptr));
    ZoDictionarySetValue(dictionary.get(), nullptr, plain(5));
    ZoDictionarySetValue(dictionary.get(), plain(1), nullptr);
    const void* value = plain(9);
    EXPECT_TRUE(ZoDictionaryGetValueIfPresent(dictionary.get(), plain(1), &value));
    EXPECT_EQ(value, nullptr);
    EXPECT_EQ(ZoDictionaryGetValue(dictionary.get(), nullptr), plain(5));
    value = plain(9);
    EXPECT_FALSE(ZoDictionaryGetValueIfPresent(dictionary.get(), plain(2), &value));
    EXPECT_EQ(value, nullptr);
    EXPECT_EQ(ZoDictionaryGetCountOfKey(dictionary.get(), plain(1)), 1);
    EXPECT_EQ(ZoDictionaryGetCountOfKey(dictionary.get(), plain(2)), 0);
    EXPECT_TRUE(ZoDictionaryContainsValue(dictionary.get(), nullptr));
    EXPECT_FALSE(ZoDictionaryContainsValue(dictionary.get(), plain(6)));
}

TEST(Dictionary, findsConstantAndMadeStringsAlike)
{
    auto dictionary = objectDictionary();
    for (int i = 0; i < 50; ++i) ZoDictionarySetValue(dictionary.get(), text("key" + std::to_string(i)).get(), kZoNull);
    EXPECT_TRUE(ZoDictionaryContainsKey(dictionary.get(), ZOSTR("key7")));
    EXPECT_FALSE(ZoDictionaryContainsKey(dictionary.get(), ZOSTR("key50")));
    ZoDictionarySetValue(dictionary.get(), ZOSTR("key7"), kZoBooleanTrue);
    EXPECT_EQ(ZoDictionaryGetCount(dictionary.get()), 50);
    EXPECT_EQ(ZoDictionaryGetValue(dictionary.get(), text("key7").get()), kZoBooleanTrue);
}

TEST(Dictionary, ownsWhatItHolds)
{
    auto key = text("a key that is made"), equalKey = text("a key that is made");
    auto first = number(1000001), second = number(1000002);
    {
        auto dictionary = objectDictionary();
        ZoDictionarySetValue(dictionary.get(), key.get(), first.get());
        ZoDictionarySetValue(dictionary.get(), equalKey.get(), second.get());
        EXPECT_EQ(ZoGetRetainCount(key.get()), 2) << "the key that was first stays";
        EXPECT_EQ(ZoGetRetainCount(equalKey.get()), 1);
        EXPECT_EQ(ZoGetRetainCount(first.get()), 1);
        auto copy = zoAdopt(ZoDictionaryCreateMutableCopy(nullptr, 0, dictionary.get()));
        ZoDictionaryRemoveValue(dictionary.get(), key.get());
        EXPECT_EQ(ZoDictionaryGetCount(copy.get()), 1);
        ZoDictionaryRemoveAllValues(copy.get());
        EXPECT_EQ(ZoGetRetainCount(second.get()), 1);
        ZoDictionarySetValue(copy.get(), key.get(), second.get());
    }
    EXPECT_EQ(ZoGetRetainCount(key.get()), 1);
    EXPECT_EQ(ZoGetRetainCount(second.get()), 1);
}

TEST(Dictionary, copiesStringKeysThatMayChange)
{
    auto dictionary = zoAdopt(
        ZoDictionaryCreateMutable(nullptr, 0, &kZoCopyStringDictionaryKeyCallBacks, &kZoTypeDictionaryValueCallBacks));
    auto key = zoAdopt(ZoStringCreateMutable(nullptr, 0));
    ZoStringAppend(key.get(), ZOSTR("name"));
    ZoDictionarySetValue(dictionary.get(), key.get(), kZoNull);
    ZoStringAppend(key.get(), ZOSTR(" of something else"));
    EXPECT_TRUE(ZoDictionaryContainsKey(dictionary.get(), ZOSTR("name")));
    EXPECT_FALSE(ZoDictionaryContainsKey(dictionary.get(), key.get()));
}

TEST(Dictionary, callsTheCallbacksThatItWasGiven)
{
    static int balance;
    balance = 0;
    ZoDictionaryKeyCallBacks keys = {};  // numbers that are equal modulo 10
    keys.retain = [](ZoAllocatorRef, const void* value) {
        ++balance;
        return value;
    };
    keys.release = [](ZoAllocatorRef, const void*) { --balance; };
    keys.equal = [](const void* a, const void* b) -> Boolean {
        return reinterpret_cast<uintptr_t>(a) % 10 == reinterpret_cast<uintptr_t>(b) % 10;
    };
    keys.hash = [](const void* value) { return reinterpret_cast<uintptr_t>(value) % 10; };
    auto dictionary = zoAdopt(ZoDictionaryCreateMutable(nullptr, 0, &keys, nullptr));
    const ZoDictionaryKeyCallBacks used = keys;
    std::memset(&keys, 0xFF, sizeof keys);  // the record may go
    for (uintptr_t i = 1; i <= 100; ++i) ZoDictionaryAddValue(dictionary.get(), plain(i), plain(i));
    EXPECT_EQ(ZoDictionaryGetCount(dictionary.get()), 10);
    EXPECT_EQ(balance, 10);
    EXPECT_EQ(ZoDictionaryGetValue(dictionary.get(), plain(77)), plain(7));
    auto copy = zoAdopt(ZoDictionaryCreateMutableCopy(nullptr, 0, dictionary.get()));
    EXPECT_TRUE(ZoEqual(copy.get(), dictionary.get()));
    dictionary.reset();
    EXPECT_EQ(ZoDictionaryGetValue(copy.get(), plain(42)), plain(2));
    copy.reset();
    EXPECT_EQ(balance, 0);

    const void* values[] = {plain(1), plain(2), plain(11), plain(13)};
    ZoRelease(ZoSetCreate(nullptr, values, 4, &used));
    EXPECT_EQ(balance, 0);
}

TEST(Dictionary, isEqualInAnyOrder)
{
    auto a = objectDictionary(), b = objectDictionary();
    for (int64_t i = 0; i < 40; ++i) {
        ZoDictionarySetValue(a.get(), number(i * 1000).get(), number(i).get());
        ZoDictionarySetValue(b.get(), number((39 - i) * 1000).get(), number(39 - i).get());
    }
    EXPECT_TRUE(ZoEqual(a.get(), b.get()));
    EXPECT_EQ(ZoHash(a.get()), ZoHash(b.get()));
    ZoDictionarySetValue(b.get(), number(5000).get(), number(6).get());
    EXPECT_FALSE(ZoEqual(a.get(), b.get()));
    ZoDictionaryRemoveValue(b.get(), number(5000).get());
    EXPECT_FALSE(ZoEqual(a.get(), b.get()));
    ZoDictionarySetValue(b.get(), number(5001).get(), number(5).get());
    EXPECT_FALSE(ZoEqual(a.get(), b.get()));
}

// Release callbacks are foreign code; they find the dictionary in order.
TEST(Dictionary, isWholeWhileItReleases)
{
    static ZoMutableDictionaryRef dictionary;
    static std::vector<ZoIndex> counts;
    counts.clear();
    const ZoDictionaryValueCallBacks values = {.release = [](ZoAllocatorRef, const void* value) {
        counts.push_back(ZoDictionaryGetCount(dictionary));
        ZoDictionarySetValue(dictionary, plain(1000 + reinterpret_cast<uintptr_t>(value)), nullptr);
    }};
    dictionary = ZoDictionaryCreateMutable(nullptr, 0, nullptr, &values);
    for (uintptr_t i = 1; i <= 4; ++i) ZoDictionarySetValue(dictionary, plain(i), plain(i));
    ZoDictionaryRemoveValue(dictionary, plain(2));         // 3 left, 1002 comes
    ZoDictionarySetValue(dictionary, plain(3), plain(5));  // 4 there, 1003 comes
    ZoDictionaryRemoveAllValues(dictionary);               // of 5, three have values
    EXPECT_EQ(counts, (std::vector<ZoIndex>{3, 4, 0, 1, 2}));
    EXPECT_EQ(ZoDictionaryGetCount(dictionary), 3);
    ZoRelease(dictionary);
}

// Entries that come and go must not make the table, or a walk over it, ever longer.
TEST(Dictionary, reusesTheRoomOfWhatWasRemoved)
{
    FailingAllocator allocator;
    auto dictionary = zoAdopt(ZoDictionaryCreateMutable(allocator.get(), 0, nullptr, nullptr));
    for (uintptr_t i = 0; i < 20; ++i) ZoDictionarySetValue(dictionary.get(), plain(i), plain(i));
    const int64_t before = allocator.calls();
    for (uintptr_t i = 20; i < 200000; ++i) {
        ZoDictionarySetValue(dictionary.get(), plain(i), plain(i));
        ZoDictionaryRemoveValue(dictionary.get(), plain(i - 20));
    }
    EXPECT_LE(allocator.calls() - before, 2);
    EXPECT_EQ(keysOf(dictionary.get()).front(), plain(199980));
}

TEST(Dictionary, staysAsItWasWhenMemoryFails)
{
    EXPECT_GE(luvia_test::sweepAllocationFailures([](FailingAllocator& allocator) {
                  auto dictionary = objectDictionary(allocator.get());
                  if (!dictionary) return;
                  ZoIndex expected = 0;
                  for (int64_t i = 0; i < 100; ++i) {
                      auto key = number(i);
                      ZoDictionarySetValue(dictionary.get(), key.get(), key.get());
                      if (ZoDictionaryContainsKey(dictionary.get(), key.get())) ++expected;
                      EXPECT_EQ(ZoDictionaryGetCount(dictionary.get()), expected);
                  }
                  EXPECT_GE(expected, allocator.hasFailed() ? 99 : 100);
                  auto copy = zoAdopt(ZoDictionaryCreateCopy(allocator.get(), dictionary.get()));
                  auto mutableCopy = zoAdopt(ZoDictionaryCreateMutableCopy(allocator.get(), 0, dictionary.get()));
                  EXPECT_TRUE(!mutableCopy || ZoEqual(mutableCopy.get(), dictionary.get()));
              }),
              8);
    EXPECT_GE(luvia_test::sweepAllocationFailures([](FailingAllocator& allocator) {  // keys are copied with it
                  auto dictionary = zoAdopt(ZoDictionaryCreateMutable(
                      allocator.get(), 0, &kZoCopyStringDictionaryKeyCallBacks, &kZoTypeDictionaryValueCallBacks));
                  if (dictionary) ZoDictionarySetValue(dictionary.get(), text("some key").get(), kZoNull);
              }),
              3);
    EXPECT_GE(luvia_test::sweepAllocationFailures([](FailingAllocator& allocator) {
                  const void* values[] = {kZoNull, kZoBooleanTrue, kZoNull};
                  auto set = zoAdopt(ZoSetCreate(allocator.get(), values, 3, &kZoTypeSetCallBacks));
                  auto dictionary = zoAdopt(ZoDictionaryCreate(allocator.get(), values, values, 3, nullptr, nullptr));
                  EXPECT_TRUE(!dictionary || ZoDictionaryGetCount(dictionary.get()) == 2) << "the first of equal keys";
              }),
              4);
}

// The first of equal keys stands, with its value, and so does its place.
TEST(Dictionary, isMadeOfPairsInOnePass)
{
    std::vector<ZoRef<ZoStringRef>> keys;
    Values asKeys, asValues;
    for (int i = 0; i < 19; ++i) keys.push_back(text("key " + std::to_string(i % 17)));
    for (size_t i = 0; i < keys.size(); ++i) {
        asKeys.push_back(keys[i].get());
        asValues.push_back(plain(i + 1));
    }
    const auto made = zoAdopt(
        ZoDictionaryCreate(nullptr, asKeys.data(), asValues.data(), 19, &kZoTypeDictionaryKeyCallBacks, nullptr));
    asKeys.resize(17);
    EXPECT_EQ(keysOf(made.get()), asKeys);
    for (size_t i = 0; i < 17; ++i)
        EXPECT_EQ(ZoDictionaryGetValue(made.get(), text("key " + std::to_string(i)).get()), plain(i + 1));
    EXPECT_FALSE(ZoDictionaryContainsKey(made.get(), ZOSTR("key 17")));
}

// Keys chosen against an unkeyed hash (their ends made a factor of it 0) spread like any others, and what a key hashes
// to is not known outside of the process.
TEST(Hashing, cannotBeSteeredByThoseWhoWriteKeys)
{
    const auto hashOf = [](UniChar first) {
        const UniChar units[] = {first, 'a', 'b', 'c', 0x28DB, 0xA0B4, 0x7ED1, 0xE703};
        return ZoHash(zoAdopt(ZoStringCreateWithCharacters(nullptr, units, 8)).get());
    };
    std::set<ZoHashCode> hashes;
    for (UniChar i = 0; i < 256; ++i) hashes.insert(hashOf(i));
    EXPECT_EQ(hashes.size(), 256u);
    if (getenv("PRINT_HASH")) {
        printf("hash %zu\n", ZoHash(ZOSTR("key")));
        return;
    }
    const auto elsewhere = [] {
        const std::string command =
            "PRINT_HASH=1 '" + std::filesystem::read_symlink("/proc/self/exe").string() + "' --gtest_filter=Hashing.*";
        char output[4096] = {};
        FILE* other = popen(command.c_str(), "r");
        fread(output, 1, sizeof output - 1, other);
        pclose(other);
        const char* hash = strstr(output, "hash ");
        return hash ? strtoull(hash + 5, nullptr, 10) : 0;
    };
    EXPECT_NE(elsewhere(), elsewhere());
}

TEST(Set, holdsDistinctValuesInOrder)
{
    auto one = number(70000), same = number(70000), two = number(80000);
    const void* values[] = {one.get(), two.get(), same.get()};
    const void* reversed[] = {same.get(), two.get(), one.get()};
    auto a = zoAdopt(ZoSetCreate(nullptr, values, 3, &kZoTypeSetCallBacks));
    auto b = zoAdopt(ZoSetCreate(nullptr, reversed + 1, 2, &kZoTypeSetCallBacks));
    EXPECT_EQ(ZoSetGetCount(a.get()), 2);
    const void* out[2];
    ZoSetGetValues(a.get(), out);
    EXPECT_EQ(out[0], one.get());
    EXPECT_EQ(out[1], two.get());
    EXPECT_TRUE(ZoEqual(a.get(), b.get()));
    EXPECT_EQ(ZoHash(a.get()), ZoHash(b.get()));
    EXPECT_TRUE(ZoSetContainsValue(a.get(), same.get()));
    EXPECT_FALSE(ZoEqual(a.get(), zoAdopt(ZoSetCreate(nullptr, values, 1, &kZoTypeSetCallBacks)).get()));
    a.reset();
    b.reset();
    EXPECT_EQ(ZoGetRetainCount(one.get()), 1);
}

TEST(Dictionary, misuseIsReportedOrDefined)
{
    auto dictionary = objectDictionary();
    const auto notDictionary = reinterpret_cast<ZoDictionaryRef>(kZoNull);
    EXPECT_MISUSE(EXPECT_EQ(ZoDictionaryGetCount(notDictionary), 0), "not a dictionary");
    EXPECT_MISUSE(EXPECT_EQ(ZoDictionaryGetValue(nullptr, kZoNull), nullptr), "not a dictionary");
    EXPECT_MISUSE(ZoDictionarySetValue(dictionary.get(), nullptr, kZoNull), "absent object");
    auto fixed = zoAdopt(ZoDictionaryCreateCopy(nullptr, dictionary.get()));
    const ZoIndex count = ZoDictionaryGetCount(fixed.get());
    const auto notMutable = const_cast<ZoMutableDictionaryRef>(fixed.get());
    EXPECT_MISUSE(ZoDictionarySetValue(notMutable, kZoNull, kZoNull), "not mutable");
    EXPECT_MISUSE(ZoDictionaryRemoveAllValues(notMutable), "not mutable");
    EXPECT_EQ(ZoDictionaryGetCount(fixed.get()), count);
    EXPECT_MISUSE(EXPECT_EQ(ZoSetGetCount(reinterpret_cast<ZoSetRef>(kZoNull)), 0), "not a set");
}

}  // namespace

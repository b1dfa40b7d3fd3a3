#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <deque>
#include <filesystem>
#include <set>

#include "Foundation/Collections/ZoSet.h"
#include "Tests/Support/FailingAllocator.h"
#include "Tests/Support/Objects.h"
#include "Tests/Support/SeededRandom.h"

using namespace luvia_test;

namespace {

using Values = std::vector<const void*>;

const void* plain(uintptr_t value) { return reinterpret_cast<const void*>(value); }

Values keysOf(ZoDictionaryRef dictionary)
{
    Values keys(static_cast<size_t>(ZoDictionaryGetCount(dictionary)));
    ZoDictionaryGetKeysAndValues(dictionary, keys.data(), nullptr);
    return keys;
}

constexpr size_t kKeys = 60;

/// Keys that are equal in two forms each: constant and made strings, numbers as integers and as reals.
struct ObjectKeys {
    ObjectKeys()
    {
        for (size_t i = 0; i < kKeys; ++i) {
            texts.push_back("key " + std::to_string(i % 2 ? i : 100 * i));
            made.push_back(str(texts.back()));
            records.push_back({__ZoConstantStringClassReference, ZO_CONSTANT_STRING_FLAGS, texts.back().c_str(),
                               static_cast<ZoIndex>(texts.back().size())});
            numbers.push_back({number(static_cast<int64_t>(1000 * i)), real(1000.0 * static_cast<double>(i))});
            forms[0][i] = i % 3 ? static_cast<const void*>(&records[i]) : numbers[i].first.get();
            forms[1][i] = i % 3 ? static_cast<const void*>(made[i].get()) : numbers[i].second.get();
        }
    }
    std::deque<std::string> texts;
    std::deque<ZoConstantString> records;
    std::vector<ZoRef<ZoStringRef>> made;
    std::vector<std::pair<ZoRef<ZoNumberRef>, ZoRef<ZoNumberRef>>> numbers;
    Values forms[2] = {Values(kKeys), Values(kKeys)};
};

struct Entry {
    size_t key;
    const void *stored, *value;
};

/// Dictionaries with these keys, beside a list in the order of insertion.
void compareWithModel(const ZoDictionaryKeyCallBacks* callBacks, const Values (&forms)[2])
{
    SeededRandom random;
    const auto create = [&] { return zoAdopt(ZoDictionaryCreateMutable(nullptr, 0, callBacks, nullptr)); };
    auto dictionary = create();
    std::vector<Entry> model;
    const auto placeOf = [&](size_t key) {
        return std::find_if(model.begin(), model.end(), [key](const Entry& entry) { return entry.key == key; });
    };
    const auto put = [&](size_t key, const void* form, const void* value, bool replaces) {
        (replaces ? ZoDictionarySetValue : ZoDictionaryAddValue)(dictionary.get(), form, value);
        if (const auto place = placeOf(key); place == model.end())
            model.push_back({key, form, value});
        else if (replaces)
            place->value = value;
    };
    const auto remove = [&](size_t key) {
        ZoDictionaryRemoveValue(dictionary.get(), forms[random.below(2)][key]);
        if (const auto place = placeOf(key); place != model.end()) model.erase(place);
    };
    for (uintptr_t step = 1; step < 4000; ++step) {
        const size_t key = random.below(step % 1000 < 500 ? 7 : kKeys), operation = random.below(32);
        const Values& form = forms[random.below(2)];
        if (operation < 14) {
            put(key, form[key], plain(step), operation % 2);
        } else if (operation < 26) {
            remove(key);
        } else if (operation < 28) {  // a run of neighbours comes, a run goes
            for (size_t i = key; i < std::min(key + 20, kKeys); ++i) put(i, form[i], plain(step), true);
        } else if (operation == 28) {
            for (size_t i = key; i < std::min(key + 20, kKeys); ++i) remove(i);
        } else if (operation == 29) {  // from here on, the copy
            dictionary = zoAdopt(ZoDictionaryCreateMutableCopy(nullptr, static_cast<ZoIndex>(key), dictionary.get()));
        } else if (operation == 30 && key == 0) {
            ZoDictionaryRemoveAllValues(dictionary.get());
            model.clear();
        } else if (operation == 31) {  // equal in any order, and only with equal values
            const auto other = create();
            for (auto entry = model.rbegin(); entry != model.rend(); ++entry)
                ZoDictionarySetValue(other.get(), form[entry->key], entry->value);
            EXPECT_TRUE(ZoEqual(other.get(), dictionary.get()));
            EXPECT_EQ(ZoHash(other.get()), ZoHash(dictionary.get()));
            if (placeOf(key) == model.end()) continue;
            ZoDictionarySetValue(other.get(), form[key], plain(step));
            EXPECT_FALSE(ZoEqual(other.get(), dictionary.get()));
            ZoDictionaryRemoveValue(other.get(), form[key]);
            EXPECT_FALSE(ZoEqual(other.get(), dictionary.get()) || ZoEqual(dictionary.get(), other.get()));
        }
        Values expected;
        for (const Entry& entry : model) expected.push_back(entry.stored);
        ASSERT_EQ(keysOf(dictionary.get()), expected) << "step " << step;
        for (size_t i = 0; i < kKeys; ++i) {
            const auto place = placeOf(i);
            const void* value = plain(1);
            ASSERT_EQ(ZoDictionaryGetValueIfPresent(dictionary.get(), form[i], &value), place != model.end());
            ASSERT_EQ(value, place != model.end() ? place->value : nullptr) << "step " << step << " key " << i;
        }
    }
}

TEST(Dictionary, agreesWithAListUnderRandomChanges)
{
    Values addresses(kKeys);
    for (size_t i = 0; i < kKeys; ++i) addresses[i] = plain(i);
    // Keys of few hashes lie behind one another in the index; what goes leaves none of the others unreachable.
    const ZoDictionaryKeyCallBacks clustered = {
        .hash = [](const void* value) { return reinterpret_cast<uintptr_t>(value) % 5; }};
    compareWithModel(nullptr, {addresses, addresses});
    compareWithModel(&clustered, {addresses, addresses});
    const ObjectKeys objects;
    compareWithModel(&kZoTypeDictionaryKeyCallBacks, objects.forms);
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
    EXPECT_EQ(ZoDictionaryGetCountOfKey(dictionary.get(), plain(1)), 1);
    EXPECT_EQ(ZoDictionaryGetCountOfKey(dictionary.get(), plain(2)), 0);
    EXPECT_TRUE(ZoDictionaryContainsValue(dictionary.get(), nullptr));
    EXPECT_FALSE(ZoDictionaryContainsValue(dictionary.get(), plain(6)));
    Values applied;
    ZoDictionaryApplyFunction(
        dictionary.get(), [](const void* key, const void*, void* out) { static_cast<Values*>(out)->push_back(key); },
        &applied);
    EXPECT_EQ(applied, (Values{nullptr, plain(1)}));
}

TEST(Dictionary, ownsWhatItHolds)
{
    auto key = str("a key that is made"), equalKey = str("a key that is made");
    auto first = number(1000001), second = number(1000002);
    {
        auto values = dictionary({{key.get(), first.get()}, {equalKey.get(), second.get()}});
        EXPECT_EQ(ZoGetRetainCount(key.get()), 2) << "the key that was first stays";
        EXPECT_EQ(ZoGetRetainCount(equalKey.get()), 1);
        EXPECT_EQ(ZoGetRetainCount(first.get()), 1);
        auto copy = zoAdopt(ZoDictionaryCreateMutableCopy(nullptr, 0, values.get()));
        ZoDictionaryRemoveValue(values.get(), key.get());
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
    const auto key = zoAdopt(ZoStringCreateMutableCopy(nullptr, 0, ZOSTR("name")));
    FailingAllocator allocator;
    {
        const auto dictionary = zoAdopt(ZoDictionaryCreateMutable(
            allocator.get(), 0, &kZoCopyStringDictionaryKeyCallBacks, &kZoTypeDictionaryValueCallBacks));
        ZoDictionarySetValue(dictionary.get(), key.get(), kZoNull);
        ZoStringAppend(key.get(), ZOSTR(" of something else"));
        EXPECT_TRUE(ZoDictionaryContainsKey(dictionary.get(), ZOSTR("name")));
        EXPECT_FALSE(ZoDictionaryContainsKey(dictionary.get(), key.get()));
        allocator.failAt(1);
        ZoDictionarySetValue(dictionary.get(), key.get(), kZoNull);
        EXPECT_EQ(ZoDictionaryGetCount(dictionary.get()), 1) << "no memory for the copy";
    }
    EXPECT_EQ(allocator.liveBlocks(), 0);
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
    ZoDictionaryValueCallBacks values = {.retain = keys.retain, .release = keys.release, .equal = keys.equal};
    auto dictionary = zoAdopt(ZoDictionaryCreateMutable(nullptr, 0, &keys, &values));
    const ZoDictionaryKeyCallBacks used = keys;
    std::memset(&keys, 0xFF, sizeof keys);  // the records may go
    std::memset(&values, 0xFF, sizeof values);
    for (uintptr_t i = 1; i <= 100; ++i) ZoDictionaryAddValue(dictionary.get(), plain(i), plain(i));
    EXPECT_EQ(ZoDictionaryGetCount(dictionary.get()), 10);
    EXPECT_EQ(balance, 20);
    EXPECT_EQ(ZoDictionaryGetValue(dictionary.get(), plain(77)), plain(7));
    auto copy = zoAdopt(ZoDictionaryCreateMutableCopy(nullptr, 0, dictionary.get()));
    ZoDictionarySetValue(copy.get(), plain(7), plain(17));
    EXPECT_TRUE(ZoEqual(copy.get(), dictionary.get()));
    dictionary.reset();
    EXPECT_EQ(ZoDictionaryGetValue(copy.get(), plain(42)), plain(2));
    copy.reset();
    EXPECT_EQ(balance, 0);

    const void* members[] = {plain(1), plain(2), plain(11), plain(13)};
    ZoRelease(ZoSetCreate(nullptr, members, 4, &used));
    EXPECT_EQ(balance, 0);
}

// Release callbacks are foreign code; they find the dictionary in order.
TEST(Dictionary, isWholeWhileItReleases)
{
    static ZoMutableDictionaryRef dictionary;
    static std::vector<ZoIndex> counts;
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
    for (uintptr_t i = 20; i < 20000; ++i) {
        ZoDictionarySetValue(dictionary.get(), plain(i), plain(i));
        ZoDictionaryRemoveValue(dictionary.get(), plain(i - 20));
    }
    EXPECT_LE(allocator.calls() - before, 2);
}

// The first of equal keys stands, with its value, and so does its place.
TEST(Dictionary, isMadeOfPairsInOnePass)
{
    const void *keys[19], *values[19];
    std::vector<ZoRef<ZoStringRef>> texts;
    for (size_t i = 0; i < 19; ++i) {
        texts.push_back(str("key " + std::to_string(i % 17)));
        keys[i] = texts.back().get();
        values[i] = plain(i + 1);
    }
    const auto made = zoAdopt(ZoDictionaryCreate(nullptr, keys, values, 19, &kZoTypeDictionaryKeyCallBacks, nullptr));
    EXPECT_EQ(keysOf(made.get()), Values(keys, keys + 17));
    EXPECT_EQ(ZoDictionaryGetValue(made.get(), ZOSTR("key 1")), plain(2));
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

}  // namespace

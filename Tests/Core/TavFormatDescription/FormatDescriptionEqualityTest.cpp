// What counts when extensions are compared: a table of cases, and random dictionaries beside a model that copies and
// removes.

#include <gtest/gtest.h>

#include <map>
#include <optional>
#include <random>
#include <set>
#include <vector>

#include "Foundation/Collections/ZoArray.h"
#include "Foundation/Values/ZoNumber.h"
#include "Tests/Core/TavFormatDescription/Extensions.h"

using namespace luvia_test;

namespace {

enum class Keys { absent, string, array, neither };

ZoRef<ZoTypeRef> keysToIgnore(Keys form, std::vector<const char*> names)
{
    if (form == Keys::absent) return nullptr;
    if (form == Keys::neither) return ZoRef<ZoTypeRef>::retain(kZoBooleanTrue);
    if (form == Keys::string) return ZoRef<ZoTypeRef>::retain(Value(names.at(0)).get());
    const auto array = zoAdopt(ZoArrayCreateMutable(nullptr, 0, &kZoTypeArrayCallBacks));
    ZoArrayAppendValue(array.get(), kZoBooleanFalse);  // no string: names nothing
    for (const char* name : names) ZoArrayAppendValue(array.get(), Value(name).get());
    return ZoRef<ZoTypeRef>::retain(array.get());
}

#define ATOMS "SampleDescriptionExtensionAtoms"

struct Row {
    const char* what;
    Extensions a, b;
    Keys keysForm;
    std::vector<const char*> keys;
    Keys atomKeysForm;
    std::vector<const char*> atomKeys;
    bool equal;
};

using enum Keys;
const Row& row(size_t index)
{
    static const Extensions none{std::initializer_list<std::pair<const char*, Value>>{}};
    static const Extensions x1{{"x", "1"}}, x2{{"x", "2"}}, x1y{{"x", "1"}, {"y", "1"}};
    static const Extensions iso{{"x", "1"}, {"VerbatimISOSampleEntry", "1"}};
    static const Extensions sd{{"VerbatimSampleDescription", "1"}, {"x", "1"}};
    static const Extensions atomsA{{ATOMS, {{"avcC", "1"}, {"pasp", "1"}}}},
        atomsB{{ATOMS, {{"avcC", "2"}, {"pasp", "1"}}}};
    static const Extensions atomsC{{ATOMS, {{"avcC", "1"}, {"pasp", "1"}, {"colr", "1"}}}},
        onlyAvcC{{ATOMS, {{"avcC", "1"}}}};
    static const Extensions textAtoms{{ATOMS, "text"}}, otherTextAtoms{{ATOMS, "other"}};
    static const Row kRows[] = {
        {"the same", x1y, {{"y", "1"}, {"x", "1"}}, absent, {}, absent, {}, true},
        {"another value", x1, x2, absent, {}, absent, {}, false},
        {"one more, on either side", x1, x1y, absent, {}, absent, {}, false},
        {"as many under other keys", x1, {{"z", "1"}}, string, {"q"}, absent, {}, false},
        {"the verbatim record counts", x1, iso, absent, {}, absent, {}, false},
        {"and does not where some key is ignored", x1, iso, string, {"q"}, absent, {}, true},
        {"nor with atom keys alone", sd, iso, absent, {}, array, {}, true},
        {"nor with keys of no use", sd, iso, neither, {}, absent, {}, true},
        {"which ignore nothing else", x1, x2, neither, {}, neither, {}, false},
        {"a string", x1, x2, string, {"x"}, absent, {}, true},
        {"of another case", x1, x2, string, {"X"}, absent, {}, false},
        {"an array", x1y, none, array, {"y", "x"}, absent, {}, true},
        {"an array that misses one", x1y, none, array, {"y"}, absent, {}, false},
        {"an empty array", x1, x1y, array, {}, absent, {}, false},
        {"atoms", atomsA, atomsB, absent, {}, absent, {}, false},
        {"an atom to ignore", atomsA, atomsB, absent, {}, string, {"avcC"}, true},
        {"another atom to ignore", atomsA, atomsB, absent, {}, string, {"pasp"}, false},
        {"one atom more", atomsA, atomsC, absent, {}, array, {"avcC"}, false},
        {"which is ignored", atomsA, atomsC, absent, {}, array, {"avcC", "colr"}, true},
        {"atom keys are no extension keys", x1, x2, absent, {}, string, {"x"}, false},
        {"extension keys are no atom keys", atomsA, atomsB, string, {"avcC"}, string, {"q"}, false},
        {"atoms whose all are ignored, and no atoms", onlyAvcC, none, absent, {}, string, {"avcC"}, true},
        {"the rest still counts", {{ATOMS, {{"avcC", "1"}}}, {"x", "1"}}, x2, absent, {}, string, {"avcC"}, false},
        {"atoms ignored as an extension", atomsA, atomsB, string, {ATOMS}, string, {"q"}, true},
        {"atoms that are no dictionary", textAtoms, {{ATOMS, "text"}}, absent, {}, string, {"avcC"}, true},
        {"and differ", textAtoms, otherTextAtoms, absent, {}, string, {"avcC"}, false},
        {"or only one of them is", textAtoms, onlyAvcC, absent, {}, string, {"avcC"}, false},
    };
    static const Row kEnd{nullptr, none, none, absent, {}, absent, {}, false};
    return index < std::size(kRows) ? kRows[index] : kEnd;
}

}  // namespace

TEST(FormatDescriptionEquality, countsWhatIsNotIgnored)
{
    for (size_t i = 0; row(i).what; ++i) {
        SCOPED_TRACE(row(i).what);
        const auto keys = keysToIgnore(row(i).keysForm, row(i).keys);
        const auto atomKeys = keysToIgnore(row(i).atomKeysForm, row(i).atomKeys);
        const auto a = describe(row(i).a.dictionary()), b = describe(row(i).b.dictionary());
        EXPECT_EQ(LuFormatDescriptionEqualIgnoringExtensionKeys(a.get(), b.get(), keys.get(), atomKeys.get()),
                  row(i).equal);
        EXPECT_EQ(LuFormatDescriptionEqualIgnoringExtensionKeys(b.get(), a.get(), keys.get(), atomKeys.get()),
                  row(i).equal);
        EXPECT_TRUE(LuFormatDescriptionEqualIgnoringExtensionKeys(a.get(), a.get(), keys.get(), atomKeys.get()));
        if (keys || atomKeys) continue;
        EXPECT_EQ(LuFormatDescriptionEqual(a.get(), b.get()), row(i).equal);
    }
}

TEST(FormatDescriptionEquality, takesAbsentOnesForWhatTheyAre)
{
    const auto compare = TavFormatDescriptionExtensionsDictionariesEqualIgnoringKeys;
    const Extensions empty{std::initializer_list<std::pair<const char*, Value>>{}}, x{{"x", "1"}};
    for (const ZoTypeRef keys : {ZoTypeRef{nullptr}, static_cast<ZoTypeRef>(ZOSTR("q"))}) {
        EXPECT_TRUE(compare(nullptr, nullptr, keys, nullptr));
        EXPECT_TRUE(compare(nullptr, empty.dictionary(), keys, keys));
        EXPECT_TRUE(compare(empty.dictionary(), nullptr, nullptr, keys));
        EXPECT_FALSE(compare(nullptr, x.dictionary(), keys, nullptr));
        EXPECT_FALSE(compare(x.dictionary(), nullptr, nullptr, keys));
        EXPECT_FALSE(compare(x.dictionary(), empty.dictionary(), keys, keys));
    }
    EXPECT_TRUE(compare(nullptr, x.dictionary(), ZOSTR("x"), nullptr));

    const auto description = describe(), emptyOne = describe(empty.dictionary());
    EXPECT_TRUE(LuFormatDescriptionEqual(nullptr, nullptr));
    EXPECT_TRUE(LuFormatDescriptionEqualIgnoringExtensionKeys(nullptr, nullptr, nullptr, nullptr));
    EXPECT_TRUE(LuFormatDescriptionEqual(description.get(), emptyOne.get()));
    EXPECT_FALSE(LuFormatDescriptionEqual(description.get(), nullptr));
    EXPECT_FALSE(LuFormatDescriptionEqual(nullptr, description.get()));
    EXPECT_FALSE(LuFormatDescriptionEqualIgnoringExtensionKeys(description.get(), nullptr, nullptr, nullptr));
    EXPECT_FALSE(LuFormatDescriptionEqualIgnoringExtensionKeys(nullptr, description.get(), ZOSTR("q"), nullptr));
    const auto otherType = describe(nullptr, kLuMediaType_Text), otherSubType = describe(nullptr, kSubtitle, 7);
    EXPECT_FALSE(LuFormatDescriptionEqual(description.get(), otherType.get()));
    EXPECT_FALSE(LuFormatDescriptionEqual(description.get(), otherSubType.get()));
}

namespace {

using Pairs = std::map<std::string, std::string>;

struct ModelExtensions {
    Pairs pairs;
    std::optional<Pairs> atoms;
};

ZoRef<ZoMutableDictionaryRef> dictionaryOf(const Pairs& pairs)
{
    auto dictionary = zoAdopt(
        ZoDictionaryCreateMutable(nullptr, 0, &kZoTypeDictionaryKeyCallBacks, &kZoTypeDictionaryValueCallBacks));
    for (const auto& [key, value] : pairs)
        ZoDictionarySetValue(dictionary.get(), Value(key.c_str()).get(), Value(value.c_str()).get());
    return dictionary;
}

ZoRef<ZoMutableDictionaryRef> dictionaryOf(const ModelExtensions& model)
{
    auto dictionary = dictionaryOf(model.pairs);
    if (model.atoms) ZoDictionarySetValue(dictionary.get(), ZOSTR(ATOMS), dictionaryOf(*model.atoms).get());
    return dictionary;
}

bool modelEqual(ModelExtensions a, ModelExtensions b, const std::set<std::string>& keys,
                const std::set<std::string>& atomKeys)
{
    for (ModelExtensions* model : {&a, &b}) {
        model->pairs.erase("VerbatimSampleDescription");
        model->pairs.erase("VerbatimISOSampleEntry");
        for (const std::string& key : keys) model->pairs.erase(key);
        if (keys.contains(ATOMS)) model->atoms.reset();
        if (!model->atoms) model->atoms.emplace();
        for (const std::string& key : atomKeys) model->atoms->erase(key);
    }
    return a.pairs == b.pairs && a.atoms == b.atoms;
}

}  // namespace

TEST(FormatDescriptionEquality, agreesWithCopiesThatKeysWereRemovedFrom)
{
    const unsigned seed = std::random_device{}();
    SCOPED_TRACE(seed);
    std::mt19937 random(seed);
    const auto oneIn = [&](unsigned n) { return random() % n == 0; };
    static const char* const kNames[] = {"a", "b", "c", "VerbatimSampleDescription", "VerbatimISOSampleEntry", ATOMS};
    const auto somePairs = [&] {
        Pairs pairs;
        for (size_t i = 0; i < 5; ++i)
            if (oneIn(2)) pairs.emplace(kNames[i], oneIn(3) ? "1" : "2");
        return pairs;
    };
    const auto someKeys = [&] {
        std::set<std::string> keys;
        for (const char* name : kNames)
            if (oneIn(3)) keys.insert(name);
        return keys;
    };
    const auto arrayOf = [](const std::set<std::string>& keys) {
        std::vector<const char*> names;
        for (const std::string& key : keys) names.push_back(key.c_str());
        return keysToIgnore(array, names);
    };
    int equals = 0;
    for (int turn = 0; turn < 5000; ++turn) {
        ModelExtensions a{somePairs(), somePairs()}, b = a;
        if (oneIn(2)) b.pairs = somePairs();
        if (oneIn(2)) b.atoms = somePairs();
        if (oneIn(4)) b.atoms.reset();
        const auto keys = someKeys(), atomKeys = someKeys();
        const bool expected = modelEqual(a, b, keys, atomKeys);
        equals += expected;
        ASSERT_EQ(TavFormatDescriptionExtensionsDictionariesEqualIgnoringKeys(
                      dictionaryOf(a).get(), dictionaryOf(b).get(), arrayOf(keys).get(), arrayOf(atomKeys).get()),
                  expected)
            << "turn " << turn;
    }
    EXPECT_GT(equals, 500);
    EXPECT_LT(equals, 4500);
}

// What counts when extensions are compared: random dictionaries beside a model that copies and removes.

#include <gtest/gtest.h>

#include <map>
#include <optional>
#include <random>
#include <set>

#include "Tests/Core/TavFormatDescription/Extensions.h"

using namespace luvia_test;

namespace {

#define ATOMS "SampleDescriptionExtensionAtoms"

using Keys = std::set<std::string>;
using Pairs = std::map<std::string, std::string>;

struct Model {
    Pairs pairs;
    std::optional<Pairs> atoms;
    std::string atomsText;  // in place of a dictionary
};

ZoRef<ZoMutableDictionaryRef> dictionaryOf(const Pairs& pairs)
{
    auto made = dictionary();
    for (const auto& [key, value] : pairs)
        ZoDictionarySetValue(made.get(), Value(key.c_str()).get(), Value(value.c_str()).get());
    return made;
}

ZoRef<ZoMutableDictionaryRef> dictionaryOf(const Model& model)
{
    auto dictionary = dictionaryOf(model.pairs);
    if (!model.atomsText.empty())
        ZoDictionarySetValue(dictionary.get(), ZOSTR(ATOMS), Value(model.atomsText.c_str()).get());
    else if (model.atoms)
        ZoDictionarySetValue(dictionary.get(), ZOSTR(ATOMS), dictionaryOf(*model.atoms).get());
    return dictionary;
}

/// Absent, one string, or an array that also holds what is no string; or what names nothing.
ZoRef<ZoTypeRef> objectOf(const std::optional<Keys>& keys, bool namesNothing)
{
    if (namesNothing) return ZoRef<ZoTypeRef>::retain(kZoBooleanTrue);
    if (!keys) return nullptr;
    if (keys->size() == 1) return ZoRef<ZoTypeRef>::retain(Value(keys->begin()->c_str()).get());
    const auto list = array({kZoBooleanFalse});
    for (const std::string& key : *keys) ZoArrayAppendValue(list.get(), Value(key.c_str()).get());
    return ZoRef<ZoTypeRef>::retain(list.get());
}

bool modelEqual(Model a, Model b, const std::optional<Keys>& keys, const std::optional<Keys>& atomKeys)
{
    const bool bothAreDictionaries = a.atomsText.empty() && b.atomsText.empty();
    for (Model* model : {&a, &b}) {
        if (!keys && !atomKeys) break;
        model->pairs.erase("VerbatimSampleDescription");
        model->pairs.erase("VerbatimISOSampleEntry");
        for (const std::string& key : keys.value_or(Keys{})) model->pairs.erase(key);
        if (keys && keys->contains(ATOMS)) *model = {model->pairs, {}, ""};
        if (!atomKeys || !bothAreDictionaries) continue;
        if (!model->atoms) model->atoms.emplace();
        for (const std::string& key : *atomKeys) model->atoms->erase(key);
    }
    for (Model* model : {&a, &b})
        if (!model->atomsText.empty()) model->atoms.reset();
    return a.pairs == b.pairs && a.atoms == b.atoms && a.atomsText == b.atomsText;
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
        std::optional<Keys> keys;
        if (oneIn(3)) return keys;
        keys.emplace();
        for (const char* name : kNames)
            if (oneIn(3)) keys->insert(name);
        return keys;
    };
    int equals = 0;
    for (int turn = 0; turn < 5000; ++turn) {
        Model a{somePairs(), somePairs(), ""};
        if (oneIn(8)) a.atomsText = "text";
        Model b = a;
        if (oneIn(2)) b.pairs = somePairs();
        if (oneIn(2)) b.atoms = somePairs();
        if (oneIn(4)) b.atoms.reset();
        if (oneIn(8)) b.atomsText = oneIn(2) ? "text" : "";
        auto keys = someKeys(), atomKeys = someKeys();
        const bool namesNothing = oneIn(8);
        if (namesNothing) keys.emplace();
        const auto keysObject = objectOf(keys, namesNothing), atomKeysObject = objectOf(atomKeys, false);
        const bool expected = modelEqual(a, b, keys, atomKeys);
        equals += expected;
        const auto one = describe(dictionaryOf(a).get()), other = describe(dictionaryOf(b).get());
        ASSERT_EQ(LuFormatDescriptionEqualIgnoringExtensionKeys(one.get(), other.get(), keysObject.get(),
                                                                atomKeysObject.get()),
                  expected)
            << "turn " << turn;
        if (keysObject || atomKeysObject) continue;
        ASSERT_EQ(LuFormatDescriptionEqual(one.get(), other.get()), expected) << "turn " << turn;
    }
    EXPECT_GT(equals, 500);
    EXPECT_LT(equals, 4500);
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
    }
    EXPECT_TRUE(compare(nullptr, x.dictionary(), ZOSTR("x"), nullptr));

    const auto description = describe();
    EXPECT_TRUE(LuFormatDescriptionEqual(nullptr, nullptr));
    EXPECT_TRUE(LuFormatDescriptionEqualIgnoringExtensionKeys(nullptr, nullptr, nullptr, nullptr));
    EXPECT_FALSE(LuFormatDescriptionEqual(description.get(), nullptr));
    EXPECT_FALSE(LuFormatDescriptionEqual(nullptr, description.get()));
    EXPECT_FALSE(LuFormatDescriptionEqualIgnoringExtensionKeys(description.get(), nullptr, nullptr, nullptr));
    EXPECT_FALSE(LuFormatDescriptionEqual(description.get(), describe(nullptr, kLuMediaType_Text).get()));
    EXPECT_FALSE(LuFormatDescriptionEqual(description.get(), describe(nullptr, kSubtitle, 7).get()));
}

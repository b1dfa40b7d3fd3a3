#include <gtest/gtest.h>

#include "Tests/Platform/Diagnostics/DiagnosticsSupport.h"
#include "Tests/Support/Objects.h"

namespace {

using namespace luvia_test;

// A key of its own for each case: the registry only grows.
ZoRef<ZoStringRef> newKey()
{
    static int sCount = 0;
    return zoAdopt(ZoStringCreateWithFormat(nullptr, nullptr, ZOSTR("note_test_%d"), ++sCount));
}

// Notes live as long as the process.
TavNote* newNote(ZoStringRef key, int32_t defaultValue)
{
    auto* note = new TavNote(-99);
    uintptr_t emitter = 7;
    tav_note_initialize_category_with_default_work_Zo(note, key, ZOSTR(kTavApplicationID), nullptr, nullptr,
                                                      defaultValue, nullptr, &emitter);
    EXPECT_EQ(emitter, 0u);
    return note;
}

TEST(Notes, readWhatThePreferencesSay)
{
    struct Row {
        const char* preference;
        int32_t expected;  // with the default 3
    };
    for (const Row& row : {Row{"yes", 1}, Row{"ON", 1}, Row{"True", 1}, Row{"no", 0}, Row{"Off", 0}, Row{"false", 0},
                           Row{"0", 0}, Row{"5", 5}, Row{"-3", 0}, Row{"loud", 3}, Row{"", 3}}) {
        const auto key = newKey();
        setPreference(key.get(), row.preference);
        EXPECT_EQ(*newNote(key.get(), 3), row.expected) << row.preference;
    }
    const auto key = newKey();
    const TavNote* note = newNote(key.get(), 3);
    EXPECT_EQ(*note, 3) << "the default while the store is silent";
    setPreference(key.get(), int64_t{12});
    EXPECT_EQ(*note, 12);
    setPreference(key.get(), int64_t{1} << 40);
    EXPECT_EQ(*note, 3) << "a number that is no int leaves the default";
    setPreference(key.get(), kZoBooleanTrue);
    EXPECT_EQ(*note, 1);
    setPreference(key.get(), kZoBooleanFalse);
    EXPECT_EQ(*note, 0);
    const auto list = array();
    setPreference(key.get(), list.get());
    EXPECT_EQ(*note, 3) << "another type leaves the default";
    setPreference(key.get(), int64_t{0});  // or each later refresh would complain again
}

TEST(Notes, startAtNothingWhereDefaultsAreSwitchedOff)
{
    const auto silent = newKey(), told = newKey();
    setPreference(told.get(), int64_t{4});
    setPreference(ZOSTR("automatic_tav_notes"), "no");
    TavNote *a = newNote(silent.get(), 1), *b = newNote(told.get(), 1);
    EXPECT_EQ(*a, 0);
    EXPECT_EQ(*b, 4);
    setPreference(ZOSTR("automatic_tav_notes"), "nonsense");
    EXPECT_EQ(*a, 1) << "back to the default at the refresh";
    setPreference(ZOSTR("automatic_tav_notes"), kZoBooleanTrue);
}

TEST(Notes, changeTogetherUnderOneKey)
{
    const auto key = newKey();
    TavNote *a = newNote(key.get(), 1), *b = newNote(key.get(), 2);
    int32_t value = 0;
    EXPECT_EQ(TavNote_GetValue(ZOSTR(kTavApplicationID), key.get(), &value), 0);
    EXPECT_EQ(value, 1) << "the first one's";
    EXPECT_EQ(TavNote_ChangeValue(ZOSTR(kTavApplicationID), key.get(), 9), 0);
    EXPECT_TRUE(*a == 9 && *b == 9);
    // The same variable again changes nothing, whatever the store says by now.
    const auto pair = dictionary({{key.get(), number(5).get()}});
    ZoPreferencesSetMultiple(pair.get(), nullptr, ZOSTR(kTavApplicationID), kZoPreferencesCurrentUser,
                             kZoPreferencesAnyHost);
    tav_note_initialize_category_with_default_work_Zo(a, key.get(), ZOSTR(kTavApplicationID), nullptr, nullptr, 1,
                                                      nullptr, nullptr);
    EXPECT_EQ(*a, 9);
    for (const auto& [id, name] : {std::pair{"com.nobody", "x"}, std::pair{kTavApplicationID, "no_such_note"}}) {
        EXPECT_EQ(TavNote_ChangeValue(str(id).get(), str(name).get(), 1), kTavNoteError_UnknownName);
        EXPECT_EQ(TavNote_GetValue(str(id).get(), str(name).get(), &value), kTavNoteError_UnknownName);
    }
}

TEST(Notes, tellTheirKeysInOrder)
{
    static TavNote sNotes[3];
    const char* id = "com.example.ordered";
    tav_note_initialize_work(&sNotes[0], "zebra", id);
    tav_note_initialize_autolog_work(&sNotes[1], "ant", id);
    tav_note_initialize_with_default_work(&sNotes[2], "mole", id, 6);
    EXPECT_EQ(sNotes[2], 6);
    ZoRef<ZoArrayRef> keys;
    ASSERT_EQ(TavNote_CopyKeys(str(id).get(), keys.outParam()), 0);
    EXPECT_TRUE(ZoEqual(keys.get(), array({ZOSTR("ant"), ZOSTR("mole"), ZOSTR("zebra")}).get()));
    EXPECT_EQ(TavNote_CopyKeys(str("com.nobody").get(), keys.outParam()), kTavNoteError_UnknownName);
    EXPECT_FALSE(keys);
}

TEST(LogControl, followsItsPreference)
{
    struct Row {
        const char* preference;
        int32_t expected;
    };
    for (const Row& row :
         {Row{"off", 0}, Row{"OFF", 0}, Row{"Off", 0}, Row{"false", 0}, Row{"0", 0}, Row{"nonsense", 0}, Row{"true", 1},
          Row{"YES", 1}, Row{"on", 1}, Row{"syslog", 1}, Row{"2", 1}, Row{"stderr", 2}, Row{"StdOut", 3},
          Row{"bbuf", 5}, Row{"ring", 6}, Row{"off", 0}}) {
        setPreference(ZOSTR("tav_notes"), row.preference);
        EXPECT_EQ(gTavLogControl, row.expected) << row.preference;
    }
    setPreference(ZOSTR("tav_notes"), int64_t{7});
    EXPECT_EQ(gTavLogControl, kTavLogControl_Syslog);
    setPreference(ZOSTR("tav_notes"), int64_t{0});
    EXPECT_EQ(gTavLogControl, kTavLogControl_Off);
    setPreference(ZOSTR("tav_notes"), kZoBooleanTrue);
    EXPECT_EQ(gTavLogControl, kTavLogControl_Syslog);
    luvia_test::takeSyslog();
    const auto list = array();
    setPreference(ZOSTR("tav_notes"), list.get());
    EXPECT_EQ(gTavLogControl, kTavLogControl_Syslog) << "the destination stays";
    const auto complaint = luvia_test::takeSyslog();
    ASSERT_FALSE(complaint.empty());
    EXPECT_NE(complaint[0].second.find(
                  "|TavNote| tav_note_read_control_preferences: Cannot use type with tav_notes com.orvane.luvia"),
              std::string::npos)
        << complaint[0].second;
    setPreference(ZOSTR("tav_notes"), kZoBooleanFalse);
    EXPECT_EQ(gTavLogControl, kTavLogControl_Off);
}

}  // namespace

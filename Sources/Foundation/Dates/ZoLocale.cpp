// Locales by identifier, and the classic numbers of languages and regions.

#include "Foundation/Dates/ZoLocale.h"

#include <cstdlib>
#include <cstring>
#include <span>

#include "Foundation/Objects/ZoAssertPrivate.h"
#include "Foundation/Objects/ZoNamedObjectPrivate.h"

constinit const ZoRuntimeClass __ZoLocaleClass = zoNamedObjectClass("ZoLocale");

ZoTypeID ZoLocaleGetTypeID(void) { return kZoTypeIDLocale; }

ZoLocaleRef ZoLocaleCreate(ZoAllocatorRef allocator, ZoStringRef identifier)
{
    if (!ZO_EXPECT(zo::isString(identifier), "the identifier is not a string")) return nullptr;
    return zoCreateNamedObject<ZoLocaleRef>(allocator, kZoTypeIDLocale,
                                            zoAdopt(ZoStringCreateCopy(allocator, identifier)));
}

ZoStringRef ZoLocaleGetIdentifier(ZoLocaleRef locale)
{
    return ZO_EXPECT(zoIsOfType(locale, kZoTypeIDLocale), "not a locale") ? zoNameOf(locale) : nullptr;
}

/// "de_AT.UTF-8@euro" names the locale "de_AT".
static ZoStringRef createIdentifierFromEnvironment(const char* value)
{
    const size_t length = strcspn(value, ".@");
    const bool isPosix =
        length == 0 || (length == 1 && value[0] == 'C') || (length == 5 && memcmp(value, "POSIX", 5) == 0);
    if (isPosix) return ZOSTR("en_US_POSIX");
    ZoStringRef identifier = ZoStringCreateWithBytes(nullptr, reinterpret_cast<const uint8_t*>(value),
                                                     static_cast<ZoIndex>(length), kZoStringEncodingASCII, false);
    return identifier ? identifier : ZOSTR("en_US_POSIX");
}

ZoLocaleRef ZoLocaleCopyCurrent(void)
{
    const char* chosen = "";
    for (const char* name : {"LC_ALL", "LC_TIME", "LANG"}) {
        const char* value = getenv(name);
        if (!value || !*value) continue;
        chosen = value;
        break;
    }
    const auto identifier = zoAdopt(createIdentifierFromEnvironment(chosen));
    return ZoLocaleCreate(nullptr, identifier.get());
}

// MARK: Classic numbers

/// Identifiers of the languages 0 to 94, and 128 to 151.
static constexpr const char* kLanguages[] = {
    "en",      "fr", "de",  "it",      "nl",      "sv",      "es",      "da",      "pt",      "nb",       // 0
    "he",      "ja", "ar",  "fi",      "el",      "is",      "mt",      "tr",      "hr",      "zh-Hant",  // 10
    "ur",      "hi", "th",  "ko",      "lt",      "pl",      "hu",      "et",      "lv",      "se",       // 20
    "fo",      "fa", "ru",  "zh-Hans", "nl-BE",   "ga",      "sq",      "ro",      "cs",      "sk",       // 30
    "sl",      "yi", "sr",  "mk",      "bg",      "uk",      "be",      "uz-Cyrl", "kk",      "az-Cyrl",  // 40
    "az-Arab", "hy", "ka",  "ro-MD",   "ky",      "tg-Cyrl", "tk-Cyrl", "mn-Mong", "mn-Cyrl", "ps",       // 50
    "ku",      "ks", "sd",  "bo",      "ne",      "sa",      "mr",      "bn",      "as",      "gu",       // 60
    "pa",      "or", "ml",  "kn",      "ta",      "te",      "si",      "my",      "km",      "lo",       // 70
    "vi",      "id", "fil", "ms",      "ms-Arab", "am",      "ti",      "om",      "so",      "sw",       // 80
    "rw",      "rn", "ny",  "mg",      "eo",                                                              // 90
};
static constexpr int kFirstOfLaterLanguages = 128;
static constexpr const char* kLaterLanguages[] = {
    "cy",  "eu", "ca",      "la", "qu", "gn", "ay", "tt-Cyrl", "ug",      "dz",  // 128
    "jv",  "su", "gl",      "af", "br", "iu", "gd", "gv",      "ga-Latg", "to",  // 138
    "grc", "kl", "az-Latn", "nn",                                                // 148
};

/// Identifiers of the regions 0 to 108; absent where the number is not given out or names no one place.
static constexpr const char* kRegions[] = {
    "en_US", "fr_FR",      "en_GB", "de_DE", "it_IT", "nl_NL", "nl_BE",  "sv_SE",  "es_ES", "da_DK",  // 0
    "pt_PT", "fr_CA",      "nb_NO", "he_IL", "ja_JP", "en_AU", "ar",     "fi_FI",  "fr_CH", "de_CH",  // 10
    "el_GR", "is_IS",      "mt_MT", "el_CY", "tr_TR", "hr_HR", nullptr,  nullptr,  nullptr, nullptr,  // 20
    nullptr, nullptr,      nullptr, "hi_IN", "ur_PK", "tr_TR", "it_CH",  "en_001", nullptr, "ro_RO",  // 30
    "grc",   "lt_LT",      "pl_PL", "hu_HU", "et_EE", "lv_LV", "se",     "fo_FO",  "fa_IR", "ru_RU",  // 40
    "ga_IE", "ko_KR",      "zh_CN", "zh_TW", "th_TH", nullptr, "cs_CZ",  "sk_SK",  nullptr, "hu_HU",  // 50
    "bn",    "be_BY",      "uk_UA", nullptr, "el_GR", "sr_RS", "sl_SI",  "mk_MK",  "hr_HR", nullptr,  // 60
    "de_DE", "pt_BR",      "bg_BG", "ca_ES", nullptr, "gd",    "gv",     "br",     "iu_CA", "cy",     // 70
    nullptr, "ga-Latg_IE", "en_CA", "dz_BT", "hy_AM", "ka_GE", "es_419", nullptr,  "to_TO", nullptr,  // 80
    nullptr, "fr_001",     "de_AT", nullptr, "gu_IN", "pa",    "ur_IN",  "vi_VN",  "fr_BE", "uz_UZ",  // 90
    "en_SG", "nn_NO",      "af_ZA", "eo",    "mr_IN", "bo",    "ne_NP",  "kl",     "en_IE",           // 100
};

static const char* rowAt(std::span<const char* const> table, int index)
{
    return index >= 0 && static_cast<size_t>(index) < table.size() ? table[static_cast<size_t>(index)] : nullptr;
}

ZoStringRef ZoLocaleCreateCanonicalLocaleIdentifierFromScriptManagerCodes(ZoAllocatorRef allocator, int16_t langCode,
                                                                          int16_t regionCode)
{
    const char* identifier = rowAt(kRegions, regionCode);
    if (!identifier) identifier = rowAt(kLanguages, langCode);
    if (!identifier) identifier = rowAt(kLaterLanguages, langCode - kFirstOfLaterLanguages);
    return identifier ? ZoStringCreateWithCString(allocator, identifier, kZoStringEncodingASCII) : nullptr;
}

// The upper halves of the three classic encodings that are Roman but for a few letters of their own. Their lower halves
// are ASCII.

#pragma once

#include "Foundation/Text/ZoString.h"

namespace zo {

inline constexpr char16_t kClassicCroatian[] =
    u"ÄÅÇÉÑÖÜáàâäãåçéèêëíìîïñóòôöõúùûü†°¢£§•¶ß®Š™´¨≠ŽØ∞±≤≥∆µ∂∑∏š∫ªºΩžø"
    u"¿¡¬√ƒ≈Ć«Č…\u00A0ÀÃÕŒœĐ—“”‘’÷◊\uF8FF©⁄€‹›Æ»–·‚„‰ÂćÁčÈÍÎÏÌÓÔđÒÚÛÙı\u02C6\u02DC¯πË\u02DA¸Êæ\u02C7";
inline constexpr char16_t kClassicIcelandic[] =
    u"ÄÅÇÉÑÖÜáàâäãåçéèêëíìîïñóòôöõúùûüÝ°¢£§•¶ß®©™´¨≠ÆØ∞±≤≥¥µ∂∑∏π∫ªºΩæø"
    u"¿¡¬√ƒ≈∆«»…\u00A0ÀÃÕŒœ–—“”‘’÷◊ÿŸ⁄€ÐðÞþý·‚„‰ÂÊÁËÈÍÎÏÌÓÔ\uF8FFÒÚÛÙı\u02C6\u02DC¯\u02D8\u02D9\u02DA¸\u02DD\u02DB"
    u"\u02C7";
inline constexpr char16_t kClassicRomanian[] =
    u"ÄÅÇÉÑÖÜáàâäãåçéèêëíìîïñóòôöõúùûü†°¢£§•¶ß®©™´¨≠ĂȘ∞±≤≥¥µ∂∑∏π∫ªºΩăș"
    u"¿¡¬√ƒ≈∆«»…\u00A0ÀÃÕŒœ–—“”‘’÷◊ÿŸ⁄€‹›Țț‡·‚„‰ÂÊÁËÈÍÎÏÌÓÔ\uF8FFÒÚÛÙı\u02C6\u02DC¯\u02D8\u02D9\u02DA¸\u02DD\u02DB"
    u"\u02C7";

constexpr bool isClassicVariant(ZoStringEncoding encoding) { return encoding >= 36 && encoding <= 38; }

/// 128 characters; of an encoding that is one of the three.
constexpr const char16_t* classicUpperHalf(ZoStringEncoding encoding)
{
    return encoding == 36 ? kClassicCroatian : encoding == 37 ? kClassicIcelandic : kClassicRomanian;
}

}  // namespace zo

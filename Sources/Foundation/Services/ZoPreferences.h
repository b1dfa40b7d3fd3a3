// Preferences: settings of the current user, one XML property list a domain (application ID).
// The file is <domain>.plist under $LUVIA_PREFERENCES_DIR, else $XDG_CONFIG_HOME if that is absolute, else ~/.config;
// its root is a dictionary from keys to property list values. A line that sets a key from a shell:
//
//   python3 -c 'import os,pathlib,plistlib;e=os.environ.get;h=pathlib.Path.home()/".config"
//   p=pathlib.Path(e("LUVIA_PREFERENCES_DIR")or e("XDG_CONFIG_HOME")or h)/"com.orvane.luvia.plist"
//   d=plistlib.loads(p.read_bytes())if p.exists()else{};d["logurls"]=True;p.write_bytes(plistlib.dumps(d))'
//
// A domain is read when it is first asked for, and again by ZoPreferencesSynchronize. Writing takes
// <domain>.plist.lock, reads the file again, merges the keys that were changed here, and puts the result in place by a
// temporary file, fsync and rename: readers see the old file or the new one, and two writers of different keys both
// win. A file that is no property list is reported once and counts as empty; before the first write over it, it is kept
// as <domain>.plist.corrupt (.corrupt.1 and so on if that is taken). Every operation may be called from any thread.

#pragma once

#include "Foundation/Objects/ZoObject.h"

ZO_EXTERN_C_BEGIN

extern const ZoStringRef kZoPreferencesCurrentUser;
extern const ZoStringRef kZoPreferencesAnyHost;

/// A value that the caller owns, or nothing.
ZoPropertyListRef ZoPreferencesCopyAppValue(ZoStringRef key, ZoStringRef applicationID);
/// `keyExistsAndHasValidFormat` may be absent. False and 0 for a key that is not there or of another kind. Booleans,
/// numbers and strings convert: a boolean is 1 or 0; a number other than 0 is true; the strings "true", "yes", "1",
/// "false", "no" and "0" in any case are booleans, and strings of decimal digits are integers.
Boolean ZoPreferencesGetAppBooleanValue(ZoStringRef key, ZoStringRef applicationID,
                                        Boolean* keyExistsAndHasValidFormat);
ZoIndex ZoPreferencesGetAppIntegerValue(ZoStringRef key, ZoStringRef applicationID,
                                        Boolean* keyExistsAndHasValidFormat);
/// Sets all pairs of `keysToSet`, removes `keysToRemove`; either may be absent. Other processes see it after
/// synchronising. The user is kZoPreferencesCurrentUser and the host kZoPreferencesAnyHost; others change nothing.
/// What cannot stand in an XML property list is reported and left out.
void ZoPreferencesSetMultiple(ZoDictionaryRef keysToSet, ZoArrayRef keysToRemove, ZoStringRef applicationID,
                              ZoStringRef userName, ZoStringRef hostName);
/// Writes what was set, and reads what others wrote since. False if the file could not be read or written; what was
/// set then stays, and is tried again next time.
Boolean ZoPreferencesSynchronize(ZoStringRef applicationID, ZoStringRef userName, ZoStringRef hostName);

ZO_EXTERN_C_END

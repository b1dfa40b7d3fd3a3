// Preferences: settings of the current user, one XML property list a domain (application ID).
// The file is <domain>.plist under $LUVIA_PREFERENCES_DIR, else $XDG_CONFIG_HOME, else ~/.config.
// Every operation may be called from any thread.

#pragma once

#include "Foundation/ZoObject.h"

ZO_EXTERN_C_BEGIN

extern const ZoStringRef kZoPreferencesCurrentUser;
extern const ZoStringRef kZoPreferencesAnyHost;

/// A value that the caller owns, or nothing.
ZoPropertyListRef ZoPreferencesCopyAppValue(ZoStringRef key, ZoStringRef applicationID);
/// `keyExistsAndHasValidFormat` may be absent. False and 0 for a key that is not there or of another kind.
Boolean ZoPreferencesGetAppBooleanValue(ZoStringRef key, ZoStringRef applicationID,
                                        Boolean* keyExistsAndHasValidFormat);
ZoIndex ZoPreferencesGetAppIntegerValue(ZoStringRef key, ZoStringRef applicationID,
                                        Boolean* keyExistsAndHasValidFormat);
/// Sets all pairs of `keysToSet`, removes `keysToRemove`; either may be absent. Other processes see it after
/// synchronising.
void ZoPreferencesSetMultiple(ZoDictionaryRef keysToSet, ZoArrayRef keysToRemove, ZoStringRef applicationID,
                              ZoStringRef userName, ZoStringRef hostName);
/// Writes what was set, and reads what others wrote since. False if the file could not be written.
Boolean ZoPreferencesSynchronize(ZoStringRef applicationID, ZoStringRef userName, ZoStringRef hostName);

ZO_EXTERN_C_END

// Bundles: the folder of resources that belongs to an identifier such as "com.example.thing".
// It is <root>/<identifier>/Resources, below the first of these roots where that is a folder:
//   $LUVIA_RESOURCES_DIR
//   <prefix>/share, where the running program is <prefix>/bin/<name> or any other <prefix>/<folder>/<name>
//   each folder of $XDG_DATA_DIRS (without it, /usr/local/share and /usr/share)
// Every operation may be called from any thread.

#pragma once

#include "Foundation/URLs/ZoURL.h"

ZO_EXTERN_C_BEGIN

ZoTypeID ZoBundleGetTypeID(void);
/// Borrowed; once found, a bundle lives as long as the process. Nothing if no root has it.
ZoBundleRef ZoBundleGetBundleWithIdentifier(ZoStringRef identifier);
/// The file <resources>/<subDirectory>/<name>.<type>; the last two parts may be absent. Nothing if there is no such
/// file, or a part leads out of the folder.
ZoURLRef ZoBundleCopyResourceURL(ZoBundleRef bundle, ZoStringRef resourceName, ZoStringRef resourceType,
                                 ZoStringRef subDirectory);
ZoURLRef ZoBundleCopyResourcesDirectoryURL(ZoBundleRef bundle);

ZO_EXTERN_C_END

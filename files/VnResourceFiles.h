#pragma once

#include "core/VnString.h"

#include <cstdint>

/// The folders that FindResourceFile looks through, in this order. A custom folder stands below the
/// user's data, a default folder below the data of the installation. Any other value stands for no
/// folder.
enum VnResourceKind : int32_t {
    ResourceAny = 0,            ///< "Custom Resources", then "Default Resources"
    ResourceDefault = 1,        ///< "Default Resources"
    ResourceCustom = 2,         ///< "Custom Resources"
    ResourceArt = 3,            ///< "Custom Art", then "Default Art"
    ResourceArtDefault = 4,     ///< "Default Art"
    ResourceArtCustom = 5,      ///< "Custom Art"
    ResourceWebpage = 6,        ///< ResourceWebpageCustom, then ResourceWebpageDefault
    ResourceWebpageDefault = 7, ///< "Default Webpages", the folder of the user's language
    ResourceWebpageCustom = 8,  ///< "Custom Webpages", the folder of the user's language
};

/// Path of a file of the program's data by its bare name; empty when it is nowhere.
///
/// Web pages are looked for in the folder of the user's language, or in "English" when that is
/// missing. A name that starts with "image:" loses this prefix, also for the caller, and is found
/// with one of the extensions ".png", ".jpg", ".gif", ".bmp", ".tif", for each of them first with "
/// - " and the language behind the name. The first folder that holds a match wins.
VnString FindResourceFile(VnString& name, VnResourceKind kind);

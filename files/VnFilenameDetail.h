#pragma once

#include "core/VnString.h"

#include <string_view>

/// Helpers that several sources of this folder share. No public header includes this one.
class VnFilenameDetail {
public:
    VnFilenameDetail() = delete;

    /// Replaces every `token`, in any letter case, by `replacement`. Unlike VnString::Replace it
    /// needs no other module, since names have to be understood before any module is loaded.
    static void ReplaceNoCase(VnString& text, std::wstring_view token, const VnString& replacement);
};

#pragma once

#include "core/VnString.h"

#include <string_view>

class VnBuffer;

/// Helpers that several sources of this folder share. No public header includes this one.
class VnFilenameDetail {
public:
    VnFilenameDetail() = delete;

    /// Replaces every `token`, in any letter case, by `replacement`. Unlike VnString::Replace it
    /// needs no other module, since names have to be understood before any module is loaded.
    static void ReplaceNoCase(VnString& text, std::wstring_view token, const VnString& replacement);

    // Readers of what comes from outside, apart from the calls that fetch it.

    /// The directory, with a trailing "/", that the text of a user-dirs.dirs gives for `key`, with
    /// `home` in the place of "$HOME"; empty when it gives none.
    static VnString
    FindUserDirectory(const VnString& text, const VnString& key, const VnString& home);

    /// The content type that a streaming server names in the first bytes of its answer; empty when
    /// it names none.
    static VnString FindContentType(const VnBuffer& start);

    /// The URL that a body consists of; empty for any other body.
    static VnString GetPointerTarget(const VnBuffer& body);
};

#pragma once

#include <cstdint>
#include <string>
#include <string_view>

/// What kind of media a library file is, and whether its bytes are what its name says.
class CMediaType {
public:
    /// "Audio", "Video", "Image", or "Data" for everything unknown, by an extension in lower case
    /// without the dot.
    static std::wstring_view FromExtension(std::wstring_view extension);

    /// Whether an extension is that of a list of files, which is no media itself.
    static bool IsPlaylist(std::wstring_view extension);

    /// Whether a name is that of a folder's picture: cover, folder or front with the extension jpg,
    /// jpeg or png.
    static bool IsFolderPicture(std::wstring_view name);

    /// Whether a name is one that file managers leave behind, such as "Thumbs.db"; hidden names are
    /// among them.
    static bool IsClutter(std::wstring_view name);

    /// Looks at a file's first and last bytes. Empty when it may be what its extension (lower case,
    /// no dot) says, otherwise the reason against it, in words: it cannot be read, is empty, is no
    /// such file, or is cut short. A format that tells no length, and an extension that is not
    /// known, get the benefit of the doubt.
    static std::string FindProblem(const std::string& path, std::wstring_view extension);
};

#pragma once

#include <string>
#include <string_view>
#include <vector>

/// Writes playlists for a device.
///
/// | Extension | Form |
/// |---|---|
/// | m3u, and pla before the drive rewrites it | extended M3U, UTF-8 without a mark |
/// | asx | ASX 3.0 |
/// | wpl | Windows Media playlist (SMIL) |
/// | pls | PLS version 2 |
/// | mpl | MPL 2.0, a record of fields per file |
///
/// All lines end in CR LF. Paths stand as given, with "/"; the XML forms escape them.
class CPlaylistWriter {
public:
    struct CEntry {
        std::wstring Path;   ///< as it shall stand in the list
        std::wstring Artist; ///< may be empty
        std::wstring Title;
        int Seconds = -1; ///< -1: not known
    };
    struct COptions {
        std::wstring Name;        ///< of the list
        bool WithComments = true; ///< an m3u's "#" lines; not when the drive changes every line
    };

    /// The bytes of a list in the form of an extension (lower case, no dot); unknown ones give M3U.
    static std::string Render(std::wstring_view extension,
                              const std::vector<CEntry>& entries,
                              const COptions& options);

    /// Writes bytes to a file anew, making its folder. False, with the reason in `error`, when that
    /// fails; what was written by then is taken away again.
    static bool Save(const std::string& path, std::string_view bytes, std::string& error);
};

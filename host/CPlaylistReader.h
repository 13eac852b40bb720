#pragma once

#include <string>
#include <string_view>
#include <vector>

/// Reads an m3u or m3u8 file of the library.
///
/// Lines end in LF, CR LF or CR. Lines that begin with "#" are comments. An entry is a path,
/// absolute or relative to the playlist's folder, or a "file://" URL. It is taken by its bytes;
/// when no such file exists it is tried with its backslashes as "/", then as Latin-1 text, for
/// lists that older programs wrote. A byte order mark is dropped.
class CPlaylistReader {
public:
    struct CResult {
        std::vector<std::string>
            Files; ///< entries that exist, as absolute paths, in the list's order
        std::vector<std::string>
            Missing; ///< entries as they stand in the list that name no file; URLs of the net too
    };

    /// Why a path cannot be a playlist: it is missing, no regular file, or has another extension
    /// than m3u and m3u8 (in any letter case). Empty when it can. Reads nothing.
    static std::string FindProblem(const std::string& path);

    /// False, with the reason in `error`, when the list cannot be read or is no text (a
    /// NUL byte stands in it).
    static bool Read(const std::string& path, CResult& result, std::string& error);

    /// The entries of a list's text, without comments and blank lines.
    static std::vector<std::string> SplitEntries(std::string_view text);
};

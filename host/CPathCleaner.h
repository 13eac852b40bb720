#pragma once

#include <cstddef>
#include <string>
#include <string_view>

/// Makes texts from a library fit to name files and folders on any device.
///
/// The rules are those of the strictest common file system, FAT: a separator ("/" and the
/// backslash), a control character, one of `" * : < > ? |` and a byte that is no UTF-8 become "_";
/// blanks at both ends and dots at the end go; a value that is "." or ".." as a whole becomes "_";
/// a reserved device name (CON, PRN, AUX, NUL, COM1 to COM9, LPT1 to LPT9, in any letter case, also
/// ahead of a dot) gets a "_" behind it; a name longer than 255 bytes of UTF-8 is cut at a
/// character's border. 255 bytes are never more than 255 units of UTF-16, so that one limit keeps
/// both. Nothing that comes out holds a separator, so a value never adds a folder and never climbs
/// one.
class CPathCleaner {
public:
    static constexpr size_t kLongestName = 255; ///< bytes of a name, extension included

    /// One value inside a segment: characters, "." and "..", and the ends. Not cut: the segment is.
    static std::wstring CleanValue(std::wstring_view value);

    /// A whole folder or file name. `reserved` bytes are kept free for what is put behind it, such
    /// as "." and the extension. An empty name stays empty.
    static std::wstring CleanSegment(std::wstring_view segment, size_t reserved = 0);

    /// Cuts `text` to at most `bytes` bytes of UTF-8, at a character's border and not ahead of a
    /// combining mark; blanks and dots that then stand at the end go too.
    static std::wstring Cut(std::wstring_view text, size_t bytes);

    /// Whether `name` is one of the names that DOS reserved, alone or ahead of a dot.
    static bool IsReserved(std::wstring_view name);
};

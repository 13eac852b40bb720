#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

class VnString;

// Text of the host. Paths of the library and of the index are bytes, as the file system holds them;
// field values, expressions and everything that crosses to the plug-in are wide characters. A byte
// that is no UTF-8 travels as U+DC00 plus that byte, so that every name finds its way back.

/// Bytes of the file system as wide text.
std::wstring HostWiden(std::string_view bytes);

/// Wide text as the bytes of the file system; the reverse of HostWiden.
std::string HostNarrow(std::wstring_view text);

/// A text of the foundation as wide text of the host.
std::wstring HostText(const VnString& text);

/// Lower-case form for comparing names as FAT does, whatever the locale of the process.
std::wstring HostFold(std::wstring_view text);

/// Whether two texts are equal in any letter case.
bool HostEqualsNoCase(std::wstring_view left, std::wstring_view right);

/// A text for one line of output: control characters, line ends and tabs in their backslash forms,
/// and each byte that is no UTF-8 as "\xNN", so that one record stays on one line and no terminal
/// is driven by a file's name.
std::string HostPrintable(std::string_view bytes);

/// As HostPrintable, of wide text.
std::string HostPrintable(std::wstring_view text);

/// UTF-8 of `text` for JSON and playlists: a byte that is no UTF-8 becomes U+FFFD.
std::string HostUTF8(std::wstring_view text);

/// A number of bytes for people, such as "1.5 MB".
std::string HostFormatBytes(int64_t bytes);

/// A span of time for people: "0:07", "12:34" or "1:02:03".
std::string HostFormatSeconds(double seconds);

/// The pieces of `text` between separators; an empty text has none, empty pieces stay.
std::vector<std::wstring> HostSplit(std::wstring_view text, wchar_t separator);

/// `text` without white space at its ends.
std::wstring_view HostTrim(std::wstring_view text);

/// The extension of a path in lower case, without the dot; empty when the name has none. A dot at
/// the start of the name starts no extension.
std::wstring HostExtension(std::wstring_view path);

/// The name of a path without folder and extension.
std::wstring HostStem(std::wstring_view path);

/// The name of a path without its folder.
std::wstring_view HostName(std::wstring_view path);

/// The folder of a path with its "/"; empty when there is none.
std::wstring_view HostFolder(std::wstring_view path);

/// A name of 16 hexadecimal digits for a text (FNV-1a, 64 bits).
std::string HostHash(std::string_view text);

/// A system error number in words.
std::string HostErrorText(int error);

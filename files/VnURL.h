#pragma once

#include "core/VnString.h"

#include <cstdint>
#include <memory>

class IVnReader;
class VnBuffer;
class VnFilename;

/// Where the components of a URL stand: positions in a text that the record does not own, valid
/// only as long as that text is unchanged. They never decrease in this order; an empty component
/// has its start and its end in one place. The names are those of RFC 3986.
struct VnURLMarks {
    const wchar_t* Start = nullptr;          ///< first character
    const wchar_t* SchemeEnd = nullptr;      ///< behind the ":" of the scheme; Start without one
    const wchar_t* AuthorityStart = nullptr; ///< behind "//"; otherwise SchemeEnd
    const wchar_t* HostStart = nullptr;      ///< behind the "@"; otherwise AuthorityStart
    const wchar_t* HostEnd = nullptr;        ///< at the port's ":", or behind the "]"
    const wchar_t* AuthorityEnd = nullptr;   ///< where the path starts
    const wchar_t* PathEnd = nullptr;        ///< at the "?" or "#", or the end of the text
    const wchar_t* QueryEnd = nullptr;       ///< at the "#" behind a query, or the end of it

    bool HasScheme() const { return SchemeEnd > Start; }
    bool HasAuthority() const { return AuthorityStart > SchemeEnd; }
    bool HasPath() const { return PathEnd > AuthorityEnd; }
    bool HasQuery() const { return QueryEnd > PathEnd; }
};

// URLs: VnURL.cpp

/// Finds the components of `url`. False for an empty text and for a malformed "[...]" host; `marks`
/// is then unchanged. Whatever else stands in the text is accepted.
bool ParseURLMarks(VnURLMarks& marks, const wchar_t* url);

/// Makes `reference` absolute against `base`, after RFC 3986, section 5.2. A base and a result that
/// start with "//" get "http:" in front; the base is changed in place too. True when the reference
/// now holds an absolute URL. False, and no change, for an empty reference and where either does
/// not parse.
bool ResolveRelativeURL(VnString& reference, VnString& base);

/// Whether the text has the shape of a URL, with or without a scheme: a scheme of 1 to 16 letters
/// and digits, a host of 1 to 512 letters, digits, "-" and ".", and a port of 1 to 5 digits. What
/// follows the first "/" behind the host is not looked at.
bool IsValidURL(const VnString& text);

/// Puts "http://" in the place of a leading "m01p://", and "https://" in that of "m01ps://", in any
/// letter case; true when it did.
bool ConvertPrivateScheme(VnString& text);

/// Reads up to `size` bytes in one read into `buffer`, which is emptied first. With `openFirst` the
/// reader in the holder is replaced by a new internet reader for the filename, which is opened with
/// a time-out of `timeoutMS`. True when bytes arrived.
bool ReadURLData(const VnFilename& filename,
                 std::unique_ptr<IVnReader>& reader,
                 VnBuffer& buffer,
                 int32_t size,
                 bool openFirst,
                 int32_t timeoutMS);

// Relative paths: VnURLPaths.cpp

/// Makes a relative local `path` absolute against `base`, and resolves "." and ".." in the whole.
/// The last segment of a base without a final "/" is dropped when it holds a ".", as a file name.
/// True when the path was changed; false for an empty or absolute path, an empty base and a name
/// that is not local.
bool MakeAbsolute(VnString& path, const VnString& base);

/// Makes `path` relative to the directory `base`. Segments are compared in any letter case; the
/// last segment of the path always stays. `withLeadingDot` puts "./" in front. Without a common
/// root the result is false and nothing changes, unless `allowNoCommonRoot` is on and the path is
/// no valid URL: then
/// "./../" goes in front.
bool GetRelativePath(VnString& path,
                     const VnString& base,
                     bool withLeadingDot,
                     bool allowNoCommonRoot);

/// `relative` below `base`, joined with one "/". A text that holds "://" or starts with "/" stays,
/// and so does one that begins with the base as it stands behind its own leading "/" (for a base
/// that ends in "/").
VnString CombineWithBase(const VnString& relative, const VnString& base);

/// Whether a path reaches onto another file system than that of its drive. False for a path without
/// a drive, for one that is not local, and where nothing can be found out.
bool IsOnOtherDevice(const VnFilename& path);

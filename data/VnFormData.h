#pragma once

#include "core/VnBuffer.h"
#include "core/VnString.h"

class VnFilename;
class VnPropertyMap;

/// Builds the body of a form post, as "multipart/form-data" (RFC 7578) or as
/// "application/x-www-form-urlencoded".
///
/// A form only grows: every operation appends to the body, and nothing checks their order. Text
/// goes in as UTF-8 without a terminator, lines end in CR LF. AddField, AddBinary and AddFile write
/// multipart syntax whatever the form was made for; only AddPair and CFileLoader::PostForm look at
/// that. The boundary is a fixed text, and the body is not searched for it.
class VnFormData {
public:
    explicit VnFormData(bool multipart);

    /// Replaces the boundary; to be called before the first field.
    void SetBoundary(const VnString& boundary);
    /// Appends a delimiter line, the closing one when `last`.
    void AddBoundary(bool last);
    void AddLineEnd();
    /// Appends a part with a text. `disposition` stands behind "form-data; ", for example name="a".
    void AddField(const VnString& disposition, const VnString& value);
    /// Appends a part with bytes; an empty `contentType` writes no such line.
    void AddBinary(const VnBuffer& data, const VnString& disposition, const VnString& contentType);
    /// Appends a file as a part under its own name, with the content type of its extension. False,
    /// and no change, when the file can't be read.
    bool AddFile(const VnString& name, const VnFilename& path);
    /// Appends one field in the form's own syntax. Only the URL-encoded form escapes.
    void AddPair(const VnString& key, const VnString& value);

    /// The body so far.
    const VnBuffer& GetBytes() const { return Bytes; }
    VnBuffer& GetBytes() { return Bytes; }
    bool IsMultipart() const { return Multipart; }
    const VnString& GetBoundary() const { return Boundary; }

private:
    void AddText(const VnString& text);

    VnBuffer Bytes;
    bool Multipart;
    VnString Boundary;
};

/// Reads the fields of a request into `map`, which is emptied first: those behind the "?" of `url`,
/// then the parts of a multipart `body`, whose first line is taken as the delimiter. `decode`
/// undoes the percent escapes of the URL's fields, with "+" as a blank in values; body fields are
/// never decoded. A later field of the same name replaces an earlier one.
void ParseFormData(VnPropertyMap& map, const VnString& url, const VnString& body, bool decode);

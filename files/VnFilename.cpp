#include "files/VnFilename.h"

#include "text/VnXMLDocument.h"

#include <cwchar>

namespace {

/// How the XML form starts, in any letter case; its attributes may stand in any spelling behind
/// that.
constexpr const wchar_t* kXMLFormStart = L"<XMLFN version=";

/// Longest extension that may stand ahead of ";data".
constexpr int32_t kLongestDataExtension = 5;

/// Fills an object from its XML form. A document of another kind or version leaves it as it is.
void ReadXMLForm(VnFilename& filename, const VnString& text) {
    VnXMLDocument document;
    // A form that is cut short still gives what stands in it.
    static_cast<void>(document.SetDocument(text));
    if (!document.FindElement(L"XMLFN")
        || document.GetAttribute(document.GetMainPosition(), L"version") != L"1.0") {
        return;
    }
    document.IntoElement();
    while (document.FindElement(L"Item")) {
        const VnString name = document.GetAttribute(document.GetMainPosition(), L"Name");
        const VnString value = document.GetData(document.GetMainPosition());
        if (name.EqualsNoCase(L"Filename")) {
            filename.Filename = value;
        } else {
            filename.SetProperty(name, value);
        }
    }
}

} // namespace

VnFilename::VnFilename(const wchar_t* text) : Filename(text) {
    ParseFilenameForm(/*clearProperties=*/false);
}

VnFilename::VnFilename(const VnString& text) : Filename(text) {
    ParseFilenameForm(/*clearProperties=*/false);
}

VnFilename::VnFilename(const VnFilename& other)
    : Filename(other.Filename)
    , LowerCaseExtension(other.LowerCaseExtension) {
    Properties.CopyFrom(other.Properties);
}

VnFilename& VnFilename::operator=(const VnFilename& other) {
    if (this != &other) {
        Filename = other.Filename;
        Properties.CopyFrom(other.Properties);
        LowerCaseExtension = other.LowerCaseExtension;
    }
    return *this;
}

void VnFilename::Set(const VnString& text, bool clearProperties, bool lowerCaseExtension) {
    Filename = text;
    LowerCaseExtension = lowerCaseExtension;
    ParseFilenameForm(clearProperties);
}

void VnFilename::Clear() {
    ClearProperties(/*alsoText=*/true);
}

void VnFilename::ClearProperties(bool alsoText) {
    Properties.Clear();
    if (alsoText) {
        Filename.Empty();
    }
}

void VnFilename::ParseFilenameForm(bool clearProperties) {
    if (clearProperties) {
        Properties.Clear();
    }
    if (Filename.StartsWith(L'<') && Filename.StartsWith(kXMLFormStart, /*caseFlag=*/false)) {
        const VnString text = Filename;
        Filename.Empty();
        ReadXMLForm(*this, text);
        return;
    }
    // Nearly every name has none, which a forward search finds out much faster than one from the
    // end.
    if (std::wcschr(Filename, L';') == nullptr || Filename.EndsWith(L'/') || GetIsFileRemote()) {
        return;
    }
    const int32_t semicolon = Filename.ReverseFind(L';');
    const int32_t dot = Filename.ReverseFind(L'.');
    const int32_t between = semicolon - dot - 1;
    if (dot < 0 || between < 1 || between > kLongestDataExtension) {
        return;
    }
    SetProperty(kPostExtensionData, Filename.Mid(semicolon + 1));
    Filename = Filename.Left(semicolon);
}

bool VnFilename::operator==(const VnFilename& other) const {
    return LowerCaseExtension == other.LowerCaseExtension && Filename == other.Filename
           && Properties.IsEqual(other.Properties);
}

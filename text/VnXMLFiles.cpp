#include "text/VnXMLDocument.h"

bool VnXMLDocument::Load(const wchar_t* path) {
    VnString text;
    if (!text.LoadFromFile(path, kEncodingUTF8Mark)) {
        SetDocument(nullptr);
        Error.Empty();
        return false;
    }
    return SetDocument(text);
}

bool VnXMLDocument::Save(const wchar_t* path) const {
    return Text.SaveToFile(path, kEncodingUTF8);
}

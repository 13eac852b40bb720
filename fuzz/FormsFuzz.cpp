#include "files/VnFilename.h"

#include "fuzz/FuzzText.h"

namespace {

/// Whether a key is no attribute value as it stands, which is how the form has it.
bool HasOddKey(const VnFilename& name) {
    const VnPropertyMap::CEntryMap& entries = *name.Properties.GetEntries();
    for (auto cursor = entries.GetFirst(); cursor.Item != nullptr; entries.GetNext(cursor)) {
        if (cursor.Item->Key.IsEmpty() || cursor.Item->Key.FindOneOf(L"\"&<>") >= 0) {
            return true;
        }
    }
    return false;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const VnString text = TextOf(data, size);
    const VnFilename name(text);
    if (name.HasProperties()) {
        const VnString form = name.GetXMLForm();
        Require(form.StartsWith(L"<XMLFN version=\"1.0\">"));
        const VnFilename again(form);
        const bool isOdd = HasOddKey(name) || text.Find(L'\0') >= 0;
        Require(isOdd || again.Filename == name.Filename);
        Require(isOdd || again.Properties.IsEqual(name.Properties));
    } else {
        Require(name.GetXMLForm() == name.Filename);
    }
    name.GetStorageForm();
    name.GetSidecarFilename();
    VnFilename shortened(name);
    shortened.IncrementName();
    shortened.SetPort(80);
    shortened.SetURLDirectory(L"/a/");
    VnFilename copy(name);
    Require(copy == name);
    return 0;
}

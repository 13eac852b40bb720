#include "core/VnPropertyMap.h"

#include "text/VnXMLDocument.h"

namespace {

constexpr wchar_t kItemElement[] = L"Item";
constexpr wchar_t kNameAttribute[] = L"Name";
constexpr wchar_t kVersionAttribute[] = L"version";

} // namespace

VnString VnPropertyMap::GetXML(const wchar_t* rootName, bool omitIfEmpty, double version) const {
    VnString xml;
    if (omitIfEmpty && IsEmpty()) {
        return xml;
    }
    VnXMLDocument tree;
    WriteXML(tree);
    VnString versionText;
    versionText.SetDouble(version, 1, /*keepZeros=*/true);

    xml.Append(L"<", -1, rootName, -1, L" version=\"", -1, versionText, -1);
    xml.Append(L"\">\r\n");
    xml.Append(tree.GetText());
    xml.Append(L"</", -1, rootName, -1, L">", -1);
    return xml;
}

bool VnPropertyMap::SetXML(const VnString& text, const wchar_t* rootName, double version) {
    // Both may be values of this map.
    const VnString source = text;
    const VnString root = rootName;
    Clear();
    if (source.IsEmpty()) {
        return true;
    }
    VnXMLDocument tree(source);
    if (!tree.FindElement(rootName == nullptr ? nullptr : root.GetText())) {
        return false;
    }
    const VnString versionText = tree.GetAttribute(tree.GetMainPosition(), kVersionAttribute);
    if (versionText.ToDouble(nullptr, /*anySeparator=*/true) != version) {
        return false;
    }
    tree.IntoElement();
    ReadXML(tree);
    tree.OutOfElement();
    return true;
}

void VnPropertyMap::WriteXML(VnXMLDocument& tree) const {
    if (IsEmpty()) {
        return;
    }
    // A new element follows the main one, so that one has to be the last; without one it goes to
    // the end by itself.
    while (tree.GetMainPosition() != 0 && tree.FindElement()) {
    }
    const CEntryMap& entries = *GetEntries();
    for (auto cursor = entries.GetFirst(); cursor.Item != nullptr; entries.GetNext(cursor)) {
        tree.AddElement(kItemElement, cursor.Item->Value);
        tree.SetAttribute(tree.GetMainPosition(), kNameAttribute, cursor.Item->Key);
    }
}

void VnPropertyMap::ReadXML(VnXMLDocument& tree) {
    Clear();
    // From the first child on, whichever of them is the main element.
    tree.GetDataAt(kItemElement);
    for (bool found = tree.GetMainPosition() != 0; found; found = tree.FindElement(kItemElement)) {
        const int32_t item = tree.GetMainPosition();
        SetString(tree.GetAttribute(item, kNameAttribute), tree.GetData(item));
    }
}

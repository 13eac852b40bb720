#include "text/CParseJSON.h"

#include "fuzz/FuzzText.h"

namespace {

/// The text of a tree as JSON, without recursion.
VnString Quoted(VnString text) {
    text.EscapeBackslash();
    return L"\"" + text + L"\"";
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const VnString text = TextOf(data, size);
    CParseJSON json;
    Require(json.Parse(text));
    const CParseJSON::CNode* const root = json.GetNode(L"");
    Require(root != nullptr && (text.Find(L'{') >= 0 || root->GetChildCount() == 0));
    for (int32_t i = 0; i < root->GetChildCount(); ++i) {
        const CParseJSON::CNode* const child = root->GetChild(i);
        Require(child->Name.Find(L'"') < 0 && child->Value.GetLength() <= text.GetLength());
        Require(root->FindChild(child->Name) != nullptr);
        Require(child->GetChildCount() == 0 || child->Value.IsEmpty());
    }
    json.GetValueAt(L"a\\0\\b");
    if (size % 4 == 0) {
        json.GetDebugText();
    }

    // A value that is written as JSON comes back, but for the escapes that are not undone.
    if (text.FindOneOf(L"\b\f\\\"") < 0) {
        Require(json.Parse(L"{\"a\":[1,{\"b\":" + Quoted(text) + L"}]}"));
        Require(json.GetValueAt(L"a\\1\\b") == text);
    }
    return 0;
}

#include "text/CParseJSON.h"

#include "core/VnStringArray.h"

#include <cwchar>
#include <iterator>
#include <vector>

namespace {

/// One pass over a text. Open objects and arrays are on a stack of its own, so that the nesting is
/// only limited by memory.
class CReader {
public:
    explicit CReader(const VnString& text)
        : Text(text)
        , At(Text.GetText())
        , End(At + text.GetLength()) {}

    /// Reads the object at the first "{" into `root`.
    void Read(CParseJSON::CNode& root) {
        At = Find(L'{');
        if (At == End) {
            return;
        }
        OpenObject(&root);
        while (!Open.empty()) {
            if (Open.back().IsArray) {
                ReadElement();
            } else {
                ReadMember();
            }
        }
    }

private:
    struct CLevel {
        CParseJSON::CNode* Node;
        bool IsArray;
        int32_t Index; ///< of the next element
    };

    const wchar_t* Find(wchar_t ch) const {
        const wchar_t* at = At;
        while (at < End && *at != ch) {
            ++at;
        }
        return at;
    }

    void SkipSpace() {
        while (At < End && VnStringGlobals::IsSpace(*At)) {
            ++At;
        }
    }

    void SkipComma() {
        if (At < End && *At == L',') {
            ++At;
        }
    }

    /// Steps over the bracket at the position.
    void OpenObject(CParseJSON::CNode* node) {
        ++At;
        Open.push_back({node, /*IsArray=*/false, 0});
    }
    void OpenArray(CParseJSON::CNode* node) {
        ++At;
        Open.push_back({node, /*IsArray=*/true, 0});
    }

    /// Ends the innermost level at its bracket, which may be missing.
    void Close() {
        if (At < End) {
            ++At;
        }
        Leave();
    }
    void Leave() {
        SkipSpace();
        const bool isArray = Open.back().IsArray;
        Open.pop_back();
        if (!isArray && !Open.empty() && Open.back().IsArray) {
            SkipComma();
        }
    }

    void ReadMember() {
        if (At == End || *At == L'}' || !HasMoreNames) {
            Close();
            return;
        }
        const wchar_t* const start = At;
        At = Find(L'"');
        const wchar_t* const name = At < End ? At + 1 : End;
        At = name;
        const wchar_t* const nameEnd = Find(L'"');
        if (nameEnd == End) {
            // Nor will the objects around it find one, each of which would search the same rest.
            HasMoreNames = false;
            At = start;
            Close();
            return;
        }
        const VnString& key = ShareName(name, static_cast<int32_t>(nameEnd - name));
        At = nameEnd + 1;
        At = Find(L':');
        if (At < End) {
            ++At;
        }
        SkipSpace();
        auto* const node = new CParseJSON::CNode(key, VnString());
        Open.back().Node->AddChild(node);
        if (At < End && *At == L'{') {
            OpenObject(node);
        } else if (At < End && *At == L'[') {
            OpenArray(node);
        } else {
            node->Value = ReadValue();
        }
    }

    void ReadElement() {
        if (At == End || *At == L']') {
            Close();
            return;
        }
        SkipSpace();
        if (At < End && *At == L'}') {
            // The array was not ended; this bracket is that of the object around it.
            Leave();
            return;
        }
        CLevel& level = Open.back();
        auto* const node = new CParseJSON::CNode(VnString::FromInt(level.Index), VnString());
        ++level.Index;
        level.Node->AddChild(node);
        if (At < End && *At == L'{') {
            OpenObject(node);
        } else {
            node->Value = ReadValue();
        }
    }

    /// The name as a text. The objects of an array have the same names, which then share a block.
    /// Good until the next one.
    const VnString& ShareName(const wchar_t* name, int32_t length) {
        if (length < 1) {
            return NoName;
        }
        const uint32_t ends =
            static_cast<uint32_t>(name[0]) * 31 + static_cast<uint32_t>(name[length - 1]);
        VnString& kept = Names[(ends * 31 + static_cast<uint32_t>(length)) % std::size(Names)];
        if (kept.GetLength() != length
            || std::wmemcmp(kept, name, static_cast<size_t>(length)) != 0) {
            kept = VnString(name, length);
        }
        return kept;
    }

    VnString ReadValue() {
        SkipSpace();
        return At < End && *At == L'"' ? ReadQuoted() : ReadBare();
    }

    VnString ReadQuoted() {
        const wchar_t* const start = ++At;
        while (At < End && !(*At == L'"' && At[-1] != L'\\')) {
            ++At;
        }
        VnString value(start, static_cast<int32_t>(At - start));
        if (value.Find(L'\\') >= 0) {
            value.DecodeEscapes(/*unicode=*/true, /*hexadecimal=*/false);
            value.UnescapeChars(L"\r\n\t\0", L'\\');
        }
        if (At < End) {
            ++At;
        }
        SkipSpace();
        SkipComma();
        return value;
    }

    /// A number, a literal, or what else stands up to the next comma or closing bracket.
    VnString ReadBare() {
        const wchar_t* const start = At;
        while (At < End && *At != L',' && *At != L']' && *At != L'}') {
            ++At;
        }
        VnString value(start, static_cast<int32_t>(At - start));
        SkipComma();
        value.TrimRight();
        if (value.EqualsNoCase(L"null")) {
            value.Empty();
        }
        return value;
    }

    const VnString Text;
    const wchar_t* At;
    const wchar_t* const End;
    bool HasMoreNames = true; ///< two quotes may still follow
    std::vector<CLevel> Open;
    VnString Names[64]; ///< some of those that were read
    const VnString NoName;
};

} // namespace

CParseJSON::CNode* CParseJSON::CNode::FindChild(const wchar_t* name) const {
    for (int32_t index = 0; index < GetChildCount(); ++index) {
        CNode* const child = GetChild(index);
        if (child->Name.EqualsNoCase(name)) {
            return child;
        }
    }
    return nullptr;
}

VnString CParseJSON::CNode::GetValue(const wchar_t* name) const {
    const CNode* const child = FindChild(name);
    return child == nullptr ? VnString() : child->Value;
}

bool CParseJSON::Parse(const VnString& text) {
    CReader reader(text); // holds the text, which may be a value of the tree that goes now
    Clear();
    reader.Read(*Root);
    return true;
}

void CParseJSON::Clear() {
    Root = std::make_unique<CNode>();
}

CParseJSON::CNode* CParseJSON::GetNode(const wchar_t* path) const {
    VnStringArray names;
    names.SplitByChar(path, L'\\');
    CNode* node = Root.get();
    for (int32_t index = 0; node != nullptr && index < names.GetCount(); ++index) {
        node = node->FindChild(names[index]);
    }
    return node;
}

VnString CParseJSON::GetValueAt(const wchar_t* path) const {
    const CNode* const node = GetNode(path);
    return node == nullptr ? VnString() : node->Value;
}

bool CParseJSON::HasValueAt(const wchar_t* path, const wchar_t* value) const {
    const CNode* const node = GetNode(path);
    for (int32_t index = 0; node != nullptr && index < node->GetChildCount(); ++index) {
        if (node->GetChild(index)->Value.EqualsNoCase(value)) {
            return true;
        }
    }
    return false;
}

bool CParseJSON::GetValuesAt(const wchar_t* path, VnStringArray& values) const {
    const CNode* const node = GetNode(path); // first, as the path may be one of the values
    values.Empty();
    for (int32_t index = 0; node != nullptr && index < node->GetChildCount(); ++index) {
        values.Add(node->GetChild(index)->Value);
    }
    return values.GetCount() > 0;
}

VnString CParseJSON::GetDebugText() const {
    struct CPlace {
        const CNode* Node;
        int32_t Next; ///< child to come
    };
    constexpr int32_t kIndent = 4;
    static constexpr wchar_t kRule[] = L"----\r\n";
    VnString text;
    std::vector<CPlace> places{{Root.get(), 0}};
    for (;;) {
        CPlace& place = places.back();
        if (place.Next < place.Node->GetChildCount()) {
            const CNode* const child = place.Node->GetChild(place.Next++);
            if (child->GetChildCount() > 0) {
                text += kRule;
            }
            places.push_back({child, 0});
            continue;
        }
        // All children are out; the node's own line follows them.
        const CNode* const node = place.Node;
        places.pop_back();
        if (places.empty()) {
            return text;
        }
        if (node->GetChildCount() > 0) {
            text += kRule;
        }
        VnString indent;
        indent.Prepend(L' ', kIndent * (static_cast<int32_t>(places.size()) - 1));
        text += indent + node->Name + L": " + node->Value + L"\r\n";
    }
}

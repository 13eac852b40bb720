#include "text/VnXMLDocument.h"
#include "text/VnXMLScanner.h"

#include <algorithm>
#include <cwchar>
#include <vector>

VnString VnXMLDocument::GetTagName(int32_t index) const {
    if (index <= 0) {
        return VnString();
    }
    const wchar_t* word = nullptr;
    int32_t length = 0;
    GetTagWord(index, word, length);
    return VnString(word, length);
}

VnString VnXMLDocument::GetData(int32_t index) const {
    if (IsOnNode(index)) {
        return GetNodeData();
    }
    return GetElementData(index);
}

VnString VnXMLDocument::GetElementData(int32_t index) const {
    if (index <= 0 || Record(index).FirstChild != 0) {
        return VnString();
    }
    const int32_t start = GetContentStart(index);
    const int32_t end = GetContentEnd(index);
    if (end <= start) {
        return VnString();
    }
    const wchar_t* const text = Text.GetText();
    if (std::wmemchr(text + start, L'<', static_cast<size_t>(end - start)) == nullptr) {
        return DecodeXMLText(text + start, end - start);
    }
    constexpr int32_t kOpeningLength = 9; // <![CDATA[
    constexpr int32_t kClosingLength = 3; // ]]>
    VnString data;
    VnXMLScanner scanner(text, Text.GetLength(), Flags, start);
    VnXMLToken token;
    while (scanner.Next < end && scanner.NextToken(token) != VnXMLToken::kEnd) {
        const int32_t tokenEnd = std::min(token.Offset + token.Length, end);
        if (token.Type == kNodeText) {
            data += DecodeXMLText(text + token.Offset, tokenEnd - token.Offset);
        } else if (token.Type == kNodeCDATA) {
            const int32_t inner = tokenEnd - token.Offset - kOpeningLength - kClosingLength;
            data.Append(text + token.Offset + kOpeningLength, std::max(inner, 0));
        }
    }
    return data;
}

/// The data of the current node, which is no element.
VnString VnXMLDocument::GetNodeData() const {
    int32_t opening = 0;
    int32_t closing = 0;
    switch (NodeType) {
    case kNodeText:
        return DecodeXMLText(Text.GetText() + NodeOffset, NodeLength);
    case kNodeCDATA:
        opening = 9; // <![CDATA[
        closing = 3; // ]]>
        break;
    case kNodeComment:
        opening = 4; // <!--
        closing = 3; // -->
        break;
    case kNodeInstruction:
        opening = 2;
        closing = 2;
        break;
    case kNodeLoneEndTag:
        opening = 2;
        closing = 1;
        break;
    default:
        break;
    }
    return Text.Mid(NodeOffset + opening, NodeLength - opening - closing);
}

VnString VnXMLDocument::GetChildData(const wchar_t* path) const {
    return GetElementData(FindFirstChild(path));
}

VnString VnXMLDocument::GetDataAt(const wchar_t* path) {
    SetPosition(ParentPosition, 0, 0);
    return FindElement(path) ? GetData(MainPosition) : VnString();
}

VnString VnXMLDocument::GetInnerText(int32_t index) const {
    if (index <= 0 || GetEndTagLength(index) == 0) {
        return VnString();
    }
    const int32_t start = GetContentStart(index);
    return Text.Mid(start, GetContentEnd(index) - start);
}

VnString VnXMLDocument::GetSubDocument(int32_t index) const {
    if (index <= 0) {
        return VnString();
    }
    const CRecord& record = Record(index);
    return Text.Mid(record.Start, SkipWhiteSpaceToTag(record.GetEnd()) - record.Start);
}

VnString VnXMLDocument::GetElementPath(int32_t index) const {
    std::vector<int32_t> line;
    for (int32_t at = index; at > 0; at = Record(at).Parent) {
        line.push_back(at);
    }
    VnString path;
    for (auto at = line.rbegin(); at != line.rend(); ++at) {
        const VnString name = GetTagName(*at);
        path += L'/';
        path += name;
        const int32_t place = CountPlace(*at, name);
        if (place > 1) {
            path.AppendFormat(L"[%d]", place);
        }
    }
    return path;
}

bool VnXMLDocument::GetElementOffsets(int32_t& start,
                                      int32_t& length,
                                      int32_t& contentStart,
                                      int32_t& contentLength) const {
    if (MainPosition == 0) {
        return false;
    }
    start = Record(MainPosition).Start;
    length = Record(MainPosition).Length;
    contentStart = GetContentStart(MainPosition);
    contentLength = GetContentEnd(MainPosition) - contentStart;
    return true;
}

#include "text/VnXMLDocument.h"
#include "text/VnXMLInsertPlace.h"
#include "text/VnXMLScanner.h"

bool VnXMLDocument::AddNode(int32_t type, const VnString& text, uint32_t options) {
    VnString node;
    CInsertPlace place;
    if (!CreateNodeText(type, text, options, node) || !FindInsertPlace(options, place)) {
        return false;
    }
    if ((type & (kNodeInstruction | kNodeComment | kNodeDeclaration)) == 0) {
        options |= kInsertNoLineEnd;
    }
    if (type == kNodeElement) {
        return AddSubDocument(node, options);
    }
    const int32_t start = InsertText(place, node, options);
    SetPosition(place.Parent, place.Before, 0);
    NodeType = type;
    NodeOffset = start;
    NodeLength = node.GetLength();
    return true;
}

bool VnXMLDocument::RemoveNode() {
    const int32_t parent = ParentPosition;
    if (NodeType == kNodeElement) {
        const int32_t main = MainPosition;
        const int32_t before = GetPrevious(main);
        const int32_t offset = Record(main).Start;
        RemoveRecord(main);
        StandOnNodeAhead(parent, before, offset);
        return true;
    }
    if (NodeType == kNodeNone) {
        return false;
    }
    const int32_t main = MainPosition;
    const int32_t offset = NodeOffset;
    const int32_t length = NodeLength;
    SetPosition(parent, main, 0);
    ReplaceText(offset, length);
    ShiftBehind(parent, main, -length);
    StandOnNodeAhead(parent, main, offset);
    return true;
}

/// Sets the cursor on the node that ends at `offset`, or reaches over it when a removal has joined
/// two texts. It lies behind the child `main` of `parent`, which it is itself when nothing lies
/// between.
void VnXMLDocument::StandOnNodeAhead(int32_t parent, int32_t main, int32_t offset) {
    SetPosition(parent, main, 0);
    const int32_t start = main != 0 ? Record(main).GetEnd() : GetContentStart(parent);
    VnXMLScanner scanner(Text.GetText(), Text.GetLength(), Flags, start);
    VnXMLToken token;
    while (scanner.Next < offset) {
        const int32_t type = ReadNode(scanner, token, main);
        if (type == kNodeNone) {
            return;
        }
        // A start tag without a record comes from a fragment that did not parse.
        NodeType = type == kNodeElement ? int32_t{kNodeError} : type;
        NodeOffset = token.Offset;
        NodeLength = token.Length;
    }
}

bool VnXMLDocument::SetData(int32_t index, int32_t value) {
    return SetData(index, VnString::FromInt(value).GetText());
}

bool VnXMLDocument::SetData(int32_t index, const wchar_t* value, uint32_t options) {
    const VnString data(value);
    if (IsOnNode(index)) {
        VnString node;
        if ((NodeType == kNodeText || NodeType == kNodeWhiteSpace) && data.IsEmpty()) {
            return RemoveNode();
        }
        if (!CreateNodeText(NodeType, data, options, node)) {
            return false;
        }
        const int32_t difference = node.GetLength() - NodeLength;
        ReplaceText(NodeOffset, NodeLength, node.GetText());
        NodeLength += difference;
        ShiftBehind(ParentPosition, MainPosition, difference);
        return true;
    }
    if (index <= 0 || Record(index).FirstChild != 0) {
        return false;
    }
    CInsertPlace place;
    place.Parent = index;
    InsertText(place, EncodeValue(data, options), kInsertReplace | kInsertNoLineEnd);
    if (index == ParentPosition) {
        SetPosition(index, 0, 0); // a current node lay in the content that has gone
    }
    return true;
}

bool VnXMLDocument::SetDataAt(const wchar_t* path, const wchar_t* value, uint32_t options) {
    SetPosition(ParentPosition, 0, 0);
    return FindElement(path) && SetData(MainPosition, value, options);
}

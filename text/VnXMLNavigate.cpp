#include "text/VnXMLDocument.h"
#include "text/VnXMLScanner.h"

void VnXMLDocument::SetPosition(int32_t parent, int32_t main, int32_t child) {
    ParentPosition = parent;
    MainPosition = main;
    ChildPosition = child;
    NodeType = main != 0 ? kNodeElement : kNodeNone;
    NodeOffset = 0;
    NodeLength = 0;
}

void VnXMLDocument::ResetPosition() {
    SetPosition(0, 0, 0);
}

bool VnXMLDocument::FindElement(const wchar_t* path) {
    const int32_t found = FindMatch(ParentPosition, MainPosition, path);
    if (found == 0) {
        return false;
    }
    SetPosition(Record(found).Parent, found, 0);
    return true;
}

bool VnXMLDocument::FindChildElement(const wchar_t* path, bool restart) {
    const int32_t main = MainPosition != 0 ? MainPosition : Record(ParentPosition).FirstChild;
    if (main == 0) {
        return false;
    }
    const int32_t current = restart || MainPosition == 0 ? 0 : ChildPosition;
    const int32_t found = FindMatch(main, current, path);
    // An element of the root level, where a path may lead, is nobody's child.
    if (found == 0 || Record(found).Parent == 0) {
        return false;
    }
    const int32_t newMain = Record(found).Parent;
    SetPosition(Record(newMain).Parent, newMain, found);
    return true;
}

bool VnXMLDocument::FindPreviousElement(const wchar_t* name) {
    const int32_t found = FindPreviousMatch(ParentPosition, MainPosition, name);
    if (found == 0) {
        return false;
    }
    SetPosition(ParentPosition, found, 0);
    return true;
}

bool VnXMLDocument::FindPreviousChildElement(const wchar_t* name) {
    const int32_t main = MainPosition != 0 ? MainPosition : Record(ParentPosition).FirstChild;
    if (main == 0) {
        return false;
    }
    const int32_t found = FindPreviousMatch(main, MainPosition == 0 ? 0 : ChildPosition, name);
    if (found == 0) {
        return false;
    }
    SetPosition(ParentPosition, main, found);
    return true;
}

bool VnXMLDocument::IntoElement() {
    if (MainPosition == 0) {
        return false;
    }
    SetPosition(MainPosition, ChildPosition, 0);
    return true;
}

bool VnXMLDocument::OutOfElement() {
    if (ParentPosition == 0) {
        return false;
    }
    SetPosition(Record(ParentPosition).Parent, ParentPosition, MainPosition);
    return true;
}

/// The first child of main, or of the element that serves as main, that matches; 0 for none.
int32_t VnXMLDocument::FindFirstChild(const wchar_t* path) const {
    const int32_t main = MainPosition != 0 ? MainPosition : Record(ParentPosition).FirstChild;
    return main == 0 ? 0 : FindMatch(main, 0, path);
}

int32_t VnXMLDocument::FindNode(int32_t mask) {
    int32_t main = MainPosition;
    int32_t start = GetContentStart(ParentPosition);
    if (NodeType > kNodeElement) {
        start = NodeOffset + NodeLength;
    } else if (main != 0) {
        start = Record(main).GetEnd();
    }
    const int32_t end = GetContentEnd(ParentPosition);
    VnXMLScanner scanner(Text.GetText(), Text.GetLength(), Flags, start);
    VnXMLToken token;
    while (scanner.Next < end) {
        const int32_t type = ReadNode(scanner, token, main);
        if (type == kNodeElement) {
            main = main != 0 ? Record(main).NextSibling : Record(ParentPosition).FirstChild;
            if (main == 0) {
                return 0;
            }
            if (mask == 0 || (mask & kNodeElement) != 0) {
                SetPosition(ParentPosition, main, 0);
                return kNodeElement;
            }
            scanner.Next = Record(main).GetEnd();
            continue;
        }
        if (type == kNodeNone) {
            return 0;
        }
        if (mask == 0 || (mask & type) != 0) {
            SetPosition(ParentPosition, main, 0);
            NodeType = type;
            NodeOffset = token.Offset;
            NodeLength = token.Length;
            return type;
        }
    }
    return 0;
}

/// Reads the node behind the child `main` of the parent (0: ahead of its first) and returns its
/// type, kNodeNone at the end of the text. A fragment that did not parse may hold the opening of a
/// token that runs over the elements behind it: that one is cut where they begin, so that a change
/// of the node never touches their text.
int32_t VnXMLDocument::ReadNode(VnXMLScanner& scanner, VnXMLToken& token, int32_t main) const {
    const int32_t type = scanner.NextToken(token);
    const int32_t next = main != 0 ? Record(main).NextSibling : Record(ParentPosition).FirstChild;
    const int32_t limit = next != 0 ? Record(next).Start : GetContentEnd(ParentPosition);
    if (token.Offset < limit && limit < scanner.Next) {
        token.Length = limit - token.Offset;
        scanner.Next = limit;
        return type == kNodeElement ? kNodeElement : kNodeError;
    }
    switch (type) {
    case VnXMLToken::kEnd:
        return kNodeNone;
    case VnXMLToken::kEndTag:
        return kNodeLoneEndTag;
    case VnXMLToken::kError:
        return kNodeError;
    default:
        return type;
    }
}

#include "text/VnXMLDocument.h"
#include "text/VnXMLSavedPositions.h"
#include "text/VnXMLScanner.h"

#include <algorithm>
#include <vector>

/// One run over the tokens of a text that makes the records of its elements. The open elements are
/// kept on a stack of its own, so that the depth of a document is only limited by memory.
class VnXMLDocument::CElementParser {
public:
    /// Elements at the top of the text become children of the record `base` and get the level
    /// `level`.
    CElementParser(VnXMLDocument& document, VnXMLScanner& scanner, int32_t base, int32_t level)
        : Document(document)
        , Scanner(scanner)
        , Base(base)
        , FirstLevel(level)
        , Current(base) {}

    void Run();

private:
    struct COpenElement {
        int32_t Record;
        int32_t NameLength; ///< the name stands behind the "<" at which the element starts
        int32_t SameBucket; ///< next deeper entry of this bucket, -1 for none; once indexed
        uint32_t Hash;      ///< of the name; once indexed
    };

    /// So many entries are compared one by one before the stack's names are put into buckets.
    static constexpr int32_t kLinearSearch = 64;
    static constexpr uint32_t kBuckets = 1U << 14U;

    int32_t GetDepth() const { return static_cast<int32_t>(Stack.size()); }
    const wchar_t* GetName(const COpenElement& open) const {
        return Scanner.Text + Document.Record(open.Record).Start + 1;
    }
    void Open(const VnXMLToken& token);
    bool CloseTop(const wchar_t* at);
    void Close(const VnXMLToken& token);
    void EndTop(int32_t offset, int32_t length);
    void Pop();
    void CloseUnended(int32_t count);
    void EndOfText();
    int32_t FindOpen(const VnXMLToken& token);
    bool IsNameOf(const COpenElement& open, const VnXMLToken& token) const;
    void IndexNames();
    uint32_t HashName(const wchar_t* name, int32_t length) const;
    bool KeepsError() const { return !Document.Error.IsEmpty(); }
    void SetIllFormed() { Document.Record(Base).LevelAndFlags |= kRecordIllFormed; }

    VnXMLDocument& Document;
    VnXMLScanner& Scanner;
    const int32_t Base;
    const int32_t FirstLevel;
    int32_t Current;       ///< innermost open element, or Base
    bool HasMoved = false; ///< elements were moved up, so that levels have to be set again
    std::vector<COpenElement> Stack;
    std::vector<int32_t>
        Buckets;         ///< topmost entry of each name hash; made for the first long search
    int32_t Indexed = 0; ///< entries from the bottom of the stack that are in Buckets
};

void VnXMLDocument::CElementParser::Run() {
    VnXMLToken token;
    for (;;) {
        const wchar_t* const at = Scanner.Text + Scanner.Next;
        if (*at != L'<') {
            if (*at == 0) {
                break;
            }
            Scanner.SkipText();
        } else if (VnXMLScanner::IsNameStart(at[1]) && Scanner.ScanStartTag(token)) {
            Open(token);
        } else if (at[1] == L'/' && CloseTop(at)) {
            continue;
        } else if (at[1] == L'/' && Scanner.ScanEndTag(token)) {
            Close(token);
        } else if (Scanner.NextToken(token) == VnXMLToken::kError) {
            SetIllFormed();
            Document.Record(Current).LevelAndFlags |= kRecordBadContent;
            if (!KeepsError()) {
                Document.Error = token.Message;
            }
        }
    }
    EndOfText();
    if (HasMoved) {
        Document.SetLevels(Base, FirstLevel);
    }
}

void VnXMLDocument::CElementParser::Open(const VnXMLToken& token) {
    const int32_t index = Document.TakeRecord();
    CRecord& record = Document.Record(index);
    record.Start = token.Offset;
    record.Length = token.Length;
    record.TagLengths = static_cast<uint32_t>(std::min(token.Length, kStartTagLimit));
    record.LevelAndFlags =
        static_cast<uint32_t>(std::min<int32_t>(FirstLevel + GetDepth(), kLevelMask));
    record.FirstChild = 0;
    Document.LinkLast(Current, index);
    if (token.Flags == VnXMLToken::kSelfClosed) {
        return;
    }
    if (Stack.size() == Stack.capacity()) {
        Stack.reserve(2 * Stack.size() + 6);
    }
    Stack.push_back({index, token.NameLength, -1, 0});
    Current = index;
}

/// Takes the plain end tag of the innermost element, which is what nearly all of them are.
bool VnXMLDocument::CElementParser::CloseTop(const wchar_t* at) {
    if (Stack.empty()) {
        return false;
    }
    const COpenElement& top = Stack.back();
    if (!Scanner.IsSameName(GetName(top), at + 2, top.NameLength)
        || at[2 + top.NameLength] != L'>') {
        return false;
    }
    const int32_t offset = Scanner.Next;
    const int32_t length = top.NameLength + 3;
    EndTop(offset, length);
    Scanner.Next = offset + length;
    return true;
}

void VnXMLDocument::CElementParser::Close(const VnXMLToken& token) {
    const int32_t depth = FindOpen(token);
    if (depth < 0) {
        SetIllFormed();
        Document.Record(Current).LevelAndFlags |= kRecordBadContent;
        if (!KeepsError()) {
            Document.Error.Format(L"No start tag for end tag '%s' at offset %d",
                                  VnString(Scanner.Text + token.NameOffset, token.NameLength),
                                  token.Offset);
        }
        return;
    }
    if (depth + 1 < GetDepth()) {
        if (!KeepsError()) {
            const COpenElement& top = Stack.back();
            Document.Error.Format(
                L"End tag '%s' at offset %d does not match start tag '%s' at offset %d",
                VnString(Scanner.Text + token.NameOffset, token.NameLength), token.Offset + 1,
                VnString(GetName(top), top.NameLength), Document.Record(top.Record).Start);
        }
        CloseUnended(GetDepth() - depth - 1);
    }
    EndTop(token.Offset, token.Length);
}

/// Ends the innermost element with an end tag.
void VnXMLDocument::CElementParser::EndTop(int32_t offset, int32_t length) {
    CRecord& record = Document.Record(Stack.back().Record);
    record.Length = offset + length - record.Start;
    SetEndTagLength(record, length);
    Current = record.Parent;
    Pop();
}

void VnXMLDocument::CElementParser::Pop() {
    if (GetDepth() == Indexed) {
        --Indexed;
        Buckets[Stack.back().Hash % kBuckets] = Stack.back().SameBucket;
    }
    Stack.pop_back();
}

/// Ends the innermost `count` elements at their start tags. Their children become siblings that
/// follow them. All of them are moved at once, so that no child is moved through every level.
void VnXMLDocument::CElementParser::CloseUnended(int32_t count) {
    SetIllFormed();
    int32_t outermost = 0;
    for (; count > 0; --count) {
        outermost = Stack.back().Record;
        CRecord& record = Document.Record(outermost);
        CRecord& parent = Document.Record(record.Parent);
        record.LevelAndFlags |= kRecordNoEndTag;
        if (record.Has(kRecordBadContent)) {
            record.LevelAndFlags &= ~uint32_t{kRecordBadContent};
            parent.LevelAndFlags |= kRecordBadContent;
        }
        if (record.FirstChild != 0) {
            // The element is the last child of its parent, so that its children go to the end of
            // the list.
            CRecord& first = Document.Record(record.FirstChild);
            Document.Record(parent.FirstChild).PreviousSibling = first.PreviousSibling;
            first.PreviousSibling = outermost;
            first.LevelAndFlags &= ~uint32_t{kRecordFirst};
            record.NextSibling = record.FirstChild;
            record.FirstChild = 0;
            HasMoved = true;
        }
        Pop();
    }
    const CRecord& record = Document.Record(outermost);
    Current = record.Parent;
    for (int32_t moved = record.NextSibling; moved != 0;) {
        CRecord& sibling = Document.Record(moved);
        sibling.Parent = Current;
        moved = sibling.NextSibling;
    }
}

void VnXMLDocument::CElementParser::EndOfText() {
    if (Stack.empty()) {
        return;
    }
    if (!KeepsError()) {
        const COpenElement& top = Stack.back();
        Document.Error.Format(L"Element '%s' at offset %d not ended",
                              VnString(GetName(top), top.NameLength),
                              Document.Record(top.Record).Start);
    }
    CloseUnended(GetDepth());
}

/// Depth of the innermost open element that the end tag names, -1 when there is none.
int32_t VnXMLDocument::CElementParser::FindOpen(const VnXMLToken& token) {
    if (GetDepth() - Indexed > kLinearSearch) {
        IndexNames();
    }
    for (int32_t depth = GetDepth() - 1; depth >= Indexed; --depth) {
        if (IsNameOf(Stack[static_cast<size_t>(depth)], token)) {
            return depth;
        }
    }
    if (Indexed == 0) {
        return -1;
    }
    const uint32_t hash = HashName(Scanner.Text + token.NameOffset, token.NameLength);
    int32_t depth = Buckets[hash % kBuckets];
    while (depth >= 0) {
        const COpenElement& open = Stack[static_cast<size_t>(depth)];
        if (open.Hash == hash && IsNameOf(open, token)) {
            break;
        }
        depth = open.SameBucket;
    }
    return depth;
}

bool VnXMLDocument::CElementParser::IsNameOf(const COpenElement& open,
                                             const VnXMLToken& token) const {
    if (token.NameLength > open.NameLength) {
        return false;
    }
    const wchar_t* const name = GetName(open);
    if (!Scanner.IsSameName(Scanner.Text + token.NameOffset, name, token.NameLength)) {
        return false;
    }
    return token.NameLength == open.NameLength
           || VnXMLScanner::MayFollowName(name[token.NameLength]);
}

/// Puts the names of the whole stack into buckets. An end tag that matches nothing then costs one
/// bucket and not the whole depth, which a damaged document may ask for at every tag.
void VnXMLDocument::CElementParser::IndexNames() {
    if (Buckets.empty()) {
        Buckets.assign(kBuckets, -1);
    }
    for (; Indexed < GetDepth(); ++Indexed) {
        COpenElement& open = Stack[static_cast<size_t>(Indexed)];
        open.Hash = HashName(GetName(open), open.NameLength);
        open.SameBucket = Buckets[open.Hash % kBuckets];
        Buckets[open.Hash % kBuckets] = Indexed;
    }
}

/// Hash of the part that must be the same in a start tag's name and an end tag's name that closes
/// it.
uint32_t VnXMLDocument::CElementParser::HashName(const wchar_t* name, int32_t length) const {
    const bool fold = (Scanner.Flags & kIgnoreCase) != 0;
    uint32_t hash = 0;
    for (int32_t index = 0; index < length && !VnXMLScanner::MayFollowName(name[index]); ++index) {
        const wchar_t ch = fold ? VnStringGlobals::ToLower(name[index]) : name[index];
        hash = hash * VnTextKey::kHashFactor + static_cast<uint32_t>(ch);
    }
    return hash;
}

int32_t VnXMLDocument::ParseElements(int32_t parent, VnXMLScanner& scanner, int32_t level) {
    CElementParser(*this, scanner, parent, level).Run();
    return Record(parent).FirstChild;
}

/// Makes the records of a text that stands on its own, with offsets from its start, below a new
/// record that belongs to the caller. The result is that record.
int32_t VnXMLDocument::ParseFragment(const VnString& text, int32_t level) {
    const int32_t top = TakeRecord();
    Record(top) = CRecord{};
    VnXMLScanner scanner(text.GetText(), text.GetLength(), Flags);
    ParseElements(top, scanner, level);
    return top;
}

bool VnXMLDocument::ParseDocument() {
    VnString earlier;
    earlier.Swap(Error);
    ResetPosition();
    SavedPositions.reset();
    NextFree = 1;
    FreeChain = 0;
    ReserveRecords(Text.GetLength() / 64 + 8);
    Record(0) = CRecord{};
    if (Text.IsEmpty()) {
        Error = L"Empty document";
    } else {
        VnXMLScanner scanner(Text.GetText(), Text.GetLength(), Flags);
        const int32_t root = ParseElements(0, scanner, 0);
        Record(0).Length = Text.GetLength();
        if (root == 0) {
            Error = L"No root element";
        } else if (Record(root).NextSibling != 0) {
            Error = L"Root element has sibling";
        }
    }
    ResetPosition();
    if (!earlier.IsEmpty()) {
        if (!Error.IsEmpty()) {
            earlier += L", ";
            earlier += Error;
        }
        Error.Swap(earlier);
    }
    return IsWellFormed();
}

bool VnXMLDocument::IsWellFormed() const {
    if (RecordCapacity == 0 || Record(0).Has(kRecordIllFormed)) {
        return false;
    }
    const int32_t root = Record(0).FirstChild;
    return root != 0 && Record(root).NextSibling == 0;
}

bool VnXMLDocument::SetDocument(const wchar_t* text) {
    return SetDocument(VnString(text));
}

bool VnXMLDocument::SetDocument(const VnString& text) {
    Text = text;
    Error.Empty();
    return ParseDocument();
}

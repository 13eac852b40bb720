#include "runtime/VnHugePages.h"
#include "text/VnXMLDocument.h"
#include "text/VnXMLSavedPositions.h"
#include "text/VnXMLScanner.h"

#include <algorithm>

VnXMLDocument::VnXMLDocument() {
    ParseDocument();
    Flags = kIgnoreCase;
}

VnXMLDocument::VnXMLDocument(const VnString& text) : VnXMLDocument() {
    SetDocument(text);
}

VnXMLDocument::VnXMLDocument(const VnXMLDocument& other)
    : Text(other.Text)
    , Error(other.Error)
    , ParentPosition(other.ParentPosition)
    , MainPosition(other.MainPosition)
    , ChildPosition(other.ChildPosition)
    , FreeChain(other.FreeChain)
    , NodeType(other.NodeType)
    , NodeOffset(other.NodeOffset)
    , NodeLength(other.NodeLength)
    , Flags(other.Flags) {
    if (other.SavedPositions != nullptr) {
        SavedPositions = other.SavedPositions->Clone();
    }
    while (RecordCapacity < other.NextFree) {
        ReserveRecords(other.NextFree);
        NextFree = std::min(RecordCapacity, other.NextFree);
    }
    for (int32_t start = 0; start < NextFree; start += kSegmentSize) {
        std::copy_n(&other.Record(start), std::min(kSegmentSize, NextFree - start), &Record(start));
    }
}

VnXMLDocument::VnXMLDocument(VnXMLDocument&& other) noexcept : VnXMLDocument() {
    Swap(other);
}

VnXMLDocument& VnXMLDocument::operator=(const VnXMLDocument& other) {
    if (this != &other) {
        VnXMLDocument copy(other);
        Swap(copy);
    }
    return *this;
}

VnXMLDocument& VnXMLDocument::operator=(VnXMLDocument&& other) noexcept {
    Swap(other);
    return *this;
}

VnXMLDocument::~VnXMLDocument() = default;

void VnXMLDocument::Swap(VnXMLDocument& other) noexcept {
    Text.Swap(other.Text);
    Error.Swap(other.Error);
    std::swap(ParentPosition, other.ParentPosition);
    std::swap(MainPosition, other.MainPosition);
    std::swap(ChildPosition, other.ChildPosition);
    std::swap(NextFree, other.NextFree);
    std::swap(FreeChain, other.FreeChain);
    std::swap(NodeType, other.NodeType);
    std::swap(NodeOffset, other.NodeOffset);
    std::swap(NodeLength, other.NodeLength);
    std::swap(Flags, other.Flags);
    SavedPositions.swap(other.SavedPositions);
    Segments.swap(other.Segments);
    std::swap(RecordCapacity, other.RecordCapacity);
    std::swap(SegmentCapacity, other.SegmentCapacity);
}

/// Makes room for `count` records, or for half as many again as are in use. Records of a full
/// segment never move: only the last segment grows, at most into one new segment, so that a large
/// `count` may not be reached at once.
void VnXMLDocument::ReserveRecords(int32_t count) {
    if (count == 0) {
        count = std::max(NextFree + NextFree / 2, RecordCapacity + 1);
    }
    if (count <= RecordCapacity) {
        return;
    }
    const int32_t last = RecordCapacity == 0 ? 0 : (RecordCapacity - 1) >> kSegmentBits;
    const int32_t inLast = RecordCapacity - (last << kSegmentBits);
    const int32_t wanted = count - (last << kSegmentBits);
    if (wanted <= kSegmentSize) {
        ResizeSegment(last, wanted, inLast);
        RecordCapacity = count;
        return;
    }
    if (inLast < kSegmentSize) {
        ResizeSegment(last, kSegmentSize, inLast);
    }
    const int32_t inNew = std::min(wanted - kSegmentSize, kSegmentSize);
    ResizeSegment(last + 1, inNew, 0);
    RecordCapacity = ((last + 1) << kSegmentBits) + inNew;
}

/// Gives a segment room for `count` records and keeps the first `used` ones.
void VnXMLDocument::ResizeSegment(int32_t segment, int32_t count, int32_t used) {
    if (segment >= SegmentCapacity) {
        const int32_t capacity = 2 * segment + 4;
        auto table = std::make_unique<std::unique_ptr<CRecord[]>[]>(static_cast<size_t>(capacity));
        std::move(Segments.get(), Segments.get() + SegmentCapacity, table.get());
        Segments = std::move(table);
        SegmentCapacity = capacity;
    }
    auto records = std::make_unique_for_overwrite<CRecord[]>(static_cast<size_t>(count));
    VnAdviseHugePages(records.get(), static_cast<size_t>(count) * sizeof(CRecord));
    std::copy_n(Segments[segment].get(), used, records.get());
    Segments[segment] = std::move(records);
}

/// Puts a record and all below it on the free chain. It must hang nowhere any more.
void VnXMLDocument::ReleaseRecords(int32_t index) {
    int32_t at = index;
    for (;;) {
        while (Record(at).FirstChild != 0) {
            at = Record(at).FirstChild;
        }
        // A record goes after those below it, as its links are needed until then.
        for (;;) {
            CRecord& record = Record(at);
            const int32_t next = record.NextSibling;
            record.LevelAndFlags = kRecordFree;
            record.NextSibling = FreeChain;
            FreeChain = at;
            if (at == index) {
                return;
            }
            if (next != 0) {
                at = next;
                break;
            }
            at = record.Parent;
        }
    }
}

/// Removes all elements below a record, with the saved positions on them.
void VnXMLDocument::ReleaseChildren(int32_t parent) {
    int32_t child = Record(parent).FirstChild;
    Record(parent).FirstChild = 0;
    while (child != 0) {
        const int32_t next = Record(child).NextSibling;
        ReleaseRecords(child);
        child = next;
    }
    DropRemovedPositions();
}

/// Hangs a record, whose level stands, behind the child `before` of `parent`; 0 makes it the first.
void VnXMLDocument::Link(int32_t parent, int32_t before, int32_t index) {
    const int32_t first = Record(parent).FirstChild;
    if (first == 0 || before == Record(first).PreviousSibling) {
        LinkLast(parent, index);
        return;
    }
    CRecord& record = Record(index);
    record.Parent = parent;
    const int32_t next = before == 0 ? first : Record(before).NextSibling;
    record.NextSibling = next;
    record.PreviousSibling = Record(next).PreviousSibling;
    Record(next).PreviousSibling = index;
    if (before == 0) {
        Record(parent).FirstChild = index;
        Record(next).LevelAndFlags &= ~uint32_t{kRecordFirst};
        record.LevelAndFlags |= kRecordFirst;
    } else {
        Record(before).NextSibling = index;
    }
}

/// Takes a record out of the children of its parent.
void VnXMLDocument::Unlink(int32_t index) {
    CRecord& record = Record(index);
    CRecord& parent = Record(record.Parent);
    const int32_t next = record.NextSibling;
    if (record.Has(kRecordFirst)) {
        parent.FirstChild = next;
        if (next != 0) {
            Record(next).LevelAndFlags |= kRecordFirst;
            Record(next).PreviousSibling = record.PreviousSibling;
        }
    } else {
        Record(record.PreviousSibling).NextSibling = next;
        Record(next != 0 ? next : parent.FirstChild).PreviousSibling = record.PreviousSibling;
    }
    record.LevelAndFlags &= ~uint32_t{kRecordFirst};
    record.NextSibling = 0;
}

int32_t VnXMLDocument::GetPrevious(int32_t index) const {
    const CRecord& record = Record(index);
    return record.Has(kRecordFirst) ? 0 : record.PreviousSibling;
}

int32_t VnXMLDocument::GetLastChild(int32_t parent) const {
    const int32_t first = Record(parent).FirstChild;
    return first == 0 ? 0 : Record(first).PreviousSibling;
}

int32_t VnXMLDocument::GetChildLevel(int32_t parent) const {
    const auto level = static_cast<int32_t>(Record(parent).LevelAndFlags & kLevelMask);
    return parent == 0 ? 0 : std::min<int32_t>(level + 1, kLevelMask);
}

int32_t VnXMLDocument::GetStartTagLength(int32_t index) const {
    const CRecord& record = Record(index);
    const auto length = static_cast<int32_t>(record.TagLengths & kStartTagMask);
    if (length < kStartTagLimit) {
        return length;
    }
    VnXMLScanner scanner(Text.GetText(), Text.GetLength(), Flags, record.Start);
    VnXMLToken token;
    return scanner.ScanStartTag(token) ? token.Length : length;
}

int32_t VnXMLDocument::GetEndTagLength(int32_t index) const {
    const CRecord& record = Record(index);
    const auto length = static_cast<int32_t>(record.TagLengths >> kEndTagShift);
    if (length < kEndTagLimit) {
        return length;
    }
    // The tag may hold "</" again, but no ">": it begins at the leftmost one behind the last ">".
    int32_t start = record.GetEnd() - length;
    for (int32_t at = start; at > record.Start && Text[at] != L'>'; --at) {
        if (Text[at] == L'<' && Text[at + 1] == L'/') {
            start = at;
        }
    }
    return record.GetEnd() - start;
}

/// The content of record 0 is the whole text; that of an element without an end tag is empty.
int32_t VnXMLDocument::GetContentStart(int32_t index) const {
    return index == 0 ? 0 : Record(index).Start + GetStartTagLength(index);
}

int32_t VnXMLDocument::GetContentEnd(int32_t index) const {
    return index == 0 ? Text.GetLength() : Record(index).GetEnd() - GetEndTagLength(index);
}

/// The record behind `index` in document order, 0 at the end.
int32_t VnXMLDocument::GetNextInDocument(int32_t index, bool enterChildren) const {
    if (enterChildren && Record(index).FirstChild != 0) {
        return Record(index).FirstChild;
    }
    while (index != 0 && Record(index).NextSibling == 0) {
        index = Record(index).Parent;
    }
    return index == 0 ? 0 : Record(index).NextSibling;
}

/// Sets the levels of all records below `parent` by their depth, `level` being that of its
/// children.
void VnXMLDocument::SetLevels(int32_t parent, int32_t level) {
    int32_t at = Record(parent).FirstChild;
    while (at != 0 && at != parent) {
        CRecord& record = Record(at);
        record.LevelAndFlags = (record.LevelAndFlags & ~uint32_t{kLevelMask})
                               | static_cast<uint32_t>(std::min<int32_t>(level, kLevelMask));
        if (record.FirstChild != 0) {
            at = record.FirstChild;
            ++level;
            continue;
        }
        while (at != parent && Record(at).NextSibling == 0) {
            at = Record(at).Parent;
            --level;
        }
        at = at == parent ? parent : Record(at).NextSibling;
    }
}

/// Moves an element and all below it.
void VnXMLDocument::ShiftSubtree(int32_t index, int32_t difference) {
    Record(index).Start += difference;
    ShiftSiblings(Record(index).FirstChild, difference);
}

/// Moves an element, the siblings behind it, and all below them.
void VnXMLDocument::ShiftSiblings(int32_t first, int32_t difference) {
    if (first == 0) {
        return;
    }
    const int32_t parent = Record(first).Parent;
    int32_t at = first;
    for (;;) {
        CRecord& record = Record(at);
        record.Start += difference;
        if (record.FirstChild != 0) {
            at = record.FirstChild;
            continue;
        }
        while (Record(at).NextSibling == 0) {
            at = Record(at).Parent;
            if (at == parent) {
                return;
            }
        }
        at = Record(at).NextSibling;
    }
}

/// Corrects the offsets behind a splice of `difference` characters: every record that follows
/// `index` in document order is moved, its children only with `enterChildren`, and every ancestor
/// grows. The length of `index` itself is up to the caller.
void VnXMLDocument::AdjustOffsets(int32_t index, int32_t difference, bool enterChildren) {
    if (enterChildren) {
        ShiftSiblings(Record(index).FirstChild, difference);
    }
    while (index != 0) {
        ShiftSiblings(Record(index).NextSibling, difference);
        index = Record(index).Parent;
        Record(index).Length += difference;
    }
}

/// Corrects the offsets after a splice among the children of `parent`, behind its child `before`
/// (0: ahead of the first).
void VnXMLDocument::ShiftBehind(int32_t parent, int32_t before, int32_t difference) {
    if (before != 0) {
        AdjustOffsets(before, difference, /*enterChildren=*/false);
        return;
    }
    Record(parent).Length += difference;
    AdjustOffsets(parent, difference, /*enterChildren=*/true);
}

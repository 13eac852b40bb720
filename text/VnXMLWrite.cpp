#include "text/VnXMLDocument.h"
#include "text/VnXMLInsertPlace.h"

#include <algorithm>
#include <cwchar>
#include <limits>
#include <new>

namespace {

constexpr wchar_t kLineEnd[] = L"\r\n";

} // namespace

/// The splice that every change ends in. The text grows in steps of half its size, so that many small
/// additions at its end cost no more than their own length.
void VnXMLDocument::ReplaceText(int32_t offset, int32_t length, const VnString& text) {
    const int32_t oldLength = Text.GetLength();
    const int64_t wanted = int64_t{oldLength} - length + text.GetLength();
    if (wanted >= std::numeric_limits<int32_t>::max()) {
        throw std::bad_array_new_length();
    }
    const auto newLength = static_cast<int32_t>(wanted);
    int32_t room = std::max(oldLength, newLength);
    if (newLength >= Text.GetCapacity()) {
        room = static_cast<int32_t>(
            std::min<int64_t>(wanted + wanted / 2, std::numeric_limits<int32_t>::max() - 1));
    }
    Flags |= kDocumentChanged;
    wchar_t* const buffer = Text.GetBuffer(room, /*exact=*/true, /*keepContents=*/true);
    std::wmemmove(buffer + offset + text.GetLength(),
                  buffer + offset + length,
                  static_cast<size_t>(oldLength - offset - length));
    std::wmemcpy(buffer + offset, text.GetText(), static_cast<size_t>(text.GetLength()));
    Text.ReleaseBuffer(newLength);
    if (NodeType > kNodeElement && NodeOffset >= offset + length) {
        NodeOffset += newLength - oldLength;
    }
}

/// Where the add operations put new text, by the cursor. False with kInsertChild and no main.
bool VnXMLDocument::FindInsertPlace(uint32_t options, CInsertPlace& place) const {
    if ((options & kInsertChild) != 0) {
        place.Parent = MainPosition;
        place.Reference = ChildPosition;
        return MainPosition != 0;
    }
    place.Parent = ParentPosition;
    place.IsAtNode = NodeType > kNodeElement;
    place.Reference = place.IsAtNode ? 0 : MainPosition;
    return true;
}

/// Works out what a change replaces and what goes in around the new text, which is not known here.
void VnXMLDocument::PrepareInsert(CInsertPlace& place, uint32_t options) {
    const bool isBefore = (options & kInsertBefore) != 0;
    const bool isReplace = (options & kInsertReplace) != 0;
    const VnString lineEnd = (options & kInsertNoLineEnd) != 0 ? L"" : kLineEnd;
    const bool hasTags = place.Parent != 0;
    const int32_t contentStart = GetContentStart(place.Parent);
    const int32_t contentEnd = GetContentEnd(place.Parent);
    place.Behind = lineEnd;
    if (hasTags && GetEndTagLength(place.Parent) == 0) {
        // The parent gets the end tag that it has not: "/>" or ">" becomes ">".
        const VnString name = GetTagName(place.Parent);
        const bool isSelfClosed = !Record(place.Parent).Has(kRecordNoEndTag);
        place.ReplacedLength = isSelfClosed ? 2 : 1;
        place.Offset = contentStart - place.ReplacedLength;
        place.Ahead = L">" + lineEnd;
        place.Behind += L"</" + name + L">";
        place.EndTagLength = name.GetLength() + 3;
        return;
    }
    if (isReplace) {
        place.Offset = contentStart;
        place.ReplacedLength = contentEnd - contentStart;
        return;
    }
    if (place.IsAtNode) {
        place.Before = MainPosition;
        place.Offset = isBefore ? NodeOffset : NodeOffset + NodeLength;
    } else if (place.Reference != 0) {
        place.Before = isBefore ? GetPrevious(place.Reference) : place.Reference;
        const CRecord& reference = Record(place.Reference);
        place.Offset = isBefore ? reference.Start : reference.GetEnd();
    } else {
        place.Before = isBefore ? 0 : GetLastChild(place.Parent);
        place.Offset = isBefore ? contentStart : contentEnd;
    }
    if ((options & kInsertNoLineEnd) == 0) {
        place.Offset = SkipWhiteSpaceToTag(place.Offset);
    }
    if (hasTags && contentStart == contentEnd) {
        place.Ahead = kLineEnd;
    }
}

/// Puts `text` into the document and corrects all offsets. The result is the offset at which it stands;
/// the elements in it are up to the caller, who links them behind `place.Before`.
int32_t VnXMLDocument::InsertText(CInsertPlace& place, const VnString& text, uint32_t options) {
    PrepareInsert(place, options);
    const VnString whole = place.Ahead + text + place.Behind;
    const int32_t difference = whole.GetLength() - place.ReplacedLength;
    const int32_t tagLength = place.EndTagLength > 0 ? GetStartTagLength(place.Parent) : 0;
    if ((options & kInsertReplace) != 0) {
        ReleaseChildren(place.Parent);
        Record(place.Parent).LevelAndFlags &= ~uint32_t{kRecordBadContent};
    }
    ReplaceText(place.Offset, place.ReplacedLength, whole);
    if (place.EndTagLength > 0) {
        CRecord& parent = Record(place.Parent);
        SetStartTagLength(parent, tagLength + 1 - place.ReplacedLength);
        SetEndTagLength(parent, place.EndTagLength);
        parent.LevelAndFlags &= ~uint32_t{kRecordNoEndTag};
    }
    ShiftBehind(place.Parent, place.Before, difference);
    return place.Offset + place.Ahead.GetLength();
}

/// Sets the cursor on a new element; 0 leaves it where it was, but for elements that were replaced.
void VnXMLDocument::StandOnNew(const CInsertPlace& place, int32_t index, uint32_t options) {
    const bool isReplace = (options & kInsertReplace) != 0;
    if ((options & kInsertChild) != 0) {
        if (index != 0 || isReplace) {
            SetPosition(ParentPosition, MainPosition, index);
        }
    } else if (index != 0 || isReplace) {
        SetPosition(place.Parent, index, 0);
    }
}

bool VnXMLDocument::AddElement(const VnString& name, int32_t value, uint32_t options) {
    return AddElement(name, VnString::FromInt(value).GetText(), options);
}

bool VnXMLDocument::AddElement(const VnString& name, const wchar_t* value, uint32_t options) {
    const bool hasValue = value != nullptr && *value != 0;
    const bool isStartTagOnly = (options & kInsertNoEndTag) != 0;
    CInsertPlace place;
    if (!FindInsertPlace(options, place) || (isStartTagOnly && hasValue)) {
        return false;
    }
    VnString text = L"<" + name;
    if (hasValue) {
        text += L">";
        text += EncodeValue(value, options);
        text += L"</" + name + L">";
    } else if (isStartTagOnly) {
        text += L">";
    } else {
        text += (options & kInsertBlankBeforeSlash) != 0 ? L" />" : L"/>";
    }
    const int32_t start = InsertText(place, text, options);
    const int32_t index = TakeRecord();
    CRecord& record = Record(index);
    record = CRecord{};
    record.Start = start;
    record.Length = text.GetLength();
    record.LevelAndFlags = static_cast<uint32_t>(GetChildLevel(place.Parent));
    if (hasValue) {
        SetStartTagLength(record, name.GetLength() + 2);
        SetEndTagLength(record, name.GetLength() + 3);
    } else {
        SetStartTagLength(record, text.GetLength());
        record.LevelAndFlags |= isStartTagOnly ? uint32_t{kRecordNoEndTag} : 0U;
    }
    Link(place.Parent, place.Before, index);
    StandOnNew(place, index, options);
    return true;
}

bool VnXMLDocument::AddSubDocument(const VnString& text, uint32_t options) {
    CInsertPlace place;
    if (!FindInsertPlace(options, place) || text.IsEmpty()) {
        return false;
    }
    const int32_t top = ParseFragment(text, GetChildLevel(place.Parent));
    const int32_t element = Record(top).FirstChild;
    const bool isWellFormed = element != 0 && !Record(top).Has(kRecordIllFormed);
    if (!isWellFormed) {
        ReleaseRecords(top);
        InsertText(place, text, options);
        Record(place.Parent).LevelAndFlags |= kRecordBadContent;
        Record(0).LevelAndFlags |= kRecordIllFormed;
        StandOnNew(place, 0, options);
        return false;
    }
    const int32_t elementStart = Record(element).Start;
    Unlink(element);
    ReleaseRecords(top);
    const int32_t start =
        InsertText(place, text.Mid(elementStart, Record(element).Length), options);
    ShiftSubtree(element, start - elementStart);
    Link(place.Parent, place.Before, element);
    StandOnNew(place, element, options);
    return true;
}

bool VnXMLDocument::SetElementContent(const VnString& text) {
    if (MainPosition == 0 || NodeType > kNodeElement) {
        return false;
    }
    CInsertPlace place;
    place.Parent = MainPosition;
    const int32_t top = ParseFragment(text, GetChildLevel(MainPosition));
    const bool isWellFormed = !Record(top).Has(kRecordIllFormed);
    const int32_t start = InsertText(place, text, kInsertReplace | kInsertNoLineEnd);
    const int32_t first = Record(top).FirstChild;
    ShiftSiblings(first, start);
    Record(top).FirstChild = 0;
    Record(MainPosition).FirstChild = first;
    for (int32_t child = first; child != 0; child = Record(child).NextSibling) {
        Record(child).Parent = MainPosition;
    }
    if (!isWellFormed) {
        Record(MainPosition).LevelAndFlags |= Record(top).LevelAndFlags & kRecordBadContent;
        Record(0).LevelAndFlags |= kRecordIllFormed;
    }
    ReleaseRecords(top);
    SetPosition(ParentPosition, MainPosition, 0);
    return isWellFormed;
}

/// Removes an element with all below it, and the white space behind it when a tag or the end follows.
void VnXMLDocument::RemoveRecord(int32_t index) {
    const int32_t parent = Record(index).Parent;
    const int32_t before = GetPrevious(index);
    const int32_t start = Record(index).Start;
    const int32_t length = SkipWhiteSpaceToTag(Record(index).GetEnd()) - start;
    Unlink(index);
    ReleaseRecords(index);
    DropRemovedPositions();
    ReplaceText(start, length, VnString());
    ShiftBehind(parent, before, -length);
}

bool VnXMLDocument::RemoveElement() {
    if (MainPosition == 0) {
        return false;
    }
    const int32_t before = GetPrevious(MainPosition);
    RemoveRecord(MainPosition);
    SetPosition(ParentPosition, before, 0);
    return true;
}

bool VnXMLDocument::RemoveChildElement() {
    if (ChildPosition == 0) {
        return false;
    }
    const int32_t before = GetPrevious(ChildPosition);
    RemoveRecord(ChildPosition);
    SetPosition(ParentPosition, MainPosition, before);
    return true;
}

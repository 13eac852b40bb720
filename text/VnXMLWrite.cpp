#include "text/VnXMLDocument.h"
#include "text/VnXMLInsertPlace.h"

#include <algorithm>
#include <cwchar>
#include <limits>
#include <new>
#include <string_view>

namespace {

constexpr wchar_t kLineEnd[] = L"\r\n";

std::wstring_view View(const VnString& text) {
    return {text.GetText(), static_cast<size_t>(text.GetLength())};
}

} // namespace

/// The splice that every change ends in: the three pieces take the place of `length` characters.
/// The text grows in steps of half its size, so that many small additions at its end cost no more
/// than their own length. The pieces must not lie in the text itself.
void VnXMLDocument::ReplaceText(int32_t offset,
                                int32_t length,
                                std::wstring_view first,
                                std::wstring_view second,
                                std::wstring_view third) {
    const int32_t oldLength = Text.GetLength();
    const size_t added = first.size() + second.size() + third.size();
    const int64_t wanted = int64_t{oldLength} - length + static_cast<int64_t>(added);
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
    wchar_t* at = buffer + offset;
    std::wmemmove(at + added, at + length, static_cast<size_t>(oldLength - offset - length));
    for (const std::wstring_view piece : {first, second, third}) {
        at = std::copy(piece.begin(), piece.end(), at);
    }
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
    const std::wstring_view lineEnd = (options & kInsertNoLineEnd) != 0 ? L"" : kLineEnd;
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
        place.Ahead = lineEnd.empty() ? L">" : L">\r\n";
        if (isSelfClosed && Text[place.Offset - 1] == L'/') {
            // Of "//>" one slash stays, which must not make an end of the tag with the new ">".
            place.Ahead = lineEnd.empty() ? L" >" : L" >\r\n";
        }
        place.EndTag = lineEnd.data() + (L"</" + name) + L">";
        place.Behind = View(place.EndTag);
        place.EndTagLength = name.GetLength() + 3;
        return;
    }
    if (isReplace) {
        place.Offset = contentStart;
        place.ReplacedLength = contentEnd - contentStart;
        place.Ahead = hasTags && place.ReplacedLength == 0 ? lineEnd : L"";
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

/// Puts `text` into the document and corrects all offsets. The result is the offset at which it
/// stands; the elements in it are up to the caller, who links them behind `place.Before`.
int32_t VnXMLDocument::InsertText(CInsertPlace& place, const VnString& text, uint32_t options) {
    PrepareInsert(place, options);
    const auto ahead = static_cast<int32_t>(place.Ahead.size());
    const auto behind = static_cast<int32_t>(place.Behind.size());
    const int32_t difference = ahead + text.GetLength() + behind - place.ReplacedLength;
    const int32_t tagLength = place.EndTagLength > 0 ? GetStartTagLength(place.Parent) : 0;
    if ((options & kInsertReplace) != 0) {
        ReleaseChildren(place.Parent);
        Record(place.Parent).LevelAndFlags &= ~uint32_t{kRecordBadContent};
    }
    ReplaceText(place.Offset, place.ReplacedLength, place.Ahead, View(text), place.Behind);
    if (place.EndTagLength > 0) {
        CRecord& parent = Record(place.Parent);
        const auto tagEnd = static_cast<int32_t>(place.Ahead.find(L'>') + 1);
        SetStartTagLength(parent, tagLength + tagEnd - place.ReplacedLength);
        SetEndTagLength(parent, place.EndTagLength);
        parent.LevelAndFlags &= ~uint32_t{kRecordNoEndTag};
    }
    ShiftBehind(place.Parent, place.Before, difference);
    return place.Offset + ahead;
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
    if (&name == &Text) {
        return AddElement(VnString(name), value, options);
    }
    const bool hasValue = value != nullptr && *value != 0;
    const bool isStartTagOnly = (options & kInsertNoEndTag) != 0;
    CInsertPlace place;
    if (!FindInsertPlace(options, place) || (isStartTagOnly && hasValue)) {
        return false;
    }
    VnString text;
    if (hasValue) {
        const VnString encoded = EncodeValue(value, options);
        const int32_t length = name.GetLength();
        text.GetBuffer(2 * length + encoded.GetLength() + 5, /*exact=*/true);
        text.ReleaseBuffer(0);
        text.Append(L"<", 1, name, length, L">", 1, encoded, encoded.GetLength());
        text.Append(L"</", 2, name, length, L">", 1);
    } else {
        const bool hasBlank = (options & kInsertBlankBeforeSlash) != 0;
        text.Append(L"<", 1, name, name.GetLength(),
                    isStartTagOnly ? L">"
                    : hasBlank     ? L" />"
                                   : L"/>",
                    -1);
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
    if (&text == &Text) {
        return AddSubDocument(VnString(text), options);
    }
    CInsertPlace place;
    if (!FindInsertPlace(options, place) || text.IsEmpty()) {
        return false;
    }
    const int32_t top = ParseFragment(text, GetChildLevel(place.Parent));
    const int32_t element = Record(top).FirstChild;
    const bool isIllFormed = Record(top).Has(kRecordIllFormed);
    if (isIllFormed || element == 0) {
        ReleaseRecords(top);
        InsertText(place, text, options);
        if (isIllFormed) {
            Record(place.Parent).LevelAndFlags |= kRecordBadContent;
            Record(0).LevelAndFlags |= kRecordIllFormed;
        }
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
    if (&text == &Text) {
        return SetElementContent(VnString(text));
    }
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

/// Removes an element with all below it, and the white space behind it when a tag or the end
/// follows.
void VnXMLDocument::RemoveRecord(int32_t index) {
    const int32_t parent = Record(index).Parent;
    const int32_t before = GetPrevious(index);
    const int32_t start = Record(index).Start;
    const int32_t length = SkipWhiteSpaceToTag(Record(index).GetEnd()) - start;
    Unlink(index);
    ReleaseRecords(index);
    DropRemovedPositions();
    ReplaceText(start, length);
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

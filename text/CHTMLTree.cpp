#include "text/CHTMLTree.h"

#include "core/VnStringArray.h"
#include "core/VnStringDetail.h"
#include "text/CHTMLBlocks.h"

#include <string_view>
#include <unordered_set>
#include <vector>

namespace {

using Item = CHTMLTree::CItem;

/// Adds `item` behind the children of `parent`, which owns it from now on.
Item* Append(Item* parent, Item* item) {
    Item* const last = parent->GetChild(parent->GetChildCount() - 1);
    parent->AddChild(item);
    item->Parent = parent;
    item->Previous = last;
    item->Next = nullptr;
    if (last != nullptr) {
        last->Next = item;
    }
    return item;
}

/// The last tag of each type. A document repeats the same few, and equal ones share their text.
class CTags {
public:
    explicit CTags(const VnString& text) : Text(text) {}

    const VnString& Get(int32_t type, int32_t start, int32_t end) {
        VnString& last = Last[type];
        const auto length = static_cast<size_t>(end - start);
        const std::wstring_view tag(Text.GetText() + start, length);
        if (std::wstring_view(last.GetText(), static_cast<size_t>(last.GetLength())) != tag) {
            last = Text.Mid(start, end - start);
        }
        return last;
    }

private:
    const VnString& Text;
    VnString Last[CHTMLTree::kCell + 1];
};

/// Takes the items of `removed` out of the children of `parent`; they are the caller's now. The
/// list is put together anew, as taking one item at a time out of a long one moves what is left
/// each time.
void CutChildren(Item* parent, const std::unordered_set<const Item*>& removed) {
    std::vector<Item*> kept; // from the last to the first
    for (int32_t index = parent->GetChildCount() - 1; index >= 0; --index) {
        Item* const child = parent->DetachChild(index);
        if (!removed.contains(child)) {
            kept.push_back(child);
        }
    }
    for (; !kept.empty(); kept.pop_back()) {
        Append(parent, kept.back());
    }
}

} // namespace

/// The item behind `item` in document order, but none outside the items below `top`; null at the
/// end.
CHTMLTree::CItem* CHTMLTree::Step(const CItem* item, const CItem* top) {
    if (item->GetChildCount() > 0) {
        return item->GetChild(0);
    }
    while (item != top && item != nullptr && item->Next == nullptr) {
        item = item->Parent;
    }
    return item == top || item == nullptr ? nullptr : item->Next;
}

bool CHTMLTree::Parse(const VnString& text) {
    const VnString kept(text); // it may be the text of an item that goes now
    Clear();
    ParseBlocks(kept, &Root);
    return true;
}

void CHTMLTree::ParseBlocks(const VnString& text, CItem* parent) {
    struct COpenBlock {
        CItem* Start;
        int32_t ContentEnd; ///< where the end item begins
        int32_t End;
    };
    CHTMLBlocks blocks(text);
    CTags startTags(text);
    CTags endTags(text);
    std::vector<COpenBlock> open{{parent, text.GetLength(), text.GetLength()}};
    int32_t at = 0;
    while (!open.empty()) {
        const COpenBlock current = open.back();
        CHTMLBlocks::CBlock block;
        const bool found = blocks.FindNext(at, current.ContentEnd, block);
        const int32_t textEnd = found ? block.Start : current.ContentEnd;
        if (textEnd > at) {
            Append(current.Start, new CItem(kText, text.Mid(at, textEnd - at), 0));
        }
        if (!found) {
            open.pop_back();
            at = current.End;
            if (!open.empty()) {
                const int32_t type = current.Start->Type;
                Append(open.back().Start,
                       new CItem(type, endTags.Get(type, current.ContentEnd, current.End), kEnd));
            }
        } else if (CHTMLBlocks::HasContent(block.Type)) {
            const int32_t contentStart = text.Find(L'>', block.Start) + 1;
            const int32_t lastTag = text.ReverseFind(L'<', block.End - 1);
            CItem* const start =
                Append(current.Start,
                       new CItem(block.Type, startTags.Get(block.Type, block.Start, contentStart),
                                 kStart));
            open.push_back({start, lastTag < contentStart ? block.End : lastTag, block.End});
            at = contentStart;
        } else {
            Append(current.Start,
                   new CItem(block.Type, text.Mid(block.Start, block.End - block.Start), 0));
            at = block.End;
        }
    }
}

void CHTMLTree::Clear() {
    Root.Text.Empty();
    Root.DeleteChildren();
}

VnString CHTMLTree::CItem::GetHTML(bool own, bool children, bool following) const {
    VnString html;
    if (own) {
        html += Text;
    }
    if (children) {
        for (const CItem* item = Step(this, this); item != nullptr; item = Step(item, this)) {
            html += item->Text;
        }
    }
    if (following && Next != nullptr) {
        html += Next->Text;
    }
    return html;
}

VnString CHTMLTree::GetVisibleText() const {
    VnString text;
    for (const CItem* item = &Root; item != nullptr; item = Step(item, &Root)) {
        if ((item->Flags & kHidden) == 0) {
            text += item->Text;
        }
    }
    return text;
}

void CHTMLTree::SetHidden(CItem* item, bool hidden) {
    item->Flags = hidden ? item->Flags | kHidden : item->Flags & ~uint32_t{kHidden};
}

void CHTMLTree::SetVisible(CItem* item, bool visible, bool recursive) {
    if (item == nullptr) {
        return;
    }
    SetHidden(item, !visible);
    if ((item->Flags & kStart) != 0 && item->Next != nullptr && (item->Next->Flags & kEnd) != 0) {
        SetHidden(item->Next, !visible);
    }
    if (recursive) {
        for (CItem* below = Step(item, item); below != nullptr; below = Step(below, item)) {
            SetHidden(below, !visible);
        }
    }
}

bool CHTMLTree::HasVisibleText(const CItem* item, bool recursive) const {
    const auto isVisibleText = [](const CItem* at) {
        return at->Type == kText && !at->Text.IsEmpty() && (at->Flags & kHidden) == 0;
    };
    if (item == nullptr || isVisibleText(item)) {
        return item != nullptr;
    }
    if (recursive) {
        for (const CItem* below = Step(item, item); below != nullptr; below = Step(below, item)) {
            if (isVisibleText(below)) {
                return true;
            }
        }
    }
    return false;
}

void CHTMLTree::HideEmptyDivs() {
    // All items above visible text, found in one pass: asking each div for itself would walk a deep
    // tree again at every level.
    std::unordered_set<const CItem*> filled;
    for (CItem* item = &Root; item != nullptr; item = Step(item, &Root)) {
        if (HasVisibleText(item, /*recursive=*/false)) {
            for (const CItem* above = item; above != nullptr && filled.insert(above).second;) {
                above = above->Parent;
            }
        }
    }
    for (CItem* item = &Root; item != nullptr; item = Step(item, &Root)) {
        if (item->Type == kDiv && (item->Flags & kStart) != 0 && !filled.contains(item)) {
            SetVisible(item, /*visible=*/false, /*recursive=*/true);
            if (item->Next != nullptr) {
                // What lies below is hidden with it; go on at the end item.
                item = item->Next;
            }
        }
    }
}

void CHTMLTree::GetNames(const CItem* item, int32_t type, VnStringArray& names, bool ascend) const {
    for (; item != nullptr; item = ascend ? item->Parent : nullptr) {
        if (item->Type != type || (item->Flags & kStart) == 0) {
            continue;
        }
        const std::wstring_view text(item->Text.GetText(),
                                     static_cast<size_t>(item->Text.GetLength()));
        for (const std::wstring_view attribute :
             {std::wstring_view(L"id=\""), std::wstring_view(L"class=\"")}) {
            const int32_t hit = VnStringDetail::FindIn(text, attribute, 0, /*caseFlag=*/false);
            if (hit < 0) {
                continue;
            }
            const size_t start = static_cast<size_t>(hit) + attribute.size();
            const size_t end = text.find(L'"', start);
            if (end != std::wstring_view::npos && end > start) {
                const VnString value(text.data() + start, static_cast<int32_t>(end - start));
                names.AppendSplit(value, L" ", /*trim=*/true);
            }
        }
    }
}

bool CHTMLTree::FindItems(int32_t type, const wchar_t* name, bool partial, CItemArray& items) {
    items.Empty();
    const bool takesAll = name == nullptr || *name == 0;
    VnStringArray names;
    for (CItem* item = &Root; item != nullptr; item = Step(item, &Root)) {
        if (item->Type != type || (item->Flags & kStart) == 0) {
            continue;
        }
        names.Empty();
        GetNames(item, type, names, /*ascend=*/false);
        if (takesAll || names.Find(name, /*caseFlag=*/false, /*whole=*/!partial) >= 0) {
            items.Add(item);
        }
    }
    return items.GetCount() > 0;
}

VnString CHTMLTree::GetDivContent(const wchar_t* name) {
    CItemArray items;
    if (!FindItems(kDiv, name, /*partial=*/false, items)) {
        return VnString();
    }
    return items[0]->GetHTML(/*own=*/false, /*children=*/true, /*following=*/false);
}

void CHTMLTree::RemoveDivs(const wchar_t* name) {
    CItemArray items;
    FindItems(kDiv, name, /*partial=*/true, items);
    const std::unordered_set<const CItem*> removed(items.begin(), items.end());
    std::unordered_set<const CItem*> cut;
    for (const CItem* item : items) {
        if (cut.insert(item->Parent).second) {
            CutChildren(item->Parent, removed);
        }
    }
    for (const CItem* item : items) {
        delete item;
    }
}

#pragma once

#include "core/VnArray.h"
#include "core/VnOwnedChildren.h"
#include "core/VnString.h"

#include <cstdint>
#include <utility>

class VnStringArray;

/// Cuts an HTML text into a shallow tree of blocks, to read, hide or remove some of them.
///
/// This is no HTML parser: only the blocks of ItemTypes are known, by the beginning of their tag's
/// name and in any letter case, and everything else is plain text. Every character of the text
/// stays in exactly one item, so that the items in document order give the text back. A block of
/// kDiv, kForm, kRow or kCell has a start item, which holds its content as children, and an end
/// item, which is the start item's next sibling; a block of another type is one item without
/// children. A start without an end is plain text.
///
/// The tree owns its items; pointers to them live until the next Parse or Clear, or their removal.
/// For one thread at a time.
class CHTMLTree {
public:
    enum ItemTypes : int32_t {
        kRoot = 0,
        kText = 1, ///< everything outside a block
        kDiv = 2,
        kObject = 3,
        kScript = 4,
        kStyle = 5,
        kForm = 6,
        kComment = 7,
        kRow = 8,
        kCell = 9,
    };

    enum ItemFlags : uint32_t {
        kStart = 1,  ///< start item of a block with children: the text up to its first ">"
        kEnd = 2,    ///< end item of such a block: the text from its last "<" on
        kHidden = 4, ///< left out of GetVisibleText
    };

    /// One piece of the text.
    class CItem : public VnOwnedChildren<CItem> {
    public:
        CItem() = default;
        CItem(int32_t type, VnString text, uint32_t flags)
            : Type(type)
            , Text(std::move(text))
            , Flags(flags) {}
        virtual ~CItem() = default;

        /// The item's text if `own`, then that of all below it if `children`, then that of the next
        /// sibling if `following`. Hidden items count as well.
        VnString GetHTML(bool own, bool children, bool following) const;

        CItem* Parent = nullptr;   ///< null for the root
        CItem* Previous = nullptr; ///< sibling, not owned
        CItem* Next = nullptr;     ///< sibling, not owned
        int32_t Type = kRoot;
        VnString Text; ///< the item's own piece
        uint32_t Flags = 0;
    };

    /// Items found; they stay the tree's.
    using CItemArray = VnArray<CItem*, CItem*, false>;

    CHTMLTree() = default;
    virtual ~CHTMLTree() = default;

    /// Replaces the tree by that of `text`. Always true.
    bool Parse(const VnString& text);
    /// Adds the items of `text` behind the children of `parent`, an item of this tree.
    void ParseBlocks(const VnString& text, CItem* parent);
    /// Leaves the root alone, with an empty text.
    void Clear();

    CItem* GetRoot() { return &Root; }

    /// The item behind `item` in document order, null being ahead of the root; null at the end.
    CItem* NextItem(CItem* item) { return item == nullptr ? &Root : Step(item, nullptr); }
    /// The texts of all items that are not hidden. Children of a hidden item count by their own
    /// flag.
    VnString GetVisibleText() const;
    /// Shows or hides an item, with its end item, and with `recursive` all below it. Null does
    /// nothing.
    void SetVisible(CItem* item, bool visible, bool recursive);
    /// Whether an item is plain text that is not hidden and not empty, or with `recursive` has such
    /// an item below it. White space counts as text.
    bool HasVisibleText(const CItem* item, bool recursive) const;
    /// Hides every div without visible text, with its end item and all below it.
    void HideEmptyDivs();
    /// Appends to `names` the words of the id and then of the class of a start item of that type;
    /// with `ascend` those of the items above it as well. Other items have none.
    void GetNames(const CItem* item, int32_t type, VnStringArray& names, bool ascend) const;
    /// Fills `items` with the start items of a type that have the name, in any letter case, or with
    /// `partial` a name that contains it; an empty name takes all. True when there was one.
    bool FindItems(int32_t type, const wchar_t* name, bool partial, CItemArray& items);
    /// The text inside the first div of that name; empty when there is none.
    VnString GetDivContent(const wchar_t* name);
    /// Deletes the start items, with all below them, of every div that has a name which contains
    /// `name`; an empty name takes all. Their end items stay. The siblings around a removed item
    /// are linked.
    void RemoveDivs(const wchar_t* name);

private:
    static CItem* Step(const CItem* item, const CItem* top);
    static void SetHidden(CItem* item, bool hidden);

    CItem Root;
};

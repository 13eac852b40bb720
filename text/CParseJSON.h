#pragma once

#include "core/VnOwnedChildren.h"
#include "core/VnString.h"

#include <cstdint>
#include <memory>

class VnStringArray;

/// Reads JSON text into a tree of named texts, for looking values up by a path.
///
/// It does not validate and has no errors: it walks the text by the next quote, colon or bracket,
/// and a broken text gives a shorter tree. Numbers and literals stay text, null is the empty text.
/// An array inside an array is no node of its own: it reads as a bare value, cut at its first
/// comma.
///
/// A path is names from the root down, separated by back-slashes, with the decimal index in an
/// array: `items\0\title`. An empty last name is dropped, and the empty path is the root. Names
/// match in any letter case, and of several members of one name the first counts. Nodes belong to
/// the tree and live until the next Parse or Clear. For one thread at a time.
class CParseJSON {
public:
    /// A member of an object or an element of an array.
    class CNode : public VnOwnedChildren<CNode> {
    public:
        CNode() = default;
        CNode(const VnString& name, const VnString& value) : Name(name), Value(value) {}
        virtual ~CNode() = default;

        /// The first child of that name, null when there is none.
        CNode* FindChild(const wchar_t* name) const;
        /// The value of that child, empty when there is none.
        VnString GetValue(const wchar_t* name) const;

        VnString Name;  ///< key, or decimal index in an array; empty for the root
        VnString Value; ///< text of a scalar, empty for objects and arrays
    };

    CParseJSON() { Clear(); }

    /// Drops the old tree and reads the object that the first "{" of `text` opens; what stands
    /// around it is ignored. Always true.
    bool Parse(const VnString& text);
    /// Drops the tree and makes an empty root.
    void Clear();

    /// The value at a path, empty when the path leads nowhere.
    VnString GetValueAt(const wchar_t* path) const;
    VnString GetNodeValue(const wchar_t* path) const { return GetValueAt(path); }
    /// The node at a path, null when it leads nowhere.
    CNode* GetNode(const wchar_t* path) const;
    /// Whether the node at the path has a child with that value, in any letter case.
    bool HasValueAt(const wchar_t* path, const wchar_t* value) const;
    /// Fills `values` with the values of all children of the node at the path. True when there was
    /// one.
    bool GetValuesAt(const wchar_t* path, VnStringArray& values) const;
    /// The tree as text for people: a line "name: value" per node, indented by four blanks a level,
    /// and children between two lines "----" ahead of the line of their node.
    VnString GetDebugText() const;

private:
    std::unique_ptr<CNode> Root;
};

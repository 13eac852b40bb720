#pragma once

#include "core/VnString.h"

#include <cstdint>
#include <memory>
#include <string_view>

class VnXMLScanner;
struct VnXMLPathPiece;
struct VnXMLToken;

/// An XML document: one wide text and an index of its elements, with a cursor.
///
/// There is no tree of objects. The text is at all times what would be saved, and each element has
/// a record of its offsets in that text and the links to its neighbours. Text, comments,
/// instructions and declarations have no record: they are found again by scanning between the
/// elements. Reading goes back to the text, changing splices the text and corrects the offsets
/// behind the splice.
///
/// The parser always builds a usable index. After a mistake it goes on, keeps the first message,
/// and only says at the end whether the document was well-formed.
///
/// The cursor has three positions, which are indexes of records: the parent (0: the document level)
/// whose children are walked, the main position (0: ahead of the first of them), and a child of
/// main (0: none). It can also stand on a node that is no element; then main is the element ahead
/// of it. A search that fails leaves the cursor as it was. Indexes stay valid until their element
/// is removed or the document is parsed anew; index 0 reads as empty, any other index must come
/// from the cursor.
///
/// A path, the argument of a search, is one of these. Null or empty matches any element.
/// - `name`: among the siblings that the search walks; "*" is any name
/// - `first/second`: an element called second among the children of one called first
/// - `/first`: from the root level, wherever the cursor stands
/// - `//name`: in the whole document behind the cursor, at any depth; nothing may follow
/// - `name[3]`: the third of that name among its siblings, counted from 1
/// - `name[child]`: one that has a child called child
/// - `name[@attribute]`: one that has that attribute; a value written behind it is not looked at
///
/// Names are compared without regard to letter case while kIgnoreCase is set, as it is from the
/// start. White space is space, tab, line feed and carriage return. A position in the text is an
/// int32 and counts characters. A document is for one thread at a time; copies are deep, but for
/// the text, which is shared until one of them changes.
class VnXMLDocument {
public:
    /// Flags of the document.
    enum DocumentFlags : uint32_t {
        kDocumentChanged = 2, ///< set by every change of the text
        kIgnoreCase = 8,      ///< names match in any letter case
    };

    /// Types of nodes; the values are bits, so that a mask can name several.
    enum NodeTypes : int32_t {
        kNodeNone = 0,
        kNodeElement = 1,
        kNodeText = 2,
        kNodeWhiteSpace = 4, ///< nothing but white space
        kNodeCDATA = 8,
        kNodeInstruction = 16, ///< processing instruction or XML declaration
        kNodeComment = 32,
        kNodeDeclaration = 64, ///< document type declaration
        kNodeLoneEndTag = 128, ///< end tag without a start tag
        kNodeError = 0x8000,   ///< a stretch that is no token of the language
    };

    /// How the add operations write, bits of their options.
    enum InsertOptions : uint32_t {
        kInsertCDATA = 1,            ///< the value as a CDATA section
        kInsertNoLineEnd = 2,        ///< no CR LF behind the new text
        kInsertBlankBeforeSlash = 4, ///< `<a />` for an empty element
        kInsertNoEndTag = 0x10,      ///< `<a>` alone for an element without a value
        kInsertEscapeQuotes = 0x100, ///< quotes are escaped in the value too
        kInsertReplace = 0x1000,     ///< in the place of the whole content of the parent
        kInsertBefore = 0x2000,      ///< ahead of the reference, or of the parent's content
        kInsertChild = 0x4000, ///< one level down: main is the parent, and the child position moves
    };

    /// An empty document.
    VnXMLDocument();
    /// Parses `text`, as SetDocument does.
    explicit VnXMLDocument(const VnString& text);
    VnXMLDocument(const VnXMLDocument& other);
    /// The source is an empty document afterwards.
    VnXMLDocument(VnXMLDocument&& other) noexcept;
    VnXMLDocument& operator=(const VnXMLDocument& other);
    VnXMLDocument& operator=(VnXMLDocument&& other) noexcept;
    ~VnXMLDocument();

    /// Exchanges everything with `other`.
    void Swap(VnXMLDocument& other) noexcept;

    // Whole documents: VnXMLParser.cpp, VnXMLFiles.cpp

    /// Replaces the text, null being an empty one, and parses it. False when it is not well-formed;
    /// GetError then says why, and the elements are there all the same.
    bool SetDocument(const wchar_t* text);
    bool SetDocument(const VnString& text);

    /// Parses the text that is there. The positions, saved ones too, are gone. An error that is
    /// stored already stays, and a new one follows it behind ", ". The result is that of
    /// IsWellFormed.
    bool ParseDocument();

    /// Reads and parses a file of UTF-8 text. False when it cannot be read, in which case the error
    /// is empty and the document as well, or when it is not well-formed.
    bool Load(const wchar_t* path);

    /// Writes the text as it stands, as UTF-8 without a mark, making the folders of the path. True
    /// when every byte was written.
    bool Save(const wchar_t* path) const;

    /// Exactly one root element, and nothing ill-formed seen. Goes by the records as they are now.
    bool IsWellFormed() const;

    /// The document as text. The reference stays, its contents change with the document.
    const VnString& GetText() const { return Text; }
    /// The first error of the last parse, empty when there was none.
    const VnString& GetError() const { return Error; }
    uint32_t GetFlags() const { return Flags; }
    void SetFlags(uint32_t flags) { Flags = flags; }

    // Cursor: VnXMLNavigate.cpp

    int32_t GetParentPosition() const { return ParentPosition; }
    int32_t GetMainPosition() const { return MainPosition; }
    int32_t GetChildPosition() const { return ChildPosition; }
    /// Type of the current node: one of NodeTypes; kNodeElement on main, kNodeNone without a
    /// position.
    int32_t GetNodeType() const { return NodeType; }
    /// Back to the document level, ahead of its first element.
    void ResetPosition();

    /// The next sibling of main, or first child of the parent while main is 0, that matches becomes
    /// main.
    bool FindElement(const wchar_t* path = nullptr);
    /// The next child of main that matches becomes the child position; `restart` begins at the
    /// first child. With main at 0 the first element of the parent serves as main. Main and parent
    /// follow when a path went deeper.
    bool FindChildElement(const wchar_t* path = nullptr, bool restart = false);
    /// As FindElement, backwards, from the last child while main is 0. Only a name, with what may
    /// stand in brackets behind it, not a path of several levels.
    bool FindPreviousElement(const wchar_t* name = nullptr);
    /// As FindPreviousElement, among the children of main; with no child position from the last
    /// one.
    bool FindPreviousChildElement(const wchar_t* name = nullptr);
    /// Down: main becomes the parent, child becomes main. False without a main position.
    bool IntoElement();
    /// Up: the parent becomes main, main becomes the child. False at the document level.
    bool OutOfElement();
    /// Goes to the next node behind the cursor, within the parent, of a type in `mask` (NodeTypes;
    /// 0 any). Elements are not entered. The result is its type, 0 when there is none.
    int32_t FindNode(int32_t mask = 0);

    // Saved positions: VnXMLPositions.cpp

    /// Keeps the child position if there is one, else main, else the parent, under `name`,
    /// replacing what had that name. Always true.
    bool SavePosition(const wchar_t* name);
    /// Sets the cursor back. False for an unknown name, or when that element was removed.
    bool RestorePosition(const wchar_t* name);

    // Reading: VnXMLRead.cpp, VnXMLAttributes.cpp

    /// Name in the start tag of an element.
    VnString GetTagName(int32_t index) const;
    /// Name of the current node: "#text", "#cdata-section", "#comment", the target of an
    /// instruction, the name in a lone end tag, the second word of a declaration, or the tag name
    /// of main.
    VnString GetNodeName() const;
    /// Decoded value of an attribute; empty when there is none. An attribute without "=" has its
    /// own name as value. While the cursor stands on an instruction, `index` main reads that
    /// instruction; on any other node that is no element it gives an empty text.
    VnString GetAttribute(int32_t index, const wchar_t* name) const;
    /// Name of attribute number `number`, from 0, of main or of the current instruction; empty past
    /// the last.
    VnString GetAttributeName(int32_t number) const;
    /// An attribute of the first child of main that matches. The cursor stays.
    VnString GetChildAttribute(const wchar_t* path, const wchar_t* name) const;
    /// Decoded text of an element: text and CDATA joined, the rest dropped; empty for an element
    /// with child elements. While the cursor stands on a node that is no element, `index` main
    /// reads that node: text decoded; CDATA, comment, instruction and lone end tag without their
    /// delimiters; others raw.
    VnString GetData(int32_t index) const;
    /// GetData of the first child of main that matches. The cursor stays.
    VnString GetChildData(const wchar_t* path) const;
    /// Clears main and child, finds among the children of the parent, and reads what it found; the
    /// cursor stays there.
    VnString GetDataAt(const wchar_t* path);
    /// The raw text between start tag and end tag; empty for an element without both.
    VnString GetInnerText(int32_t index) const;
    /// The raw text of an element with its tags, and the white space behind it when a tag or the
    /// end follows.
    VnString GetSubDocument(int32_t index) const;
    /// A path that leads from the root level to the element: "/a/b[2]".
    VnString GetElementPath(int32_t index) const;
    /// Start and length of main, and of its content between the tags. False, and nothing set,
    /// without main.
    bool GetElementOffsets(int32_t& start,
                           int32_t& length,
                           int32_t& contentStart,
                           int32_t& contentLength) const;
    /// The encoding that the XML declaration of `text` names; empty when the first "<" of the text
    /// does not open one that ends.
    static VnString GetDeclaredEncoding(const wchar_t* text);
    /// Replaces character references and the five named entities; what is malformed stays as it
    /// stands. A numeric reference has up to 7 characters ahead of the ";" and gives one character.
    static VnString DecodeXMLText(const wchar_t* text, int32_t length);

    // Writing: VnXMLWrite.cpp, VnXMLNodes.cpp, VnXMLAttributes.cpp

    /// A new element behind main, or behind the child position with kInsertChild; with none of
    /// them, as last of its parent. It becomes main, or the child. `options`: InsertOptions. A null
    /// or empty value gives an element without end tag, `<name/>`. False, and no change, with
    /// kInsertChild and no main, and for a value together with kInsertNoEndTag.
    bool AddElement(const VnString& name, const wchar_t* value = nullptr, uint32_t options = 0);
    bool AddElement(const VnString& name, int32_t value, uint32_t options = 0);
    /// Inserts the first element of `text`, with all below it, as AddElement does. A text that is
    /// not well-formed or has no element is inserted as it stands, unindexed, with the cursor left
    /// where it was, and the result is false.
    bool AddSubDocument(const VnString& text, uint32_t options = 0);
    /// Inserts a node at the cursor and makes it the current node; a type of kNodeElement gives
    /// `<text/>`. Text is escaped, everything else goes in as it is between its delimiters. A line
    /// end follows instructions, comments and declarations only. False, and no change, for a type
    /// that cannot be written, an empty text node, and a CDATA text that holds "]]>".
    bool AddNode(int32_t type, const VnString& text, uint32_t options = 0);
    /// Removes main with all below it, and the white space behind it when a tag or the end follows.
    /// Main becomes the previous sibling, or 0. False without main.
    bool RemoveElement();
    /// The same for the child position.
    bool RemoveChildElement();
    /// Removes the current node of any type, an element as RemoveElement does. The cursor then
    /// stands on the node ahead of it, of any type. False with no current node.
    bool RemoveNode();
    /// Replaces the whole content of main by `text`, with its elements. False without main, while
    /// the cursor stands on another node, and for a text that is not well-formed; that one goes in
    /// all the same.
    bool SetElementContent(const VnString& text);
    /// Replaces the value of an element without child elements, or the text of the current node
    /// when `index` is main. `options`: kInsertCDATA, kInsertEscapeQuotes. False, and no change,
    /// for an element with children or a node that cannot hold the value.
    bool SetData(int32_t index, const wchar_t* value, uint32_t options = 0);
    bool SetData(int32_t index, int32_t value);
    /// Clears main and child, finds among the children of the parent, and sets the data of what it
    /// found.
    bool SetDataAt(const wchar_t* path, const wchar_t* value, uint32_t options = 0);
    /// Sets or adds an attribute of an element, or of the current instruction when `index` is main.
    /// The value is escaped and stands in double quotes. False when there is nothing to hold it.
    bool SetAttribute(int32_t index, const wchar_t* name, const wchar_t* value);
    bool SetAttribute(int32_t index, const wchar_t* name, int32_t value);
    /// Cuts an attribute with the white space ahead of it. False when it is not there.
    bool RemoveAttribute(int32_t index, const wchar_t* name);

private:
    friend class VnXMLDocumentTestAccess;
    class CElementParser;
    struct CSavedPosition;
    struct CSavedPositions;
    struct CAttribute;
    struct CTagWords;
    struct CInsertPlace;

    /// Flags of a record, beside its level.
    enum RecordFlags : uint32_t {
        kLevelMask = 0xFFFF,
        kRecordFree = 0x20000,        ///< on the free chain, linked by NextSibling
        kRecordFirst = 0x80000,       ///< first child of its parent
        kRecordNoEndTag = 0x100000,   ///< nothing closes it, or it was written so
        kRecordBadContent = 0x200000, ///< an ill-formed stretch lies between its tags
        kRecordIllFormed =
            0x800000, ///< on the record at which a parse began: something was ill-formed
    };

    /// Index entry of one element. Record 0 stands for the document: its first child is the root
    /// element and its length that of the text.
    struct CRecord {
        int32_t Start;  ///< offset of the "<" of the start tag
        int32_t Length; ///< through the end of the end tag
        uint32_t
            TagLengths; ///< of the start tag below kEndTagShift, of the end tag (0: none) above
        uint32_t LevelAndFlags; ///< depth, 0 for the root element, saturated; RecordFlags above it
        int32_t Parent;
        int32_t FirstChild;      ///< 0 for none
        int32_t NextSibling;     ///< 0 for the last
        int32_t PreviousSibling; ///< of the first child: the last one

        bool Has(uint32_t flag) const { return (LevelAndFlags & flag) != 0; }
        int32_t GetEnd() const { return Start + Length; }
    };
    static_assert(sizeof(CRecord) == 32);

    static constexpr int32_t kSegmentBits = 16;
    static constexpr int32_t kSegmentSize = 1 << kSegmentBits;
    static constexpr uint32_t kStartTagMask = 0x2FFFFF;
    static constexpr int32_t kEndTagShift = 22;
    /// A tag at or above these lengths is measured in the text: its field holds the limit.
    static constexpr int32_t kStartTagLimit = 0xFFFFF;
    static constexpr int32_t kEndTagLimit = 0x3FF;

    // Records: VnXMLRecords.cpp

    CRecord& Record(int32_t index) const {
        return Segments[index >> kSegmentBits][index & (kSegmentSize - 1)];
    }
    void ReserveRecords(int32_t count = 0);
    void ResizeSegment(int32_t segment, int32_t count, int32_t used);
    /// A record for the caller to fill: a removed one first, else the next that was never used.
    int32_t TakeRecord() {
        if (FreeChain != 0) {
            const int32_t index = FreeChain;
            FreeChain = Record(index).NextSibling;
            return index;
        }
        if (NextFree >= RecordCapacity) {
            ReserveRecords();
        }
        return NextFree++;
    }
    void ReleaseRecords(int32_t index);
    void ReleaseChildren(int32_t parent);
    void LinkLast(int32_t parent, int32_t index);
    void Link(int32_t parent, int32_t before, int32_t index);
    void Unlink(int32_t index);
    int32_t GetPrevious(int32_t index) const;
    int32_t GetLastChild(int32_t parent) const;
    int32_t GetChildLevel(int32_t parent) const;
    int32_t GetStartTagLength(int32_t index) const;
    int32_t GetEndTagLength(int32_t index) const;
    static void SetStartTagLength(CRecord& record, int32_t length);
    static void SetEndTagLength(CRecord& record, int32_t length);
    int32_t GetContentStart(int32_t index) const;
    int32_t GetContentEnd(int32_t index) const;
    void SetLevels(int32_t parent, int32_t level);
    void ShiftSubtree(int32_t index, int32_t difference);
    void ShiftSiblings(int32_t first, int32_t difference);
    void AdjustOffsets(int32_t index, int32_t difference, bool enterChildren);
    void ShiftBehind(int32_t parent, int32_t before, int32_t difference);
    int32_t GetNextInDocument(int32_t index, bool enterChildren) const;

    // Parser: VnXMLParser.cpp

    int32_t ParseElements(int32_t parent, VnXMLScanner& scanner, int32_t level);
    int32_t ParseFragment(const VnString& text, int32_t level);

    // Cursor and paths: VnXMLNavigate.cpp, VnXMLPath.cpp

    void SetPosition(int32_t parent, int32_t main, int32_t child);
    bool IsOnNode(int32_t index) const { return NodeType > kNodeElement && index == MainPosition; }
    int32_t ReadNode(VnXMLScanner& scanner, VnXMLToken& token, int32_t main) const;
    int32_t FindMatch(int32_t parent, int32_t current, const wchar_t* path) const;
    int32_t FindAnywhere(int32_t parent, int32_t current, const wchar_t* name) const;
    int32_t FindByPieces(int32_t first, const VnXMLPathPiece& piece) const;
    int32_t FindPreviousMatch(int32_t parent, int32_t current, const wchar_t* name) const;
    bool MatchesName(int32_t index, const wchar_t* name) const;
    bool MatchesPiece(int32_t index, const VnXMLPathPiece& piece) const;
    bool IsPlace(int32_t index, const VnXMLPathPiece& piece) const;
    int32_t CountPlace(int32_t index, const wchar_t* name) const;
    void DropRemovedPositions();

    // Text: VnXMLText.cpp, VnXMLAttributes.cpp

    void GetTagWord(int32_t index, const wchar_t*& word, int32_t& length) const;
    int32_t SkipWhiteSpaceToTag(int32_t offset) const;
    VnString GetNodeData() const;
    VnString GetElementData(int32_t index) const;
    int32_t FindFirstChild(const wchar_t* path) const;
    static VnString EncodeValue(const VnString& value, uint32_t options);
    static VnString EncodeCDATA(const VnString& value);
    static bool CreateNodeText(int32_t type, const VnString& text, uint32_t options, VnString& out);
    CTagWords GetElementWords(int32_t index) const;
    CTagWords GetTagWords(int32_t index) const;
    CAttribute FindAttribute(const CTagWords& words, const wchar_t* name, int32_t number) const;
    VnString ReadAttribute(const CTagWords& words, const wchar_t* name) const;
    bool HasAttribute(int32_t index, const VnString& name) const;
    void ReplaceInTag(int32_t index, int32_t offset, int32_t length, const VnString& text);

    // Changes: VnXMLWrite.cpp, VnXMLNodes.cpp

    void ReplaceText(int32_t offset,
                     int32_t length,
                     std::wstring_view first = {},
                     std::wstring_view second = {},
                     std::wstring_view third = {});
    bool FindInsertPlace(uint32_t options, CInsertPlace& place) const;
    void PrepareInsert(CInsertPlace& place, uint32_t options);
    int32_t InsertText(CInsertPlace& place, const VnString& text, uint32_t options);
    void StandOnNew(const CInsertPlace& place, int32_t index, uint32_t options);
    void RemoveRecord(int32_t index);
    void StandOnNodeAhead(int32_t parent, int32_t main, int32_t offset);

    VnString Text;  ///< the whole document
    VnString Error; ///< first error of the last parse
    int32_t ParentPosition = 0;
    int32_t MainPosition = 0;
    int32_t ChildPosition = 0;
    int32_t NextFree = 0;  ///< first record never used
    int32_t FreeChain = 0; ///< first of the removed records, 0 for none
    int32_t NodeType = 0;  ///< above 1 while the cursor stands on a node that is no element
    int32_t NodeOffset = 0;
    int32_t NodeLength = 0;
    uint32_t Flags = 0;                              ///< DocumentFlags
    std::unique_ptr<CSavedPositions> SavedPositions; ///< null until the first is saved
    std::unique_ptr<std::unique_ptr<CRecord[]>[]> Segments;
    int32_t RecordCapacity = 0;  ///< records allocated
    int32_t SegmentCapacity = 0; ///< entries of the table of segments
};

inline void VnXMLDocument::SetStartTagLength(CRecord& record, int32_t length) {
    const int32_t held = length < kStartTagLimit ? length : kStartTagLimit;
    record.TagLengths =
        (record.TagLengths >> kEndTagShift << kEndTagShift) | static_cast<uint32_t>(held);
}

inline void VnXMLDocument::SetEndTagLength(CRecord& record, int32_t length) {
    const int32_t held = length < kEndTagLimit ? length : kEndTagLimit;
    record.TagLengths =
        (record.TagLengths & kStartTagMask) | static_cast<uint32_t>(held) << kEndTagShift;
}

/// Hangs a record, whose level stands, behind the last child of `parent`.
inline void VnXMLDocument::LinkLast(int32_t parent, int32_t index) {
    CRecord& above = Record(parent);
    CRecord& record = Record(index);
    record.Parent = parent;
    record.NextSibling = 0;
    if (above.FirstChild == 0) {
        above.FirstChild = index;
        record.PreviousSibling = index;
        record.LevelAndFlags |= kRecordFirst;
        return;
    }
    CRecord& first = Record(above.FirstChild);
    Record(first.PreviousSibling).NextSibling = index;
    record.PreviousSibling = first.PreviousSibling;
    first.PreviousSibling = index;
}

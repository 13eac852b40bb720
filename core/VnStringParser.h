#pragma once

#include "core/VnNumberArray.h"
#include "core/VnOwnedPtrArray.h"
#include "core/VnString.h"

#include <cstdarg>
#include <cstdint>

/// Takes a text apart by a template, a small pattern language in the spirit of a scanning format.
///
/// Every piece of the template becomes a node. Each node first finds all positions at which it
/// could stand; then the candidates are narrowed against their neighbours until one a node is left.
/// So a template may begin with a variable, and a variable ends where the next piece begins,
/// however long that makes it. A match begins as early as it can, and each later piece stands as
/// far right as it can.
///
/// Pieces: "^" at the start and "$" at the end are anchors; "\" makes the next character text; "%"
/// begins a variable of flags ("+" one or more, the default; "?" exactly one; "*" any number), sets
/// ("[a-z,]", or "[!...]" for the others) and a letter (d and x numbers into int32_t, l into
/// int64_t, s any characters and w white space into VnString); anything else is text. A "^" or "$"
/// elsewhere counts as text.
///
/// Used on the stack for one parse. Nothing is reported but success or failure.
class VnStringParser {
public:
    /// `arguments` are the targets as pointers, taken in template order; they must all be valid.
    /// The list must outlive the parser.
    VnStringParser(const VnString& text,
                   const VnString& pattern,
                   bool caseSensitive,
                   va_list* arguments);

    /// 1 on a match, 0 otherwise. A template that is wrong, or that does not match, leaves all
    /// targets unwritten.
    int32_t Run();

    /// The text ahead of the first piece and behind the last; empty after a failure.
    const VnString& GetHead() const { return Head; }
    const VnString& GetTail() const { return Tail; }

    const VnString& GetText() const { return Text; }
    bool IsCaseSensitive() const { return CaseSensitive; }

    /// Candidate positions of one node, ascending.
    class CPositions : public VnNumberArray<int32_t> {};

    /// One piece of the template.
    class CNode {
    public:
        CNode() = default;
        CNode(const CNode&) = delete;
        CNode(CNode&&) = delete;
        CNode& operator=(const CNode&) = delete;
        CNode& operator=(CNode&&) = delete;
        virtual ~CNode() = default;

        /// Adds every position at which the node could stand.
        virtual void FindPositions(const VnStringParser& parser) = 0;
        /// The smallest and the largest length at candidate `index`; the result is its position.
        virtual int32_t GetLengths(const VnStringParser& parser,
                                   int32_t index,
                                   int32_t& minimum,
                                   int32_t& maximum) const = 0;
        /// Whether the node, at one of its candidates, could end at `position`.
        virtual bool CanEndAt(const VnStringParser& parser, int32_t position) const = 0;
        /// Writes the target; `next` is the position of the node behind, -1 at the last. `end`
        /// receives where the node's text ends. True when there is exactly one candidate.
        virtual bool Store(const VnStringParser& parser, int32_t next, int32_t& end);
        /// The smallest and the largest number of characters that the node takes at `position`.
        virtual void Match(const VnStringParser& parser,
                           int32_t position,
                           int32_t& minimum,
                           int32_t& maximum) const;

        CPositions Positions;
    };

    /// The start or the end of the text.
    class CPositionNode : public CNode {
    public:
        explicit CPositionNode(bool isStart) : IsStart(isStart) {}
        void FindPositions(const VnStringParser& parser) override;
        int32_t GetLengths(const VnStringParser& parser,
                           int32_t index,
                           int32_t& minimum,
                           int32_t& maximum) const override;
        bool CanEndAt(const VnStringParser& parser, int32_t position) const override;

        bool IsStart;
    };

    /// Text that stands for itself.
    class CTextNode : public CNode {
    public:
        CTextNode(const VnString& text, bool caseSensitive)
            : Text(text)
            , CaseSensitive(caseSensitive) {}
        void FindPositions(const VnStringParser& parser) override;
        int32_t GetLengths(const VnStringParser& parser,
                           int32_t index,
                           int32_t& minimum,
                           int32_t& maximum) const override;
        bool CanEndAt(const VnStringParser& parser, int32_t position) const override;
        bool Store(const VnStringParser& parser, int32_t next, int32_t& end) override;

        VnString Text;
        bool CaseSensitive;
    };

    /// A run of characters of one kind.
    class CVariableNode : public CNode {
    public:
        void FindPositions(const VnStringParser& parser) override;
        int32_t GetLengths(const VnStringParser& parser,
                           int32_t index,
                           int32_t& minimum,
                           int32_t& maximum) const override;
        bool CanEndAt(const VnStringParser& parser, int32_t position) const override;

        VnString Conversion;  ///< one letter
        bool Required = true; ///< takes at least one character
        bool Single = false;  ///< takes exactly one character
        VnString Set;         ///< characters that count; empty for all
        bool Negated = false; ///< the others count

    protected:
        /// Whether the kind of the variable has the character.
        virtual bool IsOfKind(wchar_t ch) const = 0;
        /// Length of the run of characters at `position` that pass the set and are of the kind.
        int32_t GetRun(const VnStringParser& parser, int32_t position) const;
        /// Applies Single.
        void LimitToSingle(int32_t& minimum, int32_t& maximum) const;
        /// The text that the variable takes; false without a candidate.
        bool Take(const VnStringParser& parser, int32_t next, VnString& taken, int32_t& end);

    private:
        bool Passes(wchar_t ch) const;

        /// GetRun of every position, measured once: narrowing asks for each of them again and
        /// again.
        mutable CPositions Runs;
    };

    /// A number.
    class CIntVariableNode : public CVariableNode {
    public:
        bool Store(const VnStringParser& parser, int32_t next, int32_t& end) override;
        void Match(const VnStringParser& parser,
                   int32_t position,
                   int32_t& minimum,
                   int32_t& maximum) const override;

        int32_t* Target = nullptr;   ///< for "d" and "x"
        int64_t* Target64 = nullptr; ///< for "l"

    protected:
        bool IsOfKind(wchar_t ch) const override;
    };

    /// Text.
    class CStringVariableNode : public CVariableNode {
    public:
        bool Store(const VnStringParser& parser, int32_t next, int32_t& end) override;
        void Match(const VnStringParser& parser,
                   int32_t position,
                   int32_t& minimum,
                   int32_t& maximum) const override;

        VnString* Target = nullptr;

    protected:
        bool IsOfKind(wchar_t ch) const override;
    };

private:
    bool Compile();
    bool CompileVariable(int32_t& index);
    bool CompileSet(int32_t& index, VnString& set, bool& negated) const;
    CVariableNode* AddVariable(wchar_t letter);
    bool Narrow();
    bool NarrowNode(int32_t index);
    bool BreakTie();
    bool StoreResults();

    VnString Text;
    VnString Template;
    bool CaseSensitive;
    va_list* Arguments; ///< the caller's
    VnOwnedPtrArray<CNode> Nodes;
    VnString Head;
    VnString Tail;
};

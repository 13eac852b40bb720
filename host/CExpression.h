#pragma once

#include <map>
#include <string>
#include <string_view>
#include <vector>

/// What an expression is worked out for.
class IExpressionItem {
public:
    virtual ~IExpressionItem() = default;
    /// The stored value of a field, in any letter case of its name; empty when there is none.
    virtual std::wstring GetRawField(std::wstring_view name) const = 0;
    /// The file's name in the library.
    virtual std::wstring GetLibraryName() const = 0;
};

/// An expression of the host, parsed once and worked out for many files.
///
/// Text stands for itself, the character U+0001 included. `[Field]` is the field's value as it is
/// shown, `[Field, 0]` as it is stored; a field that a file has not is empty. "Album Artist (auto)"
/// is the album artist or, without one, the artist. Functions, in any letter case, ahead of "(":
///
/// | Function | Value |
/// |---|---|
/// | If(test, then, else) | `then` when the test is neither empty nor "0", otherwise `else` |
/// | IsEqual(a, b, mode) | "1" or "0"; mode 0 in any letter case, 1 exactly |
/// | IsEmpty(a) | "1" or "0" |
/// | Clean(a, mode) | 0 trimmed, runs of blanks made one; 1 also without a leading article; 2 also
/// without anything but letters and digits; 3 as a file name | | FormatNumber(a, decimals) | the
/// number in a, with that many decimals (0) | | TrackNumber(digits) | the track number, filled with
/// zeros to that many digits (0); empty when there is none | | FileName(path, mode) | the name of
/// `path`, or of the file itself when empty; mode 0 without, 1 with the extension |
///
/// Arguments are expressions, trimmed at both ends. A bracket or parenthesis that is never closed,
/// and a name that is no function, are text. Nesting beyond kDeepest is text too, so that no text
/// drives the parser into the ground.
class CExpression {
public:
    enum class Mode {
        Text, ///< values as they are
        Path, ///< each value is made safe for a path, see CPathCleaner
    };
    static constexpr int kDeepest = 32;

    explicit CExpression(std::wstring_view text);

    /// The value for `item`. In Path mode each value of a field or function is cleaned as it
    /// enters, and then each segment between the "/" of the expression's own text; a segment that
    /// comes out empty because its values are becomes "Unknown" and the name of its first field.
    /// `reserved` bytes of the last segment are kept free.
    std::wstring
    Evaluate(const IExpressionItem& item, Mode mode = Mode::Text, size_t reserved = 0) const;

private:
    enum class Kind {
        Text,
        Field,
        Function,
    };
    struct Node;
    using Sequence = std::vector<Node>;
    struct Node {
        Kind Type = Kind::Text;
        std::wstring Text; ///< the text, the field's name, or the function's name in lower case
        bool Raw = false;  ///< of a field: the stored form
        std::vector<Sequence> Arguments; ///< of a function
    };
    class Parser;
    class Evaluator;

    Sequence Nodes;
};

/// Expressions by their text, so that each is parsed once. For one thread at a time.
class CExpressionCache {
public:
    const CExpression& Get(std::wstring_view text);

private:
    std::map<std::wstring, CExpression, std::less<>> Expressions;
};

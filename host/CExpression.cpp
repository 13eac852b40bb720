#include "host/CExpression.h"

#include "host/CPathCleaner.h"
#include "host/HostText.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <set>
#include <utility>

namespace {

constexpr std::array<std::wstring_view, 7> kFunctions{
    L"if", L"isequal", L"isempty", L"clean", L"formatnumber", L"tracknumber", L"filename"};

constexpr std::wstring_view kAuto = L" (auto)";

bool IsNameCharacter(wchar_t ch) {
    return (ch >= L'a' && ch <= L'z') || (ch >= L'A' && ch <= L'Z') || (ch >= L'0' && ch <= L'9')
           || ch == L'_';
}

/// The number at the start of a text, with "." or "," as separator; 0 when there is none. Not by
/// the C library, whose separator is the locale's.
double ToNumber(std::wstring_view text) {
    text = HostTrim(text);
    double value = 0;
    double scale = 0;
    const bool negative = !text.empty() && text.front() == L'-';
    for (const wchar_t ch : text.substr(negative ? 1 : 0)) {
        if (ch >= L'0' && ch <= L'9') {
            value = value * 10 + (ch - L'0');
            scale *= 10;
        } else if ((ch == L'.' || ch == L',') && scale == 0) {
            scale = 1;
        } else {
            break;
        }
    }
    value = scale > 0 ? value / scale : value;
    return negative ? -value : value;
}

std::wstring FormatFixed(double value, int decimals) {
    const double power = std::pow(10.0, decimals);
    const double rounded = std::round(std::abs(value) * power);
    if (!(rounded < 1e18)) {
        return L"0";
    }
    std::wstring digits = std::to_wstring(static_cast<long long>(rounded));
    if (decimals > 0) {
        if (digits.size() <= static_cast<size_t>(decimals)) {
            digits.insert(0, static_cast<size_t>(decimals) + 1 - digits.size(), L'0');
        }
        digits.insert(digits.size() - static_cast<size_t>(decimals), 1, L'.');
    }
    return value < 0 && rounded > 0 ? L"-" + digits : digits;
}

std::wstring CollapseBlanks(std::wstring_view text) {
    std::wstring out;
    for (const wchar_t ch : HostTrim(text)) {
        const bool blank = ch == L' ' || ch == L'\t' || ch == L'\n' || ch == L'\r' || ch == 0xA0;
        if (!blank) {
            out += ch;
        } else if (out.back() != L' ') {
            out += L' ';
        }
    }
    return out;
}

std::wstring CleanText(std::wstring_view text, int mode) {
    if (mode == 3) {
        return CPathCleaner::CleanSegment(text);
    }
    std::wstring clean = CollapseBlanks(text);
    if (mode >= 1) {
        const std::wstring folded = HostFold(clean);
        for (const std::wstring_view article : {L"the ", L"an ", L"a "}) {
            if (folded.starts_with(article) && clean.size() > article.size()) {
                clean.erase(0, article.size());
                break;
            }
        }
    }
    if (mode >= 2) {
        std::erase_if(clean, [](wchar_t ch) {
            return static_cast<uint32_t>(ch) < 0x80 && !IsNameCharacter(ch);
        });
        std::erase(clean, L'_');
    }
    return clean;
}

/// A field as people read it; only sizes and times differ from their stored form.
std::wstring ShownField(std::wstring_view name, std::wstring_view value) {
    if (value.empty()) {
        return {};
    }
    if (HostEqualsNoCase(name, L"File Size")) {
        return HostWiden(
            HostFormatBytes(static_cast<int64_t>(std::clamp(ToNumber(value), -1e18, 1e18))));
    }
    if (HostEqualsNoCase(name, L"Duration")) {
        return HostWiden(HostFormatSeconds(std::clamp(ToNumber(value), 0.0, 1e12)));
    }
    return std::wstring(value);
}

} // namespace

/// One function per rule of the grammar.
class CExpression::Parser {
public:
    explicit Parser(std::wstring_view text) : Text(text), LastClose(text.rfind(L')')) {}

    /// sequence = { field | call | character }, up to one of `ends` or the end of the text
    Sequence ParseSequence(std::wstring_view ends, int depth) {
        Sequence nodes;
        while (Position < Text.size() && ends.find(Text[Position]) == std::wstring_view::npos) {
            if (Text[Position] == L'[' ? ParseField(nodes) : ParseCall(nodes, depth)) {
                continue;
            }
            if (nodes.empty() || nodes.back().Type != Kind::Text) {
                nodes.emplace_back();
            }
            nodes.back().Text += Text[Position++];
        }
        return nodes;
    }

private:
    /// field = "[" name [ "," form ] "]"
    bool ParseField(Sequence& nodes) {
        const size_t end = Text.find_first_of(L"[]", Position + 1);
        if (end == std::wstring_view::npos || Text[end] != L']') {
            return false;
        }
        const std::wstring_view inner = Text.substr(Position + 1, end - Position - 1);
        const size_t comma = inner.find(L',');
        Node node;
        node.Type = Kind::Field;
        node.Text = HostTrim(inner.substr(0, comma));
        node.Raw = comma != std::wstring_view::npos && HostTrim(inner.substr(comma + 1)) == L"0";
        if (node.Text.empty()) {
            return false;
        }
        nodes.push_back(std::move(node));
        Position = end + 1;
        return true;
    }

    /// call = name "(" [ sequence { "," sequence } ] ")"
    bool ParseCall(Sequence& nodes, int depth) {
        if (depth >= kDeepest || (Position > 0 && IsNameCharacter(Text[Position - 1]))
            || Unclosed.contains(Position)) {
            return false;
        }
        size_t end = Position;
        while (end < Text.size() && IsNameCharacter(Text[end])) {
            ++end;
        }
        if (end == Position || end == Text.size() || Text[end] != L'('
            || LastClose == std::wstring_view::npos || end > LastClose) {
            return false;
        }
        Node node;
        node.Type = Kind::Function;
        node.Text = HostFold(Text.substr(Position, end - Position));
        if (std::find(kFunctions.begin(), kFunctions.end(), std::wstring_view(node.Text))
            == kFunctions.end()) {
            return false;
        }
        const size_t start = std::exchange(Position, end);
        do {
            ++Position;
            node.Arguments.push_back(Trimmed(ParseSequence(L",)", depth + 1)));
        } while (Position < Text.size() && Text[Position] == L',');
        if (Position == Text.size()) {
            Unclosed.insert(start);
            Position = start;
            return false;
        }
        ++Position;
        nodes.push_back(std::move(node));
        return true;
    }

    /// An argument without the blanks around it.
    static Sequence Trimmed(Sequence nodes) {
        const auto trim = [&nodes](bool front) {
            if (nodes.empty() || (front ? nodes.front() : nodes.back()).Type != Kind::Text) {
                return;
            }
            std::wstring& text = front ? nodes.front().Text : nodes.back().Text;
            const size_t border =
                front ? text.find_first_not_of(L' ') : text.find_last_not_of(L' ');
            if (border == std::wstring::npos) {
                nodes.erase(front ? nodes.begin() : nodes.end() - 1);
            } else if (front) {
                text.erase(0, border);
            } else {
                text.erase(border + 1);
            }
        };
        trim(true);
        trim(false);
        return nodes;
    }

    std::wstring_view Text;
    size_t LastClose; ///< no call behind it can end
    size_t Position = 0;
    std::set<size_t> Unclosed; ///< calls without an end; each is tried once, or nesting would cost
                               ///< time without bound
};

/// Works a parsed expression out for one item.
class CExpression::Evaluator {
public:
    explicit Evaluator(const IExpressionItem& item) : Item(item) {}

    std::wstring Run(const Sequence& nodes, Mode mode) const {
        std::wstring out;
        for (const Node& node : nodes) {
            out += Run(node, mode);
        }
        return out;
    }

    std::wstring Run(const Node& node, Mode mode) const {
        if (node.Type == Kind::Text) {
            return node.Text;
        }
        if (node.Type == Kind::Function && node.Text == L"if") {
            // The branches may hold text of their own, with a "/" that makes a folder.
            const std::wstring test = Argument(node, 0);
            const size_t branch = test.empty() || test == L"0" ? 2 : 1;
            return branch < node.Arguments.size() ? Run(node.Arguments[branch], mode)
                                                  : std::wstring();
        }
        const std::wstring value = node.Type == Kind::Field ? Field(node) : Call(node);
        return mode == Mode::Path ? CPathCleaner::CleanValue(value) : value;
    }

private:
    std::wstring Field(const Node& node) const {
        if (std::wstring_view(node.Text).ends_with(kAuto)) {
            const std::wstring_view name =
                std::wstring_view(node.Text).substr(0, node.Text.size() - kAuto.size());
            std::wstring value = Item.GetRawField(name);
            return value.empty() && HostEqualsNoCase(name, L"Album Artist")
                       ? Item.GetRawField(L"Artist")
                       : value;
        }
        std::wstring value = Item.GetRawField(node.Text);
        return node.Raw ? value : ShownField(node.Text, value);
    }

    std::wstring Call(const Node& node) const {
        if (node.Text == L"isequal") {
            const std::wstring left = Argument(node, 0);
            const std::wstring right = Argument(node, 1);
            return (Number(node, 2) == 1 ? left == right : HostEqualsNoCase(left, right)) ? L"1"
                                                                                          : L"0";
        }
        if (node.Text == L"isempty") {
            return Argument(node, 0).empty() ? L"1" : L"0";
        }
        if (node.Text == L"clean") {
            return CleanText(Argument(node, 0), Number(node, 1));
        }
        if (node.Text == L"formatnumber") {
            return FormatFixed(ToNumber(Argument(node, 0)),
                               std::min(std::max(Number(node, 1), 0), 9));
        }
        if (node.Text == L"tracknumber") {
            return TrackNumber(std::min(std::max(Number(node, 0), 0), 9));
        }
        const std::wstring path = Argument(node, 0);
        const std::wstring name = path.empty() ? Item.GetLibraryName() : path;
        return Number(node, 1) == 1 ? std::wstring(HostName(name)) : HostStem(name);
    }

    std::wstring TrackNumber(int digits) const {
        const double number = ToNumber(Item.GetRawField(L"Track #"));
        if (number < 1) {
            return {};
        }
        std::wstring text = FormatFixed(number, 0);
        if (text.size() < static_cast<size_t>(digits)) {
            text.insert(0, static_cast<size_t>(digits) - text.size(), L'0');
        }
        return text;
    }

    std::wstring Argument(const Node& node, size_t index) const {
        return index < node.Arguments.size() ? Run(node.Arguments[index], Mode::Text)
                                             : std::wstring();
    }

    int Number(const Node& node, size_t index) const {
        return static_cast<int>(std::clamp(ToNumber(Argument(node, index)), -1e6, 1e6));
    }

    const IExpressionItem& Item;
};

CExpression::CExpression(std::wstring_view text) : Nodes(Parser(text).ParseSequence({}, 0)) {
}

std::wstring CExpression::Evaluate(const IExpressionItem& item, Mode mode, size_t reserved) const {
    const Evaluator evaluator(item);
    if (mode == Mode::Text) {
        return evaluator.Run(Nodes, mode);
    }
    std::wstring path;
    std::wstring segment;
    std::wstring_view firstField;
    const auto endSegment = [&](size_t keepFree) {
        std::wstring clean = CPathCleaner::CleanSegment(segment, keepFree);
        if (clean.empty() && !firstField.empty()) {
            const bool isAuto = firstField.ends_with(kAuto);
            clean = L"Unknown " + std::wstring(isAuto ? L"Artist" : firstField);
        }
        path += clean;
        segment.clear();
        firstField = {};
    };
    for (const Node& node : Nodes) {
        std::wstring value = evaluator.Run(node, mode);
        if (node.Type == Kind::Field && firstField.empty()) {
            firstField = node.Text;
        }
        // Only the expression's own text can hold a "/": a value has none left.
        for (const wchar_t ch : value) {
            if (ch == L'/') {
                endSegment(0);
                path += L'/';
            } else {
                segment += ch;
            }
        }
    }
    endSegment(reserved);
    return path;
}

const CExpression& CExpressionCache::Get(std::wstring_view text) {
    const auto found = Expressions.find(text);
    if (found != Expressions.end()) {
        return found->second;
    }
    return Expressions.try_emplace(std::wstring(text), text).first->second;
}

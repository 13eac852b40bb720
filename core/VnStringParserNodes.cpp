#include "core/VnStringParser.h"

#include "core/VnHexDigits.h"

#include <algorithm>

// CNode

bool VnStringParser::CNode::Store(const VnStringParser& /*parser*/,
                                  int32_t /*next*/,
                                  int32_t& end) {
    if (Positions.IsEmpty()) {
        return false;
    }
    end = Positions[0];
    return Positions.GetCount() == 1;
}

void VnStringParser::CNode::Match(const VnStringParser& /*parser*/,
                                  int32_t /*position*/,
                                  int32_t& minimum,
                                  int32_t& maximum) const {
    minimum = 0;
    maximum = 0;
}

// CPositionNode

void VnStringParser::CPositionNode::FindPositions(const VnStringParser& parser) {
    Positions.Add(IsStart ? 0 : parser.GetText().GetLength());
}

int32_t VnStringParser::CPositionNode::GetLengths(const VnStringParser& /*parser*/,
                                                  int32_t index,
                                                  int32_t& minimum,
                                                  int32_t& maximum) const {
    minimum = 0;
    maximum = 0;
    return Positions[index];
}

bool VnStringParser::CPositionNode::CanEndAt(const VnStringParser& /*parser*/,
                                             int32_t position) const {
    return IsStart && position == 0;
}

// CTextNode

void VnStringParser::CTextNode::FindPositions(const VnStringParser& parser) {
    const VnString& text = parser.GetText();
    const auto find = [&](int32_t start) {
        return CaseSensitive ? text.Find(Text, start) : text.FindNoCase(Text, start);
    };
    for (int32_t hit = find(0); hit >= 0; hit = find(hit + 1)) {
        Positions.Add(hit);
    }
}

int32_t VnStringParser::CTextNode::GetLengths(const VnStringParser& /*parser*/,
                                              int32_t index,
                                              int32_t& minimum,
                                              int32_t& maximum) const {
    minimum = Text.GetLength();
    maximum = minimum;
    return Positions[index];
}

bool VnStringParser::CTextNode::CanEndAt(const VnStringParser& /*parser*/, int32_t position) const {
    return std::binary_search(Positions.begin(), Positions.end(), position - Text.GetLength());
}

bool VnStringParser::CTextNode::Store(const VnStringParser& parser, int32_t next, int32_t& end) {
    const bool isStored = CNode::Store(parser, next, end);
    end += Text.GetLength();
    return isStored;
}

// CVariableNode

void VnStringParser::CVariableNode::FindPositions(const VnStringParser& parser) {
    const int32_t length = parser.GetText().GetLength();
    for (int32_t position = 0; position <= length; ++position) {
        int32_t minimum = 0;
        int32_t maximum = 0;
        if (Required) {
            Match(parser, position, minimum, maximum);
        }
        if (!Required || maximum >= 1) {
            Positions.Add(position);
        }
    }
}

int32_t VnStringParser::CVariableNode::GetLengths(const VnStringParser& parser,
                                                  int32_t index,
                                                  int32_t& minimum,
                                                  int32_t& maximum) const {
    Match(parser, Positions[index], minimum, maximum);
    return Positions[index];
}

bool VnStringParser::CVariableNode::CanEndAt(const VnStringParser& parser, int32_t position) const {
    const int32_t* const next = std::lower_bound(Positions.begin(), Positions.end(), position);
    if (!Required && next != Positions.end() && *next == position) {
        return true;
    }
    if (next == Positions.begin()) {
        return false;
    }
    // Of the candidates ahead the nearest reaches furthest: one that reaches beyond it ends with
    // the same run.
    int32_t minimum = 0;
    int32_t maximum = 0;
    Match(parser, next[-1], minimum, maximum);
    return next[-1] + maximum >= position;
}

bool VnStringParser::CVariableNode::Passes(wchar_t ch) const {
    if (!Set.IsEmpty() && (Set.Find(ch) >= 0) == Negated) {
        return false;
    }
    return (!Set.IsEmpty() || !Negated) && IsOfKind(ch);
}

int32_t VnStringParser::CVariableNode::GetRun(const VnStringParser& parser,
                                              int32_t position) const {
    const VnString& text = parser.GetText();
    if (Runs.IsEmpty()) {
        Runs.SetSize(text.GetLength() + 1);
        for (int32_t index = text.GetLength() - 1; index >= 0; --index) {
            Runs[index] = Passes(text[index]) ? Runs[index + 1] + 1 : 0;
        }
    }
    return position < Runs.GetCount() ? Runs[position] : 0;
}

void VnStringParser::CVariableNode::LimitToSingle(int32_t& minimum, int32_t& maximum) const {
    if (Single) {
        maximum = std::min(maximum, 1);
        minimum = 1;
    }
}

bool VnStringParser::CVariableNode::Take(const VnStringParser& parser,
                                         int32_t next,
                                         VnString& taken,
                                         int32_t& end) {
    int32_t position = 0;
    if (!CNode::Store(parser, next, position)) {
        return false;
    }
    int32_t count = next - position;
    if (next < 0) {
        int32_t minimum = 0;
        Match(parser, position, minimum, count);
    }
    taken = parser.GetText().Mid(position, count);
    end = position + taken.GetLength();
    return true;
}

// CIntVariableNode

bool VnStringParser::CIntVariableNode::IsOfKind(wchar_t ch) const {
    const int32_t value = GetHexDigitValue(ch);
    return value >= 0 && (value < 10 || Conversion == L"x");
}

void VnStringParser::CIntVariableNode::Match(const VnStringParser& parser,
                                             int32_t position,
                                             int32_t& minimum,
                                             int32_t& maximum) const {
    const wchar_t ch = parser.GetText()[position];
    const int32_t sign = ch == L'+' || ch == L'-' ? 1 : 0;
    const int32_t digits = GetRun(parser, position + sign);
    maximum = digits > 0 ? sign + digits : 0;
    minimum = Required || maximum > digits ? 1 : 0;
    LimitToSingle(minimum, maximum);
}

bool VnStringParser::CIntVariableNode::Store(const VnStringParser& parser,
                                             int32_t next,
                                             int32_t& end) {
    if (Target != nullptr) {
        *Target = 0;
    }
    if (Target64 != nullptr) {
        *Target64 = 0;
    }
    VnString taken;
    if (!Take(parser, next, taken, end)) {
        return false;
    }
    if (Target64 != nullptr) {
        *Target64 = taken.ToInt64();
    }
    if (Target != nullptr) {
        *Target = Conversion == L"x" ? static_cast<int32_t>(taken.ToHexInt()) : taken.ToInt();
    }
    return true;
}

// CStringVariableNode

bool VnStringParser::CStringVariableNode::IsOfKind(wchar_t ch) const {
    return Conversion != L"w" || VnStringGlobals::IsSpace(ch);
}

void VnStringParser::CStringVariableNode::Match(const VnStringParser& parser,
                                                int32_t position,
                                                int32_t& minimum,
                                                int32_t& maximum) const {
    maximum = GetRun(parser, position);
    minimum = Required ? 1 : 0;
    LimitToSingle(minimum, maximum);
}

bool VnStringParser::CStringVariableNode::Store(const VnStringParser& parser,
                                                int32_t next,
                                                int32_t& end) {
    VnString taken;
    if (!Take(parser, next, taken, end)) {
        return false;
    }
    if (Target != nullptr) {
        *Target = taken;
    }
    return true;
}

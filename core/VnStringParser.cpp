#include "core/VnStringParser.h"

#include <algorithm>
#include <memory>

namespace {

/// Removes the candidates for which `isWanted` fails; true when any went.
template<typename TEST>
bool KeepPositions(VnStringParser::CPositions& positions, TEST isWanted) {
    int32_t kept = 0;
    for (int32_t index = 0; index < positions.GetCount(); ++index) {
        if (isWanted(index)) {
            positions[kept++] = positions[index];
        }
    }
    const bool removed = kept < positions.GetCount();
    positions.SetSize(kept);
    return removed;
}

} // namespace

VnStringParser::VnStringParser(const VnString& text,
                               const VnString& pattern,
                               bool caseSensitive,
                               va_list* arguments)
    : Text(text)
    , Template(pattern)
    , CaseSensitive(caseSensitive)
    , Arguments(arguments) {
}

int32_t VnStringParser::Run() {
    if (!Compile()) {
        return 0;
    }
    for (CNode* node : Nodes) {
        node->FindPositions(*this);
    }
    return Narrow() && StoreResults() ? 1 : 0;
}

// Template

bool VnStringParser::Compile() {
    const int32_t length = Template.GetLength();
    int32_t index = 0;
    while (index < length) {
        const wchar_t ch = Template[index];
        if (ch == L'^' && index == 0) {
            Nodes.Add(new CPositionNode(true));
            ++index;
        } else if (ch == L'$' && index == length - 1) {
            Nodes.Add(new CPositionNode(false));
            ++index;
        } else if (ch == L'\\') {
            if (index + 1 == length) {
                return false;
            }
            Nodes.Add(new CTextNode(Template.Mid(index + 1, 1), CaseSensitive));
            index += 2;
        } else if (ch == L'%') {
            ++index;
            if (!CompileVariable(index)) {
                return false;
            }
        } else {
            int32_t end = Template.FindOneOf(L"\\^$%", index + 1);
            end = end < 0 ? length : end;
            Nodes.Add(new CTextNode(Template.Mid(index, end - index), CaseSensitive));
            index = end;
        }
    }
    return true;
}

/// Reads a variable behind its "%": flags and sets in any order, then one letter.
bool VnStringParser::CompileVariable(int32_t& index) {
    bool required = true;
    bool single = false;
    bool negated = false;
    VnString set;
    for (; index < Template.GetLength(); ++index) {
        const wchar_t ch = Template[index];
        if (ch == L'+' || ch == L'?' || ch == L'*') {
            required = ch == L'+';
            single = ch == L'?';
        } else if (ch == L'[') {
            if (!CompileSet(index, set, negated)) {
                return false;
            }
        } else {
            CVariableNode* variable = VnStringGlobals::IsLetter(ch) ? AddVariable(ch) : nullptr;
            if (variable == nullptr) {
                return false;
            }
            variable->Conversion = ch;
            variable->Required = required;
            variable->Single = single;
            variable->Set = set;
            variable->Negated = negated;
            ++index;
            return true;
        }
    }
    return false;
}

/// Reads a set from its "[" to its "]", on which `index` is left.
bool VnStringParser::CompileSet(int32_t& index, VnString& set, bool& negated) const {
    ++index;
    if (Template[index] == L'!') {
        negated = true;
        ++index;
    }
    const int32_t end = Template.Find(L']', index);
    if (end < 0) {
        return false;
    }
    while (index < end) {
        const wchar_t first = Template[index];
        if (index + 2 < end && Template[index + 1] == L'-') {
            const wchar_t last = Template[index + 2];
            if (last < first) {
                return false;
            }
            for (wchar_t ch = first; ch < last; ++ch) {
                set += ch;
            }
            set += last;
            index += 3;
        } else {
            set += first;
            ++index;
        }
    }
    return true;
}

/// Adds the node of a conversion letter with its target; null for a letter that is none.
VnStringParser::CVariableNode* VnStringParser::AddVariable(wchar_t letter) {
    // The caller has started the list, which the analyser does not see.
    // NOLINTBEGIN(clang-analyzer-valist.Uninitialized)
    switch (letter) {
    case L'd':
    case L'x':
    case L'l': {
        auto node = std::make_unique<CIntVariableNode>();
        if (letter == L'l') {
            node->Target64 = va_arg(*Arguments, int64_t*);
        } else {
            node->Target = va_arg(*Arguments, int32_t*);
        }
        CVariableNode* added = node.get();
        Nodes.Add(node.release());
        return added;
    }
    case L's':
    case L'w': {
        auto node = std::make_unique<CStringVariableNode>();
        node->Target = va_arg(*Arguments, VnString*);
        CVariableNode* added = node.get();
        Nodes.Add(node.release());
        return added;
    }
    default:
        return nullptr;
    }
    // NOLINTEND(clang-analyzer-valist.Uninitialized)
}

// Candidates

bool VnStringParser::Narrow() {
    for (;;) {
        bool removed = false;
        for (int32_t index = 0; index < Nodes.GetCount(); ++index) {
            if (Nodes[index]->Positions.IsEmpty()) {
                return false;
            }
            removed = NarrowNode(index) || removed;
        }
        if (!removed && !BreakTie()) {
            return true;
        }
    }
}

/// Removes the candidates of a node that do not fit to those of its neighbours; true when any went.
bool VnStringParser::NarrowNode(int32_t index) {
    CNode& node = *Nodes[index];
    bool removed = false;
    if (index > 0) {
        const CNode& before = *Nodes[index - 1];
        removed = KeepPositions(node.Positions, [&](int32_t candidate) {
            return before.CanEndAt(*this, node.Positions[candidate]);
        });
    }
    const CPositions* behind =
        index + 1 < Nodes.GetCount() ? &Nodes[index + 1]->Positions : nullptr;
    const bool cut = KeepPositions(node.Positions, [&](int32_t candidate) {
        int32_t minimum = 0;
        int32_t maximum = 0;
        const int32_t position = node.GetLengths(*this, candidate, minimum, maximum);
        if (behind == nullptr) {
            return minimum <= maximum; // a single character has no place at the text's end
        }
        const int32_t* next = std::lower_bound(behind->begin(), behind->end(), position + minimum);
        return next != behind->end() && *next <= position + maximum;
    });
    return removed || cut;
}

/// Decides for one candidate of the first node that has several; false when there is no such node.
bool VnStringParser::BreakTie() {
    for (int32_t index = 0; index < Nodes.GetCount(); ++index) {
        CPositions& positions = Nodes[index]->Positions;
        const int32_t count = positions.GetCount();
        if (count > 1) {
            const int32_t kept = index == 0 ? 0 : count - 1;
            positions[0] = positions[kept];
            positions.SetSize(1);
            return true;
        }
    }
    return false;
}

bool VnStringParser::StoreResults() {
    int32_t end = 0;
    for (int32_t index = 0; index < Nodes.GetCount(); ++index) {
        const int32_t next = index + 1 < Nodes.GetCount() ? Nodes[index + 1]->Positions[0] : -1;
        if (!Nodes[index]->Store(*this, next, end)) {
            return false;
        }
    }
    if (!Nodes.IsEmpty()) {
        Head = Text.Left(Nodes[0]->Positions[0]);
        Tail = Text.Mid(end);
    }
    return true;
}

// Entry points

int32_t VnString::Parse(const wchar_t* pattern, int caseSensitive, ...) const {
    va_list arguments;
    va_start(arguments, caseSensitive);
    const int32_t result =
        VnStringParser(*this, VnString(pattern), caseSensitive != 0, &arguments).Run();
    va_end(arguments);
    return result;
}

int32_t VnString::ParseWithRest(
    const wchar_t* pattern, VnString& head, VnString& tail, int caseSensitive, ...) const {
    va_list arguments;
    va_start(arguments, caseSensitive);
    VnStringParser parser(*this, VnString(pattern), caseSensitive != 0, &arguments);
    const int32_t result = parser.Run();
    va_end(arguments);
    head = parser.GetHead();
    tail = parser.GetTail();
    return result;
}

#include "core/VnString.h"

#include "core/VnStringArray.h"
#include "data/VnGUID.h"
#include "data/VnRegexCache.h"
#include "runtime/VnLargeStack.h"

#include <algorithm>
#include <exception>
#include <functional>
#include <regex>
#include <vector>

namespace {

/// Stack that the matcher of the standard library takes, at most, per character of the text and of
/// the pattern; the sanitizers' frames are larger.
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
constexpr int64_t kStackPerStep = 4096;
#else
constexpr int64_t kStackPerStep = 512;
#endif

/// Most states of an expression that the library compiles; beyond them it throws.
constexpr double kMostStates = 100000;

/// What a piece of a pattern makes of the stack: the matcher recurses for each state that it
/// passes, and passes those of a loop again at each character of the text.
struct CPatternSize {
    double States = 0;
    double LoopStates = 0;

    /// Loops that stand one behind the other share the text between them.
    void Add(const CPatternSize& other) {
        States += other.States;
        LoopStates = std::max(LoopStates, other.LoopStates);
    }
    /// As many copies, as the library makes them for a count.
    void Repeat(double count) { States *= count; }
    /// An empty round may be passed twice.
    void Loop() {
        LoopStates = 2 * States + 8;
        States += 2;
    }
};

/// Adds up a pattern, read as the library reads it: a bracket that counts for one and not for the
/// other would make the sum worthless.
class CPatternMeter {
public:
    explicit CPatternMeter(const VnString& pattern)
        : At(pattern.GetText())
        , End(At + pattern.GetLength()) {}

    /// False for a pattern whose groups do not end, or were not begun.
    bool Measure(CPatternSize& size) {
        while (At < End && !IsBroken) {
            TakeOne(*At++);
        }
        size = Last;
        size.Add(Open.back());
        return !IsBroken && Open.size() == 1;
    }

private:
    void TakeOne(wchar_t ch) {
        switch (ch) {
        case L'\\':
            StartPiece(1);
            SkipEscaped();
            break;
        case L'[':
            StartPiece(1);
            SkipClass();
            break;
        case L'(':
            StartPiece(0);
            Open.push_back({2, 0});
            break;
        case L')':
            IsBroken = Open.size() == 1;
            if (!IsBroken) {
                Last.Add(Open.back());
                Open.pop_back();
            }
            break;
        case L'*':
        case L'+':
            Last.Loop();
            break;
        case L'{':
            TakeCount();
            break;
        case L'?':
        case L'|':
            Last.States += 2;
            break;
        default:
            StartPiece(1);
        }
    }

    void StartPiece(double states) {
        Open.back().Add(Last);
        Last = {states, 0};
    }

    /// What stands behind a backslash: "c" takes the character that follows along.
    void SkipEscaped() {
        const bool isControl = At < End && *At == L'c';
        At = std::min(At + (isControl ? 2 : 1), End);
    }

    /// A class ends at the first "]", but for those of "[:alpha:]", "[=a=]" and "[.a.]" in it.
    void SkipClass() {
        while (At < End && *At != L']') {
            const wchar_t ch = *At++;
            if (ch == L'\\') {
                SkipEscaped();
            } else if (ch == L'[' && At < End && (*At == L':' || *At == L'=' || *At == L'.')) {
                const wchar_t sign = *At++;
                At = std::find(At, End, sign);
                At = std::min(At + 2, End);
            }
        }
        At += At < End ? 1 : 0;
    }

    /// "n}", "n,m}" or, which loops behind n copies, "n,}".
    void TakeCount() {
        double count = TakeNumber();
        bool isOpen = false;
        if (At < End && *At == L',') {
            ++At;
            isOpen = At < End && *At == L'}';
            count = std::max(count, TakeNumber());
        }
        At += At < End && *At == L'}' ? 1 : 0;
        CPatternSize loop = Last;
        Last.Repeat(std::max(count, 1.0));
        if (isOpen) {
            loop.Loop();
            Last.Add(loop);
        }
    }

    double TakeNumber() {
        double number = 0;
        for (; At < End && *At >= L'0' && *At <= L'9'; ++At) {
            number = std::min(number * 10 + (*At - L'0'), kMostStates);
        }
        return number;
    }

    const wchar_t* At;
    const wchar_t* const End;
    std::vector<CPatternSize> Open{1}; ///< sums of the groups around this place
    CPatternSize Last;                 ///< the piece that a count or loop behind it is for
    bool IsBroken = false;             ///< a group ended that was not begun
};

/// Stack for a search; -1 for a malformed pattern.
int64_t EstimateStack(const VnString& pattern, const VnString& text) {
    CPatternSize size;
    if (!CPatternMeter(pattern).Measure(size)) {
        return -1;
    }
    const double loops = std::min(size.LoopStates, 3 * kMostStates) * (text.GetLength() + 1.0);
    // The compiler recurses for each bracket of the pattern, whatever the text.
    const double steps =
        loops + 2 * std::min(size.States, kMostStates) + pattern.GetLength() * 16.0;
    return static_cast<int64_t>(steps * static_cast<double>(kStackPerStep));
}

/// Runs `search` with the expression from the cache, or one that lives for this call. Whatever the
/// regular expressions throw, above all for a malformed pattern, ends in false; so does a search
/// that needs more stack than there is.
bool WithRegex(const VnString& pattern,
               const VnString& text,
               bool caseSensitive,
               VnRegexCache* cache,
               const std::function<bool(const std::wregex&)>& search) {
    auto flags = std::regex_constants::ECMAScript;
    if (!caseSensitive) {
        flags |= std::regex_constants::icase;
    }
    bool isFound = false;
    const int64_t stack = EstimateStack(pattern, text);
    const bool hasRun =
        stack >= 0 && VnRunWithStack(stack, [&] {
            try {
                isFound =
                    cache != nullptr
                        ? search(cache->Get(pattern, static_cast<uint32_t>(flags)))
                        : search(std::wregex(pattern.GetText(),
                                             static_cast<size_t>(pattern.GetLength()), flags));
            } catch (const std::exception&) {
                isFound = false;
            }
        });
    return hasRun && isFound;
}

void AppendGroups(const std::wcmatch& match, VnStringArray& groups) {
    for (size_t i = 1; i < match.size(); ++i) {
        groups.Add(VnString(match[i].first, static_cast<int32_t>(match[i].length())));
    }
}

} // namespace

void VnString::SetGUID(const VnGUID* guid) {
    VnGUID created;
    if (guid == nullptr) {
        CreateGUID(created);
        guid = &created;
    }
    *this = GUIDToString(*guid);
}

VnGUID VnString::GetGUID() const {
    return StringToGUID(*this);
}

bool VnString::RegexSearch(const VnString& pattern,
                           VnStringArray& groups,
                           bool caseSensitive,
                           VnRegexCache* cache,
                           int32_t* before,
                           int32_t* after) const {
    const VnString text(*this); // the groups may hold this very string, or the pattern
    const VnString expression(pattern);
    groups.Empty();
    return WithRegex(expression, text, caseSensitive, cache, [&](const std::wregex& regex) {
        const wchar_t* const begin = text.GetText();
        const wchar_t* const end = begin + text.GetLength();
        std::wcmatch match;
        if (!std::regex_search(begin, end, match, regex) || match.prefix().second == end) {
            return false;
        }
        AppendGroups(match, groups);
        if (before != nullptr) {
            *before = static_cast<int32_t>(match.prefix().length());
        }
        if (after != nullptr) {
            *after = static_cast<int32_t>(match.suffix().length());
        }
        return true;
    });
}

bool VnString::RegexFindAll(const VnString& pattern,
                            VnStringArray& groups,
                            bool caseSensitive,
                            VnRegexCache* cache) const {
    const VnString text(*this);
    const VnString expression(pattern);
    groups.Empty();
    return WithRegex(expression, text, caseSensitive, cache, [&](const std::wregex& regex) {
        const wchar_t* const begin = text.GetText();
        const std::wcregex_iterator end;
        for (std::wcregex_iterator match(begin, begin + text.GetLength(), regex); match != end;
             ++match) {
            AppendGroups(*match, groups);
        }
        return true;
    });
}

#include "text/CHTMLBlocks.h"

#include "core/VnTextFolding.h"
#include "text/CHTMLTree.h"

#include <cwchar>

namespace {

struct CBlockKind {
    int32_t Type;
    const wchar_t* StartText;
    const wchar_t* EndText;
    bool IsNested;
};

/// In the order in which the names are tried.
constexpr CBlockKind kKinds[] = {
    {CHTMLTree::kDiv, L"<div", L"</div>", true},
    {CHTMLTree::kObject, L"<object", L"</object>", true},
    {CHTMLTree::kScript, L"<script", L"</script>", true},
    {CHTMLTree::kStyle, L"<style", L"</style>", true},
    {CHTMLTree::kForm, L"<form", L"</form>", true},
    {CHTMLTree::kComment, L"<!--", L"-->", false},
    {CHTMLTree::kRow, L"<tr", L"</tr>", true},
    {CHTMLTree::kCell, L"<td", L"</td>", true},
};

constexpr size_t kKindCount = std::size(kKinds);

/// Length of `pattern` when the text goes on with it, else 0. The text ends in a zero character.
int32_t MatchAt(const VnTextFolding& fold, const wchar_t* at, const wchar_t* pattern) {
    int32_t length = 0;
    while (pattern[length] != 0) {
        if (fold(at[length]) != pattern[length]) {
            return 0;
        }
        ++length;
    }
    return length;
}

} // namespace

CHTMLBlocks::CHTMLBlocks(const VnString& text) {
    const VnTextFolding fold;
    const wchar_t* const begin = text.GetText();
    const int32_t length = text.GetLength();
    std::vector<size_t> open[kKindCount];
    std::vector<size_t> comments;
    for (int32_t at = 0; at < length; ++at) {
        if (begin[at] == L'-' && MatchAt(fold, begin + at, L"-->") > 0) {
            // It ends all comments that are open, but for one whose own start text it overlaps.
            const bool overlaps = !comments.empty() && Blocks[comments.back()].Start + 4 > at;
            const size_t ended = comments.size() - (overlaps ? 1U : 0U);
            for (size_t index = 0; index < ended; ++index) {
                Blocks[comments[index]].End = at + 3;
            }
            comments.erase(comments.begin(), comments.begin() + static_cast<std::ptrdiff_t>(ended));
        }
        if (begin[at] != L'<') {
            continue;
        }
        for (size_t kind = 0; kind < kKindCount; ++kind) {
            if (MatchAt(fold, begin + at, kKinds[kind].StartText) > 0) {
                (kKinds[kind].IsNested ? open[kind] : comments).push_back(Blocks.size());
                Blocks.push_back({kKinds[kind].Type, at, 0});
                break;
            }
            const int32_t end = kKinds[kind].IsNested && !open[kind].empty()
                                    ? MatchAt(fold, begin + at, kKinds[kind].EndText)
                                    : 0;
            if (end > 0) {
                Blocks[open[kind].back()].End = at + end;
                open[kind].pop_back();
                break;
            }
        }
    }
}

bool CHTMLBlocks::FindNext(int32_t start, int32_t limit, CBlock& block) {
    for (; Next < Blocks.size() && Blocks[Next].Start < limit; ++Next) {
        block = Blocks[Next];
        if (block.Start >= start && block.End > 0 && block.End <= limit) {
            ++Next;
            return true;
        }
    }
    return false;
}

bool CHTMLBlocks::HasContent(int32_t type) {
    return type == CHTMLTree::kDiv || type == CHTMLTree::kForm || type == CHTMLTree::kRow
           || type == CHTMLTree::kCell;
}

#include "text/CHTMLTree.h"

#include "core/VnStringArray.h"
#include "tests/support/TestText.h"

#include <gtest/gtest.h>

#include <string>
#include <utility>

namespace {

using Item = CHTMLTree::CItem;

/// The items below one: type, "s" or "e" for start and end, the text, children in braces.
std::string Outline(const Item* item) {
    std::string text;
    for (int32_t index = 0; index < item->GetChildCount(); ++index) {
        const Item* const child = item->GetChild(index);
        constexpr const char* kFlags[] = {"", "s", "e"};
        text += std::to_string(child->Type) + kFlags[child->Flags];
        text += "[" + ToBytes(child->Text) + "]";
        text += child->GetChildCount() > 0 ? "{" + Outline(child) + "}" : "";
    }
    return text;
}

/// What is wrong with the links; every character must be in one item.
std::string Damage(CHTMLTree& tree, const std::string& text) {
    std::string joined;
    for (Item* item = tree.NextItem(nullptr); item != nullptr; item = tree.NextItem(item)) {
        joined += ToBytes(item->Text);
        for (int32_t index = 0; index < item->GetChildCount(); ++index) {
            const Item* const child = item->GetChild(index);
            if (child->Parent != item || child->Previous != item->GetChild(index - 1)
                || child->Next != item->GetChild(index + 1)) {
                return "bad links at " + ToBytes(child->Text);
            }
        }
    }
    return joined == text ? "" : "the items give " + joined;
}

} // namespace

TEST(CHTMLTree, TextsAreCutIntoBlocks) {
    constexpr std::pair<const char*, const char*> kCases[] = {
        {"", ""},
        {"plain <b>text</b>", "1[plain <b>text</b>]"},
        {"a<div id=\"x\">b</div>c", "1[a]2s[<div id=\"x\">]{1[b]}2e[</div>]1[c]"},
        {"<DIV>b</dIv>", "2s[<DIV>]{1[b]}2e[</dIv>]"},
        {"<div>a<div>b</div>c</div>d",
         "2s[<div>]{1[a]2s[<div>]{1[b]}2e[</div>]1[c]}2e[</div>]1[d]"},
        {"<!--<div>--></div>", "7[<!--<div>-->]1[</div>]"},
        {"<script></div></script>", "4[<script></div></script>]"},
        {"<div>a<td>b</td>", "1[<div>a]9s[<td>]{1[b]}9e[</td>]"},
        {"<div a=\"x>y\">b</div>", "2s[<div a=\"x>]{1[y\">b]}2e[</div>]"},
        {"<div</div>", "2s[<div</div>]2e[]"},
        {"<divider>x</div>", "2s[<divider>]{1[x]}2e[</div>]"},
        {"<tr><td>1</td><td>2</td></tr>",
         "8s[<tr>]{9s[<td>]{1[1]}9e[</td>]9s[<td>]{1[2]}9e[</td>]}8e[</tr>]"},
        {"<style>a</style><object><object></object></object><form>f</form>",
         "5[<style>a</style>]3[<object><object></object></object>]6s[<form>]{1[f]}6e[</form>]"},
        {"<style><style></style>x", "1[<style>]5[<style></style>]1[x]"},
        {"<!-->x-->", "7[<!-->x-->]"},
        {"<!-- <!-->", "7[<!-- <!-->]"},
        {"<!--->", "1[<!--->]"},
        // A cell that ends only behind its div does not begin a block inside it.
        {"<div><td>a</div></td>", "2s[<div>]{1[<td>a]}2e[</div>]1[</td>]"},
        // The depth counts inside comments too.
        {"<div><!--<div>-->a</div>b", "1[<div>]7[<!--<div>-->]1[a</div>b]"},
        {"<div<div>a</div>b</div>", "2s[<div<div>]{1[a</div>b]}2e[</div>]"},
    };
    CHTMLTree tree;
    for (const auto& [text, outline] : kCases) {
        EXPECT_TRUE(tree.Parse(ToText(text)));
        EXPECT_EQ(Outline(tree.GetRoot()), outline) << text;
        EXPECT_EQ(Damage(tree, text), "") << text;
        tree.RemoveDivs(L"");
        EXPECT_EQ(Damage(tree, ToBytes(tree.GetVisibleText())), "") << text;
    }
    // An item's own text takes the tree's place, and more goes behind it.
    tree.Parse(L"<div>a text that is too long to be kept inside</div>");
    tree.Parse(tree.GetRoot()->GetChild(0)->GetChild(0)->Text);
    tree.ParseBlocks(L"<td></td>", tree.GetRoot());
    EXPECT_EQ(Outline(tree.GetRoot()),
              "1[a text that is too long to be kept inside]9s[<td>]9e[</td>]");
}

TEST(CHTMLTree, EmptyDivsAreHidden) {
    constexpr std::pair<const char*, const char*> kCases[] = {
        {"<div> </div>", "<div> </div>"},
        {"a<div><style>x</style></div>b", "ab"},
        {"<div><div></div>x<div><!-- --></div></div>", "<div>x</div>"},
        {"<div><div></div></div><div>x</div>", "<div>x</div>"},
        {"<td></td>", "<td></td>"},
    };
    for (const auto& [before, after] : kCases) {
        CHTMLTree tree;
        tree.Parse(ToText(before));
        tree.HideEmptyDivs();
        EXPECT_EQ(ToBytes(tree.GetVisibleText()), after) << before;
    }
}

TEST(CHTMLTree, ItemsAreShownAndHiddenByThemselvesOrWithAllBelow) {
    CHTMLTree tree;
    tree.Parse(L"<div>a<form>b</form></div>c");
    Item* const div = tree.GetRoot()->GetChild(0);
    tree.SetVisible(nullptr, false, true);
    tree.SetVisible(div, false, false);
    EXPECT_EQ(ToBytes(tree.GetVisibleText()), "a<form>b</form>c");
    EXPECT_FALSE(tree.HasVisibleText(div, false));
    EXPECT_TRUE(tree.HasVisibleText(div, true));
    tree.SetVisible(div, false, true);
    EXPECT_EQ(ToBytes(tree.GetVisibleText()), "c");
    EXPECT_FALSE(tree.HasVisibleText(div, true));
    tree.SetVisible(div->GetChild(1), true, true);
    EXPECT_EQ(ToBytes(tree.GetVisibleText()), "<form>b</form>c");
    tree.SetVisible(div, true, true);
    EXPECT_EQ(ToBytes(tree.GetVisibleText()), "<div>a<form>b</form></div>c");
    EXPECT_FALSE(tree.HasVisibleText(nullptr, true));
}

TEST(CHTMLTree, DivsAreFoundByIdAndClass) {
    CHTMLTree tree;
    tree.Parse(
        L"<div ID=\"One\" class=\"red  big\">1<div class=\"Red\">2</div></div><div id=\"\">3</div><td id=\"one\">4</td>");
    VnStringArray names;
    Item* const inner = tree.GetRoot()->GetChild(0)->GetChild(1);
    tree.GetNames(inner, CHTMLTree::kDiv, names, /*ascend=*/true);
    EXPECT_EQ(ToBytes(names.Join(L",")).substr(0, 11), "Red,One,red");
    const auto count = [&](int32_t type, const wchar_t* name, bool partial) {
        CHTMLTree::CItemArray items;
        const bool found = tree.FindItems(type, name, partial, items);
        return found == !items.IsEmpty() ? items.GetCount() : -1;
    };
    EXPECT_EQ(count(CHTMLTree::kDiv, L"one", false), 1);
    EXPECT_EQ(count(CHTMLTree::kDiv, L"RED", false), 2);
    EXPECT_EQ(count(CHTMLTree::kDiv, L"re", false), 0);
    EXPECT_EQ(count(CHTMLTree::kDiv, L"re", true), 2);
    EXPECT_EQ(count(CHTMLTree::kDiv, L"", false), 3);
    EXPECT_EQ(count(CHTMLTree::kCell, L"one", false), 1);
    EXPECT_EQ(count(CHTMLTree::kText, nullptr, false), 0);
    EXPECT_EQ(ToBytes(tree.GetDivContent(L"red")), "1<div class=\"Red\">2</div>");
    EXPECT_EQ(ToBytes(tree.GetDivContent(L"none")), "");
    EXPECT_EQ(ToBytes(inner->GetHTML(true, true, true)), "<div class=\"Red\">2</div>");
}

TEST(CHTMLTree, RemovedDivsLeaveTheirEnds) {
    CHTMLTree tree;
    tree.Parse(
        L"a<div id=\"x1\">b<div id=\"x2\">c</div></div><div id=\"y\">d<div class=\"x3\"></div></div>e");
    tree.RemoveDivs(L"X");
    EXPECT_EQ(Damage(tree, "a</div><div id=\"y\">d</div></div>e"), "");
    tree.RemoveDivs(L"");
    EXPECT_EQ(Damage(tree, "a</div></div>e"), "");
    tree.Clear();
    EXPECT_EQ(tree.NextItem(tree.NextItem(nullptr)), nullptr);
}

TEST(CHTMLTree, DepthWidthAndBrokenTagsByTheHundredThousand) {
    constexpr int kCount = 400000;
    std::string deep, ends, wide, broken;
    for (int index = 0; index < kCount; ++index) {
        deep += "<div>";
        ends += "</div>";
        wide += "<div></div>";
        broken += "<td><!--";
    }
    CHTMLTree tree;
    for (const std::string& text : {deep + ends, wide}) {
        tree.Parse(ToText(text));
        EXPECT_EQ(Damage(tree, text), "");
        tree.HideEmptyDivs();
        EXPECT_EQ(ToBytes(tree.GetVisibleText()), "");
        tree.RemoveDivs(L"");
    }
    EXPECT_EQ(Damage(tree, ends), "");
    tree.Parse(ToText(broken));
    EXPECT_EQ(tree.GetRoot()->GetChildCount(), 1);
}

#include "tests/support/XMLIndex.h"
#include "text/VnXMLDocument.h"

#include <gtest/gtest.h>

#include <string>
#include <utility>

namespace {

using Document = VnXMLDocument;

/// The `id` attributes of parent, main and child, "-" for none.
std::string Cursor(const Document& document) {
    std::string ids;
    for (const int32_t index :
         {document.GetParentPosition(), document.GetMainPosition(), document.GetChildPosition()}) {
        const VnString id = document.GetAttribute(index, L"id");
        ids += index == 0 ? "-" : ToBytes(id);
    }
    return ids;
}

/// The cursor behind a step, with "no " ahead of it when there was nothing to step to.
std::string After(bool isDone, const Document& document) {
    return (isDone ? "" : "no ") + Cursor(document);
}

constexpr const wchar_t* kTree = L"<a id='1'>"
                                 L"<item id='2'><x id='3'/></item>"
                                 L"<other id='4'><item id='5' key='v'/></other>"
                                 L"<item id='6' key><y id='7'/></item>"
                                 L"<item id='8'><y id='9'/><y id='0'/></item>"
                                 L"</a>";

} // namespace

TEST(VnXMLNavigate, PathsLeadToTheirElement) {
    // From the first child of the root on.
    // The ids of main, for as long as the search finds something.
    constexpr std::pair<const wchar_t*, const char*> kCases[] = {
        {nullptr, "2468"},
        {L"", "2468"},
        {L"item", "268"},
        {L"ITEM", "268"},
        {L"*", "2468"},
        {L"item[1]", "2"},
        {L"item[3]", "8"},
        {L"item[4]", ""},
        {L"item[0]", ""},
        {L"*[2]", "4"},
        {L"item[y]", "68"},
        {L"item[@key]", "6"},
        {L"item[@key='other']", "6"},
        {L"item[]", ""},
        {L"ite", ""},
        {L"items", ""},
        {L"item/y", "7"},
        {L"item/y[2]", "0"},
        {L"item[@key='a]/b']/y", "7"},
        {L"item[3]/y[2]", "0"},
        {L"*/item", "5"},
        {L"item/", ""},
        {L"/", ""},
        {L"//", ""},
        {L"//item/y", ""},
        {L"//item", "2568"},
        {L"//*", "234567890"},
        {L"//y", "790"},
        {L"//y[2]", "0"},
        {L"//item[1]", "25"},
        {L"item name", "268"},
        {L"item=1", "268"},
    };
    for (const auto& [path, expected] : kCases) {
        Document document(kTree);
        document.FindElement();
        document.IntoElement();
        std::string all;
        while (all.size() < 20 && document.FindElement(path)) {
            all += Cursor(document)[1];
        }
        EXPECT_EQ(all, expected) << ToBytes(path);
    }
    Document document(kTree);
    for (const wchar_t* path : {L"/a/item[2]", L"/a/item/y", L"/a[other]/item[@key]"}) {
        EXPECT_TRUE(document.FindElement(path)) << ToBytes(path);
    }
    EXPECT_EQ(After(document.FindElement(L"/a"), document), "-1-");
    EXPECT_EQ(After(document.FindElement(L"/b"), document), "no -1-");
    EXPECT_EQ(After(document.FindElement(L"/a/other/item"), document), "45-");
    // Climbs out of where it stands, and not into what lies ahead of it.
    EXPECT_EQ(After(document.FindElement(L"//item"), document), "16-");
}

TEST(VnXMLNavigate, ChildrenAreFoundFromTheCursorOrAnew) {
    Document document(kTree);
    EXPECT_EQ(After(document.FindChildElement(), document), "-12");
    EXPECT_EQ(After(document.FindChildElement(L"item"), document), "-16");
    EXPECT_EQ(After(document.FindChildElement(L"item[1]", /*restart=*/true), document), "-12");
    EXPECT_EQ(After(document.FindChildElement(L"item[2]"), document), "-16");
    EXPECT_EQ(After(document.FindChildElement(L"x"), document), "no -16");
    EXPECT_EQ(After(document.FindChildElement(L"item/y"), document), "189");
    EXPECT_EQ(After(document.FindChildElement(L"/a"), document), "no 189");
    EXPECT_EQ(After(document.FindChildElement(L"/a/item"), document), "-12");
    Document bare(L"<a id='1'/><b id='2'><c id='3'/></b>");
    EXPECT_EQ(After(bare.FindChildElement(), bare), "no ---");
}

TEST(VnXMLNavigate, BackwardsAndBetweenLevels) {
    Document document(kTree);
    EXPECT_FALSE(document.IntoElement());
    EXPECT_FALSE(document.OutOfElement());
    EXPECT_EQ(After(document.FindPreviousChildElement(), document), "-18");
    EXPECT_EQ(After(document.FindPreviousChildElement(L"other"), document), "-14");
    EXPECT_TRUE(document.FindPreviousChildElement());
    EXPECT_EQ(After(document.FindPreviousChildElement(), document), "no -12");
    EXPECT_EQ(After(document.IntoElement(), document), "12-");
    EXPECT_FALSE(document.FindPreviousElement());
    EXPECT_TRUE(document.FindElement(L"other"));
    EXPECT_EQ(After(document.IntoElement(), document), "4--");
    EXPECT_EQ(After(document.FindPreviousElement(L"item[1]"), document), "45-");
    EXPECT_EQ(After(document.OutOfElement(), document), "145");
    EXPECT_EQ(After(document.OutOfElement(), document), "-14");
    EXPECT_FALSE(document.FindPreviousElement(L"a/item"));
}

TEST(VnXMLNavigate, NodesAreFoundInTheirOrder) {
    Document document(
        L"<?xml version='1.0'?><!DOCTYPE d><a>one<b>in</b> <!--c--><![CDATA[d]]><e/></x><1> </a>\r\n");
    std::string nodes;
    while (const int32_t type = document.FindNode()) {
        nodes += std::to_string(type) + ":" + ToBytes(document.GetNodeName()) + " ";
    }
    EXPECT_EQ(nodes, "16:xml 64:d 1:a 4:#text ");
    EXPECT_EQ(document.GetNodeType(), Document::kNodeWhiteSpace);
    document.ResetPosition();
    document.FindElement();
    document.IntoElement();
    nodes.clear();
    while (const int32_t type = document.FindNode()) {
        nodes += std::to_string(type) + ":" + ToBytes(document.GetNodeName()) + "="
                 + ToBytes(document.GetData(document.GetMainPosition())) + " ";
    }
    EXPECT_EQ(
        nodes,
        "2:#text=one 1:b=in 4:#text=  32:#comment=c 8:#cdata-section=d 1:e= 128:x=x 32768:=<1> 4:#text=  ");
    document.ResetPosition();
    document.FindElement();
    document.IntoElement();
    EXPECT_EQ(document.FindNode(Document::kNodeCDATA | Document::kNodeLoneEndTag),
              Document::kNodeCDATA);
    EXPECT_EQ(ToBytes(document.GetTagName(document.GetMainPosition())), "b");
    EXPECT_EQ(document.FindNode(Document::kNodeElement), Document::kNodeElement);
    EXPECT_EQ(ToBytes(document.GetTagName(document.GetMainPosition())), "e");
    EXPECT_EQ(document.FindNode(Document::kNodeComment), 0);
    EXPECT_EQ(ToBytes(document.GetTagName(document.GetMainPosition())), "e");
    // Inside an element without an end tag there is nothing.
    EXPECT_TRUE(document.IntoElement());
    EXPECT_EQ(document.FindNode(), 0);
}

TEST(VnXMLNavigate, SavedPositionsComeBackUntilTheirElementIsGone) {
    Document document(kTree);
    EXPECT_FALSE(document.RestorePosition(L"none"));
    document.SavePosition(L"start");
    document.FindElement(L"/a/other");
    document.SavePosition(nullptr);
    document.FindChildElement();
    document.SavePosition(L"child");
    // Many names that fall into one bucket.
    for (int32_t index = 0; index < 40; ++index) {
        document.FindElement(index % 2 == 0 ? L"/a/item[1]" : L"/a/item[3]");
        document.SavePosition(VnString(static_cast<wchar_t>(L'a' + 7 * index)));
    }
    EXPECT_EQ(After(document.RestorePosition(L"start"), document), "---");
    EXPECT_EQ(After(document.RestorePosition(L""), document), "14-");
    EXPECT_EQ(After(document.RestorePosition(L"child"), document), "145");
    document.FindElement(L"/a/item[1]");
    document.RemoveElement();
    document.FindElement(L"/a/other");
    document.RemoveElement();
    EXPECT_FALSE(document.RestorePosition(L"child"));
    EXPECT_FALSE(document.RestorePosition(L""));
    for (int32_t index = 0; index < 40; ++index) {
        document.ResetPosition();
        EXPECT_EQ(document.RestorePosition(VnString(static_cast<wchar_t>(L'a' + 7 * index))),
                  index % 2 == 1);
        EXPECT_EQ(Cursor(document), index % 2 == 1 ? "18-" : "---");
    }
    // The freed records are taken again, and the names with them stay unknown.
    document.AddElement(L"new");
    EXPECT_FALSE(document.RestorePosition(L"child"));
    document.SetDocument(kTree);
    EXPECT_FALSE(document.RestorePosition(L"start"));
}

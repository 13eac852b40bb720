#include "tests/support/XMLIndex.h"
#include "text/VnXMLDocument.h"

#include <gtest/gtest.h>

#include <initializer_list>
#include <string>
#include <tuple>

namespace {

using Access = VnXMLDocumentTestAccess;
using Document = VnXMLDocument;

struct EditCase {
    const char* What;
    const char* Before;
    bool (*Edit)(Document&);
    bool Result;
    const char* After;
};

/// The text, and that the index is sound and the one that a parse of it makes.
void CheckResult(const Document& document, const char* text) {
    EXPECT_EQ(ToBytes(document.GetText()), text);
    EXPECT_EQ(Access::Damage(document), "");
    Document fresh;
    if (fresh.SetDocument(document.GetText())) {
        EXPECT_EQ(Access::Describe(document), Access::Describe(fresh));
    }
}

/// Edits with main on the root, and the child position on its first child if there is one.
void Check(std::initializer_list<EditCase> cases) {
    for (const EditCase& edit : cases) {
        SCOPED_TRACE(edit.What);
        Document document;
        document.SetDocument(ToText(edit.Before));
        document.FindElement();
        document.FindChildElement();
        EXPECT_EQ(edit.Edit(document), edit.Result);
        CheckResult(document, edit.After);
    }
}

constexpr uint32_t kChild = Document::kInsertChild;
constexpr uint32_t kNoLine = Document::kInsertNoLineEnd;
constexpr uint32_t kBefore = Document::kInsertBefore;
constexpr uint32_t kReplace = Document::kInsertReplace;

} // namespace

TEST(VnXMLEdit, ElementsAreInsertedInTheirPlace) {
    // The document, paths of main and child (null for no position), value, options, and the
    // document after it, null when it is refused.
    using InsertCase = std::tuple<const char*, const wchar_t*, const wchar_t*, const wchar_t*,
                                  uint32_t, const char*>;
    constexpr uint32_t kStartTag = Document::kInsertNoEndTag;
    constexpr InsertCase kCases[] = {
        // Behind main or the line it ends, but not over white space that belongs to text.
        {"<a/>", L"a", nullptr, nullptr, 0, "<a/><n/>\r\n"},
        {"<a/> \r\n", L"a", nullptr, nullptr, 0, "<a/> \r\n<n/>\r\n"},
        {"<a/> x", L"a", nullptr, nullptr, 0, "<a/><n/>\r\n x"},
        {"<a/> \r\n", L"a", nullptr, L"", kNoLine, "<a/><n/> \r\n"},
        {"<a/>", L"a", nullptr, L"v", kBefore, "<n>v</n>\r\n<a/>"},
        {"<!-- --><a/>", nullptr, nullptr, nullptr, 0, "<!-- --><a/><n/>\r\n"},
        {"<!-- --><a/>", nullptr, nullptr, nullptr, kBefore, "<n/>\r\n<!-- --><a/>"},
        {"", nullptr, nullptr, nullptr, Document::kInsertBlankBeforeSlash, "<n />\r\n"},
        {"", nullptr, nullptr, nullptr, kStartTag, "<n>\r\n"},
        {"", nullptr, nullptr, L"v", kStartTag, nullptr},
        {"", nullptr, nullptr, L"v", kChild, nullptr},
        // The first child of an element that is self-closed, empty, or not ended.
        {"<a b='1'/>", L"a", nullptr, L"v", kChild, "<a b='1'>\r\n<n>v</n>\r\n</a>"},
        {"<a />", L"a", nullptr, L"v", kChild | kNoLine, "<a ><n>v</n></a>"},
        {"<a></a>", L"a", nullptr, L"v", kChild, "<a>\r\n<n>v</n>\r\n</a>"},
        {"<a></a>", L"a", nullptr, L"v", kChild | kNoLine, "<a>\r\n<n>v</n></a>"},
        {"<a></a>", L"a", nullptr, L"v", kChild | kReplace, "<a>\r\n<n>v</n>\r\n</a>"},
        {"<a>text</a>", L"a", nullptr, nullptr, kChild, "<a>text<n/>\r\n</a>"},
        {"<a><br></a>", L"/a/br", nullptr, nullptr, kChild, "<a><br>\r\n<n/>\r\n</br></a>"},
        // Among other children, and in the place of all of them.
        {"<a>\r\n<b/>\r\n<d/>\r\n</a>", L"a", L"b", nullptr, kChild,
         "<a>\r\n<b/>\r\n<n/>\r\n<d/>\r\n</a>"},
        {"<a>\r\n<b/>\r\n</a>", L"a", L"b", nullptr, kChild | kBefore,
         "<a>\r\n<n/>\r\n<b/>\r\n</a>"},
        {"<a>\r\n<b/>\r\n</a>", L"a", nullptr, nullptr, kChild | kBefore,
         "<a>\r\n<n/>\r\n<b/>\r\n</a>"},
        {"<a>x<b/><c/></a>", L"a", L"c", L"v", kChild | kReplace, "<a><n>v</n>\r\n</a>"},
        {"<!-- x --><a>x<b/></a>y", L"a", nullptr, L"v", kReplace, "<n>v</n>\r\n"},
    };
    for (const auto& [before, main, child, value, options, after] : kCases) {
        SCOPED_TRACE(std::string(before) + " " + std::to_string(options));
        Document document;
        document.SetDocument(ToText(before));
        ASSERT_EQ(main != nullptr && document.FindElement(main), main != nullptr);
        ASSERT_EQ(child != nullptr && document.FindChildElement(child), child != nullptr);
        const bool isDone = after != nullptr;
        EXPECT_EQ(document.AddElement(L"n", value, options), isDone);
        EXPECT_EQ(document.GetFlags(),
                  Document::kIgnoreCase | (isDone ? Document::kDocumentChanged : 0U));
        const bool isChild = (options & kChild) != 0;
        EXPECT_EQ(
            document.GetTagName(isChild ? document.GetChildPosition() : document.GetMainPosition())
                == L"n",
            isDone);
        CheckResult(document, isDone ? after : before);
    }
}

TEST(VnXMLEdit, ValuesAreWrittenSoThatTheyReadBack) {
    constexpr std::tuple<const wchar_t*, uint32_t, const char*> kCases[] = {
        {L"a&b<c>d\"e'f", 0, "<v>a&amp;b&lt;c&gt;d\"e'f</v>\r\n"},
        {L"a&b<c>d\"e'f", Document::kInsertEscapeQuotes,
         "<v>a&amp;b&lt;c&gt;d&quot;e&apos;f</v>\r\n"},
        {L"a&b<c>]]>d]]>", Document::kInsertCDATA,
         "<v><![CDATA[a&b<c>]]]]><![CDATA[>d]]]]><![CDATA[>]]></v>\r\n"},
        {L" \t\r\n ", 0, "<v> \t\r\n </v>\r\n"},
        {L"\x01", 0, "<v>&#x1;</v>\r\n"},
        {L"\u00E9\U0001F600", 0, "<v>\u00E9\U0001F600</v>\r\n"},
    };
    for (const auto& [value, options, written] : kCases) {
        Document document;
        EXPECT_TRUE(document.AddElement(L"v", value, options));
        EXPECT_EQ(ToBytes(document.GetText()), written);
        EXPECT_EQ(ToBytes(document.GetData(document.GetMainPosition())), ToBytes(value));
        Document fresh(document.GetText());
        EXPECT_EQ(ToBytes(fresh.GetDataAt(L"v")), ToBytes(value));
        EXPECT_TRUE(document.SetAttribute(document.GetMainPosition(), L"n", value));
        EXPECT_EQ(ToBytes(document.GetAttribute(document.GetMainPosition(), L"N")), ToBytes(value));
    }
    Document document;
    document.AddElement(L"v", -12);
    EXPECT_EQ(ToBytes(document.GetText()), "<v>-12</v>\r\n");
    document.RemoveElement();
    document.AddElement(L"v", L"a\x1f\x02");
    EXPECT_EQ(ToBytes(document.GetText()), "<v>a?"
                                           "?</v>\r\n");
}

TEST(VnXMLEdit, AttributesAreChangedInTheTag) {
    // A null value removes the attribute; a null result is a refusal.
    constexpr std::tuple<const char*, const wchar_t*, const wchar_t*, const char*> kCases[] = {
        {"<a>x</a>", L"b", L"1", "<a b=\"1\">x</a>"},
        {"<a />", L"b", L"7", "<a b=\"7\" />"},
        {"<a b='1'  >x</a>", L"c", L"\"<&>'", "<a b='1' c=\"&quot;&lt;&amp;&gt;&apos;\"  >x</a>"},
        {"<a b = 'long value' c=\"2\"><d/></a>", L"B", L"1", "<a b = \"1\" c=\"2\"><d/></a>"},
        {"<a b=1/>", L"b", L"2", "<a b=\"2\"/>"},
        {"<a b c='1'/>", L"b", L"2", "<a b=\"2\" c='1'/>"},
        {"", L"b", L"1", nullptr},
        {"<a b='1' c='2'><d/></a>", L"b", nullptr, "<a c='2'><d/></a>"},
        {"<a b='1' \r\n c = '2' />", L"c", nullptr, "<a b='1' />"},
        {"<a b c=1/>", L"c", nullptr, "<a b/>"},
        {"<a b='c'/>", L"c", nullptr, nullptr},
        {"<a/>", L"a", nullptr, nullptr}, // the tag's own name is none
        // A quote that nothing closes does not reach beyond the tag.
        {"<a b\" \">text\" e=\"1\"</a>", L"z", L"1", "<a b\" \" z=\"1\">text\" e=\"1\"</a>"},
        {"<a b\" \">text\" e=\"1\"</a>", L"e", nullptr, nullptr},
    };
    for (const auto& [before, name, value, after] : kCases) {
        SCOPED_TRACE(before);
        Document document;
        document.SetDocument(ToText(before));
        document.FindElement();
        const int32_t main = document.GetMainPosition();
        EXPECT_EQ(value != nullptr ? document.SetAttribute(main, name, value)
                                   : document.RemoveAttribute(main, name),
                  after != nullptr);
        CheckResult(document, after != nullptr ? after : before);
    }
    Check({
        {"of the child, a number", "<a><b/><c/></a>",
         [](Document& d) { return d.SetAttribute(d.GetChildPosition(), L"x", -7); }, true,
         "<a><b x=\"-7\"/><c/></a>"},
        {"of an instruction", "<a><?p b=\"1\"?><c/></a>",
         [](Document& d) {
             d.ResetPosition();
             d.FindElement();
             d.IntoElement();
             return d.FindNode(Document::kNodeInstruction) != 0
                    && d.SetAttribute(d.GetMainPosition(), L"b", L"22")
                    && d.SetAttribute(d.GetMainPosition(), L"c", L"3")
                    && d.GetAttribute(d.GetMainPosition(), L"c") == L"3"
                    && d.RemoveAttribute(0, L"c");
         },
         true, "<a><?p b=\"22\"?><c/></a>"},
        {"of an instruction with a lone quote", "<a><?p the \" mark?><r x=\"1\" y=\"2\"/></a>",
         [](Document& d) {
             d.ResetPosition();
             d.FindElement();
             d.IntoElement();
             return d.FindNode(Document::kNodeInstruction) != 0 && !d.RemoveAttribute(0, L"y")
                    && d.SetAttribute(0, L"y", L"v");
         },
         true, "<a><?p the \" mark y=\"v\"?><r x=\"1\" y=\"2\"/></a>"},
        {"of an instruction without room", "<a><?></a>",
         [](Document& d) {
             EXPECT_TRUE(d.IntoElement() && d.FindNode(Document::kNodeInstruction) != 0);
             return d.SetAttribute(0, L"b", L"2");
         },
         false, "<a><?></a>"},
    });
}

TEST(VnXMLEdit, ElementsAreRemovedWithTheirLine) {
    Check({
        {"the only one", "<a>x<b/></a>\r\n",
         [](Document& d) { return d.RemoveElement() && d.GetMainPosition() == 0; }, true, ""},
        {"ahead of text", "<r><a/> x</r>", [](Document& d) { return d.RemoveChildElement(); }, true,
         "<r> x</r>"},
        {"ahead of a tag", "<r>\r\n<a/>\r\n<b/>\r\n</r>",
         [](Document& d) { return d.RemoveChildElement() && d.GetChildPosition() == 0; }, true,
         "<r>\r\n<b/>\r\n</r>"},
        {"the last child", "<r>\r\n<a/>\r\n<b><c/></b>\r\n</r>",
         [](Document& d) {
             return d.FindChildElement(L"b") && d.RemoveChildElement()
                    && d.GetTagName(d.GetChildPosition()) == L"a";
         },
         true, "<r>\r\n<a/>\r\n</r>"},
        {"none", "", [](Document& d) { return d.RemoveElement() || d.RemoveChildElement(); }, false,
         ""},
    });
}

TEST(VnXMLEdit, FragmentsAndContent) {
    Check({
        {"the first element only", "<a/>",
         [](Document& d) { return d.AddSubDocument(L"<!-- --><b><c/></b><d/>", kChild); }, true,
         "<a>\r\n<b><c/></b>\r\n</a>"},
        {"no element: as text", "<a/>",
         [](Document& d) { return d.AddSubDocument(L"text", kChild | kNoLine); }, false,
         "<a>text</a>"},
        {"ill-formed: as text", "<r><a/></r>",
         [](Document& d) {
             return d.AddSubDocument(L"<b></c>", kChild | kNoLine) || d.IsWellFormed();
         },
         false, "<r><a/><b></c></r>"},
        {"its own text", "<a/>",
         [](Document& d) { return d.AddSubDocument(d.GetText(), kChild | kNoLine); }, true,
         "<a><a/></a>"},
        {"content", "<a>old<b/></a>",
         [](Document& d) { return d.SetElementContent(L"new<c/><d>e</d>"); }, true,
         "<a>new<c/><d>e</d></a>"},
        {"content of a self-closed element", "<a/>",
         [](Document& d) { return d.SetElementContent(L"<c/>"); }, true, "<a><c/></a>"},
        {"ill-formed content", "<a>old<b/></a>",
         [](Document& d) { return d.SetElementContent(L"<c><d/>") || d.IsWellFormed(); }, false,
         "<a><c><d/></a>"},
        {"empty content", "<a>old<b/></a>", [](Document& d) { return d.SetElementContent(L""); },
         true, "<a></a>"},
        {"content of nothing", "", [](Document& d) { return d.SetElementContent(L"x"); }, false,
         ""},
        {"an element named by the text itself", "item",
         [](Document& d) { return d.AddElement(d.GetText(), L"v"); }, true,
         "item<item>v</item>\r\n"},
        {"data", "<a>old</a>", [](Document& d) { return d.SetData(d.GetMainPosition(), L"n<w"); },
         true, "<a>n&lt;w</a>"},
        {"data as CDATA", "<a/>",
         [](Document& d) { return d.SetData(d.GetMainPosition(), L"n<w", Document::kInsertCDATA); },
         true, "<a><![CDATA[n<w]]></a>"},
        {"data over comments", "<a>x<!-- --></a>",
         [](Document& d) { return d.SetData(d.GetMainPosition(), 5); }, true, "<a>5</a>"},
        {"no data over children", "<a><b/></a>",
         [](Document& d) { return d.SetData(d.GetMainPosition(), L"x"); }, false, "<a><b/></a>"},
        {"data at a path", "<a><b/></a>", [](Document& d) { return d.SetDataAt(L"a/b", L"x"); },
         true, "<a><b>x</b></a>"},
        {"data at no path", "<a><b/></a>", [](Document& d) { return d.SetDataAt(L"a/c", L"x"); },
         false, "<a><b/></a>"},
    });
}

TEST(VnXMLEdit, NodesOfEveryTypeAreWrittenAndRead) {
    // What is written between <a> and </a> is null when it is refused.
    using NodeCase = std::tuple<int32_t, const wchar_t*, const char*, const char*, const char*>;
    constexpr NodeCase kCases[] = {
        {Document::kNodeElement, L"b c='1'", "\r\n<b c='1'/>", "b", ""},
        {Document::kNodeText, L"x<y", "\r\nx&lt;y", "#text", "x<y"},
        {Document::kNodeWhiteSpace, L" \r\n", "\r\n \r\n", "#text", " \r\n"},
        {Document::kNodeCDATA, L"x<y&", "\r\n<![CDATA[x<y&]]>", "#cdata-section", "x<y&"},
        {Document::kNodeCDATA, L"x]]>y", nullptr, "", ""},
        {Document::kNodeInstruction, L"p q='1'", "\r\n<?p q='1'?>\r\n", "p", "p q='1'"},
        {Document::kNodeComment, L" c ", "\r\n<!-- c -->\r\n", "#comment", " c "},
        {Document::kNodeDeclaration, L"<!DOCTYPE html x>", "\r\n<!DOCTYPE html x>\r\n", "html",
         "<!DOCTYPE html x>"},
        {Document::kNodeLoneEndTag, L"x", nullptr, "", ""},
        {Document::kNodeText, L"", nullptr, "", ""},
    };
    for (const auto& [type, text, written, name, data] : kCases) {
        SCOPED_TRACE(std::to_string(type) + " " + ToBytes(text));
        Document document(L"<a></a>");
        document.FindElement();
        document.IntoElement();
        ASSERT_EQ(document.AddNode(type, text), written != nullptr);
        if (written == nullptr) {
            EXPECT_EQ(ToBytes(document.GetText()), "<a></a>");
            continue;
        }
        EXPECT_EQ(ToBytes(document.GetText()), std::string("<a>") + written + "</a>");
        EXPECT_EQ(document.GetNodeType(), type);
        EXPECT_EQ(ToBytes(document.GetNodeName()), name);
        EXPECT_EQ(ToBytes(document.GetData(document.GetMainPosition())), data);
        EXPECT_EQ(Access::Describe(document), Access::Describe(Document(document.GetText())));
    }
}

TEST(VnXMLEdit, CurrentNodesAreChangedAndRemoved) {
    Document document(L"<a>one<!--c-->two<b/>three</a>");
    document.FindElement();
    document.IntoElement();
    ASSERT_EQ(document.FindNode(Document::kNodeComment), Document::kNodeComment);
    EXPECT_FALSE(document.SetElementContent(L"x"));
    EXPECT_TRUE(document.SetData(document.GetMainPosition(), L"longer"));
    EXPECT_EQ(ToBytes(document.GetText()), "<a>one<!--longer-->two<b/>three</a>");
    EXPECT_TRUE(document.AddNode(Document::kNodeCDATA, L"d"));
    EXPECT_EQ(ToBytes(document.GetText()), "<a>one<!--longer--><![CDATA[d]]>two<b/>three</a>");
    EXPECT_TRUE(document.RemoveNode());
    EXPECT_EQ(ToBytes(document.GetData(document.GetMainPosition())), "longer");
    EXPECT_TRUE(document.RemoveNode());
    // The two texts are one now.
    EXPECT_EQ(document.GetNodeType(), Document::kNodeText);
    EXPECT_EQ(ToBytes(document.GetData(document.GetMainPosition())), "onetwo");
    EXPECT_EQ(document.FindNode(), Document::kNodeElement);
    EXPECT_TRUE(document.RemoveNode());
    EXPECT_EQ(ToBytes(document.GetText()), "<a>onetwothree</a>");
    EXPECT_EQ(document.GetNodeType(), Document::kNodeText);
    EXPECT_TRUE(document.SetData(document.GetMainPosition(), L""));
    EXPECT_EQ(ToBytes(document.GetText()), "<a></a>");
    EXPECT_EQ(document.GetNodeType(), Document::kNodeNone);
    EXPECT_FALSE(document.RemoveNode());
    EXPECT_EQ(Access::Describe(document), Access::Describe(Document(document.GetText())));
}

TEST(VnXMLEdit, TheCurrentNodeMovesWithChangesAheadOfIt) {
    Document document(L"<a><b/>text<c/></a>");
    document.FindElement();
    document.IntoElement();
    ASSERT_EQ(document.FindNode(Document::kNodeText), Document::kNodeText);
    EXPECT_TRUE(document.SetAttribute(document.GetParentPosition(), L"x", L"1"));
    EXPECT_EQ(ToBytes(document.GetData(document.GetMainPosition())), "text");
    EXPECT_FALSE(document.AddSubDocument(L"</z>", kBefore | kNoLine));
    EXPECT_EQ(ToBytes(document.GetText()), "<a x=\"1\"><b/></z>text<c/></a>");
    EXPECT_EQ(ToBytes(document.GetData(document.GetMainPosition())), "text");
    EXPECT_TRUE(document.RemoveAttribute(document.GetParentPosition(), L"x"));
    EXPECT_EQ(ToBytes(document.GetData(document.GetMainPosition())), "text");
    EXPECT_EQ(document.FindNode(), Document::kNodeElement);
    EXPECT_EQ(ToBytes(document.GetNodeName()), "c");
}

TEST(VnXMLEdit, TheCurrentNodeGoesWithTheContentAroundIt) {
    Document document(L"<a>a text that is longer than what follows</a>");
    document.FindElement();
    document.IntoElement();
    ASSERT_EQ(document.FindNode(Document::kNodeText), Document::kNodeText);
    EXPECT_TRUE(document.SetData(document.GetParentPosition(), L"x"));
    EXPECT_EQ(document.GetNodeType(), 0);
    EXPECT_TRUE(document.AddNode(Document::kNodeComment, L"c"));
    EXPECT_EQ(ToBytes(document.GetText()), "<a>x<!--c-->\r\n</a>");
}

// What opens in such a fragment is closed by nothing of its own, so that its token would reach over
// the elements behind it.
TEST(VnXMLEdit, FragmentsThatDidNotParseKeepToTheirPlace) {
    for (const wchar_t* fragment : {L"<!--", L"<![CDATA[", L"</x", L"<!D <"}) {
        SCOPED_TRACE(ToBytes(fragment));
        Document document(L"<r><a/><b c='>]]>-->'/></r>");
        document.FindElement();
        document.FindChildElement();
        document.IntoElement();
        EXPECT_FALSE(document.AddSubDocument(fragment, kNoLine));
        const int32_t type = document.FindNode(~int32_t{Document::kNodeElement});
        EXPECT_EQ(type, Document::kNodeError);
        EXPECT_EQ(ToBytes(document.GetData(document.GetMainPosition())), ToBytes(fragment));
        EXPECT_TRUE(document.RemoveNode());
        EXPECT_EQ(Access::Damage(document), "");
        EXPECT_EQ(Access::Describe(document, false),
                  Access::Describe(Document(L"<r><a/><b c='>]]>-->'/></r>"), false));
    }
}

TEST(VnXMLEdit, CopiesAreApart) {
    Document first(L"<a><b/></a>");
    first.FindElement();
    first.FindChildElement();
    first.SavePosition(L"here");
    Document second(first);
    EXPECT_TRUE(second.SetAttribute(second.GetChildPosition(), L"x", L"1"));
    EXPECT_TRUE(second.RemoveChildElement());
    EXPECT_EQ(ToBytes(first.GetText()), "<a><b/></a>");
    EXPECT_FALSE(second.RestorePosition(L"here"));
    EXPECT_TRUE(first.RestorePosition(L"here"));
    first = second;
    EXPECT_EQ(ToBytes(first.GetText()), "<a></a>");
    Document& same = first;
    first = same;
    EXPECT_EQ(Access::Describe(first), Access::Describe(second));
    Document third(std::move(second));
    EXPECT_EQ(ToBytes(third.GetText()), "<a></a>");
    EXPECT_EQ(Access::Damage(first) + Access::Damage(third), "");
}

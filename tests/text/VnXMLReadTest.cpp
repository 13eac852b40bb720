#include "tests/support/XMLIndex.h"
#include "text/VnXMLDocument.h"

#include <gtest/gtest.h>

#include <string>
#include <tuple>

namespace {

using Document = VnXMLDocument;

std::string Decode(const wchar_t* text) {
    const VnString source(text);
    return ToBytes(Document::DecodeXMLText(source, source.GetLength()));
}

} // namespace

TEST(VnXMLRead, CharacterReferencesAreDecoded) {
    constexpr std::pair<const wchar_t*, const char*> kCases[] = {
        {L"", ""},
        {L"&lt;&gt;&amp;&quot;&apos;", "<>&\"'"},
        {L"&LT;", "&LT;"},
        {L"&amp;lt;", "&lt;"},
        {L"&&lt;&", "&<&"},
        {L"&#\t65;&#\v65;", "A&#\v65;"},
        {L"&#65;&#x41;&#x4a;&#x4A;", "AAJJ"},
        {L"&#X41;", "&#X41;"},
        {L"&#128512;&#x1F600;", "\U0001F600\U0001F600"},
        {L"&#0000065;", "A"},
        {L"&#00000065;", "&#00000065;"},
        {L"&#x0000041;", "A"},
        {L"&# 65;&#+65;&# +65;", "AAA"},
        {L"&#65a;", "A"},
        {L"&#;", "&#;"},
        {L"&#0;&lt;", "&#0;<"},
        {L"&#a;", "&#a;"},
        {L"&#65 and &lt;", "&#65 and <"},
    };
    for (const auto& [text, decoded] : kCases) {
        EXPECT_EQ(Decode(text), decoded) << ToBytes(text);
    }
    const VnString minus = Document::DecodeXMLText(L"&#-1;", 5);
    ASSERT_EQ(minus.GetLength(), 1);
    EXPECT_EQ(static_cast<uint32_t>(minus[0]), 0xFFFFFFFFU);
    // A range that ends inside a reference.
    EXPECT_EQ(ToBytes(Document::DecodeXMLText(L"&lt;", 3)), "&lt");
    EXPECT_EQ(ToBytes(Document::DecodeXMLText(L"&#65;", 4)), "&#65");
}

TEST(VnXMLRead, DataIsTextAndCDATAOfALeaf) {
    constexpr std::tuple<const wchar_t*, const char*, const char*> kCases[] = {
        {L"<a/>", "", ""},
        {L"<a></a>", "", ""},
        {L"<a> x &amp; y </a>", " x & y ", " x &amp; y "},
        {L"<a>x<!-- c -->y</a>", "xy", "x<!-- c -->y"},
        {L"<a> <!-- c --> </a>", "", " <!-- c --> "},
        {L"<a> x<![CDATA[&amp;<b>]]> z</a>", " x&amp;<b> z", " x<![CDATA[&amp;<b>]]> z"},
        {L"<a><![CDATA[x]]]]><![CDATA[>y]]></a>", "x]]>y", "<![CDATA[x]]]]><![CDATA[>y]]>"},
        {L"<a><![CDATA[]]></a>", "", "<![CDATA[]]>"},
        {L"<a>x<?p q?>y</a>", "xy", "x<?p q?>y"},
        {L"<a>x<b/></a>", "", "x<b/>"},
        {L"<a>", "", ""},
    };
    for (const auto& [text, data, inner] : kCases) {
        Document document;
        document.SetDocument(text);
        document.FindElement();
        EXPECT_EQ(ToBytes(document.GetData(document.GetMainPosition())), data) << ToBytes(text);
        EXPECT_EQ(ToBytes(document.GetInnerText(document.GetMainPosition())), inner)
            << ToBytes(text);
    }
}

TEST(VnXMLRead, AttributesAreFoundInTheirTag) {
    Document document(L"<t a='1' b=\"it's &lt;\" c = bare\r\nD bare2 e='<x y=\"no\">' f=''/>");
    ASSERT_TRUE(document.FindElement());
    const int32_t main = document.GetMainPosition();
    constexpr std::pair<const wchar_t*, const char*> kCases[] = {
        {L"a", "1"}, {L"A", "1"}, {L"b", "it's <"},    {L"c", "bare"},
        {L"d", "D"}, {L"f", ""},  {L"bare2", "bare2"}, {L"e", "<x y=\"no\">"},
        {L"y", ""},  {L"t", ""},  {L"", ""},           {nullptr, ""},
    };
    for (const auto& [name, value] : kCases) {
        EXPECT_EQ(ToBytes(document.GetAttribute(main, name)), value);
    }
    EXPECT_EQ(ToBytes(document.GetAttribute(0, L"a")), "");
    std::string names;
    for (int32_t number = 0; !document.GetAttributeName(number).IsEmpty(); ++number) {
        names += ToBytes(document.GetAttributeName(number)) + " ";
    }
    EXPECT_EQ(names, "a b c D bare2 e f ");
    document.SetFlags(0);
    EXPECT_EQ(ToBytes(document.GetAttribute(main, L"A")), "");
    EXPECT_EQ(ToBytes(document.GetAttributeName(-1)), "");
}

TEST(VnXMLRead, AttributesOfTheCurrentNode) {
    Document document(L"<?p a='1'?><!--x--><t a='2'/>");
    ASSERT_EQ(document.FindNode(), Document::kNodeInstruction);
    EXPECT_EQ(ToBytes(document.GetAttribute(document.GetMainPosition(), L"a")), "1");
    EXPECT_EQ(ToBytes(document.GetAttributeName(0)), "a");
    ASSERT_EQ(document.FindNode(), Document::kNodeComment);
    EXPECT_EQ(ToBytes(document.GetAttribute(document.GetMainPosition(), L"a")), "");
    EXPECT_FALSE(document.SetAttribute(document.GetMainPosition(), L"a", L"3"));
    ASSERT_TRUE(document.FindElement());
    EXPECT_EQ(ToBytes(document.GetAttribute(document.GetMainPosition(), L"a")), "2");
    for (const wchar_t* text : {L"<?\"abc?><r a=\"1\"/>", L"<!DOCTYPE \"abc><r a=\"1\"/>"}) {
        VnXMLDocument quoted(text);
        ASSERT_NE(quoted.FindNode(), 0);
        EXPECT_EQ(ToBytes(quoted.GetNodeName()), "abc") << "it ends with its node";
    }
}

TEST(VnXMLRead, ByPathWithoutMovingOrWith) {
    Document document(L"<a><b x='1'>one</b><b x='2'>two</b><c><d>deep</d></c></a>");
    EXPECT_EQ(ToBytes(document.GetChildData(L"b[2]")), "two");
    EXPECT_EQ(document.GetMainPosition(), 0);
    document.FindElement();
    document.FindChildElement(L"c");
    const int32_t child = document.GetChildPosition();
    EXPECT_EQ(ToBytes(document.GetChildAttribute(L"b", L"x")), "1");
    EXPECT_EQ(ToBytes(document.GetChildData(L"c/d")), "deep");
    EXPECT_EQ(ToBytes(document.GetChildData(L"e")), "");
    EXPECT_EQ(document.GetChildPosition(), child);
    EXPECT_EQ(ToBytes(document.GetDataAt(L"a/b[2]")), "two");
    EXPECT_EQ(ToBytes(document.GetAttribute(document.GetMainPosition(), L"x")), "2");
    EXPECT_EQ(ToBytes(document.GetDataAt(L"b")), "one");
    EXPECT_EQ(ToBytes(document.GetDataAt(L"e")), "");
    EXPECT_EQ(document.GetMainPosition(), 0);
}

TEST(VnXMLRead, PathsOfElementsLeadBack) {
    Document document(L"<a><b/><B/><c/><b><d/><d/></b></a><a><x/></a>");
    int count = 0;
    while (document.FindElement(L"//*")) {
        const int32_t main = document.GetMainPosition();
        const VnString path = document.GetElementPath(main);
        Document other(document);
        ASSERT_TRUE(other.FindElement(path)) << ToBytes(path);
        EXPECT_EQ(other.GetMainPosition(), main) << ToBytes(path);
        ++count;
    }
    EXPECT_EQ(count, 9);
    document.ResetPosition();
    document.FindElement(L"/a/b[3]/d[2]");
    EXPECT_EQ(ToBytes(document.GetElementPath(document.GetMainPosition())), "/a/b[3]/d[2]");
    document.FindElement(L"/a[2]/x");
    EXPECT_EQ(ToBytes(document.GetElementPath(document.GetMainPosition())), "/a[2]/x");
    EXPECT_EQ(ToBytes(document.GetElementPath(0)), "");
}

TEST(VnXMLRead, OffsetsAndSubDocuments) {
    Document document(L"<a> <b c=''>x</b> \r\n<d/> text</a>");
    int32_t start = -1;
    int32_t length = -1;
    int32_t contentStart = -1;
    int32_t contentLength = -1;
    EXPECT_FALSE(document.GetElementOffsets(start, length, contentStart, contentLength));
    EXPECT_EQ(start, -1);
    document.FindElement(L"/a/b");
    EXPECT_TRUE(document.GetElementOffsets(start, length, contentStart, contentLength));
    EXPECT_EQ(std::to_string(start) + " " + std::to_string(length) + " "
                  + std::to_string(contentStart) + " " + std::to_string(contentLength),
              "4 13 12 1");
    EXPECT_EQ(ToBytes(document.GetSubDocument(document.GetMainPosition())), "<b c=''>x</b> \r\n");
    document.FindElement();
    EXPECT_EQ(ToBytes(document.GetSubDocument(document.GetMainPosition())), "<d/>");
    EXPECT_EQ(ToBytes(document.GetSubDocument(0)), "");
    EXPECT_EQ(ToBytes(document.GetInnerText(0)), "");
}

TEST(VnXMLRead, DeclaredEncoding) {
    constexpr std::pair<const wchar_t*, const char*> kCases[] = {
        {L"<?xml version=\"1.0\" encoding=\"UTF-8\"?><a/>", "UTF-8"},
        {L" \r\n<?XML encoding='x'?>", "x"},
        {L"<?xml version=\"1.0\"?><a encoding='y'/>", ""},
        {L"<a/><?xml encoding='x'?>", ""},
        {L"<?xml encoding='x'>", ""},
        {L"<?other encoding='x'?>", ""},
        {L"", ""},
        {nullptr, ""},
    };
    for (const auto& [text, encoding] : kCases) {
        EXPECT_EQ(ToBytes(Document::GetDeclaredEncoding(text)), encoding);
    }
}

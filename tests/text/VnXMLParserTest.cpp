#include "tests/support/XMLIndex.h"
#include "text/VnXMLDocument.h"

#include <gtest/gtest.h>

#include <initializer_list>
#include <string>
#include <utility>

namespace {

using Access = VnXMLDocumentTestAccess;

struct ParseCase {
    const char* Text;
    bool Result;
    const char* Error;
    const char* Index; ///< without the first line, which is the text's length
};

std::string Index(const VnXMLDocument& document) {
    const std::string lines = Access::Describe(document);
    return lines.substr(lines.find('\n') + 1);
}

void Check(std::initializer_list<ParseCase> cases) {
    for (const ParseCase& parse : cases) {
        SCOPED_TRACE(parse.Text);
        VnXMLDocument document;
        EXPECT_EQ(document.SetDocument(ToText(parse.Text)), parse.Result);
        EXPECT_EQ(ToBytes(document.GetError()), parse.Error);
        EXPECT_EQ(Index(document), parse.Index);
        EXPECT_EQ(Access::Damage(document), "");
        EXPECT_EQ(document.IsWellFormed(), parse.Result);
    }
}

std::string Repeat(const std::string& text, int count) {
    std::string result;
    for (int i = 0; i < count; ++i) {
        result += text;
    }
    return result;
}

} // namespace

TEST(VnXMLParser, WellFormedTextsHaveTheirElements) {
    Check({
        {"<a></a>", true, "", "0 0+7 3/4 a\n"},
        {"<a >x</a >", true, "", "0 0+10 4/5 a\n"},
        {"<a><b/><c>t</c></a>", true, "", "0 0+19 3/4 a\n1 3+4 4/0 b\n1 7+8 3/4 c\n"},
        {"<a b=\">\" c='\">/'>x</a>", true, "", "0 0+22 17/4 a\n"},
        {"<A></a>", true, "", "0 0+7 3/4 A\n"},
        {"<a:b/>", true, "", "0 0+6 6/0 a:b\n"},
        {"<_/>", true, "", "0 0+4 4/0 _\n"},
        {"<:/>", true, "", "0 0+4 4/0 :\n"},
        {"<\xC3\xA9/>", true, "", "0 0+4 4/0 \xC3\xA9\n"},
        {"<a\"b>c\"/>", true, "", "0 0+9 9/0 a\"b\n"},
        {"<a<b>x</a<b>", true, "", "0 0+12 5/6 a<b\n"},
        {"<a\n\tb='1'\r>x</a\n>", true, "", "0 0+17 11/5 a\n"},
        // An end tag's name may stop where the start tag's goes on with one of these.
        {"<a=b></a>", true, "", "0 0+9 5/4 a=b\n"},
        {"<a[1]></a>", true, "", "0 0+10 6/4 a[1]\n"},
        {"<?xml version=\"1.0\"?>\r\n<!-- c -- d --><!DOCTYPE a><a/>", true, "", "0 50+4 4/0 a\n"},
        {"<a><![CDATA[<b>]]></a>", true, "", "0 0+22 3/4 a\n"},
        {"<a><!--<b>--></a>", true, "", "0 0+17 3/4 a\n"},
        {"<a><?p <b> ?></a>", true, "", "0 0+17 3/4 a\n"},
        {"<!DOCTYPE a [<!ENTITY b \"c\"><!-- > --><!ATTLIST x><!NOTATION y><?p > ?><z></z> ]><a/>",
         true, "", "0 81+4 4/0 a\n"},
        // Closing texts are found by looking back from ">", so that they may share the opening
        // characters.
        {"<?><a/>", true, "", "0 3+4 4/0 a\n"},
        {"<!--><a/>", true, "", "0 5+4 4/0 a\n"},
    });
}

TEST(VnXMLParser, KeepsTheFirstErrorAndAUsableIndex) {
    Check({
        {"", false, "Empty document", ""},
        {"text", false, "No root element", ""},
        {"</a>", false, "No root element", ""},
        {"<a/><b/>", false, "Root element has sibling", "0 0+4 4/0 a\n0 4+4 4/0 b\n"},
        {"<a></b><c/></a><d/>", false, "Root element has sibling",
         "0 0+15 3/4 a bad\n1 7+4 4/0 c\n0 15+4 4/0 d\n"},
        {"<a>", false, "Element 'a' at offset 0 not ended", "0 0+3 3/0 a unended\n"},
        {"<a><b><c><d/></a>", false,
         "End tag 'a' at offset 14 does not match start tag 'c' at offset 6",
         "0 0+17 3/4 a\n1 3+3 3/0 b unended\n1 6+3 3/0 c unended\n1 9+4 4/0 d\n"},
        {"<a><b></x><c/></a>", false, "No start tag for end tag 'x' at offset 6",
         "0 0+18 3/4 a bad\n1 3+3 3/0 b unended\n1 10+4 4/0 c\n"},
        {"<r><a></r></x>", false,
         "End tag 'r' at offset 7 does not match start tag 'a' at offset 3",
         "0 0+10 3/4 r\n1 3+3 3/0 a unended\n"},
        {"<a></b></a>", false, "No start tag for end tag 'b' at offset 3", "0 0+11 3/4 a bad\n"},
        {"<a></></a>", false, "No start tag for end tag '' at offset 3", "0 0+10 3/4 a bad\n"},
        {"<ab></a>", false, "No start tag for end tag 'a' at offset 4", "0 0+4 4/0 ab unended\n"},
        {"<a><1></a>", false, "Incorrect tag name character at offset 3", "0 0+10 3/4 a bad\n"},
        {"<a>< b></a>", false, "Incorrect tag name character at offset 3", "0 0+11 3/4 a bad\n"},
        {"<a><!x></a>", false, "Incorrect ! tag at offset 3", "0 0+11 3/4 a bad\n"},
        {"<a><!-x></a>", false, "Incorrect comment tag at offset 3", "0 0+12 3/4 a bad\n"},
        {"<a><![x></a>", false, "Incorrect tag at offset 3", "0 0+12 3/4 a bad\n"},
        {"<a><!ELEMENT x></a>", false, "", "0 0+19 3/4 a bad\n"},
        {"<a><!E<b/></a>", false, "", "0 0+14 3/4 a bad\n1 6+4 4/0 b\n"},
        {"<!DOCTYPE a [<!X>]><a/>", false, "Incorrect ! tag at offset 0", "0 19+4 4/0 a\n"},
        {"<!DOCTYPE a [<1>]><a/>", false, "Incorrect tag name character at offset 0",
         "0 18+4 4/0 a\n"},
        {"<a/><b", false, "Element tag at offset 4 unterminated", "0 0+4 4/0 a\n"},
        {"<a/><b c='>", false, "Element tag at offset 4 unterminated", "0 0+4 4/0 a\n"},
        {"<a/></b", false, "Element end tag at offset 4 unterminated", "0 0+4 4/0 a\n"},
        {"<a/><![CDATA[ ]>", false, "CDATA Section at offset 4 unterminated", "0 0+4 4/0 a\n"},
        {"<a/><? >", false, "Processing instruction at offset 4 unterminated", "0 0+4 4/0 a\n"},
        {"<a/><!-- ->", false, "Comment at offset 4 unterminated", "0 0+4 4/0 a\n"},
        {"<a/><!DOCTYPE <x>", false, "Doctype at offset 4 unterminated", "0 0+4 4/0 a\n"},
        {"<a/><!DOCTYPE <!-- >", false, "Doctype at offset 4 unterminated", "0 0+4 4/0 a\n"},
        {"<a/><", false, "tag at offset 4 unterminated", "0 0+4 4/0 a\n"},
        {"<a/><!", false, "tag at offset 4 unterminated", "0 0+4 4/0 a\n"},
        {"<a/><1", false, "tag at offset 4 unterminated", "0 0+4 4/0 a\n"},
    });
}

TEST(VnXMLParser, LetterCaseCountsWithoutItsFlag) {
    VnXMLDocument document;
    document.SetFlags(0);
    EXPECT_FALSE(document.SetDocument(L"<A></a>"));
    EXPECT_EQ(ToBytes(document.GetError()), "No start tag for end tag 'a' at offset 3");
    EXPECT_TRUE(document.SetDocument(L"<A></A>"));
    document.SetFlags(VnXMLDocument::kIgnoreCase);
    EXPECT_TRUE(document.SetDocument(L"<A></a>"));
}

TEST(VnXMLParser, ErrorsOfSeveralParsesAreJoined) {
    VnXMLDocument document;
    EXPECT_EQ(ToBytes(document.GetError()), "Empty document");
    EXPECT_FALSE(document.ParseDocument());
    EXPECT_EQ(ToBytes(document.GetError()), "Empty document, Empty document");
    EXPECT_FALSE(document.SetDocument(nullptr));
    EXPECT_EQ(ToBytes(document.GetError()), "Empty document");
    EXPECT_TRUE(document.SetDocument(L"<a/>"));
    EXPECT_EQ(ToBytes(document.GetError()), "");
    document.SetDocument(L"<a>");
    EXPECT_FALSE(document.ParseDocument());
    EXPECT_EQ(ToBytes(document.GetError()),
              "Element 'a' at offset 0 not ended, Element 'a' at offset 0 not ended");
}

TEST(VnXMLParser, AZeroCharacterEndsTheText) {
    VnXMLDocument document;
    EXPECT_TRUE(document.SetDocument(VnString(L"<a/>\0<b>", 8)));
    EXPECT_EQ(Access::Describe(document), "text 8\n0 0+4 4/0 a\n");
    EXPECT_FALSE(document.SetDocument(VnString(L"<a>1234567890\0</a>", 18)));
    EXPECT_EQ(ToBytes(document.GetError()), "Element 'a' at offset 0 not ended");
}

// Every way to cut a document short must end in a sound index. The heap block of each text is
// exact, so that a read behind it is seen by the address sanitizer.
TEST(VnXMLParser, EveryTruncationLeavesASoundIndex) {
    const VnString whole =
        L"<?xml version=\"1.0\"?><!DOCTYPE a [<!ENTITY b 'c'><!-- > -->]><a b=\"1\" c='2'>\r\n<!-- d --><e/>"
        L"text &lt;<f g=h><![CDATA[x]]></f>\r\n</a >\r\n";
    ASSERT_TRUE(VnXMLDocument(whole).IsWellFormed());
    for (int32_t length = 0; length < whole.GetLength(); ++length) {
        VnXMLDocument document;
        VnString cut = whole.Left(length);
        cut.FreeExtra();
        const bool result = document.SetDocument(cut);
        EXPECT_EQ(result, whole.Mid(length).IsEqual(L"\r\n") || whole.Mid(length).IsEqual(L"\n"))
            << ToBytes(cut);
        EXPECT_EQ(Access::Damage(document), "") << ToBytes(cut);
        while (document.FindNode() != 0) {
            document.GetData(document.GetMainPosition());
            document.GetNodeName();
            document.GetAttributeName(0);
        }
    }
}

TEST(VnXMLParser, DepthIsLimitedByMemoryOnly) {
    constexpr int kDepth = 100000;
    VnXMLDocument document;
    EXPECT_TRUE(document.SetDocument(ToText(Repeat("<a>", kDepth) + "x" + Repeat("</a>", kDepth))));
    EXPECT_EQ(Access::Damage(document), "");
    int depth = 0;
    for (document.FindElement(); document.FindChildElement(); document.IntoElement()) {
        ++depth;
    }
    EXPECT_EQ(depth, kDepth - 1);
    EXPECT_EQ(ToBytes(document.GetData(document.GetMainPosition())), "x");
    document.ResetPosition();
    ASSERT_TRUE(document.FindElement());
    EXPECT_TRUE(document.SetAttribute(document.GetMainPosition(), L"b", L"c"));
    EXPECT_EQ(Access::Damage(document), "");
    EXPECT_EQ(Access::Describe(document), Access::Describe(VnXMLDocument(document.GetText())));
    EXPECT_TRUE(document.RemoveElement());
    EXPECT_EQ(Access::Damage(document), "");
    EXPECT_EQ(Access::Describe(document), "text 0\n");
}

TEST(VnXMLParser, UnendedElementsByTheHundredThousandAreFlattened) {
    constexpr int kCount = 100000;
    VnXMLDocument document;
    EXPECT_FALSE(document.SetDocument(ToText(Repeat("<a><b/>", kCount))));
    EXPECT_EQ(Access::Damage(document), "");
    std::string lines;
    for (int i = 0; i < kCount; ++i) {
        lines += "0 " + std::to_string(i * 7) + "+3 3/0 a unended\n0 " + std::to_string(i * 7 + 3)
                 + "+4 4/0 b\n";
    }
    EXPECT_EQ(Index(document), lines);
}

// Each end tag has to be looked for among all open elements.
TEST(VnXMLParser, EndTagsThatMatchNothingCostNoSearchOfTheWholeDepth) {
    constexpr int kCount = 150000;
    VnXMLDocument document;
    EXPECT_FALSE(document.SetDocument(
        ToText("<r>" + Repeat("<a>", kCount) + Repeat("</b>", kCount) + "</r>")));
    EXPECT_EQ(ToBytes(document.GetError()), "No start tag for end tag 'b' at offset 450003");
    // Far apart, through the index of open names: the deep one is found, and the innermost of equal
    // names.
    EXPECT_FALSE(document.SetDocument(ToText("<r><x i='1'><x i='2'>" + Repeat("<a>", 500) + "</X>"
                                             + Repeat("<a>", 500) + "</zz></r>")));
    EXPECT_EQ(ToBytes(document.GetError()),
              "End tag 'X' at offset 1522 does not match start tag 'a' at offset 1518");
    EXPECT_TRUE(document.FindElement(L"/r/x[2]"));
    EXPECT_EQ(ToBytes(document.GetAttribute(document.GetMainPosition(), L"i")), "2");
    EXPECT_GT(document.GetInnerText(document.GetMainPosition()).GetLength(), 1000);
    EXPECT_EQ(Access::Damage(document), "");
}

// The index of open names is made by the tag zz; what is closed after that must leave it again.
TEST(VnXMLParser, NamesThatWereClosedAreNotFoundAgain) {
    VnXMLDocument document;
    EXPECT_FALSE(document.SetDocument(
        ToText("<r>" + Repeat("<a>", 100) + "</zz>" + Repeat("</a>", 100) + "</a><c/></r>")));
    EXPECT_TRUE(document.FindElement(L"/r/c"));
    EXPECT_EQ(document.GetInnerText(document.GetParentPosition()).GetLength(), 100 * 7 + 5 + 4 + 4);
}

TEST(VnXMLParser, TagsTooLongForTheirFieldAreMeasuredInTheText) {
    const std::string value(0x180000, 'v');
    const std::string blanks = " </a" + std::string(5000, ' ');
    VnXMLDocument document;
    ASSERT_TRUE(document.SetDocument(ToText("<a b='" + value + "'>in</a" + blanks + "><!-- -->")));
    ASSERT_TRUE(document.FindElement());
    const int32_t main = document.GetMainPosition();
    EXPECT_EQ(ToBytes(document.GetInnerText(main)), "in");
    EXPECT_EQ(document.GetAttribute(main, L"b").GetLength(), 0x180000);
    EXPECT_TRUE(document.SetData(main, L"other"));
    EXPECT_TRUE(document.SetAttribute(main, L"b", L"short"));
    EXPECT_EQ(ToBytes(document.GetText()), "<a b=\"short\">other</a" + blanks + "><!-- -->");
    EXPECT_EQ(ToBytes(document.GetInnerText(main)), "other");
}

TEST(VnXMLRecords, GrowByHalfAndAtMostIntoOneNewSegment) {
    VnXMLDocument document;
    EXPECT_EQ(Access::Capacity(document), 8);
    EXPECT_EQ(Access::SegmentCapacity(document), 4);
    constexpr std::pair<int32_t, int32_t> kCases[] = {
        {100, 100},     {50, 100},         {65535, 65535},    {65537, 65537},
        {70000, 70000}, {1000000, 196608}, {1000000, 262144}, {1000000, 327680},
    };
    for (const auto& [wanted, capacity] : kCases) {
        Access::Reserve(document, wanted);
        EXPECT_EQ(Access::Capacity(document), capacity) << wanted;
    }
    // The table was outgrown by the segment number 4.
    EXPECT_EQ(Access::SegmentCapacity(document), 2 * 4 + 4);
    VnXMLDocument large;
    Access::Reserve(large, 1000000);
    EXPECT_EQ(Access::Capacity(large), 131072);
}

TEST(VnXMLRecords, FullSegmentsNeverMove) {
    VnXMLDocument document;
    const void* address = nullptr;
    for (int32_t count = 0; count < 200000; ++count) {
        document.AddElement(L"a");
        if (count == 66000) {
            address = Access::RecordAddress(document, 65535);
        }
    }
    EXPECT_EQ(Access::RecordAddress(document, 65535), address);
    EXPECT_EQ(Access::Damage(document), "");
    EXPECT_EQ(Access::UsedRecords(document), 200001);
    EXPECT_EQ(Access::Describe(VnXMLDocument(document)),
              Access::Describe(VnXMLDocument(document.GetText())));
}

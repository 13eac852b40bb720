#include "core/VnPropertyMap.h"

#include "text/VnXMLDocument.h"

#include <gtest/gtest.h>

#include <string>

namespace {

TEST(VnPropertyMapXML, WritesARootAndOneItemAnEntry) {
    VnPropertyMap map;
    EXPECT_EQ(map.GetXML(L"Settings", /*omitIfEmpty=*/true, 1.0), L"");
    EXPECT_EQ(map.GetXML(L"Settings", false, 1.0), L"<Settings version=\"1.0\">\r\n</Settings>");
    map.SetString(L"a\"b", L"1 < 2 & \"3\"");
    EXPECT_EQ(map.GetXML(L"Settings", true, 12.34),
              L"<Settings version=\"12.3\">\r\n"
              L"<Item Name=\"a&quot;b\">1 &lt; 2 &amp; \"3\"</Item>\r\n"
              L"</Settings>");
}

TEST(VnPropertyMapXML, ReadsBackWhatItWrote) {
    VnPropertyMap map;
    for (const wchar_t* value :
         {L"", L"plain", L"a<b>&amp;\"'", L"two\r\nlines", L"\u00e4\u4e2d", L" blanks "}) {
        map.SetString(VnString::Formatted(L"Key<%d>", map.GetCount()), value);
    }
    VnPropertyMap read;
    read.SetInt(L"old", 1);
    EXPECT_TRUE(read.SetXML(map.GetXML(L"Root", false, 2.5), L"Root", 2.5));
    EXPECT_TRUE(read.IsEqual(map))
        << testing::PrintToString(std::wstring(read.Dump(L"", L"", L"|")));
}

TEST(VnPropertyMapXML, ChecksRootAndVersion) {
    struct {
        const wchar_t* Text;
        bool Result;
        int32_t Count;
    } constexpr kRows[] = {
        {L"", true, 0},
        {L"<Root version=\"1.00\"><Item Name=\"a\">1</Item></Root>", true, 1},
        {L"<?xml version=\"1.0\"?>\n<Root version=\"1,0\"><Item Name=\"a\">1</Item></Root>", true,
         1},
        {L"<Root version=\"2.0\"><Item Name=\"a\">1</Item></Root>", false, 0},
        {L"<Root version=\"1.01\"><Item Name=\"a\">1</Item></Root>", false, 0},
        {L"<Root><Item Name=\"a\">1</Item></Root>", false, 0},
        {L"<Other version=\"1.0\"><Item Name=\"a\">1</Item></Other>", false, 0},
        {L"no document", false, 0},
        {L"<Root version=\"1.0\"><Item Name=\"a\">1</Item><x/><Item Name=\"A\">2</Item>"
         L"<Item Name=\"b\"/></Root>",
         true, 2},
        {L"<Root version=\"1.0\"><Group><Item Name=\"a\">1</Item></Group></Root>", true, 0},
    };
    for (const auto& row : kRows) {
        SCOPED_TRACE(testing::PrintToString(std::wstring(row.Text)));
        VnPropertyMap map;
        map.SetInt(L"old", 1);
        EXPECT_EQ(map.SetXML(row.Text, L"Root", 1.0), row.Result);
        EXPECT_EQ(map.GetCount(), row.Count);
    }
}

TEST(VnPropertyMapXML, TheLastOfEqualKeysWins) {
    VnPropertyMap map;
    map.SetXML(L"<R version=\"1\"><Item Name=\"Key\">1</Item><Item Name=\"KEY\">2</Item></R>", L"R",
               1.0);
    EXPECT_EQ(map.Dump(L"", L"", L""), L"Key: 2");
}

TEST(VnPropertyMapXML, WritesBelowTheElementThatWasEntered) {
    VnPropertyMap map;
    map.SetString(L"k", L"v");
    VnXMLDocument tree(L"<a><b/></a>");
    ASSERT_TRUE(tree.FindElement(L"a"));
    ASSERT_TRUE(tree.IntoElement());
    map.WriteXML(tree);
    VnXMLDocument written(tree.GetText());
    ASSERT_TRUE(written.FindElement(L"a"));
    ASSERT_TRUE(written.IntoElement());
    VnPropertyMap read;
    read.ReadXML(written);
    EXPECT_TRUE(read.IsEqual(map)) << testing::PrintToString(std::wstring(tree.GetText()));
}

} // namespace

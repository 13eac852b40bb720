#include "core/VnPropertyMap.h"

#include "tests/support/TestText.h"
#include "text/VnXMLDocument.h"

#include <gtest/gtest.h>

#include <tuple>

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
    EXPECT_TRUE(read.IsEqual(map)) << ToBytes(read.Dump(L"", L"", L"|"));
    VnPropertyMap own; // the name of the root may be a value of the map
    own.SetString(L"root", L"ABCDEFG");
    EXPECT_TRUE(own.SetXML(
        L"<ABCDEFG version=\"1.0\"><Item Name=\"a\">1</Item><Other1/><Other12345/></ABCDEFG>",
        own.GetEntries()->Lookup(L"root")->GetText(), 1.0));
}

TEST(VnPropertyMapXML, ChecksRootAndVersion) {
    constexpr std::tuple<const wchar_t*, bool, const char*> kRows[] = {
        {L"", true, ""},
        {L"<Root version=\"1.00\"><Item Name=\"a\">1</Item></Root>", true, "a: 1;"},
        {L"<?xml version=\"1.0\"?>\n<Root version=\"1,0\"><Item Name=\"a\">1</Item></Root>", true,
         "a: 1;"},
        {L"<Root version=\"1.01\"><Item Name=\"a\">1</Item></Root>", false, ""},
        {L"<Root><Item Name=\"a\">1</Item></Root>", false, ""},
        {L"<Other version=\"1.0\"><Item Name=\"a\">1</Item></Other>", false, ""},
        {L"no document", false, ""},
        {L"<Root version=\"1.0\"/>", true, ""},
        // The last of equal keys wins.
        {L"<Root version=\"1.0\"><Item Name=\"a\">1</Item><x/><Item Name=\"A\">2</Item></Root>",
         true, "a: 2;"},
        {L"<Root version=\"1.0\"><Group><Item Name=\"a\">1</Item></Group></Root>", true, ""},
    };
    for (const auto& [text, result, dump] : kRows) {
        VnPropertyMap map;
        map.SetInt(L"old", 1);
        EXPECT_EQ(map.SetXML(text, L"Root", 1.0), result) << ToBytes(text);
        EXPECT_EQ(ToBytes(map.Dump(L"", L"", L";")), dump) << ToBytes(text);
    }
}

/// Both work on the element that was entered as a whole, whichever child the cursor stands on.
TEST(VnPropertyMapXML, WritesAtTheEndAndReadsFromTheStart) {
    VnPropertyMap map;
    map.SetString(L"k", L"v");
    map.SetString(L"m", L"w");
    for (const wchar_t* child : {L"none", L"b", L"c"}) {
        VnXMLDocument tree(L"<a><b/><c/></a>");
        ASSERT_TRUE(tree.FindElement(L"a") && tree.IntoElement());
        tree.FindElement(child);
        map.WriteXML(tree);
        EXPECT_EQ(ToBytes(tree.GetText()),
                  "<a><b/><c/><Item Name=\"k\">v</Item>\r\n<Item Name=\"m\">w</Item>\r\n</a>");
        VnPropertyMap read;
        read.ReadXML(tree);
        EXPECT_TRUE(read.IsEqual(map));
    }
}

} // namespace

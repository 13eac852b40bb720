#include "text/CParseJSON.h"

#include "core/VnStringArray.h"
#include "tests/support/TestText.h"

#include <gtest/gtest.h>

#include <string>

namespace {

/// The tree in one line: name:value, children in braces.
std::string Outline(const CParseJSON::CNode& node) {
    std::string text;
    for (int32_t index = 0; index < node.GetChildCount(); ++index) {
        const CParseJSON::CNode& child = *node.GetChild(index);
        text += (index == 0 ? "" : ",") + ToBytes(child.Name) + ":" + ToBytes(child.Value);
        if (child.GetChildCount() > 0) {
            text += "{" + Outline(child) + "}";
        }
    }
    return text;
}

std::string Parse(const std::string& text) {
    CParseJSON document;
    EXPECT_TRUE(document.Parse(ToText(text)));
    return Outline(*document.GetNode(L""));
}

} // namespace

TEST(CParseJSON, TextsBecomeTrees) {
    struct ParseCase {
        const char* Text;
        const char* Tree;
    };
    constexpr ParseCase kCases[] = {
        {"", ""},
        {"no object", ""},
        {"{}", ""},
        {R"({"a":"b"})", "a:b"},
        {R"({"a":12.5,"b":true , "c" : null,"d":NULL ,"e":-1e5})", "a:12.5,b:true,c:,d:,e:-1e5"},
        {R"({"a":{"b":{"c":1}},"d":2})", "a:{b:{c:1}},d:2"},
        {R"({"a":["x","y","z"],"b":[]})", "a:{0:x,1:y,2:z},b:"},
        {R"({"a":[1, 2 ,3 ],"b":4})", "a:{0:1,1:2,2:3},b:4"},
        {R"({"a":[{"b":1},{"b":2} , {"c":3}],"d":"e"})", "a:{0:{b:1},1:{b:2},2:{c:3}},d:e"},
        {R"({"a":[[1,2],3]})", "a:{0:[1,1:2}"},
        {R"([{"a":1},{"b":2}])", "a:1"},
        {R"(junk {"a":1} {"b":2})", "a:1"},
        {R"({"a":"q\"uo\\te","b":"\u0041\u00e9\n\t\/"})", "a:q\"uo\\te,b:A\u00E9\n\t/"},
        {R"({"a\"b":1})", "a\\:1"},
        {R"({"a":"1" , "b":"2" })", "a:1,b:2"},
        {"{\r\n  \"a\" : [\r\n    1,\r\n    2\r\n  ],\r\n  \"b\" : \"c\"\r\n}", "a:{0:1,1:2},b:c"},
        // Broken texts give shorter trees.
        {R"({"a":1,"b)", "a:1"},
        {R"({"a":"b)", "a:b"},
        {R"({"a")", "a:"},
        {R"({"a":)", "a:"},
        {R"({"a":{"b":1)", "a:{b:1}"},
        {R"({"a":[1,2)", "a:{0:1,1:2}"},
        {R"({"a":[1,2},"b":3})", "a:{0:1,1:2}"},
        {R"({"a" 1,"b":2})", "a:2"},
    };
    for (const ParseCase& parse : kCases) {
        EXPECT_EQ(Parse(parse.Text), parse.Tree) << parse.Text;
    }
}

TEST(CParseJSON, ValuesAreFoundByPath) {
    CParseJSON document;
    document.Parse(
        LR"({"Items":[{"title":"one"},{"title":"two","title":"three"}],"tags":["Red","",5]})");
    struct PathCase {
        const wchar_t* Path;
        const char* Value;
    };
    constexpr PathCase kCases[] = {
        {L"items\\0\\title", "one"},
        {L"ITEMS\\1\\Title", "two"},
        {L"items\\0\\title\\", "one"},
        {L"items\\2\\title", ""},
        {L"items\\title", ""},
        {L"tags\\2", "5"},
        {L"tags", ""},
        {L"", ""},
        {L"\\tags", ""},
    };
    for (const PathCase& path : kCases) {
        EXPECT_EQ(ToBytes(document.GetValueAt(path.Path)), path.Value) << ToBytes(path.Path);
        EXPECT_EQ(ToBytes(document.GetNodeValue(path.Path)), path.Value) << ToBytes(path.Path);
    }
    EXPECT_TRUE(document.HasValueAt(L"tags", L"rED"));
    EXPECT_TRUE(document.HasValueAt(L"tags", L""));
    EXPECT_FALSE(document.HasValueAt(L"tags", L"6"));
    EXPECT_FALSE(document.HasValueAt(L"none", L""));
    EXPECT_EQ(document.GetNode(L"none\\deep"), nullptr);
    VnStringArray values;
    values.Add(L"old");
    EXPECT_TRUE(document.GetValuesAt(L"tags", values));
    EXPECT_EQ(ToBytes(values.Join(L"|")), "Red||5");
    EXPECT_FALSE(document.GetValuesAt(L"items\\0\\title", values));
    EXPECT_EQ(values.GetCount(), 0);
    document.Clear();
    EXPECT_EQ(document.GetNode(L"")->GetChildCount(), 0);
}

TEST(CParseJSON, DebugTextIsIndented) {
    CParseJSON document;
    document.Parse(LR"({"a":"1","b":{"c":{"d":"2"},"e":"3"}})");
    EXPECT_EQ(
        ToBytes(document.GetDebugText()),
        "a: 1\r\n----\r\n----\r\n        d: 2\r\n----\r\n    c: \r\n    e: 3\r\n----\r\nb: \r\n");
}

TEST(CParseJSON, DepthAndWidthAreLimitedByMemoryOnly) {
    constexpr int kCount = 200000;
    std::string deep;
    std::string wide = "{\"a\":[";
    for (int index = 0; index < kCount; ++index) {
        deep += "{\"a\":";
        wide += "1,";
    }
    CParseJSON document;
    document.Parse(ToText(deep));
    int depth = 0;
    for (const CParseJSON::CNode* node = document.GetNode(L""); node != nullptr;
         node = node->GetChild(0)) {
        ++depth;
    }
    EXPECT_EQ(depth, kCount + 1);
    document.Parse(ToText(wide + "2]}"));
    EXPECT_EQ(document.GetNode(L"a")->GetChildCount(), kCount + 1);
    EXPECT_EQ(ToBytes(document.GetValueAt(L"a\\200000")), "2");
}

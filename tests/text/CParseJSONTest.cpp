#include "text/CParseJSON.h"

#include "core/VnStringArray.h"
#include "tests/support/TestText.h"

#include <gtest/gtest.h>

#include <string>
#include <utility>

namespace {

/// The tree in one line: name:value, children in braces.
std::string Outline(const CParseJSON::CNode& node) {
    std::string text;
    for (int32_t index = 0; index < node.GetChildCount(); ++index) {
        const CParseJSON::CNode& child = *node.GetChild(index);
        text += (index == 0 ? "" : ",") + ToBytes(child.Name) + ":" + ToBytes(child.Value);
        text += child.GetChildCount() > 0 ? "{" + Outline(child) + "}" : "";
    }
    return text;
}

} // namespace

TEST(CParseJSON, TextsBecomeTrees) {
    constexpr std::pair<const char*, const char*> kCases[] = {
        {"", ""},
        {"no object", ""},
        {"{}", ""},
        {R"({"a":12.5,"b":true , "c" : null,"d":NULL ,"e":-1e5})", "a:12.5,b:true,c:,d:,e:-1e5"},
        {R"({"a":{"b":{"c":1}},"d":2})", "a:{b:{c:1}},d:2"},
        {R"({"a":["x","y" , "z"],"b":[]})", "a:{0:x,1:y,2:z},b:"},
        {R"({"a":[{"b":1},{"b":2} , {"c":3}],"d":"e"})", "a:{0:{b:1},1:{b:2},2:{c:3}},d:e"},
        {R"({"a":[[1,2],3]})", "a:{0:[1,1:2}"},
        {R"([{"a":1},{"b":2}])", "a:1"},
        {R"(junk {"a":1} {"b":2})", "a:1"},
        {R"({"a":"q\"uo\\te","b":"\u0041\U00e9\n\t\/\b"})", "a:q\"uo\\te,b:A\u00E9\n\t/b"},
        {R"({"a\"b":1})", "a\\:1"},
        {"{\r\n  \"a\" : [\r\n    1,\r\n    2\r\n  ],\r\n  \"b\" : \"c\"\r\n}", "a:{0:1,1:2},b:c"},
        // Broken texts give shorter trees.
        {R"({"a":1,"b)", "a:1"},
        {R"({"a":"b)", "a:b"},
        {R"({"a")", "a:"},
        {R"({"a":,"b":})", "a:,b:"},
        {R"({"a":{"b":1)", "a:{b:1}"},
        {R"({"a":[1,2)", "a:{0:1,1:2}"},
        {R"({"a":[1,2},"b":3})", "a:{0:1,1:2}"},
        {R"({"a" 1,"b":2})", "a:2"},
    };
    for (const auto& [text, tree] : kCases) {
        CParseJSON document;
        EXPECT_TRUE(document.Parse(ToText(text)));
        EXPECT_EQ(Outline(*document.GetNode(L"")), tree) << text;
    }
}

TEST(CParseJSON, ValuesAreFoundByPath) {
    CParseJSON document;
    document.Parse(
        LR"({"Items":[{"title":"one"},{"title":"two","title":"three"}],"tags":["Red","",5]})");
    constexpr std::pair<const wchar_t*, const char*> kCases[] = {
        {L"ITEMS\\1\\Title", "two"},
        {L"items\\0\\title\\", "one"},
        {L"items\\2\\title", ""},
        {L"items\\title", ""},
        {L"tags\\2", "5"},
        {L"tags", ""},
        {L"", ""},
        {L"\\tags", ""},
    };
    for (const auto& [path, value] : kCases) {
        EXPECT_EQ(ToBytes(document.GetValueAt(path)), value) << ToBytes(path);
        EXPECT_EQ(ToBytes(document.GetNodeValue(path)), value) << ToBytes(path);
    }
    EXPECT_TRUE(document.HasValueAt(L"tags", L"rED"));
    EXPECT_TRUE(document.HasValueAt(L"tags", L""));
    EXPECT_FALSE(document.HasValueAt(L"tags", L"6"));
    EXPECT_FALSE(document.HasValueAt(L"none", L""));
    EXPECT_EQ(document.GetNode(L"none\\deep"), nullptr);
    VnStringArray values;
    values.Add(VnString(L"tags\\"));
    EXPECT_TRUE(document.GetValuesAt(values[0], values));
    EXPECT_EQ(ToBytes(values.Join(L"|")), "Red||5");
    EXPECT_FALSE(document.GetValuesAt(L"items\\0\\title", values));
    EXPECT_EQ(values.GetCount(), 0);
}

TEST(CParseJSON, AValueOfTheTreeIsParsedInItsPlace) {
    CParseJSON document;
    document.Parse(LR"({"inner":"{\"a\":\"1\",\"b\":{\"c\":{\"d\":\"2\"},\"e\":\"3\"}}"})");
    document.Parse(document.GetNode(L"inner")->Value);
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
    // No object finds a name in the rest; each of them searching it would take minutes.
    document.Parse(ToText(deep + "{" + std::string(10 * kCount, 'x')));
    int depth = 0;
    for (const auto* node = document.GetNode(L""); node != nullptr; node = node->GetChild(0)) {
        ++depth;
    }
    EXPECT_EQ(depth, kCount + 1);
    document.Parse(ToText(wide + "2]}"));
    EXPECT_EQ(ToBytes(document.GetValueAt(L"a\\200000")), "2");
}

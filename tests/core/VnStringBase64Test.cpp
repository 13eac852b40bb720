#include "core/VnString.h"

#include "core/VnBuffer.h"
#include "tests/support/TestText.h"

#include <gtest/gtest.h>

#include <string>
#include <utility>

namespace {

VnString Encode(const std::string& bytes, bool lineBreaks = false) {
    VnString text;
    text.SetBase64(bytes.data(), static_cast<int32_t>(bytes.size()), lineBreaks);
    return text;
}

std::string Decode(const wchar_t* text) {
    VnBuffer buffer;
    EXPECT_TRUE(VnString(text).GetBase64(buffer));
    return ToBytes(buffer);
}

} // namespace

TEST(VnStringBase64, VectorsOfTheStandard) {
    constexpr std::pair<const char*, const wchar_t*> kRows[] = {
        {"", L""}, {"f", L"Zg=="}, {"fo", L"Zm8="}, {"foo", L"Zm9v"}, {"foobar", L"Zm9vYmFy"}};
    for (const auto& [bytes, text] : kRows) {
        EXPECT_EQ(ToBytes(Encode(bytes)), ToBytes(text));
        EXPECT_EQ(Decode(text), bytes);
    }
}

TEST(VnStringBase64, ALineFeedFollowsEvery64CharactersButTheLast) {
    EXPECT_EQ(Encode(std::string(48, 'a'), true).GetLength(), 64) << "none behind the last";
    const VnString two = Encode(std::string(49, 'a'), true);
    EXPECT_EQ(two.GetLength(), 69);
    EXPECT_EQ(two.Find(L'\n'), 64);
    EXPECT_EQ(Encode(std::string(96, 'a'), true).GetLength(), 129);
}

TEST(VnStringBase64, DecoderIsLenient) {
    using namespace std::string_literals;
    EXPECT_EQ(Decode(L"QQ"), "A\0\0"s);
    EXPECT_EQ(Decode(L"QQ=="), "A"s);
    EXPECT_EQ(Decode(L"Q\r\nU\nFB"), "AAA"s);
    EXPECT_EQ(Decode(L"QUFB\r\n"), "AAA"s);
    EXPECT_EQ(Decode(L"Q*=="), "@"s);
    EXPECT_EQ(Decode(L"\u0151QFB"), "\x01\x01\x41"s);
    EXPECT_EQ(Decode(L"\r\n"), ""s);
    EXPECT_EQ(Decode(L"===="), ""s);
}

TEST(VnStringBase64, RoundTripOfEveryLength) {
    std::string bytes;
    for (int length = 0; length < 300; ++length) {
        for (const bool lineBreaks : {false, true}) {
            ASSERT_EQ(Decode(Encode(bytes, lineBreaks)), bytes) << length;
        }
        bytes.push_back(static_cast<char>(length * 37));
    }
}

TEST(VnStringBase64, BytesFitTheTargetOrFail) {
    const VnString text(L"Zm9vYg==");
    char target[6] = "xxxxx";
    EXPECT_TRUE(text.GetBase64Bytes(target, 6));
    EXPECT_EQ(std::string(target, 6), std::string("foob\0\0", 6));
    EXPECT_FALSE(text.GetBase64Bytes(target, 3));
    EXPECT_EQ(std::string(target, 3), std::string("\0\0\0", 3));
    EXPECT_FALSE(text.GetBase64Bytes(nullptr, 6));
    EXPECT_FALSE(text.GetBase64Bytes(target, 0));
}

TEST(VnStringBase64, Hexadecimal) {
    VnString text;
    text.SetHexBytes("\x00\x1F\xAB\xFF", 4);
    EXPECT_EQ(ToBytes(text), "001FABFF");
    text.SetHexBytes("x", 0);
    EXPECT_TRUE(text.IsEmpty());

    const std::pair<const wchar_t*, std::string> kRows[] = {
        {L"ABC", "\x0A\xBC"}, {L"abCD", "\xAB\xCD"}, {L"0G", ""},
        {L"41G", "\x04"},     {L"4142G0", "AB"},     {L"", ""},
        {L"7", "\x07"}};
    for (const auto& [text, bytes] : kRows) {
        VnBuffer buffer(3);
        buffer.SetHexText(text);
        EXPECT_EQ(ToBytes(buffer), bytes) << ToBytes(text);
    }
}

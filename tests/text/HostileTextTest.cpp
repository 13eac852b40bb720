#include "files/VnURL.h"
#include "tests/support/TestText.h"

#include <gtest/gtest.h>

#include <string>

namespace {

/// `count` times `piece`.
std::string Times(int count, const std::string& piece) {
    std::string text;
    text.reserve(piece.size() * static_cast<size_t>(count));
    for (int i = 0; i < count; ++i) {
        text += piece;
    }
    return text;
}

/// Deep or repetitive on purpose, and large enough that a reader whose time grows with the square
/// of the text, or whose stack grows with its depth, doesn't come back before ctest gives it up.
constexpr int kCount = 400000;

} // namespace

TEST(HostileText, TemplatesTakeManyShortCandidates) {
    const VnString text = ToText(Times(kCount, "1 "));
    int32_t first = 0;
    int32_t last = 0;
    VnString between;
    EXPECT_EQ(text.Parse(L"^%d%s", 1, &first, &between), 1);
    EXPECT_EQ(text.Parse(L"%d%w%d$", 1, &first, &between, &last), 0);
    EXPECT_EQ(ToText(Times(kCount, "a") + "-end").Parse(L"%s-%s", 1, nullptr, &between), 1);
    EXPECT_EQ(ToBytes(between), "end");
}

TEST(HostileText, PathsOfParents) {
    VnString path = ToText(Times(kCount, "a/") + Times(kCount, "../") + "b");
    EXPECT_TRUE(MakeAbsolute(path, L"/c/d/"));
    EXPECT_EQ(ToBytes(path), "/c/d/b");
    path = ToText(Times(kCount, "../") + "b");
    EXPECT_TRUE(MakeAbsolute(path, L"/c/d/"));
    EXPECT_EQ(ToBytes(path), "/b");
}

TEST(HostileText, NamesOfLeftovers) {
    VnString name = ToText(Times(4 * kCount, ": ") + "x.mp3");
    name.CleanName();
    EXPECT_EQ(ToBytes(name), "x.mp3");
}

#include "files/VnURL.h"

#include "files/VnFilename.h"
#include "tests/support/TextRows.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace {

TEST(VnURLMarks, FindsTheComponents) {
    // URLs with a "^" at each mark.
    for (const std::string expected :
         {"^http:^//^u:p@^h^:80^/d/a^?q^#f", "^http:^//^^h^^^^", "^^//^^h^^/a^^", "^^^^^^/a/b^^",
          "^a:^^^^^b^^", "^:^^^^^x^^", "^^^^^^a/b:c^^", "^^^^^^^?q^", "^^^^^^^^#f?q",
          "^http:^//^^h^^^?q^#f?g", "^http:^//^^:80^^/^^", "^http:^//^u@^[::1]^:80^/a^^",
          "^http:^//^^[::1]^^^^", "^mailto:^^^^^a@b^?c^"}) {
        SCOPED_TRACE(expected);
        std::string text = expected;
        std::erase(text, '^');
        const VnString url = ToText(text);
        VnURLMarks marks;
        ASSERT_TRUE(ParseURLMarks(marks, url));
        std::string parts;
        const wchar_t* at = url;
        for (const wchar_t* mark :
             {marks.Start, marks.SchemeEnd, marks.AuthorityStart, marks.HostStart, marks.HostEnd,
              marks.AuthorityEnd, marks.PathEnd, marks.QueryEnd}) {
            ASSERT_GE(mark, at);
            parts += ToBytes(VnString(at, static_cast<int32_t>(mark - at))) + '^';
            at = mark;
        }
        EXPECT_EQ(parts + ToBytes(at), expected);
    }
}

TEST(VnURLMarks, RefusesEmptyTextsAndBrokenBrackets) {
    for (const wchar_t* text : {L"", static_cast<const wchar_t*>(nullptr), L"http://[::1",
                                L"http://[::1]x/", L"http://[::1/]"}) {
        VnURLMarks marks;
        EXPECT_FALSE(ParseURLMarks(marks, text));
        EXPECT_EQ(marks.Start, nullptr);
    }
}

TEST(VnURL, ResolvesTheExamplesOfTheStandard) {
    // References of RFC 3986, section 5.4, and what stands behind "http://a" when they are
    // resolved.
    for (const std::string row :
         {"g /b/c/g", "./g /b/c/g", "g/ /b/c/g/", "/g /g", "?y /b/c/d;p?y", "g?y /b/c/g?y",
          "#s /b/c/d;p?q#s", "g#s /b/c/g#s", ";x /b/c/;x", ". /b/c/", ".. /b/", "../g /b/g",
          "../.. /", "../../../g /g", "/./g /g", "g;x=1/../y /b/c/y"}) {
        VnString reference = ToText(row.substr(0, row.find(' ')));
        VnString base = L"http://a/b/c/d;p?q";
        EXPECT_TRUE(ResolveRelativeURL(reference, base));
        EXPECT_EQ(ToBytes(reference), "http://a" + row.substr(row.find(' ') + 1));
    }
}

TEST(VnURL, ResolvesReferences) {
    // Reference, base and what the reference becomes.
    for (const char* row :
         {"../b.mp3 | http://h/x/y/a.m3u | http://h/x/b.mp3", "//h2/a | https://h/ | https://h2/a",
          "//h2/a | relative | http://h2/a", "//g | http://a/b | http://g",
          "g:h | http://a/b | g:h", "a | //h/x/y | http://h/x/a", "a | http://h | http://h/a",
          "a | http://h?q | http://h/a", "http://h/a/../b | http://x/ | http://h/b",
          "http://h | http://x/ | http://h/", "mailto:a/../b | http://x/ | mailto:a/../b",
          "a/../b | x/y | /x/b", "a | x | /a", "/..a | http://a/b | http://a/a",
          "/.a | http://a/b | http://a/a"}) {
        const std::vector<std::string> fields = ToFields(row);
        VnString reference = ToText(fields.at(0));
        VnString base = ToText(fields.at(1));
        EXPECT_TRUE(ResolveRelativeURL(reference, base)) << row;
        EXPECT_EQ(ToBytes(reference), fields.at(2)) << row;
    }
    VnString reference = L"a";
    VnString base = L"//h/x";
    ResolveRelativeURL(reference, base);
    EXPECT_EQ(ToBytes(base), "http://h/x");
    base = L"//h/a/../b";
    ResolveRelativeURL(base, base);
    EXPECT_EQ(ToBytes(base), "http://h/a/../b");
    base = L"a/../b";
    ResolveRelativeURL(base, base);
    EXPECT_EQ(ToBytes(base), "/a/b");
    for (const char* row :
         {" | http://a/b", "a | ", "http://[x | http://a/b", "a | http://[x", "a | //[x"}) {
        const std::vector<std::string> fields = ToFields(row);
        reference = ToText(fields.at(0));
        base = ToText(fields.at(1));
        EXPECT_FALSE(ResolveRelativeURL(reference, base)) << row;
        EXPECT_EQ(ToBytes(reference) + " | " + ToBytes(base), row);
    }
}

TEST(VnURL, ChecksTheShape) {
    const auto check = [](const std::string& text) { return IsValidURL(ToText(text)); };
    for (const char* text :
         {"host", "http://host", "http://u:p@h.de:80/x y", "h:12345", "A1://h", "a@b", "h/a@b:c"}) {
        EXPECT_TRUE(check(text)) << text;
    }
    for (const char* text : {"", "http://", "http://a_b/", "host:123456", "h:", "h:1a", "://h",
                             "a-b://h", "http://h?x", "/a", "h st"}) {
        EXPECT_FALSE(check(text)) << text;
    }
    EXPECT_TRUE(check(std::string(16, 's') + "://h"));
    EXPECT_FALSE(check(std::string(17, 's') + "://h"));
    EXPECT_TRUE(check(std::string(512, 'h')));
    EXPECT_FALSE(check(std::string(513, 'h')));
}

TEST(VnURL, ReplacesPrivateSchemes) {
    ExpectChanges({"M01P://h/a | http://h/a", "m01ps://h | https://h"},
                  [](VnString& text) { EXPECT_TRUE(ConvertPrivateScheme(text)); });
    ExpectChanges({"m01p:/h | m01p:/h", "xm01p://h | xm01p://h"},
                  [](VnString& text) { EXPECT_FALSE(ConvertPrivateScheme(text)); });
}

TEST(VnURLPaths, MakesPathsAbsolute) {
    // Path, base and what the path becomes; without that the path stays.
    for (const char* row :
         {"../x.mp3 | /a/b/c.m3u | /a/x.mp3", "x.mp3 | /a/b.d/ | /a/b.d/x.mp3",
          "x.mp3 | /a/b.d | /a/x.mp3", "x.mp3 | /a/b | /a/b/x.mp3", "./x/./y | /a | /a/x/y",
          "../../../x | /a/b/ | /x", "b/../../c/../d | /a/ | /d", "../../x | /a/b/c/ | /a/x",
          "x | / | /x", "../x | a/b/ | a/x", "../../x | a/b/ | a/../x", "../../x | a | a/../../x",
          " | /a/", "x | ", "/x | /a/", "http://h/x | /a/"}) {
        const std::vector<std::string> fields = ToFields(row);
        const bool changes = fields.size() > 2;
        VnString path = ToText(fields[0]);
        EXPECT_EQ(MakeAbsolute(path, ToText(fields.at(1))), changes) << row;
        EXPECT_EQ(ToBytes(path), fields[changes ? 2 : 0]) << row;
    }
}

TEST(VnURLPaths, MakesPathsRelative) {
    struct Case {
        const char* Path;
        const char* Base;
        bool Dot;
        bool NoRoot;
        const char* Expected;
    };
    constexpr Case kCases[] = {
        {"/a/b/c.mp3", "/a/b/", false, false, "c.mp3"},
        {"/a/b/c.mp3", "/a/b/", true, false, "./c.mp3"},
        {"/a/b/c.mp3", "/A/x/y", false, false, "../../b/c.mp3"},
        {"/a/b/c.mp3", "/a/b/c.mp3", false, false, "../c.mp3"},
        {"/a/b", "/a/b/c/d", false, false, "../../../b"},
        {"a/b", "x/y", false, false, nullptr},
        {"a_/b", "x/y", false, true, "./../a_/b"},
        {"host/b", "x/y", false, true, nullptr},
        {"a", "a", false, false, nullptr},
    };
    for (const Case& row : kCases) {
        VnString path = ToText(row.Path);
        EXPECT_EQ(GetRelativePath(path, ToText(row.Base), row.Dot, row.NoRoot),
                  row.Expected != nullptr)
            << row.Path;
        EXPECT_EQ(ToBytes(path), row.Expected != nullptr ? row.Expected : row.Path) << row.Base;
    }
}

TEST(VnURLPaths, CombinesWithABase) {
    for (const char* row :
         {"a.mp3 | /m/ | /m/a.mp3", "a.mp3 | /m | /m/a.mp3", "m/a.mp3 | /m/ | m/a.mp3",
          "m/a.mp3 | m/ | m/m/a.mp3", "/a.mp3 | /m/ | /a.mp3", "a://b | /m/ | a://b", "a |  | a"}) {
        const std::vector<std::string> fields = ToFields(row);
        EXPECT_EQ(ToBytes(CombineWithBase(ToText(fields.at(0)), ToText(fields.at(1)))),
                  fields.at(2))
            << row;
    }
}

TEST(VnURLPaths, FindsOtherDevicesBelowADriveOnly) {
    // "/dev/.." is a drive by its spelling, and the root directory by its meaning.
    EXPECT_TRUE(IsOnOtherDevice(VnFilename(L"/dev/../proc/self/status")));
    for (const wchar_t* path : {L"/dev/../missing/a", L"/dev/missing/proc/a", L"/proc/self/status",
                                L"", L"http://h/a", L"C:\\a", L"\\\\server\\a"}) {
        EXPECT_FALSE(IsOnOtherDevice(VnFilename(path))) << ToBytes(path);
    }
}

TEST(VnURLMimeType, TakesTheTypeFromTheSchemeWithoutANetwork) {
    constexpr const char* kTypes[][2] = {{"MMS://h/a", "asf"},    {"audiotest://x", "audiotest"},
                                         {"rtmpe://h/a", "rtmp"}, {"http://h/a.mp3", ""},
                                         {"/a.mp3", ""},          {"mms:/a", ""}};
    for (const auto& [text, type] : kTypes) {
        VnFilename filename(ToText(text));
        EXPECT_EQ(filename.SetFileTypeFromURLMimeType(true, false), *type != 0) << text;
        EXPECT_EQ(ToBytes(filename.GetProperty(VnFilename::kFileType)), type);
    }
}

} // namespace

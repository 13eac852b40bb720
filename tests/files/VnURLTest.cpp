#include "files/VnURL.h"

#include "core/VnBuffer.h"
#include "files/VnFilename.h"
#include "runtime/IVnReader.h"
#include "tests/support/TestEnvironment.h"
#include "tests/support/TestText.h"

#include <gtest/gtest.h>

#include <memory>
#include <string>

namespace {

struct MarksCase {
    const char* Text;
    const char* Parts; ///< the text cut at each mark with "^"
};

constexpr MarksCase kMarksCases[] = {
    {"http://u:p@h:80/d/a?q#f", "^http:^//^u:p@^h^:80^/d/a^?q^#f"},
    {"http://h", "^http:^//^^h^^^^"},
    {"//h/a", "^^//^^h^^/a^^"},
    {"/a/b", "^^^^^^/a/b^^"},
    {"a:b", "^a:^^^^^b^^"},
    {":x", "^:^^^^^x^^"},
    {"a/b:c", "^^^^^^a/b:c^^"},
    {"?q", "^^^^^^^?q^"},
    {"#f?q", "^^^^^^^^#f?q"},
    {"http://h?q#f?g", "^http:^//^^h^^^?q^#f?g"},
    {"http://:80/", "^http:^//^^:80^^/^^"},
    {"http://u@[::1]:80/a", "^http:^//^u@^[::1]^:80^/a^^"},
    {"http://[::1]", "^http:^//^^[::1]^^^^"},
    {"mailto:a@b?c", "^mailto:^^^^^a@b^?c^"},
};

TEST(VnURLMarks, FindsTheComponents) {
    for (const MarksCase& row : kMarksCases) {
        SCOPED_TRACE(row.Text);
        const VnString url = ToText(row.Text);
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
        EXPECT_EQ(parts + ToBytes(at), row.Parts);
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

struct ResolveCase {
    const char* Reference;
    const char* Base;
    const char* Expected; ///< null for a failure
};

// The first group is from RFC 3986, section 5.4, as far as its base has a path like that.
constexpr const char* kRFCBase = "http://a/b/c/d;p?q";
constexpr ResolveCase kResolveCases[] = {
    {"g:h", kRFCBase, "g:h"},
    {"g", kRFCBase, "http://a/b/c/g"},
    {"./g", kRFCBase, "http://a/b/c/g"},
    {"g/", kRFCBase, "http://a/b/c/g/"},
    {"/g", kRFCBase, "http://a/g"},
    {"//g", kRFCBase, "http://g"},
    {"?y", kRFCBase, "http://a/b/c/d;p?y"},
    {"g?y", kRFCBase, "http://a/b/c/g?y"},
    {"#s", kRFCBase, "http://a/b/c/d;p?q#s"},
    {"g#s", kRFCBase, "http://a/b/c/g#s"},
    {";x", kRFCBase, "http://a/b/c/;x"},
    {".", kRFCBase, "http://a/b/c/"},
    {"..", kRFCBase, "http://a/b/"},
    {"../g", kRFCBase, "http://a/b/g"},
    {"../..", kRFCBase, "http://a/"},
    {"../../../g", kRFCBase, "http://a/g"},
    {"/./g", kRFCBase, "http://a/g"},
    {"g;x=1/../y", kRFCBase, "http://a/b/c/y"},
    {"../b.mp3", "http://h/x/y/a.m3u", "http://h/x/b.mp3"},
    {"//h2/a", "https://h/", "https://h2/a"},
    {"//h2/a", "relative", "http://h2/a"},
    {"a", "//h/x/y", "http://h/x/a"},
    {"a", "http://h", "http://h/a"},
    {"a", "http://h?q", "http://h/a"},
    {"http://h/a/../b", "http://x/", "http://h/b"},
    {"http://h", "http://x/", "http://h/"},
    {"mailto:a/../b", "http://x/", "mailto:a/../b"},
    {"a/../b", "x/y", "/x/b"},
    {"a", "x", "/a"},
    {"/..a", kRFCBase, "http://a/a"},
    {"/.a", kRFCBase, "http://a/a"},
    {"", kRFCBase, nullptr},
    {"a", "", nullptr},
    {"http://[x", kRFCBase, nullptr},
    {"a", "http://[x", nullptr},
    {"a", "//[x", nullptr},
};

TEST(VnURL, ResolvesReferences) {
    for (const ResolveCase& row : kResolveCases) {
        VnString reference = ToText(row.Reference);
        VnString base = ToText(row.Base);
        const bool resolved = ResolveRelativeURL(reference, base);
        EXPECT_EQ(resolved, row.Expected != nullptr) << row.Reference;
        EXPECT_EQ(ToBytes(reference), row.Expected != nullptr ? row.Expected : row.Reference);
        if (!resolved) {
            EXPECT_EQ(ToBytes(base), row.Base);
        }
    }
    VnString reference = L"a";
    VnString base = L"//h/x";
    ResolveRelativeURL(reference, base);
    EXPECT_EQ(ToBytes(base), "http://h/x");
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
    struct Case {
        const char* Text;
        const char* Expected;
    };
    for (const Case& row : {Case{"M01P://h/a", "http://h/a"}, Case{"m01ps://h", "https://h"},
                            Case{"m01p:/h", "m01p:/h"}, Case{"xm01p://h", "xm01p://h"}}) {
        VnString text = ToText(row.Text);
        EXPECT_EQ(ConvertPrivateScheme(text), std::string(row.Text) != row.Expected);
        EXPECT_EQ(ToBytes(text), row.Expected);
    }
}

struct PathCase {
    const char* Path;
    const char* Base;
    const char* Expected; ///< null for no change
};

TEST(VnURLPaths, MakesPathsAbsolute) {
    constexpr PathCase kCases[] = {
        {"../x.mp3", "/a/b/c.m3u", "/a/x.mp3"},
        {"x.mp3", "/a/b.d/", "/a/b.d/x.mp3"},
        {"x.mp3", "/a/b.d", "/a/x.mp3"},
        {"x.mp3", "/a/b", "/a/b/x.mp3"},
        {"./x/./y", "/a", "/a/x/y"},
        {"../../../x", "/a/b/", "/x"},
        {"b/../../c/../d", "/a/", "/d"},
        {"../../x", "/a/b/c/", "/a/x"},
        {"x", "/", "/x"},
        {"../x", "a/b/", "a/x"},
        {"../../x", "a/b/", "a/../x"},
        {"../../x", "a", "a/../../x"},
        {"", "/a/", nullptr},
        {"x", "", nullptr},
        {"/x", "/a/", nullptr},
        {"http://h/x", "/a/", nullptr},
    };
    for (const PathCase& row : kCases) {
        VnString path = ToText(row.Path);
        EXPECT_EQ(MakeAbsolute(path, ToText(row.Base)), row.Expected != nullptr) << row.Path;
        EXPECT_EQ(ToBytes(path), row.Expected != nullptr ? row.Expected : row.Path) << row.Base;
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
    constexpr PathCase kCases[] = {
        {"a.mp3", "/m/", "/m/a.mp3"},
        {"a.mp3", "/m", "/m/a.mp3"},
        {"m/a.mp3", "/m/", "m/a.mp3"},
        {"m/a.mp3", "m/", "m/m/a.mp3"},
        {"/a.mp3", "/m/", "/a.mp3"},
        {"a://b", "/m/", "a://b"},
        {"a", "", "a"},
    };
    for (const PathCase& row : kCases) {
        EXPECT_EQ(ToBytes(CombineWithBase(ToText(row.Path), ToText(row.Base))), row.Expected)
            << row.Base;
    }
}

TEST(VnURLPaths, FindsOtherDevicesBelowADriveOnly) {
    // "/dev/.." is a drive by its spelling, and the root directory by its meaning.
    EXPECT_TRUE(IsOnOtherDevice(VnFilename(L"/dev/../proc/self/status")));
    EXPECT_FALSE(IsOnOtherDevice(VnFilename(L"/dev/../missing/a")));
    EXPECT_FALSE(IsOnOtherDevice(VnFilename(L"/dev/missing/proc/a")));
    EXPECT_FALSE(IsOnOtherDevice(VnFilename(L"/proc/self/status")));
    EXPECT_FALSE(IsOnOtherDevice(VnFilename(L"")));
    EXPECT_FALSE(IsOnOtherDevice(VnFilename(L"http://h/a")));
    EXPECT_FALSE(IsOnOtherDevice(VnFilename(L"C:\\a")));
    EXPECT_FALSE(IsOnOtherDevice(VnFilename(L"\\\\server\\a")));
}

TEST(VnURLMimeType, TakesTheTypeFromTheSchemeWithoutANetwork) {
    struct Case {
        const wchar_t* Text;
        const char* Type;
    };
    for (const Case& row : {Case{L"MMS://h/a", "asf"}, Case{L"audiotest://x", "audiotest"},
                            Case{L"rtmpe://h/a", "rtmp"}, Case{L"http://h/a.mp3", ""},
                            Case{L"/a.mp3", ""}, Case{L"mms:/a", ""}}) {
        VnFilename filename(row.Text);
        const bool found = filename.SetFileTypeFromURLMimeType(true, false);
        EXPECT_EQ(found, *row.Type != 0) << ToBytes(row.Text);
        EXPECT_EQ(ToBytes(filename.GetProperty(VnFilename::kFileType)), row.Type);
    }
}

/// Gives out a text in one piece.
class TextReader final : public IVnReader {
public:
    explicit TextReader(std::string text) : Text(std::move(text)) {}
    bool Open() override { return true; }
    int32_t Read(void* target, int32_t count) override {
        const size_t length = Text.copy(static_cast<char*>(target), static_cast<size_t>(count));
        Text.erase(0, length);
        return static_cast<int32_t>(length);
    }
    int64_t GetLength() override { return -1; }
    int64_t GetPosition() override { return 0; }
    int64_t Seek(int64_t /*offset*/, int32_t /*origin*/) override { return -1; }
    void GetProperty(const wchar_t* /*name*/, IVnDllString& /*value*/) override {}
    void SetTimeout(int32_t /*milliseconds*/) override {}
    void SetPostData(const void* /*data*/, int64_t /*size*/) override {}
    void SetProperties(const wchar_t* /*text*/) override {}
    bool IsBusy() override { return false; }
    void Close() override {}
    bool Create() override { return false; }
    bool OpenForAppend() override { return false; }
    int32_t Write(const void* /*data*/, int32_t /*count*/) override { return 0; }

private:
    std::string Text;
};

TEST(VnURLMimeType, ReadsOnePieceOfABody) {
    std::unique_ptr<IVnReader> reader = std::make_unique<TextReader>("abcdef");
    VnBuffer buffer(100);
    EXPECT_TRUE(ReadURLData(VnFilename(L"http://h"), reader, buffer, 4, false, 0));
    EXPECT_EQ(buffer.GetSize(), 4);
    EXPECT_TRUE(ReadURLData(VnFilename(L"http://h"), reader, buffer, 4, false, 0));
    EXPECT_EQ(std::string(reinterpret_cast<const char*>(buffer.GetData()), 2), "ef");
    EXPECT_EQ(buffer.GetSize(), 2);
    EXPECT_FALSE(ReadURLData(VnFilename(L"http://h"), reader, buffer, 4, false, 0));
    EXPECT_EQ(buffer.GetSize(), 0);
}

} // namespace

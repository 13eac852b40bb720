#include "files/VnFilename.h"

#include "tests/support/TestText.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace {

TEST(VnFilenameClasses, EachFlagAdmitsOneClassOfLocalNames) {
    struct Case {
        const wchar_t* Text;
        int32_t Flag; ///< number of the flag that this text needs, -1 for none
    };
    constexpr Case kCases[] = {
        {L"", 0},
        {nullptr, 0},
        {L"(0x12345678):/a", 1},
        {L"(0x12345678):/", 1},
        {L"http://h/a", 2},
        {L"/m/a.mp3?u=ftp://h", 2},
        {L"/m/show.vntv", 3},
        {L"\\\\server\\a", 4},
        {L"(0x1234567):/a", -1},
        {L"(0x12345678)/a", -1},
        {L"http:/h", -1},
        {L"/m/a.mp3", -1},
        {L"\\server", -1},
    };
    for (const Case& row : kCases) {
        SCOPED_TRACE(row.Text == nullptr ? "null" : ToBytes(row.Text));
        const auto isLocal = [&row](int32_t allowed) {
            return VnFilename::GetIsFileLocal(row.Text, allowed == 0, allowed == 1, allowed == 2,
                                              allowed == 3, allowed == 4);
        };
        for (int32_t allowed = -1; allowed < 5; ++allowed) {
            EXPECT_EQ(isLocal(allowed), row.Flag < 0 || row.Flag == allowed) << allowed;
        }
    }
}

struct TestCase {
    const char* Text;
    bool Expected;
};

void Check(bool (*test)(const wchar_t*), const std::vector<TestCase>& cases) {
    for (const TestCase& row : cases) {
        EXPECT_EQ(test(ToText(row.Text)), row.Expected) << row.Text;
    }
}

TEST(VnFilenameClasses, TellsNamesByTheirText) {
    Check(&VnFilename::GetIsFileRemote, {{"", false},
                                         {":/", false},
                                         {"://", true},
                                         {"a:b://", true},
                                         {"a:/ /", false},
                                         {"::///", true}});
    Check(&VnFilename::GetIsSpecialName, {{"a.tvlb.x", true},
                                          {"a.TVLB", false},
                                          {"..vntv", true},
                                          {".tvgd", true},
                                          {"(0:x", true},
                                          {"(123:", true},
                                          {"(:x", false},
                                          {"(12", false},
                                          {"(1a:x", false},
                                          {"<xmlph version=\"1\">", true},
                                          {"<XMLPH version", false},
                                          {"radio paradise: x", true},
                                          {"Radio Paradise:x", false}});
    Check(&VnFilename::GetIsLibraryServerURL,
          {{"http://h/thws/a", true}, {"THWS", false}, {"http://h/th/ws", false}});
    Check(&VnFilename::GetIsConversionURL, {{"http://h/THWS/Conversion", true},
                                            {"http://h/THWS", false},
                                            {"http://h/conversion", false}});
    Check(&VnFilename::GetIsRTMP, {{"rtmp://h", true},
                                   {"RTMPS://h", true},
                                   {"rtmpe://h", true},
                                   {"rtmpt://h", true},
                                   {"rtmpx://h", false},
                                   {"rtmp:/h", false},
                                   {" rtmp://h", false}});
    Check(
        &VnFilename::GetIsTVFile,
        {{"/a.VTV", true}, {"/a.vts", true}, {"/a.vntv", true}, {"/a.tv", false}, {"vtv", false}});
}

TEST(VnFilenameClasses, LongURLsAreStreamsUnlessTheyNameAMediaFile) {
    const auto url = [](size_t length, const std::string& tail) {
        const std::string start = "http://h/";
        return ToText(start + std::string(length - start.size() - tail.size(), 'x') + tail);
    };
    EXPECT_FALSE(VnFilename::GetIsLongStreamingURL(url(250, "")));
    EXPECT_TRUE(VnFilename::GetIsLongStreamingURL(url(251, "")));
    EXPECT_TRUE(VnFilename::GetIsLongStreamingURL(url(251, ".mp3")));
    EXPECT_FALSE(VnFilename::GetIsLongStreamingURL(url(251, ".m4a")));
    EXPECT_FALSE(VnFilename::GetIsLongStreamingURL(ToText("/" + std::string(300, 'x'))));
    VnFilename typed(url(251, ""));
    typed.SetFileType(L"ra");
    EXPECT_FALSE(typed.GetIsLongStreamingURL());
}

TEST(VnFilenameClasses, NumbersTheKindsOfSchemes) {
    struct Case {
        const wchar_t* Text;
        const wchar_t* Scheme;
        int32_t Expected;
    };
    for (const Case& row :
         {Case{L"HTTPS://h", L"", 4}, Case{L"http://h", L"", 3}, Case{L"ftps://h", L"", 1},
          Case{L"mms://h", L"", 0}, Case{L"/a", L"", 0}, Case{L"ftp://h", L"httpx", 3}}) {
        VnString scheme = row.Scheme;
        EXPECT_EQ(VnFilename(row.Text).GetURLScheme(scheme), row.Expected) << ToBytes(row.Text);
    }
    VnString scheme;
    VnFilename::GetURLScheme(L"https://h", scheme);
    EXPECT_EQ(ToBytes(scheme), "https");
}

TEST(VnFilenameClasses, ConvertsPathStyles) {
    struct Case {
        const char* Text;
        int32_t From;
        int32_t To;
        const char* Expected;
    };
    constexpr Case kCases[] = {
        {"a\\b", 0, 2, "a/b"},
        {"/a\\b", 0, 2, "/a\\b"},
        {"/a\\b", 0, 4, "/a\\b"},
        {"/a\\b", 0, 3, "\\a\\b"},
        {"/a\\b", 1, 2, "/a/b"},
        {"/a\\b", 1, 3, "\\a\\b"},
        {"/a\\b", 1, 4, "/a/b"},
        {"/a\\b", 2, 2, "/a\\b"},
        {"/a\\b", 2, 3, "\\a\\b"},
        {"/a\\b", 2, 4, "/a\\b"},
        {"/a\\b", 3, 2, "/a/b"},
        {"/a\\b", 3, 3, "/a\\b"},
        {"/a\\b", 3, 4, "/a/b"},
        {"/a\\b", 4, 2, "/a\\b"},
        {"/a\\b", 4, 3, "\\a\\b"},
        {"/a\\b", 4, 4, "/a\\b"},
        {"/a\\b", 3, 0, "/a\\b"},
        {"/a\\b", 1, 1, "/a\\b"},
        {"/a\\b", 1, 5, "/a\\b"},
        {"file:///a%20b", 5, 2, "/a b"},
        {"FILE://LOCALHOST/a%2Fb+c", 5, 4, "/a/b+c"},
        {"file:///C:/a%20b", 5, 3, "C:\\a b"},
        {"file:///a%2541", 5, 2, "/a%41"},
        {"file://localhosts/a", 5, 2, "localhosts/a"},
        {"file:///%C3%A9", 5, 2, "/\xC3\xA9"},
        {"file:///%f0%9F%8e%B5%20%2541", 5, 2, "/\xF0\x9F\x8E\xB5 %41"},
        {"file:///\xE4\xB8\xAD%C3%A9%", 5, 2, "/\xE4\xB8\xAD\xC3\xA9%"},
        {"file:///%E9%FF", 5, 2, "/\xC3\xA9\xC3\xBF"},
        {"/a%20b", 5, 2, "/a%20b"},
        {"/a%20b", 5, 3, "/a%20b"},
        {"file:///a", 5, 5, "file:///a"},
    };
    for (const Case& row : kCases) {
        VnString text = ToText(row.Text);
        VnFilename::ConvertPathStyle(text, VnPathStyle(row.From), VnPathStyle(row.To));
        EXPECT_EQ(ToBytes(text), row.Expected) << row.Text << ' ' << row.From << ' ' << row.To;
    }
    EXPECT_EQ(VnFilename::GetPathStyle(L"a\\b/c"), PathStyleForwardSlash);
    EXPECT_EQ(VnFilename::GetPathStyle(L"ab"), PathStyleBackslash);
    EXPECT_EQ(VnFilename::GetNativePathStyle(), PathStyleForwardSlash);
}

TEST(VnFilenameClasses, EndsPathsInOneSeparator) {
    struct Case {
        const char* Text;
        bool KeepDoubleRoot;
        const char* Expected;
    };
    for (const Case& row :
         {Case{"", false, ""}, Case{"a", false, "a/"}, Case{"a/", false, "a/"},
          Case{"a///", false, "a/"}, Case{"//", false, "/"}, Case{"//", true, "//"},
          Case{"///", true, "/"}, Case{"a//", true, "a/"}}) {
        VnString text = ToText(row.Text);
        VnFilename::SetTrailingSeparator(text, L'/', row.KeepDoubleRoot);
        EXPECT_EQ(ToBytes(text), row.Expected) << row.Text;
    }
    const auto append = [](const wchar_t* path, const wchar_t* segment) {
        VnString result = path;
        VnFilename::AppendPathSegment(result, segment);
        return ToBytes(result);
    };
    EXPECT_EQ(append(L"/a", L"b"), "/a/b/");
    EXPECT_EQ(append(L"/a//", L"b//"), "/a/b/");
    EXPECT_EQ(append(L"", L"b"), "b/");
}

TEST(VnFilenameClasses, FindsTextInPathsWithEitherSeparator) {
    const VnFilename filename(L"/Music\\Jazz/a.mp3");
    EXPECT_TRUE(filename.PathContains(L"music/JAZZ\\", false));
    EXPECT_FALSE(filename.PathContains(L"music/rock", true));
    EXPECT_TRUE(filename.PathContains(L"", true));
    EXPECT_FALSE(filename.PathContains(nullptr, false));
}

} // namespace

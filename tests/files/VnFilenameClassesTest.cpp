#include "files/VnFilename.h"

#include "tests/support/TextRows.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace {

TEST(VnFilenameClasses, EachFlagAdmitsOneClassOfLocalNames) {
    struct Case {
        const wchar_t* Text;
        int32_t Flag; ///< number of the flag that this text needs, -1 for none
    };
    constexpr Case kCases[] = {{L"", 0},
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
                               {L"\\server", -1}};
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

void Check(bool (*test)(const wchar_t*),
           const std::vector<const char*>& members,
           const std::vector<const char*>& others) {
    for (const char* text : members) {
        EXPECT_TRUE(test(ToText(text))) << text;
    }
    for (const char* text : others) {
        EXPECT_FALSE(test(ToText(text))) << text;
    }
}

TEST(VnFilenameClasses, TellsNamesByTheirText) {
    using F = VnFilename;
    Check(&F::GetIsFileRemote, {"://", "a:b://", "::///"}, {"", ":/", "a:/ /"});
    Check(&F::GetIsSpecialName,
          {"a.tvlb.x", "..vntv", ".tvgd", "(0:x", "(123:", "<xmlph version=\"1\">",
           "radio paradise: x"},
          {"a.TVLB", "(:x", "(12", "(1a:x", "<XMLPH version", "Radio Paradise:x"});
    Check(&F::GetIsLibraryServerURL, {"http://h/thws/a"}, {"THWS", "http://h/th/ws"});
    Check(&F::GetIsConversionURL, {"http://h/THWS/Conversion"},
          {"http://h/THWS", "http://h/conversion"});
    Check(&F::GetIsRTMP, {"rtmp://h", "RTMPS://h", "rtmpe://h", "rtmpt://h"},
          {"rtmpx://h", "rtmp:/h", " rtmp://h"});
    Check(&F::GetIsTVFile, {"/a.VTV", "/a.vts", "/a.vntv"}, {"/a.tv", "vtv"});
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
    // What becomes of "/a\b": for each style that it is in, the text in the styles 0 to 5.
    constexpr const char* kKept = "/a\\b";
    constexpr const char* kSlash = "/a/b";
    constexpr const char* kBack = "\\a\\b";
    constexpr const char* kStyles[][6] = {
        {kKept, kKept, kKept, kBack, kKept, kKept}, {kKept, kKept, kSlash, kBack, kSlash, kKept},
        {kKept, kKept, kKept, kBack, kKept, kKept}, {kKept, kKept, kSlash, kKept, kSlash, kKept},
        {kKept, kKept, kKept, kBack, kKept, kKept}, {kKept, kKept, kKept, kKept, kKept, kKept}};
    for (int32_t from = 0; from < 6; ++from) {
        for (int32_t to = 0; to < 6; ++to) {
            VnString text = L"/a\\b";
            VnFilename::ConvertPathStyle(text, VnPathStyle(from), VnPathStyle(to));
            EXPECT_EQ(ToBytes(text), kStyles[from][to]) << from << ' ' << to;
        }
    }
    const auto expect = [](VnPathStyle from, VnPathStyle to,
                           std::initializer_list<const char*> rows) {
        ExpectChanges(rows, [&](VnString& text) { VnFilename::ConvertPathStyle(text, from, to); });
    };
    expect(PathStyleUnknown, PathStyleNative, {"a\\b | a/b"});
    expect(PathStyleUnknown, PathStyleForwardSlash, {"a\\b | a/b"});
    expect(PathStyleFileURL, PathStyleNative,
           {"file:///a%20b | /a b", "file:///a%2541 | /a%41", "file://localhosts/a | localhosts/a",
            "file:///%C3%A9 | /\xC3\xA9", "file:///%f0%9F%8e%B5%20%2541 | /\xF0\x9F\x8E\xB5 %41",
            "file:///\xE4\xB8\xAD%C3%A9% | /\xE4\xB8\xAD\xC3\xA9%",
            "file:///%E9%FF | /\xC3\xA9\xC3\xBF", "/a%20b | /a%20b"});
    expect(PathStyleFileURL, PathStyleForwardSlash, {"FILE://LOCALHOST/a%2Fb+c | /a/b+c"});
    expect(PathStyleFileURL, PathStyleBackslash, {"file:///C:/a%20b | C:\\a b", "/a%20b | /a%20b"});
    expect(PathStyleFileURL, PathStyleFileURL, {"file:///a | file:///a"});
    EXPECT_EQ(VnFilename::GetPathStyle(L"a\\b/c"), PathStyleForwardSlash);
    EXPECT_EQ(VnFilename::GetPathStyle(L"ab"), PathStyleBackslash);
}

TEST(VnFilenameClasses, EndsPathsInOneSeparator) {
    ExpectChanges({" | ", "a | a/", "a/ | a/", "a/// | a/", "// | /"}, [](VnString& text) {
        VnFilename::SetTrailingSeparator(text, L'/', /*keepDoubleRoot=*/false);
    });
    ExpectChanges({"// | //", "/// | /", "a// | a/"}, [](VnString& text) {
        VnFilename::SetTrailingSeparator(text, L'/', /*keepDoubleRoot=*/true);
    });
    ExpectChanges({"/a | /a/b/", "/a// | /a/b/", " | b/"},
                  [](VnString& text) { VnFilename::AppendPathSegment(text, L"b//"); });
}

TEST(VnFilenameClasses, FindsTextInPathsWithEitherSeparator) {
    const VnFilename filename(L"/Music\\Jazz/a.mp3");
    EXPECT_TRUE(filename.PathContains(L"music/JAZZ\\", false));
    EXPECT_FALSE(filename.PathContains(L"music/rock", true));
    EXPECT_TRUE(filename.PathContains(L"", true));
    EXPECT_FALSE(filename.PathContains(nullptr, false));
}

} // namespace

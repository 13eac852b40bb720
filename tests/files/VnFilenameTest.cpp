#include "files/VnFilename.h"

#include "core/VnStringArray.h"
#include "data/VnDate.h"
#include "files/VnFileSystem.h"
#include "runtime/CProcessInfo.h"
#include "runtime/VnSiblingModules.h"
#include "tests/support/TestEnvironment.h"
#include "tests/support/TextRows.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <string>
#include <tuple>
#include <utility>
#include <vector>

namespace {

TEST(VnFilename, CutsDataBehindTheExtension) {
    constexpr const char* kCut[][3] = {
        {"cue.flac;3", "cue.flac", "3"},
        {"a.b;c", "a.b", "c"},
        {"a.mpeg2;", "a.mpeg2", ""},
        {"x;y.mp3;z", "x;y.mp3", "z"},
    };
    for (const auto& [text, name, data] : kCut) {
        const VnFilename filename(ToText(text));
        EXPECT_EQ(ToBytes(filename.Filename), name);
        EXPECT_TRUE(filename.HasProperties());
        EXPECT_EQ(ToBytes(filename.GetPostExtensionData()), data);
    }
    for (const char* text :
         {"a.;3", "a.mpeg21;3", "a;3", "a;3.mp3", "m.mp3;3/", "http://h/a.mp3;3"}) {
        const VnFilename filename(ToText(text));
        EXPECT_EQ(ToBytes(filename.Filename), text);
        EXPECT_FALSE(filename.HasProperties());
    }
}

TEST(VnFilename, ReadsTheXMLForm) {
    const VnFilename filename(
        L"<xmlfn VERSION=\"1.0\"><Item Name=\"fileNAME\">/a &amp; b.mp3;1</Item>"
        L"<Item Name=\"Mood\">calm &lt;3</Item></xmlfn>");
    EXPECT_EQ(ToBytes(filename.Filename), "/a & b.mp3;1");
    EXPECT_EQ(ToBytes(filename.GetProperty(L"mood")), "calm <3");
    EXPECT_TRUE(filename.GetPostExtensionData().IsEmpty());
}

TEST(VnFilename, IsEmptyAfterAFailedXMLForm) {
    for (const wchar_t* text : {L"<XMLFN version=\"1.1\"><Item Name=\"Filename\">/a</Item></XMLFN>",
                                L"<XMLFN version=", L"<XMLFN version=\"1.0\""}) {
        VnFilename filename(L"/old.mp3;7");
        filename.Set(text, /*clearProperties=*/false);
        EXPECT_TRUE(filename.Filename.IsEmpty());
        EXPECT_EQ(ToBytes(filename.GetPostExtensionData()), "7");
    }
    EXPECT_EQ(ToBytes(VnFilename(L"<XMLFNversion=").Filename), "<XMLFNversion=");
}

TEST(VnFilename, RoundTripsThroughTheXMLForm) {
    VnFilename filename(L"/a\x01 \"b\" & <c>'.mp3");
    EXPECT_EQ(filename.GetXMLForm(), filename.Filename);
    filename.SetProperty(L"Empty", L"");
    EXPECT_EQ(
        ToBytes(filename.GetXMLForm()),
        "<XMLFN version=\"1.0\"><Item Name=\"Filename\">/a&#x1; &quot;b&quot; &amp; &lt;c&gt;'.mp3</Item>"
        "<Item Name=\"Empty\"></Item></XMLFN>");
    filename.SetProperty(L"Other", L"x & y");
    VnFilename twin(filename.GetXMLForm());
    EXPECT_TRUE(twin == filename);
}

TEST(VnFilename, PutsLongNamesIntoTheXMLFormAsPaths) {
    const std::string tail(4096 - 8, 'x');
    const VnString exact = ToText("file:///" + tail);
    const VnString longer = exact + L'y';
    EXPECT_EQ(VnFilename(exact).GetXMLForm(true), exact);
    EXPECT_EQ(VnFilename(longer).GetXMLForm(true), longer.Mid(7));
    EXPECT_EQ(VnFilename(longer).GetXMLForm(false), longer);
    VnFilename withProperty(longer);
    withProperty.SetFileType(L"mp3");
    EXPECT_GE(withProperty.GetXMLForm(true).Find(L"\">/" + longer.Mid(8) + L"</Item>"), 0);
    const VnString marked = L"\\\\?\\" + longer;
    EXPECT_EQ(VnFilename(marked).GetXMLForm(true), marked);
}

TEST(VnFilename, StoresFewProperties) {
    VnFilename filename(L"/m/a.mp3;4");
    filename.SetProperty(L"Mood", L"calm");
    EXPECT_EQ(ToBytes(filename.GetStorageForm()), "/m/a.mp3;4");
    filename.SetProperty(VnFilename::kTVChannel, L"7");
    EXPECT_EQ(ToBytes(filename.GetStorageForm()),
              "<XMLFN version=\"1.0\"><Item Name=\"Filename\">/m/a.mp3</Item>"
              "<Item Name=\"TVChannel\">7</Item></XMLFN>");
}

TEST(VnFilename, ComparesTextPropertiesAndFlag) {
    VnFilename left(L"/a.mp3");
    EXPECT_TRUE(left == VnFilename(L"/a.mp3"));
    EXPECT_TRUE(left != VnFilename(L"/A.mp3"));
    VnFilename right = left;
    right.LowerCaseExtension = false;
    EXPECT_TRUE(left != right);
    right = left;
    right.SetProperty(L"x", L"1");
    EXPECT_TRUE(left != right);
    left.SetProperty(L"X", L"1");
    EXPECT_TRUE(left == right);
}

TEST(VnFilename, CopiesAreDeepAndSelfAssignmentKeepsAll) {
    VnFilename filename(L"/a.mp3;1");
    VnFilename copy(filename);
    copy.SetProperty(VnFilename::kPostExtensionData, L"2");
    EXPECT_EQ(ToBytes(filename.GetPostExtensionData()), "1");
    const VnFilename& same = filename;
    filename = same;
    EXPECT_EQ(ToBytes(filename.GetNameAndExtension(true)), "a.mp3;1");
    const VnFilename moved(std::move(copy));
    EXPECT_EQ(ToBytes(moved.GetNameAndExtension(true)), "a.mp3;2");
}

TEST(VnFilename, FileTypeGoesBeforeTheExtension) {
    VnFilename filename(L"http://h/stream");
    EXPECT_EQ(ToBytes(filename.GetExtension(true)), "");
    filename.SetFileType(L"asf");
    EXPECT_EQ(ToBytes(filename.GetExtension(true)), "asf");
    EXPECT_EQ(ToBytes(filename.GetExtension(false)), "");
    EXPECT_EQ(ToBytes(filename.GetSidecarFilename()), "http://h/stream_asf_VnSidecar.xml");
    filename.SetFileType(L"");
    EXPECT_FALSE(filename.HasProperties());
    EXPECT_EQ(ToBytes(VnFilename(L"/m/a.mp3").GetSidecarFilename()), "/m/a_mp3_VnSidecar.xml");
}

TEST(VnFilename, KeepsAWholeMapAsPlaybackInfo) {
    VnFilename filename(L"/a.mp3");
    VnPropertyMap info;
    EXPECT_FALSE(filename.GetPlaybackInfo(info));
    info.SetString(L"IndexedHLS", L"yes");
    info.SetString(L"(1:2)", L")");
    filename.SetPlaybackInfo(info);
    VnPropertyMap read;
    read.SetString(L"stale", L"1");
    EXPECT_TRUE(filename.GetPlaybackInfo(read));
    EXPECT_TRUE(read.IsEqual(info));
    EXPECT_TRUE(filename.GetIsIndexedHLS(false));
    EXPECT_FALSE(filename.GetIsIndexedHLS(true));
    filename.SetPlaybackInfo(VnPropertyMap());
    EXPECT_FALSE(filename.GetPlaybackInfo(read));
}

using F = VnFilename;

/// One getter with texts and what it gives for each, in turn.
struct GetterCase {
    VnString (*Get)(const F& filename);
    std::vector<const char*> Texts;
};

TEST(VnFilename, GettersPutPartsTogether) {
    const GetterCase cases[] = {
        {[](const F& f) { return f.GetScheme(); }, {"https://h/a", "https", "c:/a", "C"}},
        {[](const F& f) { return f.GetPathOnly(); }, {"/dev/sdb1/m/a.mp3", "/dev/sdb1/m/"}},
        {[](const F& f) { return f.GetPathAndName(); }, {"/m/a.b.mp3", "/m/a.b"}},
        {[](const F& f) { return f.GetDirectoryNameAndExtension(); }, {"c:/m/a.mp3", "/m/a.mp3"}},
        {[](const F& f) { return f.GetNameAndExtension(); }, {"/m/a", "a"}},
        {[](const F& f) { return f.GetLastDirectory(); },
         {"/m/n/a", "n", "m/a", "", "\\m\\n\\a", "n"}},
        {[](const F& f) { return f.GetLastDirectory(true); }, {"/m/n/a", "n/", "/a", ""}},
        {[](const F& f) { return f.GetHostAndPort(); },
         {"http://h:81/a", "h:81", "http://h/a", "h", "http://h:65536/a", "h"}},
        {[](const F& f) { return f.GetHostAndPort(true); },
         {"http://h/a", "h:80", "HTTPS://h/a", "h:443", "ftp://h/a", "h:21", "rtsp://h/a", "h"}},
        {[](const F& f) { return f.GetQuery(true); }, {"http://h/a?b=1", "?b=1", "http://h/a", ""}},
        {[](const F& f) { return f.GetQuery(); }, {"/a?b", ""}},
        {[](const F& f) { return f.GetURLPath(); }, {"http://h/d/a.mp3?x", "/d/a.mp3"}},
        {[](const F& f) { return f.GetURLPath(true); }, {"http://h/d/a.mp3?x", "/d/a.mp3?x"}},
        {[](const F& f) { return f.GetURLParentPath(); },
         {"http://h/d/a.mp3?x", "/d/", "http://h/a.mp3", "", "http://h", ""}},
    };
    for (const GetterCase& row : cases) {
        for (size_t i = 0; i < row.Texts.size(); i += 2) {
            EXPECT_EQ(ToBytes(row.Get(F(ToText(row.Texts[i])))), row.Texts[i + 1])
                << &row - cases << ' ' << row.Texts[i];
        }
    }
}

struct ChangeCase {
    const char* Before;
    void (*Change)(F& filename);
    const char* After;
};

TEST(VnFilename, ChangesOnePartAndKeepsTheRest) {
    constexpr ChangeCase kCases[] = {
        {"http://u:p@h:1/a.mp3?x", [](F& f) { f.SetScheme(L"https"); }, "https://u:p@h:1/a.mp3?x"},
        {"http://h/a", [](F& f) { f.SetScheme(L"mms://"); }, "mms://h/a"},
        {"/a", [](F& f) { f.SetScheme(L"http"); }, "/a"},
        {"http://u@h:1/x/a.mp3?q", [](F& f) { f.SetURLDirectory(L"/y/"); }, "http://h/y/a.mp3?q"},
        {"/x/a", [](F& f) { f.SetURLDirectory(L"/y/"); }, "/x/a"},
        {"http://u:p@h:1/x/a.mp3?q", [](F& f) { f.SetPort(90); }, "http://h:90/x/a.mp3?q"},
        {"http://h:1/x", [](F& f) { f.SetPort(0); }, "http://h/x"},
        {"http://h", [](F& f) { f.SetPort(90); }, "http://h:90"},
        {"/x/a", [](F& f) { f.SetPort(90); }, "/x/a"},
        {"http://h/a", [](F& f) { f.AddQueryParameter(L"x=1"); }, "http://h/a?x=1"},
        {"http://h/a?", [](F& f) { f.AddQueryParameter(L"x=1"); }, "http://h/a?&x=1"},
        {"/m/a.mp3", [](F& f) { f.IncrementName(); }, "/m/a (1).mp3"},
        {"/m/a(2).MP3", [](F& f) { f.IncrementName(); }, "/m/a(3).mp3"},
        {"/m/a (2).mp3", [](F& f) { f.IncrementName(true); }, "/m/a (1).mp3"},
        {"/m/a", [](F& f) { f.IncrementName(); }, "/m/a (1)"},
        {"/m/a", [](F& f) { f.Assemble(L"", f.Filename, L"", L"x", L"y"); }, "/m/a.x?y"},
    };
    for (const ChangeCase& row : kCases) {
        VnFilename filename(ToText(row.Before));
        row.Change(filename);
        EXPECT_EQ(ToBytes(filename.Filename), row.After) << &row - kCases << ' ' << row.Before;
    }
}

TEST(VnFilename, ExpandsTheInstallDriveToken) {
    constexpr const char* kPaths[][2] = {
        {"(Install Drive):/x", "/x"},
        {"(INSTALL drive):/x(install drive):y", "/xy"},
        {"x(Install Drive):", "x(Install Drive):"},
        {"(Install Drive)/x", "(Install Drive)/x"},
        {"(Install Drive):", ""},
    };
    for (const auto& [text, path] : kPaths) {
        EXPECT_EQ(ToBytes(VnFilename(ToText(text)).GetLocalPath()), path) << text;
    }
    VnFilename filename(L"(install drive):/m/A.MP3");
    filename.LowerCaseExtension = false;
    EXPECT_TRUE(filename.ExpandInstallDrive());
    EXPECT_EQ(ToBytes(filename.Filename), "/m/A.MP3");
    EXPECT_TRUE(filename.LowerCaseExtension);
    EXPECT_FALSE(filename.ExpandInstallDrive());
}

TEST(VnFilename, CollapsesTheInstallDriveOfAPortableInstallation) {
    CProcessInfo* process = CProcessInfo::GetInstance();
    ASSERT_NE(process, nullptr);
    const bool wasPortable = process->GetPortableData();
    process->SetPortableData(false);
    VnString text = L"/m/a.mp3";
    EXPECT_FALSE(VnFilename::CollapseInstallDrive(text, true));
    EXPECT_TRUE(VnFilename::CollapseInstallDrive(text, false));
    EXPECT_EQ(ToBytes(text), "(Install Drive):/m/a.mp3");
    VnString remote = L"http://h/a";
    EXPECT_FALSE(VnFilename::CollapseInstallDrive(remote, false));
    VnFilename filename(L"/m/a.mp3;2");
    EXPECT_EQ(ToBytes(filename.GetStorageForm()), "/m/a.mp3;2");
    process->SetPortableData(true);
    EXPECT_EQ(ToBytes(filename.GetStorageForm()), "(Install Drive):/m/a.mp3;2");
    EXPECT_EQ(ToBytes(filename.Filename), "/m/a.mp3");
    process->SetPortableData(wasPortable);
}

TEST(VnFilenameClasses, EachFlagAdmitsOneClassOfLocalNames) {
    // A text, and the number of the flag that it needs, -1 for none.
    constexpr std::pair<const wchar_t*, int32_t> kCases[] = {{L"", 0},
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
    for (const auto& row : kCases) {
        SCOPED_TRACE(row.first == nullptr ? "null" : ToBytes(row.first));
        const auto isLocal = [&row](int32_t allowed) {
            return VnFilename::GetIsFileLocal(row.first, allowed == 0, allowed == 1, allowed == 2,
                                              allowed == 3, allowed == 4);
        };
        for (int32_t allowed = -1; allowed < 5; ++allowed) {
            EXPECT_EQ(isLocal(allowed), row.second < 0 || row.second == allowed) << allowed;
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
    for (const auto& [text, before, expected] :
         {std::tuple{L"HTTPS://h", L"", 4}, std::tuple{L"http://h", L"", 3},
          std::tuple{L"ftps://h", L"", 1}, std::tuple{L"mms://h", L"", 0},
          std::tuple{L"/a", L"", 0}, std::tuple{L"ftp://h", L"httpx", 3}}) {
        VnString scheme = before;
        EXPECT_EQ(VnFilename(text).GetURLScheme(scheme), expected) << ToBytes(text);
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

class VnFilenameState : public testing::Test {
protected:
    void SetUp() override { ASSERT_NE(VnGetToolsRoot(), nullptr); }

    VnFilename Name(const std::string& name) const { return VnFilename(ToText(Folder / name)); }

    TestFolder Folder;
};

TEST_F(VnFilenameState, ExistsAndHasASizeForFilesOnly) {
    Folder.Write("a b.mp3", "123");
    for (const bool useTools : {false, true}) {
        EXPECT_TRUE(Name("a b.mp3").Exists(useTools));
        EXPECT_TRUE(Name("a b.mp3;3").Exists(useTools));
        EXPECT_TRUE(VnFilename(L"file://" + ToText(Folder / "a%20b.mp3")).Exists(useTools));
        EXPECT_FALSE(Name("b.mp3").Exists(useTools));
        EXPECT_FALSE(VnFilename(ToText(Folder.Path().string())).Exists(useTools));
        EXPECT_FALSE(VnFilename(L"").Exists(useTools));
    }
    EXPECT_EQ(Name("a b.mp3").GetFileSize(), 3);
    EXPECT_EQ(Name("b.mp3").GetFileSize(), -1);
    Folder.Write("x.a;1", "12345");
    EXPECT_EQ(Name("x.a;1;2").GetFileSize(), 5) << "the file that Exists looks for";
    EXPECT_FALSE(VnFileSystem::GetFileDate(ToText(Folder / "x.a;1")).IsEmpty());
    EXPECT_EQ(VnFilename(L"http://127.0.0.1:1/a").GetFileSize(false), -1);
}

TEST_F(VnFilenameState, FindsTheIndexBesideAFile) {
    EXPECT_FALSE(Name("a.m3u8").GetIsIndexedHLS());
    EXPECT_TRUE(Name("a.m3u8").GetIndexedHLSFilename(true).IsEmpty());
    Folder.Write("a.m3u8.vhli", "x");
    EXPECT_TRUE(Name("a.m3u8").GetIsIndexedHLS());
    EXPECT_EQ(ToBytes(Name("a.m3u8").GetIndexedHLSFilename(true)), Folder / "a.m3u8.vhli");
    EXPECT_EQ(ToBytes(Name("b.m3u8").GetIndexedHLSFilename(false)), Folder / "b.m3u8.vhli");
}

TEST_F(VnFilenameState, ResolvesLinks) {
    Folder.Write("real/\xC3\xA4\xFF.mp3", "x");
    std::filesystem::create_symlink("real", Folder.Path() / "link");
    EXPECT_EQ(ToBytes(VnFilename::GetRealPath(ToText(Folder / "link/../link/\xC3\xA4\xFF.mp3"))),
              Folder / "real/\xC3\xA4\xFF.mp3");
    EXPECT_TRUE(VnFilename::GetRealPath(ToText(Folder / "none")).IsEmpty());
}

TEST_F(VnFilenameState, DeletesFilesByExtensionInOneDirectory) {
    for (const char* name : {"a.tmp", "b.TMP", "c.mp3", "sub/d.tmp"}) {
        Folder.Write(name, "x");
    }
    VnStringArray extensions;
    extensions.Add(L"tmp");
    VnFilename::DeleteFilesInDirectory(ToText(Folder.Path().string()), extensions);
    EXPECT_FALSE(Folder.Exists("a.tmp") || Folder.Exists("b.TMP"));
    EXPECT_TRUE(Folder.Exists("c.mp3") && Folder.Exists("sub/d.tmp"));
}

TEST_F(VnFilenameState, NumbersAShortenedNameUntilItIsFree) {
    VnFilename filename = Name(std::string(100, 'n') + ".flac");
    filename.SetFileType(L"mp3");
    const int32_t reserve = VnFilename::kPathLimit - filename.Filename.GetLength() + 3;
    VnFilename first = filename;
    EXPECT_TRUE(first.ShortenToPathLimit(true, 8, 3, 20, reserve));
    Folder.Write(ToBytes(first.GetNameAndExtension()), "x");
    EXPECT_TRUE(filename.ShortenToPathLimit(true, 8, 3, 20, reserve));
    EXPECT_EQ(ToBytes(filename.Filename), ToBytes(first.GetPathAndName()) + " (1).flac");
}

struct LimitCase {
    const char* What;
    size_t Directory; ///< characters of "/ddd.../"
    size_t Name;
    bool MakeUnique;
    int32_t MinimumDirectory;
    int32_t Reserve;
    bool Expected;
    int32_t Length; ///< of the result
    int32_t NewDirectory;
};

// Fits when directory + name + 1 + 3 is at most 4095.
constexpr LimitCase kLimitCases[] = {
    {"on the limit", 100, 3991, false, 100, 0, false, 4095, 100},
    {"one above", 100, 3992, false, 100, 0, true, 4095, 100},
    {"reserve", 100, 3991, false, 100, 10, true, 4085, 100},
    {"room for a number", 100, 3991, true, 100, 0, true, 4090, 100},
    {"directory too long", 4090, 8, false, 20, 0, true, 4095, 4084},
    {"short", 10, 10, true, 10, 0, false, 24, 10},
};

TEST(VnFilenameLimit, ShortensDirectoriesAndThenTheName) {
    for (const LimitCase& row : kLimitCases) {
        SCOPED_TRACE(row.What);
        const std::string before =
            '/' + std::string(row.Directory - 2, 'd') + '/' + std::string(row.Name, 'n') + ".mp3";
        VnFilename filename(ToText(before));
        EXPECT_EQ(
            filename.ShortenToPathLimit(row.MakeUnique, 8, 3, row.MinimumDirectory, row.Reserve),
            row.Expected);
        EXPECT_EQ(filename.Filename.GetLength(), row.Length);
        EXPECT_EQ(filename.GetDirectory().GetLength(), row.NewDirectory);
        if (!row.Expected) {
            EXPECT_EQ(ToBytes(filename.Filename), before);
        }
    }
    VnFilename cut(ToText("/" + std::string(4092, 'n') + ".mp3"));
    EXPECT_TRUE(cut.ShortenToPathLimit(false, 8, 3, 1, 0));
    EXPECT_EQ(ToBytes(cut.GetName().Right(2)), "n\xE2\x80\xA6");
    VnFilename remote(L"http://h/a.mp3");
    EXPECT_FALSE(remote.ShortenToPathLimit(false, 8, 3, 1, 4090));
    VnFilename uncut(L"C:\\Music\\Sub\\a.mp3");
    EXPECT_FALSE(uncut.ShortenToPathLimit(false, 4090, 3, 64, 0)) << "no segment has that many";
    EXPECT_EQ(ToBytes(uncut.Filename), "C:\\Music\\Sub\\a.mp3");
}

TEST(VnFilenameLimit, CutsSegmentsBetweenBackslashesFromTheLastOne) {
    const std::string text = "\\" + std::string(2000, 'a') + "\\" + std::string(2000, 'b') + "\\"
                             + std::string(300, 'n') + ".mp3";
    VnFilename filename(ToText(text));
    // 4003 + 300 + 1 + 3 - 4095 = 212 characters too many, all of which the last segment has to
    // spare.
    EXPECT_TRUE(filename.ShortenToPathLimit(false, 300, 3, 100, 0));
    EXPECT_EQ(ToBytes(filename.GetDirectory()),
              "\\" + std::string(2000, 'a') + "\\" + std::string(1787, 'b') + "\xE2\x80\xA6/");
    EXPECT_EQ(filename.GetName().GetLength(), 300);
    EXPECT_EQ(filename.Filename.GetLength(), 4095);
}

} // namespace

#include "files/VnFilename.h"

#include "runtime/CProcessInfo.h"
#include "tests/support/TestText.h"

#include <gtest/gtest.h>

#include <string>
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
    struct Case {
        const char* Text;
        const char* Path;
    };
    for (const Case& row :
         {Case{"(Install Drive):/x", "/x"}, Case{"(INSTALL drive):/x(install drive):y", "/xy"},
          Case{"x(Install Drive):", "x(Install Drive):"},
          Case{"(Install Drive)/x", "(Install Drive)/x"}, Case{"(Install Drive):", ""}}) {
        EXPECT_EQ(ToBytes(VnFilename(ToText(row.Text)).GetLocalPath()), row.Path) << row.Text;
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

} // namespace

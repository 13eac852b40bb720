#include "tests/support/FakeHandheld.h"

namespace {

class PlaylistsTest : public DeviceFixture {
protected:
    int32_t Send(const std::string& text, const wchar_t* name = L"Road") {
        List.PlaylistText = text;
        return Run(kCommandSendPlaylist, &List, name);
    }
    FakeList List;
};

TEST_F(PlaylistsTest, ChoosesTheExtensionByFormat) {
    const std::pair<int, std::wstring> rows[] = {
        {0, L".m3u"}, {2, L".m3u"},  {3, L".asx"},  {5, L".asx"},  {6, L".pla"},  {7, L".m3u"},
        {9, L".wpl"}, {11, L".wpl"}, {14, L".mpl"}, {18, L".pls"}, {99, L".m3u"},
    };
    for (const auto& [format, extension] : rows) {
        Start({{L"PlaylistBasePath", L"Lists"}, {L"PlaylistFormat", std::to_wstring(format)}});
        EXPECT_EQ(Send("x\r\n"), 0);
        EXPECT_EQ(List.WrittenPath, OnDevice("Lists/Road") + extension) << format;
        EXPECT_EQ(List.WrittenKind, L"handheld");
    }
}

TEST_F(PlaylistsTest, LeavesTheFileAloneWithNothingToRewrite) {
    Start({{L"PlaylistBasePath", L"Lists"}});
    const std::string text = "\xEF\xBB\xBF#EXTM3U\r\n/Music/\xC3\xBC.mp3\n";
    EXPECT_EQ(Send(text), 0);
    EXPECT_EQ(Device.Read("Lists/Road.m3u"), text);
}

TEST_F(PlaylistsTest, RewritesPathsAsOneByteText) {
    Start({{L"PlaylistBasePath", L"Lists"},
           {L"PlaylistPathRoot", L"\\Card"},
           {L"PlaylistPathToken", L"\\"}});
    EXPECT_EQ(Send("#EXTM3U\r\n/Music/a.mp3\r\n/Music/\xC3\xBC\xC5\x81.mp3"), 0);
    EXPECT_EQ(Device.Read("Lists/Road.m3u"),
              "\\Card#EXTM3U\r\n\\Card\\Music\\a.mp3\r\n\\Card\\Music\\\xFC?.mp3");
}

TEST_F(PlaylistsTest, RewritesPLAAsUTF16) {
    Start({{L"PlaylistBasePath", L"Lists"}, {L"PlaylistFormat", L"6"}});
    EXPECT_EQ(Send("/Music/a.mp3\r\n//b.mp3"), 0);
    std::string expected;
    for (const char ch :
         std::string("PLP PLAYLIST\r\nVERSION 1.20\r\n\r\nMusic/a.mp3\r\nb.mp3\r\n")) {
        expected += ch;
        expected += '\0';
    }
    EXPECT_EQ(Device.Read("Lists/Road.pla"), expected);
}

TEST_F(PlaylistsTest, RefusesWhatTheDeviceDoesNotTake) {
    Start({{L"PlaylistBasePath", L"NO_PLAYLISTS"}});
    EXPECT_EQ(Send("x"), static_cast<int32_t>(0x80004005));
    EXPECT_TRUE(List.WrittenPath.empty());
    Start({{L"PlaylistBasePath", L"Lists"}});
    List.WriterWorks = false;
    EXPECT_EQ(Send("x"), static_cast<int32_t>(0x80004005));
    int32_t failed = 0;
    EXPECT_EQ(Front->ProcessCommand(L"x", kCommandSendPlaylist, nullptr, 0, &failed),
              static_cast<int32_t>(0x80004005));
    EXPECT_EQ(failed, 1);
}

} // namespace

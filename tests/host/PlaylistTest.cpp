#include "host/CPlaylistReader.h"
#include "host/CPlaylistWriter.h"
#include "tests/support/TestEnvironment.h"

#include <gtest/gtest.h>

#include <sys/stat.h>

#include <array>
#include <string>
#include <vector>

namespace {

std::vector<CPlaylistWriter::CEntry> Entries() {
    return {{L"../Music/Ä & B/1.mp3", L"Ä & B", L"<One>", 61},
            {L"../Music/2.mp3", L"", L"Two\r\nFile3=x", -1}};
}

} // namespace

TEST(PlaylistReader, FindsFilesHoweverTheyAreWritten) {
    const TestFolder folder;
    folder.Write("lib/plain.mp3", "x");
    folder.Write("lib/sub/über.mp3", "x");
    folder.Write("lib/#one.mp3", "x");
    folder.Write("lib/b c.mp3", "x");
    folder.Write("lib/back\\slash.mp3", "x");
    const std::string absolute = folder / "lib/plain.mp3";
    struct Row {
        const char* What;
        std::string Line;
        std::string File; ///< below lib/; empty for none
    };
    const Row kRows[] = {
        {"relative", "plain.mp3", "plain.mp3"},
        {"in a folder", "sub/über.mp3", "sub/über.mp3"},
        {"absolute", absolute, "plain.mp3"},
        {"above", "../lib/plain.mp3", "../lib/plain.mp3"},
        {"backslashes", "sub\\über.mp3", "sub/über.mp3"},
        {"a backslash that is part of the name", "back\\slash.mp3", "back\\slash.mp3"},
        {"Latin-1", "sub/\374ber.mp3", "sub/über.mp3"},
        {"Latin-1 with backslashes", "sub\\\374ber.mp3", "sub/über.mp3"},
        {"file URL", "file://" + folder / "lib/b%20c.mp3", "b c.mp3"},
        {"file URL with host", "file://localhost" + folder / "lib/plain.mp3", "plain.mp3"},
        {"blanks around", "  plain.mp3\t", "plain.mp3"},
        {"missing", "gone.mp3", ""},
        {"folder", "sub", ""},
        {"of the net", "http://host/a.mp3", ""},
    };
    for (const Row& row : kRows) {
        SCOPED_TRACE(row.What);
        CPlaylistReader::CResult result;
        std::string error;
        ASSERT_TRUE(CPlaylistReader::Read(folder.Write("lib/list.m3u", row.Line), result, error))
            << error;
        const bool exists = !row.File.empty();
        ASSERT_EQ(result.Files.size(), exists ? 1U : 0U);
        ASSERT_EQ(result.Missing.size(), exists ? 0U : 1U);
        if (exists) {
            EXPECT_EQ(result.Files[0], folder / ("lib/" + row.File));
        }
    }
}

TEST(PlaylistReader, SplitsLinesOfEverySystem) {
    using List = std::vector<std::string>;
    EXPECT_EQ(CPlaylistReader::SplitEntries(""), List{});
    EXPECT_EQ(
        CPlaylistReader::SplitEntries("\xEF\xBB\xBF#EXTM3U\r\n#EXTINF:1,a\r\na.mp3\r\n\r\nb.mp3"),
        (List{"a.mp3", "b.mp3"}));
    EXPECT_EQ(CPlaylistReader::SplitEntries("a\rb\nc\n"), (List{"a", "b", "c"}));
}

TEST(PlaylistReader, NamesAListThatCannotBeRead) {
    const TestFolder folder;
    CPlaylistReader::CResult result;
    std::string error;
    EXPECT_FALSE(CPlaylistReader::Read(folder / "none.m3u", result, error));
    EXPECT_FALSE(error.empty());
    EXPECT_FALSE(CPlaylistReader::Read(folder.Path().string(), result, error));
    EXPECT_FALSE(CPlaylistReader::Read(folder.Write("list.jpg", "a.mp3\n"), result, error));
    EXPECT_FALSE(CPlaylistReader::Read(folder.Write("noext", "a.mp3\n"), result, error));
    EXPECT_FALSE(CPlaylistReader::Read(folder.Write("noise.m3u", std::string("\x7F\0\n", 3)),
                                       result, error));
    EXPECT_EQ(error, "is no playlist: it has NUL bytes");
    ASSERT_EQ(mkfifo((folder / "fifo.m3u").c_str(), 0600), 0);
    EXPECT_FALSE(CPlaylistReader::Read(folder / "fifo.m3u", result, error));
    EXPECT_EQ(error, "is no regular file");
    EXPECT_TRUE(result.Missing.empty());
    EXPECT_TRUE(CPlaylistReader::Read(folder.Write("empty.m3u", ""), result, error)) << error;
    EXPECT_TRUE(CPlaylistReader::Read(folder.Write("UPPER.M3U8", ""), result, error)) << error;
}

TEST(PlaylistWriter, WritesEveryForm) {
    struct Row {
        const wchar_t* Extension;
        std::string Text;
    };
    const Row kRows[] = {
        {L"m3u",
         "#EXTM3U\r\n#EXTINF:61,Ä & B - <One>\r\n../Music/Ä & B/1.mp3\r\n#EXTINF:-1,Two  File3=x\r\n../Music/2.mp3\r\n"},
        {L"pla", "../Music/Ä & B/1.mp3\r\n../Music/2.mp3\r\n"},
        {L"asx",
         "<asx version=\"3.0\">\r\n<title>L&amp;</title>\r\n"
         "<entry>\r\n<title>&lt;One&gt;</title>\r\n<author>Ä &amp; B</author>\r\n<ref href=\"../Music/Ä &amp; B/1.mp3\" />\r\n"
         "</entry>\r\n<entry>\r\n<title>Two  File3=x</title>\r\n<ref href=\"../Music/2.mp3\" />\r\n</entry>\r\n</asx>\r\n"},
        {L"wpl",
         "<?wpl version=\"1.0\"?>\r\n<smil>\r\n<head>\r\n<meta name=\"Generator\" content=\"tonehall\"/>\r\n"
         "<meta name=\"ItemCount\" content=\"2\"/>\r\n<title>L&amp;</title>\r\n</head>\r\n<body>\r\n<seq>\r\n"
         "<media src=\"../Music/Ä &amp; B/1.mp3\"/>\r\n<media src=\"../Music/2.mp3\"/>\r\n</seq>\r\n</body>\r\n</smil>\r\n"},
        {L"pls",
         "[playlist]\r\nFile1=../Music/Ä & B/1.mp3\r\nTitle1=Ä & B - <One>\r\nLength1=61\r\n"
         "File2=../Music/2.mp3\r\nTitle2=Two  File3=x\r\nLength2=-1\r\nNumberOfEntries=2\r\nVersion=2\r\n"},
        {L"mpl",
         "<?xml version=\"1.0\" encoding=\"UTF-8\" standalone=\"yes\" ?>\r\n<MPL Version=\"2.0\" Title=\"L&amp;\">\r\n"
         "<Item>\r\n<Field Name=\"Filename\">../Music/Ä &amp; B/1.mp3</Field>\r\n<Field Name=\"Name\">&lt;One&gt;</Field>\r\n"
         "<Field Name=\"Artist\">Ä &amp; B</Field>\r\n<Field Name=\"Duration\">61</Field>\r\n</Item>\r\n"
         "<Item>\r\n<Field Name=\"Filename\">../Music/2.mp3</Field>\r\n<Field Name=\"Name\">Two  File3=x</Field>\r\n</Item>\r\n"
         "</MPL>\r\n"},
    };
    for (const Row& row : kRows) {
        EXPECT_EQ(CPlaylistWriter::Render(row.Extension, Entries(), {L"L&", true}), row.Text);
    }
}

TEST(PlaylistWriter, NamesTheReasonOfAFailureAndLeavesNothing) {
    const TestFolder folder;
    std::string error;
    EXPECT_TRUE(CPlaylistWriter::Save(folder / "new/list.m3u", "abc", error)) << error;
    EXPECT_EQ(folder.Read("new/list.m3u"), "abc");
    EXPECT_FALSE(CPlaylistWriter::Save(folder / "new/list.m3u/x", "abc", error));
    EXPECT_FALSE(CPlaylistWriter::Save("/dev/full", "abc", error));
    EXPECT_EQ(error, "No space left on device");
}

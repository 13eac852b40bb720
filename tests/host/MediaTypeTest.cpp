#include "host/CMediaType.h"
#include "host/CSampleMedia.h"
#include "host/HostText.h"
#include "tests/support/TestEnvironment.h"

#include <gtest/gtest.h>

#include <sys/stat.h>
#include <unistd.h>

#include <string>
#include <utility>
#include <vector>

namespace {

struct Format {
    const char* Extension;
    std::string Bytes;
};

std::vector<Format> Formats() {
    return {{"mp3", CSampleMedia::MakeMP3()},        {"flac", CSampleMedia::MakeFLAC()},
            {"ogg", CSampleMedia::MakeOgg(500)},     {"m4a", CSampleMedia::MakeM4A()},
            {"wav", CSampleMedia::MakeWAV()},        {"jpg", CSampleMedia::MakeJPEG()},
            {"png", CSampleMedia::MakePNG(0x123456)}};
}

std::string Find(const TestFolder& folder, const std::string& bytes, const std::string& extension) {
    return CMediaType::FindProblem(folder.Write("file." + extension, bytes), HostWiden(extension));
}

} // namespace

TEST(MediaType, TellsKindsByTheExtension) {
    constexpr std::pair<const wchar_t*, const wchar_t*> kRows[] = {
        {L"3gp", L"Video"}, {L"flac", L"Audio"}, {L"jpg", L"Image"},  {L"mkv", L"Video"},
        {L"mp3", L"Audio"}, {L"mp4", L"Video"},  {L"png", L"Image"},  {L"wv", L"Audio"},
        {L"txt", L"Data"},  {L"", L"Data"},      {L"m4a", L"Audio"},  {L"ogg", L"Audio"},
        {L"zzzz", L"Data"}, {L"wav", L"Audio"},  {L"webm", L"Video"},
    };
    for (const auto& [extension, type] : kRows) {
        EXPECT_EQ(CMediaType::FromExtension(extension), type) << HostNarrow(extension);
    }
}

TEST(MediaType, TakesWholeFilesTaggedOrNot) {
    const TestFolder folder;
    CSampleMedia::CTags tags;
    tags.Title = L"T\u00eftle \U0001F32C";
    tags.Picture = CSampleMedia::MakePNG(0xFF0000, 300);
    for (const Format& format : Formats()) {
        EXPECT_EQ(Find(folder, format.Bytes, format.Extension), "") << format.Extension;
        const std::string path = folder / "file." + format.Extension;
        if (std::string(format.Extension) == "jpg" || std::string(format.Extension) == "png") {
            continue;
        }
        ASSERT_TRUE(CSampleMedia::WriteTags(path, tags)) << format.Extension;
        EXPECT_EQ(CMediaType::FindProblem(path, HostWiden(format.Extension)), "")
            << format.Extension;
    }
    EXPECT_EQ(Find(folder, CSampleMedia::MakeFLAC() + "TAG" + std::string(125, ' '), "flac"), "");
}

TEST(MediaType, NamesEmptyAndForeignFiles) {
    const TestFolder folder;
    const std::string text(3000, 'a');
    for (const Format& format : Formats()) {
        EXPECT_EQ(Find(folder, "", format.Extension), "empty") << format.Extension;
        EXPECT_EQ(Find(folder, text, format.Extension), "not what its extension says")
            << format.Extension;
    }
    EXPECT_EQ(Find(folder, "", "txt"), "empty");
    EXPECT_EQ(Find(folder, text, "txt"), "");
    EXPECT_EQ(Find(folder, text, "mkv"), "not what its extension says");
    EXPECT_EQ(Find(folder, CSampleMedia::MakePNG(1), "jpg"), "") << "a picture is a picture";
    EXPECT_TRUE(
        CMediaType::FindProblem(folder / "none.mp3", L"mp3").starts_with("cannot be read: "));
}

TEST(MediaType, NamesFilesThatWereCutShort) {
    const TestFolder folder;
    for (const Format& format : Formats()) {
        if (std::string(format.Extension) == "mp3") {
            continue; // without a header of the encoder's a stream of frames may end anywhere
        }
        for (const size_t left :
             {format.Bytes.size() - 2, format.Bytes.size() * 3 / 4, format.Bytes.size() / 2}) {
            EXPECT_EQ(Find(folder, format.Bytes.substr(0, left), format.Extension), "cut short")
                << format.Extension << ", " << left << " of " << format.Bytes.size();
        }
    }
}

TEST(MediaType, NamesMP3FilesThatTellTheirLength) {
    const TestFolder folder;
    const std::string header =
        "\xFF\xFB\x90\xC4" + std::string(17, '\0') + "Xing" + std::string("\0\0\0\3\0\0\0\x28", 8);
    const std::string length("\0\1\0\0", 4); // 65536 bytes
    const std::string audio(70000, '\0');
    EXPECT_EQ(Find(folder, header + length + audio, "mp3"), "");
    EXPECT_EQ(Find(folder, header + length + audio.substr(0, 30000), "mp3"), "cut short");
    EXPECT_EQ(Find(folder, std::string("ID3\4\0\0\0\0\x10\0", 10) + "x", "mp3"), "cut short")
        << "inside its tag";
}

TEST(MediaType, NamesUnreadableFiles) {
    if (geteuid() == 0) {
        GTEST_SKIP() << "root reads every file";
    }
    const TestFolder folder;
    const std::string path = folder.Write("a.mp3", CSampleMedia::MakeMP3());
    chmod(path.c_str(), 0);
    EXPECT_EQ(CMediaType::FindProblem(path, L"mp3"), "cannot be read: Permission denied");
}

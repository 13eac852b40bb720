#include "core/VnDllString.h"
#include "host/CSampleMedia.h"
#include "runtime/IVnTagReader.h"
#include "runtime/IVnToolsRoot.h"
#include "runtime/VnSiblingModules.h"
#include "tests/support/SampleMedia.h"
#include "tests/support/TestEnvironment.h"
#include "tests/support/TestText.h"

#include <gtest/gtest.h>
#include <taglib/fileref.h>
#include <taglib/id3v2tag.h>
#include <taglib/mpegfile.h>
#include <taglib/popularimeterframe.h>
#include <taglib/tpropertymap.h>

#include <sys/stat.h>
#include <unistd.h>

#include <memory>
#include <string>
#include <utility>

namespace {

std::unique_ptr<IVnTagReader> MakeReader(int32_t mode = IVnTagReader::kMediaFile) {
    std::unique_ptr<IVnTagReader> reader(VnGetToolsRoot()->CreateTagReader());
    reader->SetReadMode(mode);
    reader->SetFieldMode(1);
    reader->SetListMode(mode);
    return reader;
}

std::string Field(IVnTagReaderItem& item, const wchar_t* name) {
    VnString value(L"old");
    VnDllString adapter(value);
    const bool found = item.GetField(name, adapter);
    EXPECT_EQ(found, !value.IsEmpty()) << name;
    return ToBytes(value);
}

std::string Field(const std::string& path, const wchar_t* name) {
    const auto reader = MakeReader();
    reader->SetFile(ToText(path));
    IVnTagReaderItem* item = reader->GetItem(0);
    return item == nullptr ? "no item" : Field(*item, name);
}

struct FormatCase {
    const char* Name;
    std::string Bytes;
    const char* Duration;
    const char* SampleRate;
    const char* Channels;
};

const FormatCase kFormats[] = {
    {"song.mp3", MakeMp3({}, 77), "2", "44100", "2"},
    {"song.flac", CSampleMedia::MakeFLAC(22), "2", "44100", "2"},
    {"song.ogg", CSampleMedia::MakeOgg(1000), "4", "8000", "1"},
};

struct TagCase {
    const char* Key; ///< of the library
    const char* Written;
    const wchar_t* Field;
    const char* Read;
};

constexpr TagCase kTags[] = {
    {"TITLE", "T\xC3\xAFtle \xF0\x9F\x8E\xB5 ", L"Name", "T\xC3\xAFtle \xF0\x9F\x8E\xB5"},
    {"ALBUM", "Album", L"album", "Album"},
    {"ALBUMARTIST", "Band", L"Album Artist", "Band"},
    {"ALBUMARTIST", "Band", L"Album Artist (auto)", "Band"},
    {"GENRE", "Jazz", L"Genre", "Jazz"},
    {"COMPOSER", "Comp", L"Composer", "Comp"},
    {"DATE", "2004-05-31", L"Date", "2004-05-31"},
    {"TRACKNUMBER", "3/12", L"Track #", "3"},
    {"DISCNUMBER", "2/4", L"Disc #", "2"},
    {"COMMENT", "Some words", L"Comment", "Some words"},
    {"CONDUCTOR", "Con", L"Conductor", "Con"}, // a field that only the tag knows
    {"BPM", "120", L"BPM", "120"},
};

/// Tags a file through the library itself.
void WriteTags(const std::string& path) {
    TagLib::FileRef file(path.c_str());
    ASSERT_FALSE(file.isNull()) << path;
    TagLib::PropertyMap tags;
    for (const TagCase& tag : kTags) {
        tags[tag.Key] = TagLib::StringList(TagLib::String(tag.Written, TagLib::String::UTF8));
    }
    tags["ARTIST"] = TagLib::StringList("An Artist");
    tags["ARTIST"].append("Another");
    file.file()->setProperties(tags);
    ASSERT_TRUE(file.save()) << path;
}

} // namespace

TEST(TagReader, ReadsEveryFormatAlike) {
    const TestFolder folder;
    for (const FormatCase& format : kFormats) {
        SCOPED_TRACE(format.Name);
        const std::string path = folder.Write(format.Name, format.Bytes);
        WriteTags(path);
        const auto reader = MakeReader();
        reader->SetFile(ToText(path));
        ASSERT_EQ(reader->GetCount(), 1);
        IVnTagReaderItem& item = *reader->GetItem(0);
        for (const TagCase& tag : kTags) {
            EXPECT_EQ(Field(item, tag.Field), tag.Read);
        }
        EXPECT_EQ(Field(item, L"ARTIST"), "An Artist; Another");
        EXPECT_EQ(Field(item, L"Nonsense"), "");
        EXPECT_EQ(Field(item, L"Duration"), format.Duration);
        EXPECT_EQ(Field(item, L"Sample Rate"), format.SampleRate);
        EXPECT_EQ(Field(item, L"Channels"), format.Channels);
        EXPECT_EQ(Field(item, L"Media Type"), "Audio");
        EXPECT_EQ(Field(item, L"Filename"), path);
        EXPECT_EQ(reader->GetItem(1), nullptr);
        EXPECT_EQ(reader->GetItem(-1), nullptr);
    }
}

/// The last frame of a file is searched for here and not by the library: both must find the same.
TEST(TagReader, MeasuresAnMPEGFileAsTheLibraryDoes) {
    const TestFolder folder;
    const std::string plain = MakeMp3({{"TIT2", "x"}}, 200);
    const std::string oldTag = "TAG" + std::string(125, ' ');
    std::string variable = MakeMp3({}, 3);
    // Behind the header and side information of a stereo frame: flags and number of frames, bytes.
    variable.replace(variable.find("\xFF\xFB") + 36, 16,
                     std::string("Xing\0\0\0\3\0\0\1\0\0\1\0\0", 16));
    const std::string files[] = {
        plain,
        plain + oldTag,
        plain + std::string(10000, '\0'),
        plain + std::string(5000, '\xFF') + oldTag,
        plain.substr(0, plain.size() - 100),
        plain + "\xFF\xFB\x90",
        MakeMp3({}, 1),
        MakeMp3({}, 2),
        variable,
        "no frames at all",
    };
    for (size_t row = 0; row < std::size(files); ++row) {
        const std::string path = folder.Write(std::to_string(row) + ".mp3", files[row]);
        TagLib::MPEG::File file(path.c_str());
        const TagLib::AudioProperties* audio = file.audioProperties();
        ASSERT_NE(audio, nullptr);
        const auto text = [](int number) { return number > 0 ? std::to_string(number) : ""; };
        EXPECT_EQ(Field(path, L"Duration"), text((audio->lengthInMilliseconds() + 500) / 1000))
            << row;
        EXPECT_EQ(Field(path, L"Bitrate"), text(audio->bitrate())) << row;
        EXPECT_EQ(Field(path, L"Sample Rate"), text(audio->sampleRate())) << row;
        EXPECT_EQ(Field(path, L"Channels"), text(audio->channels())) << row;
    }
}

TEST(TagReader, FillsInWhatTheTagsLack) {
    const TestFolder folder;
    const std::string path = folder.Write("My.Song.MP3", MakeMp3({}, 4));
    struct stat state = {};
    ASSERT_EQ(::stat(path.c_str(), &state), 0);
    EXPECT_EQ(Field(path, L"Name"), "My.Song");
    EXPECT_EQ(Field(path, L"File Type"), "mp3");
    EXPECT_EQ(Field(path, L"File Size"), std::to_string(state.st_size));
    EXPECT_EQ(Field(path, L"Artist"), "");
    EXPECT_EQ(Field(path, L"Album Artist (auto)"), "Unknown Artist");
    EXPECT_EQ(Field(path, L"Track #"), "");
    EXPECT_EQ(Field(path, L"Date Modified").size(), std::string("2004-05-31T00:00:00").size());
    EXPECT_EQ(Field(folder.Write(".hidden", "x"), L"Name"), ".hidden");
    const std::string half = folder.Write("b.mp3", MakeMp3({{"TPE1", "Solo"}, {"TYER", "1999"}}));
    EXPECT_EQ(Field(half, L"Album Artist"), "");
    EXPECT_EQ(Field(half, L"Album Artist (auto)"), "Solo");
    EXPECT_EQ(Field(half, L"Date"), "1999");
    EXPECT_EQ(Field(folder.Write("odd \xFF.mp3", MakeMp3({})), L"Name"), "odd \xFF");
}

TEST(TagReader, CountsStars) {
    constexpr std::pair<int, const char*> kRows[] = {{0, ""},    {1, "1"},   {20, "1"}, {64, "2"},
                                                     {128, "3"}, {196, "4"}, {255, "5"}};
    const TestFolder folder;
    for (const auto& [popularity, stars] : kRows) {
        const std::string path = folder.Write("a.mp3", MakeMp3({{"TIT2", "x"}}));
        {
            TagLib::MPEG::File file(path.c_str());
            auto* frame = new TagLib::ID3v2::PopularimeterFrame;
            frame->setRating(popularity);
            file.ID3v2Tag(true)->addFrame(frame);
            file.save();
        }
        EXPECT_EQ(Field(path, L"Rating"), stars) << popularity;
    }
}

TEST(TagReader, SortsFilesByTheirType) {
    constexpr std::pair<const char*, const char*> kRows[] = {
        {"a.opus", "Audio"}, {"a.mkv", "Video"}, {"a.mp4", "Video"}, {"a.JPG", "Image"},
        {"a.m3u", "Data"},   {"a.asx", "Data"},  {"a.txt", "Data"},  {"noext", "Data"}};
    const TestFolder folder;
    for (const auto& [name, type] : kRows) {
        SCOPED_TRACE(name);
        const std::string path = folder.Write(name, "not really");
        EXPECT_EQ(Field(path, L"Media Type"), type);
        EXPECT_EQ(Field(path, L"File Size"), "10");
        EXPECT_EQ(Field(path, L"Duration"), "");
        EXPECT_EQ(Field(path, L"Name").substr(0, 1), name[0] == 'n' ? "n" : "a");
    }
}

TEST(TagReader, HasNoItemForWhatCanNotBeOpened) {
    const TestFolder folder;
    const std::string pipe = folder / "pipe.mp3";
    ASSERT_EQ(::mkfifo(pipe.c_str(), 0600), 0);
    for (const std::string& path :
         {folder / "missing.mp3", folder.Path().string(), pipe, std::string()}) {
        EXPECT_EQ(Field(path, L"Name"), "no item") << path;
    }
    const auto reader = MakeReader();
    reader->SetFile(nullptr);
    EXPECT_EQ(reader->GetCount(), 0);
}

TEST(TagReader, ReplacesItsItemByTheNextFile) {
    const TestFolder folder;
    const auto reader = MakeReader();
    reader->SetFile(ToText(folder.Write("a.mp3", MakeMp3({{"TIT2", "First"}}))));
    reader->SetFile(ToText(folder.Write("b.mp3", MakeMp3({{"TIT2", "Second"}}))));
    ASSERT_EQ(reader->GetCount(), 1);
    EXPECT_EQ(Field(*reader->GetItem(0), L"Name"), "Second");
    reader->SetFile(ToText(folder / "missing"));
    EXPECT_EQ(reader->GetItem(0), nullptr);
}

TEST(TagReader, SurvivesDamagedAndMislabelledFiles) {
    const TestFolder folder;
    constexpr const char* kExtensions[] = {"mp3", "flac", "ogg", "oga", "opus", "spx", "m4a", "wma",
                                           "wav", "aiff", "ape", "mpc", "wv",   "tta", "mp2"};
    for (const FormatCase& format : kFormats) {
        const std::string original = folder.Write(format.Name, format.Bytes);
        WriteTags(original);
        const std::string bytes = folder.Read(format.Name);
        for (const char* extension : kExtensions) {
            const std::string path = folder.Write(std::string("other.") + extension, bytes);
            EXPECT_NE(Field(path, L"Name"), "") << format.Name << " as " << extension;
            EXPECT_NE(Field(path, L"Duration"), "no item");
        }
        // Every cut of the tagged part, and every byte of it damaged once.
        const std::string name = std::string("cut") + format.Name;
        for (size_t length = 0; length < std::min<size_t>(bytes.size(), 1200); length += 23) {
            const std::string path = folder.Write(name, bytes.substr(0, length));
            EXPECT_EQ(Field(path, L"File Size"), std::to_string(length));
            EXPECT_NE(Field(path, L"Name"), "");
            EXPECT_NE(Field(path, L"Duration"), "no item");
        }
        for (size_t at = 0; at < std::min<size_t>(bytes.size(), 1200); at += 17) {
            std::string damaged = bytes;
            damaged[at] = static_cast<char>(damaged[at] ^ 0xff);
            const std::string path = folder.Write(name, damaged);
            EXPECT_NE(Field(path, L"Name"), "");
            EXPECT_NE(Field(path, L"Composer"), "no item");
            EXPECT_NE(Field(path, L"Bitrate"), "no item");
        }
    }
}

TEST(TagReader, ListsTheEntriesOfAPlaylist) {
    const TestFolder folder;
    const std::string path = folder.Write(
        "list.asx",
        "<ASX version=\"3.0\">\r\n<Title>All</Title>\r\n"
        "<entry><TITLE>One &amp; only</TITLE><Ref HREF=\"/Music/a &amp; b.mp3\"/></entry>\r\n"
        "<ENTRY><ref href=\"sub/b.mp3\"/><ref href=\"spare.mp3\"/></ENTRY>\r\n"
        "<entry><title>No source</title></entry>\r\n</ASX>");
    const auto reader = MakeReader(IVnTagReader::kASXPlaylist);
    reader->SetFile(ToText(path));
    ASSERT_EQ(reader->GetCount(), 2);
    VnString text;
    VnDllString adapter(text);
    EXPECT_TRUE(reader->GetItem(0)->GetFilename(adapter));
    EXPECT_EQ(ToBytes(text), "/Music/a & b.mp3");
    EXPECT_EQ(Field(*reader->GetItem(0), L"Name"), "One & only");
    EXPECT_TRUE(reader->GetItem(1)->GetFilename(adapter));
    EXPECT_EQ(ToBytes(text), "sub/b.mp3");
    EXPECT_EQ(Field(*reader->GetItem(1), L"filename"), "sub/b.mp3");

    reader->SetFile(ToText(folder.Write("bad.asx", "<asx><entry><ref href=\"x.mp3\"></entry")));
    EXPECT_EQ(reader->GetCount(), 1) << "a list that is cut short gives what it holds";
    reader->SetFile(ToText(folder.Write("empty.asx", "")));
    EXPECT_EQ(reader->GetCount(), 0);
    reader->SetFile(ToText(folder / "missing.asx"));
    EXPECT_EQ(reader->GetCount(), 0);
}

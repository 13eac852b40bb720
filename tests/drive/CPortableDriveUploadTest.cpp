#include "tests/support/FakeHandheld.h"

namespace {

class UploadTest : public DeviceFixture {
protected:
    /// Uploads a library file whose name expression gives `name`; the result of the command.
    int32_t Upload(const std::string& source,
                   const std::wstring& name,
                   const std::wstring& fileType = L"mp3") {
        List = std::make_unique<FakeList>();
        FakeFile& file =
            List->Add({{L"Media Type", L"Audio"}, {L"File Type", fileType}, {L"Name", L"Song"}});
        file.Source = ToWide(source);
        file.Expressions[L"FileName(,0)"] = name;
        file.Expressions[L"[Rule]"] = name;
        file.Art = Art;
        return Run(kCommandUpload, List.get());
    }
    FakeFile& File() { return *List->Items[0]; }
    /// Where the host was told that the file went, below the root.
    std::string Told() {
        const std::string path = ToUTF8(File().Fields[L"Filename"]);
        const std::string root = Device / "";
        return path.starts_with(root) ? path.substr(root.size()) : path;
    }
    std::unique_ptr<FakeList> List;
    std::wstring Art;
};

struct TargetCase {
    const char* What;
    std::map<std::wstring, std::wstring> Properties;
    const char* Source;
    const wchar_t* Name;
    const char* Expected;
    const wchar_t* FileType = L"mp3";
};

TEST_F(UploadTest, WorksOutTheTarget) {
    const TargetCase cases[] = {
        {"default rule",
         {{L"AudioBasePath", L"Music/"}},
         "a.flac",
         L"01 Song",
         "Music/01 Song.flac"},
        {"rule of the device", {{L"FilenameRule", L"[Rule]"}}, "a.mp3", L"By rule", "By rule.mp3"},
        {"a rule may make folders", {}, "a.mp3", L"A/B/c", "A/B/c.mp3"},
        {"dots in a name stay", {}, "a.mp3", L"Vol. 2", "Vol. 2.mp3"},
        {"field gives a missing extension", {}, "a", L"x", "x.mp3"},
        {"folder is cleaned",
         {{L"AudioBasePath", L"Live: Paris. \\b*d"}},
         "a.mp3",
         L"x",
         "Live_ Paris/b_d/x.mp3"},
        {"dot folders of an Android device",
         {{L"AudioBasePath", L".hidden"}, {L"IsAndroid", L"1"}},
         "a.mp3",
         L"..x",
         "_hidden/__x.mp3"},
        {"extension in lower case", {}, "a.MP3", L"x", "x.mp3"},
        {"a film of a PSP",
         {{L"AudioBasePath", L"PSP\\MUSIC"}, {L"VideoBasePath", L"VIDEO"}},
         "a.mp4",
         L"a",
         "VIDEO/a.mp4",
         L"MP4"},
    };
    for (const TargetCase& row : cases) {
        SCOPED_TRACE(row.What);
        Start(row.Properties);
        ASSERT_EQ(Upload(Library.Write(row.Source, "bytes"), row.Name, row.FileType), 0);
        EXPECT_EQ(Told(), row.Expected);
        EXPECT_EQ(Device.Read(row.Expected), "bytes");
        std::filesystem::remove(Device / row.Expected);
    }
}

TEST_F(UploadTest, AMaskCarriesNeighboursAlong) {
    Start({{L"GetAllFilesExtensionMask", L"mp"}});
    Library.Write("song.mpx", "side");
    Library.Write("song.txt", "no");
    Library.Write("Song.mp4", "other case");
    ASSERT_EQ(Upload(Library.Write("song.mp3", "main"), L"t"), 0);
    EXPECT_EQ(Device.Read("t.mp3"), "main");
    EXPECT_EQ(Device.Read("t.mpx"), "side");
    EXPECT_FALSE(Device.Exists("t.txt"));
    EXPECT_FALSE(Device.Exists("t.mp4"));
    EXPECT_EQ(Told(), "t.mpx"); // the last one stands
}

TEST_F(UploadTest, AFailedUploadTellsNothing) {
    Start();
    EXPECT_EQ(Upload(Library / "missing.mp3", L"x"), static_cast<int32_t>(0x80004005));
    EXPECT_EQ(File().Fields.count(L"Filename"), 0U);
    Run(kCommandEndSync);
    EXPECT_EQ(Database().find("<Item>"), std::string::npos);
    int32_t failed = 0;
    Front->ProcessCommand(nullptr, kCommandUpload, nullptr, 0, &failed);
    EXPECT_EQ(failed, 1);
}

TEST_F(UploadTest, TheRecordStandsInTheDatabaseAfterTheSync) {
    Start({{L"AudioBasePath", L"Music"}});
    ASSERT_EQ(Upload(Library.Write("a.mp3", "x"), L"A & <B>"), 0);
    EXPECT_FALSE(Device.Exists(".Database.mpl"));
    Run(kCommandEndSync);
    const std::string record = "<Item>\r\n<Field Name=\"Filename\">"
                               + (Device / "Music/A &amp; &lt;B&gt;.mp3")
                               + "</Field>\r\n<Field Name=\"Name\">Song</Field>\r\n</Item>\r\n";
    EXPECT_NE(Database().find(record), std::string::npos) << Database();
    EXPECT_EQ(Scan(), std::vector<std::string>{"Music/A & <B>.mp3"});
}

TEST_F(UploadTest, WritesThroughNoLink) {
    TestFolder elsewhere;
    const std::string kept = elsewhere.Write("kept", "precious");
    std::filesystem::create_symlink(elsewhere / "new", Device.Path() / "x.mp3");
    std::filesystem::create_symlink(kept, Device.Path() / ".Database.mpl");
    std::filesystem::create_symlink(kept, Device.Path() / "List.m3u");
    Start({{L"PlaylistBasePath", L""}});
    ASSERT_EQ(Upload(Library.Write("a.mp3", "bytes"), L"x"), 0);
    EXPECT_EQ(Told(), "x (1).mp3");
    Run(kCommandEndSync);
    EXPECT_NE(Run(kCommandSendPlaylist, List.get(), L"List"), 0);
    EXPECT_EQ(elsewhere.Read("kept"), "precious");
    std::filesystem::create_directory_symlink(elsewhere.Path(), Device.Path() / "Out");
    EXPECT_NE(Upload(Library.Write("a.mp3", "x"), L"Out/New/a"), 0);
    EXPECT_FALSE(elsewhere.Exists("new"));
    EXPECT_FALSE(elsewhere.Exists("New"));
}

TEST_F(UploadTest, ARootThatIsGoneIsNotMadeAnew) {
    Start({{L"DrivePath", OnDevice("gone")}});
    EXPECT_NE(Upload(Library.Write("a.mp3", "x"), L"a"), 0);
    Run(kCommandEndSync);
    EXPECT_FALSE(Device.Exists("gone"));
}

TEST_F(UploadTest, TheRootStaysAsItIsSpelled) {
    std::filesystem::create_directories(Device / "mtp:host=Phone. ");
    Start({{L"DrivePath", OnDevice("mtp:host=Phone. ")}, {L"AudioBasePath", L"Music\\...\\A"}});
    ASSERT_EQ(Upload(Library.Write("a.mp3", "x"), L"a"), 0);
    EXPECT_EQ(Told(), "mtp:host=Phone. /Music/A/a.mp3");
}

struct ArtCase {
    const char* What;
    const wchar_t* ToFolder;
    const wchar_t* ToFile;
    const char* Expected; ///< empty: no picture, and the host isn't asked
};

constexpr ArtCase kArtCases[] = {
    {"off", L"0", L"", ""},
    {"a name turns it on", L"0", L"cover.png", "cover.png"},
    {"standard name", L"1", L"", "Folder.jpg"},
};

TEST_F(UploadTest, PutsCoverArtBesideTheFile) {
    Art = ToWide(Library.Write("art.jpg", "picture"));
    for (const ArtCase& row : kArtCases) {
        SCOPED_TRACE(row.What);
        Start({{L"AudioBasePath", L"Music"},
               {L"SaveCoverArtToFolderJPG", row.ToFolder},
               {L"SaveCoverArtToFilename", row.ToFile}});
        ASSERT_EQ(Upload(Library.Write("a.mp3", "x"), L"a"), 0);
        EXPECT_EQ(File().ArtQuestions, *row.Expected == '\0' ? 0 : 1);
        if (*row.Expected != '\0') {
            EXPECT_EQ(Device.Read(std::string("Music/") + row.Expected), "picture");
        }
        ASSERT_EQ(Upload(Library.Write("b.mp3", "x"), L"b"), 0);
        EXPECT_EQ(File().ArtQuestions, 0); // the picture is in place
        std::filesystem::remove_all(Device / "Music");
    }
}

} // namespace

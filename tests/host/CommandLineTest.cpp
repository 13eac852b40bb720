#include "host/CSampleMedia.h"
#include "tests/support/ProgramRun.h"
#include "tests/support/TestEnvironment.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <nlohmann/json.hpp>
#include <signal.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <filesystem>
#include <functional>
#include <string>
#include <thread>
#include <vector>

namespace {

namespace fs = std::filesystem;
using testing::HasSubstr;
using testing::IsEmpty;

const std::string kProgram = std::string(VN_BUILD_FOLDER) + "/bin/tonehall";

/// Runs the built program on a library in "lib" and a device in "dev".
class CommandLineTest : public testing::Test {
protected:
    CommandLineTest() {
        fs::create_directory(Folder / "lib");
        fs::create_directory(Folder / "dev");
    }

    void Song(const std::string& name, const std::wstring& title) {
        CSampleMedia::CTags tags;
        tags.Title = title;
        tags.Artist = L"Artist";
        tags.Album = L"Album";
        ASSERT_TRUE(
            CSampleMedia::WriteTags(Folder.Write("lib/" + name, CSampleMedia::MakeMP3(4)), tags));
    }

    int Run(std::vector<std::string> arguments, const std::string& program = kProgram) {
        for (std::string& argument : arguments) {
            if (argument == "LIB" || argument == "DEV") {
                argument = Folder / (argument == "LIB" ? "lib" : "dev");
            }
        }
        ProgramRun run(program, arguments);
        const int code = run.Wait();
        Out = run.Output();
        Err = run.Errors();
        return code;
    }

    nlohmann::json Document() const {
        return nlohmann::json::parse(Out, nullptr, /*allow_exceptions=*/false);
    }

    /// Starts to send a file that takes a while, and waits until it stands on the device.
    void StartLongSync(const std::function<void(ProgramRun&)>& interrupt) {
        const std::string big = Folder.Write("lib/big.bin", "x");
        ASSERT_EQ(truncate(big.c_str(), 300 << 20), 0);
        ProgramRun run(kProgram, {"sync", "-l", Folder / "lib", "-d", Folder / "dev"});
        for (int tries = 0; tries < 20000 && !Folder.Exists("dev/Data/big.bin"); ++tries) {
            std::this_thread::sleep_for(std::chrono::milliseconds(1));
        }
        interrupt(run);
    }

    TestFolder Folder;
    std::string Out;
    std::string Err;
};

} // namespace

TEST_F(CommandLineTest, NamesWhatItDoesNotUnderstand) {
    struct Row {
        std::vector<std::string> Arguments;
        const char* Error; ///< part of it
    };
    const Row kRows[] = {
        {{"bogus"}, "bogus"},
        {{"sync", "--bogus"}, "--bogus"},
        {{"sync"}, "--library is required"},
        {{"sync", "-l", "LIB"}, "--device is required"},
        {{"sync", "-l", "/no/such/folder", "-d", "DEV"}, "/no/such/folder"},
        {{"sync", "-l", "LIB", "-d", "DEV", "--delete=some"}, "--delete"},
        {{"sync", "-l", "LIB", "-d", "DEV", "--set", "novalue"}, "KEY=VALUE"},
        {{"sync", "-l", "LIB", "-d", "DEV", "--set", "DrivePath=/x"}, "DrivePath"},
        {{"scan"}, "--device is required"},
        {{"delete", "--device", "DEV"}, "PATH is required"},
        {{"menu", "-d", "DEV", "--run", "x"}, "--run"},
        {{"menu", "-d", "DEV", "--run", "999", "--yes"}, "no entry 999"},
        {{"menu", "-d", "DEV", "../..", "--run", "105"}, "leads outside the device"},
        {{"menu", "-d", "DEV", "out/Music"}, "leads outside the device"},
        {{"sync", "-l", "LIB", "-d", "DEV", "-p", Folder / "fifo.m3u"}, "no regular file"},
        {{"sync", "-l", "LIB", "-d", "DEV", "-p", Folder / "picture.jpg"}, "no m3u"},
    };
    ASSERT_EQ(mkfifo((Folder / "fifo.m3u").c_str(), 0600), 0);
    Folder.Write("picture.jpg", CSampleMedia::MakeJPEG());
    fs::create_directory_symlink(Folder / "lib", Folder / "dev/out");
    for (Row row : kRows) {
        SCOPED_TRACE(testing::PrintToString(row.Arguments));
        EXPECT_EQ(Run(row.Arguments), 2);
        EXPECT_THAT(Out, IsEmpty());
        EXPECT_THAT(Err, HasSubstr(row.Error));
        row.Arguments.emplace_back("--json");
        EXPECT_EQ(Run(row.Arguments), 2);
        ASSERT_TRUE(Document().is_object()) << Out;
        EXPECT_EQ(Document().value("exitCode", 0), 2);
        EXPECT_EQ(Document().value("command", ""), row.Arguments[0]);
        EXPECT_THAT(Document().value("error", ""), HasSubstr(row.Error));
        EXPECT_THAT(Err, HasSubstr(row.Error));
    }
    EXPECT_EQ(Run({}), 2) << "no command at all";
    EXPECT_EQ(Run({"demo", "--json"}), 2) << "not understood there";
    EXPECT_EQ(Document().value("command", ""), "demo");
    EXPECT_THAT(Err, HasSubstr("--json"));
}

TEST_F(CommandLineTest, HelpsWithEachCommand) {
    for (const char* command : {"sync", "scan", "playlists", "delete", "space", "menu", "rebuild",
                                "register", "unregister", "demo"}) {
        EXPECT_EQ(Run({command, "--help"}), 0) << command;
        EXPECT_THAT(Out, HasSubstr("Exit codes")) << command;
    }
    EXPECT_EQ(Run({"--version"}), 0);
}

TEST_F(CommandLineTest, NamesAMissingDevice) {
    for (const char* command : {"scan", "playlists", "space", "menu", "rebuild"}) {
        EXPECT_EQ(Run({command, "--device", Folder / "none"}), 3) << command;
        EXPECT_THAT(Out, IsEmpty()) << command;
        EXPECT_THAT(Err, HasSubstr("No such file or directory")) << command;
        EXPECT_EQ(Run({command, "--device", Folder / "none", "--json"}), 3) << command;
        EXPECT_EQ(Document().value("exitCode", 0), 3) << command << Out;
    }
    for (const std::string& device : {Folder / "none", std::string("/proc")}) {
        EXPECT_EQ(Run({"sync", "-l", "LIB", "-d", device, "--json"}), 3) << device;
        EXPECT_EQ(Document().value("exitCode", 0), 3) << Out;
    }
}

TEST_F(CommandLineTest, PrintsOneJSONDocument) {
    Song("1.mp3", L"One\n\"quoted\"");
    Folder.Write("lib/raw\xFF.txt", "x");
    Folder.Write("lib/empty.mp3", "");
    Folder.Write("lib/list.m3u", "1.mp3\n");
    EXPECT_EQ(Run({"sync", "-l", "LIB", "-d", "DEV", "-p", Folder / "lib/list.m3u", "--json"}), 0)
        << Err;
    EXPECT_EQ(Document()["sent"].size(), 2U) << Out;
    EXPECT_EQ(Document()["skipped"][0].value("reason", ""), "empty");
    EXPECT_EQ(Run({"scan", "-d", "DEV", "--json"}), 0);
    EXPECT_EQ(Document()["files"].size(), 2U) << Out;
    EXPECT_EQ(Run({"playlists", "-d", "DEV", "--json"}), 0);
    EXPECT_EQ(Document()["playlists"], nlohmann::json({"list"})) << Out;
    EXPECT_EQ(Run({"playlists", "-d", "DEV", "list", "--json"}), 0);
    EXPECT_EQ(Document()["files"], nlohmann::json({"Music/Artist/Album/1.mp3"})) << Out;
    EXPECT_EQ(Run({"playlists", "-d", "DEV", "none", "--json"}), 1);
    EXPECT_EQ(Document().value("exitCode", 0), 1) << Out;
    EXPECT_EQ(Run({"space", "-d", "DEV", "--json"}), 0);
    EXPECT_GT(Document().value("total", int64_t{0}), 0) << Out;
    EXPECT_EQ(Run({"menu", "-d", "DEV", "--json"}), 0);
    EXPECT_EQ(Document()["entries"].size(), 2U) << Out;
    EXPECT_EQ(Run({"delete", "-d", "DEV", "Music", "nothing.mp3", "--json"}), 6);
    EXPECT_EQ(Document()["deleted"], nlohmann::json({"Music/Artist/Album/1.mp3"})) << Out;
    EXPECT_EQ(Run({"rebuild", "-d", "DEV", "--json"}), 0);
    EXPECT_TRUE(Document().is_object()) << Out;
    EXPECT_EQ(Run({"register", "--json"}), 0);
    EXPECT_TRUE(Document().is_object()) << Out;
}

TEST_F(CommandLineTest, KeepsDataAndMessagesApart) {
    Song("1.mp3", L"One\nTwo\tThree\x1B[31m");
    Song("2.mp3", L"Two");
    EXPECT_EQ(Run({"sync", "-l", "LIB", "-d", "DEV"}), 0);
    EXPECT_THAT(Out, HasSubstr("Sent            2"));
    EXPECT_EQ(Err, "The device may be removed.\n");
    EXPECT_EQ(Run({"sync", "-l", "LIB", "-d", "DEV", "--quiet"}), 0);
    EXPECT_THAT(Out, HasSubstr("Sent            0"));
    EXPECT_THAT(Err, IsEmpty());
    EXPECT_EQ(Run({"scan", "-d", "DEV"}), 0);
    EXPECT_EQ(std::count(Out.begin(), Out.end(), '\n'), 2) << "one record a line";
    EXPECT_EQ(Out.find('\x1B'), std::string::npos);
    EXPECT_THAT(Out, HasSubstr("Music/Artist/Album/2.mp3\tAudio\tArtist\tAlbum\tTwo\n"));
    EXPECT_EQ(Run({"space", "-d", "DEV"}), 0);
    EXPECT_THAT(Out, testing::MatchesRegex("total +[0-9]+  .*\navailable +[0-9]+  .*\n"));
}

TEST_F(CommandLineTest, AsksBeforeItRebuildsFromTheMenu) {
    Song("1.mp3", L"One");
    Folder.Write("lib/list.m3u", "1.mp3\n");
    Run({"sync", "-l", "LIB", "-d", "DEV", "-p", Folder / "lib/list.m3u"});
    EXPECT_EQ(Run({"menu", "-d", "DEV"}), 0);
    EXPECT_EQ(Out, "105\tExplore\n109\tRebuild Database\n");
    EXPECT_EQ(Run({"menu", "-d", "DEV", "--run", "109"}), 0);
    EXPECT_TRUE(Folder.Exists("dev/.Database.mpl")) << "nobody is there to say yes";
    EXPECT_EQ(Run({"menu", "-d", "DEV", "--run", "109", "--yes"}), 0);
    EXPECT_FALSE(Folder.Exists("dev/.Database.mpl"));
    EXPECT_EQ(Run({"rebuild", "-d", "DEV"}), 0);
    EXPECT_EQ(Out, "The database holds 1 files.\n");
    EXPECT_TRUE(Folder.Exists("dev/.Database.mpl"));
    EXPECT_EQ(Run({"menu", "-d", "DEV", "Music"}), 0);
    EXPECT_EQ(Out, "105\tExplore\n");
    EXPECT_EQ(Run({"menu", "-d", "DEV", "list", "--run", "103"}), 0);
    EXPECT_FALSE(Folder.Exists("dev/Playlists/list.m3u"));
}

TEST_F(CommandLineTest, ShowsWhereAPlaceOnTheDeviceIs) {
    fs::create_directory(Folder / "dev/Music");
    for (const std::string& place :
         {std::string("Music"), std::string("/Music/"), Folder / "dev/Music"}) {
        EXPECT_EQ(Run({"menu", "-d", "DEV", place, "--run", "105"}), 0) << place;
        EXPECT_EQ(Out, Folder / "dev/Music\n") << place;
    }
    EXPECT_EQ(Run({"menu", "-d", "DEV", "Music", "--run", "105", "--json"}), 0);
    EXPECT_EQ(Document().value("path", ""), Folder / "dev/Music") << Out;
}

TEST_F(CommandLineTest, TellsThatTheDatabaseCouldNotBeSaved) {
    fs::create_directory(Folder / "dev/.Database.mpl");
    for (const std::vector<std::string>& arguments :
         {std::vector<std::string>{"sync", "-l", "LIB", "-d", "DEV", "--json"},
          {"rebuild", "-d", "DEV", "--json"}}) {
        EXPECT_EQ(Run(arguments), 1) << arguments[0];
        EXPECT_EQ(Document().value("exitCode", 0), 1) << arguments[0] << Out;
        EXPECT_THAT(Err, HasSubstr(Folder / "dev/.Database.mpl")) << arguments[0];
        EXPECT_THAT(Err, testing::Not(HasSubstr("may be removed"))) << arguments[0];
    }
    // A device of 64 KB in a name space of its own, full to the last byte.
    const std::string setUp = "mount -t tmpfs -o size=64k none '" + Folder / "full" + "' && cd '"
                              + Folder / "full" + "' && mkdir Data && echo x > Data/a.bin && ";
    const auto runFull = [&](const std::string& command) {
        return Run({"-rm", "/bin/sh", "-c", setUp + command}, "/usr/bin/unshare");
    };
    fs::create_directory(Folder / "full");
    if (runFull("true") != 0) {
        GTEST_SKIP() << "no name space to mount a small device in: " << Err;
    }
    const std::string fill = "{ cat /dev/zero > fill 2>/dev/null; '" + kProgram + "' ";
    for (const std::string& command :
         {std::string("rebuild -d ."), "sync -d . -l '" + Folder / "lib'"}) {
        EXPECT_EQ(runFull(fill + command + "; }"), 4) << command << Err;
        EXPECT_THAT(Err, HasSubstr("/full/.Database.mpl")) << command;
        EXPECT_THAT(Err, HasSubstr("the device is full")) << command;
        EXPECT_THAT(Err, testing::Not(HasSubstr("may be removed"))) << command;
    }
}

TEST_F(CommandLineTest, DeletesByNameAndKeepsTheRestInTheDatabase) {
    Song("1.mp3", L"One");
    Song("2.mp3", L"Two");
    Folder.Write("victim.mp3", "x");
    Run({"sync", "-l", "LIB", "-d", "DEV"});
    EXPECT_EQ(Run({"delete", "-d", "DEV", "Music/Artist/Album/1.mp3"}), 0) << Err;
    EXPECT_EQ(Out, "Music/Artist/Album/1.mp3\n");
    EXPECT_THAT(Folder.Read("dev/.Database.mpl"), HasSubstr("2.mp3"));
    EXPECT_EQ(Run({"delete", "-d", "DEV", "../victim.mp3", Folder / "victim.mp3"}), 6);
    EXPECT_TRUE(Folder.Exists("victim.mp3"));
    EXPECT_EQ(Run({"delete", "-d", "DEV", ".Database.mpl"}), 6);
    EXPECT_THAT(Err, HasSubstr("the device's database"));
    EXPECT_TRUE(Folder.Exists("dev/.Database.mpl"));
    EXPECT_EQ(Run({"sync", "-l", "LIB", "-d", "DEV", "--json"}), 0);
    EXPECT_EQ(Document()["sent"].size(), 1U) << "what the user deleted is missing and comes again";
}

TEST_F(CommandLineTest, CancelsInGoodOrder) {
    Song("1.mp3", L"One");
    int code = 0;
    StartLongSync([&](ProgramRun& run) {
        run.Signal(SIGINT);
        code = run.Wait();
        Err = run.Errors();
    });
    EXPECT_EQ(code, 130) << Err;
    EXPECT_FALSE(Folder.Exists("dev/Data/big.bin")) << "the half-written file goes";
    EXPECT_TRUE(Folder.Exists("dev/.Database.mpl")) << "the database is saved";
    EXPECT_EQ(Run({"sync", "-l", "LIB", "-d", "DEV", "--json"}), 0);
    EXPECT_EQ(fs::file_size(Folder / "dev/Data/big.bin"), 300U << 20);
}

TEST_F(CommandLineTest, FinishesLaterWhatAKillCutShort) {
    Song("1.mp3", L"One");
    StartLongSync([](ProgramRun& run) {
        run.Signal(SIGKILL);
        EXPECT_EQ(run.Wait(), -SIGKILL);
    });
    ASSERT_TRUE(Folder.Exists("dev/Data/big.bin"));
    EXPECT_EQ(Run({"sync", "-l", "LIB", "-d", "DEV", "--json"}), 0) << Err;
    EXPECT_FALSE(Folder.Exists("dev/Data/big (1).bin"));
    EXPECT_EQ(fs::file_size(Folder / "dev/Data/big.bin"), 300U << 20);
    EXPECT_GE(Document()["sent"].size(), 1U);
    EXPECT_EQ(Run({"sync", "-l", "LIB", "-d", "DEV", "--json"}), 0);
    EXPECT_EQ(Document()["sent"].size(), 0U);
}

TEST_F(CommandLineTest, EndsPlainlyWithoutItsModules) {
    Song("1.mp3", L"One");
    fs::create_directories(Folder / "bin");
    fs::create_directories(Folder / "lib64");
    fs::copy_file(kProgram, Folder / "bin/tonehall");
    const std::string program = Folder / "bin/tonehall";
    EXPECT_EQ(Run({"sync", "-l", "LIB", "-d", "DEV"}, program), 1);
    EXPECT_THAT(Err, HasSubstr("libVnPortableDrives.so"));
    const std::string modules = TestEnvironment::GetModuleFolder();
    fs::copy_file(modules + "libVnPortableDrives.so", Folder / "bin/libVnPortableDrives.so");
    EXPECT_EQ(Run({"sync", "-l", "LIB", "-d", "DEV"}, program), 1);
    EXPECT_THAT(Err, HasSubstr("tools module"));
    for (const std::vector<std::string>& arguments :
         {std::vector<std::string>{"sync", "-l", "LIB", "-d", "DEV", "--json"},
          {"scan", "-d", "DEV", "--json"},
          {"register", "--json"}}) {
        EXPECT_EQ(Run(arguments, program), 1) << arguments[0];
        EXPECT_EQ(Document().value("exitCode", 0), 1) << "nothing but the document: " << Out;
        EXPECT_THAT(Err, HasSubstr("libVnTools.so")) << arguments[0];
    }
    fs::copy_file(modules + "libVnTools.so", Folder / "bin/libVnTools.so");
    EXPECT_EQ(Run({"sync", "-l", "LIB", "-d", "DEV"}, program), 1)
        << "without the reader no file can be sent";
    EXPECT_THAT(Err, HasSubstr("the reader module libVnReader.so"));
    EXPECT_EQ(Run({"scan", "-d", "DEV", "--json"}, program), 0) << "a scan needs no reader";
    EXPECT_TRUE(Document().is_object()) << Out;
    fs::copy_file(modules + "libVnReader.so", Folder / "bin/libVnReader.so");
    EXPECT_EQ(Run({"sync", "-l", "LIB", "-d", "DEV"}, program), 0) << Err;
}

TEST_F(CommandLineTest, RunsItsDemoTwice) {
    for (int round = 0; round < 2; ++round) {
        EXPECT_EQ(Run({"demo", Folder / "demo"}), 0) << Err;
        EXPECT_THAT(Out, HasSubstr(round == 0 ? "Sent           11" : "Kept           11"));
        EXPECT_THAT(Out, HasSubstr("01 さくら.flac"));
    }
}

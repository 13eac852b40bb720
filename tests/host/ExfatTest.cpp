#include "host/CSampleMedia.h"
#include "tests/support/ProgramRun.h"
#include "tests/support/TestEnvironment.h"

#include <gtest/gtest.h>

#include <nlohmann/json.hpp>
#include <unistd.h>

#include <filesystem>
#include <string>
#include <vector>

namespace {

namespace fs = std::filesystem;

const std::string kProgram = std::string(VN_BUILD_FOLDER) + "/bin/tonehall";

/// A real exFAT volume on a loop device, for as long as the object lives.
class ExfatVolume {
public:
    explicit ExfatVolume(const TestFolder& folder) : Mount(folder / "mnt") {
        fs::create_directory(Mount);
        const std::string image = folder.Write("image", "");
        if (truncate(image.c_str(), 64 << 20) != 0 || Run("/usr/sbin/mkfs.exfat", {image}) != 0) {
            Problem = "no mkfs.exfat";
        } else if (Run("/usr/sbin/losetup", {"-f", "--show", image}) != 0) {
            Problem = "no loop device";
        } else {
            Loop = Output.substr(0, Output.find('\n'));
            if (Run("/usr/sbin/mount.exfat-fuse", {Loop, Mount}) != 0) {
                Problem = "no mount of exFAT";
            } else {
                IsMounted = true;
            }
        }
    }
    ExfatVolume(const ExfatVolume&) = delete;
    ExfatVolume& operator=(const ExfatVolume&) = delete;
    ~ExfatVolume() {
        if (IsMounted) {
            Unmount();
        }
        if (!Loop.empty()) {
            Run("/usr/sbin/losetup", {"-d", Loop});
        }
    }

    void Unmount() { IsMounted = Run("/usr/bin/umount", {Mount}) != 0; }
    void Remount() { IsMounted = Run("/usr/sbin/mount.exfat-fuse", {Loop, Mount}) == 0; }

    std::string Mount;
    std::string Problem; ///< why there is no volume; empty when there is one

private:
    int Run(const std::string& program, const std::vector<std::string>& arguments) {
        ProgramRun run(program, arguments);
        const int code = run.Wait();
        Output = run.Output();
        return code;
    }

    std::string Loop;
    std::string Output;
    bool IsMounted = false;
};

nlohmann::json Sync(const TestFolder& folder,
                    const std::string& device,
                    const std::vector<std::string>& more = {}) {
    std::vector<std::string> arguments = {"sync", "-l", folder / "lib", "-d", device, "--json"};
    arguments.insert(arguments.end(), more.begin(), more.end());
    ProgramRun run(kProgram, arguments);
    run.Wait();
    nlohmann::json report = nlohmann::json::parse(run.Output(), nullptr, false);
    EXPECT_EQ(report.value("exitCode", -1), 0) << run.Output() << run.Errors();
    return report;
}

} // namespace

TEST(Exfat, SyncsAWholeLibrary) {
    const TestFolder folder;
    ExfatVolume volume(folder);
    if (!volume.Problem.empty()) {
        GTEST_SKIP() << "this machine mounts no exFAT volume: " << volume.Problem;
    }
    const std::wstring kArtists[] = {L"AC/DC", L"Été",       L"été",
                                     L"ÉTÉ",   L"CON",       L"a?b*c\"d",
                                     L"end. ", L"🌬 wind", std::wstring(400, L'語')};
    size_t count = 0;
    for (const std::wstring& artist : kArtists) {
        for (const char* title : {"Song", "SONG"}) {
            CSampleMedia::CTags tags;
            tags.Artist = artist;
            tags.Album = L"Album: " + artist;
            tags.Title = std::wstring(title, title + 4);
            const std::string path = folder.Write(
                "lib/" + std::to_string(count) + "/" + title + ".mp3", CSampleMedia::MakeMP3(5));
            ASSERT_TRUE(CSampleMedia::WriteTags(path, tags));
            ++count;
        }
    }
    EXPECT_EQ(Sync(folder, volume.Mount)["sent"].size(), count);
    EXPECT_EQ(Sync(folder, volume.Mount)["sent"].size(), 0U);
    volume.Unmount();
    volume.Remount();
    EXPECT_EQ(Sync(folder, volume.Mount)["sent"].size(), 0U) << "after the device was away";
    for (size_t index = 0; index < count / 2; ++index) {
        fs::remove_all(folder / ("lib/" + std::to_string(index)));
    }
    const nlohmann::json report = Sync(folder, volume.Mount, {"--delete"});
    EXPECT_EQ(report["deleted"].size(), count / 2);
    EXPECT_EQ(report["kept"], count - count / 2);
    size_t left = 0;
    for (const auto& entry : fs::recursive_directory_iterator(volume.Mount)) {
        left += entry.is_regular_file() && entry.path().extension() == ".mp3" ? 1 : 0;
    }
    EXPECT_EQ(left, count - count / 2);
}

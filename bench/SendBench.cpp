// Sending a library to a device on a tmpfs, against rsync and cp.

#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <vector>

#include "bench/BenchSupport.h"
#include "bench/BenchTrees.h"

namespace {

constexpr double kGoal = 0.6;
constexpr int64_t kManyFiles = 2000;
constexpr int64_t kManySize = 500'000;           ///< bytes
constexpr int64_t kLargeSize = int64_t{1} << 30; ///< bytes
constexpr int64_t kPage = 4096;                  ///< of a tmpfs

using Path = std::filesystem::path;

/// A library and the places that it is sent to. The index of the library is made once, by a sync
/// that only plans, and each run begins with a copy of it: what is timed is the start of the
/// program, the look at the library and the device, the plan and the sending.
class CSending {
public:
    CSending(const std::string& folder, int64_t count, int64_t size)
        : Folder(folder)
        , Library(Folder / "library") {
        MakeMp3Tree(Library.native(), count, size);
        const ProcessCost cost = Sync(Folder / "first home", {"--dry-run"});
        if (cost.ExitCode != 0) {
            Fail("the library cannot be indexed");
        }
        IndexingTime = cost.Wall;
    }
    ~CSending() { std::filesystem::remove_all(Folder); }
    CSending(const CSending&) = delete;
    CSending& operator=(const CSending&) = delete;

    /// Seconds that the sync took that read every file of the library for the first time.
    double GetIndexingTime() const { return IndexingTime; }

    ProcessCost Send() {
        const Path home = Folder / "home";
        std::filesystem::remove_all(home);
        std::filesystem::copy(Folder / "first home", home,
                              std::filesystem::copy_options::recursive);
        return Sync(home, {});
    }
    ProcessCost Rsync() {
        EmptyTarget();
        return RunTimed({"rsync", "-aW", Library.native() + "/", GetTarget() + "/"});
    }
    ProcessCost Copy() {
        EmptyTarget();
        return RunTimed({"cp", "-r", Library.native() + "/.", GetTarget()});
    }

    /// Ends the program unless the target holds every file of the library, byte for byte.
    void Check(const char* what, const ProcessCost& cost) const {
        if (cost.ExitCode != 0 || !HasSameFiles()) {
            Fail(std::string(what) + " has not copied the library, exit code "
                 + std::to_string(cost.ExitCode));
        }
    }

private:
    std::string GetTarget() const { return (Folder / "target").native(); }

    void EmptyTarget() const {
        std::filesystem::remove_all(GetTarget());
        std::filesystem::create_directories(GetTarget());
    }

    ProcessCost Sync(const Path& home, const std::vector<std::string>& more) const {
        EmptyTarget();
        std::filesystem::create_directories(home);
        std::vector<std::string> command = {
            GetProgram("tonehall"), "sync",     "--quiet",  "--library",
            Library.native(),       "--device", GetTarget()};
        command.insert(command.end(), more.begin(), more.end());
        return RunTimed(command, (Folder / "output").native(), {"HOME=" + home.native()});
    }

    static std::vector<Path> FindSongs(const Path& folder) {
        std::vector<Path> songs;
        for (const auto& entry : std::filesystem::recursive_directory_iterator(folder)) {
            if (entry.is_regular_file() && entry.path().extension() == ".mp3") {
                songs.push_back(entry.path());
            }
        }
        // The folders differ, the names do not.
        std::sort(songs.begin(), songs.end(), [](const Path& left, const Path& right) {
            return left.filename() < right.filename();
        });
        return songs;
    }

    static bool IsSame(const Path& left, const Path& right) {
        std::ifstream first(left, std::ios::binary);
        std::ifstream second(right, std::ios::binary);
        std::vector<char> one(1 << 20);
        std::vector<char> other(one.size());
        while (first && second) {
            first.read(one.data(), static_cast<std::streamsize>(one.size()));
            second.read(other.data(), static_cast<std::streamsize>(other.size()));
            if (first.gcount() != second.gcount()
                || !std::equal(one.begin(), one.begin() + first.gcount(), other.begin())) {
                return false;
            }
        }
        return first.eof() && second.eof();
    }

    bool HasSameFiles() const {
        const std::vector<Path> sources = FindSongs(Library);
        const std::vector<Path> targets = FindSongs(GetTarget());
        return sources.size() == targets.size()
               && std::equal(sources.begin(), sources.end(), targets.begin(), IsSame);
    }

    Path Folder;
    Path Library;
    double IndexingTime = 0;
};

void Measure(BenchTable& table, const std::string& work, int64_t count, int64_t size, int rounds) {
    const int64_t bytes = count * (size + kPage);
    const BenchFolder folder(2 * bytes + bytes / 4, /*needsTmpfs=*/true);
    if (folder.GetPath().empty()) {
        std::printf("%s: skipped, there is no tmpfs with room for it twice\n", work.c_str());
        return;
    }
    CSending sending(folder.GetPath() + "/send", count, size);
    sending.Check("tonehall sync", sending.Send());
    sending.Check("rsync", sending.Rsync());
    sending.Check("cp", sending.Copy());
    const std::vector<BenchSide> sides = {{"tonehall sync", [&] { return sending.Send(); }},
                                          {"rsync -aW", [&] { return sending.Rsync(); }},
                                          {"cp -r", [&] { return sending.Copy(); }}};
    const std::vector<BenchResult> results = Compare(sides, rounds);
    table.AddRatio(work, sides[0], results[0], sides[1], results[1], kGoal);
    table.AddRatio(work, sides[0], results[0], sides[2], results[2], 0);
    std::printf("%-34s %13.4f s, not part of the above\n", "  indexing the library",
                sending.GetIndexingTime());
}

} // namespace

int main(int argc, char** argv) {
    const auto rounds = static_cast<int>(GetArgument(argc, argv, "--rounds", 5));
    const int64_t count = GetArgument(argc, argv, "--files", kManyFiles);
    const int64_t large = GetArgument(argc, argv, "--large", kLargeSize);
    BenchTable table("Sending to a device on a tmpfs (median of " + std::to_string(rounds)
                     + " runs, library indexed ahead)");
    Measure(table, std::to_string(count) + " files of 500 kB", count, kManySize, rounds);
    if (large > 0) {
        Measure(table, "1 file of " + std::to_string(large >> 20) + " MiB", 1, large, rounds);
    }
    return table.GetExitCode();
}

// Scans of a device: one that the database knows against find, and a first one against a plain loop
// over the same files.

#include <cstdio>
#include <filesystem>

#include "bench/BenchSupport.h"
#include "bench/BenchTrees.h"

namespace {

constexpr double kKnownGoal = 3.0;
constexpr double kFirstGoal = 1.15;
constexpr double kMostMegabytes = 300;
constexpr int64_t kMegabyte = 1 << 20;
constexpr int64_t kSmallFile = 1000;    ///< bytes
constexpr int64_t kTaggedFile = 20'000; ///< bytes
constexpr int64_t kPage = 4096;         ///< of a tmpfs

/// A device in a folder of its own, with a home for the program.
class CScannedDevice {
public:
    CScannedDevice(std::string folder, int64_t count, int64_t size)
        : Folder(std::move(folder))
        , Count(count) {
        std::filesystem::create_directories(Folder + "/home");
        MakeMp3Tree(GetRoot() + "/Music", count, size);
    }
    ~CScannedDevice() { std::filesystem::remove_all(Folder); }
    CScannedDevice(const CScannedDevice&) = delete;
    CScannedDevice& operator=(const CScannedDevice&) = delete;

    std::string GetRoot() const { return Folder + "/device"; }

    ProcessCost Scan() const {
        return RunTimed({GetProgram("tonehall"), "scan", "--device", GetRoot()}, GetOutput(),
                        {"HOME=" + Folder + "/home"});
    }
    ProcessCost FirstScan() const {
        std::filesystem::remove(GetRoot() + "/.Database.mpl");
        return Scan();
    }
    ProcessCost Find() const {
        return RunTimed({"find", GetRoot() + "/Music", "-type", "f", "-size", "+0"}, GetOutput());
    }
    ProcessCost Loop() const {
        return RunTimed({GetProgram("TagLibLoop"), GetRoot() + "/Music"}, GetOutput());
    }

    /// Ends the program unless a run gives a line for each file.
    void Check(const char* what, const ProcessCost& cost) const {
        const int64_t lines = CountLines(GetOutput());
        if (cost.ExitCode != 0 || lines != Count) {
            Fail(std::string(what) + " gave " + std::to_string(lines) + " files of "
                 + std::to_string(Count) + ", exit code " + std::to_string(cost.ExitCode));
        }
    }

private:
    std::string GetOutput() const { return Folder + "/output"; }

    std::string Folder;
    int64_t Count;
};

std::string Title(const char* what, int64_t count) {
    return std::string(what) + ", " + std::to_string(count) + " files";
}

void MeasureKnown(BenchTable& table, const std::string& folder, int64_t count, int rounds) {
    const CScannedDevice device(folder + "/known", count, kSmallFile);
    device.Check("the first scan", device.FirstScan());
    if (!std::filesystem::exists(device.GetRoot() + "/.Database.mpl")) {
        Fail("the first scan has left no database");
    }
    device.Check("the scan", device.Scan());
    device.Check("find", device.Find());
    const std::vector<BenchSide> sides = {{"tonehall scan", [&] { return device.Scan(); }},
                                          {"find", [&] { return device.Find(); }}};
    const std::vector<BenchResult> results = Compare(sides, rounds);
    table.AddRatio(Title("scan, all known", count), sides[0], results[0], sides[1], results[1],
                   kKnownGoal);
    table.AddFigure(Title("peak memory", count),
                    static_cast<double>(results[0].PeakBytes) / kMegabyte, kMostMegabytes, "MB");
}

void MeasureFirst(BenchTable& table, const std::string& folder, int64_t count, int rounds) {
    const CScannedDevice device(folder + "/first", count, kTaggedFile);
    device.Check("the first scan", device.FirstScan());
    device.Check("the loop", device.Loop());
    const std::vector<BenchSide> sides = {{"tonehall scan", [&] { return device.FirstScan(); }},
                                          {"fts and TagLib", [&] { return device.Loop(); }}};
    const std::vector<BenchResult> results = Compare(sides, rounds);
    table.AddRatio(Title("first scan, tagged", count), sides[0], results[0], sides[1], results[1],
                   kFirstGoal);
}

} // namespace

int main(int argc, char** argv) {
    const auto rounds = static_cast<int>(GetArgument(argc, argv, "--rounds", 7));
    const int64_t largest = GetArgument(argc, argv, "--largest", 100'000);
    const int64_t tagged = GetArgument(argc, argv, "--tagged", 10'000);
    const BenchFolder folder(largest * 2 * kPage + tagged * kTaggedFile);
    if (folder.GetPath().empty()) {
        std::puts("scans: skipped, there is no room for the trees");
        return 0;
    }
    BenchTable table("Scans of a device (median of " + std::to_string(rounds) + " runs)");
    MeasureKnown(table, folder.GetPath(), largest / 10, rounds);
    MeasureKnown(table, folder.GetPath(), largest, rounds);
    MeasureFirst(table, folder.GetPath(), tagged, rounds);
    return table.GetExitCode();
}

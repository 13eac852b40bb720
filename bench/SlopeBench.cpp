// Cost per file of the drive's work on devices of growing size: it is to stay flat.

#include "host/CDevice.h"
#include "host/HostText.h"
#include "runtime/ILogManagerCustomOutput.h"
#include "runtime/IVnLogManager.h"
#include "runtime/IVnToolsRoot.h"
#include "runtime/VnSiblingModules.h"

#include <sys/wait.h>
#include <time.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <string_view>

#include "bench/BenchSupport.h"
#include "bench/BenchTrees.h"

namespace {

constexpr double kMostGrowth = 1.25;
constexpr int64_t kFileSize = 1000; ///< bytes
constexpr int64_t kPage = 4096;     ///< of a tmpfs
constexpr int64_t kEvery = 100;     ///< one file in so many vanishes

enum Phase : size_t {
    kScan,
    kRescan,
    kVanished,
    kSave,
    kPhaseCount
};
constexpr std::array kPhaseNames = {"first scan", "rescan", "vanished-record search", "save"};

/// Processor seconds of one round, by phase.
using Costs = std::array<double, kPhaseCount>;

double ProcessorSeconds() {
    timespec now = {};
    clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &now);
    return static_cast<double>(now.tv_sec) + static_cast<double>(now.tv_nsec) / 1e9;
}

/// Stops the times of the drive's stages by the lines that it logs.
class CStageClock final : public ILogManagerCustomOutput {
public:
    CStageClock() { GetLog().AddCustomOutput(this); }
    CStageClock(const CStageClock&) = delete;
    CStageClock& operator=(const CStageClock&) = delete;
    ~CStageClock() override { GetLog().RemoveCustomOutput(this); }

    void Output(uint32_t, const wchar_t* text, int32_t length) override {
        const std::wstring_view line(text, static_cast<size_t>(length));
        if (line.find(L"Looking for files in the database") != std::wstring_view::npos) {
            SearchStart = ProcessorSeconds();
        } else if (line.find(L"saving the new database") != std::wstring_view::npos) {
            SaveStart = ProcessorSeconds();
        } else if (line.find(L"SaveDatabase: Finish") != std::wstring_view::npos) {
            SaveEnd = ProcessorSeconds();
        }
    }

    double SearchStart = 0;
    double SaveStart = 0;
    double SaveEnd = 0;

private:
    static IVnLogManager& GetLog() {
        IVnToolsRoot* tools = VnGetToolsRoot();
        IVnLogManager* log = tools == nullptr ? nullptr : tools->GetLogManager(1);
        if (log == nullptr) {
            Fail("there is no log");
        }
        return *log;
    }
};

/// Lists the device at `root` once, and ends the program unless that gives `expected` files. The
/// time is that of the drive alone, without the start of the program.
Costs ListDevice(const std::string& root, int64_t expected) {
    const CDeviceProperties properties(HostWiden(root), L"Bench");
    CPlugin plugin;
    std::string error;
    if (!plugin.Load(error)) {
        Fail(error);
    }
    CDevice device(plugin, properties);
    if (!device.Initialize()) {
        Fail("the drive did not start");
    }
    const CStageClock clock;
    int64_t count = 0;
    const double start = ProcessorSeconds();
    device.GetFiles({}, [&](const CMediaFields&) { ++count; });
    const double whole = ProcessorSeconds() - start;
    if (count != expected) {
        Fail("a scan gave " + std::to_string(count) + " files of " + std::to_string(expected));
    }
    Costs costs{};
    costs[kSave] = clock.SaveEnd - clock.SaveStart;
    costs[kScan] = whole - costs[kSave];
    costs[kRescan] = whole - costs[kSave];
    costs[kVanished] = clock.SearchStart == 0 ? 0 : clock.SaveStart - clock.SearchStart;
    return costs;
}

/// ListDevice in a process of its own, so that each begins with empty memory.
Costs ListApart(const std::string& root, int64_t expected) {
    std::array<int, 2> ends{};
    if (pipe(ends.data()) != 0) {
        Fail("no pipe");
    }
    const pid_t child = fork();
    if (child == 0) {
        const Costs costs = ListDevice(root, expected);
        const bool written = write(ends[1], costs.data(), sizeof(costs)) == sizeof(costs);
        _exit(written ? 0 : 1);
    }
    close(ends[1]);
    Costs costs{};
    const bool received = read(ends[0], costs.data(), sizeof(costs)) == sizeof(costs);
    close(ends[0]);
    int status = 0;
    if (child < 0 || waitpid(child, &status, 0) != child || status != 0 || !received) {
        Fail("a scan has failed");
    }
    return costs;
}

/// A device of tagged files, of which one in a hundred can be hidden from the drive.
class CGrowingDevice {
public:
    CGrowingDevice(std::string folder, int64_t count) : Root(std::move(folder)), Count(count) {
        MakeMp3Tree(Root + "/Music", count, kFileSize);
        int64_t number = 0;
        for (const auto& entry : std::filesystem::recursive_directory_iterator(Root)) {
            if (entry.is_regular_file() && number++ % kEvery == 0) {
                Vanishing.push_back(entry.path());
            }
        }
    }

    int64_t GetCount() const { return Count; }

    /// One round of all phases; the device is then as it was.
    Costs Measure() const {
        std::filesystem::remove(Root + "/.Database.mpl");
        const Costs first = ListApart(Root, Count);
        const Costs second = ListApart(Root, Count);
        Hide(true);
        const Costs third = ListApart(Root, Count - static_cast<int64_t>(Vanishing.size()));
        Hide(false);
        return {first[kScan], second[kRescan], third[kVanished], first[kSave]};
    }

private:
    void Hide(bool hide) const {
        for (const std::filesystem::path& path : Vanishing) {
            const std::filesystem::path hidden =
                path.parent_path() / ("." + path.filename().native());
            std::filesystem::rename(hide ? path : hidden, hide ? hidden : path);
        }
    }

    std::string Root;
    int64_t Count;
    std::vector<std::filesystem::path> Vanishing;
};

double Median(std::vector<double> values) {
    std::sort(values.begin(), values.end());
    return values[values.size() / 2];
}

/// Prints the microseconds a file at each size, and checks the growth from the cheapest on.
void Report(BenchTable& table,
            const std::vector<CGrowingDevice>& devices,
            const std::vector<std::vector<Costs>>& rounds) {
    for (size_t phase = 0; phase < kPhaseCount; ++phase) {
        std::string text = "  microseconds a file:";
        double least = 0;
        double growth = 0;
        for (size_t size = 0; size < devices.size(); ++size) {
            std::vector<double> values;
            for (const Costs& costs : rounds[size]) {
                values.push_back(costs.at(phase) * 1e6
                                 / static_cast<double>(devices[size].GetCount()));
            }
            const double cost = Median(std::move(values));
            least = size == 0 ? cost : std::min(least, cost);
            growth = std::max(growth, cost / least);
            std::array<char, 64> cell{};
            std::snprintf(cell.data(), cell.size(), "  %.3f at %lld", cost,
                          static_cast<long long>(devices[size].GetCount()));
            text += cell.data();
        }
        std::puts(text.c_str());
        table.AddFigure(kPhaseNames.at(phase), growth, kMostGrowth, "times the cheapest before");
    }
}

} // namespace

int main(int argc, char** argv) {
    const auto wanted = static_cast<size_t>(GetArgument(argc, argv, "--rounds", 5));
    const int64_t largest = GetArgument(argc, argv, "--largest", 100'000);
    const BenchFolder folder(largest * 3 * kPage);
    if (folder.GetPath().empty()) {
        std::puts("cost per file: skipped, there is no room for the trees");
        return 0;
    }
    const std::string home = folder.GetPath() + "/home";
    std::filesystem::create_directories(home);
    setenv("HOME", home.c_str(), 1);
    std::vector<CGrowingDevice> devices;
    for (const int64_t count : {largest / 100, largest / 10, largest}) {
        devices.emplace_back(folder.GetPath() + "/" + std::to_string(count), count);
    }
    std::vector<std::vector<Costs>> rounds(devices.size());
    for (size_t round = 0; round <= wanted; ++round) {
        for (size_t size = 0; size < devices.size(); ++size) {
            const Costs costs = devices[size].Measure();
            if (round > 0) {
                rounds[size].push_back(costs);
            }
        }
    }
    BenchTable table("Processor time per file as a device grows (median of "
                     + std::to_string(wanted) + " runs)");
    Report(table, devices, rounds);
    return table.GetExitCode();
}

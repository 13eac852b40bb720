#include "bench/BenchSupport.h"

#include <linux/magic.h>
#include <stdlib.h>
#include <sys/statfs.h>

#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <system_error>

namespace {

constexpr const char* kMemoryFolder = "/dev/shm";

bool HasRoom(const std::string& folder, int64_t wanted, bool mustBeTmpfs) {
    struct statfs volume = {};
    return statfs(folder.c_str(), &volume) == 0 && (!mustBeTmpfs || volume.f_type == TMPFS_MAGIC)
           && static_cast<int64_t>(volume.f_bavail) * volume.f_bsize > wanted;
}

} // namespace

double Median(std::vector<double> values) {
    std::sort(values.begin(), values.end());
    const size_t middle = values.size() / 2;
    return values.size() % 2 == 1 ? values[middle] : (values[middle - 1] + values[middle]) / 2;
}

void Fail(const std::string& text) {
    std::fprintf(stderr, "%s\n", text.c_str());
    std::exit(2);
}

BenchFolder::BenchFolder(int64_t wanted, bool needsTmpfs) {
    std::string place;
    if (HasRoom(kMemoryFolder, wanted, true)) {
        place = kMemoryFolder;
    } else if (!needsTmpfs) {
        place = std::filesystem::temp_directory_path().native();
        place = HasRoom(place, wanted, false) ? place : "";
    }
    if (!place.empty()) {
        Path = place + "/bench-XXXXXX";
        if (mkdtemp(Path.data()) == nullptr) {
            Path.clear();
        }
    }
}

BenchFolder::~BenchFolder() {
    std::error_code failure;
    if (!Path.empty()) {
        std::filesystem::remove_all(Path, failure);
    }
}

std::string GetProgram(const std::string& name) {
    return (std::filesystem::read_symlink("/proc/self/exe").parent_path() / name).native();
}

int64_t CountLines(const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    return std::count(std::istreambuf_iterator<char>(file), {}, '\n');
}

std::vector<BenchResult> Compare(const std::vector<BenchSide>& sides, int rounds) {
    std::vector<std::vector<ProcessCost>> costs(sides.size());
    for (int round = 0; round <= rounds; ++round) {
        for (size_t side = 0; side < sides.size(); ++side) {
            const ProcessCost cost = sides[side].Run();
            if (cost.ExitCode != 0) {
                Fail(sides[side].Name + " ended with " + std::to_string(cost.ExitCode));
            }
            if (round > 0) {
                costs[side].push_back(cost);
            }
        }
    }
    std::vector<BenchResult> results;
    for (const std::vector<ProcessCost>& runs : costs) {
        std::vector<double> wall;
        std::vector<double> processor;
        BenchResult result;
        for (const ProcessCost& run : runs) {
            wall.push_back(run.Wall);
            processor.push_back(run.CPU);
            result.PeakBytes = std::max(result.PeakBytes, run.PeakBytes);
        }
        result.Wall = Median(std::move(wall));
        result.CPU = Median(std::move(processor));
        results.push_back(result);
    }
    return results;
}

BenchTable::BenchTable(const std::string& title) {
    std::printf("%s\n%-34s %22s %22s %7s %7s %6s\n", title.c_str(), "work", "wall / cpu s",
                "peer wall / cpu s", "ratio", "by cpu", "goal");
}

void BenchTable::AddRatio(const std::string& work,
                          const BenchSide& side,
                          const BenchResult& result,
                          const BenchSide& peerSide,
                          const BenchResult& peer,
                          double goal) {
    const double ratio = result.Wall / peer.Wall;
    const bool missed = goal > 0 && ratio > goal;
    Missed = Missed || missed;
    std::printf("%-34s %13.4f / %6.3f %13.4f / %6.3f %7.2f %7.2f ", work.c_str(), result.Wall,
                result.CPU, peer.Wall, peer.CPU, ratio, result.CPU / peer.CPU);
    if (goal > 0) {
        std::printf("%6.2f %s", goal, missed ? "missed" : "ok");
    } else {
        std::printf("%6s -", "");
    }
    std::printf("  (%s : %s)\n", side.Name.c_str(), peerSide.Name.c_str());
    std::fflush(stdout);
}

void BenchTable::AddFigure(const std::string& work,
                           double figure,
                           double limit,
                           const std::string& unit) {
    const bool missed = figure > limit;
    Missed = Missed || missed;
    std::printf("%-34s %.2f %s, at most %.2f: %s\n", work.c_str(), figure, unit.c_str(), limit,
                missed ? "missed" : "ok");
    std::fflush(stdout);
}

int64_t GetArgument(int count, char** arguments, const std::string& name, int64_t standard) {
    for (int index = 1; index + 1 < count; ++index) {
        if (name == arguments[index]) {
            return std::strtoll(arguments[index + 1], nullptr, 10);
        }
    }
    return standard;
}

#include "bench/BenchPairTable.h"

#include <malloc.h>
#include <time.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <limits>

#include "bench/BenchSupport.h"

namespace {

/// A sample shorter than this says more about the clock than about the code.
constexpr double kShortestSample = 0.01;

double GetProcessorTime() {
    timespec now{};
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &now);
    return static_cast<double>(now.tv_sec) + static_cast<double>(now.tv_nsec) * 1e-9;
}

/// Small blocks that one side has freed wait in the C library for the next larger allocation to
/// merge them. This makes one, so that it is not the other side that pays.
void SettleHeap() {
    constexpr size_t kLargeBlock = 0x10000;
    void* volatile block = std::malloc(kLargeBlock);
    std::free(block);
}

/// Seconds of one run, out of `repeats`.
double Sample(const BenchPairTable::Work& run,
              int64_t expected,
              int64_t repeats,
              const std::string& what) {
    SettleHeap();
    const double start = GetProcessorTime();
    for (int64_t repeat = 0; repeat < repeats; ++repeat) {
        const int64_t result = run();
        if (result != expected) {
            Fail(what + ": the result is " + std::to_string(result) + " and not "
                 + std::to_string(expected));
        }
    }
    return (GetProcessorTime() - start) / static_cast<double>(repeats);
}

int64_t GetRepeats(double seconds) {
    return std::max<int64_t>(1, static_cast<int64_t>(kShortestSample / std::max(seconds, 1e-9)));
}

} // namespace

void Require(bool holds, const std::string& what) {
    if (!holds) {
        Fail(what);
    }
}

BenchPairTable::BenchPairTable(const std::string& title, int64_t rounds)
    : Rounds(std::max<int64_t>(rounds, 1)) {
    // Freed memory stays with the process: which side happens to fault its pages in anew is chance.
    mallopt(M_MMAP_THRESHOLD, std::numeric_limits<int>::max());
    mallopt(M_TRIM_THRESHOLD, std::numeric_limits<int>::max());
    std::printf("%s\n%-40s %10s %10s %7s %6s\n", title.c_str(), "work", "ms", "peer ms", "ratio",
                "goal");
}

void BenchPairTable::PrintVerdict(bool missed) {
    Missed = Missed || missed;
    std::printf(" %-6s", missed ? "MISSED" : "ok");
}

void BenchPairTable::Compare(const std::string& work,
                             int64_t expected,
                             const Work& ours,
                             const std::vector<Peer>& peers) {
    // The first runs warm the caches and say how often a sample has to repeat the code.
    const int64_t repeats = GetRepeats(Sample(ours, expected, 1, work));
    for (const Peer& peer : peers) {
        Sample(peer.Run, expected, 1, work + " by " + peer.Name);
    }
    std::vector<double> times;
    std::vector<std::vector<double>> peerTimes(peers.size());
    std::vector<std::vector<double>> ratios(peers.size());
    for (int64_t round = 0; round < Rounds; ++round) {
        times.push_back(Sample(ours, expected, repeats, work));
        for (size_t index = 0; index < peers.size(); ++index) {
            const Peer& peer = peers[index];
            peerTimes[index].push_back(
                Sample(peer.Run, expected, repeats, work + " by " + peer.Name));
            ratios[index].push_back(times.back() / peerTimes[index].back());
        }
    }
    for (size_t index = 0; index < peers.size(); ++index) {
        const double ratio = Median(ratios[index]);
        const double goal = peers[index].Goal;
        std::printf("%-40s %10.4f %10.4f %7.2f ", work.c_str(), Median(times) * 1e3,
                    Median(peerTimes[index]) * 1e3, ratio);
        if (goal > 0) {
            std::printf("%6.2f", goal);
            PrintVerdict(ratio > goal);
        } else {
            std::printf("%6s %-6s", "", "-");
        }
        std::printf(" %s\n", peers[index].Name.c_str());
    }
    std::fflush(stdout);
}

void BenchPairTable::CompareGrowth(const std::string& work,
                                   const std::vector<int64_t>& sizes,
                                   const std::function<int64_t(int64_t size)>& run,
                                   const std::function<int64_t(int64_t size)>& peer,
                                   double goal) {
    const auto measure = [&](const std::function<int64_t(int64_t size)>& side,
                             const std::string& name) {
        std::vector<std::vector<double>> samples(sizes.size());
        std::vector<int64_t> repeats;
        for (const int64_t size : sizes) {
            repeats.push_back(GetRepeats(Sample([&] { return side(size); }, size, 1, name)));
        }
        for (int64_t round = 0; round < Rounds; ++round) {
            for (size_t index = 0; index < sizes.size(); ++index) {
                const int64_t size = sizes[index];
                samples[index].push_back(
                    Sample([&] { return side(size); }, size, repeats[index], name)
                    / static_cast<double>(size));
            }
        }
        std::printf("%-24s", name.c_str());
        double cheapest = 0;
        double last = 0;
        for (std::vector<double>& times : samples) {
            last = Median(std::move(times));
            cheapest = cheapest > 0 ? std::min(cheapest, last) : last;
            std::printf(" %8.1f", last * 1e9);
        }
        const double growth = last / cheapest;
        std::printf(" %7.2f", growth);
        return growth;
    };
    double limit = goal;
    if (peer) {
        limit = std::max(goal, goal * measure(peer, work + ", peer"));
        std::printf("\n");
    }
    const double growth = measure(run, work);
    std::printf(" %6.2f", limit);
    PrintVerdict(growth > limit);
    std::printf("\n");
    std::fflush(stdout);
}

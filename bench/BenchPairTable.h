#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

/// Table of a benchmark that times pieces of code inside its own program, product and peers in
/// turn.
///
/// Times are processor time of this thread, so that other work on the machine only shows as what it
/// does to the caches. A sample repeats the code until it is long enough for the clock. Every run
/// has to give the result that the line expects; another one ends the program without a figure.
class BenchPairTable {
public:
    /// Code that does the work once and gives a number by which its result is checked.
    using Work = std::function<int64_t()>;

    /// Somebody else's way to do the same.
    struct Peer {
        std::string Name;
        Work Run;
        double Goal; ///< the most that the product may take, as a multiple of this; 0 for none
    };

    /// Goals for a work that has to be as fast as its peer, with the room that the medians need,
    /// and for one that has to be faster.
    static constexpr double kLevel = 1.05;
    static constexpr double kAhead = 1.0;

    /// `rounds` samples are taken of each side of a line.
    BenchPairTable(const std::string& title, int64_t rounds);

    /// Times `ours` and all peers in turn and prints a line for each peer. The ratio is the median
    /// of the ratios of the rounds. `expected` is what every run must give.
    void Compare(const std::string& work,
                 int64_t expected,
                 const Work& ours,
                 const std::vector<Peer>& peers);

    /// Times `run` for the sizes in turn, and prints the time per element at each and the last as a
    /// multiple of the cheapest. That factor may be `goal`, or, with a peer, as much as the peer's
    /// own growth times `goal`, if that is more: what a growing set of data costs in cache misses
    /// shows there. A run gives `size` as its result.
    void CompareGrowth(const std::string& work,
                       const std::vector<int64_t>& sizes,
                       const std::function<int64_t(int64_t size)>& run,
                       const std::function<int64_t(int64_t size)>& peer,
                       double goal);

    /// 0 when every goal was met, 1 otherwise: the program's exit code.
    int GetExitCode() const { return Missed ? 1 : 0; }

private:
    void PrintVerdict(bool missed);

    int64_t Rounds;
    bool Missed = false;
};

/// Ends the program unless `holds`: a result that is not what it should be has no time.
void Require(bool holds, const std::string& what);

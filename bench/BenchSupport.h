#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

#include "bench/ProcessTimer.h"

/// Ends the program with a line on standard error: a benchmark whose ground is not as it should be
/// gives no figures at all.
[[noreturn]] void Fail(const std::string& text);

/// The middle of the values, of which there must be one.
double Median(std::vector<double> values);

/// Folder for the trees of a run, made anew and removed with all its contents at the end.
class BenchFolder {
public:
    /// Below /dev/shm when that is a tmpfs with `wanted` free bytes; otherwise, unless
    /// `needsTmpfs`, below the folder for temporary files (TMPDIR). GetPath is empty when there is
    /// no room.
    explicit BenchFolder(int64_t wanted, bool needsTmpfs = false);
    ~BenchFolder();
    BenchFolder(const BenchFolder&) = delete;
    BenchFolder& operator=(const BenchFolder&) = delete;

    const std::string& GetPath() const { return Path; }

private:
    std::string Path;
};

/// A program of this build, by its name; its folder is that of this program.
std::string GetProgram(const std::string& name);

/// Lines of a file.
int64_t CountLines(const std::string& path);

/// One side of a comparison.
struct BenchSide {
    std::string Name;                 ///< as the table shows it
    std::function<ProcessCost()> Run; ///< one run, with what has to be prepared for it
};

/// The middle of several runs of one side.
struct BenchResult {
    double Wall = 0;       ///< seconds
    double CPU = 0;        ///< seconds
    int64_t PeakBytes = 0; ///< the largest of all runs
};

/// Runs the sides in turn, `rounds` times, behind one round that only warms the caches; a run that
/// fails ends the program.
std::vector<BenchResult> Compare(const std::vector<BenchSide>& sides, int rounds);

/// The table that a benchmark prints, line by line as it grows.
class BenchTable {
public:
    explicit BenchTable(const std::string& title);

    /// A comparison: times of both sides, their ratio by wall time and by processor time, and
    /// whether the ratio by wall time is within the goal. A goal of 0 is none: the line only
    /// informs.
    void AddRatio(const std::string& work,
                  const BenchSide& side,
                  const BenchResult& result,
                  const BenchSide& peerSide,
                  const BenchResult& peer,
                  double goal);
    /// A figure against its limit, in a unit.
    void AddFigure(const std::string& work, double figure, double limit, const std::string& unit);

    /// 0 when every goal was met, 1 otherwise: the program's exit code.
    int GetExitCode() const { return Missed ? 1 : 0; }

private:
    bool Missed = false;
};

/// The number behind an argument such as "--rounds 5"; `standard` when it is not there.
int64_t GetArgument(int count, char** arguments, const std::string& name, int64_t standard);

#pragma once

#include <chrono>
#include <cstdint>
#include <string>
#include <string_view>

/// Exit codes of the program.
enum ExitCode : int {
    kExitDone = 0,
    kExitFailure = 1,
    kExitUsage = 2,
    kExitNoDevice = 3,   ///< the device is missing or not writable
    kExitNoSpace = 4,    ///< not enough space on the device
    kExitSomeFailed = 6, ///< finished, but some files failed
    kExitCancelled = 130,
};

/// Where the program speaks: results go to standard output, messages and progress to standard
/// error. Colour is used on a terminal only, and never with NO_COLOR in the environment.
class CConsole {
public:
    /// Keeps standard output for Write alone, in all objects: descriptor 1 leads to standard error
    /// from here on, so that nothing a library prints gets among the data. To be called once, at
    /// the start of the program, before anything is printed.
    static void ClaimOutput();

    CConsole(bool quiet, bool json);
    ~CConsole();
    CConsole(const CConsole&) = delete;
    CConsole& operator=(const CConsole&) = delete;

    bool IsQuiet() const { return Quiet; }
    bool IsJSON() const { return JSON; }

    /// A line for the user, left out with --quiet.
    void Message(const std::string& text);
    /// A line that tells of a failure or of something passed over; never left out.
    void Error(const std::string& text);
    /// Data for standard output, as it stands.
    void Write(std::string_view data);

    /// Shows the state of a transfer on one line that is drawn over and over: which file of how
    /// many, bytes done of all, the rate, and the time that is left. Nothing off a terminal or with
    /// --quiet.
    void
    ShowTransfer(const std::string& name, size_t file, size_t files, int64_t done, int64_t all);
    /// Shows how far a search has come.
    void ShowSearch(const char* what, size_t done);
    /// Takes the line away.
    void ClearProgress();

    /// Flushes standard output. False, told on standard error, when something written to it was
    /// lost; a reader that went away early is not worth telling.
    bool Finish();

private:
    using Clock = std::chrono::steady_clock;

    bool MayShow();
    void Draw(const std::string& line);

    bool Quiet;
    bool JSON;
    bool HasProgress; ///< standard error is a terminal, and progress is wanted
    bool HasColour;
    bool IsDrawn = false;
    int WriteError = 0; ///< of standard output
    Clock::time_point LastDrawn{};
    Clock::time_point TransferStart{};
};

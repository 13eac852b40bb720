#pragma once

#include <cstdint>
#include <string>
#include <vector>

/// What one run of a command took.
struct ProcessCost {
    double Wall = 0; ///< seconds from its start to its end
    double CPU = 0; ///< seconds of processor time, of the user and of the system, with its children
    int64_t PeakBytes = 0; ///< largest resident set of the command or of one of its children
    int ExitCode = -1;     ///< 128 and the signal when one ended it, -1 when it did not start
};

/// Runs a command as a process of its own and waits for its end.
///
/// The peak of memory is the kernel's figure for the process, which is never below the size of the
/// program that starts it: a program that measures memory stays small itself.
///
/// @param command      The program, looked up in PATH when it has no slash, and its arguments.
/// @param output       File that standard output goes to; made anew. Standard error stays as it is.
/// @param environment  NAME=VALUE texts that take the place of those in this process's environment.
ProcessCost RunTimed(const std::vector<std::string>& command,
                     const std::string& output = "/dev/null",
                     const std::vector<std::string>& environment = {});

#pragma once

#include <sys/types.h>

#include <string>
#include <vector>

/// One run of a program, with its two outputs caught.
class ProgramRun {
public:
    /// Starts `program` with these arguments; standard input is empty.
    explicit ProgramRun(const std::string& program, const std::vector<std::string>& arguments);
    ProgramRun(const ProgramRun&) = delete;
    ProgramRun& operator=(const ProgramRun&) = delete;
    ~ProgramRun();

    void Signal(int number) const;

    /// Waits for the end. The exit code, or minus the number of the signal that ended it.
    int Wait();

    /// What was written, once Wait has returned.
    const std::string& Output() const { return Out; }
    const std::string& Errors() const { return Err; }

private:
    std::string OutFile;
    std::string ErrFile;
    std::string Out;
    std::string Err;
    pid_t Process = -1;
    int Code = 0;
};

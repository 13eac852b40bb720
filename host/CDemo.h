#pragma once

#include "host/CConsole.h"

#include <string>

/// Shows the program at work without a device or a library of one's own: makes a small library,
/// syncs it to a folder that stands for the device, syncs again, and prints what is on the device.
class CDemo {
public:
    explicit CDemo(CConsole& console) : Console(console) {}

    /// Works below `folder` ("library" and "device" in it), or below the host's data folder when it
    /// is empty. What is there from an earlier run stays, so that a second run has nothing to send.
    ExitCode Run(const std::string& folder);

    /// Makes the sample library alone; files that are there stay as they are. False, told on
    /// standard error, when that fails.
    bool MakeLibrary(const std::string& folder);

private:
    void PrintTree(const std::string& folder);

    CConsole& Console;
};

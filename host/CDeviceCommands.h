#pragma once

#include "host/CConsole.h"
#include "host/CSession.h"

#include <optional>
#include <string>
#include <vector>

/// The commands on a device beside the sync. Each gives the exit code; data goes to standard
/// output, as one record a line or, with --json, as one document, which a failure gets too.
class CDeviceCommands {
public:
    CDeviceCommands(CConsole& console, std::string device, std::vector<std::string> settings);

    /// Every file on the device: path, media type, artist, album and name, separated by tabs.
    ExitCode Scan();

    /// The names of the playlists; with a name, the paths of that one's files.
    ExitCode ListPlaylists(const std::string& name);

    /// Deletes files, and all files below folders, by their paths on the device.
    ExitCode Delete(const std::vector<std::string>& paths);

    ExitCode ShowSpace();

    /// Lists the menu of a location, or runs one entry of it. Without `yes` a question is asked on
    /// the terminal; with no terminal the answer is no.
    ExitCode HandleMenu(const std::string& location, std::optional<int> entry, bool yes);

    /// Deletes the device's database and makes it anew from the files.
    ExitCode Rebuild();

    /// Writes the plug-in's values into the settings tree, or takes them away. These need no
    /// device.
    static ExitCode Register(CConsole& console, bool remove);

private:
    ExitCode Open(const char* command, bool mustBeWritable);
    ExitCode Fail(ExitCode code, const std::string& text);
    ExitCode Finish(ExitCode code);
    /// Runs entry `id` of a location's menu with the question's answer settled. False when the menu
    /// has no such entry.
    bool RunEntry(const std::wstring& location, int id, bool yes);

    CConsole& Console;
    std::string Path;
    std::vector<std::string> Settings;
    CSession Session;
    std::string Command;
};

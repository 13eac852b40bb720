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

    /// With --json, the document of a command that came to nothing; otherwise nothing.
    static void WriteFailure(CConsole& console,
                             const std::string& command,
                             const std::string& text,
                             ExitCode code);

private:
    ExitCode Open(const char* command, bool mustBeWritable);
    ExitCode Fail(ExitCode code, const std::string& text);
    ExitCode Finish(ExitCode code);
    /// Whether the menu of a location has the entry `id`.
    bool HasEntry(const std::wstring& location, int id);
    /// Runs an entry with the question's answer settled.
    void RunEntry(const std::wstring& location, int id, bool yes);
    /// Runs an entry of the user's choice and tells what came of it.
    ExitCode RunChosen(const std::wstring& location, int id, bool yes);
    /// What stands against deleting a path that is no folder; null when nothing does.
    const char* FindObjection(const std::string& target) const;

    CConsole& Console;
    std::string Path;
    std::vector<std::string> Settings;
    CSession Session;
    std::string Command;
};

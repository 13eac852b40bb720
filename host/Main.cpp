#include "host/CConsole.h"
#include "host/CDemo.h"
#include "host/CDeviceCommands.h"
#include "host/CInterrupt.h"
#include "host/CPlaylistReader.h"
#include "host/CSync.h"
#include "host/HostText.h"

#include <CLI/CLI.hpp>

#include <algorithm>
#include <exception>
#include <functional>
#include <iostream>
#include <optional>
#include <sstream>
#include <string>
#include <vector>

namespace {

constexpr const char* kFooter =
    "Exit codes: 0 all done, 2 wrong usage, 3 device missing or not writable, 4 not enough space,\n"
    "6 finished with some files failed, 130 cancelled, 1 anything else.";

/// What the command line can say; each command looks at its own part.
struct CArguments {
    bool Quiet = false;
    bool JSON = false;
    CSyncOptions Sync;
    std::string Device;
    std::vector<std::string> Settings;
    std::string DeleteWhat;
    std::string Playlist;
    std::vector<std::string> Paths;
    std::string Location;
    std::optional<int> Entry;
    bool Yes = false;
    std::string Folder;
    bool LibraryOnly = false;
};

using CCommand = std::function<ExitCode(CConsole&)>;

class CCommandLine {
public:
    CCommandLine() : App("Keeps portable devices in step with a media library.", "tonehall") {
        App.require_subcommand(1);
        App.footer(kFooter);
        App.set_version_flag("--version", "tonehall 12.0.1");
        AddSync();
        AddReading();
        AddChanging();
        AddOthers();
    }

    int Run(int count, char** arguments) {
        try {
            App.parse(count, arguments);
        } catch (const CLI::ParseError& error) {
            return Explain(error, {arguments + 1, arguments + count});
        }
        CConsole console(Arguments.Quiet, Arguments.JSON);
        const ExitCode code = Chosen(console);
        return End(console, code);
    }

private:
    static int End(CConsole& console, ExitCode code) {
        return !console.Finish() && code == kExitDone ? kExitFailure : code;
    }

    /// Prints the help or version that was asked for, or what is wrong with the command line. What
    /// the options say is not settled then, so --json is looked for in the words themselves.
    int Explain(const CLI::ParseError& error, const std::vector<std::string>& words) {
        CConsole console(false, std::find(words.begin(), words.end(), "--json") != words.end());
        std::ostringstream help;
        std::ostringstream complaint;
        // The library's own codes mean nothing here; help and version are no errors.
        if (App.exit(error, help, complaint) == 0) {
            console.Write(help.str());
            return End(console, kExitDone);
        }
        const std::vector<CLI::App*> commands = App.get_subcommands();
        const auto name = std::find_if(words.begin(), words.end(),
                                       [](const auto& word) { return !word.starts_with('-'); });
        const std::string text = DescribeError(error, commands.empty());
        console.Error(HostPrintable(std::string_view(text)));
        console.Message("Run with --help for more information.");
        CDeviceCommands::WriteFailure(console,
                                      !commands.empty()     ? commands.front()->get_name()
                                      : name != words.end() ? *name
                                                            : std::string(),
                                      text, kExitUsage);
        return End(console, kExitUsage);
    }

    /// The library tells of what is missing before it tells of what it does not know; a word that
    /// was mistyped is most often the reason of both.
    std::string DescribeError(const CLI::ParseError& error, bool noCommand) const {
        const std::vector<std::string> unknown = App.remaining(true);
        if (unknown.empty() || dynamic_cast<const CLI::ExtrasError*>(&error) != nullptr) {
            return error.what();
        }
        if (noCommand && !unknown.front().starts_with('-')) {
            return "there is no command named " + unknown.front();
        }
        return "not understood: " + CLI::detail::join(unknown, " ") + "; " + error.what();
    }

    CLI::App* AddCommand(const char* name, const char* description, CCommand command) {
        CLI::App* added = App.add_subcommand(name, description);
        added->add_flag("-q,--quiet", Arguments.Quiet, "Print the result and nothing else");
        added->footer(kFooter);
        added->callback([this, command = std::move(command)] { Chosen = command; });
        return added;
    }

    CLI::App* AddDeviceCommand(const char* name,
                               const char* description,
                               std::function<ExitCode(CDeviceCommands&)> command) {
        CLI::App* added =
            AddCommand(name, description, [this, command = std::move(command)](CConsole& console) {
                CDeviceCommands commands(console, Arguments.Device, Arguments.Settings);
                return command(commands);
            });
        added->add_option("-d,--device", Arguments.Device, "Folder that the device is mounted at")
            ->required();
        added->add_option("--set", Arguments.Settings, "Override a device property")
            ->type_name("KEY=VALUE")
            ->allow_extra_args(false);
        added->add_flag("--json", Arguments.JSON, "Print one JSON document");
        return added;
    }

    void AddSync() {
        CLI::App* sync = AddCommand(
            "sync", "Make a device hold what a library holds", [this](CConsole& console) {
                Arguments.Sync.Delete = Arguments.DeleteWhat.empty()    ? DeleteMode::None
                                        : Arguments.DeleteWhat == "all" ? DeleteMode::All
                                                                        : DeleteMode::Own;
                return CSync(Arguments.Sync, console).Run();
            });
        sync->add_option("-l,--library", Arguments.Sync.Libraries,
                         "Folder of the library; may be given several times")
            ->required()
            ->check(CLI::ExistingDirectory)
            ->type_name("DIR");
        sync->add_option("-d,--device", Arguments.Sync.Device,
                         "Folder that the device is mounted at")
            ->required()
            ->type_name("DIR");
        sync->add_option("-p,--playlist", Arguments.Sync.Playlists,
                         "m3u or m3u8 file of the library to send as a playlist")
            ->check([](const std::string& path) {
                const std::string problem = CPlaylistReader::FindProblem(path);
                return problem.empty() ? problem : path + ": " + problem;
            })
            ->type_name("FILE");
        sync->add_option("--set", Arguments.Sync.Settings, "Override a device property")
            ->type_name("KEY=VALUE")
            ->allow_extra_args(false);
        sync->add_option(
                "--delete", Arguments.DeleteWhat,
                "Remove from the device what earlier syncs put there and the library no longer has; --delete=all "
                "removes every file that the library does not have")
            ->expected(0, 1)
            ->default_str("own")
            ->check(CLI::IsMember({"own", "all"}))
            ->type_name("[=all]");
        sync->add_flag("-n,--dry-run", Arguments.Sync.IsDryRun,
                       "Print the plan and change nothing on the device");
        sync->add_flag("--json", Arguments.JSON, "Print one JSON document");
    }

    void AddReading() {
        AddDeviceCommand("scan",
                         "List the files on a device, one a line: path, type, artist, album, name",
                         [](CDeviceCommands& commands) { return commands.Scan(); });
        AddDeviceCommand("playlists", "List the playlists on a device, or the files of one",
                         [this](CDeviceCommands& commands) {
                             return commands.ListPlaylists(Arguments.Playlist);
                         })
            ->add_option("NAME", Arguments.Playlist, "Playlist whose files are listed");
        AddDeviceCommand("space", "Show the space on a device, in bytes",
                         [](CDeviceCommands& commands) { return commands.ShowSpace(); });
    }

    void AddChanging() {
        AddDeviceCommand(
            "delete", "Delete files from a device",
            [this](CDeviceCommands& commands) { return commands.Delete(Arguments.Paths); })
            ->add_option("PATH", Arguments.Paths,
                         "Files, or folders with all their files, on the device")
            ->required();
        CLI::App* menu = AddDeviceCommand(
            "menu", "List the menu of a device or of a place on it, or run an entry",
            [this](CDeviceCommands& commands) {
                return commands.HandleMenu(Arguments.Location, Arguments.Entry, Arguments.Yes);
            });
        menu->add_option("LOCATION", Arguments.Location,
                         "Folder or playlist on the device; the device itself when left out");
        menu->add_option("--run", Arguments.Entry, "Run the entry with this number")
            ->type_name("ID");
        menu->add_flag("-y,--yes", Arguments.Yes, "Answer every question with yes");
        AddDeviceCommand("rebuild", "Make the device's database anew from its files",
                         [](CDeviceCommands& commands) { return commands.Rebuild(); });
    }

    void AddOthers() {
        for (const bool remove : {false, true}) {
            AddCommand(
                remove ? "unregister" : "register",
                remove ? "Take the plug-in out of the settings"
                       : "Enter the plug-in into the settings",
                [remove](CConsole& console) { return CDeviceCommands::Register(console, remove); })
                ->add_flag("--json", Arguments.JSON, "Print one JSON document");
        }
        CLI::App* demo = AddCommand(
            "demo", "Make a sample library and sync it to a folder, twice",
            [this](CConsole& console) {
                CDemo made(console);
                if (Arguments.LibraryOnly) {
                    return made.MakeLibrary(Arguments.Folder.empty() ? "." : Arguments.Folder)
                               ? kExitDone
                               : kExitFailure;
                }
                return made.Run(Arguments.Folder);
            });
        demo->add_option("FOLDER", Arguments.Folder,
                         "Folder to work in; below the user's data when left out");
        demo->add_flag("--library-only", Arguments.LibraryOnly,
                       "Make the sample library in FOLDER and end there");
    }

    CLI::App App;
    CArguments Arguments;
    CCommand Chosen;
};

} // namespace

int main(int argc, char** argv) {
    CConsole::ClaimOutput();
    CInterrupt::Install();
    try {
        return CCommandLine().Run(argc, argv);
    } catch (const std::exception& error) {
        std::cerr << "tonehall: " << error.what() << '\n';
        return kExitFailure;
    }
}

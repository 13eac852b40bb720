#include "host/CDeviceCommands.h"

#include "host/CDeviceRecord.h"
#include "host/CInterrupt.h"
#include "host/HostText.h"
#include "runtime/IVnDialogService.h"
#include "runtime/IVnToolsRoot.h"
#include "runtime/VnSiblingModules.h"

#include <nlohmann/json.hpp>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <set>

namespace {

constexpr int kExploreEntry = 105;
constexpr int kRebuildEntry = 109;

/// Answers the drive's questions in the place of the terminal, for as long as it lives.
class CAnswer final : public IVnDialogHandler {
public:
    explicit CAnswer(int32_t button) : Button(button) { SetHandler(this); }
    CAnswer(const CAnswer&) = delete;
    CAnswer& operator=(const CAnswer&) = delete;
    ~CAnswer() { SetHandler(nullptr); }

    int32_t ShowMessage(const wchar_t*, const wchar_t*, int32_t, int32_t) override {
        return Button;
    }

private:
    static void SetHandler(IVnDialogHandler* handler) {
        IVnToolsRoot* tools = VnGetToolsRoot();
        if (IVnDialogService* dialogs = tools == nullptr ? nullptr : tools->GetDialogService(1);
            dialogs != nullptr) {
            dialogs->SetHandler(handler);
        }
    }

    int32_t Button;
};

std::string ToText(const nlohmann::json& document) {
    return document.dump(2, ' ', false, nlohmann::json::error_handler_t::replace) + "\n";
}

bool IsFolder(const std::string& path) {
    struct stat status {};
    return lstat(path.c_str(), &status) == 0 && S_ISDIR(status.st_mode);
}

nlohmann::json FieldsToJSON(const CMediaFields& fields) {
    nlohmann::json record = nlohmann::json::object();
    for (const auto& [name, value] : fields.GetEntries()) {
        record[HostUTF8(name)] = HostUTF8(value);
    }
    return record;
}

} // namespace

CDeviceCommands::CDeviceCommands(CConsole& console,
                                 std::string device,
                                 std::vector<std::string> settings)
    : Console(console)
    , Path(std::move(device))
    , Settings(std::move(settings))
    , Session(console) {
}

ExitCode CDeviceCommands::Scan() {
    if (const ExitCode code = Open("scan", false); code != kExitDone) {
        return code;
    }
    bool isFirst = true;
    if (Console.IsJSON()) {
        const nlohmann::json device = Session.GetRoot().GetPath();
        Console.Write("{\n\"command\": \"scan\",\n\"device\": "
                      + device.dump(-1, ' ', false, nlohmann::json::error_handler_t::replace)
                      + ",\n\"files\": [");
    }
    Session.GetDevice().GetFiles(
        {},
        [&](const CMediaFields& fields) {
            if (Console.IsJSON()) {
                // Record by record: a device may hold more than fits in memory as one document.
                Console.Write((isFirst ? "\n" : ",\n")
                              + FieldsToJSON(fields).dump(
                                  -1, ' ', false, nlohmann::json::error_handler_t::replace));
                isFirst = false;
                return;
            }
            const std::string path = HostNarrow(fields.Get(L"Filename"));
            std::string line = HostPrintable(Session.GetRoot().MakeRelative(path));
            for (const wchar_t* name : {L"Media Type", L"Artist", L"Album", L"Name"}) {
                line += '\t';
                line += HostPrintable(std::wstring_view(fields.Get(name)));
            }
            line += '\n';
            Console.Write(line);
        },
        CInterrupt::IsRequested);
    const ExitCode code = Finish(kExitDone);
    if (Console.IsJSON()) {
        Console.Write("\n],\n\"exitCode\": " + std::to_string(code) + "\n}\n");
    }
    return code;
}

ExitCode CDeviceCommands::ListPlaylists(const std::string& name) {
    if (const ExitCode code = Open("playlists", false); code != kExitDone) {
        return code;
    }
    std::vector<std::wstring> lines = Session.GetDevice().GetPlaylists();
    nlohmann::json document = {{"command", "playlists"}, {"device", Session.GetRoot().GetPath()}};
    const char* key = "playlists";
    if (!name.empty()) {
        const std::wstring wanted = HostWiden(name);
        if (std::find(lines.begin(), lines.end(), wanted) == lines.end()) {
            return Fail(kExitFailure, "the device has no playlist named "
                                          + HostPrintable(std::string_view(name)));
        }
        lines.clear();
        document["playlist"] = name;
        key = "files";
        Session.GetDevice().GetFiles(wanted, [&](const CMediaFields& fields) {
            lines.push_back(
                HostWiden(Session.GetRoot().MakeRelative(HostNarrow(fields.Get(L"Filename")))));
        });
    }
    std::string text;
    document[key] = nlohmann::json::array();
    for (const std::wstring& line : lines) {
        document[key].push_back(HostUTF8(line));
        text += HostPrintable(std::wstring_view(line)) + "\n";
    }
    document["exitCode"] = kExitDone;
    Console.Write(Console.IsJSON() ? ToText(document) : text);
    return Finish(kExitDone);
}

ExitCode CDeviceCommands::Delete(const std::vector<std::string>& paths) {
    if (const ExitCode code = Open("delete", true); code != kExitDone) {
        return code;
    }
    CDeviceRecord record;
    std::string error;
    if (!record.Open(CSession::GetDataFolder(), Session.GetRoot().GetPath(), error)) {
        return Fail(kExitFailure, "the record of the device cannot be opened: " + error);
    }
    // The drive saves what it knows after a delete, so it has to know the whole device first.
    std::vector<std::string> known;
    Session.GetDevice().GetFiles(
        {},
        [&](const CMediaFields& fields) { known.push_back(HostNarrow(fields.Get(L"Filename"))); },
        CInterrupt::IsRequested);
    if (CInterrupt::IsRequested()) {
        return Finish(kExitDone);
    }
    std::set<std::string> files;
    nlohmann::json failed = nlohmann::json::array();
    const auto fail = [&](const std::string& path, const char* reason) {
        Console.Error("failed: " + HostPrintable(std::string_view(path)) + ": " + reason);
        failed.push_back({{"path", path}, {"reason", reason}});
    };
    for (const std::string& path : paths) {
        const std::string target = Session.GetRoot().Resolve(path);
        if (!Session.GetRoot().IsInside(target)) {
            fail(path, "is not on the device");
        } else if (IsFolder(target)) {
            const std::string prefix = target.ends_with('/') ? target : target + "/";
            std::copy_if(known.begin(), known.end(), std::inserter(files, files.end()),
                         [&](const std::string& file) {
                             return file.starts_with(prefix) && Session.GetRoot().IsInside(file);
                         });
        } else if (CDeviceRoot::GetFileSize(target) < 0) {
            fail(path, "no such file");
        } else {
            files.insert(target);
        }
    }
    const std::vector<std::string> list(files.begin(), files.end());
    if (!list.empty()) {
        Session.GetDevice().Delete(list);
    }
    std::vector<std::string> gone;
    for (const std::string& path : list) {
        CDeviceRoot::GetFileSize(path) < 0 ? gone.push_back(path)
                                           : fail(path, "could not be deleted");
    }
    if (!record.Remove(gone)) {
        Console.Error("the record of the device cannot be changed: " + record.GetError());
    }
    Session.Flush();
    const ExitCode code = failed.empty() ? kExitDone : kExitSomeFailed;
    nlohmann::json deleted = nlohmann::json::array();
    for (const std::string& path : gone) {
        deleted.push_back(Session.GetRoot().MakeRelative(path));
        if (!Console.IsJSON()) {
            Console.Write(HostPrintable(Session.GetRoot().MakeRelative(path)) + "\n");
        }
    }
    if (Console.IsJSON()) {
        Console.Write(ToText({{"command", "delete"},
                              {"device", Session.GetRoot().GetPath()},
                              {"deleted", deleted},
                              {"failed", failed},
                              {"exitCode", static_cast<int>(code)}}));
    }
    return Finish(code);
}

ExitCode CDeviceCommands::ShowSpace() {
    if (const ExitCode code = Open("space", false); code != kExitDone) {
        return code;
    }
    uint64_t total = 0;
    uint64_t available = 0;
    if (!Session.GetDevice().GetSpace(total, available)) {
        return Fail(kExitNoDevice, "the space on the device cannot be found out");
    }
    if (Console.IsJSON()) {
        Console.Write(ToText({{"command", "space"},
                              {"device", Session.GetRoot().GetPath()},
                              {"total", total},
                              {"available", available},
                              {"exitCode", 0}}));
    } else {
        Console.Write("total      " + std::to_string(total) + "  "
                      + HostFormatBytes(static_cast<int64_t>(total)) + "\navailable  "
                      + std::to_string(available) + "  "
                      + HostFormatBytes(static_cast<int64_t>(available)) + "\n");
    }
    return Finish(kExitDone);
}

ExitCode
CDeviceCommands::HandleMenu(const std::string& location, std::optional<int> entry, bool yes) {
    Command = "menu";
    if (const ExitCode code = Session.OpenRoot(Path, Settings, entry.has_value());
        code != kExitDone) {
        return Fail(code, {});
    }
    // The drive puts the device's path wherever its name stands in a location, so the name must not
    // stand in the rest.
    const std::wstring below = HostWiden(location);
    std::wstring name = Session.GetProperties().Get(L"DisplayName");
    while (below.find(name) != std::wstring::npos) {
        name += L'_';
    }
    Session.GetProperties().Set(L"DisplayName", name);
    if (const ExitCode code = Session.Start(); code != kExitDone) {
        return Fail(code, {});
    }
    if (entry) {
        if (!RunEntry(below, *entry, yes)) {
            return Fail(kExitUsage, "the menu has no entry " + std::to_string(*entry) + " here");
        }
        if (Console.IsJSON()) {
            Console.Write(
                ToText({{"command", "menu"},
                        {"ran", *entry},
                        {"contentsChanged", Session.GetDevice().GetHost().ContentsChanged},
                        {"databaseRemoved", Session.GetDevice().GetHost().DatabaseRemoved},
                        {"exitCode", 0}}));
        }
        return Finish(kExitDone);
    }
    CHandheldMenu menu;
    Session.GetDevice().HandleMenu(below, false, menu);
    nlohmann::json entries = nlohmann::json::array();
    for (const CHandheldMenu::CEntry& item : menu.Entries) {
        entries.push_back({{"id", item.Id}, {"text", HostUTF8(item.Text)}});
        if (!Console.IsJSON()) {
            Console.Write(std::to_string(item.Id) + "\t"
                          + HostPrintable(std::wstring_view(item.Text)) + "\n");
        }
    }
    if (Console.IsJSON()) {
        Console.Write(ToText({{"command", "menu"}, {"entries", entries}, {"exitCode", 0}}));
    }
    return Finish(kExitDone);
}

bool CDeviceCommands::RunEntry(const std::wstring& location, int id, bool yes) {
    CHandheldMenu menu;
    Session.GetDevice().HandleMenu(location, false, menu);
    const bool isOffered = std::any_of(menu.Entries.begin(), menu.Entries.end(),
                                       [id](const auto& entry) { return entry.Id == id; });
    if (!isOffered) {
        return false;
    }
    if (id == kExploreEntry) {
        // Showing a folder is the host's own work; where it is can be had by any program.
        if (!Console.IsJSON()) {
            Console.Write(Session.GetRoot().GetPath() + HostNarrow(location) + "\n");
        }
        return true;
    }
    std::optional<CAnswer> answer;
    if (yes) {
        answer.emplace(IVnDialogService::kButtonYes);
    } else if (isatty(STDIN_FILENO) == 0 || isatty(STDERR_FILENO) == 0) {
        answer.emplace(IVnDialogService::kButtonNo);
    }
    menu.ChosenId = id;
    Session.GetDevice().HandleMenu(location, true, menu);
    Session.Flush();
    return true;
}

ExitCode CDeviceCommands::Rebuild() {
    if (const ExitCode code = Open("rebuild", true); code != kExitDone) {
        return code;
    }
    if (!RunEntry({}, kRebuildEntry, true)) {
        return Fail(kExitFailure, "the drive offers no rebuild");
    }
    size_t count = 0;
    Session.GetDevice().GetFiles(
        {}, [&](const CMediaFields&) { Console.ShowSearch("Reading the device", ++count); },
        CInterrupt::IsRequested);
    Session.Flush();
    if (Console.IsJSON()) {
        Console.Write(ToText({{"command", "rebuild"},
                              {"device", Session.GetRoot().GetPath()},
                              {"files", count},
                              {"exitCode", 0}}));
    } else {
        Console.Write("The database holds " + std::to_string(count) + " files.\n");
    }
    return Finish(kExitDone);
}

ExitCode CDeviceCommands::Register(CConsole& console, bool remove) {
    CPlugin plugin;
    std::string error;
    if (!plugin.Load(error)) {
        console.Error(error);
        return kExitFailure;
    }
    if (!(remove ? plugin.Unregister() : plugin.Register())) {
        console.Error("the plug-in has no registration");
        return kExitFailure;
    }
    if (console.IsJSON()) {
        console.Write(ToText({{"command", remove ? "unregister" : "register"},
                              {"path", plugin.GetPath()},
                              {"exitCode", 0}}));
    } else {
        console.Write((remove ? "Removed the registration of " : "Registered ")
                      + HostPrintable(std::string_view(plugin.GetPath())) + "\n");
    }
    return kExitDone;
}

ExitCode CDeviceCommands::Open(const char* command, bool mustBeWritable) {
    Command = command;
    const ExitCode code = Session.Open(Path, Settings, mustBeWritable);
    return code == kExitDone ? code : Fail(code, {});
}

ExitCode CDeviceCommands::Fail(ExitCode code, const std::string& text) {
    // The session has told of its own failures.
    if (!text.empty()) {
        Console.Error(text);
    }
    if (Console.IsJSON()) {
        Console.Write(ToText({{"command", Command},
                              {"error", text.empty() ? Session.GetError() : text},
                              {"exitCode", static_cast<int>(code)}}));
    }
    return code;
}

ExitCode CDeviceCommands::Finish(ExitCode code) {
    if (CInterrupt::IsRequested()) {
        Console.Error("cancelled");
        return static_cast<ExitCode>(128 + CInterrupt::GetSignal());
    }
    return code;
}

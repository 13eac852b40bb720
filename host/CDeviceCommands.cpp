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
        if (IsFolder(target) && Session.GetRoot().IsInside(target)) {
            const std::string prefix = target.ends_with('/') ? target : target + "/";
            std::copy_if(known.begin(), known.end(), std::inserter(files, files.end()),
                         [&](const std::string& file) {
                             return file.starts_with(prefix) && Session.GetRoot().IsInside(file);
                         });
        } else if (const char* objection = FindObjection(target); objection != nullptr) {
            fail(path, objection);
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
    // With nothing deleted the drive has not saved its database.
    const ExitCode settled =
        gone.empty() ? Session.SettleWithoutDatabase() : Session.Settle(known.size());
    const ExitCode code = settled != kExitDone ? settled
                          : failed.empty()     ? kExitDone
                                               : kExitSomeFailed;
    nlohmann::json deleted = nlohmann::json::array();
    for (const std::string& path : gone) {
        deleted.push_back(Session.GetRoot().MakeRelative(path));
        if (!Console.IsJSON()) {
            Console.Write(HostPrintable(Session.GetRoot().MakeRelative(path)) + "\n");
        }
    }
    if (Console.IsJSON()) {
        nlohmann::json document = {{"command", "delete"},
                                   {"device", Session.GetRoot().GetPath()},
                                   {"deleted", deleted},
                                   {"failed", failed},
                                   {"exitCode", static_cast<int>(code)}};
        if (settled != kExitDone) {
            document["error"] = Session.GetError();
        }
        Console.Write(ToText(document));
    }
    return Finish(code);
}

const char* CDeviceCommands::FindObjection(const std::string& target) const {
    if (!Session.GetRoot().IsInside(target)) {
        return "is not on the device";
    }
    if (target == Session.GetDatabasePath()) {
        return "is the device's database; rebuild makes it anew";
    }
    return CDeviceRoot::GetFileSize(target) < 0 ? "no such file" : nullptr;
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
    // A playlist is named like a path below the root that need not exist, and passes the same way.
    std::string place = Session.GetRoot().Resolve(location);
    while (place.ends_with('/')) {
        place.pop_back();
    }
    if (!(place + "/").starts_with(Session.GetRoot().GetPath())
        || !Session.GetRoot().IsFolderInside(place)) {
        return Fail(kExitUsage,
                    HostPrintable(std::string_view(location)) + " leads outside the device");
    }
    std::wstring below = HostWiden(Session.GetRoot().MakeRelative(place + "/"));
    if (!below.empty()) {
        below.pop_back();
    }
    // The drive puts the device's path wherever its name stands in a location, so the name must not
    // stand in the rest.
    std::wstring name = Session.GetProperties().Get(L"DisplayName");
    while (below.find(name) != std::wstring::npos) {
        name += L'_';
    }
    Session.GetProperties().Set(L"DisplayName", name);
    if (const ExitCode code = Session.Start(); code != kExitDone) {
        return Fail(code, {});
    }
    if (entry) {
        return RunChosen(below, *entry, yes);
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

bool CDeviceCommands::HasEntry(const std::wstring& location, int id) {
    CHandheldMenu menu;
    Session.GetDevice().HandleMenu(location, false, menu);
    return std::any_of(menu.Entries.begin(), menu.Entries.end(),
                       [id](const auto& entry) { return entry.Id == id; });
}

ExitCode CDeviceCommands::RunChosen(const std::wstring& location, int id, bool yes) {
    if (!HasEntry(location, id)) {
        return Fail(kExitUsage, "the menu has no entry " + std::to_string(id) + " here");
    }
    nlohmann::json document = {{"command", "menu"}, {"ran", id}, {"exitCode", 0}};
    if (id == kExploreEntry) {
        // Showing a folder is the host's own work; where it is can be had by any program.
        const std::string path = Session.GetRoot().GetPath() + HostNarrow(location);
        document["path"] = path;
        if (!Console.IsJSON()) {
            Console.Write(path + "\n");
        }
    } else {
        RunEntry(location, id, yes);
        if (const ExitCode code = Session.SettleWithoutDatabase(); code != kExitDone) {
            return Fail(code, {});
        }
    }
    if (Console.IsJSON()) {
        document["contentsChanged"] = Session.GetDevice().GetHost().ContentsChanged;
        document["databaseRemoved"] = Session.GetDevice().GetHost().DatabaseRemoved;
        Console.Write(ToText(document));
    }
    return Finish(kExitDone);
}

void CDeviceCommands::RunEntry(const std::wstring& location, int id, bool yes) {
    std::optional<CAnswer> answer;
    if (yes) {
        answer.emplace(IVnDialogService::kButtonYes);
    } else if (isatty(STDIN_FILENO) == 0 || isatty(STDERR_FILENO) == 0) {
        answer.emplace(IVnDialogService::kButtonNo);
    }
    CHandheldMenu menu;
    menu.ChosenId = id;
    Session.GetDevice().HandleMenu(location, true, menu);
}

ExitCode CDeviceCommands::Rebuild() {
    if (const ExitCode code = Open("rebuild", true); code != kExitDone) {
        return code;
    }
    if (!HasEntry({}, kRebuildEntry)) {
        return Fail(kExitFailure, "the drive offers no rebuild");
    }
    RunEntry({}, kRebuildEntry, true);
    size_t count = 0;
    Session.GetDevice().GetFiles(
        {}, [&](const CMediaFields&) { Console.ShowSearch("Reading the device", ++count); },
        CInterrupt::IsRequested);
    Console.ClearProgress();
    if (CInterrupt::IsRequested()) {
        return Fail(static_cast<ExitCode>(128 + CInterrupt::GetSignal()), "cancelled");
    }
    if (count == 0) {
        // A scan that finds nothing saves nothing.
        Session.GetDevice().EndSync();
    }
    if (const ExitCode code = Session.Settle(count); code != kExitDone) {
        return Fail(code, {});
    }
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
    const char* command = remove ? "unregister" : "register";
    if (plugin.Load(error) && !(remove ? plugin.Unregister() : plugin.Register())) {
        error = "the plug-in has no registration";
    }
    if (!error.empty()) {
        console.Error(error);
        WriteFailure(console, command, error, kExitFailure);
        return kExitFailure;
    }
    if (console.IsJSON()) {
        console.Write(ToText({{"command", command}, {"path", plugin.GetPath()}, {"exitCode", 0}}));
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
    WriteFailure(Console, Command, text.empty() ? Session.GetError() : text, code);
    return code;
}

void CDeviceCommands::WriteFailure(CConsole& console,
                                   const std::string& command,
                                   const std::string& text,
                                   ExitCode code) {
    if (console.IsJSON()) {
        console.Write(
            ToText({{"command", command}, {"error", text}, {"exitCode", static_cast<int>(code)}}));
    }
}

ExitCode CDeviceCommands::Finish(ExitCode code) {
    if (CInterrupt::IsRequested()) {
        Console.Error("cancelled");
        return static_cast<ExitCode>(128 + CInterrupt::GetSignal());
    }
    return code;
}

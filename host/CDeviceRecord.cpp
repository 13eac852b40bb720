#include "host/CDeviceRecord.h"

#include "host/HostText.h"

#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

#include <cerrno>

namespace {

constexpr const char* kSchema =
    "CREATE TABLE IF NOT EXISTS Devices (Id INTEGER PRIMARY KEY, Root BLOB UNIQUE);"
    "CREATE TABLE IF NOT EXISTS Files (Device INTEGER, Target BLOB, Kind INTEGER, Source BLOB, Size INTEGER,"
    " MTime INTEGER, MatchKey BLOB, ChangeKey BLOB, PRIMARY KEY (Device, Target)) WITHOUT ROWID;"
    "CREATE TABLE IF NOT EXISTS UnderWay (Device INTEGER PRIMARY KEY, Source BLOB, Target BLOB);";

} // namespace

CDeviceRecord::~CDeviceRecord() {
    if (LockFile >= 0) {
        close(LockFile);
    }
}

bool CDeviceRecord::Open(const std::string& folder, const std::string& root, std::string& error, bool* wasDamaged) {
    if (!Database.Open(folder + "devices.db", kSchema, error, wasDamaged)) {
        return false;
    }
    CSqliteStatement add = Database.Prepare("INSERT OR IGNORE INTO Devices (Root) VALUES (?)");
    const bool added = add.Bind(1, root).Run();
    CSqliteStatement find = Database.Prepare("SELECT Id FROM Devices WHERE Root = ?");
    if (!added || !find.Bind(1, root).Step()) {
        error = Database.GetError();
        return false;
    }
    Device = find.GetInt(0);
    PutStatement = Database.Prepare("INSERT OR REPLACE INTO Files VALUES (?, ?, ?, ?, ?, ?, ?, ?)");
    NoteStatement = Database.Prepare("INSERT OR REPLACE INTO UnderWay VALUES (?, ?, ?)");
    ClearStatement = Database.Prepare("DELETE FROM UnderWay WHERE Device = ?");
    return LockDevice(folder, error);
}

bool CDeviceRecord::LockDevice(const std::string& folder, std::string& error) {
    const std::string path = folder + "device-" + std::to_string(Device) + ".lock";
    LockFile = open(path.c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0600);
    if (LockFile < 0) {
        error = path + ": " + HostErrorText(errno);
        return false;
    }
    if (flock(LockFile, LOCK_EX | LOCK_NB) != 0) {
        error = errno == EWOULDBLOCK ? "another tonehall is working on this device" : path + ": " + HostErrorText(errno);
        return false;
    }
    return true;
}

bool CDeviceRecord::Load(std::vector<CEntry>& entries) {
    CSqliteStatement select = Database.Prepare(
        "SELECT Kind, Target, Source, Size, MTime, MatchKey, ChangeKey FROM Files WHERE Device = ? ORDER BY Target");
    select.Bind(1, Device);
    while (select.Step()) {
        entries.push_back({static_cast<Kind>(select.GetInt(0)),
                           select.GetBytes(1),
                           select.GetBytes(2),
                           select.GetInt(3),
                           select.GetInt(4),
                           select.GetBytes(5),
                           select.GetBytes(6)});
    }
    return Database.GetCode() == SQLITE_DONE || Database.GetCode() == SQLITE_OK;
}

bool CDeviceRecord::Put(const CEntry& entry) {
    PutStatement.Bind(1, Device).Bind(2, entry.Target).Bind(3, static_cast<int64_t>(entry.Type)).Bind(4, entry.Source);
    PutStatement.Bind(5, entry.Size).Bind(6, entry.MTime).Bind(7, entry.MatchKey).Bind(8, entry.ChangeKey);
    return PutStatement.Run();
}

bool CDeviceRecord::Remove(const std::vector<std::string>& targets) {
    if (targets.empty()) {
        return true;
    }
    CSqliteTransaction transaction(Database);
    CSqliteStatement statement = Database.Prepare("DELETE FROM Files WHERE Device = ? AND Target = ?");
    for (const std::string& target : targets) {
        if (!statement.Bind(1, Device).Bind(2, target).Run()) {
            return false;
        }
    }
    return transaction.Commit();
}

bool CDeviceRecord::NoteUnderWay(const std::string& source, const std::string& target) {
    return NoteStatement.Bind(1, Device).Bind(2, source).Bind(3, target).Run();
}

std::optional<CDeviceRecord::CUnderWay> CDeviceRecord::GetUnderWay() {
    CSqliteStatement select = Database.Prepare("SELECT Source, Target FROM UnderWay WHERE Device = ?");
    if (!select.Bind(1, Device).Step()) {
        return std::nullopt;
    }
    return CUnderWay{select.GetBytes(0), select.GetBytes(1)};
}

bool CDeviceRecord::EndUnderWay(const CEntry* entry) {
    CSqliteTransaction transaction(Database);
    const bool done = (entry == nullptr || Put(*entry)) && ClearStatement.Bind(1, Device).Run();
    return done && transaction.Commit();
}

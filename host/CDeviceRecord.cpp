#include "host/CDeviceRecord.h"

#include "host/HostText.h"

#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

#include <cerrno>
#include <filesystem>
#include <system_error>

namespace {

constexpr const char* kSchema =
    // No other process has the file open, so no lock is asked for at each step, and the log of
    // changes may grow for a while.
    "PRAGMA locking_mode=EXCLUSIVE; PRAGMA wal_autocheckpoint=10000;"
    "CREATE TABLE IF NOT EXISTS Device (Id INTEGER PRIMARY KEY, Root BLOB);"
    "CREATE TABLE IF NOT EXISTS Files (Target BLOB PRIMARY KEY, Kind INTEGER, Source BLOB, Size INTEGER,"
    " MTime INTEGER, MatchKey BLOB, ChangeKey BLOB) WITHOUT ROWID;"
    "CREATE TABLE IF NOT EXISTS Sending (Id INTEGER PRIMARY KEY, Source BLOB, Target BLOB, Size INTEGER);"
    "CREATE TABLE IF NOT EXISTS Aside (Temporary BLOB PRIMARY KEY, Original BLOB, IsReplaced INTEGER)"
    " WITHOUT ROWID;";

} // namespace

CDeviceRecord::~CDeviceRecord() {
    if (LockFile >= 0) {
        close(LockFile);
    }
}

bool CDeviceRecord::Open(const std::string& folder,
                         const std::string& root,
                         std::string& error,
                         bool* wasDamaged) {
    std::error_code failure;
    std::filesystem::create_directories(folder + "devices", failure);
    const std::string path = folder + "devices/" + HostHash(root);
    if (!LockDevice(path + ".lock", error)
        || !Database.Open(path + ".db", kSchema, error, wasDamaged)) {
        return false;
    }
    CSqliteStatement add = Database.Prepare("INSERT OR IGNORE INTO Device VALUES (1, ?)");
    CSqliteStatement find = Database.Prepare("SELECT Root FROM Device");
    if (!add.Bind(1, root).Run() || !find.Step() || find.GetBytes(0) != root) {
        error = path + ".db is not the record of " + root + ": " + Database.GetError();
        return false;
    }
    PutStatement = Database.Prepare("INSERT OR REPLACE INTO Files VALUES (?, ?, ?, ?, ?, ?, ?)");
    NoteStatement = Database.Prepare("INSERT OR REPLACE INTO Sending VALUES (1, ?, ?, ?)");
    return true;
}

bool CDeviceRecord::LockDevice(const std::string& path, std::string& error) {
    LockFile = open(path.c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0600);
    if (LockFile >= 0 && flock(LockFile, LOCK_EX | LOCK_NB) == 0) {
        return true;
    }
    error = LockFile >= 0 && errno == EWOULDBLOCK ? "another tonehall is working on this device"
                                                  : path + ": " + HostErrorText(errno);
    return false;
}

bool CDeviceRecord::Load(std::vector<CEntry>& entries) {
    CSqliteStatement select = Database.Prepare(
        "SELECT Kind, Target, Source, Size, MTime, MatchKey, ChangeKey FROM Files ORDER BY Target");
    while (select.Step()) {
        entries.push_back({static_cast<Kind>(select.GetInt(0)), select.GetBytes(1),
                           select.GetBytes(2), select.GetInt(3), select.GetInt(4),
                           select.GetBytes(5), select.GetBytes(6)});
    }
    return Database.GetCode() == SQLITE_DONE || Database.GetCode() == SQLITE_OK;
}

bool CDeviceRecord::Put(const CEntry& entry) {
    PutStatement.Bind(1, entry.Target).Bind(2, static_cast<int64_t>(entry.Type));
    PutStatement.Bind(3, entry.Source).Bind(4, entry.Size).Bind(5, entry.MTime);
    PutStatement.Bind(6, entry.MatchKey).Bind(7, entry.ChangeKey);
    return PutStatement.Run();
}

bool CDeviceRecord::RunForEach(const char* sql, const std::vector<std::string>& paths) {
    if (paths.empty()) {
        return true;
    }
    CSqliteTransaction transaction(Database);
    CSqliteStatement statement = Database.Prepare(sql);
    for (const std::string& path : paths) {
        if (!statement.Bind(1, path).Run()) {
            return false;
        }
    }
    return transaction.Commit();
}

bool CDeviceRecord::Remove(const std::vector<std::string>& targets) {
    return RunForEach("DELETE FROM Files WHERE Target = ?", targets);
}

bool CDeviceRecord::NoteUnderWay(const CUnderWay& note, const CEntry* done) {
    CSqliteTransaction transaction(Database);
    const bool noted =
        (done == nullptr || Put(*done))
        && NoteStatement.Bind(1, note.Source).Bind(2, note.Target).Bind(3, note.Size).Run();
    return noted && transaction.Commit();
}

std::optional<CDeviceRecord::CUnderWay> CDeviceRecord::GetUnderWay() {
    CSqliteStatement select = Database.Prepare("SELECT Source, Target, Size FROM Sending");
    if (!select.Step()) {
        return std::nullopt;
    }
    return CUnderWay{select.GetBytes(0), select.GetBytes(1), select.GetInt(2)};
}

bool CDeviceRecord::EndUnderWay(const CEntry* done) {
    CSqliteTransaction transaction(Database);
    const bool ended = (done == nullptr || Put(*done)) && Database.Execute("DELETE FROM Sending");
    return ended && transaction.Commit();
}

bool CDeviceRecord::NoteAside(const std::vector<CAside>& asides) {
    if (asides.empty()) {
        return true;
    }
    CSqliteTransaction transaction(Database);
    CSqliteStatement statement = Database.Prepare("INSERT OR REPLACE INTO Aside VALUES (?, ?, 0)");
    for (const CAside& aside : asides) {
        if (!statement.Bind(1, aside.Temporary).Bind(2, aside.Original).Run()) {
            return false;
        }
    }
    return transaction.Commit();
}

std::vector<CDeviceRecord::CAside> CDeviceRecord::GetAsides() {
    CSqliteStatement select =
        Database.Prepare("SELECT Temporary, Original, IsReplaced FROM Aside ORDER BY Temporary");
    std::vector<CAside> asides;
    while (select.Step()) {
        asides.push_back({select.GetBytes(0), select.GetBytes(1), select.GetInt(2) != 0});
    }
    return asides;
}

bool CDeviceRecord::DropAsides(const std::vector<std::string>& temporaries) {
    return RunForEach("DELETE FROM Aside WHERE Temporary = ?", temporaries);
}

bool CDeviceRecord::EndReplacement(const CEntry& done, const CAside& aside) {
    CSqliteTransaction transaction(Database);
    CSqliteStatement forget = Database.Prepare("DELETE FROM Files WHERE Target = ?");
    CSqliteStatement mark = Database.Prepare("UPDATE Aside SET IsReplaced = 1 WHERE Temporary = ?");
    const bool ended = forget.Bind(1, aside.Original).Run() && Put(done)
                       && Database.Execute("DELETE FROM Sending")
                       && mark.Bind(1, aside.Temporary).Run();
    return ended && transaction.Commit();
}

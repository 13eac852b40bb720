#include "modules/tools/CSettingsStore.h"

#include "core/VnString.h"
#include "modules/tools/CApplicationInfo.h"
#include "modules/tools/CaseFolding.h"
#include "modules/tools/ToolsText.h"

#include <cstdio>
#include <filesystem>
#include <system_error>

namespace {

constexpr char kFileName[] = "Settings.db";
constexpr int kBusyTimeoutMS = 5000;

constexpr char kSchema[] =
    "CREATE TABLE IF NOT EXISTS Keys(Id INTEGER PRIMARY KEY, Parent INTEGER REFERENCES Keys(Id) ON"
    " DELETE CASCADE, Fold TEXT NOT NULL, Name TEXT NOT NULL, UNIQUE(Parent, Fold));"
    "CREATE TABLE IF NOT EXISTS Entries(Key INTEGER NOT NULL REFERENCES Keys(Id) ON DELETE CASCADE,"
    " Fold TEXT NOT NULL, Name TEXT NOT NULL, Value, PRIMARY KEY(Key, Fold)) WITHOUT ROWID;"
    "INSERT OR IGNORE INTO Keys(Id, Parent, Fold, Name) VALUES(1, NULL, '', '');";

constexpr char kFindKey[] = "SELECT Id FROM Keys WHERE Parent = ?1 AND Fold = ?2";
constexpr char kMakeKey[] = "INSERT OR IGNORE INTO Keys(Parent, Fold, Name) VALUES(?1, ?2, ?3)";
constexpr char kDeleteKey[] = "DELETE FROM Keys WHERE Id = ?1";
constexpr char kListKeys[] =
    "SELECT Name FROM Keys WHERE Parent = ?1 ORDER BY Fold LIMIT 1 OFFSET ?2";
constexpr char kGetValue[] = "SELECT Value FROM Entries WHERE Key = ?1 AND Fold = ?2";
constexpr char kSetValue[] = "INSERT INTO Entries(Key, Fold, Name, Value) VALUES(?1, ?2, ?3, ?4)"
                             " ON CONFLICT(Key, Fold) DO UPDATE SET Value = excluded.Value";
constexpr char kDeleteValue[] = "DELETE FROM Entries WHERE Key = ?1 AND Fold = ?2";

/// The form of a name that all its spellings share.
std::string Folded(const std::string& name) {
    VnString text = VnString::FromFileSystemText(name.c_str(), static_cast<int64_t>(name.size()));
    for (int32_t i = 0; i < text.GetLength(); i++) {
        text.SetAt(i, CaseFolding::Fold(text[i]));
    }
    return ToUTF8(text);
}

} // namespace

/// One use of a prepared statement; gives it back on destruction. Parameters count from 1.
class CSettingsStore::CQuery {
public:
    explicit CQuery(sqlite3_stmt* statement) : Statement(statement) {}
    ~CQuery() {
        if (Statement != nullptr) {
            sqlite3_reset(Statement);
            sqlite3_clear_bindings(Statement);
        }
    }
    CQuery(const CQuery&) = delete;
    CQuery& operator=(const CQuery&) = delete;

    CQuery& Bind(int index, int64_t value) {
        sqlite3_bind_int64(Statement, index, value);
        return *this;
    }
    CQuery& Bind(int index, const std::string& value) {
        sqlite3_bind_text64(Statement, index, value.data(), value.size(), SQLITE_TRANSIENT,
                            SQLITE_UTF8);
        return *this;
    }
    CQuery& Bind(int index, const Value& value) {
        if (const auto* number = std::get_if<int64_t>(&value)) {
            return Bind(index, *number);
        }
        const auto* text = std::get_if<std::string>(&value);
        return Bind(index, text == nullptr ? std::string() : *text);
    }
    /// Whether there is a row.
    bool Row() { return Statement != nullptr && sqlite3_step(Statement) == SQLITE_ROW; }
    /// Whether a statement without rows went through.
    bool Done() { return Statement != nullptr && sqlite3_step(Statement) == SQLITE_DONE; }

    int64_t Integer() const { return sqlite3_column_int64(Statement, 0); }
    std::string Text() const {
        const void* bytes = sqlite3_column_text(Statement, 0);
        const int count = sqlite3_column_bytes(Statement, 0);
        return bytes == nullptr
                   ? std::string()
                   : std::string(static_cast<const char*>(bytes), static_cast<size_t>(count));
    }
    Value Column() const {
        return sqlite3_column_type(Statement, 0) == SQLITE_INTEGER ? Value(Integer())
                                                                   : Value(Text());
    }

private:
    sqlite3_stmt* Statement; ///< owned by the store; null when it could not be prepared
};

CSettingsStore::Path CSettingsStore::SplitPath(const wchar_t* path) {
    const std::string text = ToUTF8(path);
    Path segments;
    for (size_t start = 0; start < text.size();) {
        const size_t end = std::min(text.find('\\', start), text.size());
        if (end > start) {
            segments.push_back(text.substr(start, end - start));
        }
        start = end + 1;
    }
    return segments;
}

bool CSettingsStore::Execute(const char* sql) {
    return sqlite3_exec(Database.get(), sql, nullptr, nullptr, nullptr) == SQLITE_OK;
}

sqlite3_stmt* CSettingsStore::Prepare(const char* sql) {
    auto& statement = Statements[sql];
    if (!statement) {
        sqlite3_stmt* made = nullptr;
        if (sqlite3_prepare_v3(Database.get(), sql, -1, SQLITE_PREPARE_PERSISTENT, &made, nullptr)
            != SQLITE_OK) {
            static_cast<void>(
                std::fprintf(stderr, "Settings: %s\n", sqlite3_errmsg(Database.get())));
        }
        statement.reset(made);
    }
    return statement.get();
}

bool CSettingsStore::OpenFile(const std::string& file) {
    std::error_code failure;
    std::filesystem::create_directories(std::filesystem::path(file).parent_path(), failure);
    sqlite3* opened = nullptr;
    const int result = sqlite3_open_v2(
        file.c_str(), &opened, SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE | SQLITE_OPEN_FULLMUTEX,
        nullptr);
    Database.reset(opened);
    if (result != SQLITE_OK) {
        return false;
    }
    sqlite3_busy_timeout(opened, kBusyTimeoutMS);
    return Execute("PRAGMA journal_mode = WAL") && Execute("PRAGMA synchronous = NORMAL")
           && Execute("PRAGMA foreign_keys = ON") && Execute("BEGIN IMMEDIATE") && Execute(kSchema)
           && Execute("COMMIT");
}

/// Copies what a file that can't be written holds into the open database in memory.
void CSettingsStore::LoadReadOnly(const std::string& file) {
    std::string escaped;
    for (const char byte : file) {
        const bool special = byte == '?' || byte == '#' || byte == '%';
        char code[4];
        static_cast<void>(
            std::snprintf(code, sizeof(code), "%%%02X", static_cast<unsigned char>(byte)));
        escaped += special ? std::string(code) : std::string(1, byte);
    }
    sqlite3* opened = nullptr;
    const int result = sqlite3_open_v2(("file:" + escaped + "?immutable=1").c_str(), &opened,
                                       SQLITE_OPEN_READONLY | SQLITE_OPEN_URI, nullptr);
    const std::unique_ptr<sqlite3, DatabaseDeleter> source(opened);
    if (result != SQLITE_OK) {
        return; // there is no such file
    }
    if (sqlite3_backup* copy = sqlite3_backup_init(Database.get(), "main", source.get(), "main")) {
        sqlite3_backup_step(copy, -1);
        sqlite3_backup_finish(copy);
    }
}

void CSettingsStore::OpenMemory(const std::string& file) {
    sqlite3* opened = nullptr;
    sqlite3_open_v2(":memory:", &opened, SQLITE_OPEN_READWRITE | SQLITE_OPEN_FULLMUTEX, nullptr);
    Database.reset(opened);
    if (!file.empty()) {
        LoadReadOnly(file);
    }
    if (!Execute(kSchema)) {
        // What was copied is no settings tree: start with an empty one.
        Database.reset();
        sqlite3_open_v2(":memory:", &opened, SQLITE_OPEN_READWRITE | SQLITE_OPEN_FULLMUTEX,
                        nullptr);
        Database.reset(opened);
        Execute(kSchema);
    }
    Execute("PRAGMA foreign_keys = ON");
}

bool CSettingsStore::Open() {
    if (!Database) {
        const std::string folder = GetUserDataDirectory();
        const std::string file = folder.empty() ? std::string() : folder + kFileName;
        if (file.empty() || !OpenFile(file)) {
            OpenMemory(file);
        }
    }
    return Database != nullptr;
}

void CSettingsStore::Close() {
    const std::lock_guard<std::mutex> guard(Lock);
    Statements.clear();
    Database.reset();
    Changed();
}

int64_t CSettingsStore::FindKey(int64_t parent, const std::string& name) {
    CQuery query(Prepare(kFindKey));
    return query.Bind(1, parent).Bind(2, Folded(name)).Row() ? query.Integer() : kNoKey;
}

int64_t CSettingsStore::MakeKey(int64_t parent, const std::string& name) {
    {
        CQuery query(Prepare(kMakeKey));
        if (!query.Bind(1, parent).Bind(2, Folded(name)).Bind(3, name).Done()) {
            return kNoKey;
        }
    }
    Changed();
    return FindKey(parent, name); // another process may have made it first
}

int64_t CSettingsStore::ResolveKey(const Path& path, bool create) {
    int64_t key = Open() ? kRootKey : kNoKey;
    for (const std::string& name : path) {
        const int64_t parent = key;
        key = FindKey(parent, name);
        if (key == kNoKey && create) {
            key = MakeKey(parent, name);
        }
        if (key == kNoKey) {
            return kNoKey;
        }
    }
    return key;
}

bool CSettingsStore::OpenKey(const Path& path, bool create) {
    const std::lock_guard<std::mutex> guard(Lock);
    return ResolveKey(path, create) != kNoKey;
}

bool CSettingsStore::SetValue(const Path& path, const std::string& name, const Value& value) {
    const std::lock_guard<std::mutex> guard(Lock);
    const int64_t key = ResolveKey(path, true);
    if (key == kNoKey) {
        return false;
    }
    CQuery query(Prepare(kSetValue));
    const bool done = query.Bind(1, key).Bind(2, Folded(name)).Bind(3, name).Bind(4, value).Done();
    Changed();
    return done;
}

CSettingsStore::Value CSettingsStore::GetValue(const Path& path, const std::string& name) {
    const std::lock_guard<std::mutex> guard(Lock);
    const int64_t key = ResolveKey(path, false);
    if (key == kNoKey) {
        return Value();
    }
    CQuery query(Prepare(kGetValue));
    return query.Bind(1, key).Bind(2, Folded(name)).Row() ? query.Column() : Value();
}

bool CSettingsStore::DeleteValue(const Path& path, const std::string& name) {
    const std::lock_guard<std::mutex> guard(Lock);
    const int64_t key = ResolveKey(path, false);
    if (key == kNoKey) {
        return false;
    }
    CQuery query(Prepare(kDeleteValue));
    const bool done = query.Bind(1, key).Bind(2, Folded(name)).Done();
    Changed();
    return done && sqlite3_changes(Database.get()) > 0;
}

bool CSettingsStore::DeleteKey(const Path& path) {
    const std::lock_guard<std::mutex> guard(Lock);
    const int64_t key = path.empty() ? kNoKey : ResolveKey(path, false);
    if (key == kNoKey) {
        return false;
    }
    CQuery query(Prepare(kDeleteKey));
    const bool done = query.Bind(1, key).Done();
    Changed();
    return done;
}

std::string CSettingsStore::GetSubKeyName(const Path& path, int32_t index) {
    const std::lock_guard<std::mutex> guard(Lock);
    const int64_t key = index < 0 ? kNoKey : ResolveKey(path, false);
    if (key == kNoKey) {
        return std::string();
    }
    CQuery query(Prepare(kListKeys));
    return query.Bind(1, key).Bind(2, static_cast<int64_t>(index)).Row() ? query.Text()
                                                                         : std::string();
}

CSettingsStore::Value CSettingsStore::PeekValue(const Path& path, const std::string& name) {
    {
        const std::lock_guard<std::mutex> guard(Lock);
        std::error_code failure;
        const std::string folder = GetUserDataDirectory();
        if (!Database
            && (folder.empty() || !std::filesystem::exists(folder + kFileName, failure))) {
            return Value();
        }
    }
    return GetValue(path, name);
}

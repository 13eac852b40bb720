#pragma once

#include <sqlite3.h>

#include <atomic>
#include <cstdint>
#include <memory>
#include <mutex>
#include <string>
#include <unordered_map>
#include <variant>
#include <vector>

/// The settings tree: keys that hold typed values and further keys, in one SQLite file below the
/// user's data directory.
///
/// The file is opened at first use and shared with other processes (write-ahead log, busy
/// time-out). Where it can't be opened for writing, what it holds is read and all changes stay in
/// memory until the process ends. Names are compared in any letter case and keep the spelling of
/// the write that made them. All texts are UTF-8. Any thread may call; the store serialises.
class CSettingsStore {
public:
    using Value = std::variant<std::monostate, int64_t, std::string>;
    /// Segments of a key's path from the root.
    using Path = std::vector<std::string>;

    CSettingsStore() = default;
    CSettingsStore(const CSettingsStore&) = delete;
    CSettingsStore& operator=(const CSettingsStore&) = delete;

    /// Whether the key is there; with `create` it is made with all keys above it.
    bool OpenKey(const Path& path, bool create);
    /// False when nothing could be written.
    bool SetValue(const Path& path, const std::string& name, const Value& value);
    /// No value (monostate) when it is missing.
    Value GetValue(const Path& path, const std::string& name);
    /// Whether it was there.
    bool DeleteValue(const Path& path, const std::string& name);
    /// Deletes a key with everything below it; whether it was there. The root stays.
    bool DeleteKey(const Path& path);
    /// Name of a sub-key by index, in order of names; empty past the last.
    std::string GetSubKeyName(const Path& path, int32_t index);

    /// As GetValue, but without making the file when there is none yet.
    Value PeekValue(const Path& path, const std::string& name);

    /// Rises with every change made in this process.
    uint32_t GetGeneration() const { return Generation.load(std::memory_order_relaxed); }

    /// Closes the file; the next use opens it again, where the data directory is by then.
    void Close();

    /// Segments of a back-slash separated path; empty ones are skipped.
    static Path SplitPath(const wchar_t* path);

private:
    static constexpr int64_t kNoKey = 0;
    static constexpr int64_t kRootKey = 1;

    struct DatabaseDeleter {
        void operator()(sqlite3* database) const { sqlite3_close_v2(database); }
    };
    struct StatementDeleter {
        void operator()(sqlite3_stmt* statement) const { sqlite3_finalize(statement); }
    };
    class CQuery;

    bool Open();
    bool OpenFile(const std::string& file);
    void OpenMemory(const std::string& file);
    void LoadReadOnly(const std::string& file);
    bool Execute(const char* sql);
    sqlite3_stmt* Prepare(const char* sql);
    int64_t FindKey(int64_t parent, const std::string& name);
    int64_t MakeKey(int64_t parent, const std::string& name);
    int64_t ResolveKey(const Path& path, bool create);
    void Changed() { Generation.fetch_add(1, std::memory_order_relaxed); }

    std::mutex Lock; ///< guards all below but Generation
    std::unique_ptr<sqlite3, DatabaseDeleter> Database;
    /// Prepared statements by the address of their text, a constant of this class.
    std::unordered_map<const char*, std::unique_ptr<sqlite3_stmt, StatementDeleter>> Statements;
    std::atomic<uint32_t> Generation{1};
};

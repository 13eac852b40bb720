#pragma once

#include <sqlite3.h>

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>

/// One prepared statement. Values are bound from 1, columns counted from 0; bytes and texts that
/// are bound must live until the step. Belongs to its database, which must outlive it.
class CSqliteStatement {
public:
    CSqliteStatement() = default;

    CSqliteStatement& Bind(int index, int64_t value);
    CSqliteStatement& Bind(int index,
                           std::string_view bytes); ///< as a blob: names need not be UTF-8

    /// True while there is a row. A failed step is false too, and its text is that of the database.
    bool Step();
    /// Runs a statement that gives no rows and makes it ready for the next values. False on a
    /// failure.
    bool Run();
    void Reset();

    int64_t GetInt(int column) const;
    std::string GetBytes(int column) const;

private:
    friend class CSqlite;
    struct Closer {
        void operator()(sqlite3_stmt* statement) const { sqlite3_finalize(statement); }
    };
    std::unique_ptr<sqlite3_stmt, Closer> Handle;
};

/// One SQLite database of the host. For one thread at a time; several processes may share the file.
class CSqlite {
public:
    /// Opens or makes the file and runs `schema`, which must be repeatable. False on a failure,
    /// with the reason in `error`. A file that is no database, or is damaged, is put aside under
    /// the name "<path>.damaged" and made anew; `wasDamaged` (may be null) tells so.
    bool Open(const std::string& path,
              const char* schema,
              std::string& error,
              bool* wasDamaged = nullptr);

    bool Execute(const char* sql);
    CSqliteStatement Prepare(const char* sql);
    std::string GetError() const;
    /// The result code of the last call.
    int GetCode() const { return sqlite3_errcode(Handle.get()); }
    bool IsOpen() const { return Handle != nullptr; }

private:
    struct Closer {
        void operator()(sqlite3* database) const { sqlite3_close_v2(database); }
    };
    bool TryOpen(const std::string& path, const char* schema, int& code);

    std::unique_ptr<sqlite3, Closer> Handle;
};

/// Makes many changes one: they are stored by Commit, and given up at the end of an object without
/// one.
class CSqliteTransaction {
public:
    explicit CSqliteTransaction(CSqlite& database)
        : Database(database)
        , Open(database.Execute("BEGIN IMMEDIATE")) {}
    CSqliteTransaction(const CSqliteTransaction&) = delete;
    CSqliteTransaction& operator=(const CSqliteTransaction&) = delete;
    ~CSqliteTransaction() {
        if (Open) {
            Database.Execute("ROLLBACK");
        }
    }
    bool Commit() {
        const bool done = Open && Database.Execute("COMMIT");
        Open = Open && !done;
        return done;
    }

private:
    CSqlite& Database;
    bool Open;
};

#include "host/CSqlite.h"

#include <cstdio>

CSqliteStatement& CSqliteStatement::Bind(int index, int64_t value) {
    sqlite3_bind_int64(Handle.get(), index, value);
    return *this;
}

CSqliteStatement& CSqliteStatement::Bind(int index, std::string_view bytes) {
    sqlite3_bind_blob64(Handle.get(), index, bytes.empty() ? "" : bytes.data(), bytes.size(),
                        SQLITE_STATIC);
    return *this;
}

bool CSqliteStatement::Step() {
    return Handle != nullptr && sqlite3_step(Handle.get()) == SQLITE_ROW;
}

bool CSqliteStatement::Run() {
    const int code = Handle == nullptr ? SQLITE_MISUSE : sqlite3_step(Handle.get());
    Reset();
    return code == SQLITE_DONE || code == SQLITE_ROW;
}

void CSqliteStatement::Reset() {
    if (Handle != nullptr) {
        sqlite3_reset(Handle.get());
        sqlite3_clear_bindings(Handle.get());
    }
}

int64_t CSqliteStatement::GetInt(int column) const {
    return sqlite3_column_int64(Handle.get(), column);
}

std::string CSqliteStatement::GetBytes(int column) const {
    const void* bytes = sqlite3_column_blob(Handle.get(), column);
    const int count = sqlite3_column_bytes(Handle.get(), column);
    return bytes == nullptr
               ? std::string()
               : std::string(static_cast<const char*>(bytes), static_cast<size_t>(count));
}

bool CSqlite::Open(const std::string& path,
                   const char* schema,
                   std::string& error,
                   bool* wasDamaged) {
    if (wasDamaged != nullptr) {
        *wasDamaged = false;
    }
    int code = SQLITE_OK;
    if (TryOpen(path, schema, code)) {
        return true;
    }
    error = path + ": " + GetError();
    if (code != SQLITE_NOTADB && code != SQLITE_CORRUPT) {
        Handle.reset();
        return false;
    }
    Handle.reset();
    std::rename(path.c_str(), (path + ".damaged").c_str());
    std::remove((path + "-wal").c_str());
    std::remove((path + "-shm").c_str());
    if (!TryOpen(path, schema, code)) {
        error = path + ": " + GetError();
        Handle.reset();
        return false;
    }
    if (wasDamaged != nullptr) {
        *wasDamaged = true;
    }
    return true;
}

bool CSqlite::TryOpen(const std::string& path, const char* schema, int& code) {
    sqlite3* database = nullptr;
    code = sqlite3_open_v2(path.c_str(), &database, SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE,
                           nullptr);
    Handle.reset(database);
    if (code != SQLITE_OK) {
        return false;
    }
    sqlite3_busy_timeout(database, 10000);
    // A killed process loses nothing with these: what was committed is with the system. They spare
    // a flush per file.
    code = sqlite3_exec(database, "PRAGMA journal_mode=WAL; PRAGMA synchronous=NORMAL;", nullptr,
                        nullptr, nullptr);
    if (code == SQLITE_OK) {
        code = sqlite3_exec(database, schema, nullptr, nullptr, nullptr);
    }
    return code == SQLITE_OK;
}

bool CSqlite::Execute(const char* sql) {
    return Handle != nullptr
           && sqlite3_exec(Handle.get(), sql, nullptr, nullptr, nullptr) == SQLITE_OK;
}

CSqliteStatement CSqlite::Prepare(const char* sql) {
    CSqliteStatement statement;
    sqlite3_stmt* handle = nullptr;
    if (Handle != nullptr
        && sqlite3_prepare_v2(Handle.get(), sql, -1, &handle, nullptr) == SQLITE_OK) {
        statement.Handle.reset(handle);
    }
    return statement;
}

std::string CSqlite::GetError() const {
    return Handle == nullptr ? "no memory" : sqlite3_errmsg(Handle.get());
}

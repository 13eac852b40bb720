#pragma once

#include "modules/reader/CReader.h"

#include <vector>

/// Bytes in memory: a caller's, which are only read, or own ones, which grow with what is written.
class CMemoryReader final : public CReader {
public:
    /// Own and empty.
    CMemoryReader() = default;
    /// The caller's `size` bytes, which must outlive the reader.
    CMemoryReader(const void* data, int64_t size);
    /// Own, with a copy of the text as UTF-8.
    explicit CMemoryReader(const wchar_t* text);

    bool Open() override;
    int32_t Read(void* target, int32_t count) override;
    int64_t GetLength() override;
    int64_t GetPosition() override { return Position; }
    int64_t Seek(int64_t offset, int32_t origin) override;
    bool Create() override;
    bool OpenForAppend() override;
    int32_t Write(const void* data, int32_t count) override;

private:
    const char* GetBytes() const { return Borrowed != nullptr ? Borrowed : Own.data(); }

    const char* Borrowed = nullptr; ///< the caller's bytes, null for own ones
    int64_t BorrowedSize = 0;
    std::vector<char> Own;
    int64_t Position = 0;
};

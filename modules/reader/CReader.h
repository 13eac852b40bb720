#pragma once

#include "core/VnString.h"
#include "runtime/IVnReader.h"

#include <cstdint>

/// A reader that can do nothing: what the readers of this module derive from, so that each only
/// says what it can do.
class CReader : public IVnReader {
public:
    CReader(const CReader&) = delete;
    CReader& operator=(const CReader&) = delete;

    bool Open() override { return false; }
    int32_t Read(void* target, int32_t count) override;
    int64_t GetLength() override { return -1; }
    int64_t GetPosition() override { return 0; }
    int64_t Seek(int64_t offset, int32_t origin) override;
    void GetProperty(const wchar_t* name, IVnDllString& value) override;
    void SetTimeout(int32_t milliseconds) override;
    void SetPostData(const void* data, int64_t size) override;
    void SetProperties(const wchar_t* text) override;
    bool IsBusy() override { return false; }
    void Close() override {}
    bool Create() override { return false; }
    bool OpenForAppend() override { return false; }
    int32_t Write(const void* data, int32_t count) override;

protected:
    CReader() = default;
};

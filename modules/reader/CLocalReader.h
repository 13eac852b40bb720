#pragma once

#include "modules/reader/CReader.h"

#include <atomic>
#include <mutex>

/// A local file, read or written through one descriptor. The kernel is told that it is read from
/// start to end.
class CLocalReader final : public CReader {
public:
    explicit CLocalReader(const VnString& path) : Path(path) {}
    ~CLocalReader() override;

    bool Open() override;
    int32_t Read(void* target, int32_t count) override;
    int64_t GetLength() override;
    int64_t GetPosition() override;
    int64_t Seek(int64_t offset, int32_t origin) override;
    void GetProperty(const wchar_t* name, IVnDllString& value) override;
    bool IsBusy() override { return Busy.load(); }
    void Close() override;
    bool Create() override;
    bool OpenForAppend() override;
    int32_t Write(const void* data, int32_t count) override;

private:
    bool OpenWith(int flags);
    void CloseDescriptor();
    bool WaitForBytes() const;

    const VnString Path;
    std::mutex Lock; ///< keeps a Close on another thread from a call that is under way
    int Descriptor = -1;
    bool Waits = false;              ///< a pipe or a device, whose bytes may be a long time coming
    std::atomic<bool> Busy{false};   ///< a read or write is under way that will end by itself
    std::atomic<bool> Closed{false}; ///< ends a read that waits
};

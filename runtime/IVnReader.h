#pragma once

#include <cstdint>

class IVnDllString;

/// A source of bytes of the reader module: a local file, a URL, memory. Made by the factories of
/// that module and freed through its deleting slot. For one thread at a time, but IsBusy and Close
/// may come from another.
class IVnReader {
public:
    /// Where Seek counts from.
    enum SeekOrigin : int32_t {
        kFromStart = 0,
        kFromCurrent = 1,
        kFromEnd = 2,
    };

    /// Slots 0 and 1.
    virtual ~IVnReader() = default;
    /// Slot 2. False when the source cannot be read; the reader's properties may say why.
    virtual bool Open() = 0;
    /// Slot 3. Bytes read, fewer than asked only at the end or on a failure.
    virtual int32_t Read(void* target, int32_t count) = 0;
    /// Slot 4. Total bytes, -1 when unknown.
    virtual int64_t GetLength() = 0;
    /// Slot 5.
    virtual int64_t GetPosition() = 0;
    /// Slot 6. The new position, -1 on failure.
    virtual int64_t Seek(int64_t offset, int32_t origin) = 0;
    /// Slot 7. "Location", "AllHeaders", "StatusCode", "ContentType", "ContentLength",
    /// "ContentEncoding", ... of a URL; for a socket reader its address list. Empty when there is
    /// none.
    virtual void GetProperty(const wchar_t* name, IVnDllString& value) = 0;
    /// Slot 8. Milliseconds for connecting and for each wait for data.
    virtual void SetTimeout(int32_t milliseconds) = 0;
    /// Slot 9. The body of a request; must outlive the reader.
    virtual void SetPostData(const void* data, int64_t size) = 0;
    /// Slot 10. Request properties: keys and values in turn, joined with "|".
    virtual void SetProperties(const wchar_t* text) = 0;
    /// Slot 11. True while closing from another thread would do harm.
    virtual bool IsBusy() = 0;
    /// Slot 12. Closes; a blocked Read on another thread returns.
    virtual void Close() = 0;
    /// Slot 13. Makes the file anew for writing. False for a source that cannot be written.
    virtual bool Create() = 0;
    /// Slot 14. Opens the file for writing behind what it holds, making it if need be; the position
    /// is its end.
    virtual bool OpenForAppend() = 0;
    /// Slot 15. Bytes written.
    virtual int32_t Write(const void* data, int32_t count) = 0;
};

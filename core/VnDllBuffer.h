#pragma once

#include <cstdint>

class VnBuffer;

/// Bytes of another module, reached by virtual calls so that they stay with their own module.
///
/// An object lives on the caller's stack for the length of one call into another module; the callee
/// never keeps it and never destroys it. Slots are only ever appended.
class IVnDllBuffer {
public:
    /// Slot 0. Sets the number of bytes in use. Below 1 the buffer becomes empty; more than now
    /// grows it, and the new bytes are not defined; less only lowers the number.
    virtual void SetSize(int64_t size) = 0;

    /// Slot 1. The bytes, null when there are none; valid until the size changes or the call ends.
    virtual void* GetData() = 0;

    /// Slot 2. Bytes in use.
    virtual int64_t GetSize() const = 0;

protected:
    IVnDllBuffer() = default;
    ~IVnDllBuffer() = default;
    IVnDllBuffer(const IVnDllBuffer&) = default;
    IVnDllBuffer& operator=(const IVnDllBuffer&) = default;
};

/// Lets another module read and write a VnBuffer of this one. The buffer must outlive the adapter.
class VnDllBuffer final : public IVnDllBuffer {
public:
    explicit VnDllBuffer(VnBuffer& buffer) : Buffer(&buffer) {}
    VnDllBuffer(const VnDllBuffer&) = delete;
    VnDllBuffer& operator=(const VnDllBuffer&) = delete;

    void SetSize(int64_t size) override;
    void* GetData() override;
    int64_t GetSize() const override;

private:
    VnBuffer* Buffer; ///< the caller's buffer, not owned
};

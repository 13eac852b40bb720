#pragma once

#include <cstdint>

class VnString;

/// Growable byte buffer: data pointer, used size and allocated size, in bytes.
///
/// Copies are deep. The pointer that GetData and Reserve give ends with the next growth, shrink or
/// the buffer's end; GetData is null while nothing is allocated. For one thread at a time.
class VnBuffer {
public:
    VnBuffer() = default;
    /// `size` bytes in use, zeroed with `zeroFill`.
    explicit VnBuffer(int64_t size, bool zeroFill = false);
    VnBuffer(const VnBuffer& other);
    VnBuffer(VnBuffer&& other) noexcept;
    VnBuffer& operator=(const VnBuffer& other);
    VnBuffer& operator=(VnBuffer&& other) noexcept;
    ~VnBuffer();

    // Storage: VnBuffer.cpp

    uint8_t* GetData() { return AllocatedSize < 1 ? nullptr : Data; }
    const uint8_t* GetData() const { return AllocatedSize < 1 ? nullptr : Data; }
    int64_t GetSize() const { return UsedSize; }
    int64_t GetAllocatedSize() const { return AllocatedSize; }
    bool IsEmpty() const { return UsedSize < 1; }
    /// Room for `extra` bytes behind the used ones; the result points at that tail. `growStep`
    /// above 0 rounds the allocation up to a multiple of it; `zeroFill` zeroes the tail; `setSize`
    /// counts the tail as used.
    uint8_t*
    Reserve(int64_t extra, bool zeroFill = false, int64_t growStep = 0, bool setSize = false);
    /// Sets the used size, growing with the old contents kept; below 1 empties and frees.
    void SetSize(int64_t size);
    void Empty();
    void Append(const void* bytes, int64_t count, int64_t growStep = 0);
    /// Replaces the contents; `swapUnit` 2 or 4 swaps the bytes of each such unit on the way.
    void Set(const void* bytes, int64_t count, int32_t swapUnit = 0);
    /// The raw wide characters with the terminator, four bytes each.
    void SetWide(const wchar_t* text);
    void RemoveLeft(int64_t count);
    void RemoveRight(int64_t count);
    /// Shrinks the allocation to the used size when at least `slack` bytes are free.
    void Compact(int64_t slack = 0);
    void Swap(VnBuffer& other) noexcept;
    void Reverse();
    /// Appends `fill` bytes until the size is a multiple of `multiple`.
    void Pad(int64_t multiple, uint8_t fill);
    /// A copy as a new array, which the caller frees with delete[]; null when empty.
    uint8_t* CreateCopy(int64_t& size) const;

    // Search and bits: VnBufferBits.cpp

    /// Offset of `bytes` at `start` or a multiple of `stride` behind it; -1 when there is none.
    int64_t Find(const void* bytes, int64_t count, int64_t start = 0, int64_t stride = 1) const;
    /// Offset of an 8-bit text, in exact case or by strncasecmp; -1 when there is none.
    int64_t FindText(const char* text, bool caseFlag = true, int64_t start = 0) const;
    /// Up to 32 bits from bit position `position`, most significant bit first; bits behind the end
    /// are 0.
    uint32_t GetBits(int64_t position, int32_t count) const;
    /// Fills the used bytes from x = x * 214013 + 2531011, bits 16 to 23.
    void FillRandom(uint32_t seed);

    // Digests, cipher and text forms: VnBufferDigests.cpp

    uint64_t CRC64() const;
    /// FIPS 180-1.
    void SHA1(uint8_t (&digest)[20]) const;
    /// Twofish with the 16 bytes of `rawKey`, or a key made from `password` when that is null. The
    /// contents, filled with zeros to a multiple of 32 bytes, become the cipher text. CBC needs a
    /// vector of 16 characters.
    bool
    Encrypt(const VnString& password, const uint8_t* rawKey, bool useCBC, const VnString& vector);
    bool Decrypt(const VnString& password, bool useCBC, const VnString& vector);
    void SetHexText(const VnString& text);
    VnString GetHexText() const;
    bool SetBase64Text(const VnString& text);
    VnString GetBase64Text(bool lineBreaks = false) const;

    // Files: VnBufferFiles.cpp

    /// Source of bytes for LoadFromStream.
    class IStream {
    public:
        /// Up to `count` bytes; the number read, 0 at the end, -1 on failure.
        virtual int32_t Read(void* target, int32_t count) = 0;

    protected:
        ~IStream() = default;
    };
    /// Replaces the contents by all that the stream gives; false on a read failure.
    bool LoadFromStream(IStream& stream);
    /// Writes the contents to a new file, making its folders, and flushes it with fdatasync.
    bool SaveToFile(const wchar_t* path) const;

private:
    void Grow(int64_t needed, int64_t growStep);

    uint8_t* Data = nullptr;   ///< array new; counts as null while AllocatedSize is below 1
    int64_t UsedSize = 0;      ///< bytes in use
    int64_t AllocatedSize = 0; ///< bytes allocated
};

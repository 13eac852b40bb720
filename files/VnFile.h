#pragma once

#include "core/VnString.h"
#include "files/VnFilename.h"

#include <cstdint>

class VnDate;

/// One local file behind one POSIX descriptor, with the way in which it is to be opened.
///
/// The open arguments keep the three-way shape of access, sharing and disposition; `Open` tells how
/// it falls onto the flags of open(2) and an advisory lock. A remote name simply fails in the
/// system calls. No operation throws: a failure is false or -1, and errno holds the reason.
/// Reading, writing, SetLength and Flush go to the descriptor without a look at `IsOpen`, so a
/// closed file fails there. An object belongs to one thread at a time; the lock that `Open` takes
/// is the only thing that other processes see of it.
class VnFile {
public:
    /// Bits of `Access`.
    static constexpr uint32_t kAccessRead = 1;
    static constexpr uint32_t kAccessWrite = 2;

    /// Bits of `Share`: what others may do at the same time. Only the write bit has an effect.
    static constexpr uint32_t kShareRead = 1;
    static constexpr uint32_t kShareWrite = 2;

    /// Values of `Disposition`: what becomes of a file that is there, or is not.
    enum Dispositions : uint32_t {
        CreateAlways = 0,     ///< made when missing, emptied when there
        CreateNew = 1,        ///< made; fails when there
        OpenAlways = 2,       ///< made when missing, kept when there
        OpenExisting = 3,     ///< fails when missing
        TruncateExisting = 4, ///< fails when missing, emptied when there
    };

    /// A closed object without a name, set to read an existing file.
    VnFile() = default;

    /// Stores its arguments; nothing is opened.
    VnFile(const VnFilename& filename, uint32_t access, uint32_t share, uint32_t disposition);
    VnFile(const VnString& filename, uint32_t access, uint32_t share, uint32_t disposition);

    /// Closes an open descriptor.
    ~VnFile();

    VnFile(const VnFile&) = delete;
    VnFile& operator=(const VnFile&) = delete;
    VnFile(VnFile&&) = delete;
    VnFile& operator=(VnFile&&) = delete;

    /// Plain stores, which take effect at the next `Open`.
    void SetFilename(const VnFilename& filename) { Filename = filename; }
    void SetFilename(const VnString& filename) { Filename = VnFilename(filename); }
    void SetAccess(uint32_t access) { Access = access; }
    void SetShare(uint32_t share) { Share = share; }
    void SetDisposition(uint32_t disposition) { Disposition = disposition; }

    // Opening

    /// Opens the file as the fields say, after closing what is still open. A new file gets the mode
    /// 0644. A writer that does not share writing also takes a write lock over the whole file and
    /// fails when another process holds one; on a file system without locks it goes on unlocked.
    /// The object is closed after a failure.
    bool Open();

    /// Stores its arguments, then opens.
    bool Open(const VnFilename& filename, uint32_t access, uint32_t share, uint32_t disposition);
    bool Open(const VnString& filename, uint32_t access, uint32_t share, uint32_t disposition);

    /// Closes the file if it is open, which gives up the lock. Always true; a failure of the system
    /// is logged.
    bool Close();

    /// Closes as `Close` does. False when the system reports that something that was written before
    /// did not reach the file, as network volumes and full quotas do only now; true for a closed
    /// file. Who hands out what was written closes the file with this.
    bool CloseWritten();

    // Position and length, in bytes

    /// The current offset; -1 when the file is not open.
    int64_t GetPosition() const;

    /// Moves to `offset` from the current position (`origin` 1), the end (2) or the start (any
    /// other value). The result is the new offset; -1 on failure or when the file is not open.
    int64_t Seek(int64_t offset, int32_t origin);

    /// The size of the open file, or of the file of this name when it is closed; -1 on failure.
    int64_t GetLength() const;

    /// Makes the file `length` bytes long and leaves the position there. A file that grows gets its
    /// space reserved where the file system can do that.
    bool SetLength(int64_t length);

    // Bytes

    /// Hands `size` bytes to the system in one call; true only if it took all of them.
    bool Write(const void* buffer, int64_t size);

    /// Hands `size` bytes to the system in one call; true unless that failed. `written` receives
    /// the count, 0 after a failure.
    bool Write(const void* buffer, int64_t size, int64_t& written);

    /// Reads up to `size` bytes in one call; true unless that failed. `read` receives the count,
    /// which is 0 at the end of the file and after a failure.
    bool Read(void* buffer, int64_t size, int64_t& read);

    // Text, never with a terminator or a mark

    /// Writes the characters as they are in memory, four bytes each; true only if all went out.
    bool WriteWide(const VnString& text);

    /// Writes the text as UTF-8; true only if all bytes went out. An empty text writes nothing.
    bool WriteUTF8(const VnString& text);

    /// Writes each character below 256 as one byte and any other as "?". Always true, whatever
    /// became of the write; an empty text writes nothing.
    bool WriteBytes(const VnString& text);

    /// Reads characters of four bytes up to a line feed, a 0 character or the end of the file into
    /// `text`, without the one that ended the line. True when the text is not empty or the position
    /// is still short of the file's length.
    bool ReadLineWide(VnString& text);

    /// Reads bytes up to a line feed, a failure or the end of the file, and decodes them as UTF-8.
    /// The line feed is not part of the result; a carriage return is.
    VnString ReadLine();

    // The rest

    /// Has the data written to the device (fdatasync).
    bool Flush();

    /// A device control call has no meaning on this platform: does nothing, the result is 0.
    int32_t
    Control(uint32_t code, const void* input, int64_t inputSize, void* output, int64_t outputSize);

    /// Sets access and modification time of the file of this name, open or not, to `date`.
    bool SetFileTimes(const VnDate& date);

    /// Whether the file can be opened for reading. `defaultResult` is the answer for an empty text,
    /// for one that is no local path, and for a file that is missing.
    static bool CanRead(const VnString& path, bool defaultResult);

    /// Whether the regular file can be opened for writing by this process alone; otherwise as
    /// `CanRead`. When that fails, `readOnly` (may be null) receives whether its volume is mounted
    /// read only. What exists and is no regular file gives false and a true `readOnly`.
    static bool CanWrite(const VnString& path, bool defaultResult, bool* readOnly = nullptr);

    VnFilename Filename;
    uint32_t Access = kAccessRead;
    uint32_t Share = kShareRead;
    uint32_t Disposition = OpenExisting;
    bool IsOpen = false;     ///< the descriptor is valid
    int32_t Descriptor = -1; ///< -1 when closed; owned
};

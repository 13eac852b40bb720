#pragma once

#include <cstdint>

class IVnDllString;

/// One file that a tag reader holds. Owned by the reader.
class IVnTagReaderItem {
public:
    /// Slot 0. The value of a field in `value`; false when the file has none under that name.
    virtual bool GetField(const wchar_t* name, IVnDllString& value) = 0;
    /// Slot 1. The path of a playlist entry, or of the file itself.
    virtual bool GetFilename(IVnDllString& path) = 0;

protected:
    ~IVnTagReaderItem() = default;
};

/// Reads the tags of one media file, or the entries of an ASX playlist. Made by
/// IVnToolsRoot::CreateTagReader; for one thread at a time. The three mode setters are called in
/// order before the first file.
class IVnTagReader {
public:
    enum ReaderMode : int32_t {
        kMediaFile = 0,
        kASXPlaylist = 1,
    };

    /// Slots 0 and 1. Frees the reader and its items.
    virtual ~IVnTagReader() = default;
    /// Slot 2. Replaces what the reader holds: item 0 is now that file, or the first entry of that
    /// playlist.
    virtual void SetFile(const wchar_t* path) = 0;
    /// Slot 3. Null past the last, and for a file that cannot be opened.
    virtual IVnTagReaderItem* GetItem(int32_t index) = 0;
    /// Slot 4. A ReaderMode.
    virtual void SetReadMode(int32_t mode) = 0;
    /// Slot 5. 1 to read fields and filenames.
    virtual void SetFieldMode(int32_t mode) = 0;
    /// Slot 6.
    virtual int32_t GetCount() = 0;
    /// Slot 7. A ReaderMode: 1 lets one file hold many items.
    virtual void SetListMode(int32_t mode) = 0;
};

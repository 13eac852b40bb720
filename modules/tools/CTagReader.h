#pragma once

#include "modules/tools/CMediaFile.h"
#include "runtime/IVnTagReader.h"

#include <memory>
#include <vector>

/// Reads one media file, or the entries of an ASX playlist.
class CTagReader final : public IVnTagReader {
public:
    CTagReader();
    ~CTagReader() override;
    CTagReader(const CTagReader&) = delete;
    CTagReader& operator=(const CTagReader&) = delete;

    void SetFile(const wchar_t* path) override;
    IVnTagReaderItem* GetItem(int32_t index) override;
    void SetReadMode(int32_t mode) override { ReadMode = mode; }
    void SetFieldMode(int32_t mode) override { FieldMode = mode; }
    int32_t GetCount() override { return static_cast<int32_t>(Items.size()); }
    void SetListMode(int32_t mode) override { ListMode = mode; }

private:
    class CItem;

    void ReadPlaylist(const VnString& path);

    int32_t ReadMode = kMediaFile;
    int32_t FieldMode = 1;
    int32_t ListMode = kMediaFile;
    std::vector<std::unique_ptr<CItem>> Items;
};

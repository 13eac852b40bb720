#include "modules/tools/CTagReader.h"

#include "core/VnBuffer.h"
#include "core/VnDllString.h"
#include "modules/tools/ToolsText.h"
#include "text/VnXMLDocument.h"

#include <fstream>
#include <iterator>
#include <string>
#include <utility>

namespace {

constexpr int64_t kLargestPlaylist = 16 << 20; ///< what is larger is no list of songs

/// Reads a whole file as text of any encoding; empty when it can't be read.
VnString LoadText(const VnString& path) {
    CTagStream stream(ToUTF8(path));
    VnString text;
    if (!stream.isOpen() || stream.length() > kLargestPlaylist) {
        return text;
    }
    const TagLib::ByteVector bytes = stream.readBlock(static_cast<unsigned long>(stream.length()));
    VnBuffer buffer;
    buffer.Set(bytes.data(), bytes.size());
    text.SetFromBuffer(buffer);
    return text;
}

} // namespace

/// A media file, or an entry of a playlist with its own title.
class CTagReader::CItem final : public IVnTagReaderItem {
public:
    explicit CItem(std::unique_ptr<CMediaFile> file)
        : File(std::move(file))
        , Path(File->GetPath()) {}
    CItem(const VnString& path, const VnString& title) : Path(path), Title(title) {}

    bool GetField(const wchar_t* name, IVnDllString& value) override {
        VnString text;
        if (name == nullptr) {
            value.Empty();
            return false;
        }
        if (File) {
            File->GetField(name, text);
        } else if (VnString(name).EqualsNoCase(L"Name")) {
            text = Title;
        } else if (VnString(name).EqualsNoCase(L"Filename")) {
            text = Path;
        }
        SetText(value, text);
        return !text.IsEmpty();
    }

    bool GetFilename(IVnDllString& path) override {
        SetText(path, Path);
        return !Path.IsEmpty();
    }

    void SetTitle(const VnString& title) { Title = title; }

private:
    std::unique_ptr<CMediaFile> File; ///< null for an entry of a playlist
    VnString Path;
    VnString Title;
};

CTagReader::CTagReader() = default;

CTagReader::~CTagReader() = default;

void CTagReader::SetFile(const wchar_t* path) {
    Items.clear();
    if (path == nullptr || *path == 0) {
        return;
    }
    if (ReadMode == kASXPlaylist || ListMode == kASXPlaylist) {
        ReadPlaylist(path);
        return;
    }
    auto file = std::make_unique<CMediaFile>(VnString(path));
    if (file->IsOpen()) {
        Items.push_back(std::make_unique<CItem>(std::move(file)));
    }
}

IVnTagReaderItem* CTagReader::GetItem(int32_t index) {
    return index >= 0 && index < GetCount() ? Items[static_cast<size_t>(index)].get() : nullptr;
}

/// Entries in document order. Of an entry with several sources the first is taken. The elements are
/// walked one by one, whatever stands inside what, so that a list with missing end tags is read
/// too.
void CTagReader::ReadPlaylist(const VnString& path) {
    VnXMLDocument document;
    document.SetDocument(
        LoadText(path)); // false for a sloppy list, whose elements are there all the same
    document.ResetPosition();
    bool hasSource = false; // of the present entry
    VnString title;         // of the present entry, when it stands ahead of its source
    while (document.FindElement(L"//*")) {
        const int32_t element = document.GetMainPosition();
        const VnString name = document.GetTagName(element);
        const VnString source = document.GetAttribute(element, L"href");
        if (name.EqualsNoCase(L"entry")) {
            hasSource = false;
            title.Empty();
        } else if (name.EqualsNoCase(L"title")) {
            title = document.GetData(element);
            if (hasSource) {
                Items.back()->SetTitle(title);
            }
        } else if (name.EqualsNoCase(L"entryref") && !source.IsEmpty()) {
            Items.push_back(std::make_unique<CItem>(source, VnString()));
        } else if (name.EqualsNoCase(L"ref") && !source.IsEmpty() && !hasSource) {
            Items.push_back(std::make_unique<CItem>(source, title));
            hasSource = true;
        }
    }
}

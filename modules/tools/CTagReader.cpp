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

/// Entries in document order. Of an entry with several sources the first is taken; a list that is
/// not well-formed gives what can be made out.
void CTagReader::ReadPlaylist(const VnString& path) {
    VnXMLDocument document;
    document.SetDocument(LoadText(path));
    document.ResetPosition();
    while (document.FindElement(L"//entry")) {
        const VnString source = document.GetChildAttribute(L"ref", L"href");
        if (!source.IsEmpty()) {
            Items.push_back(std::make_unique<CItem>(source, document.GetChildData(L"title")));
        }
    }
    document.ResetPosition();
    while (document.FindElement(L"//entryref")) {
        const VnString source = document.GetAttribute(document.GetMainPosition(), L"href");
        if (!source.IsEmpty()) {
            Items.push_back(std::make_unique<CItem>(source, VnString()));
        }
    }
}

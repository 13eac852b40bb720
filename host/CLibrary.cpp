#include "host/CLibrary.h"

#include "host/CLibraryWalk.h"
#include "host/CMediaType.h"
#include "host/CTagSource.h"
#include "host/HostText.h"

#include <stdlib.h>
#include <unistd.h>

#include <algorithm>
#include <unordered_set>

namespace {

// Another number here makes every file be read anew, for when the fields or the checks change.
constexpr const char* kSchema =
    "CREATE TABLE IF NOT EXISTS Files1 (Path BLOB PRIMARY KEY, Size INTEGER, MTime INTEGER,"
    " Problem BLOB, Fields BLOB) WITHOUT ROWID;";

bool IsBelow(const std::string& path, const std::string& folder) {
    return path.starts_with(folder.ends_with('/') ? folder : folder + "/");
}

/// The fields of a file: what it tells itself, and what its name and size tell.
CMediaFields
MakeFields(const std::string& path, int64_t size, std::wstring_view type, CMediaFields fields) {
    const std::wstring wide = HostWiden(path);
    const std::wstring extension = HostExtension(wide);
    if (HostTrim(fields.Get(L"Name")).empty()) {
        fields.Set(L"Name", HostStem(wide));
    }
    fields.Set(L"Filename", {});
    fields.Set(L"Media Type", type);
    // A name without an extension would end in a dot on the device, which FAT drops.
    fields.Set(L"File Type", extension.empty() ? std::wstring(L"dat") : extension);
    fields.Set(L"File Size", std::to_wstring(size));
    return fields;
}

} // namespace

std::wstring CLibraryItem::GetLibraryName() const {
    return std::wstring(HostName(HostWiden(Path)));
}

std::string CLibrary::RealPath(const std::string& path) {
    const std::unique_ptr<char, decltype(&free)> real(realpath(path.c_str(), nullptr), &free);
    return real == nullptr ? std::string() : std::string(real.get());
}

bool CLibrary::OpenIndex(const std::string& path, std::string& error) {
    return Index.Open(path, kSchema, error);
}

void CLibrary::Scan(const std::vector<std::string>& folders,
                    ITagSource& tags,
                    const Progress& progress,
                    const std::function<bool()>& isCancelled,
                    const std::string& leftOut) {
    Items.clear();
    ByPath.clear();
    PassedOver.clear();
    Known.clear();
    Changed.clear();
    ReadCount = 0;
    std::vector<std::string> roots;
    for (const std::string& folder : folders) {
        const std::string real = RealPath(folder);
        roots.push_back(real.empty() ? folder : real);
    }
    LoadKnown(roots);
    CLibraryWalk walk(roots, isCancelled, leftOut);
    walk.Run();
    PassedOver = walk.GetPassedOver();

    std::unordered_set<std::string> audioFolders;
    for (const CLibraryWalk::CFound& file : walk.GetFiles()) {
        if (CMediaType::FromExtension(HostExtension(HostWiden(file.Path))) == L"Audio") {
            audioFolders.insert(file.Path.substr(0, file.Path.rfind('/')));
        }
    }
    size_t done = 0;
    for (const CLibraryWalk::CFound& file : walk.GetFiles()) {
        if (isCancelled && isCancelled()) {
            break;
        }
        const std::wstring name(HostName(HostWiden(file.Path)));
        // A list of files is sent as a playlist when asked for; an album's picture goes along with
        // its songs.
        if (CMediaType::IsPlaylist(HostExtension(name))
            || (CMediaType::IsFolderPicture(name)
                && audioFolders.contains(file.Path.substr(0, file.Path.rfind('/'))))) {
            continue;
        }
        const size_t readBefore = ReadCount;
        const CKnown& known = Examine(file.Path, file.Size, file.MTime, tags);
        ++done;
        if (ReadCount != readBefore && progress) {
            progress(done, walk.GetFiles().size());
        }
        if (!known.Problem.empty()) {
            PassedOver.push_back(
                {file.Path, known.Problem, known.Problem.starts_with("cannot be read")});
        } else {
            AddItem(file.Path, known);
        }
    }
    StoreChanges(!isCancelled || !isCancelled());
}

void CLibrary::LoadKnown(const std::vector<std::string>& folders) {
    CSqliteStatement statement =
        Index.Prepare("SELECT Path, Size, MTime, Problem, Fields FROM Files1");
    while (statement.Step()) {
        std::string path = statement.GetBytes(0);
        const bool wanted =
            std::any_of(folders.begin(), folders.end(),
                        [&path](const std::string& folder) { return IsBelow(path, folder); });
        if (wanted) {
            Known.try_emplace(std::move(path),
                              CKnown{statement.GetInt(1), statement.GetInt(2),
                                     statement.GetBytes(3), statement.GetBytes(4), false});
        }
    }
}

CLibrary::CKnown&
CLibrary::Examine(const std::string& path, int64_t size, int64_t mtime, ITagSource& tags) {
    CKnown& known = Known[path];
    // Permissions change without a change of the time; everything else that matters changes it.
    const bool same = known.Size == size && known.MTime == mtime
                      && !known.Problem.starts_with("cannot be read")
                      && (!known.Problem.empty() || !known.Fields.empty());
    known.Seen = true;
    if (same && access(path.c_str(), R_OK) == 0) {
        return known;
    }
    ++ReadCount;
    const std::wstring extension = HostExtension(HostWiden(path));
    const std::wstring_view type = CMediaType::FromExtension(extension);
    known = CKnown{size, mtime, CMediaType::FindProblem(path, extension), {}, true};
    CMediaFields fields;
    if (known.Problem.empty() && (type == L"Audio" || type == L"Video") && !tags.Read(path, fields)
        && type == L"Audio") {
        known.Problem = "not what its extension says";
    }
    if (known.Problem.empty()) {
        known.Fields = HostNarrow(MakeFields(path, size, type, std::move(fields)).Pack());
    }
    Changed.push_back(path);
    return known;
}

void CLibrary::AddItem(const std::string& path, const CKnown& known) {
    auto item = std::make_unique<CLibraryItem>();
    item->Path = path;
    item->Size = known.Size;
    item->MTime = known.MTime;
    item->Fields = CMediaFields::Unpack(HostWiden(known.Fields));
    ByPath.try_emplace(path, item.get());
    Items.push_back(std::move(item));
}

void CLibrary::StoreChanges(bool isWhole) {
    std::vector<std::string> gone;
    for (const auto& [path, known] : Known) {
        if (isWhole && !known.Seen) {
            gone.push_back(path);
        }
    }
    if (!Index.IsOpen() || (gone.empty() && Changed.empty())) {
        return;
    }
    CSqliteTransaction transaction(Index);
    CSqliteStatement store = Index.Prepare("INSERT OR REPLACE INTO Files1 VALUES (?, ?, ?, ?, ?)");
    for (const std::string& path : Changed) {
        const CKnown& known = Known[path];
        store.Bind(1, path)
            .Bind(2, known.Size)
            .Bind(3, known.MTime)
            .Bind(4, known.Problem)
            .Bind(5, known.Fields);
        store.Run();
    }
    CSqliteStatement remove = Index.Prepare("DELETE FROM Files1 WHERE Path = ?");
    for (const std::string& path : gone) {
        remove.Bind(1, path).Run();
    }
    transaction.Commit();
}

CLibraryItem* CLibrary::Find(const std::string& path) const {
    if (const auto found = ByPath.find(path); found != ByPath.end()) {
        return found->second;
    }
    const auto found = ByPath.find(RealPath(path));
    return found == ByPath.end() ? nullptr : found->second;
}

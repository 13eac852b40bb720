#include "files/VnFileScanner.h"

#include "core/VnStringDetail.h"
#include "files/VnFileFinder.h"
#include "files/VnFileInfo.h"
#include "files/VnFilename.h"

#include <dirent.h>
#include <endian.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <deque>
#include <functional>
#include <iterator>
#include <memory>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace {

/// Identity of a directory, whatever the path to it.
using FileIdentity = std::pair<dev_t, ino_t>;

/// A directory that is open for reading.
class CDirectory {
public:
    explicit CDirectory(const char* path)
        : Descriptor(open(path, O_RDONLY | O_DIRECTORY | O_CLOEXEC | O_NONBLOCK)) {}
    ~CDirectory() {
        if (Descriptor != -1) {
            close(Descriptor);
        }
    }
    CDirectory(const CDirectory&) = delete;
    CDirectory& operator=(const CDirectory&) = delete;
    CDirectory(CDirectory&&) = delete;
    CDirectory& operator=(CDirectory&&) = delete;

    const int Descriptor; ///< -1 when it could not be opened
};

/// Whether the locale sorts by the bytes of a text: then its sort keys are the texts themselves.
bool IsSortedByBytes() {
    static constexpr char kProbe[] = "Az-b\xC3\xA9 9";
    char key[sizeof(kProbe)];
    return std::strxfrm(key, kProbe, sizeof(key)) == sizeof(kProbe) - 1
           && std::strcmp(key, kProbe) == 0;
}

/// The wanted entries of one directory, in the order in which glob(3) lists them with GLOB_MARK:
/// by the locale's collation of the names, those of directories ending in "/".
///
/// All names stand one behind the other in one block, and a listing is used again, so that most
/// directories cost no allocation at all.
class CListing {
public:
    struct CEntry {
        uint64_t KeyHead; ///< first eight bytes of the sort key, as a number of the same order
        size_t Key;       ///< place of the zero-terminated sort key in its block
        size_t Name;      ///< place of the zero-terminated name in Names
        int64_t Size;     ///< of a file in bytes, -1 when it has no record
        bool IsDirectory; ///< the name ends in "/"
        bool IsLink;      ///< or may be one: nothing but a record says what it is
    };

    void Clear() {
        Names.clear();
        Entries.clear();
    }

    void Add(std::string_view name, bool isDirectory, bool isLink, int64_t size) {
        Entries.push_back({0, 0, Names.size(), size, isDirectory, isLink});
        Names.append(name);
        if (isDirectory) {
            Names.push_back('/');
        }
        Names.push_back('\0');
    }

    void Sort(bool byBytes) {
        if (byBytes) {
            SortByKeys(Names, [](CEntry& entry) { return entry.Name; });
            return;
        }
        std::string keys;
        SortByKeys(keys, [&](CEntry& entry) {
            const size_t start = keys.size();
            const size_t length = std::strxfrm(nullptr, GetName(entry), 0);
            keys.resize(start + length + 1);
            static_cast<void>(std::strxfrm(keys.data() + start, GetName(entry), length + 1));
            return start;
        });
    }

    const std::vector<CEntry>& GetEntries() const { return Entries; }
    const char* GetName(const CEntry& entry) const { return Names.data() + entry.Name; }

private:
    /// Sorts by the keys in `keys`, where `makeKey` puts or finds that of an entry. Equal keys are
    /// told apart by the names, so that the order never depends on the file system.
    template<typename MAKEKEY>
    void SortByKeys(const std::string& keys, MAKEKEY makeKey) {
        for (CEntry& entry : Entries) {
            entry.Key = makeKey(entry);
        }
        for (CEntry& entry : Entries) {
            char head[sizeof(entry.KeyHead)] = {};
            const char* key = keys.data() + entry.Key;
            std::memcpy(head, key, strnlen(key, sizeof(head)));
            std::memcpy(&entry.KeyHead, head, sizeof(head));
            entry.KeyHead = be64toh(entry.KeyHead);
        }
        std::sort(Entries.begin(), Entries.end(), [&](const CEntry& a, const CEntry& b) {
            if (a.KeyHead != b.KeyHead) {
                return a.KeyHead < b.KeyHead;
            }
            const int order = std::strcmp(keys.data() + a.Key, keys.data() + b.Key);
            return order != 0 ? order < 0 : std::strcmp(GetName(a), GetName(b)) < 0;
        });
    }

    std::string Names;
    std::vector<CEntry> Entries;
};

/// The last answers about wanted extensions, since a tree has only a few different ones.
class CExtensionMemory {
public:
    explicit CExtensionMemory(const VnStringArray& extensions) : Extensions(extensions) {}

    bool IsWanted(std::string_view extension) {
        const size_t hash = std::hash<std::string_view>()(extension);
        CAnswer& answer = Answers[hash % std::size(Answers)];
        if (!answer.IsKnown || answer.Extension != extension) {
            answer.Extension = extension;
            VnString text;
            text.SetFileSystemText(answer.Extension.c_str());
            answer.IsWanted = Extensions.Find(text, /*caseFlag=*/false, /*whole=*/true) >= 0;
            answer.IsKnown = true;
        }
        return answer.IsWanted;
    }

private:
    struct CAnswer {
        std::string Extension;
        bool IsKnown = false;
        bool IsWanted = false;
    };

    const VnStringArray& Extensions;
    CAnswer Answers[32];
};

} // namespace

/// One run of a scan. The directory that is being read is kept as bytes for the system and as text
/// for the results, and its names are all read, with what has to be known about each file, before
/// the first of them is reported: so no descriptor is open while the walk goes deeper.
class VnFileScanner::CWalk {
public:
    explicit CWalk(VnFileScanner& scanner)
        : Scanner(scanner)
        , ByBytes(IsSortedByBytes())
        , WantsDirectories(scanner.Recursive || scanner.IncludeDirectories)
        , Extensions(scanner.Extensions) {}

    /// Walks the directory of this path, which ends in "/".
    void Run(const VnString& path) {
        PathBytes = VnStringUTF8(path).GetBytes();
        PathText.assign(path.GetText(), static_cast<size_t>(path.GetLength()));
        Walk(/*isBelowLink=*/false);
    }

private:
    void Walk(bool isBelowLink);
    void Enter(const char* name, bool isBelowLink);
    bool IsOwnAncestor();
    void NoteFailure();
    bool Read(CListing& listing);
    void ReadEntry(CListing& listing, int descriptor, const dirent64& entry);
    bool IsWantedName(std::string_view name);
    void AppendName(const char* name);
    void AddResult(const char* name);

    static constexpr size_t kReadSize = 0x10000; ///< bytes of entries that the system gives at once

    VnFileScanner& Scanner;
    const bool ByBytes;
    const bool WantsDirectories;
    CExtensionMemory Extensions;
    std::string PathBytes;               ///< of the current directory, with its final "/"
    std::wstring PathText;               ///< the same as text
    std::vector<size_t> Depths;          ///< ends of the directories on the way in PathBytes
    std::vector<FileIdentity> Ancestors; ///< of the first of them, as far as they were asked for
    std::deque<CListing> Listings; ///< of the directories on the way, and room for deeper ones
    const std::unique_ptr<char[]> ReadBuffer = std::make_unique<char[]>(kReadSize);
};

/// Appends a name from the file system to the text of the path.
void VnFileScanner::CWalk::AppendName(const char* name) {
    const size_t start = PathText.size();
    const size_t length = std::strlen(name);
    PathText.resize(start + length);
    if (VnStringDetail::WidenASCII(name, length, PathText.data() + start) != length) {
        VnString text;
        text.SetFileSystemText(name);
        PathText.replace(start, length, text.GetText(), static_cast<size_t>(text.GetLength()));
    }
}

void VnFileScanner::CWalk::AddResult(const char* name) {
    if (Scanner.Results == nullptr) {
        return;
    }
    const size_t start = PathText.size();
    AppendName(name);
    VnStringArray& results = *Scanner.Results;
    const int32_t index = results.Add(VnString());
    results[index].Assign(PathText.data(), static_cast<int32_t>(PathText.size()));
    PathText.resize(start);
}

/// Whether a file of this name is wanted for its extension.
bool VnFileScanner::CWalk::IsWantedName(std::string_view name) {
    if (Scanner.Extensions.GetCount() == 0) {
        return true;
    }
    const size_t dot = name.rfind('.');
    return Extensions.IsWanted(dot == std::string_view::npos ? name : name.substr(dot + 1));
}

/// Puts one entry into the listing if it is wanted. It costs a stat only for what the directory
/// does not tell: the size of a listed file, the mode bits, and where a link leads.
void VnFileScanner::CWalk::ReadEntry(CListing& listing, int descriptor, const dirent64& entry) {
    const std::string_view name = entry.d_name;
    if (name == "." || name == "..") {
        return;
    }
    const bool isHidden = name[0] == '.';
    const bool isLink = entry.d_type == DT_UNKNOWN || entry.d_type == DT_LNK;
    bool isDirectory = entry.d_type == DT_DIR;
    const bool wantsFile = !isHidden && Scanner.IncludeFiles && !isDirectory && IsWantedName(name);
    const bool wantsDirectory = WantsDirectories && !(isHidden && Scanner.SkipDotDirectories);
    if (!wantsFile && !(wantsDirectory && (isDirectory || isLink))) {
        return;
    }
    int64_t size = 0;
    const bool needsSize = !isDirectory && Scanner.SumSizes;
    if (isLink || needsSize || Scanner.ExcludeModeBits != 0) {
        struct stat record = {};
        const bool found = fstatat(descriptor, entry.d_name, &record, 0) == 0;
        if (found && (record.st_mode & Scanner.ExcludeModeBits) != 0) {
            return;
        }
        size = needsSize ? (found ? int64_t{record.st_size} : -1) : 0;
        isDirectory = found ? S_ISDIR(record.st_mode) : isDirectory;
    }
    if (isDirectory ? wantsDirectory : wantsFile) {
        listing.Add(name, isDirectory, isLink, isDirectory ? 0 : size);
    }
}

/// Whether the current directory is one of those on the way to it. Only a link leads back, so the
/// identities are not asked for until one was followed.
bool VnFileScanner::CWalk::IsOwnAncestor() {
    while (Ancestors.size() < Depths.size()) {
        struct stat record = {};
        const std::string path = PathBytes.substr(0, Depths[Ancestors.size()]);
        const bool found = stat(path.c_str(), &record) == 0;
        Ancestors.push_back(found ? FileIdentity(record.st_dev, record.st_ino) : FileIdentity());
    }
    return std::find(Ancestors.begin(), Ancestors.end() - 1, Ancestors.back())
           != Ancestors.end() - 1;
}

/// A directory that has gone meanwhile holds nothing; any other failure may hide what is there.
void VnFileScanner::CWalk::NoteFailure() {
    Scanner.Complete = Scanner.Complete && errno == ENOENT;
}

/// Reads the current directory; false when that cannot be done.
bool VnFileScanner::CWalk::Read(CListing& listing) {
    const CDirectory directory(PathBytes.c_str());
    if (directory.Descriptor == -1) {
        NoteFailure();
        return false;
    }
    while (!Scanner.IsCancelled()) {
        const ssize_t length = getdents64(directory.Descriptor, ReadBuffer.get(), kReadSize);
        if (length < 0) {
            NoteFailure();
        }
        if (length <= 0) {
            break;
        }
        for (ssize_t place = 0; place < length && !Scanner.IsCancelled();) {
            const auto* entry = reinterpret_cast<const dirent64*>(ReadBuffer.get() + place);
            ReadEntry(listing, directory.Descriptor, *entry);
            place += entry->d_reclen;
        }
    }
    return true;
}

/// Lists the current directory and what is below it.
void VnFileScanner::CWalk::Walk(bool isBelowLink) {
    if (Listings.size() <= Depths.size()) {
        Listings.emplace_back();
    }
    CListing& listing = Listings[Depths.size()];
    listing.Clear();
    Depths.push_back(PathBytes.size());
    if (!Scanner.IsCancelled() && !(isBelowLink && IsOwnAncestor()) && Read(listing)) {
        listing.Sort(ByBytes);
        for (const CListing::CEntry& entry : listing.GetEntries()) {
            if (Scanner.IsCancelled()) {
                break;
            }
            const char* name = listing.GetName(entry);
            if (!entry.IsDirectory || Scanner.IncludeDirectories) {
                AddResult(name);
                Scanner.TotalSize += entry.Size;
            }
            if (entry.IsDirectory && Scanner.Recursive) {
                Enter(name, isBelowLink || entry.IsLink);
            }
        }
    }
    Depths.pop_back();
    Ancestors.resize(std::min(Ancestors.size(), Depths.size()));
}

void VnFileScanner::CWalk::Enter(const char* name, bool isBelowLink) {
    const size_t bytes = PathBytes.size();
    const size_t characters = PathText.size();
    PathBytes.append(name);
    AppendName(name);
    Walk(isBelowLink);
    PathBytes.resize(bytes);
    PathText.resize(characters);
}

bool VnFileScanner::IsCancelled() const {
    // Another thread may raise the flag at any time; nothing else is handed over by it.
    return CancelFlag != nullptr && __atomic_load_n(CancelFlag, __ATOMIC_RELAXED);
}

void VnFileScanner::Scan() {
    if (Scanned) {
        return;
    }
    Scanned = true;
    Complete = true;
    VnString path = VnFilename(Path).GetLocalPath();
    path.EnsureTrailing(L'/'); // the stored form of a name has it behind its end
    if (path.IsEmpty()) {
        return;
    }
    CWalk walk(*this);
    if (path.Find(L'*') < 0 || VnFileInfo(path).Valid) {
        walk.Run(path);
        return;
    }
    // No such directory by name, so the "*" stands for any text.
    VnString pattern(path);
    pattern.TrimRight(L'/');
    VnFileFinder finder(pattern);
    VnFileInfo info;
    while (finder.Next(info)) {
        if (info.IsDirectory()) {
            walk.Run(info.Filename.Filename);
        }
    }
}

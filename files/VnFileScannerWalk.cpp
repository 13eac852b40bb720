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
#include <cstring>
#include <memory>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace {

/// Identity of a directory, whatever the path to it.
using FileIdentity = std::pair<dev_t, ino_t>;

struct DirectoryCloser {
    void operator()(DIR* directory) const { closedir(directory); }
};
using DirectoryHandle = std::unique_ptr<DIR, DirectoryCloser>;

DirectoryHandle OpenDirectory(const char* path) {
    const int descriptor = open(path, O_RDONLY | O_DIRECTORY | O_CLOEXEC | O_NONBLOCK);
    if (descriptor == -1) {
        return nullptr;
    }
    DirectoryHandle directory(fdopendir(descriptor));
    if (directory == nullptr) {
        close(descriptor);
    }
    return directory;
}

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
/// All names stand one behind the other in one block, so that a directory costs a handful of
/// allocations however many entries it has.
class CListing {
public:
    struct CEntry {
        uint64_t KeyHead; ///< first eight bytes of the sort key, as a number of the same order
        size_t Key;       ///< place of the zero-terminated sort key in its block
        size_t Name;      ///< place of the zero-terminated name in Names
        int64_t Size;     ///< of a file in bytes, -1 when it has no record
        bool IsDirectory; ///< the name ends in "/"
    };

    void Add(std::string_view name, bool isDirectory, int64_t size) {
        Entries.push_back({0, 0, Names.size(), size, isDirectory});
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

} // namespace

/// One run of a scan. The directory that is being read is kept as bytes for the system and as text
/// for the results, and its names are all read, with what has to be known about each file, before
/// the first of them is reported: so no descriptor is open while the walk goes deeper.
class VnFileScanner::CWalk {
public:
    explicit CWalk(VnFileScanner& scanner)
        : Scanner(scanner)
        , ByBytes(IsSortedByBytes())
        , WantsDirectories(scanner.Recursive || scanner.IncludeDirectories) {}

    /// Walks the directory of this path, which ends in "/".
    void Run(const VnString& path) {
        PathBytes = VnStringUTF8(path).GetBytes();
        Walk(path);
    }

private:
    void Walk(const VnString& path);
    bool Read(CListing& listing);
    void ReadEntry(CListing& listing, int descriptor, const dirent& entry);
    bool IsWantedName(std::string_view name);
    void AddResult(const VnString& path) {
        if (Scanner.Results != nullptr) {
            Scanner.Results->Add(path);
        }
    }

    VnFileScanner& Scanner;
    const bool ByBytes;
    const bool WantsDirectories;
    std::string PathBytes;               ///< of the current directory, with its final "/"
    std::vector<FileIdentity> Ancestors; ///< of the current directory, and itself
    std::string LastExtension;           ///< the extension that was tested last, as bytes
    bool LastWanted = false;             ///< the result of that test
};

namespace {

/// `directory` with a name from the file system behind it.
VnString JoinPath(const VnString& directory, const char* name) {
    const size_t nameLength = std::strlen(name);
    const int32_t directoryLength = directory.GetLength();
    const int32_t length =
        VnStringDetail::AddLengths(directoryLength, static_cast<int64_t>(nameLength));
    VnString path;
    wchar_t* out = path.GetBuffer(length, true, false);
    std::wmemcpy(out, directory.GetText(), static_cast<size_t>(directoryLength));
    if (VnStringDetail::WidenASCII(name, nameLength, out + directoryLength) == nameLength) {
        path.ReleaseBuffer(length);
        return path;
    }
    path.ReleaseBuffer(directoryLength);
    VnString text;
    text.SetFileSystemText(name);
    path.Append(text);
    return path;
}

} // namespace

/// Whether a file of this name is wanted for its extension.
bool VnFileScanner::CWalk::IsWantedName(std::string_view name) {
    if (Scanner.Extensions.GetCount() == 0) {
        return true;
    }
    const size_t dot = name.rfind('.');
    const std::string_view extension = dot == std::string_view::npos ? name : name.substr(dot + 1);
    // Neighbours mostly have the same one.
    if (LastExtension.empty() || extension != LastExtension) {
        LastExtension = extension;
        VnString text;
        text.SetFileSystemText(LastExtension.c_str());
        LastWanted = Scanner.Extensions.Find(text, /*caseFlag=*/false, /*whole=*/true) >= 0;
    }
    return LastWanted;
}

/// Puts one entry into the listing if it is wanted. It costs a stat only for what the directory
/// does not tell: the size of a listed file, the mode bits, and where a link leads.
void VnFileScanner::CWalk::ReadEntry(CListing& listing, int descriptor, const dirent& entry) {
    const std::string_view name = entry.d_name;
    if (name == "." || name == "..") {
        return;
    }
    const bool isHidden = name[0] == '.';
    const bool isUnknown = entry.d_type == DT_UNKNOWN || entry.d_type == DT_LNK;
    bool isDirectory = entry.d_type == DT_DIR;
    const bool wantsFile = !isHidden && Scanner.IncludeFiles && !isDirectory && IsWantedName(name);
    const bool wantsDirectory = WantsDirectories && !(isHidden && Scanner.SkipDotDirectories);
    if (!wantsFile && !(wantsDirectory && (isDirectory || isUnknown))) {
        return;
    }
    int64_t size = 0;
    const bool needsSize = !isDirectory && Scanner.SumSizes;
    if (isUnknown || needsSize || Scanner.ExcludeModeBits != 0) {
        struct stat record = {};
        const bool found = fstatat(descriptor, entry.d_name, &record, 0) == 0;
        if (found && (record.st_mode & Scanner.ExcludeModeBits) != 0) {
            return;
        }
        size = found ? int64_t{record.st_size} : -1;
        isDirectory = found ? S_ISDIR(record.st_mode) : isDirectory;
    }
    if (isDirectory ? wantsDirectory : wantsFile) {
        listing.Add(name, isDirectory, isDirectory ? 0 : size);
    }
}

/// Reads the current directory; false when that cannot be done, or it is its own ancestor.
bool VnFileScanner::CWalk::Read(CListing& listing) {
    const DirectoryHandle directory = OpenDirectory(PathBytes.c_str());
    struct stat record = {};
    if (directory == nullptr || fstat(dirfd(directory.get()), &record) != 0) {
        return false;
    }
    const FileIdentity identity(record.st_dev, record.st_ino);
    if (std::find(Ancestors.begin(), Ancestors.end(), identity) != Ancestors.end()) {
        return false;
    }
    Ancestors.push_back(identity);
    const int descriptor = dirfd(directory.get());
    while (!Scanner.IsCancelled()) {
        const dirent* entry = readdir(directory.get());
        if (entry == nullptr) {
            break;
        }
        ReadEntry(listing, descriptor, *entry);
    }
    return true;
}

void VnFileScanner::CWalk::Walk(const VnString& path) {
    CListing listing;
    if (Scanner.IsCancelled() || !Read(listing)) {
        return;
    }
    listing.Sort(ByBytes);
    const size_t pathLength = PathBytes.size();
    for (const CListing::CEntry& entry : listing.GetEntries()) {
        if (Scanner.IsCancelled()) {
            break;
        }
        const char* name = listing.GetName(entry);
        if (!entry.IsDirectory) {
            AddResult(JoinPath(path, name));
            Scanner.TotalSize += entry.Size;
            continue;
        }
        const VnString directory = JoinPath(path, name);
        if (Scanner.IncludeDirectories) {
            AddResult(directory);
        }
        if (Scanner.Recursive) {
            PathBytes.append(name);
            Walk(directory);
            PathBytes.resize(pathLength);
        }
    }
    Ancestors.pop_back();
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

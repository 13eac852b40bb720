// Scan of a tree beside find and nftw, and names taken apart beside std::filesystem::path.

#include "core/VnString.h"
#include "core/VnStringArray.h"
#include "files/VnFileScanner.h"
#include "files/VnFilename.h"

#include <ftw.h>
#include <sys/stat.h>

#include <cstdint>
#include <cstdio>
#include <ctime>
#include <filesystem>
#include <fstream>
#include <functional>
#include <iterator>
#include <string>
#include <vector>

#include "bench/BenchPairTable.h"
#include "bench/BenchSupport.h"

namespace {

constexpr double kScanGoal = 1.1;
constexpr int64_t kFileSize = 1000; ///< bytes; the files are holes, so they take no room
constexpr int64_t kSongsAnAlbum = 10;
constexpr int64_t kAlbumsAnArtist = 10;

/// Wanted extensions. Neighbours never have the same one, which is the dearest case for a list.
constexpr const char* kExtensions[] = {"mp3", "flac", "ogg", "m4a", "opus", "wav", "wma", "MP3"};

std::string MakeName(int64_t number) {
    char name[128];
    const int64_t album = number / kSongsAnAlbum;
    static_cast<void>(
        std::snprintf(name, sizeof(name), "Artist %05d/Album %06d/%02d Song %07d.%s",
                      static_cast<int>(album / kAlbumsAnArtist), static_cast<int>(album),
                      static_cast<int>(number % kSongsAnAlbum + 1), static_cast<int>(number),
                      kExtensions[number % std::size(kExtensions)]));
    return name;
}

void MakeTree(const std::string& root, int64_t count) {
    for (int64_t number = 0; number < count; ++number) {
        const std::filesystem::path path = root + "/" + MakeName(number);
        if (number % kSongsAnAlbum == 0) {
            std::filesystem::create_directories(path.parent_path());
        }
        std::ofstream(path, std::ios::binary).close();
        std::filesystem::resize_file(path, kFileSize);
    }
}

double GetSeconds(clockid_t clock) {
    timespec now = {};
    clock_gettime(clock, &now);
    return static_cast<double>(now.tv_sec) + static_cast<double>(now.tv_nsec) * 1e-9;
}

/// The cost of work in this process; it fails unless it gives `expected`.
ProcessCost RunHere(const std::function<int64_t()>& work, int64_t expected) {
    ProcessCost cost;
    const double wall = GetSeconds(CLOCK_MONOTONIC);
    const double processor = GetSeconds(CLOCK_PROCESS_CPUTIME_ID);
    cost.ExitCode = work() == expected ? 0 : 1;
    cost.CPU = GetSeconds(CLOCK_PROCESS_CPUTIME_ID) - processor;
    cost.Wall = GetSeconds(CLOCK_MONOTONIC) - wall;
    return cost;
}

/// Bytes of all files with a wanted extension, whose paths are kept in order as for a caller.
int64_t Scan(const std::string& root) {
    VnStringArray extensions;
    for (const char* extension : kExtensions) {
        extensions.Add(VnString::FromUTF8(extension));
    }
    VnFileScanner scanner(VnString::FromUTF8(root.c_str()), extensions, /*recursive=*/true);
    return scanner.GetTotalSize();
}

int64_t WalkedBytes = 0; ///< nftw hands its visitor no argument of the caller's

int64_t Walk(const std::string& root) {
    constexpr int kOpenDirectories = 16;
    WalkedBytes = 0;
    const int result = nftw(
        root.c_str(),
        [](const char* /*path*/, const struct stat* record, int kind, FTW* /*place*/) {
            WalkedBytes += kind == FTW_F ? record->st_size : 0;
            return 0;
        },
        kOpenDirectories, 0);
    return result == 0 ? WalkedBytes : -1;
}

int CompareScans(int64_t count, int rounds) {
    constexpr int64_t kNodeSize = 1500; // of a file and its name on a tmpfs, and more
    const BenchFolder folder(count * kNodeSize);
    if (folder.GetPath().empty()) {
        std::puts("scan: skipped, there is no room for the tree");
        return 0;
    }
    const std::string root = folder.GetPath() + "/tree";
    const std::string output = folder.GetPath() + "/output";
    MakeTree(root, count);
    const int64_t bytes = count * kFileSize;
    const BenchSide ours = {"VnFileScanner",
                            [&] { return RunHere([&] { return Scan(root); }, bytes); }};
    const BenchSide find = {
        "find", [&] {
            return RunTimed({"find", root, "-type", "f", "-size", "+0"}, output);
        }};
    const BenchSide walk = {"nftw", [&] { return RunHere([&] { return Walk(root); }, bytes); }};
    Require(find.Run().ExitCode == 0 && CountLines(output) == count, "find gives other files");
    const std::vector<BenchResult> results = Compare({ours, find, walk}, rounds);
    BenchTable table("Scan of a tree (median of " + std::to_string(rounds) + " runs)");
    const std::string work = "files by extension, " + std::to_string(count);
    table.AddRatio(work, ours, results[0], find, results[1], kScanGoal);
    table.AddRatio(work, ours, results[0], walk, results[2], 0);
    return table.GetExitCode();
}

/// Paths to be taken apart, each as its side holds them. Every run gives the characters of all
/// parts.
class CPaths {
public:
    explicit CPaths(int64_t count) {
        for (int64_t number = 0; number < count; ++number) {
            PeerTexts.push_back("/media/player/Music/" + MakeName(number));
            PeerPaths.emplace_back(PeerTexts.back());
            Texts.push_back(VnString::FromUTF8(PeerTexts.back().c_str()));
        }
    }

    /// With the same texts for every path, as a loop over a list has them.
    int64_t SplitIntoKept() const {
        CParts parts;
        int64_t characters = 0;
        for (const VnString& text : Texts) {
            characters += parts.Split(text);
        }
        return characters;
    }
    int64_t SplitIntoNew() const {
        int64_t characters = 0;
        for (const VnString& text : Texts) {
            characters += CParts().Split(text);
        }
        return characters;
    }
    int64_t SplitByPeer() const {
        int64_t characters = 0;
        for (const std::string& text : PeerTexts) {
            characters += TakeParts(text);
        }
        return characters;
    }
    /// The peer takes a text apart when it makes a path of it; this is without that.
    int64_t SplitByPeerMadeAhead() const {
        int64_t characters = 0;
        for (const std::filesystem::path& path : PeerPaths) {
            characters += TakeParts(path);
        }
        return characters;
    }
    int64_t GetCharacters() const {
        int64_t characters = 0;
        for (const std::string& text : PeerTexts) {
            characters += static_cast<int64_t>(text.size()) - 1; // all but the dot
        }
        return characters;
    }

private:
    struct CParts {
        VnString Drive, Directory, Name, Extension, Query, User, Password, Host, PathOnHost;
        int32_t Port = 0;
        bool IsURL = false;

        int64_t Split(const VnString& text) {
            VnFilename::Split(text, {.Drive = &Drive,
                                     .Directory = &Directory,
                                     .Name = &Name,
                                     .Extension = &Extension,
                                     .Query = &Query,
                                     .IsURL = &IsURL,
                                     .User = &User,
                                     .Password = &Password,
                                     .Host = &Host,
                                     .Port = &Port,
                                     .PathOnHost = &PathOnHost});
            return int64_t{Drive.GetLength()} + Directory.GetLength() + Name.GetLength()
                   + Extension.GetLength() + Query.GetLength() + Port;
        }
    };

    static int64_t TakeParts(const std::filesystem::path& path) {
        const std::filesystem::path drive = path.root_name();
        const std::filesystem::path directory = path.parent_path();
        const std::filesystem::path name = path.stem();
        const std::filesystem::path extension = path.extension();
        // The product has a slash at the end of the directory where the peer has the dot.
        return static_cast<int64_t>(drive.native().size() + directory.native().size()
                                    + name.native().size() + extension.native().size());
    }

    std::vector<VnString> Texts;
    std::vector<std::string> PeerTexts;
    std::vector<std::filesystem::path> PeerPaths;
};

int CompareSplits(int64_t count, int64_t rounds) {
    const CPaths paths(count);
    BenchPairTable table("Paths taken apart, " + std::to_string(count), rounds);
    const std::vector<BenchPairTable::Peer> peers = {
        {"std::filesystem::path", [&] { return paths.SplitByPeer(); }, BenchPairTable::kAhead},
        {"the same, paths made ahead", [&] { return paths.SplitByPeerMadeAhead(); }, 0}};
    table.Compare(
        "all parts, into texts that are kept", paths.GetCharacters(),
        [&] { return paths.SplitIntoKept(); }, peers);
    table.Compare(
        "all parts, into new texts", paths.GetCharacters(), [&] { return paths.SplitIntoNew(); },
        peers);
    return table.GetExitCode();
}

} // namespace

int main(int count, char** arguments) {
    const int64_t number = GetArgument(count, arguments, "--number", 100'000);
    const int64_t rounds = GetArgument(count, arguments, "--rounds", 7);
    Require(number > 0, "there is nothing to measure");
    const int scans = CompareScans(number, static_cast<int>(rounds));
    const int splits = CompareSplits(number, rounds);
    return scans > splits ? scans : splits;
}

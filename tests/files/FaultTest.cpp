#include "core/VnString.h"
#include "core/VnStringArray.h"
#include "data/VnDate.h"
#include "files/VnFile.h"
#include "files/VnFileInfo.h"
#include "files/VnFileScanner.h"
#include "files/VnFileSystem.h"
#include "files/VnFilename.h"
#include "runtime/IVnToolsRoot.h"
#include "runtime/VnLoadLibrary.h"
#include "runtime/VnLog.h"
#include "runtime/VnRunProgram.h"
#include "runtime/VnSharedMemory.h"
#include "runtime/VnSiblingModules.h"
#include "runtime/VnTimer.h"
#include "tests/support/FailingCalls.h"
#include "tests/support/TestEnvironment.h"
#include "tests/support/TestText.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <sys/mman.h>
#include <sys/mount.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <cstring>
#include <functional>
#include <map>
#include <memory>
#include <set>
#include <string>
#include <vector>

namespace {

using testing::HasSubstr;

/// The folder that every case starts with, and what is done there.
class CPlace {
public:
    CPlace() {
        Folder.Write("a", "old");
        std::filesystem::last_write_time(Folder / "a", std::filesystem::file_time_type::clock::now()
                                                           - std::chrono::hours(1));
        Folder.Write("b", "newer");
        Folder.Write("t/x", "x");
        Folder.Write("t/s/y", "y");
    }
    VnString operator/(const std::string& name) const { return ToText(Folder / name); }

    /// Everything in the folder: files with their bytes, empty directories with a slash.
    std::string List() const {
        std::set<std::string> entries;
        for (const auto& entry : std::filesystem::recursive_directory_iterator(Folder.Path())) {
            const std::string name = entry.path().lexically_relative(Folder.Path()).string();
            if (!entry.is_directory()) {
                entries.insert(name + "=" + Folder.Read(name));
            } else if (std::filesystem::is_empty(entry)) {
                entries.insert(name + "/");
            }
        }
        std::string text;
        for (const std::string& entry : entries) {
            text += (text.empty() ? "" : " ") + entry;
        }
        return text;
    }

    TestFolder Folder;
};

constexpr const char* kUntouched = "a=old b=newer t/s/y=y t/x=x";

using Operation = std::function<int64_t(const CPlace&)>;

struct FaultCase {
    const char* What;
    const char* Call;
    int Error;
    Operation Operate;
    int64_t Result;
    const char* Left = kUntouched;
    const char* Log = ""; ///< a part of what is logged
    int Nth = 1;
    int Times = 1;
};

/// Lets the tools module open what it keeps open, its log's file last.
void LoadTools() {
    VnGetToolsRoot()->GetLogManager(1);
    VnLog(kLogGeneral, L"Faults", L"Begin");
}

/// Runs each case: the call fails, the result is told, and no descriptor stays open.
void RunCases(const std::vector<FaultCase>& cases) {
    LoadTools();
    for (const FaultCase& row : cases) {
        SCOPED_TRACE(std::string(row.What) + ", " + row.Call + ": " + std::strerror(row.Error));
        const CPlace place;
        const CLogToStringItem log(kLogGeneral);
        const int before = CountDescriptors();
        {
            const FailingCall failure(row.Call, row.Error, row.Nth, row.Times);
            EXPECT_EQ(row.Operate(place), row.Result);
            EXPECT_TRUE(failure.HasFailed()) << "the case misses its call";
        }
        EXPECT_EQ(CountDescriptors(), before);
        EXPECT_EQ(place.List(), row.Left);
        EXPECT_THAT(ToBytes(log.GetLines().Join(L"\n")), HasSubstr(row.Log));
    }
}

/// An operation on the file "a", opened for reading and for writing by this program alone.
Operation OnA(const std::function<int64_t(VnFile&)>& operate) {
    return [operate](const CPlace& p) {
        VnFile file(p / "a", VnFile::kAccessRead | VnFile::kAccessWrite, 0, VnFile::OpenExisting);
        return file.Open() ? operate(file) : -100;
    };
}

TEST(Faults, OfAnOpenFileReachTheCaller) {
    const Operation open = OnA([](VnFile& file) { return file.IsOpen; });
    const Operation truncate = OnA([](VnFile& file) { return file.SetLength(1); });
    const Operation grow = OnA([](VnFile& file) {
        return file.SetLength(5) && file.GetLength() == 5 && file.SetLength(3);
    });
    const Operation write = OnA([](VnFile& file) { return file.Write("new!", 4); });
    const Operation writeCounted = OnA([](VnFile& file) {
        int64_t written = 7;
        return file.Write("new!", 4, written) ? written : -written - 1;
    });
    const Operation read = OnA([](VnFile& file) {
        char bytes[8];
        int64_t count = 7;
        return file.Read(bytes, 8, count) ? count : -count - 1;
    });
    const Operation readLine = OnA([](VnFile& file) { return file.ReadLine().GetLength(); });
    const Operation flush = OnA([](VnFile& file) { return file.Flush(); });
    const Operation close = OnA([](VnFile& file) { return file.Close() && !file.IsOpen; });
    const Operation closeWritten = OnA([](VnFile& file) { return file.CloseWritten(); });
    const Operation seek = OnA([](VnFile& file) { return file.Seek(1, 0); });
    const Operation position = OnA([](VnFile& file) { return file.GetPosition(); });
    const Operation length = OnA([](VnFile& file) { return file.GetLength(); });
    const auto save = [](const CPlace& p) {
        return VnString(L"new!").SaveToFile(p / "a", kEncodingUTF8);
    };
    const char* const half = "a=ned b=newer t/s/y=y t/x=x";
    const char* const whole = "a=new! b=newer t/s/y=y t/x=x";
    const char* const one = "a=o b=newer t/s/y=y t/x=x";
    RunCases({
        {"open", "open", EMFILE, open, -100},
        {"open again", "open", EINTR, open, 1},
        {"lock", "fcntl", EACCES, open, -100},
        {"lock again", "fcntl", EINTR, open, 1},
        {"no locks here", "fcntl", ENOLCK, open, 1},
        {"no locks there", "fcntl", EOPNOTSUPP, open, 1},
        {"read", "read", EIO, read, -1},
        {"read again", "read", EINTR, read, 3},
        {"read less", "read", FailingCall::kHalf, read, 3},
        {"line", "read", EIO, readLine, 0},
        {"line again", "read", EINTR, readLine, 3},
        {"line of what cannot seek", "lseek", ESPIPE, readLine, 3},
        {"write", "write", EIO, write, 0},
        {"write to a full device", "write", ENOSPC, writeCounted, -1},
        {"write again", "write", EINTR, write, 1, whole},
        {"write half", "write", FailingCall::kHalf, write, 0, half},
        {"write and count half", "write", FailingCall::kHalf, writeCounted, 2, half},
        {"save in two pieces", "write", FailingCall::kHalf, save, 1, whole},
        {"save", "close", ENOSPC, save, 0, whole, "Error 28 closing file: "},
        {"close", "close", EIO, close, 1, kUntouched, "VnFile::Close"},
        {"close what was written", "close", EIO, closeWritten, 0, kUntouched, "Error 5 "},
        {"close under a signal", "close", EINTR, closeWritten, 0},
        {"flush", "fdatasync", EIO, flush, 0},
        {"flush again", "fdatasync", EINTR, flush, 1},
        {"seek", "lseek", EIO, seek, -1},
        {"position", "lseek", EIO, position, -1},
        {"length", "fstat", EIO, length, -1},
        {"truncate", "ftruncate", EIO, truncate, 0},
        {"truncate again", "ftruncate", EINTR, truncate, 1, one},
        {"truncate at an unknown length", "fstat", EIO, truncate, 1, one},
        {"grow without space", "fallocate", ENOSPC, grow, 1},
        {"grow again", "fallocate", EINTR, grow, 1},
    });
}

// What is done in a place, and whether it says that it is done.
bool CopyTree(const CPlace& p) {
    return VnFileSystem::CopyDirectory(p / "t", p / "c", /*recursive=*/true);
}
bool MoveTree(const CPlace& p) {
    return VnFileSystem::MoveDirectory(p / "t", p / "c", /*recursive=*/true);
}
bool DeleteTree(const CPlace& p) {
    return VnFileSystem::DeleteDirectoryTree(p / "t");
}
bool DeleteButX(const CPlace& p) {
    VnStringUniqueList<VnString, false> keep;
    keep.Add(L"x");
    return VnFileSystem::DeleteDirectoryTree(p / "t", nullptr, &keep);
}
bool MakeTree(const CPlace& p) {
    return VnFileSystem::MakeDirectoryTree(p / "n/o/p", /*testWrite=*/true);
}
bool Replace(const CPlace& p) {
    return VnFileSystem::SafeReplaceFile(p / "a", p / "b", 0, /*deleteReplacementOnFailure=*/false);
}
bool Move(const CPlace& p) {
    return VnFileSystem::MoveFile(p / "b", p / "a");
}
bool DeleteEmpty(const CPlace& p) {
    VnFileSystem::DeleteEmptyDirectories(p / "t", /*recursive=*/true, /*walkUp=*/false);
    return false;
}
bool Prune(const CPlace& p) {
    VnFileSystem::PruneOldFilesFromDirectory(p / "", 1, -1);
    return true;
}
bool DeleteA(const CPlace& p) {
    return VnFileSystem::DeleteFile(p / "a");
}

TEST(Faults, OfWholeFilesAndTreesReachTheCaller) {
    const auto copy = [](const CPlace& p) {
        return VnFileSystem::CopyFile(p / "a", p / "c", false);
    };
    const auto relative = [](const CPlace& p) {
        return VnFileSystem::CopyFile(L"--version", p / "c", /*failIfExists=*/false);
    };
    const auto deleteWithLink = [](const CPlace& p) {
        std::filesystem::create_directory(p.Folder / "u");
        std::filesystem::create_directory_symlink(p.Folder / "t", p.Folder / "u/link");
        return VnFileSystem::DeleteDirectoryTree(p / "u");
    };
    const auto deleteRoot = [](const CPlace&) { return VnFileSystem::DeleteDirectoryTree(L"/"); };
    const auto isEmpty = [](const CPlace& p) {
        return VnFileSystem::IsDirectoryEmpty(p / "t", /*defaultResult=*/false, /*recursive=*/true,
                                              /*directoriesCount=*/true);
    };
    const auto scan = [](const CPlace& p) {
        VnFileScanner scanner(p / "t", nullptr, /*recursive=*/true);
        const int64_t count = scanner.GetCount();
        return scanner.IsComplete() ? count : count + 10;
    };
    const auto scanSizes = [](const CPlace& p) { return VnFileScanner(p / "t").GetTotalSize(); };
    RunCases({
        {"delete", "unlink", EIO, DeleteA, 0, kUntouched, "Error 5 deleting existing file: "},
        {"delete under a signal", "unlink", EINTR, DeleteA, 0, kUntouched, "Error 4 deleting"},
        {"move", "rename", ENOSPC, Move, 0},
        {"move from an unknown device", "stat", EIO, Move, 1, "a=newer t/s/y=y t/x=x"},
        {"copy", "system", EAGAIN, copy, 0},
        {"copy from nowhere", "getcwd", ENOENT, relative, 0},
        {"replace, aside", "rename", EIO, Replace, 0, kUntouched, "Error renaming original file"},
        {"replace, in", "rename", EIO, Replace, 0, kUntouched,
         "Error moving new file into place of original name", 2},
        {"replace, back", "rename", EIO, Replace, 0, "a (1)=old b=newer t/s/y=y t/x=x",
         "Error moving new file", 2, 2},
        {"replace, old one stays", "unlink", EIO, Replace, 1, "a (1)=old a=newer t/s/y=y t/x=x",
         "Error 5 deleting existing file: "},
        {"make tree", "mkdir", ENOSPC, MakeTree, 0, "a=old b=newer n/ t/s/y=y t/x=x",
         "Failed! Path=", 2},
        {"make tree, nothing can be written", "open", EROFS, MakeTree, 0,
         "a=old b=newer n/o/p/ t/s/y=y t/x=x", "Failed! Path="},
        {"delete tree, no shell", "system", ENOMEM, DeleteTree, 1, "a=old b=newer t/s/", "", 1, 9},
        {"delete tree, keep", "opendir", EMFILE, DeleteButX, 1},
        {"delete tree, keep, break off", "readdir", EIO, DeleteButX, 1},
        {"delete tree with a link", "lstat", EIO, deleteWithLink, 1},
        {"delete root, no trace", "open", EACCES, deleteRoot, 0, kUntouched, "REJECTING"},
        {"delete root, no stream", "fdopen", ENOMEM, deleteRoot, 0, kUntouched, "REJECTING"},
        {"empty, unopened", "opendir", EMFILE, isEmpty, 0},
        {"empty, broken off", "readdir", EIO, isEmpty, 0},
        {"empty, unknown entry", "stat", EIO, isEmpty, 0, kUntouched, "", 2},
        {"delete empty, broken off", "readdir", EIO, DeleteEmpty, 0},
        {"copy tree, unopened", "opendir", EACCES, CopyTree, 0, "a=old b=newer c/ t/s/y=y t/x=x"},
        {"copy tree, unopened below", "opendir", EACCES, CopyTree, 0,
         "a=old b=newer c/s/ c/x=x t/s/y=y t/x=x", "", 2},
        {"copy tree, broken off", "readdir", EIO, CopyTree, 0, "a=old b=newer c/ t/s/y=y t/x=x"},
        {"copy tree, unknown source", "stat", EIO, CopyTree, 0,
         "a=old b=newer c/s/y=y c/x=x t/s/y=y t/x=x"},
        {"move tree, broken off below", "opendir", EACCES, MoveTree, 0,
         "a=old b=newer c/s/ c/x=x t/s/y=y", "", 2},
        {"prune, broken off", "readdir", EIO, Prune, 1},
        {"scan, unopened", "open", EMFILE, scan, 10},
        {"scan, broken off", "getdents64", EIO, scan, 10},
        {"scan, unopened below", "open", EACCES, scan, 11, kUntouched, "", 2},
        {"scan, gone below", "open", ENOENT, scan, 1, kUntouched, "", 2},
        {"scan, size unknown", "fstatat", EIO, scanSizes, -1},
    });
}

TEST(Faults, OfSingleQuestionsGiveTheNeutralAnswer) {
    const auto info = [](const CPlace& p) { return VnFileInfo(p / "a").Valid; };
    const auto isFile = [](const CPlace& p) { return VnFileSystem::IsFile(p / "a"); };
    const auto exists = [](const CPlace& p) {
        return VnFileSystem::FileExists(p / "a", /*useToolsModule=*/false);
    };
    const auto canRead = [](const CPlace& p) { return VnFile::CanRead(p / "a", true); };
    const auto canWrite = [](const CPlace& p) {
        bool readOnly = true;
        const bool result = VnFile::CanWrite(p / "a", true, &readOnly);
        return (result ? 1 : 0) + (readOnly ? 2 : 0);
    };
    const auto setTimes = [](const CPlace& p) {
        const VnDate date = VnDate().FromTimeT(1000000000);
        return VnFile(p / "a", VnFile::kAccessRead, 0, VnFile::OpenExisting).SetFileTimes(date);
    };
    const auto statFS = [](const CPlace& p) {
        uint64_t free = 7;
        return VnFileSystem::GetFreeSpace(p / "", free) ? -1 : static_cast<int64_t>(free);
    };
    const auto openStream = [](const CPlace& p) {
        return VnFileSystem::OpenFile(p / "a", "r") != nullptr;
    };
    const auto userDirectory = [](const CPlace& p) {
        VnFileSystem::SetEnvironment(L"XDG_CONFIG_HOME", p / "t");
        p.Folder.Write("t/user-dirs.dirs", "XDG_MUSIC_DIR=\"/home/x/Mus");
        const int64_t length = VnFileSystem::GetXDGUserDirectory(L"XDG_MUSIC_DIR").GetLength();
        std::filesystem::remove(p.Folder / "t/user-dirs.dirs");
        unsetenv("XDG_CONFIG_HOME");
        return length;
    };
    const auto change = [](const CPlace& p) { return VnFileSystem::SetCurrentDirectory(p / "t/"); };
    const auto length = [](VnString (*get)()) {
        return [get](const CPlace&) { return int64_t{get().GetLength()}; };
    };
    const auto realPath = [](const CPlace& p) {
        return int64_t{VnFilename::GetRealPath(p / "a").GetLength()};
    };
    const auto label = [](const CPlace&) {
        return int64_t{VnFileSystem::GetVolumeName(L"/dev/null").GetLength()};
    };
    const auto address = length(VnFileSystem::GetFirstMacAddressUnconditionally);
    const auto setEnvironment = [](const CPlace&) {
        return VnFileSystem::SetEnvironment(L"VELNOR_FAULT", L"x");
    };
    const auto sleep = [](const CPlace&) {
        const int64_t start = VnTimer::GetNowNS();
        VnSleep(20);
        return VnTimer::GetNowNS() - start >= 20'000'000;
    };
    const auto load = [](const CPlace&) {
        VnLoadLibrary library;
        return library.Load(VnFileSystem::GetExecutableFilename(), 0) || library.IsLoaded();
    };
    std::vector<FaultCase> cases = {
        {"record", "stat", EACCES, info, 0},
        {"kind", "stat", EACCES, isFile, 0},
        {"existence", "stat", EACCES, exists, 0},
        {"may read, unknown", "stat", EACCES, canRead, 1},
        {"may read", "open", EACCES, canRead, 0},
        {"may write", "open", EACCES, canWrite, 0},
        {"may write, locked", "fcntl", EAGAIN, canWrite, 0},
        {"times", "utimes", EPERM, setTimes, 0},
        {"space", "statvfs", EIO, statFS, 0},
        {"stream", "fopen", ENFILE, openStream, 0},
        {"user folders", "fopen", ENFILE, userDirectory, 0},
        {"half a user folder", "ferror", EIO, userDirectory, 0},
        {"change directory", "chdir", EACCES, change, 0},
        {"current directory", "getcwd", ENOENT, length(VnFileSystem::GetCurrentDirectory), 0},
        {"executable", "readlink", EACCES, length(VnFileSystem::GetExecutableFilename), 0},
        {"real path", "realpath", ELOOP, realPath, 0},
        {"label", "opendir", EACCES, label, 0},
        {"computer", "uname", EFAULT, length(VnFileSystem::GetComputerName), 0},
        {"environment", "setenv", ENOMEM, setEnvironment, 0},
        {"sleep under a signal", "nanosleep", EINTR, sleep, 1},
        {"module", "dlopen", ENOMEM, load, 0},
        {"address, socket", "socket", EMFILE, address, 0, kUntouched, "Can't create socket"},
        {"address, list", "getifaddrs", ENOMEM, address, 0, kUntouched, "getifaddrs failure"},
    };
    if (!VnFileSystem::GetFirstMacAddressUnconditionally().IsEmpty()) {
        cases.push_back(
            {"address, card", "ioctl", ENODEV, address, 0, kUntouched, "SIOCGIFHWADDR Error"});
    }
    RunCases(cases);
}

TEST(Faults, OfProgramsAndSharedMemoryReachTheCaller) {
    const auto run = [](bool blocking) {
        return [blocking](const CPlace&) {
            int32_t code = 7;
            VnString output;
            VnStringArray arguments;
            arguments.Add(L"hello");
            const bool result = RunProgram(L"echo", &arguments, blocking, &code, &output);
            EXPECT_TRUE(result ? output == L"hello\n" : code == -1 || output == L"hello\n");
            return result;
        };
    };
    const auto openWith = [](const CPlace&) {
        int32_t code = 7;
        return OpenWith(L"", L"x", &code) ? 1 : code;
    };
    // A module that is missing: what counts is the directory that the program is in afterwards.
    const auto registerModule = [](const CPlace& p) {
        const auto before = std::filesystem::current_path();
        RegisterModule(p / "t/missing.so", /*registerIt=*/true);
        const bool same = std::filesystem::current_path() == before;
        std::filesystem::current_path(before);
        return same;
    };
    const VnString name = VnString::Formatted(L"Velnor fault test (%d)", int32_t{getpid()});
    const auto exists = [name] { return access(("/dev/shm/" + ToBytes(name)).c_str(), F_OK) == 0; };
    const auto share = [name, exists](const CPlace&) {
        VnSharedMemory block;
        const bool opened = block.Open(name, 10);
        EXPECT_EQ(opened, block.GetMapping() != nullptr);
        EXPECT_EQ(opened, exists());
        return opened;
    };
    const auto shareAnothers = [name, exists](const CPlace&) {
        VnSharedMemory first;
        {
            // The first call is the one that passes, and makes the block.
            EXPECT_TRUE(first.Open(name, 10));
            VnSharedMemory second;
            EXPECT_TRUE(second.Open(name, 10));
            EXPECT_FALSE(second.IsCreator());
        }
        return exists();
    };
    RunCases({
        {"run detached", "fork", EAGAIN, run(false), 0, kUntouched, "Failed to fork!"},
        {"run", "popen", EMFILE, run(true), 0},
        {"run, no status", "pclose", ECHILD, run(true), 0},
        {"run, output broken off", "ferror", EIO, run(true), 0},
        {"run, output under a signal", "ferror", EINTR, run(true), 1},
        {"open with", "system", ENOMEM, openWith, -1},
        {"register, no way back", "open", EMFILE, registerModule, 1, kUntouched, "Can't change"},
        {"register, no way in", "chdir", EACCES, registerModule, 1, kUntouched, "Can't change"},
        {"register, lost", "fchdir", EIO, registerModule, 0, kUntouched, "Can't restore"},
        {"share", "shm_open", EMFILE, share, 0, kUntouched, "", 1, 3},
        {"share, no length", "ftruncate", ENOSPC, share, 0},
        {"share, length again", "ftruncate", EINTR, share, 1},
        {"share, no mapping", "mmap", ENOMEM, share, 0},
        {"share another's", "shm_open", EMFILE, shareAnothers, 1, kUntouched, "", 3},
        {"share, still mapped", "munmap", EINVAL, share, 1},
        {"share, name stays", "shm_unlink", EACCES, share, 1},
    });
    shm_unlink(ToBytes(L"/" + name).c_str());
    EXPECT_FALSE(exists());
}

/// An operation, and what it must leave when it says that it is done. When it says that it is not,
/// nothing may be lost.
struct WholeCase {
    const char* What;
    bool (*Operate)(const CPlace&);
    std::vector<std::string> DoneParts; ///< of the listing
    std::vector<std::string> Bytes;     ///< of files that are somewhere even then
};

/// Every call that an operation makes fails once, whatever its number: it loses nothing, and never
/// says that it did what it did not.
TEST(Faults, OfAnyCallLoseNothingAndAreNotHidden) {
    LoadTools();
    const std::vector<std::string> all = {"old", "newer", "x", "y"};
    const WholeCase cases[] = {
        {"copy tree", CopyTree, {" c/x=x ", " c/s/y=y ", " t/x=x ", " t/s/y=y "}, all},
        {"move tree", MoveTree, {" c/x=x ", " c/s/y=y "}, all},
        {"replace", Replace, {" a=newer "}, {"x", "y"}},
        {"move", Move, {" a=newer "}, {"x", "y"}},
        {"make tree", MakeTree, {" n/o/p/"}, all},
        {"delete but one", DeleteButX, {" t/x=x "}, {"old", "newer"}},
        {"delete empty", DeleteEmpty, {}, all},
        {"prune", Prune, {" b=newer ", " t/x=x ", " t/s/y=y "}, {}},
    };
    for (const WholeCase& row : cases) {
        std::map<std::string, int> counts;
        {
            const FailingCall none("none", 0);
            row.Operate(CPlace());
            counts = none.GetCounts();
        }
        for (const auto& [call, count] : counts) {
            for (int nth = 1; nth <= count; ++nth) {
                SCOPED_TRACE(row.What + (" " + call + " ") + std::to_string(nth));
                const CPlace place;
                const int before = CountDescriptors();
                bool result = false;
                {
                    const FailingCall failure(call, EIO, nth);
                    result = row.Operate(place);
                    EXPECT_TRUE(failure.HasFailed());
                }
                EXPECT_EQ(CountDescriptors(), before);
                const std::string list = " " + place.List() + " ";
                for (const std::string& part : row.DoneParts) {
                    EXPECT_TRUE(!result || list.find(part) != list.npos) << list;
                }
                for (const std::string& bytes : result ? row.Bytes : all) {
                    EXPECT_THAT(list, HasSubstr("=" + bytes + " "));
                }
            }
        }
    }
}

/// A small volume of its own, for the length of a scope.
class CSmallVolume {
public:
    explicit CSmallVolume(std::string path) : Path(std::move(path)) {
        std::filesystem::create_directories(Path);
        IsMounted = mount("tmpfs", Path.c_str(), "tmpfs", MS_NOSUID | MS_NODEV, "size=64k") == 0;
    }
    CSmallVolume(const CSmallVolume&) = delete;
    CSmallVolume& operator=(const CSmallVolume&) = delete;
    ~CSmallVolume() {
        if (IsMounted) {
            umount(Path.c_str());
        }
    }

    bool IsMounted = false;

private:
    std::string Path;
};

TEST(Faults, OfAFullVolumeLeaveTheSourceAndNoHalfFileInPlace) {
    const CPlace place;
    const CSmallVolume volume(place.Folder / "v");
    if (!volume.IsMounted) {
        GTEST_SKIP() << "no right to mount a volume: " << std::strerror(errno);
    }
    const std::string large(100'000, 'l');
    place.Folder.Write("big/a", large);
    place.Folder.Write("v/old", "old");

    EXPECT_FALSE(VnFileSystem::SafeReplaceFile(place / "v/new", place / "big/a", 0,
                                               /*deleteReplacementOnFailure=*/false));
    EXPECT_FALSE(place.Folder.Exists("v/new")) << "no part of a file stands under the name";
    EXPECT_FALSE(VnFileSystem::SafeReplaceFile(place / "v/old", place / "big/a", 0,
                                               /*deleteReplacementOnFailure=*/false));
    EXPECT_EQ(place.Folder.Read("v/old"), "old");
    EXPECT_FALSE(VnFileSystem::MoveDirectory(place / "big", place / "v/tree", /*recursive=*/true));
    EXPECT_EQ(place.Folder.Read("big/a"), large);
    std::filesystem::remove_all(place.Folder / "v/tree");
    EXPECT_FALSE(VnFileSystem::CopyFile(place / "big/a", place / "v/b", /*failIfExists=*/false));
    std::filesystem::remove(place.Folder / "v/b");

    VnFile file(place / "v/c", VnFile::kAccessWrite, 0, VnFile::CreateNew);
    ASSERT_TRUE(file.Open());
    int64_t written = 0;
    EXPECT_TRUE(file.Write(large.data(), 100'000, written));
    EXPECT_LT(written, 100'000) << "what fits goes out, and the caller is told how much";
    EXPECT_FALSE(file.Write("x", 1));
    EXPECT_TRUE(VnFileSystem::CreateDirectory(place / "big/d"));
    EXPECT_FALSE(VnString(ToText(large)).SaveToFile(place / "v/d", kEncodingUTF8));
}

} // namespace

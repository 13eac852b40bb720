#pragma once

#include "core/VnString.h"
#include "core/VnStringMap.h"

#include <cstdint>
#include <cstdio>

class VnDate;
class VnStringArray;

/// Whole-file work on local paths, names of files, mounted volumes and well-known directories.
///
/// No function throws or shows a message: a failure is the false, empty or neutral result told
/// here, and the graver ones leave a line of category 1 in the log. The functions have no shared
/// state and run on any thread. Separators of the paths are "/"; a directory may be given with or
/// without the one at its end. What means nothing on this platform stays as an operation with a
/// fixed result.
namespace VnFileSystem {

// Single files: VnFileSystemOperations.cpp

/// Removes a file. False when the path is empty or the file was not removed; a failure on a file
/// that is there is logged.
bool DeleteFile(const VnString& path);

/// Moves a file or directory, within a volume by rename(2), otherwise by the program mv, which
/// replaces a file that is there.
bool MoveFile(const VnString& source, const VnString& destination);

/// Copies a file by the program cp, over one that is there; with `failIfExists` whatever is there,
/// a directory too, gives false at once.
bool CopyFile(const VnString& source, const VnString& destination, bool failIfExists);

/// Copies a file into a directory, which must exist, under `newName` or, when that is empty, its
/// own name.
bool CopyToDirectory(const VnString& file,
                     const VnString& directory,
                     bool failIfExists,
                     const VnString& newName = VnString());

/// Moves a file into a directory, which is made, under `newName` or its own name. Nothing is done,
/// and the result is false, when there is a file already.
bool MoveToDirectory(const VnString& file,
                     const VnString& directory,
                     const VnString& newName = VnString());

/// Puts a finished new file in the place of an old one, so that at every moment one complete file
/// lies under the name or one next to it. False, and `target` as it was, when `replacement` is
/// smaller than `minimumSize` bytes or cannot be moved; with the flag it is deleted then.
bool SafeReplaceFile(const VnString& target,
                     const VnString& replacement,
                     int64_t minimumSize,
                     bool deleteReplacementOnFailure);

/// Whether there is a file; a directory is none. See VnFilename::Exists for the flag.
bool FileExists(const VnString& path, bool useToolsModule = true);

/// Whether there is something that is no directory, by stat(2).
bool IsFile(const VnString& path);

/// Whether there is a directory, by stat(2).
bool IsDirectory(const VnString& path);

/// Whether there is a directory, by the path service; false without the tools module.
bool DirectoryExists(const VnString& path);

/// Bytes of a file, -1 when it is missing. A URL is asked for over the network with `allowRemote`.
int64_t GetFileSize(const VnString& path, bool allowRemote = false);

/// fopen(3) with a close-on-exec descriptor; null on failure. The caller closes the file.
FILE* OpenFile(const VnString& path, const char* mode);

/// Have no meaning on this platform: nothing happens, the result is 0.
uint32_t GetFileAttributes(const VnString& path);
int32_t SetFileAttributes(const VnString& path, uint32_t attributes);
int32_t UnmapFilename(const VnString& path);

// The process: VnFileSystemOperations.cpp

/// Changes into the directory part of the path; a directory's own path must end in "/".
bool SetCurrentDirectory(const VnString& path);

/// The current directory as the system spells it; empty on failure.
VnString GetCurrentDirectory();

/// An environment variable; empty when it is not set.
VnString GetEnvironment(const VnString& name);

/// Sets an environment variable, replacing its value. Not for a process that reads it on another
/// thread.
bool SetEnvironment(const VnString& name, const VnString& value);

/// Shows the directory of a file in the desktop's file manager. True when the program could be
/// started.
bool ShowInFileManager(const VnString& path);

// Directory trees: VnFileSystemTrees.cpp

/// One mkdir(2) with mode 0777.
bool CreateDirectory(const VnString& path);

/// Makes a directory with all levels above it that are missing. True when the directory is there
/// then and, with `testWrite`, a file can be made in it. A relative path is not created: true
/// without `testWrite`, false with it. False for an empty path and without the tools module; a
/// failure is logged.
bool MakeDirectoryTree(const VnString& path, bool testWrite = false);

/// Whether a file can be made in a directory; false for an empty text.
bool TestDirectoryWrite(const VnString& directory);

/// Removes a directory with everything in it. Refused, logged and false for "/" and for any path
/// that holds
/// "..". Files whose extension is in `keepExtensions`, or whose name is in `keepNames` (both in any
/// letter case, both may be null), stay, and so does the directory then, also when it cannot be
/// listed; below sub-directories nothing is kept. Otherwise true, also when something could not be
/// removed; false for an empty path.
bool DeleteDirectoryTree(const VnString& path,
                         const VnStringArray* keepExtensions = nullptr,
                         const VnStringUniqueList<VnString, false>* keepNames = nullptr);

/// Removes a directory that IsDirectoryEmpty calls empty, and with `walkUp` the directories above
/// it as long as they are empty too. `recursive` counts a directory that holds only empty
/// directories as empty. Paths of less than 3 characters are left alone.
void DeleteEmptyDirectories(const VnString& path, bool recursive, bool walkUp);

/// Whether a directory holds nothing but files named "Thumbs.db" in any letter case.
/// Sub-directories are looked into with `recursive`; otherwise they only count with
/// `directoriesCount`. `defaultResult` answers for a directory that cannot be listed. Hidden names
/// are not seen.
bool IsDirectoryEmpty(const VnString& path,
                      bool defaultResult,
                      bool recursive,
                      bool directoriesCount);

/// Move or copy a directory by a VnMoveCopyDirectory, with its sub-directories when `recursive`.
/// True when everything arrived; what did not arrive keeps its source.
bool MoveDirectory(const VnString& source, const VnString& destination, bool recursive);
bool CopyDirectory(const VnString& source, const VnString& destination, bool recursive);
bool TransferDirectory(const VnString& source,
                       const VnString& destination,
                       bool deleteSource,
                       bool recursive);

// Pruning: VnFileSystemPrune.cpp

/// A file that PruneOldFilesFromDirectory weighs.
struct CPruneFile {
    VnString Path;
    double Date = 0; ///< of the last modification
    int64_t Size = 0;
};

/// Deletes the oldest files of a directory until at most `maximumFiles` of together at most
/// `maximumBytes` are left; a negative limit means none. Sub-directories are left alone.
void PruneOldFilesFromDirectory(const VnString& directory,
                                int32_t maximumFiles,
                                int64_t maximumBytes);

// Names: VnFileSystemNames.cpp

/// The path itself, or with a number behind its name, "a (1).mp3", so that no file of that name
/// exists.
VnString GetFreeFilename(const VnString& path);

/// The path, or with a number behind its last segment, so that no directory of that name exists,
/// ending in "/".
VnString GetFreeDirectory(const VnString& path);

/// A path for a temporary file: `directory` or, when that is empty, the temp directory, then
/// `name`, with `addThreadId` the number of the calling thread, and the extension. With `makeFree`
/// it passes through GetFreeFilename. Nothing is created.
VnString GetTempFilename(const VnString& name,
                         const VnString& extension,
                         bool addThreadId,
                         bool makeFree,
                         const VnString& directory = VnString());

/// A directory `name`, with `addThreadId` one level more for the calling thread, below the temp
/// directory; with `recreate` it is emptied and made.
VnString GetTempSubdirectory(const VnString& name, bool addThreadId, bool recreate);

/// Characters below 32 become blanks; ":", "/", "*", "?", double quotes, "<", ">" and "|" become
/// `replacement`.
void ReplaceIllegalCharacters(VnString& text, wchar_t replacement);

/// Makes a text fit for the name of a file: no white space at its ends, no separator, no illegal
/// character and no dot at its start.
void CleanFilename(VnString& text, wchar_t replacement = L'_');

/// Makes a relative path fit for a device; its separators come out as "/". With `cleanSegments` the
/// segments lose blanks at both ends and, without `keepDots`, dots at their end, and with
/// `limitLength` a text of more than 4088 characters is shortened. Without it every separator
/// becomes `replacement`.
void CleanPathName(
    VnString& text, bool cleanSegments, wchar_t replacement, bool limitLength, bool keepDots);

/// Cuts `excess` characters off the end of the name, ahead of the extension. False, and no change,
/// unless the name is longer than `excess` + 1.
bool ShortenFilename(VnString& path, int32_t excess);

/// A byte count for people: "1023 bytes", "1.5 KB", up to "PB".
VnString FormatSize(int64_t bytes);

/// Reads back what FormatSize wrote: a number, times the unit "kb" to "pb" found anywhere in the
/// text in any letter case.
int64_t ParseSize(const VnString& text);

// Well-known directories: VnFileSystemDirectories.cpp
//
// A result ends in "/" unless it is empty. A missing source gives an empty text or the fallback
// told here.

/// The directory of the installation: that of CProcessInfo, or the built-in one when that has none.
VnString GetDirectoryInstall();

/// "Data" below the install directory; with the flag below the data path of CProcessInfo if that
/// has one.
VnString GetDirectoryData(bool useProcessPath);

/// "Plugins" below the install directory.
VnString GetDirectoryPlugins();

/// The data path of CProcessInfo.
VnString GetDirectoryProcessData();

/// The application-data path of CProcessInfo: below the install directory for a portable
/// installation, otherwise the home directory.
VnString GetDirectoryApplicationData();

/// The user's data: what a loaded tools module says, otherwise ".velnor/Generic/" below
/// GetDirectoryApplicationData.
VnString GetDirectoryUser();

/// The environment variable "HOME".
VnString GetDirectoryHome();

/// "Desktop" below the home directory.
VnString GetDirectoryDesktop();

/// The user's folders: what the user-dirs.dirs file of the desktop says, otherwise "Documents",
/// "Music", "Images" and "Video" below the home directory, or relative when that is not known.
VnString GetDirectoryDocuments();
VnString GetDirectoryMusic();
VnString GetDirectoryPictures();
VnString GetDirectoryVideo();

/// What the desktop's user-dirs.dirs file has under `key`, such as "XDG_MUSIC_DIR", with "$HOME"
/// replaced; empty when it has nothing.
VnString GetXDGUserDirectory(const VnString& key);

/// "/usr/bin/".
VnString GetDirectorySystem();
VnString GetDirectoryPrograms();

/// "/tmp/".
VnString GetDirectorySystemTemp();

/// The directory for temporary files, which is made: with `useSetting` the one that the user's
/// settings name (with `addUserFolder` ".velnor" below it), otherwise "Temp" below
/// GetDirectoryUser. A setting that cannot be made is deleted; one of another platform ("C:\...")
/// is ignored.
VnString GetTempDirectory(bool useSetting = true, bool addUserFolder = true);

/// Stores the directory for temporary files in the user's settings; the default directory deletes
/// the setting. Nothing happens without the tools module.
void SetTempDirectory(const VnString& path);

/// "Skins" and "Visualizations" below the install directory with the flag, otherwise below
/// GetDirectoryUser.
VnString GetDirectorySkins(bool fromInstall);
VnString GetDirectoryVisualizations(bool fromInstall);

/// The folder of one of the host's views below GetDirectorySkins.
VnString GetDirectorySkinsFolder(const VnString& segment, bool fromInstall);

/// Directories of other platforms: empty on this one.
VnString GetDirectoryWorking();
VnString GetDirectoryStartMenu();
VnString GetDirectorySystemFonts();
VnString GetDirectoryIE();
VnString GetDirectorySpecialFolder(int32_t folder, bool create = false);
VnString GetDirectorySpecialFolderMedia(int32_t folder, bool create = false);

/// The file of the module that holds this code, and of the program that runs, as the system names
/// them; empty when it does not say.
VnString GetThisModuleFilename();
VnString GetExecutableFilename();

/// Makes a directory text that is not empty end in exactly one "/".
void NormalizeDirectory(VnString& path);

// Dates: VnFileInfo.cpp

/// The last change of the contents of a file or directory, in local time; no date when it is
/// missing.
VnDate GetFileDate(const VnString& path);

// Volumes: VnFileSystemVolumes.cpp

/// Bytes of the volume that holds `path`: all, those that are free, and those that are free to an
/// ordinary user; and whether it is mounted read only. False, and all outputs 0, when statvfs(3)
/// fails.
bool VnStatFS(
    const VnString& path, uint64_t& total, uint64_t& free, uint64_t& available, bool& readOnly);

/// VnStatFS with its outputs in another order.
bool GetDiskSpace(
    const VnString& path, uint64_t& available, uint64_t& total, uint64_t& free, bool& readOnly);

/// One value of VnStatFS: the bytes that are free, and all bytes. 0 on failure.
bool GetFreeSpace(const VnString& path, uint64_t& free);
bool GetTotalSpace(const VnString& path, uint64_t& total);

/// Where a device node such as "/dev/sdb1" is mounted; empty when it is not. Runs `findmnt` and
/// waits for it.
VnString GetMountpointFromDevice(const VnString& device);

/// The label of a device node as udev spells it in /dev/disk/by-label (a blank as `\x20`), and a
/// number that tells volumes apart: the size in blocks of 512 bytes less 1048, or 0 when that is
/// not known or too small. True when the device has a label; otherwise `label` is empty and
/// `serial` 0. Runs `cat` and waits for it.
bool GetVolumeInformation(const VnString& device, VnString& label, uint32_t& serial);

/// The label of GetVolumeInformation.
VnString GetVolumeName(const VnString& device);

/// The network name of this machine; empty when the system does not say.
VnString GetComputerName();

/// The hardware addresses of this machine, through the reader module; true when there is at least
/// one.
bool GetMacAddresses(VnStringArray& addresses);

/// One hardware address such as "00-1b-63-84-45-e6", found without any sibling module: that of
/// "eth0", or else of the first interface that is no loopback. Empty when there is none.
VnString GetFirstMacAddressUnconditionally();

/// Whether "/dev/sr0" is a block device.
bool HasOpticalDrive();

/// Drive letters have no meaning on this platform: the result is 0, and the array and the texts are
/// emptied.
int32_t GetDriveType(const VnString& drive);
int32_t GetCDDriveInfo(const VnString& drive, VnString& vendor, VnString& product);
int32_t GetAvailableDrives(VnStringArray& drives);

} // namespace VnFileSystem

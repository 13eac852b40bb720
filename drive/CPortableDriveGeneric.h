#pragma once

#include "core/VnStringMap.h"
#include "drive/CPortableDriveBase.h"
#include "drive/CStoredRecords.h"

class IVnTagReaderItem;
class VnBuffer;
class VnFilename;
class VnFilenameArray;
class VnXMLDocument;

/// A drive for a device that is a plain mounted file system.
///
/// Keeps in memory what its database file on the device holds: for each file's full path, in any
/// letter case, the record as XML text, which is parsed only when it is reported. See the file
/// formats in docs/file-formats.md.
class CPortableDriveGeneric : public CPortableDriveBase {
public:
    explicit CPortableDriveGeneric(CPortableDrivesImpl* owner);
    ~CPortableDriveGeneric() override;

    // Scan: CPortableDriveScan.cpp

    /// Reports every file of the device (a location of one component), or of one of its playlists
    /// (two), as records of `list`; reads the tags of files that the database does not know, and
    /// keeps the database up to date. Always 0.
    int32_t GetFiles(const wchar_t* location, IVnHandheldFileList* list) override;
    /// The names of the device's playlists joined with U+0001; none for a deeper location. Sets the
    /// integers to 0 and 1.
    int32_t
    GetFolders(const wchar_t* location, wchar_t** names, int32_t* first, int32_t* second) override;
    /// The playlist files that stand directly in the playlist folder.
    void ListPlaylists(VnFilenameArray& playlists);

    // Commands: CPortableDriveCommands.cpp

    int32_t HandleFolderMenu(const wchar_t* location, int32_t mode, IVnHandheldMenu* menu) override;
    void OnCommandHook() override;
    /// The device's name in the host's tree, with the mount point of a plain drive in brackets.
    VnString GetDisplayName();

    // Delete and sync: CPortableDriveDelete.cpp

    /// Deletes the files of the list that lie on the device, their records and the folders that
    /// this empties, and saves the database once. Always 0; what could not be deleted stays with
    /// its record.
    int32_t Delete(IVnHandheldFileList* list) override;
    /// With the property DeleteFilesNotInSync, deletes the device's playlists.
    void DeleteFilesNotInSync() override;
    /// Removes a folder that holds nothing any more, and each folder above it that this empties, up
    /// to a protected one. `path` is left at the folder that stopped the climb.
    static void PruneEmptyFolders(VnString& path, const VnStringArray& protectedFolders);

    // Upload and art: CPortableDriveUpload.cpp

    /// Sends a library file (and what GetAllFilesExtensionMask carries along) to the path worked
    /// out for it. 0 when at least one file of the item arrived.
    int32_t Upload(IVnHandheldFile* file) override;
    /// The source, and the files beside it with the same name and an extension that begins with
    /// `mask`.
    static void
    CollectUploadFiles(const VnFilename& source, const VnString& mask, VnStringArray& files);
    /// Each dot that begins a segment becomes "_".
    static void ReplaceLeadingDots(VnString& path);
    /// Copies the picture of a file into `folder` (which ends in "/") unless one is there. True for
    /// a copy.
    bool TransferCoverArt(IVnHandheldFile* file, const VnString& folder);

    // Playlists: CPortableDrivePlaylists.cpp

    /// Has the list write the playlist `name` into the playlist folder, and rewrites it the way the
    /// device wants it. kResultFailure when the list's writer failed, and for a device that takes
    /// no playlists.
    int32_t SendPlaylistInfo(const VnString& name, IVnHandheldFileList* list) override;

    // Database: CPortableDriveDatabase.cpp

    /// Writes all records to the device's database file. A failure shows at the next load.
    void SaveDatabase() override;
    VnString GetDatabasePath();
    class CRecordSource;
    /// Adds one Field element per name that the source has a value for.
    static void AddFieldsToItem(const CRecordSource& source,
                                VnXMLDocument& document,
                                const VnStringArray& names);
    static void
    AddItemField(const CRecordSource& source, VnXMLDocument& document, const VnString& name);
    /// Number of records in memory.
    int32_t GetRecordCount() { return GetDatabaseMap().GetCount(); }

private:
    using CDatabaseMap = VnStringMap<VnString, false, VnString, const VnString&, true>;

    // Database
    /// Whether a path survives the database file: a byte that is no UTF-8 and a control character
    /// do not. The record of any other path lives in memory only, and such a file is read anew by
    /// each scan.
    static bool CanBeStored(const VnString& path);
    VnString MakeDatabaseText();
    /// DatabaseMap with the records in it that Stored still had.
    CDatabaseMap& GetDatabaseMap();
    void ForgetRecords();
    void LoadDatabase();
    /// Loads a database that is not of the plain form, through the XML parser. False when it holds
    /// nothing for us.
    bool LoadDocument(VnBuffer& bytes);
    static VnString MakeItemText(IVnHandheldFile* file, const VnStringArray& names);
    static VnString MakeItemText(IVnTagReaderItem* item, const VnStringArray& names);

    // Scan
    class CScan;
    static int32_t GetDepth(const wchar_t* location);
    /// Lists the files of the search folders. True when no two of the paths are equal in any letter
    /// case. `complete` tells whether every folder could be read to its end.
    bool FindFiles(VnStringArray& files, bool& complete);
    void FindPlaylistFiles(const VnString& location, VnStringArray& files);
    void ReadPlaylistLines(const VnString& path, VnStringArray& files);
    void ReadASXPlaylist(const VnString& path, VnStringArray& files);
    bool ResolvePlaylistLine(VnString line, VnString& path);
    /// Drops the records of files that `files` does not hold; null when there are none. Unless the
    /// list is `complete`, a file that is still there keeps its record.
    void RemoveVanishedRecords(const VnStringArray* files, bool complete);

    // Upload
    static void FitToPathLimit(VnString& target, const VnString& extension);
    VnString GetUploadFolder(IVnHandheldFile* file);
    VnString GetUploadTarget(IVnHandheldFile* file, const VnString& folder);

    // Playlists
    void RewritePlaylist(const VnString& path,
                         int32_t format,
                         const VnString& root,
                         const VnString& token);

    // Delete
    void GetProtectedFolders(const VnString& root, VnStringArray& folders);

    // Commands
    VnString GetPlaylistOfNode(const VnString& location);
    void FillMenu(const VnString& location,
                  int32_t depth,
                  const VnString& folder,
                  IVnHandheldMenu* menu);
    void RunMenu(const VnString& location, const VnString& folder, int32_t id);
    void RebuildDatabase();

    CDatabaseMap DatabaseMap; ///< ItemText of each file by its full path
    CStoredRecords Stored;    ///< records of the file that are not in DatabaseMap yet
};

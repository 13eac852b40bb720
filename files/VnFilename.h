#pragma once

#include "core/VnPropertyMap.h"
#include "core/VnString.h"

#include <cstdint>

class VnStringArray;

/// Spellings of a path, as arguments of VnFilename::ConvertPathStyle. They are stored nowhere.
enum VnPathStyle : int32_t {
    PathStyleUnknown = 0,      ///< not known, looked at per call
    PathStyleGeneric = 1,      ///< either separator
    PathStyleNative = 2,       ///< this platform's: forward slash
    PathStyleBackslash = 3,    ///< backslash
    PathStyleForwardSlash = 4, ///< forward slash
    PathStyleFileURL = 5,      ///< a "file://" URL with percent-escapes
};

/// What a caller of VnFilename::Split asks for. Each pointer is an out value or null; the texts
/// that they point at are owned by the caller and must not be the text that is being split.
struct VnFilenameParts {
    VnString* Drive = nullptr; ///< "C:", "\\server", "/dev/sdb1"; of a URL the scheme with "://"
    VnString* Directory =
        nullptr; ///< with its trailing separator; of a URL it begins with the authority
    VnString* Name = nullptr;       ///< without the extension
    VnString* Extension = nullptr;  ///< without the dot
    VnString* Query = nullptr;      ///< of a URL: behind the last "?", without it
    bool* IsURL = nullptr;          ///< the text as given holds "://"
    VnString* User = nullptr;       ///< of a URL: ahead of "@", up to ":"
    VnString* Password = nullptr;   ///< of a URL: ahead of "@", behind ":"
    VnString* Host = nullptr;       ///< of a URL: without user and port
    int32_t* Port = nullptr;        ///< of a URL: 0 when there is none
    VnString* PathOnHost = nullptr; ///< of a URL: first through last separator behind the authority
};

/// The name of anything that can be opened: a local path, a URL, or a pseudo name that is no file.
///
/// The text is kept exactly as it was given; conversion happens in the getters. Named properties
/// may travel with it. Two stored forms are taken apart on construction and by Set: the XML form
/// (GetXMLForm) and `name.ext;data`, whose data becomes the property "PostExtensionData". A
/// malformed form degrades to plain text, and nothing here throws.
///
/// "/" and backslash both separate, whatever the platform. A text that holds "://" anywhere is
/// remote and is split as a URL. All compares of names, schemes and tokens ignore letter case
/// unless said otherwise. Getters give an empty text, -1 or 0 where there is nothing to give.
///
/// A copy shares the text and copies the properties. One object is for one thread at a time.
class VnFilename {
public:
    /// Property keys with a meaning of their own.
    static constexpr const wchar_t* kFileType = L"FileType"; ///< extension it is treated as, no dot
    static constexpr const wchar_t* kPostExtensionData = L"PostExtensionData";
    static constexpr const wchar_t* kPlaybackInfo = L"PlaybackInfo"; ///< a property map as records
    static constexpr const wchar_t* kTVChannel = L"TVChannel";
    static constexpr const wchar_t* kUserAgent = L"UserAgent";

    /// Characters of the longest path that the system takes, without the terminator.
    static constexpr int32_t kPathLimit = 4095;

    // Construction: VnFilename.cpp

    VnFilename() = default;
    /// Store the text (null is empty) and take apart a stored form.
    explicit VnFilename(const wchar_t* text);
    explicit VnFilename(const VnString& text);
    VnFilename(const VnFilename& other);
    VnFilename(VnFilename&& other) noexcept = default;
    VnFilename& operator=(const VnFilename& other);
    VnFilename& operator=(VnFilename&& other) noexcept = default;
    ~VnFilename() = default;

    /// Replaces the text and the flag, then takes apart a stored form. Without `clearProperties`
    /// the properties stay, and those of the stored form are added.
    void Set(const VnString& text, bool clearProperties = true, bool lowerCaseExtension = true);

    /// Empties the text and drops the properties.
    void Clear();

    /// Drops the properties, and with `alsoText` empties the text.
    void ClearProperties(bool alsoText = false);

    /// Takes apart a stored form that stands in the text. `clearProperties` drops the properties
    /// first. A failed XML form leaves an empty text; a `name.ext;data` form whose shape does not
    /// fit (1 to 5 characters between the last "." and the last ";") stays as it is.
    void ParseFilenameForm(bool clearProperties);

    /// Equal texts in exact case, equal properties and equal flags.
    bool operator==(const VnFilename& other) const;
    bool operator!=(const VnFilename& other) const { return !(*this == other); }

    // Classification: VnFilenameClasses.cpp. Each test has a static form for a plain text (null is
    // empty), which does not take apart stored forms unless it looks at the extension.

    /// Whether the text holds "://" anywhere, also in a query. That is the whole rule.
    bool GetIsFileRemote() const { return GetIsFileRemote(Filename); }
    static bool GetIsFileRemote(const wchar_t* text);

    /// Whether the text can be handed to the file system. Each flag permits one class: the empty
    /// text, a pseudo drive "(0x12345678):/", a URL, a name for which GetIsSpecialName holds, and a
    /// text that starts with two backslashes. The defaults are the test that nearly all callers
    /// want.
    bool GetIsFileLocal(bool allowEmpty = false,
                        bool allowPseudoDrive = false,
                        bool allowURL = false,
                        bool allowSpecial = false,
                        bool allowUNC = true) const;
    static bool GetIsFileLocal(const wchar_t* text,
                               bool allowEmpty = false,
                               bool allowPseudoDrive = false,
                               bool allowURL = false,
                               bool allowSpecial = false,
                               bool allowUNC = true);

    /// Whether the text is one of the pseudo names that are no files: it holds ".tvlb", ".vntv" or
    /// ".tvgd" in exact case, or starts with "(", digits and ":", with "<XMLPH version=", or with
    /// "Radio Paradise: ".
    bool GetIsSpecialName() const { return GetIsSpecialName(Filename); }
    static bool GetIsSpecialName(const wchar_t* text);

    /// Whether the text is remote and holds "THWS".
    bool GetIsLibraryServerURL() const { return GetIsLibraryServerURL(Filename); }
    static bool GetIsLibraryServerURL(const wchar_t* text);

    /// Whether GetIsLibraryServerURL holds and the text also holds "conversion".
    bool GetIsConversionURL() const { return GetIsConversionURL(Filename); }
    static bool GetIsConversionURL(const wchar_t* text);

    /// Whether the text starts with "rtmp://", "rtmps://", "rtmpe://" or "rtmpt://".
    bool GetIsRTMP() const { return GetIsRTMP(Filename); }
    static bool GetIsRTMP(const wchar_t* text);

    /// Whether the extension, or file type, is "vtv", "vts" or "vntv".
    bool GetIsTVFile() const;
    static bool GetIsTVFile(const wchar_t* text);

    /// Whether this is a URL of 251 characters and more that names no known media file: the
    /// extension, or file type, is in exact case none of "m4a", "mp4", "ra", "rm", "ram", "flv",
    /// "mkv".
    bool GetIsLongStreamingURL() const;
    static bool GetIsLongStreamingURL(const wchar_t* text);

    /// The kind of the scheme by its first letters: 4 for "https", 3 for "http", 1 for "ftp", 0 for
    /// the rest. An empty `scheme` is filled with GetScheme first; another one is looked at
    /// instead.
    int32_t GetURLScheme(VnString& scheme) const;
    int32_t GetURLScheme() const;
    static int32_t GetURLScheme(const wchar_t* text, VnString& scheme);

    // Splitting: VnFilenameSplit.cpp

    /// The one parser behind all getters: computes what `parts` asks for. File URLs become native
    /// paths and the install drive token is expanded first, but whether the text is split as a URL
    /// is decided on the text as given. `lowerCaseExtension` applies to local paths only. Always
    /// true.
    bool Split(const VnFilenameParts& parts) const;
    static bool
    Split(const VnString& text, const VnFilenameParts& parts, bool lowerCaseExtension = true);

    // Parts of the name: VnFilenameParts.cpp

    /// What every system call gets: a file URL as its native path, the install drive token
    /// expanded.
    VnString GetLocalPath() const { return GetLocalPath(Filename); }
    static VnString GetLocalPath(const VnString& text);

    /// The drive; of a URL the scheme with "://".
    VnString GetDrive() const;
    static VnString GetDrive(const VnString& text);
    /// GetDrive without "/" and ":" at its end.
    VnString GetScheme() const;
    /// The directory with its trailing separator, without the drive.
    VnString GetDirectory() const;
    /// Drive and directory.
    VnString GetPathOnly() const;
    static VnString GetPathOnly(const VnString& text);
    /// Drive, directory and name, without the extension.
    VnString GetPathAndName() const;
    /// The name without the extension.
    VnString GetName() const;
    /// Name, "." and extension, when there is one; with the flag also AppendPostExtensionData.
    VnString GetNameAndExtension(bool appendPostExtensionData = false) const;
    /// The extension without its dot; with the flag "FileType" goes first unless it is empty.
    VnString GetExtension(bool useFileType = true) const;
    /// Directory, name, "." and extension, without the drive.
    VnString GetDirectoryNameAndExtension() const;
    /// The last segment of the directory; empty when the directory holds no second separator.
    VnString GetLastDirectory(bool keepSlash = false) const;

    /// The host of a URL without user and port.
    VnString GetHost() const;
    /// The port of a URL. When there is none, with `useDefault` that of the scheme: http 80, https
    /// 443, ftp 21; otherwise 0.
    int32_t GetPort(bool useDefault = false) const;
    /// The host, and ":" with GetPort when the low 16 bits of that are not 0.
    VnString GetHostAndPort(bool useDefault = false) const;
    /// The two parts of a URL ahead of "@".
    void GetUserAndPassword(VnString& user, VnString& password) const;
    /// The text of a URL behind its last "?"; with the flag, and when not empty, with a "?" in
    /// front.
    VnString GetQuery(bool withMark = false) const;
    /// The path on the host, name, extension, and with the flag "?" and the query when there is
    /// one.
    VnString GetURLPath(bool withQuery = false) const;
    /// GetURLPath up to and with its last "/"; empty when that leaves only "/".
    VnString GetURLParentPath() const;

    // Changing the name: VnFilenameChange.cpp. The new text is not searched for stored forms, and
    // the properties stay.

    /// Puts the text together: "." goes ahead of an extension and "?" ahead of a query that is not
    /// empty.
    void Assemble(const VnString& drive,
                  const VnString& directory,
                  const VnString& name,
                  const VnString& extension,
                  const VnString& query = VnString());
    /// Replaces the scheme of a URL; "://" is added to `scheme` when it does not end with it. A
    /// text that is no URL stays.
    void SetScheme(const VnString& scheme);
    /// Replaces the path on the host of a URL; user, password and port are dropped. `directory` is
    /// taken as it is, with the separators at its ends. A text that is no URL stays.
    void SetURLDirectory(const VnString& directory);
    /// Rebuilds a URL with its host and this port; user and password are dropped. A port whose low
    /// 16 bits are 0 is left out. A text that is no URL stays.
    void SetPort(int32_t port);
    /// Appends "?" when the text holds none, otherwise "&", then the parameter as it is.
    void AddQueryParameter(const VnString& parameter);
    /// Advances the name with VnString::MakeUnique: "a.mp3" becomes "a (1).mp3", then "a (2).mp3".
    /// The file type goes into the text as the extension; a query is dropped. `useSuffix` lets a
    /// number of 2 or more start again at 1, so a search for a free name leaves it off.
    void IncrementName(bool useSuffix = false);
    /// Shortens a local path to kPathLimit - `reserve` characters: first directories (from the
    /// last, to no less than `minimumDirectory` characters) by what a name of `minimumName` and an
    /// extension of `minimumExtension` characters need, then the name by what is left. What is cut
    /// ends in an ellipsis (U+2026). `makeUnique` keeps 5 characters spare and numbers the name
    /// until no such file exists. False, and no change, for a text that is not local and when
    /// nothing has to be cut. Stored forms are then taken apart again.
    bool ShortenToPathLimit(bool makeUnique,
                            int32_t minimumName,
                            int32_t minimumExtension,
                            int32_t minimumDirectory,
                            int32_t reserve);

    // Properties: VnFilenameProperties.cpp. Keys ignore letter case; null is an empty text.

    /// Sets "FileType"; an empty `type` removes it.
    void SetFileType(const VnString& type);
    /// Sets the file type of a URL from its scheme or, with `allowNetwork`, from what the server
    /// says; blocks for up to 5 s a hop. `followPlaylist` lets a body that is a bare URL take this
    /// object's place. False, and sets none, for a text without "://" and when no type is found.
    bool SetFileTypeFromURLMimeType(bool followPlaylist, bool allowNetwork);

    bool SetProperty(const wchar_t* key, const wchar_t* value);
    VnString GetProperty(const wchar_t* key, const wchar_t* defaultValue = nullptr) const;
    void SetPropertyInt(const wchar_t* key, int32_t value);
    int32_t GetPropertyInt(const wchar_t* key, int32_t defaultValue = 0) const;
    void RemoveProperty(const wchar_t* key);
    bool HasProperties() const;

    /// Stores a whole map under "PlaybackInfo".
    void SetPlaybackInfo(const VnPropertyMap& map);
    /// Replaces `map` by the stored one; true when it then holds at least one entry.
    bool GetPlaybackInfo(VnPropertyMap& map) const;

    /// The text that stood behind ";" in the `name.ext;data` form.
    VnString GetPostExtensionData() const { return GetProperty(kPostExtensionData); }
    /// Appends ";" and GetPostExtensionData to `text` unless that is empty.
    void AppendPostExtensionData(VnString& text) const;

    // Whole-name forms: VnFilenameForms.cpp

    /// The text for the whole object in playlists and other stored lists: the plain text without
    /// properties, otherwise an XMLFN document. With `expandLongPath` a text of more than 4096
    /// characters that does not start with `\\?\` is put in as its GetLocalPath.
    VnString GetXMLForm(bool expandLongPath = false) const;
    /// The text for long-term storage, with the install drive collapsed for a portable
    /// installation. Of the properties only "PostExtensionData" is kept, or "TVChannel" and
    /// "UserAgent" in the XML form when there is one of these.
    VnString GetStorageForm() const;

    /// Replaces "(Install Drive):" everywhere in a text that starts with it by the drive of the
    /// install directory; true when it did. The member also takes apart stored forms again, with
    /// the lower-case flag on.
    bool ExpandInstallDrive();
    static bool ExpandInstallDrive(VnString& text);
    /// Puts "(Install Drive):" in the place of the drive when that is the drive of the install
    /// directory; true when it did. With the flag only for a portable installation.
    bool CollapseInstallDrive(bool onlyWhenPortable);
    static bool CollapseInstallDrive(VnString& text, bool onlyWhenPortable);

    /// The name of the file that carries this one's data: "/m/a.mp3" has "/m/a_mp3_VnSidecar.xml".
    VnString GetSidecarFilename() const;

    // File state: VnFilenameState.cpp

    /// The size in bytes, -1 when the file is missing. A remote name is asked for over the network
    /// with `allowRemote` (which blocks), and is -1 otherwise.
    int64_t GetFileSize(bool allowRemote = false) const;
    /// Whether there is a file under the local path; a directory is none. With the flag the path
    /// service decides when the tools module is loaded, and gets twice `toolsOption`.
    bool Exists(bool useToolsModule = true, int32_t toolsOption = 0) const;
    /// Whether the playback info says that an HLS index exists (looked at unless
    /// `ignorePlaybackInfo`), or its file stands beside a local file.
    bool GetIsIndexedHLS(bool ignorePlaybackInfo = false) const;
    /// The text and ".vhli"; with the flag empty when there is no such file.
    VnString GetIndexedHLSFilename(bool mustExist = false) const;
    /// Deletes the files with one of these extensions in a directory, without recursion. A failed
    /// delete is logged and stops nothing.
    static void DeleteFilesInDirectory(const VnString& path, const VnStringArray& extensions);

    // Paths as texts: VnFilenamePaths.cpp

    /// Whether the text holds `text`, with "/" and backslash taken for the same; `defaultResult`
    /// for an empty or null argument.
    bool PathContains(const wchar_t* text, bool defaultResult) const;
    /// Whether the first character is "/".
    static bool IsAbsolutePath(const wchar_t* text);
    /// Whether the text starts with "/" or "~/".
    static bool IsAbsoluteOrHomePath(const wchar_t* text);
    /// The path without links and dots, by realpath(3); empty when that fails.
    static VnString GetRealPath(const VnString& text);
    /// The long spelling of a short path: on this platform the text itself.
    static VnString GetLongPathName(const VnString& text);
    /// Makes a text that is not empty end in exactly one `separator`; with `keepDoubleRoot` a text
    /// of just two separators stays.
    static void SetTrailingSeparator(VnString& text, wchar_t separator, bool keepDoubleRoot);
    /// Adds a directory to a path: both get exactly one "/" at their ends. An empty path becomes
    /// the segment alone.
    static void AppendPathSegment(VnString& path, const VnString& segment);

    static VnPathStyle GetNativePathStyle() { return PathStyleForwardSlash; }
    /// PathStyleForwardSlash when the text holds a forward slash, otherwise PathStyleBackslash.
    static VnPathStyle GetPathStyle(const wchar_t* text);
    /// Rewrites a path from one style into another. From PathStyleUnknown to forward slashes only a
    /// text without one is changed; from PathStyleFileURL only a text that starts with "file://".
    /// To PathStyleUnknown, PathStyleGeneric and PathStyleFileURL nothing changes.
    static void ConvertPathStyle(VnString& text, VnPathStyle from, VnPathStyle to);

    VnString Filename;              ///< path, URL or pseudo name, without what was taken apart
    VnPropertyMap Properties;       ///< named texts that travel with it
    bool LowerCaseExtension = true; ///< Split gives the extension of a local path in lower case
};

#pragma once

#include "core/VnString.h"
#include "core/VnStringArray.h"

#include <cstdint>
#include <memory>

/// Collects the files of a directory, or of the whole tree below it, and adds up their sizes.
///
/// Files are wanted by extension (without the dot, in any case); a name without a dot counts as its
/// own extension. What is found comes in the order of VnFileFinder, directory by directory, a
/// directory being entered at its own place among the names. Files whose name begins with a dot are
/// not listed; directories are, unless `SetSkipDotDirectories` is on. A directory that is its own
/// ancestor through a link is entered once. A directory that cannot be read adds nothing.
///
/// The scan runs at the first question for a result, and again after a setting has changed; then
/// new finds are appended to the old ones unless those were cleared. An object belongs to one
/// thread; only the cancel flag may be raised by another.
class VnFileScanner {
public:
    /// Sets the root and what is wanted; an empty extension adds no condition. Does not scan.
    explicit VnFileScanner(const VnString& path,
                           const wchar_t* extension = nullptr,
                           bool recursive = false);
    VnFileScanner(const VnString& path, const VnStringArray& extensions, bool recursive = false);

    /// `Results` may point into the object itself.
    VnFileScanner(const VnFileScanner&) = delete;
    VnFileScanner& operator=(const VnFileScanner&) = delete;
    VnFileScanner(VnFileScanner&&) = delete;
    VnFileScanner& operator=(VnFileScanner&&) = delete;
    ~VnFileScanner() = default;

    // Settings. All but the cancel flag make the next question scan again.

    /// Adds to the wanted extensions; a null or empty one is left out.
    void AddExtension(const wchar_t* extension);
    void AddExtensions(const VnStringArray& extensions);

    /// Sends the results to the caller's list, which must outlive the object's use; null goes back
    /// to the list that the object owns.
    void SetResults(VnStringArray* results);

    /// Passes over every entry that has one of these bits in its st_mode; 0 excludes nothing.
    void SetExcludeModeBits(uint32_t bits);

    /// Enters directories.
    void SetRecursive(bool recursive);

    /// Lists directories too, with a trailing "/"; off at first.
    void SetIncludeDirectories(bool include);

    /// Lists files; on at first.
    void SetIncludeFiles(bool include);

    /// Neither enters nor lists directories whose name begins with a dot; off at first.
    void SetSkipDotDirectories(bool skip);

    /// Off, the scan does not ask for the size of each file, which is most of its time on a large
    /// tree, and GetTotalSize gives 0.
    void SetSumSizes(bool sum);

    /// The scan ends, with what it has gathered so far, once this is true. It is looked at before
    /// every entry; null never ends a scan. The flag must outlive the object's use.
    void SetCancelFlag(const bool* cancelFlag) { CancelFlag = cancelFlag; }

    /// Sets the root; with `clearResults` also empties the results and the total. Does not scan.
    void SetPath(const VnString& path, bool clearResults = false);

    // Scanning

    /// Scans, unless that was done already for the present settings.
    void Scan();

    /// Sets the root and what else is given, empties the results and the total, and scans at once.
    /// An extension takes the place of all former ones.
    void Rescan(const VnString& path);
    void Rescan(const VnString& path, bool recursive);
    void Rescan(const VnString& path, const wchar_t* extension);
    void Rescan(const VnString& path, const wchar_t* extension, bool recursive);

    /// Whether the last scan could read all that it came to: false when a directory that is there
    /// could not be opened, or broke off. What is missing in the results may still be there then.
    bool IsComplete() const { return Complete; }

    // Results. Each question scans first if that is still to be done.

    /// The number of entries in the result list.
    int32_t GetCount();

    /// The sizes of the listed files in bytes; a link that leads nowhere counts as -1.
    int64_t GetTotalSize();

    /// The path at `index`, or the last one for an index behind it. There must be one. The
    /// reference lives until the result list changes.
    const VnString& GetAt(int32_t index);

    /// Appends all results in order; the result is the array's new count.
    int32_t AppendTo(VnStringArray& array);

    // The whole in one call. Results are appended to `array`; the result is its new count.

    /// The files with this extension, or with one of these; an empty one stands for every file.
    static int32_t GetFiles(const VnString& path,
                            VnStringArray& array,
                            bool recursive,
                            const wchar_t* extension = nullptr);
    static int32_t GetFiles(const VnString& path,
                            VnStringArray& array,
                            bool recursive,
                            const VnStringArray& extensions);

    /// The directories, each with a trailing "/", and no files.
    static int32_t GetDirectories(const VnString& path, VnStringArray& array, bool recursive);

    /// The size of all files below the path in bytes.
    static int64_t GetTotalSize(const VnString& path, bool recursive);

private:
    class CWalk;

    bool IsCancelled() const;
    void ClearResults();

    bool Scanned = false;     ///< the scan has run for the present settings
    bool Complete = true;     ///< every directory was read to its end
    VnString Path;            ///< root directory, with a trailing "/"
    VnStringArray Extensions; ///< wanted extensions; empty means every file
    uint32_t ExcludeModeBits = 0;
    bool Recursive;
    bool IncludeDirectories = false;
    bool IncludeFiles = true;
    bool SkipDotDirectories = false;
    bool SumSizes = true;
    const bool* CancelFlag = nullptr;
    VnStringArray OwnResults;
    VnStringArray* Results = &OwnResults; ///< where results go; null only adds up the sizes
    int64_t TotalSize = 0;
};

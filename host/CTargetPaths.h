#pragma once

#include "host/CExpression.h"

#include <functional>
#include <string>
#include <string_view>
#include <unordered_set>

class CDeviceProperties;
struct CLibraryItem;

/// Works out where on the device a library file goes, as the drive does, ahead of sending it: so
/// that a plan can name the place, a name that is taken in another letter case is left alone, and
/// the host can note the file under way.
///
/// Paths that were handed out or are on the device count as taken in any letter case, on any file
/// system: the device's database keeps one record for both spellings, and on FAT they are one file.
class CTargetPaths {
public:
    /// `exists` tells whether anything stands under a path on the device. `properties` must outlive
    /// the object.
    CTargetPaths(const CDeviceProperties& properties,
                 std::function<bool(const std::wstring&)> exists);

    struct CTarget {
        std::wstring Folder;    ///< absolute, with a final "/"
        std::wstring Name;      ///< what the name expression gives; may hold folders of its own
        std::wstring Extension; ///< without the dot
        std::wstring GetPath() const { return Folder + Name + L"." + Extension; }
    };

    /// Marks a path as taken, and as free again.
    void Take(std::wstring_view path);
    void Free(std::wstring_view path);

    /// A free target for a file, which is marked as taken: " (1)", " (2)" and so on go behind the
    /// name until it is free.
    CTarget Choose(const CLibraryItem& item);

    /// A free playlist path: folder, `name` cleaned and numbered, and the extension of the device's
    /// playlist format. A path for which `mayReplace` says so counts as free.
    CTarget ChoosePlaylist(std::wstring_view name,
                           const std::function<bool(const std::wstring&)>& mayReplace);

    /// The value of an expression of the drive for a file: ahead of it the device's path stands for
    /// itself, whatever characters it holds, and each value is cleaned. `reserved` bytes of the
    /// last name are kept free.
    std::wstring
    Evaluate(std::wstring_view expression, const IExpressionItem& item, size_t reserved = 0);

    /// The expression of file names, the drive's own default when the device sets none.
    std::wstring GetNameExpression() const;

    /// Where the picture of a folder on the device stands.
    std::wstring GetPicturePath(std::wstring_view folder) const;

    /// The extension that a file gets on the device; never empty, and fit for every file system.
    static std::wstring GetTargetExtension(const CLibraryItem& item);

    /// The extension, without the dot, of a playlist format number.
    static std::wstring_view GetPlaylistExtension(int format);

private:
    std::wstring GetFolder(const CLibraryItem& item);
    bool IsTaken(const std::wstring& path) const;
    /// Puts numbers behind the name of `target` until `isFree` accepts it.
    static void NumberName(CTarget& target, const std::function<bool(const std::wstring&)>& isFree);

    const CDeviceProperties& Properties;
    std::wstring Root;
    std::function<bool(const std::wstring&)> Exists;
    CExpressionCache Expressions;
    std::unordered_set<std::wstring> Taken; ///< folded paths
};

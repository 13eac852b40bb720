#pragma once

#include <map>
#include <string>

struct CLibraryItem;

/// Finds a picture for a library file: the one in its folder (cover, folder or front; jpg, jpeg or
/// png, in any letter case, in this order), or the one inside the file, which is taken out into a
/// cache. For one thread at a time.
class CCoverArt {
public:
    /// `cacheFolder` is made when the first picture goes into it.
    explicit CCoverArt(std::string cacheFolder) : CacheFolder(std::move(cacheFolder)) {}

    /// The path of an existing picture; empty when there is none, or when the cache cannot be
    /// written.
    std::string Find(const CLibraryItem& item);

private:
    const std::string& FindInFolder(const std::string& folder);
    std::string FindInFile(const CLibraryItem& item) const;

    std::string CacheFolder;
    std::map<std::string, std::string> Folders; ///< folder to its picture, empty when it has none
};

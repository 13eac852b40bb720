#pragma once

#include "host/CLibraryItem.h"
#include "host/CSqlite.h"

#include <functional>
#include <memory>
#include <string>
#include <unordered_map>
#include <vector>

class ITagSource;

/// The media library: the files below one or several folders, with their fields.
///
/// An index (SQLite) remembers, by path, size and time of change, what was found out about each
/// file, so that a file is opened once and then not again until it changes. The index is no more
/// than a memory: without it everything is read anew. One object is for one thread; processes may
/// share an index.
class CLibrary {
public:
    /// Opens or makes the index. False, with the reason in `error`, when that fails; Scan then
    /// works without it.
    bool OpenIndex(const std::string& path, std::string& error);

    /// Called for each file whose bytes have to be looked at: how many so far, of how many in all.
    using Progress = std::function<void(size_t done, size_t all)>;

    /// Lists `folders` (absolute or relative to the current folder) and reads what is new or
    /// changed. Items stand in the order of their paths' listing. `isCancelled` (may be empty) ends
    /// the work early. `leftOut` (may be empty) is the real path of a folder that is no part of the
    /// library although it lies in it, or links lead there.
    void Scan(const std::vector<std::string>& folders,
              ITagSource& tags,
              const Progress& progress,
              const std::function<bool()>& isCancelled,
              const std::string& leftOut = {});

    const std::vector<std::unique_ptr<CLibraryItem>>& GetItems() const { return Items; }
    /// What was found and not taken, each with its reason.
    const std::vector<CPassedOver>& GetPassedOver() const { return PassedOver; }
    /// The item of a path, its links followed; null when the library has none.
    CLibraryItem* Find(const std::string& path) const;
    /// How many files had to be opened by the last Scan.
    size_t GetReadCount() const { return ReadCount; }

    /// The real path of an existing file or folder; empty when there is none.
    static std::string RealPath(const std::string& path);

private:
    struct CKnown {
        int64_t Size = 0;
        int64_t MTime = 0;
        std::string Problem; ///< why the file is no item; empty when it is one
        std::string Fields;  ///< packed
        bool Seen = false;
    };

    void LoadKnown(const std::vector<std::string>& folders);
    /// `isWhole`: the walk came to its end, so what it did not see is gone.
    void StoreChanges(bool isWhole);
    /// What is known of a file, read from it when need be.
    CKnown& Examine(const std::string& path, int64_t size, int64_t mtime, ITagSource& tags);
    void AddItem(const std::string& path, const CKnown& known);

    CSqlite Index;
    std::unordered_map<std::string, CKnown> Known;
    std::vector<std::string> Changed; ///< paths of Known that the index does not hold as they are
    std::vector<std::unique_ptr<CLibraryItem>> Items;
    std::unordered_map<std::string, CLibraryItem*> ByPath;
    std::vector<CPassedOver> PassedOver;
    size_t ReadCount = 0;
};

#include "host/CSyncPlanner.h"

#include "host/CLibraryItem.h"
#include "host/HostText.h"

#include <algorithm>
#include <map>
#include <set>
#include <string_view>
#include <unordered_map>
#include <unordered_set>

namespace {

using Entry = CDeviceRecord::CEntry;

std::string Fold(const std::string& path) {
    return HostNarrow(HostFold(HostWiden(path)));
}

std::string FolderOf(const std::string& path) {
    return path.substr(0, path.rfind('/') + 1);
}

} // namespace

/// One comparison; the tables point into the input.
class CComparison {
public:
    explicit CComparison(const CSyncPlanner::CInput& input) : Input(input) {
        for (const Entry& entry : Input.Records) {
            if (entry.Type == CDeviceRecord::Kind::File) {
                BySource.try_emplace(entry.Source, &entry);
                ByTarget.try_emplace(Fold(entry.Target), &entry);
            }
        }
        for (const CDeviceFile& file : Input.Device) {
            OnDevice.insert(Fold(file.Path));
        }
    }

    CSyncPlan Run() {
        std::vector<const CSyncItem*> rest;
        for (const CSyncItem& item : Input.Items) {
            if (!MatchByRecord(item)) {
                rest.push_back(&item);
            }
        }
        ClaimUnreadable();
        for (const CDeviceFile& file : Input.Device) {
            if (!Claimed.contains(Fold(file.Path))) {
                Unclaimed[file.MatchKey].push_back(&file);
            }
        }
        for (const CSyncItem* item : rest) {
            MatchByKey(*item);
        }
        std::stable_sort(Plan.Sends.begin(), Plan.Sends.end(),
                         [](const auto& left, const auto& right) {
                             return left.Item->File->Path < right.Item->File->Path;
                         });
        FindDeletes();
        AddPictures();
        return std::move(Plan);
    }

private:
    bool IsPresent(const Entry& entry) const {
        // The drive lists its search folders only; what lies elsewhere on the device is there all
        // the same.
        return OnDevice.contains(Fold(entry.Target)) || Input.GetDeviceSize(entry.Target) >= 0;
    }

    bool IsChanged(const CSyncItem& item, const Entry& entry) const {
        return entry.Size != item.File->Size || entry.MatchKey != item.MatchKey
               || entry.ChangeKey != item.ChangeKey
               || (Input.ResendOnDate && entry.MTime != item.File->MTime)
               || Input.GetDeviceSize(entry.Target) < entry.Size;
    }

    /// What a new copy may replace: the device file of a record. A file that has grown is not what
    /// was sent: somebody put another in its place, which stays and is ours no longer.
    std::string ClaimForReplacing(const Entry& entry) {
        if (entry.Size < 0 || Input.GetDeviceSize(entry.Target) <= entry.Size) {
            return entry.Target;
        }
        Plan.Forgotten.push_back(entry.Target);
        return {};
    }

    bool MatchByRecord(const CSyncItem& item) {
        const auto found = BySource.find(item.File->Path);
        if (found == BySource.end()) {
            return false;
        }
        const Entry& entry = *found->second;
        if (!IsPresent(entry)) {
            return false;
        }
        Claimed.insert(Fold(entry.Target));
        if (IsChanged(item, entry)) {
            Plan.Sends.push_back({&item, ClaimForReplacing(entry)});
        } else {
            Plan.Keeps.push_back({&item, entry.Target, false});
        }
        return true;
    }

    void MatchByKey(const CSyncItem& item) {
        const auto found = Unclaimed.find(item.MatchKey);
        if (found == Unclaimed.end() || found->second.empty()) {
            Plan.Sends.push_back({&item, {}});
            return;
        }
        // Ours before a stranger's: a file that moved in the library keeps its copy.
        auto& candidates = found->second;
        auto chosen =
            std::find_if(candidates.begin(), candidates.end(), [this](const CDeviceFile* file) {
                return ByTarget.contains(Fold(file->Path));
            });
        chosen = chosen == candidates.end() ? candidates.begin() : chosen;
        const CDeviceFile& file = **chosen;
        candidates.erase(chosen);
        Claimed.insert(Fold(file.Path));
        const auto record = ByTarget.find(Fold(file.Path));
        const bool isOurs = record != ByTarget.end();
        if (isOurs
            && (record->second->Size != item.File->Size || file.ChangeKey != item.ChangeKey
                || Input.GetDeviceSize(file.Path) < record->second->Size)) {
            Plan.Sends.push_back({&item, ClaimForReplacing(*record->second)});
        } else {
            Plan.Keeps.push_back({&item, isOurs ? record->second->Target : file.Path, isOurs});
        }
    }

    /// What the library has but could not read keeps its copy on the device.
    void ClaimUnreadable() {
        for (const Entry& entry : Input.Records) {
            const bool isPassedOver =
                std::any_of(Input.PassedOver.begin(), Input.PassedOver.end(),
                            [&entry](const std::string& path) {
                                return entry.Source == path || entry.Source.starts_with(path + "/");
                            });
            if (entry.Type == CDeviceRecord::Kind::File && isPassedOver) {
                Claimed.insert(Fold(entry.Target));
            }
        }
    }

    void FindDeletes() {
        std::set<std::string> pictures;
        for (const Entry& entry : Input.Records) {
            if (entry.Type != CDeviceRecord::Kind::File) {
                pictures.insert(Fold(entry.Target));
            } else if (!IsPresent(entry)) {
                Plan.Forgotten.push_back(entry.Target);
            } else if (!Claimed.contains(Fold(entry.Target))) {
                // Only what has the size that was sent is surely what was sent.
                const bool mayGo = Input.Delete == DeleteMode::All
                                   || (Input.Delete == DeleteMode::Own
                                       && Input.GetDeviceSize(entry.Target) == entry.Size);
                (mayGo ? Plan.Deletes : Plan.Leftovers).push_back(entry.Target);
                Claimed.insert(Fold(entry.Target));
            }
        }
        for (const CDeviceFile& file : Input.Device) {
            const std::string folded = Fold(file.Path);
            if (Input.Delete == DeleteMode::All && !Claimed.contains(folded)
                && !pictures.contains(folded)) {
                Plan.Deletes.push_back(file.Path);
            }
        }
    }

    /// A picture that a sync put into a folder goes with the last file there.
    void AddPictures() {
        std::unordered_set<std::string> deleted;
        for (const std::string& path : Plan.Deletes) {
            deleted.insert(Fold(path));
        }
        std::unordered_set<std::string> livingFolders;
        std::set<std::string> pictures;
        for (const Entry& entry : Input.Records) {
            if (entry.Type == CDeviceRecord::Kind::Picture) {
                pictures.insert(Fold(entry.Target));
            } else if (entry.Type == CDeviceRecord::Kind::File
                       && !deleted.contains(Fold(entry.Target))) {
                livingFolders.insert(FolderOf(Fold(entry.Target)));
            }
        }
        for (const CDeviceFile& file : Input.Device) {
            if (const std::string folded = Fold(file.Path);
                !deleted.contains(folded) && !pictures.contains(folded)) {
                livingFolders.insert(FolderOf(folded));
            }
        }
        std::unordered_set<std::string> emptied;
        for (const std::string& path : deleted) {
            emptied.insert(FolderOf(path));
        }
        std::vector<std::string> going;
        for (const Entry& entry : Input.Records) {
            const std::string folder = FolderOf(Fold(entry.Target));
            if (entry.Type == CDeviceRecord::Kind::Picture && emptied.contains(folder)
                && !livingFolders.contains(folder)
                && Input.GetDeviceSize(entry.Target) == entry.Size) {
                going.push_back(entry.Target);
            }
        }
        // Ahead of the files, so that a folder is empty when its last file goes, and goes too.
        Plan.Deletes.insert(Plan.Deletes.begin(), going.begin(), going.end());
    }

    const CSyncPlanner::CInput& Input;
    CSyncPlan Plan;
    std::unordered_map<std::string, const Entry*> BySource;
    std::unordered_map<std::string, const Entry*> ByTarget; ///< by folded path
    std::unordered_set<std::string> OnDevice;               ///< folded paths
    std::unordered_set<std::string> Claimed; ///< folded paths that an item stands for
    std::map<std::string, std::vector<const CDeviceFile*>> Unclaimed;
};

CSyncPlan CSyncPlanner::Plan(const CInput& input) {
    return CComparison(input).Run();
}

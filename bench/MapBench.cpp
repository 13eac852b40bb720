#include "core/VnStringMap.h"

#include <absl/container/flat_hash_map.h>

#include <algorithm>
#include <clocale>
#include <cwctype>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "bench/BenchPairTable.h"
#include "bench/BenchSupport.h"

// Maps with paths as keys that match in any letter case, beside two maps of the standard's kind
// that fold by towlower. Keys are in the text type of each side, and both sides copy them as that
// type does.

namespace {

constexpr int32_t kKeys = 100000;

using PathMap = VnStringMap<VnString, false, int32_t, int32_t, false>;

struct FoldedHash {
    size_t operator()(const std::wstring& text) const {
        uint64_t hash = 14695981039346656037U; // FNV-1a
        for (const wchar_t ch : text) {
            hash = (hash ^ std::towlower(static_cast<wint_t>(ch))) * 1099511628211U;
        }
        return hash;
    }
};

struct FoldedEqual {
    bool operator()(const std::wstring& left, const std::wstring& right) const {
        return std::equal(left.begin(), left.end(), right.begin(), right.end(),
                          [](wchar_t one, wchar_t other) {
                              return std::towlower(static_cast<wint_t>(one))
                                     == std::towlower(static_cast<wint_t>(other));
                          });
    }
};

using StandardMap = std::unordered_map<std::wstring, int32_t, FoldedHash, FoldedEqual>;
using FlatMap = absl::flat_hash_map<std::wstring, int32_t, FoldedHash, FoldedEqual>;

std::vector<std::wstring> MakePaths() {
    std::vector<std::wstring> paths;
    for (int32_t index = 0; index < kKeys; ++index) {
        paths.push_back(L"/media/user/CARD/Music/Artist " + std::to_wstring(index / 100)
                        + L"/Album " + std::to_wstring(index / 10) + L"/Track "
                        + std::to_wstring(index) + L".mp3");
    }
    return paths;
}

/// Upper case, as a device with a file system that ignores case may give a path back.
std::wstring ToUpper(std::wstring text) {
    std::transform(text.begin(), text.end(), text.begin(), [](wchar_t ch) {
        return static_cast<wchar_t>(std::towupper(static_cast<wint_t>(ch)));
    });
    return text;
}

template<typename MAP>
MAP MakePeer(const std::vector<std::wstring>& keys) {
    MAP map;
    for (int32_t index = 0; index < kKeys; ++index) {
        map.emplace(keys[static_cast<size_t>(index)], index);
    }
    return map;
}

template<typename MAP>
int64_t FindAll(const MAP& map, const std::vector<std::wstring>& keys) {
    int64_t sum = 0;
    for (const std::wstring& key : keys) {
        const auto found = map.find(key);
        sum += found == map.end() ? -kKeys : found->second;
    }
    return sum;
}

void Fill(PathMap& map, const std::vector<VnString>& keys) {
    for (int32_t index = 0; index < kKeys; ++index) {
        map.SetAt(keys[static_cast<size_t>(index)], index);
    }
}

int64_t FindAll(const PathMap& map, const std::vector<VnString>& keys) {
    int64_t sum = 0;
    for (const VnString& key : keys) {
        const int32_t* found = map.Lookup(key);
        sum += found == nullptr ? -kKeys : *found;
    }
    return sum;
}

} // namespace

int main(int count, char** arguments) {
    // Folding is the locale's; both sides have the same one.
    Require(std::setlocale(LC_ALL, "C.UTF-8") != nullptr, "there is no locale C.UTF-8");
    VnStringGlobals::Get().RebuildTables(false);
    const std::vector<std::wstring> paths = MakePaths();
    std::vector<std::wstring> shouted;
    std::transform(paths.begin(), paths.end(), std::back_inserter(shouted), ToUpper);
    std::vector<VnString> keys;
    std::vector<VnString> shoutedKeys;
    for (size_t index = 0; index < paths.size(); ++index) {
        keys.emplace_back(paths[index].c_str());
        shoutedKeys.emplace_back(shouted[index].c_str());
    }
    const auto standard = MakePeer<StandardMap>(paths);
    const auto flat = MakePeer<FlatMap>(paths);
    PathMap map;
    Fill(map, keys);
    constexpr int64_t kSum = int64_t{kKeys} * (kKeys - 1) / 2;
    Require(FindAll(map, keys) == kSum && FindAll(map, shoutedKeys) == kSum, "keys are missing");

    constexpr double kAhead = BenchPairTable::kAhead;
    BenchPairTable table("Maps of 100,000 paths in any letter case",
                         GetArgument(count, arguments, "--rounds", 15));
    const auto insert = [&](bool allocator) {
        PathMap made;
        made.SetNodeAllocator(allocator);
        Fill(made, keys);
        return int64_t{made.GetCount()};
    };
    const std::vector<BenchPairTable::Peer> insertPeers = {
        {"std::unordered_map",
         [&] { return static_cast<int64_t>(MakePeer<StandardMap>(paths).size()); }, kAhead},
        {"absl::flat_hash_map",
         [&] { return static_cast<int64_t>(MakePeer<FlatMap>(paths).size()); }, kAhead}};
    table.Compare(
        "insert, nodes from the heap", kKeys, [&] { return insert(false); }, insertPeers);
    table.Compare(
        "insert, nodes from blocks", kKeys, [&] { return insert(true); }, insertPeers);
    const auto compareFind = [&](const char* work, const std::vector<VnString>& ours,
                                 const std::vector<std::wstring>& theirs) {
        table.Compare(work, kSum, [&] { return FindAll(map, ours); },
                      {{"std::unordered_map", [&] { return FindAll(standard, theirs); }, kAhead},
                       {"absl::flat_hash_map", [&] { return FindAll(flat, theirs); }, kAhead}});
    };
    compareFind("find, in the spelling stored", keys, paths);
    compareFind("find, in upper case", shoutedKeys, shouted);
    return table.GetExitCode();
}

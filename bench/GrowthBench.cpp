#include "core/VnStringArray.h"
#include "core/VnStringMap.h"
#include "text/VnXMLDocument.h"

#include <string>
#include <unordered_map>
#include <unordered_set>
#include <vector>

#include "bench/BenchPairTable.h"
#include "bench/BenchSupport.h"

// Time per element of work whose cost has to grow with the number of elements and no faster. Where
// the work jumps about in memory, the standard's container shows what that costs once the data
// outgrow the caches.

namespace {

constexpr int64_t kLargest = 1000000;

int64_t AppendElements(int64_t size) {
    VnXMLDocument document;
    document.AddElement(L"MPL");
    for (int64_t count = 0; count < size; ++count) {
        document.AddElement(L"Field", L"some value", VnXMLDocument::kInsertChild);
    }
    return document.IsWellFormed() ? size : -1;
}

} // namespace

int main(int count, char** arguments) {
    const int64_t rounds = GetArgument(count, arguments, "--rounds", 5);
    const int64_t largest = GetArgument(count, arguments, "--largest", kLargest);
    std::vector<int64_t> sizes;
    for (int64_t size = 1000; size <= largest; size *= 10) {
        sizes.push_back(size);
    }
    // The texts of all sizes, so that their making is not part of the time.
    std::vector<VnString> texts;
    std::vector<std::wstring> theirTexts;
    for (int64_t index = 0; index < largest; ++index) {
        theirTexts.push_back(L"/Music/Artist/Track " + std::to_wstring(index) + L".mp3");
        texts.emplace_back(theirTexts.back().c_str());
    }

    BenchPairTable table("Growth: ns per element at n = 1,000, 10,000, ...", rounds);
    table.CompareGrowth("XML append", sizes, AppendElements, nullptr, 1.5);

    table.CompareGrowth(
        "VnStringMap", sizes,
        [&](int64_t size) {
            VnStringMap<VnString, false, int32_t, int32_t, false> map;
            for (int64_t index = 0; index < size; ++index) {
                map.SetAt(texts[static_cast<size_t>(index)], 0);
            }
            return int64_t{map.GetCount()};
        },
        [&](int64_t size) {
            std::unordered_map<std::wstring, int32_t> map;
            for (int64_t index = 0; index < size; ++index) {
                map.emplace(theirTexts[static_cast<size_t>(index)], 0);
            }
            return static_cast<int64_t>(map.size());
        },
        1.5);

    std::vector<VnStringArray> arrays(sizes.size());
    for (size_t place = 0; place < sizes.size(); ++place) {
        for (int64_t index = 0; index < sizes[place]; ++index) {
            arrays[place].Add(texts[static_cast<size_t>(index)]);
        }
    }
    const auto getArray = [&](int64_t size) -> const VnStringArray& {
        size_t place = 0;
        while (sizes[place] != size) {
            ++place;
        }
        return arrays[place];
    };
    table.CompareGrowth(
        "Join", sizes,
        [&](int64_t size) {
            const VnString joined = getArray(size).Join(L";");
            return joined.IsEmpty() ? -1 : size;
        },
        [&](int64_t size) {
            std::wstring joined;
            for (int64_t index = 0; index < size; ++index) {
                joined.append(theirTexts[static_cast<size_t>(index)]).push_back(L';');
            }
            return joined.empty() ? -1 : size;
        },
        1.5);

    table.CompareGrowth(
        "RemoveDuplicates", sizes,
        [&](int64_t size) {
            VnStringArray unique(getArray(size));
            unique.RemoveDuplicates();
            return int64_t{unique.GetCount()};
        },
        [&](int64_t size) {
            std::unordered_set<std::wstring> seen;
            std::vector<const std::wstring*> unique;
            for (int64_t index = 0; index < size; ++index) {
                const std::wstring& text = theirTexts[static_cast<size_t>(index)];
                if (seen.insert(text).second) {
                    unique.push_back(&text);
                }
            }
            return static_cast<int64_t>(unique.size());
        },
        1.5);
    return table.GetExitCode();
}

#include "core/VnString.h"
#include "core/VnStringArray.h"

#include <fmt/xchar.h>

#include <cwchar>
#include <string>
#include <string_view>
#include <thread>
#include <vector>

#include "bench/BenchPairTable.h"
#include "bench/BenchSupport.h"

// The daily work of texts beside std::wstring, the search of the C library, and fmt.

namespace {

constexpr int32_t kTexts = 10000;
constexpr int32_t kAppends = 100000;
constexpr double kLevel = BenchPairTable::kLevel;

/// The texts of a run, in the type of either side.
struct Samples {
    std::vector<std::wstring> Theirs;
    std::vector<VnString> Ours;
};

Samples MakeSamples(int32_t count, const wchar_t* start) {
    Samples samples;
    for (int32_t index = 0; index < count; ++index) {
        samples.Theirs.push_back(start + std::to_wstring(index));
        samples.Ours.emplace_back(samples.Theirs.back().c_str());
    }
    return samples;
}

bool IsSame(const VnString& ours, const std::wstring& theirs) {
    return std::wstring_view(ours.GetText(), static_cast<size_t>(ours.GetLength())) == theirs;
}

int64_t GetLength(const VnString& text) {
    return text.GetLength();
}
int64_t GetLength(const std::wstring& text) {
    return static_cast<int64_t>(text.size());
}

/// Counts over one doubling: at a single one, whose capacity happens to have been raised last would
/// decide.
constexpr int32_t kEighths[] = {4, 5, 6, 7};

/// Appends to a new text at each of the counts, at most `count`, and gives the sum of the lengths.
template<typename TEXT, typename APPEND>
int64_t AppendOverOctave(int32_t count, const APPEND& append) {
    int64_t sum = 0;
    for (const int32_t eighths : kEighths) {
        TEXT text;
        for (int32_t index = 0; index < count / 8 * eighths; ++index) {
            append(text, index);
        }
        sum += GetLength(text);
    }
    return sum;
}

void CompareAppend(BenchPairTable& table) {
    const auto compare = [&](const char* work, int32_t count, const auto& ours,
                             const auto& theirs) {
        table.Compare(work, AppendOverOctave<std::wstring>(count, theirs),
                      [&] { return AppendOverOctave<VnString>(count, ours); },
                      {{"std::wstring",
                        [&] { return AppendOverOctave<std::wstring>(count, theirs); }, kLevel}});
    };
    const auto getCharacter = [](int32_t index) { return static_cast<wchar_t>(L'a' + index % 26); };
    compare(
        "append characters", kAppends,
        [&](VnString& text, int32_t index) { text.Append(getCharacter(index)); },
        [&](std::wstring& text, int32_t index) { text.push_back(getCharacter(index)); });
    const Samples samples = MakeSamples(kTexts, L"A title of the usual length ");
    compare(
        "append texts", kTexts,
        [&](VnString& text, int32_t index) { text += samples.Ours[static_cast<size_t>(index)]; },
        [&](std::wstring& text, int32_t index) {
            text += samples.Theirs[static_cast<size_t>(index)];
        });
    compare(
        "append literals", kTexts,
        [](VnString& text, int32_t) { text += L"<Item Name=\"Artist\">"; },
        [](std::wstring& text, int32_t) { text += L"<Item Name=\"Artist\">"; });
}

/// A path of a folder, a name and an extension, ten thousand times.
void ComparePaths(BenchPairTable& table, const char* work, double goal) {
    const Samples samples = MakeSamples(kTexts, L"A title of the usual length ");
    int64_t length = 0;
    for (const std::wstring& text : samples.Theirs) {
        length += static_cast<int64_t>(text.size());
    }
    const VnString folder(L"/media/user/CARD/Music/");
    const std::wstring theirFolder(folder.GetText());
    const VnString extension(L".mp3");
    const std::wstring theirExtension(extension.GetText());
    const int64_t pathLength =
        length + int64_t{kTexts} * (folder.GetLength() + extension.GetLength());
    table.Compare(work, pathLength,
                  [&] {
                      int64_t sum = 0;
                      for (const VnString& name : samples.Ours) {
                          VnString path(folder);
                          path.Append(name, name.GetLength(), extension, extension.GetLength());
                          sum += path.GetLength();
                      }
                      return sum;
                  },
                  {{"std::wstring",
                    [&] {
                        int64_t sum = 0;
                        for (const std::wstring& name : samples.Theirs) {
                            std::wstring path(theirFolder);
                            path.append(name).append(theirExtension);
                            sum += static_cast<int64_t>(path.size());
                        }
                        return sum;
                    },
                    goal}});
}

void CompareCopy(BenchPairTable& table, const char* work, const wchar_t* start) {
    const Samples samples = MakeSamples(kTexts, start);
    table.Compare(work, kTexts,
                  [&] {
                      const std::vector<VnString> copies(samples.Ours);
                      return static_cast<int64_t>(copies.size());
                  },
                  {{"std::wstring",
                    [&] {
                        const std::vector<std::wstring> copies(samples.Theirs);
                        return static_cast<int64_t>(copies.size());
                    },
                    kLevel}});
}

/// About a million characters of a list of paths, with "&" between them.
std::wstring MakeLongText() {
    std::wstring text;
    for (int32_t index = 0; text.size() < 1000000; ++index) {
        text +=
            L"/media/user/CARD/Music/Artist & friends/Track " + std::to_wstring(index) + L".mp3;";
    }
    return text;
}

void CompareFind(BenchPairTable& table, const std::wstring& theirs) {
    const VnString ours(theirs.c_str());
    const auto find = [&](const char* work, const wchar_t* pattern) {
        const auto expected = static_cast<int64_t>(theirs.find(pattern));
        const auto position = [&](const wchar_t* hit) {
            return hit == nullptr ? int64_t{-1} : static_cast<int64_t>(hit - theirs.c_str());
        };
        table.Compare(
            work, expected, [&] { return int64_t{ours.Find(pattern)}; },
            {{"wcsstr", [&] { return position(std::wcsstr(theirs.c_str(), pattern)); }, kLevel},
             {"std::wstring", [&] { return static_cast<int64_t>(theirs.find(pattern)); }, kLevel}});
    };
    find("find a text that is not there", L"//media/");
    find("find a text of a rare character", L"Xylophon");
    find("find a text of frequent characters", L"medal");
    constexpr wchar_t kMissing = L'#';
    table.Compare(
        "find a character that is not there", -1, [&] { return int64_t{ours.Find(kMissing)}; },
        {{"wcschr",
          [&] {
              return std::wcschr(theirs.c_str(), kMissing) == nullptr ? int64_t{-1} : int64_t{0};
          },
          kLevel},
         {"std::wstring", [&] { return static_cast<int64_t>(theirs.find(kMissing)); }, kLevel}});

    const Samples samples = MakeSamples(kTexts, L"/Music/Artist/Track ");
    table.Compare("find in 10,000 short texts", int64_t{kTexts} * 14,
                  [&] {
                      int64_t sum = 0;
                      for (const VnString& text : samples.Ours) {
                          sum += text.Find(L"Track");
                      }
                      return sum;
                  },
                  {{"wcsstr",
                    [&] {
                        int64_t sum = 0;
                        for (const std::wstring& text : samples.Theirs) {
                            sum += std::wcsstr(text.c_str(), L"Track") - text.c_str();
                        }
                        return sum;
                    },
                    kLevel},
                   {"std::wstring",
                    [&] {
                        int64_t sum = 0;
                        for (const std::wstring& text : samples.Theirs) {
                            sum += static_cast<int64_t>(text.find(L"Track"));
                        }
                        return sum;
                    },
                    kLevel}});
}

/// Into a new text, in one pass.
std::wstring
ReplaceAll(const std::wstring& text, std::wstring_view oldText, std::wstring_view newText) {
    std::wstring result;
    result.reserve(text.size() + text.size() / 4);
    size_t at = 0;
    for (size_t hit = text.find(oldText); hit != std::wstring::npos; hit = text.find(oldText, at)) {
        result.append(text, at, hit - at).append(newText);
        at = hit + oldText.size();
    }
    return result.append(text, at);
}

void CompareReplace(BenchPairTable& table, const std::wstring& theirs) {
    const VnString ours(theirs.c_str());
    const auto replace = [&](const char* work, const wchar_t* oldText, const wchar_t* newText) {
        const std::wstring replaced = ReplaceAll(theirs, oldText, newText);
        VnString check(ours);
        check.Replace(oldText, newText);
        Require(IsSame(check, replaced), "replacing differs");
        table.Compare(
            work, static_cast<int64_t>(replaced.size()),
            [&] {
                VnString text(ours);
                text.Replace(oldText, newText);
                return int64_t{text.GetLength()};
            },
            {{"std::wstring, one pass",
              [&] { return static_cast<int64_t>(ReplaceAll(theirs, oldText, newText).size()); },
              kLevel}});
    };
    replace("replace by a longer text", L"&", L"&amp;");
    replace("replace by a shorter text", L"/media/user/", L"E:/");
    replace("replace by a text as long", L"Music", L"Audio");
    replace("replace what is not there", L"Video", L"Movie");
    // One more pass over a text twice as long must not cost more per hit: the product has no
    // length at which it begins to shift the rest of the text at every hit.
    const std::wstring twice = theirs + theirs;
    const VnString oursTwice(twice.c_str());
    const auto run = [](const VnString& source) {
        VnString text(source);
        text.Replace(L"&", L"&amp;");
        return text;
    };
    const auto length = static_cast<int64_t>(run(oursTwice).GetLength());
    table.Compare("replace in twice the text", length,
                  [&] { return int64_t{run(oursTwice).GetLength()}; },
                  {{"the text in two halves, itself",
                    [&] { return int64_t{run(ours).GetLength()} + run(ours).GetLength(); }, 1.5}});
}

std::vector<std::wstring> SplitByLoop(const std::wstring& text, std::wstring_view separator) {
    std::vector<std::wstring> parts;
    size_t at = 0;
    while (at < text.size()) {
        const size_t hit = text.find(separator, at);
        const size_t end = hit == std::wstring::npos ? text.size() : hit;
        parts.push_back(text.substr(at, end - at));
        at = end + separator.size();
    }
    return parts;
}

std::wstring JoinByLoop(const std::vector<std::wstring>& parts, std::wstring_view separator) {
    size_t length = 0;
    for (const std::wstring& part : parts) {
        length += part.size() + separator.size();
    }
    std::wstring text;
    text.reserve(length);
    for (const std::wstring& part : parts) {
        text += part;
        if (&part != &parts.back()) {
            text += separator;
        }
    }
    return text;
}

void CompareSplit(BenchPairTable& table, const std::wstring& theirs) {
    const VnString ours(theirs.c_str());
    const std::vector<std::wstring> parts = SplitByLoop(theirs, L";");
    VnStringArray array;
    array.Split(ours, L";");
    Require(array.GetCount() == static_cast<int32_t>(parts.size())
                && std::equal(parts.begin(), parts.end(), array.begin(),
                              [](const std::wstring& left, const VnString& right) {
                                  return IsSame(right, left);
                              }),
            "splitting differs");
    table.Compare(
        "split into 20,000 parts", array.GetCount(),
        [&] {
            VnStringArray made;
            return int64_t{made.Split(ours, L";")};
        },
        {{"std::wstring", [&] { return static_cast<int64_t>(SplitByLoop(theirs, L";").size()); },
          kLevel}});
    const std::wstring joined = JoinByLoop(parts, L", ");
    Require(IsSame(array.Join(L", "), joined), "joining differs");
    table.Compare(
        "join them", static_cast<int64_t>(joined.size()),
        [&] { return int64_t{array.Join(L", ").GetLength()}; },
        {{"std::wstring", [&] { return static_cast<int64_t>(JoinByLoop(parts, L", ").size()); },
          kLevel}});
}

void CompareFormat(BenchPairTable& table) {
    const Samples samples = MakeSamples(kTexts, L"Artist ");
    const auto format = [&](const char* work, const auto& ours, const auto& theirs) {
        int64_t length = 0;
        for (int32_t index = 0; index < kTexts; ++index) {
            const std::wstring wanted = theirs(index);
            Require(IsSame(ours(index), wanted), "formatting differs");
            length += static_cast<int64_t>(wanted.size());
        }
        table.Compare(work, length,
                      [&] {
                          int64_t sum = 0;
                          for (int32_t index = 0; index < kTexts; ++index) {
                              sum += ours(index).GetLength();
                          }
                          return sum;
                      },
                      {{"fmt",
                        [&] {
                            int64_t sum = 0;
                            for (int32_t index = 0; index < kTexts; ++index) {
                                sum += static_cast<int64_t>(theirs(index).size());
                            }
                            return sum;
                        },
                        kLevel}});
    };
    format(
        "format texts and numbers",
        [&](int32_t index) {
            VnString text;
            text.Format(L"%s - Track %02d (%d kB).mp3", samples.Ours[static_cast<size_t>(index)],
                        index % 100, index * 7);
            return text;
        },
        [&](int32_t index) {
            return fmt::format(L"{} - Track {:02d} ({} kB).mp3",
                               samples.Theirs[static_cast<size_t>(index)], index % 100, index * 7);
        });
    format(
        "format hexadecimal numbers",
        [&](int32_t index) {
            VnString text;
            text.Format(L"%08X-%x", index * 201007, index);
            return text;
        },
        [&](int32_t index) {
            return fmt::format(L"{:08X}-{:x}", static_cast<uint32_t>(index * 201007), index);
        });
    format(
        "format a decimal fraction",
        [&](int32_t index) {
            VnString text;
            text.Format(L"%.2f seconds", index * 0.25);
            return text;
        },
        [&](int32_t index) { return fmt::format(L"{:.2f} seconds", index * 0.25); });
}

} // namespace

int main(int count, char** arguments) {
    BenchPairTable table("Texts", GetArgument(count, arguments, "--rounds", 15));
    const std::wstring text = MakeLongText();
    CompareAppend(table);
    ComparePaths(table, "make 10,000 paths of three pieces", kLevel);
    CompareCopy(table, "copy 10,000 titles", L"A title of the usual length ");
    CompareCopy(table, "copy 10,000 texts of up to 4 characters", L"");
    CompareFind(table, text);
    CompareReplace(table, text);
    CompareSplit(table, text);
    CompareFormat(table);
    // Once there was another thread, the pool of blocks is locked at each use.
    std::thread([] {}).join();
    ComparePaths(table, "make paths, the pool being locked", 0);
    return table.GetExitCode();
}

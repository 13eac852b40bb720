// Dates to text and back beside the system library, and the sort of texts beside std::sort.

#include "core/VnString.h"
#include "data/VnDate.h"
#include "runtime/CProcessInfo.h"
#include "runtime/VnQSort.h"
#include "runtime/VnSiblingModules.h"

#include <algorithm>
#include <cstdint>
#include <ctime>
#include <random>
#include <string>
#include <vector>

#include "bench/BenchPairTable.h"
#include "bench/BenchSupport.h"

namespace {

constexpr int64_t kSecondsTo2100 = 4102444800;
constexpr size_t kTextSize = 24; ///< for a text of 20 characters and its end
constexpr const char* kForm = "%Y-%m-%dT%H:%M:%SZ";
constexpr double kSortGoal = 1.5;

/// Moments and their texts, each as its side holds them. Every run gives the sum of what it made.
class CDates {
public:
    explicit CDates(size_t count) : Moments(count), Texts(count), PeerTexts(count * kTextSize) {
        std::mt19937_64 random(1);
        for (std::time_t& moment : Moments) {
            moment = static_cast<std::time_t>(random() % kSecondsTo2100);
            MomentSum += moment;
        }
    }

    int64_t Write() {
        int64_t characters = 0;
        for (size_t i = 0; i < Moments.size(); ++i) {
            Texts[i] = VnDate().FromTimeT(Moments[i]).FormatISO(/*zSuffix=*/true);
            characters += Texts[i].GetLength();
        }
        return characters;
    }
    int64_t WriteByPeer() {
        int64_t characters = 0;
        for (size_t i = 0; i < Moments.size(); ++i) {
            std::tm parts = {};
            gmtime_r(&Moments[i], &parts);
            characters +=
                static_cast<int64_t>(std::strftime(GetPeerText(i), kTextSize, kForm, &parts));
        }
        return characters;
    }
    int64_t Read() const {
        int64_t sum = 0;
        for (const VnString& text : Texts) {
            VnDate date;
            date.ParseText(text, /*flag=*/true);
            sum += date.ToTimeT();
        }
        return sum;
    }
    int64_t ReadByPeer() {
        int64_t sum = 0;
        for (size_t i = 0; i < Moments.size(); ++i) {
            std::tm parts = {};
            strptime(GetPeerText(i), kForm, &parts);
            sum += timegm(&parts);
        }
        return sum;
    }

    /// Ends the program unless both sides write the same, and the product reads it back.
    void Check() {
        Write();
        WriteByPeer();
        for (size_t i = 0; i < Moments.size(); ++i) {
            const std::string what = "the text of " + std::to_string(Moments[i]);
            VnDate date;
            date.ParseText(Texts[i], /*flag=*/true);
            Require(Texts[i] == VnString::FromUTF8(GetPeerText(i)), what);
            Require(date.ToTimeT() == Moments[i], what + " read back");
        }
    }
    int64_t GetCharacters() const { return static_cast<int64_t>(Moments.size()) * 20; }
    int64_t GetMomentSum() const { return MomentSum; }

private:
    char* GetPeerText(size_t index) { return PeerTexts.data() + index * kTextSize; }

    std::vector<std::time_t> Moments;
    std::vector<VnString> Texts;
    std::vector<char> PeerTexts; ///< kTextSize bytes each
    int64_t MomentSum = 0;
};

void CompareDates(BenchPairTable& table, size_t count) {
    CDates dates(count);
    dates.Check();
    table.Compare(
        "date to text", dates.GetCharacters(), [&] { return dates.Write(); },
        {{"gmtime_r, strftime", [&] { return dates.WriteByPeer(); }, BenchPairTable::kAhead}});
    table.Compare(
        "text to date", dates.GetMomentSum(), [&] { return dates.Read(); },
        {{"strptime, timegm", [&] { return dates.ReadByPeer(); }, BenchPairTable::kAhead}});
}

class CTextOrder final : public IVnQSortCompare<VnString> {
public:
    int32_t Compare(const VnString* a, const VnString* b) override { return a->Compare(*b); }
};

bool IsAhead(const VnString& a, const VnString& b) {
    return a.Compare(b) < 0;
}

/// Names as a library has them: many share their first characters.
std::vector<VnString> MakeNames(size_t count) {
    std::mt19937 random(2);
    std::vector<VnString> names(count);
    for (VnString& name : names) {
        name.Format(L"Artist %d/Track %d", static_cast<int32_t>(random() % 5000),
                    static_cast<int32_t>(random()));
    }
    return names;
}

/// Each run sorts a copy of the names; both sides make it in the same way.
void CompareSorts(BenchPairTable& table, size_t count) {
    const std::vector<VnString> names = MakeNames(count);
    std::vector<VnString> expected = names;
    std::sort(expected.begin(), expected.end(), IsAhead);
    const auto check = [&](const std::vector<VnString>& sorted) {
        return static_cast<int64_t>(sorted.front() == expected.front()
                                    && sorted.back() == expected.back());
    };
    const auto sortByProduct = [](std::vector<VnString>& copy) {
        CTextOrder order;
        const VnQSort<VnString> sort(copy.data(), static_cast<int32_t>(copy.size()), order);
    };
    std::vector<VnString> sorted = names;
    sortByProduct(sorted);
    Require(sorted == expected, "the sorts differ");
    table.Compare("sort of texts", 1,
                  [&] {
                      std::vector<VnString> copy = names;
                      sortByProduct(copy);
                      return check(copy);
                  },
                  {{"std::sort",
                    [&] {
                        std::vector<VnString> copy = names;
                        std::sort(copy.begin(), copy.end(), IsAhead);
                        return check(copy);
                    },
                    kSortGoal}});
}

} // namespace

int main(int count, char** arguments) {
    const auto number = static_cast<size_t>(GetArgument(count, arguments, "--number", 1000000));
    CProcessInfo::GetInstance()->SetModuleDirectory(
        VnString::FromFileSystemText(GetProgram("../lib/").c_str()));
    Require(number > 0 && VnGetToolsRoot() != nullptr, "there are no dates or no tools module");
    BenchPairTable table("Dates and texts, " + std::to_string(number),
                         GetArgument(count, arguments, "--rounds", 7));
    CompareDates(table, number);
    CompareSorts(table, number);
    return table.GetExitCode();
}

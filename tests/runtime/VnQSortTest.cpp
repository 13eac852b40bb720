#include "runtime/VnQSort.h"

#include "core/VnStringArray.h"
#include "tests/support/FakeTools.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <bit>
#include <cstdint>
#include <random>
#include <string>
#include <vector>

namespace {

/// Ascending by value; counts the compares.
class CAscending final : public IVnQSortCompare<int> {
public:
    int32_t Compare(const int* a, const int* b) override {
        ++Compares;
        return *a < *b ? -1 : *a > *b ? 1 : 0;
    }
    std::atomic<int64_t> Compares{0};
};

struct CInput {
    const char* Name;
    int (*Make)(int index, int count, std::mt19937& random);
};

constexpr CInput kInputs[] = {
    {"random", [](int, int, std::mt19937& random) { return static_cast<int>(random()); }},
    {"ascending", [](int index, int, std::mt19937&) { return index; }},
    {"descending", [](int index, int count, std::mt19937&) { return count - index; }},
    {"all equal", [](int, int, std::mt19937&) { return 5; }},
    {"two values", [](int, int, std::mt19937& random) { return static_cast<int>(random() % 2); }},
    {"organ pipe",
     [](int index, int count, std::mt19937&) { return std::min(index, count - index); }},
    {"saw", [](int index, int, std::mt19937&) { return index % 7; }},
};

TEST(VnQSort, SortsEveryKindOfInput) {
    std::mt19937 random(3);
    for (const bool threaded : {false, true}) {
        for (const CInput& input : kInputs) {
            for (const int count : {0, 1, 2, 3, 15, 16, 17, 18, 33, 100, 1000, 20000}) {
                SCOPED_TRACE(testing::Message()
                             << input.Name << ", " << count << (threaded ? ", threaded" : ""));
                std::vector<int> values;
                for (int index = 0; index < count; ++index) {
                    values.push_back(input.Make(index, count, random));
                }
                std::vector<int> expected = values;
                std::sort(expected.begin(), expected.end());
                CAscending order;
                const VnQSort<int> sort(values.data(), count, order, threaded);
                ASSERT_EQ(values, expected);
                // Far below the square of the count: no kind of input degrades.
                ASSERT_LE(order.Compares.load(),
                          40LL * count * (1 + std::bit_width(static_cast<unsigned>(count))));
            }
        }
    }
}

TEST(VnQSort, LeavesTheElementsAroundTheRangeAlone) {
    std::vector<int> values = {9, 3, 2, 1, 0};
    CAscending order;
    const VnQSort<int> sort(values.data() + 1, 3, order);
    EXPECT_EQ(values, (std::vector<int>{9, 1, 2, 3, 0}));
}

TEST(VnStringArraySorting, UsesTheCompareOfTheToolsModule) {
    VnStringArray strings;
    std::vector<std::wstring> expected;
    std::mt19937 random(4);
    for (int index = 0; index < 500; ++index) {
        expected.push_back(std::to_wstring(random() % 900));
        strings.Add(expected.back().c_str());
    }
    std::sort(expected.begin(), expected.end());
    {
        FakeTools tools;
        EXPECT_FALSE(strings.IsSorted(7));
        EXPECT_EQ(tools.StringTools.LastMode, 7);
        EXPECT_TRUE(tools.StringTools.LastFlag);
        strings.Sort(2, /*flag=*/false);
        EXPECT_EQ(tools.StringTools.LastMode, 2);
        EXPECT_FALSE(tools.StringTools.LastFlag);
        EXPECT_EQ(tools.StringTools.LastMaximum, -1);
        for (size_t index = 0; index < expected.size(); ++index) {
            ASSERT_EQ(strings[static_cast<int32_t>(index)], expected[index].c_str());
        }
        EXPECT_TRUE(strings.IsSorted(0));
    }
    strings.Split(L"c,a", L",");
    strings.Sort(0);
    EXPECT_EQ(strings.Join(L""), L"ca") << "sorted without the module";
}

} // namespace

#include "core/VnArray.h"

#include "core/VnNumberArray.h"
#include "core/VnOwnedChildren.h"
#include "core/VnOwnedPtrArray.h"
#include "core/VnStringArray.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <memory>
#include <new>
#include <random>
#include <string>
#include <vector>

namespace {

static_assert(sizeof(VnNumberArray<int>) == 32);
static_assert(sizeof(VnStringArray) == 32);
static_assert(sizeof(VnOwnedPtrArray<int, false>) == 40);

TEST(VnArrayGrowth, TakesTheBuiltInCapacities) {
    struct {
        int32_t Count;
        int32_t Capacity;
    } constexpr kRows[] = {
        {1, 4},          {4, 4},           {5, 64},          {64, 64},       {65, 256},
        {257, 1024},     {1025, 4096},     {4097, 16384},    {16385, 65536}, {65536, 65536},
        {65537, 131073}, {131073, 131073}, {131074, 196610},
    };
    VnNumberArray<int> numbers;
    for (const auto& row : kRows) {
        while (numbers.GetCount() < row.Count) {
            numbers.Add(numbers.GetCount());
        }
        EXPECT_EQ(numbers.GetCapacity(), row.Capacity) << "at " << row.Count;
    }
    for (int32_t index = 0; index < numbers.GetCount(); ++index) {
        ASSERT_EQ(numbers[index], index);
    }
}

TEST(VnArrayGrowth, FollowsAGrowStep) {
    struct {
        int32_t Step;
        int32_t Count;
        int32_t Capacity;
    } constexpr kRows[] = {{10, 1, 10},  {10, 9, 10}, {10, 10, 20},
                           {10, 25, 30}, {1, 3, 4},   {-5, 1, 4}};
    for (const auto& row : kRows) {
        VnNumberArray<int> numbers;
        numbers.SetGrowStep(row.Step);
        numbers.SetSize(row.Count);
        EXPECT_EQ(numbers.GetCapacity(), row.Capacity) << row.Step << " for " << row.Count;
    }
}

TEST(VnArrayGrowth, TakesAStepThatIsJustLargeEnough) {
    for (const int32_t count : {4, 64, 256, 1024, 4096, 16384, 65536}) {
        VnNumberArray<int> numbers;
        numbers.SetSize(count);
        EXPECT_EQ(numbers.GetCapacity(), count);
    }
}

TEST(VnArrayGrowth, IsExactOnRequestAndNeverShrinks) {
    VnNumberArray<int> numbers;
    numbers.Reserve(5);
    EXPECT_EQ(numbers.GetCapacity(), 5);
    numbers.Reserve(3);
    EXPECT_EQ(numbers.GetCapacity(), 5);
    numbers.SetSize(5);
    numbers.SetSize(1);
    numbers.Empty();
    EXPECT_EQ(numbers.GetCapacity(), 5);
    numbers.Empty(/*freeMemory=*/true);
    EXPECT_EQ(numbers.GetCapacity(), 0);
}

TEST(VnArrayGrowth, CopiesExactlyAndAppendsBySteps) {
    VnNumberArray<int> ten;
    ten.SetSize(10);
    VnNumberArray<int> numbers = ten;
    EXPECT_EQ(numbers.GetCapacity(), 10);
    struct {
        int32_t Count;
        int32_t Capacity;
    } constexpr kRows[] = {{20, 64}, {30, 64}, {70, 256}};
    for (const auto& row : kRows) {
        while (numbers.GetCount() < row.Count) {
            numbers.Append(ten);
        }
        EXPECT_EQ(numbers.GetCapacity(), row.Capacity) << "at " << row.Count;
    }
}

TEST(VnArrayGrowth, RefusesACountBeyondItsRange) {
    VnArrayBase base;
    base.Count = INT32_MAX;
    base.Capacity = INT32_MAX;
    EXPECT_EQ(base.GetCountWith(0), INT32_MAX);
    EXPECT_THROW(base.Grow(nullptr, 4, base.GetCountWith(1), false, false, true),
                 std::bad_array_new_length);
}

TEST(VnArrayGrowth, KeepsTheUsedElementsAndClearsTheRest) {
    VnArrayBase base;
    auto* bytes = static_cast<unsigned char*>(base.Grow(nullptr, 1, 3, true, false, false));
    std::fill(bytes, bytes + 3, 7);
    base.Count = 2;
    bytes = static_cast<unsigned char*>(base.Grow(bytes, 1, 6, true, true, true));
    EXPECT_EQ(std::vector<int>(bytes, bytes + 6), (std::vector<int>{7, 7, 0, 0, 0, 0}));
    VnArrayBase::FreeData(bytes);
}

TEST(VnArrayRemoveAt, CutsTheRangeAndIgnoresBadArguments) {
    struct {
        int32_t Index;
        int32_t Count;
        std::vector<int> Left;
    } const kRows[] = {
        {0, 1, {1, 2, 3}},     {3, 1, {0, 1, 2}},    {1, 2, {0, 3}},
        {2, 99, {0, 1}},       {0, 4, {}},           {4, 1, {0, 1, 2, 3}},
        {-1, 1, {0, 1, 2, 3}}, {1, 0, {0, 1, 2, 3}}, {1, -2, {0, 1, 2, 3}},
        {1, INT32_MAX, {0}},
    };
    for (const auto& row : kRows) {
        VnNumberArray<int> numbers;
        for (int number = 0; number < 4; ++number) {
            numbers.Add(number);
        }
        EXPECT_EQ(numbers.RemoveAt(row.Index, row.Count), row.Left.size() < 4);
        EXPECT_EQ(std::vector<int>(numbers.begin(), numbers.end()), row.Left)
            << row.Index << ", " << row.Count;
        for (int32_t slot = numbers.GetCount(); slot < 4; ++slot) {
            EXPECT_EQ(numbers.GetData()[slot], 0) << "slot behind the count not cleared";
        }
    }
}

TEST(VnArraySetSize, FillsWithEmptyTextsAndClearsFreedSlots) {
    VnStringArray strings;
    strings.Add(L"kept");
    strings.SetSize(3);
    EXPECT_EQ(strings[2].GetText(), VnString().GetText()) << "not the shared empty text";
    strings[2] = L"gone";
    strings.SetSize(2);
    void* slot = nullptr;
    std::memcpy(&slot, static_cast<const void*>(strings.GetData() + 2), sizeof(slot));
    EXPECT_EQ(slot, nullptr);
    strings.SetSize(-4);
    EXPECT_EQ(strings.GetCount(), 0);
}

TEST(VnArrayAdd, TakesValuesFromTheArrayItself) {
    for (const int32_t count : {1, 2, 4, 64, 100}) {
        for (const bool full : {true, false}) {
            SCOPED_TRACE(testing::Message() << count << (full ? ", full" : ", with room"));
            VnStringArray strings;
            strings.Reserve(full ? count : count + 8);
            strings.AppendNumbers(0, count - 1);
            VnStringArray twin = strings;
            twin.Reserve(full ? count : count + 8);
            strings.Add(strings[0]);
            EXPECT_EQ(strings[count], L"0");
            twin.InsertAt(0, twin[count - 1]);
            EXPECT_EQ(twin[0], VnString::FromInt(count - 1));
            EXPECT_EQ(twin[count], VnString::FromInt(count - 1));
            strings.Set(count, strings[count]);
            strings.Append(strings);
            EXPECT_EQ(strings.GetCount(), 2 * count + 2);
            EXPECT_EQ(strings[2 * count + 1], L"0");
        }
    }
}

TEST(VnArrayCopy, IsIndependentAndCompares) {
    VnStringArray first;
    first.Split(L"a,b,c", L",");
    VnStringArray second = first;
    EXPECT_TRUE(first == second);
    second[1] = L"x";
    EXPECT_FALSE(first == second);
    EXPECT_EQ(first[1], L"b");
    second = first;
    const VnStringArray& self = second;
    second = self;
    EXPECT_TRUE(first == second);
    second.RemoveAt(2);
    EXPECT_FALSE(first == second);
    VnStringArray third = std::move(first);
    EXPECT_EQ(third.GetCount(), 3);
    third = std::move(second);
    EXPECT_EQ(third.GetCount(), 2);
}

/// Random steps on a string array and on a vector side by side.
TEST(VnArrayModel, MatchesAVectorOverRandomSteps) {
    for (const uint32_t seed : {1U, 2U, 3U}) {
        SCOPED_TRACE(seed);
        std::mt19937 random(seed);
        VnStringArray subject;
        std::vector<std::wstring> model;
        for (int step = 0; step < 4000; ++step) {
            const auto size = static_cast<int32_t>(model.size());
            const int32_t index = static_cast<int32_t>(random() % 40) - 4;
            const std::wstring text = std::to_wstring(random() % 50);
            switch (random() % 8) {
            case 0:
            case 1:
            case 2:
                ASSERT_EQ(subject.Add(text.c_str()), size);
                model.push_back(text);
                break;
            case 3: {
                const int32_t place = std::clamp(index, 0, size);
                ASSERT_EQ(subject.InsertAt(index, text.c_str()), place);
                model.insert(model.begin() + place, text);
                break;
            }
            case 4: {
                const int32_t count = static_cast<int32_t>(random() % 6) - 1;
                const bool hit = index >= 0 && index < size && count > 0;
                ASSERT_EQ(subject.RemoveAt(index, count), hit);
                if (hit) {
                    model.erase(model.begin() + index,
                                model.begin() + std::min(index + count, size));
                }
                break;
            }
            case 5:
                if (random() % 20 == 0) {
                    subject.SetSize(index);
                    model.resize(static_cast<size_t>(std::max(index, 0)));
                }
                break;
            case 6:
                if (size > 0) {
                    const int32_t place = std::abs(index) % size;
                    subject.Set(place, text.c_str());
                    model[static_cast<size_t>(place)] = text;
                }
                break;
            default: {
                const auto found = std::find(model.begin(), model.end(), text);
                ASSERT_EQ(subject.Find(text.c_str(), /*caseFlag=*/true),
                          found == model.end() ? -1 : found - model.begin());
            }
            }
            ASSERT_EQ(subject.GetCount(), static_cast<int32_t>(model.size()));
        }
        for (size_t index = 0; index < model.size(); ++index) {
            EXPECT_EQ(subject[static_cast<int32_t>(index)], model[index].c_str());
        }
    }
}

/// Counts the objects that live.
struct CCounted {
    explicit CCounted(int number = 0) : Number(number) { ++Alive; }
    ~CCounted() { --Alive; }
    int Number;
    static inline int Alive = 0;
};

TEST(VnOwnedPtrArray, DeletesWhatLeavesWhileItOwns) {
    for (const bool own : {true, false}) {
        SCOPED_TRACE(own);
        std::vector<std::unique_ptr<CCounted>> keepers;
        const auto make = [&] {
            auto* item = new CCounted;
            if (!own) {
                keepers.emplace_back(item);
            }
            return item;
        };
        const auto expected = [&](int owned, int made) { return own ? owned : made; };
        {
            VnOwnedPtrArray<CCounted, false> array(own);
            for (int item = 0; item < 6; ++item) {
                array.Add(make());
            }
            array.RemoveAt(1, 2);
            EXPECT_EQ(CCounted::Alive, expected(4, 6));
            array.Set(0, array[0]);
            EXPECT_EQ(CCounted::Alive, expected(4, 6)) << "the same pointer stored again";
            array.Set(0, make());
            EXPECT_EQ(CCounted::Alive, expected(4, 7));
            array.SetSize(6);
            EXPECT_EQ(array[5], nullptr);
            array.SetSize(3);
            EXPECT_EQ(CCounted::Alive, expected(3, 7));
            CCounted* detached = array.Detach(1);
            EXPECT_EQ(array.GetCount(), 2);
            EXPECT_EQ(CCounted::Alive, expected(3, 7));
            if (own) {
                delete detached;
            }
            EXPECT_EQ(array.Detach(2), nullptr);
        }
        EXPECT_EQ(CCounted::Alive, expected(0, 7));
        keepers.clear();
    }
    EXPECT_EQ(CCounted::Alive, 0);
}

struct CTreeNode : VnOwnedChildren<CTreeNode>, CCounted {
    using CCounted::CCounted;
    bool HasArray() const { return Children != nullptr; }
};

TEST(VnOwnedChildren, OwnsItsSubtree) {
    {
        CTreeNode root;
        EXPECT_FALSE(root.HasArray());
        EXPECT_EQ(root.GetChild(0), nullptr);
        root.AddChild(new CTreeNode(2))->AddChild(new CTreeNode(3));
        root.InsertChild(0, new CTreeNode(1));
        EXPECT_EQ(root.GetChild(0)->Number, 1);
        EXPECT_EQ(root.FindChild(root.GetChild(1)), 1);
        EXPECT_EQ(root.FindChild(&root), -1);
        EXPECT_EQ(CCounted::Alive, 4);
        EXPECT_TRUE(root.RemoveChild(1));
        EXPECT_FALSE(root.RemoveChild(1));
        EXPECT_EQ(CCounted::Alive, 2);
        const std::unique_ptr<CTreeNode> detached(root.DetachChild(0));
        EXPECT_EQ(detached->Number, 1);
        EXPECT_EQ(root.GetChildCount(), 0);
    }
    EXPECT_EQ(CCounted::Alive, 0);
}

TEST(VnOwnedChildren, TakesATreeOfAnyHeightApart) {
    {
        CTreeNode root;
        CTreeNode* bottom = &root;
        for (int level = 0; level < 1000000; ++level) {
            bottom = bottom->AddChild(new CTreeNode);
        }
    }
    EXPECT_EQ(CCounted::Alive, 0);
}

} // namespace

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
#include <tuple>
#include <vector>

namespace {

static_assert(sizeof(VnNumberArray<int>) == 32);
static_assert(sizeof(VnStringArray) == 32);
static_assert(sizeof(VnOwnedPtrArray<int, false>) == 40);

TEST(VnArrayGrowth, TakesTheBuiltInCapacitiesOrMultiplesOfTheStep) {
    const auto getCapacity = [](int32_t growStep, int32_t count) {
        VnNumberArray<int> numbers;
        numbers.SetGrowStep(growStep);
        numbers.SetSize(count);
        return numbers.GetCapacity();
    };
    int32_t previous = 0;
    for (const int32_t step : {4, 64, 256, 1024, 4096, 16384, 65536}) {
        EXPECT_EQ(getCapacity(-1, previous + 1), step);
        EXPECT_EQ(getCapacity(-1, step), step);
        previous = step;
    }
    EXPECT_EQ(getCapacity(10, 9), 10);
    EXPECT_EQ(getCapacity(10, 10), 20);
    EXPECT_EQ(getCapacity(1, 3), 4);
    EXPECT_EQ(getCapacity(-5, 1), 4);

    VnNumberArray<int> numbers;
    while (numbers.GetCount() < 131074) {
        numbers.Add(numbers.GetCount());
    }
    EXPECT_EQ(numbers.GetCapacity(), 131074 + 65536) << "after growth at 65537";
    for (int32_t index = 0; index < numbers.GetCount(); ++index) {
        ASSERT_EQ(numbers[index], index);
    }
}

TEST(VnArrayGrowth, IsExactOnRequestAndNeverShrinks) {
    VnNumberArray<int> numbers;
    for (const int32_t room : {5, 3}) {
        numbers.Reserve(room);
        EXPECT_EQ(numbers.GetCapacity(), 5);
    }
    numbers.SetSize(5);
    VnNumberArray<int> copy = numbers;
    EXPECT_EQ(copy.GetCapacity(), 5);
    copy.Append(numbers);
    EXPECT_EQ(copy.GetCapacity(), 64)
        << "appending again and again would copy everything each time";
    numbers.SetSize(1);
    numbers.Empty();
    EXPECT_EQ(numbers.GetCapacity(), 5);
    numbers.Empty(/*freeMemory=*/true);
    EXPECT_EQ(numbers.GetCapacity(), 0);

    VnArrayBase base;
    base.Count = base.Capacity = INT32_MAX;
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
    const std::tuple<int32_t, int32_t, std::vector<int>> kRows[] = {
        {0, 1, {1, 2, 3}},     {3, 1, {0, 1, 2}},     {1, 2, {0, 3}},
        {2, 99, {0, 1}},       {1, INT32_MAX, {0}},   {0, 4, {}},
        {4, 1, {0, 1, 2, 3}},  {-1, 1, {0, 1, 2, 3}}, {1, 0, {0, 1, 2, 3}},
        {1, -2, {0, 1, 2, 3}},
    };
    for (const auto& [index, count, left] : kRows) {
        SCOPED_TRACE(testing::Message() << index << ", " << count);
        VnNumberArray<int> numbers;
        for (int number = 0; number < 4; ++number) {
            numbers.Add(number);
        }
        EXPECT_EQ(numbers.RemoveAt(index, count), left.size() < 4);
        EXPECT_EQ(std::vector<int>(numbers.begin(), numbers.end()), left);
        EXPECT_TRUE(std::all_of(numbers.end(), numbers.begin() + 4, [](int n) { return n == 0; }))
            << "slots behind the count not cleared";
    }
}

TEST(VnArraySetSize, FillsWithEmptyTextsAndClearsFreedSlots) {
    VnStringArray strings;
    strings.SetSize(3);
    EXPECT_EQ(strings[2].GetText(), VnString().GetText()) << "not the shared empty text";
    strings[2] = L"gone";
    strings.SetSize(2);
    void* slot = nullptr;
    std::memcpy(&slot, static_cast<const void*>(strings.GetData() + 2), sizeof(slot));
    EXPECT_EQ(slot, nullptr);
}

TEST(VnArrayCopy, IsIndependentAndCompares) {
    VnStringArray first;
    first.AppendNumbers(1, 3);
    VnStringArray second = first;
    second[1] = L"x";
    EXPECT_EQ(first[1], L"2");
    EXPECT_FALSE(first == second);
    second = first;
    second = static_cast<const VnStringArray&>(second);
    EXPECT_TRUE(first == second);
    second.RemoveAt(2);
    EXPECT_FALSE(first == second);
    VnStringArray third = std::move(first);
    EXPECT_EQ(third.GetCount(), 3);
    third = std::move(second);
    EXPECT_EQ(third.GetCount(), 2);
}

/// Random steps on a string array and on a vector side by side; values often come from the array
/// itself, and its memory is often new, so that growth meets them.
TEST(VnArrayModel, MatchesAVectorOverRandomSteps) {
    std::mt19937 random(1);
    VnStringArray subject;
    std::vector<std::wstring> model;
    for (int step = 0; step < 12000; ++step) {
        const auto size = static_cast<int32_t>(model.size());
        const int32_t index = static_cast<int32_t>(random() % 40) - 4;
        const int32_t place = std::clamp(index, 0, size);
        const bool isOwn = size > 0 && random() % 2 == 0;
        const auto source = static_cast<int32_t>(random() % static_cast<uint32_t>(size + 1)) - 1;
        const std::wstring text =
            isOwn ? model[static_cast<size_t>(std::max(source, 0))] : std::to_wstring(step % 50);
        const VnString other = text.c_str();
        const VnString& value = isOwn ? subject[std::max(source, 0)] : other;
        const uint32_t kind = random() % 8;
        if (kind < 3) {
            ASSERT_EQ(subject.Add(value), size);
            model.push_back(text);
        } else if (kind == 3) {
            ASSERT_EQ(subject.InsertAt(index, value), place);
            model.insert(model.begin() + place, text);
        } else if (kind == 4) {
            const int32_t count = static_cast<int32_t>(random() % 6) - 1;
            const bool hit = index >= 0 && index < size && count > 0;
            ASSERT_EQ(subject.RemoveAt(index, count), hit);
            if (hit) {
                model.erase(model.begin() + index, model.begin() + std::min(index + count, size));
            }
        } else if (kind == 5 && step % 10 == 0) {
            subject.Append(subject);
            subject.SetSize(index);
            const std::vector<std::wstring> twin = model;
            model.insert(model.end(), twin.begin(), twin.end());
            model.resize(static_cast<size_t>(std::max(index, 0)));
        } else if (kind == 5 && step % 10 == 1) {
            subject.Empty(/*freeMemory=*/true);
            model.clear();
        } else if (kind == 6 && place < size) {
            subject.Set(place, value);
            model[static_cast<size_t>(place)] = text;
        }
        ASSERT_TRUE(std::equal(subject.begin(), subject.end(), model.begin(), model.end(),
                               [](const VnString& a, const auto& b) { return a == b.c_str(); }))
            << "step " << step << ", kind " << kind;
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
    CCounted kept;
    {
        VnOwnedPtrArray<CCounted, false> array;
        for (int item = 0; item < 6; ++item) {
            array.Add(new CCounted);
        }
        array.RemoveAt(1, 2);
        EXPECT_EQ(CCounted::Alive, 5);
        array.Set(0, array[0]);
        EXPECT_EQ(CCounted::Alive, 5) << "the same pointer stored again";
        array.Set(0, new CCounted);
        EXPECT_EQ(CCounted::Alive, 5) << "the replaced element";
        array.SetSize(6);
        EXPECT_EQ(array[5], nullptr);
        array.SetSize(3);
        EXPECT_EQ(CCounted::Alive, 4);
        const std::unique_ptr<CCounted> detached(array.Detach(1));
        EXPECT_EQ(array.GetCount(), 2);
        EXPECT_EQ(array.Detach(2), nullptr);
        EXPECT_EQ(CCounted::Alive, 4);

        VnOwnedPtrArray<CCounted, false> pointing(/*own=*/false);
        for (int item = 0; item < 3; ++item) {
            pointing.Add(&kept);
        }
        pointing.Set(0, nullptr);
        pointing.RemoveAt(1);
        pointing.Swap(array);
        EXPECT_TRUE(pointing.IsOwner() && !array.IsOwner()) << "the owner goes with the elements";
    }
    EXPECT_EQ(CCounted::Alive, 1);
}

struct CTreeNode : VnOwnedChildren<CTreeNode>, CCounted {
    using CCounted::CCounted;
};

TEST(VnOwnedChildren, OwnsItsSubtree) {
    {
        CTreeNode root;
        EXPECT_EQ(root.GetChild(0), nullptr);
        root.AddChild(new CTreeNode(2))->AddChild(new CTreeNode(3));
        root.InsertChild(0, new CTreeNode(1));
        EXPECT_EQ(root.GetChild(0)->Number, 1);
        EXPECT_EQ(root.FindChild(root.GetChild(1)), 1);
        EXPECT_EQ(root.FindChild(&root), -1);
        EXPECT_TRUE(root.RemoveChild(1));
        EXPECT_FALSE(root.RemoveChild(1));
        EXPECT_EQ(CCounted::Alive, 2);
        const std::unique_ptr<CTreeNode> detached(root.DetachChild(0));
        EXPECT_EQ(detached->Number, 1);
        EXPECT_EQ(root.GetChildCount(), 0);
    }
    EXPECT_EQ(CCounted::Alive, 0);
}

} // namespace

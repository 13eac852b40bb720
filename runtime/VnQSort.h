#pragma once

#include "runtime/VnThread.h"
#include "runtime/VnTimer.h"

#include <algorithm>
#include <cstdint>
#include <mutex>
#include <utility>

/// Order of the elements of a sort.
template<typename T>
class IVnQSortCompare {
public:
    /// Slot 0. Negative, 0 or positive as `*a` comes before, with or behind `*b`. With a threaded
    /// sort two threads call at once.
    virtual int32_t Compare(const T* a, const T* b) = 0;

protected:
    ~IVnQSortCompare() = default;
};

/// Quicksort of an array, done when the constructor returns. Elements of equal order end up in any
/// sequence.
///
/// Ranges below 17 elements are shell-sorted. With `threaded`, parts that are put aside are also
/// worked off by the object's own thread, so a sort uses two threads at most. Compare must be a
/// consistent order; the elements are swapped in place.
template<typename T>
class VnQSort final : public VnThread {
public:
    /// Sorts `count` elements from `elements` on. A count below 2 does nothing.
    VnQSort(T* elements, int32_t count, IVnQSortCompare<T>& compare, bool threaded = false)
        : Comparator(&compare)
        , Threaded(threaded)
        , Elements(elements) {
        if (count > 1) {
            SortRange(0, count - 1);
        }
    }
    ~VnQSort() override { Stop(kForever); }

protected:
    bool Run() override {
        WorkOff();
        return true;
    }

private:
    /// Elements from which on a range is partitioned instead of shell-sorted.
    static constexpr int32_t kSmallestPartition = 17;
    /// The larger part is put aside, so each worker puts at most one range aside for every halving:
    /// 31 of 2^31 elements.
    static constexpr int32_t kStackSize = 124;
    static constexpr int32_t kIdleSleepMS = 5;

    /// Inclusive bounds.
    struct CRange {
        int32_t Low;
        int32_t High;
    };

    int32_t Order(int32_t a, int32_t b) const {
        return Comparator->Compare(Elements + a, Elements + b);
    }
    void Exchange(int32_t a, int32_t b) {
        using std::swap;
        if (a != b) {
            swap(Elements[a], Elements[b]);
        }
    }
    void OrderPair(int32_t a, int32_t b) {
        if (Order(a, b) > 0) {
            Exchange(a, b);
        }
    }

    void SortRange(int32_t low, int32_t high);
    void ShellSort(CRange range);
    void Partition(CRange range, CRange& lower, CRange& upper);
    void WorkOff();
    void Push(CRange range);
    bool Pop(CRange& range);

    std::mutex Mutex;               ///< guards IdleWorkers, Stack and StackDepth
    IVnQSortCompare<T>* Comparator; ///< not owned
    bool Threaded;                  ///< a push starts the object's own thread
    int32_t IdleWorkers = 0;
    CRange Stack[kStackSize]; ///< ranges put aside
    int32_t StackDepth = 0;
    T* Elements; ///< not owned
};

/// Sorts the range and all that it puts aside, until no worker has anything left.
template<typename T>
void VnQSort<T>::SortRange(int32_t low, int32_t high) {
    {
        const std::lock_guard guard(Mutex);
        Stack[StackDepth++] = {low, high};
    }
    WorkOff();
}

template<typename T>
void VnQSort<T>::WorkOff() {
    CRange range;
    while (Pop(range)) {
        while (range.High - range.Low + 1 >= kSmallestPartition) {
            CRange smaller;
            CRange larger;
            Partition(range, smaller, larger);
            if (smaller.High - smaller.Low > larger.High - larger.Low) {
                std::swap(smaller, larger);
            }
            Push(larger);
            range = smaller;
        }
        ShellSort(range);
    }
}

/// Puts a range of two or more elements aside.
template<typename T>
void VnQSort<T>::Push(CRange range) {
    if (range.High <= range.Low) {
        return;
    }
    {
        const std::lock_guard guard(Mutex);
        Stack[StackDepth++] = range;
    }
    if (Threaded && !IsRunning()) {
        // Without a second thread the sort goes on with one.
        Start();
    }
}

/// Takes a range to work on; false when no worker has one left or can still put one aside.
template<typename T>
bool VnQSort<T>::Pop(CRange& range) {
    bool idle = false;
    for (;;) {
        {
            const std::lock_guard guard(Mutex);
            if (StackDepth > 0) {
                IdleWorkers -= idle ? 1 : 0;
                range = Stack[--StackDepth];
                return true;
            }
            IdleWorkers += idle ? 0 : 1;
            idle = true;
            if (IdleWorkers >= (IsRunning() ? 2 : 1)) {
                return false;
            }
        }
        VnSleep(kIdleSleepMS);
    }
}

template<typename T>
void VnQSort<T>::ShellSort(CRange range) {
    int32_t gap = (range.High - range.Low + 1) / 2;
    while (gap > 0) {
        for (int32_t index = range.Low + gap; index <= range.High; ++index) {
            for (int32_t left = index - gap; left >= range.Low && Order(left, left + gap) > 0;
                 left -= gap) {
                Exchange(left, left + gap);
            }
        }
        gap = gap == 2 ? 1 : gap * 5 / 11;
    }
}

/// Splits a range around its middle element into what comes ahead of it and what comes behind;
/// elements equal to it next to the border belong to neither.
template<typename T>
void VnQSort<T>::Partition(CRange range, CRange& lower, CRange& upper) {
    int32_t pivot = range.Low + (range.High - range.Low + 1) / 2;
    OrderPair(range.Low, pivot);
    OrderPair(range.Low, range.High);
    OrderPair(pivot, range.High);

    int32_t left = range.Low;
    int32_t right = range.High;
    for (;;) {
        if (left < pivot) {
            do {
                ++left;
            } while (left < pivot && Order(left, pivot) <= 0);
        }
        if (left >= pivot) {
            do {
                ++left;
            } while (left <= range.High && Order(left, pivot) <= 0);
        }
        do {
            --right;
        } while (right > pivot && Order(right, pivot) > 0);
        if (right < left) {
            break;
        }
        Exchange(left, right);
        if (pivot == right) {
            pivot = left;
        }
    }

    ++right;
    if (pivot < right) {
        do {
            --right;
        } while (right > pivot && Order(right, pivot) == 0);
    }
    if (pivot >= right) {
        do {
            --right;
        } while (right > range.Low && Order(right, pivot) == 0);
    }
    lower = {range.Low, right};
    upper = {left, range.High};
}

// Tests of NyxVector: the embedded block, growth and the shrink rule, cells
// whose addresses never move, Insert, Clear, and the quicksort.
#include "values/NyxVector.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <random>
#include <utility>
#include <vector>

#include "values/NyxString.h"

class Variable;

namespace {

NyxVector<int> Filled(unsigned count) {
    NyxVector<int> v;
    for (unsigned i = 0; i < count; ++i) v.PushBack(static_cast<int>(i));
    return v;
}

TEST(NyxVectorTest, TenElementsStayEmbeddedTheEleventhDoubles) {
    NyxVector<int> v;
    EXPECT_EQ(v.GetCapacity(), 10u);
    EXPECT_TRUE(v.UsesEmbedded());
    for (int i = 0; i < 10; ++i) v.PushBack(i);
    EXPECT_EQ(v.GetCapacity(), 10u);
    EXPECT_TRUE(v.UsesEmbedded());
    v.PushBack(10);
    EXPECT_EQ(v.GetCapacity(), 20u);
    EXPECT_FALSE(v.UsesEmbedded());
}

TEST(NyxVectorTest, GrowthDoubles) {
    NyxVector<int> v;
    std::vector<unsigned> capacities;
    for (int i = 0; i < 41; ++i) {
        v.PushBack(i);
        if (capacities.empty() || capacities.back() != v.GetCapacity()) capacities.push_back(v.GetCapacity());
    }
    EXPECT_EQ(capacities, (std::vector<unsigned>{10, 20, 40, 80}));
}

TEST(NyxVectorTest, ShrinkFromFortyToThirteenButNotFourteen) {
    NyxVector<int> v = Filled(40);  // the copy has exactly capacity 40
    ASSERT_EQ(v.GetCapacity(), 40u);
    while (v.Size() > 14) v.Remove(v.Size() - 1);
    EXPECT_EQ(v.GetCapacity(), 40u);  // 40 is not above 42
    v.Remove(v.Size() - 1);
    EXPECT_EQ(v.Size(), 13u);
    EXPECT_EQ(v.GetCapacity(), 13u);  // 40 is above 39: straight to the size asked
    for (unsigned i = 0; i < 13; ++i) EXPECT_EQ(v[i], static_cast<int>(i));
}

TEST(NyxVectorTest, ShrinkFromTwentyReturnsToTheEmbeddedBlockKeepingAddresses) {
    NyxVector<int> v = Filled(20);
    ASSERT_EQ(v.GetCapacity(), 20u);
    std::vector<int*> addresses;
    for (unsigned i = 0; i < 6; ++i) addresses.push_back(&v[i]);
    while (v.Size() > 7) v.Remove(v.Size() - 1);
    EXPECT_EQ(v.GetCapacity(), 20u);
    v.Remove(6);
    EXPECT_EQ(v.GetCapacity(), 10u);
    EXPECT_TRUE(v.UsesEmbedded());
    for (unsigned i = 0; i < 6; ++i) {
        EXPECT_EQ(&v[i], addresses[i]);
        EXPECT_EQ(v[i], static_cast<int>(i));
    }
}

TEST(NyxVectorTest, ElementAddressesSurviveGrowthAndInsert) {
    NyxVector<NyxString> v;
    v.PushBack(NyxString("first"));
    NyxString* first = &v[0];
    for (int i = 0; i < 100; ++i) v.Insert(NyxString("x"), 0);
    EXPECT_EQ(&v[100], first);
    EXPECT_EQ(first->ToStd(), "first");
}

TEST(NyxVectorTest, ClearFalseKeepsCapacityUntilTheNextResize) {
    NyxVector<int> v;
    for (int i = 0; i < 100; ++i) v.PushBack(i);
    NyxVector<int> w = v;
    ASSERT_EQ(w.GetCapacity(), 100u);
    w.Clear(false);
    EXPECT_EQ(w.Size(), 0u);
    EXPECT_EQ(w.GetCapacity(), 100u);
    w.PushBack(1);  // 100 is above 3: the next resize shrinks to 10
    EXPECT_EQ(w.GetCapacity(), 10u);
    EXPECT_TRUE(w.UsesEmbedded());
    v.Clear(true);
    EXPECT_EQ(v.GetCapacity(), 10u);
    EXPECT_TRUE(v.UsesEmbedded());
    EXPECT_TRUE(v.IsEmpty());
}

TEST(NyxVectorTest, InsertAtSizeIsPushBack) {
    NyxVector<int> v = Filled(3);
    v.Insert(99, v.Size());
    EXPECT_EQ(v.Size(), 4u);
    EXPECT_EQ(v[3], 99);
    v.Insert(-1, 0);
    v.Insert(50, 2);
    const int expected[] = {-1, 0, 50, 1, 2, 99};
    ASSERT_EQ(v.Size(), 6u);
    for (unsigned i = 0; i < 6; ++i) EXPECT_EQ(v[i], expected[i]);
}

TEST(NyxVectorTest, InsertIntoAFullEmbeddedBlock) {
    NyxVector<int> v = Filled(10);
    v.Insert(-5, 4);
    EXPECT_EQ(v.GetCapacity(), 20u);
    EXPECT_EQ(v[4], -5);
    EXPECT_EQ(v[5], 4);
    EXPECT_EQ(v[10], 9);
}

TEST(NyxVectorTest, FindRemoveTakeAt) {
    NyxVector<NyxString> v;
    v.PushBack(NyxString("a"));
    v.PushBack(NyxString("b"));
    v.PushBack(NyxString("c"));
    EXPECT_TRUE(v.Find(NyxString("b")));
    EXPECT_FALSE(v.Find(NyxString("z")));
    v.Remove(0);
    EXPECT_EQ(v[0].ToStd(), "b");
    NyxString taken = v.TakeAt(1);
    EXPECT_EQ(taken.ToStd(), "c");
    EXPECT_EQ(v.Size(), 1u);
}

TEST(NyxVectorTest, CopyIsDeep) {
    NyxVector<NyxString> v;
    v.PushBack(NyxString("a"));
    NyxVector<NyxString> w(v);
    w[0] = "b";
    EXPECT_EQ(v[0].ToStd(), "a");
    w = w;
    EXPECT_EQ(w[0].ToStd(), "b");
}

int lessCalls = 0;
bool CountingLess(const int& a, const int& b, void*) {
    ++lessCalls;
    return a < b;
}

TEST(NyxVectorTest, SortCallsLessNeverOnZeroOrOneElements) {
    NyxVector<int> v;
    lessCalls = 0;
    v.Sort(CountingLess, nullptr);
    v.PushBack(1);
    v.Sort(CountingLess, nullptr);
    EXPECT_EQ(lessCalls, 0);
}

bool DescendingLess(const int& a, const int& b, void* userData) {
    ++*static_cast<int*>(userData);
    return a > b;
}

TEST(NyxVectorTest, SortPassesUserDataAndOrdersByTheComparator) {
    NyxVector<int> v;
    const int values[] = {5, 3, 9, 1, 7, 3};
    for (int x : values) v.PushBack(x);
    int calls = 0;
    v.Sort(DescendingLess, &calls);
    EXPECT_GT(calls, 0);
    const int expected[] = {9, 7, 5, 3, 3, 1};
    for (unsigned i = 0; i < 6; ++i) EXPECT_EQ(v[i], expected[i]);
}

TEST(NyxVectorTest, SortWithNullComparatorOrdersPointersByAddress) {
    static char block[8];
    auto* a = reinterpret_cast<Variable*>(block + 1);
    auto* b = reinterpret_cast<Variable*>(block + 5);
    auto* c = reinterpret_cast<Variable*>(block + 3);
    NyxVector<Variable*> v;
    v.PushBack(b);
    v.PushBack(a);
    v.PushBack(c);
    v.Sort(nullptr, nullptr);
    EXPECT_EQ(v[0], a);
    EXPECT_EQ(v[1], c);
    EXPECT_EQ(v[2], b);
}

TEST(NyxVectorTest, SortKeepsElementAddresses) {
    NyxVector<int> v;
    for (int i = 20; i > 0; --i) v.PushBack(i);
    int* twenty = &v[0];
    v.Sort(nullptr, nullptr);
    EXPECT_EQ(&v[19], twenty);
}

// The partition exactly as the textbook algorithm does it, recursing on both
// sides: the vector's sort must leave every element where this one does.
struct Keyed {
    int key;
    int id;
    bool operator<(const Keyed& other) const { return key < other.key; }
};

void ReferenceQuickSort(std::vector<Keyed>& items, unsigned left, unsigned right) {
    if (left >= right) return;
    std::swap(items[left], items[(left + right) / 2]);
    unsigned last = left;
    for (unsigned i = left + 1; i <= right; ++i) {
        if (items[i].key < items[left].key) std::swap(items[++last], items[i]);
    }
    std::swap(items[left], items[last]);
    if (last > left) ReferenceQuickSort(items, left, last - 1);
    ReferenceQuickSort(items, last + 1, right);
}

bool KeyLess(const Keyed& a, const Keyed& b, void*) { return a.key < b.key; }

TEST(NyxVectorTest, SortLeavesEqualKeysWhereTheTextbookPartitionDoes) {
    std::mt19937 random(12345);
    for (int round = 0; round < 200; ++round) {
        const unsigned count = 1 + random() % 60;
        const int distinct = 1 + static_cast<int>(random() % 5);
        std::vector<Keyed> expected;
        NyxVector<Keyed> v;
        for (unsigned i = 0; i < count; ++i) {
            const Keyed item{static_cast<int>(random() % distinct), static_cast<int>(i)};
            expected.push_back(item);
            v.PushBack(item);
        }
        ReferenceQuickSort(expected, 0, count - 1);
        v.Sort(KeyLess, nullptr);
        for (unsigned i = 0; i < count; ++i) {
            ASSERT_EQ(v[i].id, expected[i].id) << "round " << round << " index " << i;
        }
    }
}

TEST(NyxVectorTest, SortOfManySortedOrEqualElementsNeitherOverflowsNorCrawls) {
    constexpr int kCount = 100000;
    NyxVector<int> sorted;
    NyxVector<int> equal;
    NyxVector<int> reversed;
    for (int i = 0; i < kCount; ++i) {
        sorted.PushBack(i);
        equal.PushBack(7);
        reversed.PushBack(kCount - i);
    }
    lessCalls = 0;
    sorted.Sort(CountingLess, nullptr);
    equal.Sort(CountingLess, nullptr);
    reversed.Sort(CountingLess, nullptr);
    EXPECT_LT(lessCalls, 60 * kCount);  // three sorts of n log n each, not n squared
    for (int i = 0; i < kCount; ++i) {
        ASSERT_EQ(sorted[i], i);
        ASSERT_EQ(reversed[i], i + 1);
    }
}

TEST(NyxVectorTest, SortOfRandomDataMatchesStdSort) {
    std::mt19937 random(7);
    NyxVector<int> v;
    std::vector<int> expected;
    for (int i = 0; i < 5000; ++i) {
        const int x = static_cast<int>(random() % 1000);
        v.PushBack(x);
        expected.push_back(x);
    }
    std::sort(expected.begin(), expected.end());
    v.Sort(nullptr, nullptr);
    for (unsigned i = 0; i < expected.size(); ++i) ASSERT_EQ(v[i], expected[i]);
}

}  // namespace

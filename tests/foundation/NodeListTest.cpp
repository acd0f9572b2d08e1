// Tests of NodeList: numbering from 1, ownership through the deleter, sorting.
#include "foundation/NodeList.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace {

std::vector<int>* gDeleted = nullptr;

void RecordDeleted(void* entry) {
    if (gDeleted != nullptr) gDeleted->push_back(*static_cast<int*>(entry));
    delete static_cast<int*>(entry);
}

class NodeListTest : public ::testing::Test {
protected:
    void SetUp() override { gDeleted = &Deleted; }
    void TearDown() override { gDeleted = nullptr; }
    std::vector<int> Deleted;
};

std::vector<int> Values(const NodeList& list) {
    std::vector<int> values;
    for (unsigned i = 1; i <= list.GetCount(); ++i) values.push_back(*static_cast<int*>(list.GetEntry(i)));
    return values;
}

TEST_F(NodeListTest, EntriesCountFromOneAndOutOfRangeIsNull) {
    NodeList list(RecordDeleted);
    EXPECT_EQ(list.GetCount(), 0u);
    EXPECT_EQ(list.GetEntry(1), nullptr);
    EXPECT_EQ(list.AddEntry(new int(10)), 1);
    EXPECT_EQ(list.AddEntry(new int(20)), 2);
    EXPECT_EQ(list.GetEntry(0), nullptr);
    EXPECT_EQ(*static_cast<int*>(list.GetEntry(1)), 10);
    EXPECT_EQ(*static_cast<int*>(list.GetEntry(2)), 20);
    EXPECT_EQ(list.GetEntry(3), nullptr);
}

TEST_F(NodeListTest, GrowsPastItsInlineSlotsInOrder) {
    NodeList list(RecordDeleted);
    for (int i = 0; i < 100; ++i) list.AddEntry(new int(i));
    ASSERT_EQ(list.GetCount(), 100u);
    for (int i = 0; i < 100; ++i) EXPECT_EQ(*static_cast<int*>(list.GetEntry(static_cast<unsigned>(i + 1))), i);
}

TEST_F(NodeListTest, LentStorageKeepsTheEntriesAndIsLeftWhenTheListGrowsPastIt) {
    // Storage on the stack: freeing it (by the list, at growth or at its end)
    // is a fault that the checked build reports.
    void* storage[4] = {};
    {
        NodeList list(RecordDeleted);
        for (int i = 0; i < 3; ++i) list.AddEntry(new int(i));
        list.UseStorage(storage, 4);
        EXPECT_EQ(list.GetCapacity(), 4u);
        list.AddEntry(new int(3));
        EXPECT_EQ(Values(list), (std::vector<int>{0, 1, 2, 3}));
        EXPECT_EQ(*static_cast<int*>(storage[3]), 3);
        list.DeleteEntry(1);
        list.AddEntry(new int(4));
        EXPECT_EQ(Values(list), (std::vector<int>{1, 2, 3, 4}));
        list.AddEntry(new int(5));  // past the lent storage
        EXPECT_GE(list.GetCapacity(), 5u);
        EXPECT_EQ(Values(list), (std::vector<int>{1, 2, 3, 4, 5}));
    }
    EXPECT_EQ(Deleted, (std::vector<int>{0, 1, 2, 3, 4, 5}));
    NodeList small(RecordDeleted);
    for (int i = 0; i < 3; ++i) small.AddEntry(new int(i));
    small.UseStorage(storage, 2);  // too small: refused
    EXPECT_EQ(Values(small), (std::vector<int>{0, 1, 2}));
}

TEST_F(NodeListTest, InsertRemoveDeleteAndSet) {
    NodeList list(RecordDeleted);
    list.AddEntry(new int(1));
    list.AddEntry(new int(3));
    EXPECT_EQ(list.InsertEntry(2, new int(2)), 2);
    EXPECT_EQ(list.InsertEntry(1, new int(0)), 1);
    EXPECT_EQ(list.InsertEntry(99, new int(4)), 5);
    EXPECT_EQ(Values(list), (std::vector<int>{0, 1, 2, 3, 4}));

    int* removed = static_cast<int*>(list.RemoveEntry(1));
    EXPECT_EQ(*removed, 0);
    EXPECT_TRUE(Deleted.empty());
    delete removed;
    EXPECT_EQ(list.RemoveEntry(0), nullptr);
    EXPECT_EQ(list.RemoveEntry(9), nullptr);

    list.DeleteEntry(2);
    EXPECT_EQ(Deleted, std::vector<int>{2});
    EXPECT_EQ(Values(list), (std::vector<int>{1, 3, 4}));

    list.SetEntry(1, new int(7));
    EXPECT_EQ(Deleted, (std::vector<int>{2, 1}));
    EXPECT_EQ(Values(list), (std::vector<int>{7, 3, 4}));
    list.DeleteEntry(0);
    list.DeleteEntry(4);
    EXPECT_EQ(list.GetCount(), 3u);
}

TEST_F(NodeListTest, OwningListDisposesOfEveryEntry) {
    {
        NodeList list(RecordDeleted);
        for (int i = 0; i < 6; ++i) list.AddEntry(new int(i));
    }
    EXPECT_EQ(Deleted, (std::vector<int>{0, 1, 2, 3, 4, 5}));
    Deleted.clear();
    NodeList list(RecordDeleted);
    list.AddEntry(new int(8));
    list.DeleteAllEntries();
    EXPECT_EQ(list.GetCount(), 0u);
    EXPECT_EQ(Deleted, std::vector<int>{8});
}

TEST_F(NodeListTest, ListWithoutDeleterOnlyLends) {
    int a = 1;
    int b = 2;
    {
        NodeList list;
        list.AddEntry(&a);
        list.AddEntry(&b);
        list.DeleteEntry(1);
        EXPECT_EQ(list.GetEntry(1), &b);
    }
    EXPECT_TRUE(Deleted.empty());
}

class DescendingList : public NodeList {
public:
    DescendingList() : NodeList(RecordDeleted) {}
    int SortCompare(void* a, void* b) override { return *static_cast<int*>(b) / 10 - *static_cast<int*>(a) / 10; }
};

TEST_F(NodeListTest, SortUsesSortCompareAndIsStable) {
    DescendingList list;
    for (int value : {11, 30, 12, 21, 13, 31}) list.AddEntry(new int(value));
    list.Sort();
    EXPECT_EQ(Values(list), (std::vector<int>{30, 31, 21, 11, 12, 13}));
    NodeList plain(RecordDeleted);
    for (int value : {3, 1, 2}) plain.AddEntry(new int(value));
    plain.Sort();  // the base comparison keeps the order
    EXPECT_EQ(Values(plain), (std::vector<int>{3, 1, 2}));
}

}  // namespace

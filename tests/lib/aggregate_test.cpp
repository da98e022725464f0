#include <gtest/gtest.h>

#include <vector>

#include "onu_mng_lib/onu_mng_common/iterator.h"

namespace {

class Items : public Aggregate {
public:
    AggregateObject* GetItem(unsigned int index) override {
        return index < items.size() ? &items[index] : nullptr;
    }
    unsigned int GetSize() const override { return static_cast<unsigned int>(items.size()); }
    std::vector<AggregateObject> items = std::vector<AggregateObject>(3);
};

TEST(Aggregates, AreWalkedToTheirEndAndNoFurther) {
    Items items;
    Iterator* walk = items.CreateIterator();
    for (unsigned int index = 0; index < 3; ++index, (*walk)++)
        EXPECT_EQ(&items.items[index], (*walk)());
    EXPECT_TRUE(walk->IsEnd());
    ++*walk;
    EXPECT_EQ(nullptr, walk->CurrentItem());
    items.items.emplace_back();
    EXPECT_EQ(&items.items[3], (*walk)()) << "a collection that grew is walked to its new end";
    EXPECT_EQ(walk, static_cast<const Items&>(items).CreateIterator());
    EXPECT_EQ(&items.items[3], (*walk)()) << "not rewound";
    EXPECT_EQ(walk, items.CreateIterator());
    EXPECT_EQ(&items.items[0], (*walk)()) << "rewound";
}

TEST(Aggregates, CopiesShareNoIteratorAndNoPosition) {
    Items items;
    Iterator* walk = items.CreateIterator();
    walk->Next();
    Iterator copy(*walk);
    EXPECT_EQ(&items.items[0], copy());
    copy.Next();
    copy = *walk;
    EXPECT_EQ(&items.items[0], copy());
    Items second(items);
    EXPECT_NE(walk, second.CreateIterator());
    Iterator* walk_of_second = second.CreateIterator();
    walk_of_second->Next();
    second = items;
    EXPECT_EQ(second.GetItem(0), static_cast<const Items&>(second).CreateIterator()->CurrentItem())
        << "a copy starts a walk of its own";
    const Iterator nowhere;
    EXPECT_TRUE(nowhere.IsEnd());
    EXPECT_EQ(nullptr, nowhere());
}

} // namespace

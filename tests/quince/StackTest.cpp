// Stack: ownership, order and access of pushed variables.
#include "quince/Stack.h"

#include <gtest/gtest.h>

#include "values/VarDouble.h"
#include "values/VarInteger.h"

namespace {

// A variable that notes its own deletion.
class WatchedVariable : public VarDouble {
public:
    explicit WatchedVariable(bool* deleted) : Deleted(deleted) {}
    ~WatchedVariable() override { *Deleted = true; }

private:
    bool* Deleted;
};

Variable* MakeInteger(long value) {
    auto* variable = new VarInteger();
    variable->SetIntegerValue(value);
    return variable;
}

TEST(StackTest, PopGivesTheLastPushedFirst) {
    Stack stack;
    stack.PushVariable(MakeInteger(1));
    stack.PushVariable(MakeInteger(2));
    Variable* top = stack.PopVariable();
    ASSERT_NE(top, nullptr);
    EXPECT_EQ(top->GetIntegerValue(), 2);
    Variable::Delete(top);
    EXPECT_EQ(stack.GetCount(), 1u);
}

TEST(StackTest, PopOnAnEmptyStackGivesNull) {
    Stack stack;
    EXPECT_EQ(stack.PopVariable(), nullptr);
    EXPECT_EQ(stack.GetCount(), 0u);
}

TEST(StackTest, GetAtCountsFromTheBottom) {
    Stack stack;
    stack.PushVariable(MakeInteger(10));
    stack.PushVariable(MakeInteger(20));
    ASSERT_NE(stack.GetAt(0), nullptr);
    EXPECT_EQ(stack.GetAt(0)->GetIntegerValue(), 10);
    EXPECT_EQ(stack.GetAt(1)->GetIntegerValue(), 20);
    EXPECT_EQ(stack.GetAt(2), nullptr);
}

TEST(StackTest, PushingNullChangesNothing) {
    Stack stack;
    stack.PushVariable(nullptr);
    EXPECT_EQ(stack.GetCount(), 0u);
}

TEST(StackTest, DestructorDeletesWhatIsStillOnTheStack) {
    bool deleted = false;
    {
        Stack stack;
        stack.PushVariable(new WatchedVariable(&deleted));
    }
    EXPECT_TRUE(deleted);
}

TEST(StackTest, PoppedVariableIsTheTakersToDelete) {
    bool deleted = false;
    Variable* taken = nullptr;
    {
        Stack stack;
        stack.PushVariable(new WatchedVariable(&deleted));
        taken = stack.PopVariable();
    }
    EXPECT_FALSE(deleted);
    Variable::Delete(taken);
    EXPECT_TRUE(deleted);
}

}  // namespace

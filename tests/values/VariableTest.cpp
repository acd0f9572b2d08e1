// Tests of the defaults that Variable gives every class, of GetText,
// Duplicate and Delete.
#include "values/Variable.h"

#include <gtest/gtest.h>

#include <cstring>

#include "values/VarInteger.h"
#include "values/VarString.h"

namespace {

// A variable that overrides nothing, so every default shows.
class PlainVariable : public Variable {
public:
    PlainVariable() : Variable(TypeHandle, "plain") {}
};

TEST(VariableTest, GettersDefaultToZeroAndEmpty) {
    PlainVariable v;
    EXPECT_EQ(v.GetBoolValue(), 0);
    EXPECT_EQ(v.GetCharValue(), 0);
    EXPECT_EQ(v.GetIntegerValue(), 0);
    EXPECT_EQ(v.GetFloatValue(), 0.0f);
    EXPECT_EQ(v.GetDoubleValue(), 0.0);
    EXPECT_EQ(v.GetHandleValue(), nullptr);
    EXPECT_EQ(v.GetLength(), 0u);
    EXPECT_EQ(v.GetTypeId(), Variable::TypeHandle);
}

TEST(VariableTest, StringValueDefaultIsReadableEmptyText) {
    PlainVariable v;
    const char* text = v.GetStringValue();
    ASSERT_NE(text, nullptr);
    EXPECT_EQ(std::strlen(text), 0u);
}

TEST(VariableTest, StructureAndArrayDefaultsAreAbsent) {
    PlainVariable v;
    EXPECT_EQ(v.Clone(), nullptr);
    EXPECT_EQ(v.Dereference(), nullptr);
    EXPECT_EQ(v.GetArrayElementType(), nullptr);
    EXPECT_EQ(v.IsArray(), 0);
    EXPECT_EQ(v.IsStruct(), 0);
    EXPECT_EQ(v.GetElementCount(), 0u);
    EXPECT_EQ(v.GetArrayElement(0), nullptr);
    EXPECT_EQ(v.RemoveArrayElement(0), nullptr);
    EXPECT_EQ(v.GetStructElement(0u), nullptr);
    EXPECT_EQ(v.GetStructElement(NyxString("x")), nullptr);
    EXPECT_EQ(v.GetStructElementIndex("x"), 0u);
    EXPECT_TRUE(v.GetStructName().IsEmpty());
    EXPECT_TRUE(v.GetHandleName().IsEmpty());
}

TEST(VariableTest, AddingToANonArrayFailsAndLeavesOwnershipWithTheCaller) {
    PlainVariable v;
    VarInteger element;
    EXPECT_EQ(v.AddArrayElement(&element), 0);
    EXPECT_EQ(v.AddStructElement(&element, 0), 0);
    EXPECT_EQ(v.Assign(&element), 0);
}

TEST(VariableTest, DumpsAppendNothingByDefault) {
    PlainVariable v;
    NyxString out("keep");
    v.Dump(out, "p", 0);
    v.DumpValue(out, "p");
    v.DumpType(out, "p", 0);
    v.AppendText(out);
    EXPECT_EQ(out.ToStd(), "keep");
}

TEST(VariableTest, NameAndFlags) {
    VarInteger n("count", 5);
    EXPECT_EQ(n.GetVarName().ToStd(), "count");
    EXPECT_EQ(n.GetVarFlags(), 5u);
    n.SetVarName("total");
    n.SetVarFlags(9);
    EXPECT_EQ(n.GetVarName().ToStd(), "total");
    EXPECT_EQ(n.GetVarFlags(), 9u);
}

TEST(VariableTest, BaseAssignmentCopiesNameAndFlagsButNotTheType) {
    VarInteger a("a", 1);
    VarString b("b", 2);
    static_cast<Variable&>(a) = static_cast<const Variable&>(b);
    EXPECT_EQ(a.GetVarName().ToStd(), "b");
    EXPECT_EQ(a.GetVarFlags(), 2u);
    EXPECT_EQ(a.GetTypeId(), Variable::TypeInteger);
}

TEST(VariableTest, IsCompatibleForwardsToTheVirtualOperation) {
    VarInteger n;
    VarString s;
    PlainVariable p;
    EXPECT_EQ(n.IsCompatible(&s), n.IsCompatibleWith(&s));
    EXPECT_EQ(n.IsCompatible(&s), 1);
    EXPECT_EQ(n.IsCompatible(&p), 0);
    EXPECT_EQ(n.IsCompatible(nullptr), 0);
}

TEST(VariableTest, DuplicateWritesThroughToTheOrigin) {
    VarInteger position;
    position.SetIntegerValue(4);
    Variable* duplicate = position.Duplicate();
    EXPECT_EQ(duplicate->GetTypeId(), Variable::TypeInteger);
    EXPECT_EQ(duplicate->GetIntegerValue(), 4);
    duplicate->SetIntegerValue(9);
    EXPECT_EQ(position.GetIntegerValue(), 9);
    position.SetIntegerValue(11);
    EXPECT_EQ(duplicate->GetIntegerValue(), 11);
    Variable::Delete(duplicate);
    EXPECT_EQ(position.GetIntegerValue(), 11);
}

TEST(VariableTest, DuplicateOfADuplicateReachesTheSameOrigin) {
    VarString origin;
    Variable* first = origin.Duplicate();
    Variable* second = first->Duplicate();
    Variable::Delete(first);  // the second must not depend on the first
    second->SetStringValue(NyxString("hello"));
    EXPECT_STREQ(origin.GetStringValue(), "hello");
    EXPECT_EQ(second->Dereference(), &origin);
    Variable::Delete(second);
}

TEST(VariableTest, DeleteAcceptsNull) { Variable::Delete(nullptr); }

TEST(VariableTest, GetTextReturnsTheTextForm) {
    VarInteger n;
    n.SetIntegerValue(-12);
    EXPECT_EQ(n.GetText().ToStd(), "-12");
    PlainVariable p;
    EXPECT_TRUE(p.GetText().IsEmpty());
}

}  // namespace

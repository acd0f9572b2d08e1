// Tests of VarReference, the variable that Duplicate makes: every operation
// reaches the origin, the name stays its own.
#include "values/VarReference.h"

#include <gtest/gtest.h>

#include "values/VarArray.h"
#include "values/VarDouble.h"
#include "values/VarInteger.h"
#include "values/VarString.h"

namespace {

TEST(VarReferenceTest, AssignThroughAReferenceKeepsTheOriginsType) {
    VarInteger origin;
    VarString text;
    text.SetStringValue(NyxString("42abc"));
    Variable* reference = origin.Duplicate();
    EXPECT_EQ(reference->Assign(&text), 1);
    EXPECT_EQ(origin.GetIntegerValue(), 42);
    EXPECT_EQ(origin.GetTypeId(), Variable::TypeInteger);
    Variable::Delete(reference);
}

TEST(VarReferenceTest, AssignFromAReferenceReadsTheOrigin) {
    VarDouble origin;
    origin.SetDoubleValue(2.75);
    Variable* reference = origin.Duplicate();
    VarString target;
    EXPECT_EQ(target.Assign(reference), 1);
    EXPECT_STREQ(target.GetStringValue(), "2.75");
    Variable::Delete(reference);
}

TEST(VarReferenceTest, AssigningTheOriginToItsReferenceChangesNothing) {
    VarString origin;
    origin.SetStringValue(NyxString("same"));
    Variable* reference = origin.Duplicate();
    EXPECT_EQ(reference->Assign(&origin), 1);
    EXPECT_EQ(origin.Assign(reference), 1);
    EXPECT_STREQ(origin.GetStringValue(), "same");
    Variable::Delete(reference);
}

TEST(VarReferenceTest, ArrayOperationsReachTheOrigin) {
    VarIntegerArray origin;
    Variable* reference = origin.Duplicate();
    EXPECT_EQ(reference->IsArray(), 1);
    reference->SetArraySize(3);
    EXPECT_EQ(origin.GetElementCount(), 3u);
    reference->GetArrayElement(1)->SetIntegerValue(5);
    EXPECT_EQ(origin.GetArrayElement(1)->GetIntegerValue(), 5);
    auto* added = new VarInteger;
    added->SetIntegerValue(8);
    EXPECT_EQ(reference->AddArrayElement(added), 1);
    reference->SwapArrayElements(0, 3);
    EXPECT_EQ(origin.GetArrayElement(0)->GetIntegerValue(), 8);
    reference->DeleteArrayElement(0);
    EXPECT_EQ(origin.GetElementCount(), 3u);
    reference->AdjustArraySize(-1);
    EXPECT_EQ(origin.GetElementCount(), 2u);
    Variable* removed = reference->RemoveArrayElement(0);
    ASSERT_NE(removed, nullptr);
    Variable::Delete(removed);
    EXPECT_EQ(origin.GetElementCount(), 1u);
    EXPECT_EQ(reference->GetArrayElementType(), origin.GetArrayElementType());
    Variable::Delete(reference);
}

TEST(VarReferenceTest, TextAndDumpsAreTheOrigins) {
    VarString origin;
    origin.SetStringValue(NyxString("a b"));
    Variable* reference = origin.Duplicate();
    NyxString out;
    reference->DumpType(out, "t:", 0);
    reference->DumpValue(out, " v:");
    EXPECT_EQ(out.ToStd(), "t:string v:\"a b\"");
    EXPECT_EQ(reference->GetText().ToStd(), "a b");
    EXPECT_EQ(reference->GetLength(), 3u);
    Variable::Delete(reference);
}

TEST(VarReferenceTest, CloneIsAnIndependentCopyOfTheOrigin) {
    VarInteger origin;
    origin.SetIntegerValue(3);
    Variable* reference = origin.Duplicate();
    Variable* copy = reference->Clone();
    ASSERT_NE(copy, nullptr);
    EXPECT_EQ(copy->Dereference(), nullptr);
    copy->SetIntegerValue(10);
    EXPECT_EQ(origin.GetIntegerValue(), 3);
    Variable::Delete(copy);
    Variable::Delete(reference);
}

TEST(VarReferenceTest, RenamingTheReferenceLeavesTheOriginsName) {
    VarInteger origin("page_var");
    Variable* reference = origin.Duplicate();
    EXPECT_EQ(reference->GetVarName().ToStd(), "page_var");
    reference->SetVarName("parameter");
    EXPECT_EQ(origin.GetVarName().ToStd(), "page_var");
    Variable::Delete(reference);
}

}  // namespace

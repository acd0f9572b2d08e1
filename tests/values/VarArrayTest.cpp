// Tests of VarArray and the typed arrays: ownership, the model type,
// conversions on Assign and AddArrayElement, text forms and bounds.
#include "values/VarArray.h"

#include <gtest/gtest.h>

#include "values/VarDouble.h"
#include "values/VarInteger.h"
#include "values/VarString.h"

namespace {

TEST(VarArrayTest, DumpTypeNames) {
    const struct {
        Variable* array;
        const char* name;
    } cases[] = {
        {new VarArray, "array"},         {new VarBooleanArray, "bool[]"},  {new VarCharArray, "char[]"},
        {new VarIntegerArray, "integer[]"}, {new VarFloatArray, "float[]"}, {new VarDoubleArray, "double[]"},
        {new VarStringArray, "string[]"},
    };
    for (const auto& c : cases) {
        NyxString out("o");
        c.array->DumpType(out, "x", 0);
        EXPECT_EQ(out.ToStd(), std::string("ox") + c.name);
        EXPECT_EQ(c.array->IsArray(), 1);
        Variable::Delete(c.array);
    }
}

TEST(VarArrayTest, TypedArraysGrowWithElementsOfTheirType) {
    VarIntegerArray a;
    ASSERT_NE(a.GetArrayElementType(), nullptr);
    EXPECT_EQ(a.GetArrayElementType()->GetTypeId(), Variable::TypeInteger);
    a.SetArraySize(3);
    ASSERT_EQ(a.GetElementCount(), 3u);
    EXPECT_EQ(a.GetArrayElement(2)->GetTypeId(), Variable::TypeInteger);
    EXPECT_EQ(a.GetArrayElement(3), nullptr);
    a.SetArraySize(1);
    EXPECT_EQ(a.GetElementCount(), 1u);
    a.AdjustArraySize(4);
    EXPECT_EQ(a.GetElementCount(), 5u);
    a.AdjustArraySize(-10);
    EXPECT_EQ(a.GetElementCount(), 0u);
}

TEST(VarArrayTest, ElementAddressesSurviveGrowth) {
    VarStringArray a;
    a.SetArraySize(1);
    Variable* first = a.GetArrayElement(0);
    a.SetArraySize(100);
    EXPECT_EQ(a.GetArrayElement(0), first);
}

TEST(VarArrayTest, MixedArrayTakesAnyElementAndGrowsWithEmptyStrings) {
    VarArray a;
    EXPECT_EQ(a.GetArrayElementType(), nullptr);
    auto* n = new VarInteger;
    n->SetIntegerValue(1);
    auto* s = new VarString;
    s->SetStringValue(NyxString("two"));
    EXPECT_EQ(a.AddArrayElement(n), 1);
    EXPECT_EQ(a.AddArrayElement(s), 1);
    EXPECT_EQ(a.GetArrayElement(0), n);  // stored as given, not copied
    a.SetArraySize(3);
    EXPECT_EQ(a.GetArrayElement(2)->GetTypeId(), Variable::TypeString);
    EXPECT_EQ(a.GetText().ToStd(), "[1,two,]");
}

TEST(VarArrayTest, TypedArrayConvertsAnAddedElementOfAnotherType) {
    VarIntegerArray a;
    auto* d = new VarDouble;
    d->SetDoubleValue(2.9);
    EXPECT_EQ(a.AddArrayElement(d), 1);  // d is now the array's and gone
    ASSERT_EQ(a.GetElementCount(), 1u);
    EXPECT_EQ(a.GetArrayElement(0)->GetTypeId(), Variable::TypeInteger);
    EXPECT_EQ(a.GetArrayElement(0)->GetIntegerValue(), 2);
}

TEST(VarArrayTest, AddingADuplicateStoresACopyOfItsOrigin) {
    VarArray a;
    VarInteger origin;
    origin.SetIntegerValue(5);
    EXPECT_EQ(a.AddArrayElement(origin.Duplicate()), 1);
    origin.SetIntegerValue(6);
    EXPECT_EQ(a.GetArrayElement(0)->GetIntegerValue(), 5);
    EXPECT_EQ(a.GetArrayElement(0)->Dereference(), nullptr);
}

TEST(VarArrayTest, RefusedElementsStayWithTheCaller) {
    VarIntegerArray a;
    VarIntegerArray nested;
    EXPECT_EQ(a.AddArrayElement(&nested), 0);  // an array is no integer
    EXPECT_EQ(a.AddArrayElement(nullptr), 0);
    EXPECT_EQ(a.AddArrayElement(&a), 0);
    EXPECT_EQ(a.GetElementCount(), 0u);
}

TEST(VarArrayTest, DeleteRemoveAndSwap) {
    VarIntegerArray a;
    a.SetArraySize(3);
    for (unsigned i = 0; i < 3; ++i) a.GetArrayElement(i)->SetIntegerValue(i * 10);
    a.SwapArrayElements(0, 2);
    EXPECT_EQ(a.GetText().ToStd(), "[20,10,0]");
    a.SwapArrayElements(0, 9);  // out of range: nothing
    Variable* removed = a.RemoveArrayElement(1);
    ASSERT_NE(removed, nullptr);
    EXPECT_EQ(removed->GetIntegerValue(), 10);
    Variable::Delete(removed);
    EXPECT_EQ(a.RemoveArrayElement(5), nullptr);
    a.DeleteArrayElement(0);
    a.DeleteArrayElement(7);
    EXPECT_EQ(a.GetText().ToStd(), "[0]");
}

TEST(VarArrayTest, TextAndDumpValueListTheItemsTexts) {
    VarStringArray a;
    a.SetArraySize(2);
    a.GetArrayElement(0)->SetStringValue(NyxString("a"));
    a.GetArrayElement(1)->SetStringValue(NyxString("b c"));
    NyxString out;
    a.DumpValue(out, "");
    EXPECT_EQ(out.ToStd(), "[a,b c]");
    VarDoubleArray empty;
    EXPECT_EQ(empty.GetText().ToStd(), "[]");
}

TEST(VarArrayTest, AssignCopiesAndConvertsElements) {
    VarStringArray source;
    source.SetArraySize(2);
    source.GetArrayElement(0)->SetStringValue(NyxString("7"));
    source.GetArrayElement(1)->SetStringValue(NyxString("2.9"));
    VarIntegerArray target;
    target.SetArraySize(5);
    EXPECT_EQ(target.Assign(&source), 1);
    ASSERT_EQ(target.GetElementCount(), 2u);
    EXPECT_EQ(target.GetArrayElement(0)->GetTypeId(), Variable::TypeInteger);
    EXPECT_EQ(target.GetText().ToStd(), "[7,2]");
    source.GetArrayElement(0)->SetStringValue(NyxString("8"));
    EXPECT_EQ(target.GetArrayElement(0)->GetIntegerValue(), 7);  // a copy
}

TEST(VarArrayTest, AssignThatCannotConvertChangesNothing) {
    VarArray source;
    source.AddArrayElement(new VarInteger);
    source.AddArrayElement(new VarIntegerArray);
    VarIntegerArray target;
    target.SetArraySize(1);
    target.GetArrayElement(0)->SetIntegerValue(4);
    EXPECT_EQ(target.Assign(&source), 0);
    EXPECT_EQ(target.GetText().ToStd(), "[4]");
    VarInteger scalar;
    EXPECT_EQ(target.Assign(&scalar), 0);
    EXPECT_EQ(target.Assign(&target), 1);
    EXPECT_EQ(target.GetText().ToStd(), "[4]");
}

TEST(VarArrayTest, AssignFromOwnElementIsSafe) {
    VarArray outer;
    auto* inner = new VarIntegerArray;
    inner->SetArraySize(2);
    outer.AddArrayElement(inner);
    EXPECT_EQ(outer.Assign(outer.GetArrayElement(0)), 1);
    EXPECT_EQ(outer.GetText().ToStd(), "[0,0]");
}

TEST(VarArrayTest, CloneIsDeep) {
    VarIntegerArray a("list");
    a.SetArraySize(2);
    a.GetArrayElement(0)->SetIntegerValue(1);
    Variable* copy = a.Clone();
    ASSERT_NE(copy, nullptr);
    a.GetArrayElement(0)->SetIntegerValue(9);
    EXPECT_EQ(copy->GetText().ToStd(), "[1,0]");
    NyxString type;
    copy->DumpType(type, "", 0);
    EXPECT_EQ(type.ToStd(), "integer[]");
    EXPECT_NE(copy->GetArrayElementType(), a.GetArrayElementType());
    Variable::Delete(copy);
}

TEST(VarArrayTest, SizeLimitAtAndPastTheBound) {
    VarIntegerArray full;
    full.SetArraySize(VarArray::kMaxArrayElements);
    EXPECT_EQ(full.GetElementCount(), VarArray::kMaxArrayElements);
    auto* extra = new VarInteger;
    EXPECT_EQ(full.AddArrayElement(extra), 0);
    delete extra;
    full.AdjustArraySize(1);
    EXPECT_EQ(full.GetElementCount(), VarArray::kMaxArrayElements);

    VarArray a;
    a.SetArraySize(VarArray::kMaxArrayElements + 1);
    EXPECT_EQ(a.GetElementCount(), 0u);
    a.AdjustArraySize(static_cast<int>(VarArray::kMaxArrayElements) + 1);
    EXPECT_EQ(a.GetElementCount(), 0u);
}

TEST(VarArrayTest, DeepNestingIsWrittenOnlyToTheTextDepth) {
    auto* root = new VarArray;
    Variable* level = root;
    for (unsigned i = 0; i < VarArray::kMaxTextDepth + 5; ++i) {
        auto* next = new VarArray;
        level->AddArrayElement(next);
        level = next;
    }
    const std::string text = root->GetText().ToStd();
    EXPECT_NE(text.find("[...]"), std::string::npos);
    EXPECT_EQ(text.compare(0, 3, "[[["), 0);
    Variable::Delete(root);
}

TEST(VarArrayTest, CompatibilityFollowsTheElementTypes) {
    VarIntegerArray ints;
    VarStringArray strings;
    VarArray mixed;
    VarInteger scalar;
    EXPECT_EQ(ints.IsCompatible(&strings), 1);
    EXPECT_EQ(ints.IsCompatible(&mixed), 1);
    EXPECT_EQ(ints.IsCompatible(&scalar), 0);
}

}  // namespace

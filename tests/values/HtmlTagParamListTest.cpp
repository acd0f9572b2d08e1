// Tests of HtmlTagParamList (numbering, lookups, values) and GetTagParamValues.
#include "values/HtmlTagParamList.h"

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

#include "values/HtmlObject.h"
#include "values/HtmlTestSupport.h"

namespace {

HtmlTagParam* Param(const char* name, const char* value) { return new HtmlTagParam(NyxString(name), NyxString(value), 0); }

std::vector<std::string> Items(NodeList* list) {
    std::vector<std::string> items;
    for (unsigned i = 1; i <= list->GetCount(); ++i) items.emplace_back(static_cast<const char*>(list->GetEntry(i)));
    return items;
}

TEST(HtmlTagParamListTest, ParametersCountFromOne) {
    HtmlTagParamList list;
    EXPECT_EQ(list.AddEntry(Param("a", "1")), 1);
    EXPECT_EQ(list.AddEntry(Param("b", "2")), 2);
    EXPECT_EQ(list.GetCount(), 2u);
    EXPECT_EQ(list.GetEntry(0), nullptr);
    EXPECT_EQ(list.GetEntry(-1), nullptr);
    EXPECT_EQ(list.GetEntry(3), nullptr);
    EXPECT_EQ(list.GetEntry(1)->GetName().ToStd(), "a");
    EXPECT_EQ(list.GetEntry(2)->GetName().ToStd(), "b");
}

TEST(HtmlTagParamListTest, AddingNullAddsNothing) {
    HtmlTagParamList list;
    EXPECT_EQ(list.AddEntry(nullptr), 0);
    EXPECT_EQ(list.GetCount(), 0u);
}

TEST(HtmlTagParamListTest, FindEntryIgnoresCaseAndGivesZeroForAbsent) {
    HtmlTagParamList list;
    list.AddEntry(Param("Name", "x"));
    list.AddEntry(Param("SRC", "y"));
    list.AddEntry(Param("src", "z"));
    EXPECT_EQ(list.FindEntry(NyxString("name")), 1);
    EXPECT_EQ(list.FindEntry("src"), 2);  // the first of that name
    EXPECT_EQ(list.FindEntry("missing"), 0);
    EXPECT_EQ(list.FindEntry(NyxString("")), 0);
}

TEST(HtmlTagParamListTest, FindEntryExactComparesEveryLetter) {
    HtmlTagParamList list;
    list.AddEntry(Param("VARS", "x"));
    list.AddEntry(Param("vars", "y"));
    EXPECT_EQ(list.FindEntryExact(NyxString("vars")), 2);
    EXPECT_EQ(list.FindEntryExact("VARS"), 1);
    EXPECT_EQ(list.FindEntryExact("Vars"), 0);
}

TEST(HtmlTagParamListTest, DeleteEntryMovesTheRestUp) {
    HtmlTagParamList list;
    list.AddEntry(Param("a", "1"));
    list.AddEntry(Param("b", "2"));
    list.AddEntry(Param("c", "3"));
    list.DeleteEntry(2);
    ASSERT_EQ(list.GetCount(), 2u);
    EXPECT_EQ(list.GetEntry(2)->GetName().ToStd(), "c");
    list.DeleteEntry(0);  // out of range: nothing
    list.DeleteEntry(5);
    EXPECT_EQ(list.GetCount(), 2u);
    while (list.GetCount() > 0) list.DeleteEntry(1);
    EXPECT_EQ(list.FindEntry("a"), 0);
}

TEST(HtmlTagParamListTest, GetStrValueCopiesOrGivesEmpty) {
    HtmlTagParamList list;
    list.AddEntry(Param("File", "inc.html"));
    NyxString value = list.GetStrValue("file");
    EXPECT_EQ(value.ToStd(), "inc.html");
    value = "other";
    EXPECT_EQ(list.GetStrValue("FILE").ToStd(), "inc.html");
    EXPECT_TRUE(list.GetStrValue("absent").IsEmpty());
}

TEST(HtmlTagParamListTest, GetIntValueReadsTheLeadingNumberLikeStrtolBaseZero) {
    HtmlTagParamList list;
    const std::vector<std::pair<const char*, long>> cases = {
        {"1", 1}, {"42", 42}, {"-3", -3}, {"0x1f", 31}, {"010", 8}, {" 7abc", 7}, {"abc", 0}, {"", 0}, {"+5", 5}};
    for (std::size_t i = 0; i < cases.size(); ++i) list.AddEntry(Param(("p" + std::to_string(i)).c_str(), cases[i].first));
    for (std::size_t i = 0; i < cases.size(); ++i) {
        EXPECT_EQ(list.GetIntValue(NyxString(("P" + std::to_string(i)).c_str())), cases[i].second) << cases[i].first;
    }
    EXPECT_EQ(list.GetIntValue("parseoutput"), 0);
}

TEST(HtmlTagParamListTest, CopyIsDeep) {
    HtmlTagParamList source;
    source.AddEntry(Param("a", "1"));
    HtmlTagParamList copy(source);
    copy.GetEntry(1)->GetValue() = "2";
    copy.DeleteEntry(1);
    EXPECT_EQ(source.GetCount(), 1u);
    EXPECT_EQ(source.GetStrValue("a").ToStd(), "1");
    HtmlTagParamList assigned;
    assigned.AddEntry(Param("old", "x"));
    assigned = source;
    ASSERT_EQ(assigned.GetCount(), 1u);
    EXPECT_NE(assigned.GetEntry(1), source.GetEntry(1));
    EXPECT_EQ(assigned.GetStrValue("a").ToStd(), "1");
}

TEST(GetTagParamValuesTest, SplitsAtCommasSemicolonsAndBlanksInAnyMix) {
    auto list = html_test::Parse("<a vars=\"a, b c;d ;; ,e\tf\">");
    std::unique_ptr<NodeList> items(GetTagParamValues(list->GetEntry(0), "vars"));
    EXPECT_EQ(Items(items.get()), (std::vector<std::string>{"a", "b", "c", "d", "e", "f"}));
    EXPECT_EQ(items->GetEntry(0), nullptr);
    EXPECT_EQ(items->GetEntry(7), nullptr);
}

TEST(GetTagParamValuesTest, SingleItemAndEmptyValues) {
    auto list = html_test::Parse("<a vars=n><a vars=\" , ;\"><a vars>");
    std::unique_ptr<NodeList> one(GetTagParamValues(list->GetEntry(0), "vars"));
    EXPECT_EQ(Items(one.get()), std::vector<std::string>{"n"});
    std::unique_ptr<NodeList> separators(GetTagParamValues(list->GetEntry(1), "vars"));
    EXPECT_EQ(separators->GetCount(), 0u);
    std::unique_ptr<NodeList> bare(GetTagParamValues(list->GetEntry(2), "vars"));
    EXPECT_EQ(bare->GetCount(), 0u);
}

TEST(GetTagParamValuesTest, AbsentParameterOrObjectGivesAnEmptyList) {
    auto list = html_test::Parse("<a href=x>");
    std::unique_ptr<NodeList> absent(GetTagParamValues(list->GetEntry(0), "vars"));
    ASSERT_NE(absent, nullptr);
    EXPECT_EQ(absent->GetCount(), 0u);
    std::unique_ptr<NodeList> none(GetTagParamValues(nullptr, "vars"));
    ASSERT_NE(none, nullptr);
    EXPECT_EQ(none->GetCount(), 0u);
}

TEST(GetTagParamValuesTest, ExactNamePrevailsOverOtherCase) {
    auto list = html_test::Parse("<a VARS=\"x\" vars=\"y z\"><a Vars=\"w\">");
    std::unique_ptr<NodeList> exact(GetTagParamValues(list->GetEntry(0), "vars"));
    EXPECT_EQ(Items(exact.get()), (std::vector<std::string>{"y", "z"}));
    std::unique_ptr<NodeList> other(GetTagParamValues(list->GetEntry(1), "vars"));
    EXPECT_EQ(Items(other.get()), std::vector<std::string>{"w"});
}

}  // namespace

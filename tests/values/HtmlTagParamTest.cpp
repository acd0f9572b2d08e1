// Tests of HtmlTagParam: fields, copies and the rendering inside a tag.
#include "values/HtmlTagParam.h"

#include <gtest/gtest.h>

#include <string>

namespace {

TEST(HtmlTagParamTest, HoldsNameValueAndQuote) {
    HtmlTagParam param(NyxString("href"), NyxString("a.html"), L'\'');
    EXPECT_EQ(param.GetName().ToStd(), "href");
    EXPECT_EQ(param.GetValue().ToStd(), "a.html");
    EXPECT_EQ(param.GetQuote(), L'\'');
    param.GetValue() = "b.html";
    EXPECT_EQ(param.GetValue().ToStd(), "b.html");
}

TEST(HtmlTagParamTest, SystemMadeParameterRendersInDoubleQuotes) {
    HtmlTagParam param(NyxString("cachedproc"), NyxString("page_12"), 0);
    EXPECT_EQ(param.Output().ToStd(), " cachedproc=\"page_12\"");
}

TEST(HtmlTagParamTest, SingleQuotesAreKeptAndDoubleQuotesUsedOtherwise) {
    EXPECT_EQ(HtmlTagParam(NyxString("a"), NyxString("x"), L'\'').Output().ToStd(), " a='x'");
    EXPECT_EQ(HtmlTagParam(NyxString("a"), NyxString("x"), L'"').Output().ToStd(), " a=\"x\"");
    EXPECT_EQ(HtmlTagParam(NyxString("a"), NyxString(""), 0).Output().ToStd(), " a=\"\"");
}

TEST(HtmlTagParamTest, NothingIsEscaped) {
    HtmlTagParam param(NyxString("v"), NyxString("<\"&'>"), 0);
    EXPECT_EQ(param.Output().ToStd(), " v=\"<\"&'>\"");
}

TEST(HtmlTagParamTest, BareParameterRendersAsItsNameUntilItGetsAValue) {
    HtmlTagParam param(std::string_view("Disabled"), std::string_view(), 0, HtmlTagParam::ValueForm::Bare);
    EXPECT_EQ(param.Output().ToStd(), " Disabled");
    param.GetValue() = "yes";
    EXPECT_EQ(param.Output().ToStd(), " Disabled=\"yes\"");
}

TEST(HtmlTagParamTest, ValueWithNulBytesRendersWhole) {
    HtmlTagParam param(std::string_view("n"), std::string_view("a\0b", 3), '"', HtmlTagParam::ValueForm::Quoted);
    EXPECT_EQ(param.Output().ToStd(), std::string(" n=\"a\0b\"", 8));
}

TEST(HtmlTagParamTest, AppendOutputToAppendsTheSameText) {
    HtmlTagParam param(NyxString("x"), NyxString("1"), L'\'');
    NyxString out("<t");
    param.AppendOutputTo(out);
    EXPECT_EQ(out.ToStd(), "<t x='1'");
}

TEST(HtmlTagParamTest, CopiesAreIndependent) {
    HtmlTagParam source(NyxString("n"), NyxString("v"), L'\'');
    HtmlTagParam copy(source);  // the non-constant form
    const HtmlTagParam& constant = source;
    HtmlTagParam second(constant);
    copy.GetValue() = "changed";
    EXPECT_EQ(source.GetValue().ToStd(), "v");
    EXPECT_EQ(second.Output().ToStd(), " n='v'");
    EXPECT_EQ(copy.Output().ToStd(), " n='changed'");
}

TEST(HtmlTagParamTest, DeleteThroughPointerWorks) {
    auto* param = new HtmlTagParam(NyxString("a-long-parameter-name"), NyxString("a value longer than fifteen"), 0);
    delete param;  // the class's own delete: a heap parameter is freed (sanitizer builds check it)
    SUCCEED();
}

}  // namespace

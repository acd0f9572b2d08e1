// Tests of HtmlObject: flags, the rendering rules of Output(), deep copies.
#include "values/HtmlObject.h"

#include <gtest/gtest.h>

#include <memory>
#include <string>

#include "values/HtmlTagIds.h"
#include "values/HtmlTestSupport.h"

using html_test::Parse;

namespace {

TEST(HtmlObjectTest, NewObjectIsEmptyText) {
    HtmlObject object(0);
    EXPECT_EQ(object.GetTagId(), TagId::Text);
    EXPECT_EQ(object.GetCount(), 0u);
    EXPECT_EQ(object.IsEndTag(), 0);
    EXPECT_EQ(object.IsStartTag(), 0);
    EXPECT_TRUE(object.GetTagLabel().IsEmpty());
    EXPECT_TRUE(object.GetText().IsEmpty());
    EXPECT_TRUE(object.Output().IsEmpty());
    EXPECT_EQ(HtmlObject(7).GetLineNum(), 7u);
}

TEST(HtmlObjectTest, SetTagIdStoresIdAndAnEndFlagOfExactlyZeroOrOne) {
    HtmlObject stop(0);
    stop.SetTagId(TagId::Loop, 1);
    EXPECT_EQ(stop.GetTagId(), TagId::Loop);
    EXPECT_EQ(stop.IsEndTag(), 1);
    EXPECT_EQ(stop.IsStartTag(), 0);
    stop.SetTagId(TagId::EndIf, 0);
    EXPECT_EQ(stop.IsEndTag(), 0);
    EXPECT_EQ(stop.IsStartTag(), 1);
    stop.SetTagId(TagId::If, 5);
    EXPECT_EQ(stop.IsEndTag(), 1);
}

TEST(HtmlObjectTest, LineNumberCanBeSet) {
    HtmlObject object(0);
    object.SetLineNum(42);
    EXPECT_EQ(object.GetLineNum(), 42u);
}

TEST(HtmlObjectTest, TextOutputIsTheTextUnchanged) {
    auto list = Parse("  <p>\tline\r\n&amp; \"q\" </p>");
    EXPECT_EQ(list->GetEntry(0)->Output().ToStd(), "  ");
    EXPECT_EQ(list->GetEntry(2)->Output().ToStd(), "\tline\r\n&amp; \"q\" ");
}

TEST(HtmlObjectTest, TagOutputFollowsTheRenderingRules) {
    auto list = Parse("<Img SRC=\"a.png\" alt='it is' width=10 ismap data-e=>");
    EXPECT_EQ(list->GetEntry(0)->Output().ToStd(), "<Img SRC=\"a.png\" alt='it is' width=\"10\" ismap data-e=\"\">");
}

TEST(HtmlObjectTest, EndTagOutputIsSlashAndLabelOnly) {
    auto list = Parse("</Td  junk=\"x\" >");
    ASSERT_EQ(list->GetCount(), 1u);
    EXPECT_EQ(list->GetEntry(0)->Output().ToStd(), "</Td>");
}

TEST(HtmlObjectTest, OutputShowsParametersAsTheyAreNow) {
    auto list = Parse("<FRAME src=\"(page)\" name=main>");
    HtmlObject copy(*list->GetEntry(0));
    copy.GetEntry(1)->GetValue() = "next.html";
    copy.AddEntry(new HtmlTagParam(NyxString("_htmlfile"), NyxString("a b"), 0));
    copy.DeleteEntry(2);
    EXPECT_EQ(copy.Output().ToStd(), "<FRAME src=\"next.html\" _htmlfile=\"a b\">");
}

TEST(HtmlObjectTest, NothingIsEscapedInOutput) {
    HtmlObject tag(0);
    tag.SetTagLabel("x");
    tag.SetTagId(TagId::Unknown, 0);
    tag.AddEntry(new HtmlTagParam(NyxString("v"), NyxString("a\"<b>&"), 0));
    EXPECT_EQ(tag.Output().ToStd(), "<x v=\"a\"<b>&\">");
}

TEST(HtmlObjectTest, AppendOutputToAppendsWhatOutputGives) {
    auto list = Parse("t<a href='x' b>u</a><br />");
    NyxString all("[");
    for (unsigned i = 0; i < list->GetCount(); ++i) {
        NyxString one("=");
        list->GetEntry(static_cast<int>(i))->AppendOutputTo(one);
        EXPECT_EQ(one.ToStd(), "=" + list->GetEntry(static_cast<int>(i))->Output().ToStd());
        list->GetEntry(static_cast<int>(i))->AppendOutputTo(all);
    }
    EXPECT_EQ(all.ToStd(), "[t<a href='x' b>u</a><br />");
}

TEST(HtmlObjectTest, CopyIsDeepAndIndependent) {
    auto list = Parse("<A href=\"a.html\" vars=\"x,y\" class=c>");
    HtmlObject* source = list->GetEntry(0);
    const std::string before = source->Output().ToStd();
    auto copy = std::make_unique<HtmlObject>(*source);
    EXPECT_EQ(copy->Output().ToStd(), before);
    EXPECT_EQ(copy->GetTagId(), TagId::A);
    EXPECT_EQ(copy->GetTagLabel().ToStd(), "A");
    EXPECT_EQ(copy->GetLineNum(), source->GetLineNum());
    EXPECT_NE(copy->GetEntry(1), source->GetEntry(1));
    copy->GetEntry(1)->GetValue() = "changed";
    while (copy->GetCount() > 0) copy->DeleteEntry(1);
    EXPECT_EQ(source->GetCount(), 3u);
    EXPECT_EQ(source->Output().ToStd(), before);
    copy.reset();
    EXPECT_EQ(source->Output().ToStd(), before);
}

TEST(HtmlObjectTest, CopyOfACopyAndAssignmentAreDeep) {
    auto list = Parse("<p a=1>");
    HtmlObject first(*list->GetEntry(0));
    HtmlObject second(first);
    HtmlObject assigned(0);
    assigned = second;
    second.GetEntry(1)->GetValue() = "2";
    first.DeleteEntry(1);
    EXPECT_EQ(assigned.Output().ToStd(), "<p a=\"1\">");
    EXPECT_EQ(second.Output().ToStd(), "<p a=\"2\">");
    EXPECT_EQ(first.Output().ToStd(), "<p>");
}

TEST(HtmlObjectTest, ParametersOfAParsedObjectCanBeDeletedAndAdded) {
    auto list = Parse("<LOOP condition=\"(i < 3)\" iterator=\"(i = i + 1)\">");
    HtmlObject* tag = list->GetEntry(0);
    tag->DeleteEntry(1);
    tag->AddEntry(new HtmlTagParam(NyxString("cachediter"), NyxString("proc_1"), 0));
    EXPECT_EQ(tag->Output().ToStd(), "<LOOP iterator=\"(i = i + 1)\" cachediter=\"proc_1\">");
}

TEST(HtmlObjectTest, LabelAndTextAreExclusive) {
    HtmlObject object(0);
    object.SetText("hello");
    object.SetTagLabel("b");
    EXPECT_TRUE(object.GetText().IsEmpty());
    EXPECT_EQ(object.GetTagLabel().ToStd(), "b");
}

}  // namespace

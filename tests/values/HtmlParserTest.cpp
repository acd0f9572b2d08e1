// Tests of the page tokenizer: objects, parameters, raw text, line numbers,
// and markup that is not a tag.
#include "values/HtmlParser.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "values/HtmlTestSupport.h"

using html_test::CheckReformsSource;
using html_test::Describe;
using html_test::Parse;

namespace {

// Parses, checks the source invariant, and describes.
std::string Tokens(std::string_view text) {
    auto list = Parse(text);
    const std::string fault = CheckReformsSource(*list, text);
    if (!fault.empty()) return "FAULT: " + fault;
    return Describe(*list);
}

TEST(HtmlParserTest, EmptyInputGivesNoObjects) {
    auto list = Parse("");
    EXPECT_EQ(list->GetCount(), 0u);
    EXPECT_EQ(list->GetEntry(0), nullptr);
}

TEST(HtmlParserTest, PlainTextIsOneObject) {
    auto list = Parse("just text\nover two lines");
    ASSERT_EQ(list->GetCount(), 1u);
    const HtmlObject* text = list->GetEntry(0);
    EXPECT_EQ(text->GetTagId(), TagId::Text);
    EXPECT_EQ(text->GetText().ToStd(), "just text\nover two lines");
    EXPECT_EQ(text->GetLineNum(), 1u);
    EXPECT_EQ(text->IsEndTag(), 0);
    EXPECT_EQ(text->IsStartTag(), 0);
    EXPECT_TRUE(text->GetTagLabel().IsEmpty());
    EXPECT_EQ(text->GetCount(), 0u);
}

TEST(HtmlParserTest, ObjectsStandInDocumentOrder) {
    EXPECT_EQ(Tokens("a<b>bold</b> c<br>"), "T(a)|+<b>|T(bold)|-</b>|T( c)|+<br>");
    EXPECT_EQ(Tokens("<p><i></i></p>"), "+<p>|+<i>|-</i>|-</p>");
}

TEST(HtmlParserTest, StartAndEndTagShareTheIdAndDifferInTheEndFlag) {
    auto list = Parse("<LOOP><loop></Loop><table></TABLE>");
    ASSERT_EQ(list->GetCount(), 5u);
    for (int i = 0; i < 3; ++i) EXPECT_EQ(list->GetEntry(i)->GetTagId(), TagId::Loop) << i;
    EXPECT_EQ(list->GetEntry(0)->IsEndTag(), 0);
    EXPECT_EQ(list->GetEntry(0)->IsStartTag(), 1);
    EXPECT_EQ(list->GetEntry(2)->IsEndTag(), 1);
    EXPECT_EQ(list->GetEntry(2)->IsStartTag(), 0);
    EXPECT_EQ(list->GetEntry(3)->GetTagId(), list->GetEntry(4)->GetTagId());
    EXPECT_NE(list->GetEntry(3)->GetTagId(), TagId::Unknown);
}

TEST(HtmlParserTest, EndTagLabelHasNoSlashAndKeepsItsLetters) {
    auto list = Parse("</DiV>");
    ASSERT_EQ(list->GetCount(), 1u);
    EXPECT_EQ(list->GetEntry(0)->GetTagLabel().ToStd(), "DiV");
    EXPECT_EQ(list->GetEntry(0)->IsEndTag(), 1);
    EXPECT_EQ(list->GetEntry(0)->Output().ToStd(), "</DiV>");
}

TEST(HtmlParserTest, PageLanguageTagsHaveTheirIdsInAnyCase) {
    const std::vector<std::pair<std::string, int>> cases = {
        {"a", TagId::A},           {"TEXTAREA", TagId::Textarea}, {"Form", TagId::Form},
        {"frame", TagId::Frame},   {"script", TagId::Script},     {"include", TagId::Include},
        {"SetVar", TagId::SetVar}, {"LOOP", TagId::Loop},         {"deftag", TagId::DefTag},
        {"If", TagId::If},         {"ELSE", TagId::Else},         {"elseif", TagId::ElseIf},
        {"EndIf", TagId::EndIf},   {"SETHEADER", TagId::SetHeader}, {"Translation", TagId::Translation},
    };
    for (const auto& [label, id] : cases) {
        auto list = Parse("<" + label + " x=1>");
        ASSERT_GE(list->GetCount(), 1u) << label;
        EXPECT_EQ(list->GetEntry(0)->GetTagId(), id) << label;
        EXPECT_EQ(list->GetEntry(0)->IsEndTag(), 0) << label;
    }
}

TEST(HtmlParserTest, UnknownLabelGetsTheUnknownId) {
    auto list = Parse("<mytag a=1></mytag>");
    ASSERT_EQ(list->GetCount(), 2u);
    EXPECT_EQ(list->GetEntry(0)->GetTagId(), TagId::Unknown);
    EXPECT_EQ(list->GetEntry(1)->GetTagId(), TagId::Unknown);
    EXPECT_EQ(list->GetEntry(0)->GetTagLabel().ToStd(), "mytag");
}

TEST(HtmlParserTest, ParametersKeepSourceOrderNamesAndValues) {
    auto list = Parse("<input Type=\"text\" name='n' value=v1 disabled data-x = \"a b\" empty=>");
    ASSERT_EQ(list->GetCount(), 1u);
    const HtmlObject* tag = list->GetEntry(0);
    ASSERT_EQ(tag->GetCount(), 6u);
    const std::vector<std::pair<std::string, std::string>> expected = {
        {"Type", "text"}, {"name", "n"}, {"value", "v1"}, {"disabled", ""}, {"data-x", "a b"}, {"empty", ""}};
    for (unsigned i = 0; i < expected.size(); ++i) {
        HtmlTagParam* param = tag->GetEntry(static_cast<int>(i + 1));
        ASSERT_NE(param, nullptr);
        EXPECT_EQ(param->GetName().ToStd(), expected[i].first) << i;
        EXPECT_EQ(param->GetValue().ToStd(), expected[i].second) << i;
    }
    EXPECT_EQ(tag->GetEntry(1)->GetQuote(), L'"');
    EXPECT_EQ(tag->GetEntry(2)->GetQuote(), L'\'');
    EXPECT_EQ(tag->GetEntry(3)->GetQuote(), 0);
    EXPECT_EQ(tag->Output().ToStd(),
              "<input Type=\"text\" name='n' value=\"v1\" disabled data-x=\"a b\" empty=\"\">");
}

TEST(HtmlParserTest, QuotedValuesHoldAnyByteButTheirQuote) {
    auto list = Parse("<IF cond=\"(a > b && c < 'd')\" note='say \"hi\"\nthere'>");
    ASSERT_EQ(list->GetCount(), 1u);
    EXPECT_EQ(list->GetEntry(0)->GetStrValue("cond").ToStd(), "(a > b && c < 'd')");
    EXPECT_EQ(list->GetEntry(0)->GetStrValue("note").ToStd(), "say \"hi\"\nthere");
}

TEST(HtmlParserTest, UnquotedValueEndsAtBlankOrGreater) {
    auto list = Parse("<a href=/x/y/>t</a><b c=(1+2)>");
    EXPECT_EQ(list->GetEntry(0)->GetStrValue("href").ToStd(), "/x/y/");
    EXPECT_EQ(list->GetEntry(3)->GetStrValue("c").ToStd(), "(1+2)");
}

TEST(HtmlParserTest, DuplicateParametersAreAllKept) {
    auto list = Parse("<a x=1 X=2 x=3>");
    ASSERT_EQ(list->GetEntry(0)->GetCount(), 3u);
    EXPECT_EQ(list->GetEntry(0)->GetStrValue("x").ToStd(), "1");
    EXPECT_EQ(list->GetEntry(0)->Output().ToStd(), "<a x=\"1\" X=\"2\" x=\"3\">");
}

TEST(HtmlParserTest, SelfClosingSlashIsKeptAsWritten) {
    EXPECT_EQ(Tokens("<br/><br /><img src=\"a.png\" /><hr/ >"), "+<br/>|+<br />|+<img src=\"a.png\" />|+<hr>");
}

TEST(HtmlParserTest, LessThanThatOpensNoTagStaysText) {
    EXPECT_EQ(Tokens("a < b"), "T(a < b)");
    EXPECT_EQ(Tokens("I <3 you"), "T(I <3 you)");
    EXPECT_EQ(Tokens("x <= y <- z <"), "T(x <= y <- z <)");
    EXPECT_EQ(Tokens("1<2 and <b>x</b>"), "T(1<2 and )|+<b>|T(x)|-</b>");
    EXPECT_EQ(Tokens("</> </ p> <//>"), "T(</> </ p> <//>)");
}

TEST(HtmlParserTest, StrayGreaterIsText) {
    EXPECT_EQ(Tokens("a > b <i>>></i>"), "T(a > b )|+<i>|T(>>)|-</i>");
}

TEST(HtmlParserTest, CommentsAreTextAndHideTags) {
    EXPECT_EQ(Tokens("a<!-- <b>x</b> -->c<i>"), "T(a<!-- <b>x</b> -->c)|+<i>");
    EXPECT_EQ(Tokens("<!---->x"), "T(<!---->x)");
    EXPECT_EQ(Tokens("<!-->x<b>"), "T(<!-->x)|+<b>");
    EXPECT_EQ(Tokens("<!--->x<b>"), "T(<!--->x)|+<b>");
    EXPECT_EQ(Tokens("<!-- a -- > b --><b>"), "T(<!-- a -- > b -->)|+<b>");
    EXPECT_EQ(Tokens("<!-- a -> <b> --><i>"), "T(<!-- a -> <b> -->)|+<i>");  // one dash ends nothing
}

TEST(HtmlParserTest, UnterminatedCommentRunsToTheEnd) {
    EXPECT_EQ(Tokens("x<!-- <b>never closed"), "T(x<!-- <b>never closed)");
}

TEST(HtmlParserTest, DeclarationsAndProcessingInstructionsAreText) {
    EXPECT_EQ(Tokens("<!DOCTYPE html>\n<html>"), "T(<!DOCTYPE html>\n)|+<html>");
    EXPECT_EQ(Tokens("<?xml version=\"1.0\"?><p>"), "T(<?xml version=\"1.0\"?>)|+<p>");
    EXPECT_EQ(Tokens("<![CDATA[x]]><p>"), "T(<![CDATA[x]]>)|+<p>");
    EXPECT_EQ(Tokens("<!DOCTYPE"), "T(<!DOCTYPE)");
}

TEST(HtmlParserTest, UnterminatedTagAtTheEndStaysText) {
    EXPECT_EQ(Tokens("text <a href='x"), "T(text <a href='x)");
    EXPECT_EQ(Tokens("<p>text <b"), "+<p>|T(text <b)");
    EXPECT_EQ(Tokens("<p x=\"never > closed"), "T(<p x=\"never > closed)");
    EXPECT_EQ(Tokens("<p x="), "T(<p x=)");
    EXPECT_EQ(Tokens("</p"), "T(</p)");
}

TEST(HtmlParserTest, LessThanInsideATagIsPartOfIt) {
    // As in browsers: the tag runs to the first '>' outside quotes.
    auto list = Parse("<p class=a <b>x");
    ASSERT_EQ(list->GetCount(), 2u);
    EXPECT_EQ(list->GetEntry(0)->GetTagLabel().ToStd(), "p");
    EXPECT_EQ(list->GetEntry(0)->GetCount(), 2u);
    EXPECT_EQ(list->GetEntry(0)->GetEntry(2)->GetName().ToStd(), "<b");
}

TEST(HtmlParserTest, NulBytesSurvive) {
    const std::string source("a\0b<p x=\"1\0\">c\0", 15);
    auto list = Parse(source);
    EXPECT_EQ(CheckReformsSource(*list, source), "");
    ASSERT_EQ(list->GetCount(), 3u);
    EXPECT_EQ(list->GetEntry(0)->GetText().ToStd(), std::string("a\0b", 3));
    EXPECT_EQ(list->GetEntry(1)->GetEntry(1)->GetValue().ToStd(), std::string("1\0", 2));
    EXPECT_EQ(list->GetEntry(2)->GetText().ToStd(), std::string("c\0", 2));
}

TEST(HtmlParserTest, LineNumbersCountFromOneAtTheObjectsFirstByte) {
    auto list = Parse("one\n<p\nclass=x>\n\n<b>two\nthree</b>");
    ASSERT_EQ(list->GetCount(), 6u);
    EXPECT_EQ(list->GetEntry(0)->GetLineNum(), 1u);  // "one\n"
    EXPECT_EQ(list->GetEntry(1)->GetLineNum(), 2u);  // <p ...> spans lines 2 and 3
    EXPECT_EQ(list->GetEntry(2)->GetLineNum(), 3u);  // "\n\n" right behind it
    EXPECT_EQ(list->GetEntry(3)->GetLineNum(), 5u);  // <b>
    EXPECT_EQ(list->GetEntry(4)->GetLineNum(), 5u);  // "two\nthree"
    EXPECT_EQ(list->GetEntry(5)->GetLineNum(), 6u);  // </b>
    auto tail = Parse("x\n\n\n</b>");
    EXPECT_EQ(tail->GetEntry(1)->GetLineNum(), 4u);
}

TEST(HtmlParserTest, CarriageReturnLineFeedIsOneLineEnd) {
    auto list = Parse("a\r\nb\r\n<p>\r\n<i>");
    ASSERT_EQ(list->GetCount(), 4u);
    EXPECT_EQ(list->GetEntry(1)->GetLineNum(), 3u);
    EXPECT_EQ(list->GetEntry(3)->GetLineNum(), 4u);
    EXPECT_EQ(list->GetEntry(0)->GetText().ToStd(), "a\r\nb\r\n");
}

TEST(HtmlParserTest, LineNumbersStayRightOverLongTexts) {
    std::string source;
    for (int i = 0; i < 1000; ++i) source += std::string(static_cast<std::size_t>(i % 37), 'x') + "\n";
    source += "<p>";
    auto list = Parse(source);
    ASSERT_EQ(list->GetCount(), 2u);
    EXPECT_EQ(list->GetEntry(1)->GetLineNum(), 1001u);
}

TEST(HtmlParserTest, ScriptIsThreeObjectsWithItsContentUntouched) {
    const std::string body = "if (a<b && c>d) { x = \"<p>\" + '</div>'; }<!-- -->";
    auto list = Parse("<SCRIPT language=\"quince\">" + body + "</SCRIPT>after");
    ASSERT_EQ(list->GetCount(), 4u);
    EXPECT_EQ(list->GetEntry(0)->GetTagId(), TagId::Script);
    EXPECT_EQ(list->GetEntry(0)->IsEndTag(), 0);
    EXPECT_EQ(list->GetEntry(1)->GetTagId(), TagId::Text);
    EXPECT_EQ(list->GetEntry(1)->GetText().ToStd(), body);
    EXPECT_EQ(list->GetEntry(1)->Output().ToStd(), body);
    EXPECT_EQ(list->GetEntry(2)->GetTagId(), TagId::Script);
    EXPECT_EQ(list->GetEntry(2)->IsEndTag(), 1);
    EXPECT_EQ(list->GetEntry(3)->GetText().ToStd(), "after");
}

TEST(HtmlParserTest, ScriptWithSourceAndNoBodyIsStillThreeObjects) {
    auto list = Parse("<SCRIPT src=\"x\"></SCRIPT>");
    ASSERT_EQ(list->GetCount(), 3u);
    EXPECT_EQ(list->GetEntry(0)->GetStrValue("src").ToStd(), "x");
    EXPECT_EQ(list->GetEntry(1)->GetTagId(), TagId::Text);
    EXPECT_TRUE(list->GetEntry(1)->GetText().IsEmpty());
    EXPECT_EQ(list->GetEntry(2)->IsEndTag(), 1);
    EXPECT_EQ(list->GetEntry(2)->GetTagId(), TagId::Script);
}

TEST(HtmlParserTest, ScriptEndTagIsFoundInAnyCaseAndOnlyAsAWholeLabel) {
    EXPECT_EQ(Tokens("<script>a</scripts>b</ScRiPt >c"), "+<script>|T(a</scripts>b)|-</ScRiPt>|T(c)");
    EXPECT_EQ(Tokens("<script>a</script/>"), "+<script>|T(a)|-</script>");
    EXPECT_EQ(Tokens("<Script>\n</SCRIPT\n>"), "+<Script>|T(\n)|-</SCRIPT>");
}

TEST(HtmlParserTest, ScriptBodyLineIsWhereTheContentBegins) {
    auto list = Parse("<p>\n<SCRIPT>\nx = 1\n</SCRIPT>");
    ASSERT_EQ(list->GetCount(), 5u);
    EXPECT_EQ(list->GetEntry(2)->GetLineNum(), 2u);
    EXPECT_EQ(list->GetEntry(3)->GetLineNum(), 2u);
    EXPECT_EQ(list->GetEntry(4)->GetLineNum(), 4u);
}

TEST(HtmlParserTest, UnterminatedScriptKeepsTheRestAsItsTextWithoutEndTag) {
    EXPECT_EQ(Tokens("<script>x <b> y"), "+<script>|T(x <b> y)");
    EXPECT_EQ(Tokens("<script>"), "+<script>|T()");
    EXPECT_EQ(Tokens("<script>x</script"), "+<script>|T(x</script)");
}

TEST(HtmlParserTest, StyleContentIsRawTextToo) {
    EXPECT_EQ(Tokens("<style>p > a { }</b></STYLE><b>"), "+<style>|T(p > a { }</b>)|-</STYLE>|+<b>");
}

TEST(HtmlParserTest, EndTagOfScriptAloneIsAnOrdinaryEndTag) {
    EXPECT_EQ(Tokens("x</script>y"), "T(x)|-</script>|T(y)");
}

TEST(HtmlParserTest, TextareaContentIsParsed) {
    // Only SCRIPT and STYLE hold raw text: page tags work inside a TEXTAREA.
    EXPECT_EQ(Tokens("<textarea><IF c=1>x</textarea>"), "+<textarea>|+<IF c=\"1\">|T(x)|-</textarea>");
}

TEST(HtmlParserTest, SourceSpansCoverTheInputInOrder) {
    const std::string source = "<a href='x'>t</a>\n<!-- c --><SCRIPT>s</SCRIPT><br/>";
    auto list = Parse(source);
    EXPECT_EQ(CheckReformsSource(*list, source), "");
    EXPECT_EQ(list->GetEntry(0)->GetSourceOffset(), 0u);
    EXPECT_EQ(list->GetEntry(0)->GetSourceSize(), 12u);
}

TEST(HtmlParserTest, ParsesALargePageInFull) {
    std::string source;
    for (int i = 0; i < 20000; ++i) source += "<tr><td class=\"c\">cell " + std::to_string(i) + "</td></tr>\n";
    auto list = Parse(source);
    EXPECT_EQ(list->GetCount(), 20000u * 6);
    EXPECT_EQ(CheckReformsSource(*list, source), "");
    EXPECT_EQ(list->GetEntry(6 * 19999 + 2)->GetText().ToStd(), "cell 19999");
    EXPECT_EQ(list->GetEntry(6 * 19999)->GetLineNum(), 20000u);
}

}  // namespace

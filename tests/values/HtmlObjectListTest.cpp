// Tests of HtmlObjectList: reading files, numbering, ReplaceEntry, and the
// records that answer for objects not made yet.
#include "values/HtmlObjectList.h"

#include <gtest/gtest.h>

#include "TemporaryFolder.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <memory>
#include <string>

#include "values/HtmlTestSupport.h"

using html_test::Parse;

namespace {


TEST(HtmlObjectListTest, ReadsAndParsesAFile) {
    TemporaryFolder folder;
    const char text[] = "<html>\r\n<body>Hello\0world</body>\n";
    const std::string source(text, sizeof text - 1);
    const std::string path = folder.Write("page.html", source);
    HtmlObjectList list{NyxString(path.c_str())};
    EXPECT_TRUE(list.WasRead());
    EXPECT_EQ(list.GetFilePath().ToStd(), path);
    EXPECT_EQ(html_test::CheckReformsSource(list, source), "");
    EXPECT_EQ(list.GetCount(), 6u);
}

TEST(HtmlObjectListTest, FileWithNulBytesIsReadWhole) {
    TemporaryFolder folder;
    const std::string source("a\0b<p>\0", 7);
    const std::string path = folder.Write("nul.html", source);
    HtmlObjectList list{NyxString(path.c_str())};
    EXPECT_EQ(html_test::CheckReformsSource(list, source), "");
}

TEST(HtmlObjectListTest, UnreadablePathGivesAnEmptyList) {
    TemporaryFolder folder;
    HtmlObjectList missing{NyxString((folder / "absent.html").c_str())};
    EXPECT_EQ(missing.GetCount(), 0u);
    EXPECT_EQ(missing.GetEntry(0), nullptr);
    EXPECT_FALSE(missing.WasRead());
    EXPECT_FALSE(missing.WasOpened());
    HtmlObjectList directory{NyxString(folder.Get().c_str())};
    EXPECT_EQ(directory.GetCount(), 0u);
    EXPECT_TRUE(directory.WasOpened());
    EXPECT_FALSE(directory.WasRead());
    HtmlObjectList empty{NyxString("")};
    EXPECT_EQ(empty.GetCount(), 0u);
}

TEST(HtmlObjectListTest, EmptyFileGivesNoObjects) {
    TemporaryFolder folder;
    HtmlObjectList list{NyxString(folder.Write("empty.html", "").c_str())};
    EXPECT_TRUE(list.WasRead());
    EXPECT_EQ(list.GetCount(), 0u);
    EXPECT_EQ(list.GetEntry(0), nullptr);
}

TEST(HtmlObjectListTest, GetEntryIsNullAtAndPastTheEndAndForNegativeIndices) {
    auto list = Parse("a<b>c");
    ASSERT_EQ(list->GetCount(), 3u);
    EXPECT_NE(list->GetEntry(2), nullptr);
    EXPECT_EQ(list->GetEntry(static_cast<int>(list->GetCount())), nullptr);
    EXPECT_EQ(list->GetEntry(static_cast<int>(list->GetCount()) + 1), nullptr);
    EXPECT_EQ(list->GetEntry(-1), nullptr);
    EXPECT_EQ(list->GetEntry(-2147483647 - 1), nullptr);
}

TEST(HtmlObjectListTest, PathIsRecordedForPagesInMemory) {
    HtmlObjectList list(NyxString("/site/pages/index.vxl"), "x");
    EXPECT_EQ(list.GetFilePath().ToStd(), "/site/pages/index.vxl");
    EXPECT_TRUE(list.WasRead());
}

TEST(HtmlObjectListTest, ReplaceEntryPutsTheCopyInPlaceAndMovesNothingElse) {
    auto list = Parse("<LOOP condition=\"(i < 3)\">body</LOOP>");
    HtmlObject* next = list->GetEntry(1);
    auto* copy = new HtmlObject(*list->GetEntry(0));
    copy->AddEntry(new HtmlTagParam(NyxString("cachedproc"), NyxString("index_0"), 0));
    list->ReplaceEntry(0, copy);
    EXPECT_EQ(list->GetEntry(0), copy);
    EXPECT_EQ(list->GetEntry(0)->GetStrValue("cachedproc").ToStd(), "index_0");
    EXPECT_EQ(list->GetEntry(1), next);
    EXPECT_EQ(list->GetCount(), 3u);

    // A replaced copy can itself be replaced.
    auto* second = new HtmlObject(*copy);
    second->AddEntry(new HtmlTagParam(NyxString("cachedinit"), NyxString("index_1"), 0));
    list->ReplaceEntry(0, second);
    EXPECT_EQ(list->GetEntry(0)->GetCount(), 3u);
    list->ReplaceEntry(0, second);  // the same object again: nothing happens
    EXPECT_EQ(list->GetEntry(0), second);
}

TEST(HtmlObjectListTest, ReplaceEntryOutOfRangeDisposesOfTheObject) {
    auto list = Parse("x");
    list->ReplaceEntry(5, new HtmlObject(0));
    list->ReplaceEntry(-1, new HtmlObject(0));
    list->ReplaceEntry(0, nullptr);
    EXPECT_EQ(list->GetCount(), 1u);
    EXPECT_EQ(list->GetEntry(0)->GetText().ToStd(), "x");
}

TEST(HtmlObjectListTest, PrintedTagsComeOutTheSameEveryTimeAndChangeWithTheirReplacement) {
    auto list = Parse("<td class='a' id=7>text<br/>");
    NyxString out;
    for (int round = 0; round < 3; ++round) {
        for (int i = 0; i < 3; ++i) list->AppendOutputOf(i, out);
    }
    EXPECT_EQ(out.ToStd(), "<td class='a' id=\"7\">text<br/><td class='a' id=\"7\">text<br/><td class='a' id=\"7\">text<br/>");

    // A kept text must not outlive its object.
    auto* copy = new HtmlObject(*list->GetEntry(0));
    copy->AddEntry(new HtmlTagParam(NyxString("cachedproc"), NyxString("page_0"), 0));
    list->ReplaceEntry(0, copy);
    out.Clear();
    list->AppendOutputOf(0, out);
    list->AppendOutputOf(0, out);
    list->AppendOutputOf(0, out);
    const std::string once = "<td class='a' id=\"7\" cachedproc=\"page_0\">";
    EXPECT_EQ(out.ToStd(), once + once + once);

    // Objects added later are printed too; an index out of range prints nothing.
    auto* added = new HtmlObject(1);
    added->SetText("!");
    list->AddEntry(added);
    out.Clear();
    list->AppendOutputOf(3, out);
    list->AppendOutputOf(3, out);
    list->AppendOutputOf(4, out);
    list->AppendOutputOf(-1, out);
    EXPECT_EQ(out.ToStd(), "!!");
}

TEST(HtmlObjectListTest, KeptStretchesComeOnTheThirdVisitAndGoWithAnyChange) {
    auto list = Parse("<td>a</td><br>");
    HtmlKeptRuns& runs = list->GetKeptRuns();
    std::string_view text;
    unsigned next = 0;
    EXPECT_EQ(runs.Look(1, list->GetCount(), text, next), HtmlKeptRuns::State::FirstVisit);
    EXPECT_EQ(runs.Look(1, list->GetCount(), text, next), HtmlKeptRuns::State::SecondVisit);
    runs.Keep(1, 3, "a</td>\n");
    ASSERT_EQ(runs.Look(1, list->GetCount(), text, next), HtmlKeptRuns::State::Kept);
    EXPECT_EQ(text, "a</td>\n");
    EXPECT_EQ(next, 3u);
    EXPECT_EQ(runs.Look(0, list->GetCount(), text, next), HtmlKeptRuns::State::FirstVisit);

    // The kept text may hold the replaced object's printing: it is forgotten.
    list->ReplaceEntry(2, new HtmlObject(*list->GetEntry(2)));
    EXPECT_EQ(runs.Look(1, list->GetCount(), text, next), HtmlKeptRuns::State::FirstVisit);
    runs.Keep(1, 2, "a");
    list->AddEntry(new HtmlObject(0));
    EXPECT_EQ(runs.Look(1, list->GetCount(), text, next), HtmlKeptRuns::State::FirstVisit);
}

TEST(HtmlObjectListTest, AddEntryAppends) {
    HtmlObjectList list(NyxString("mem"), "");
    auto* text = new HtmlObject(1);
    text->SetText("made");
    list.AddEntry(text);
    list.AddEntry(nullptr);
    ASSERT_EQ(list.GetCount(), 1u);
    EXPECT_EQ(list.GetEntry(0)->Output().ToStd(), "made");
}

TEST(HtmlObjectListTest, ManyObjectsStayInOrderAcrossSegments) {
    std::string source;
    for (int i = 0; i < 10000; ++i) source += "<i>" + std::to_string(i);
    auto list = Parse(source);
    ASSERT_EQ(list->GetCount(), 20000u);
    for (int i = 0; i < 10000; i += 997) EXPECT_EQ(list->GetEntry(2 * i + 1)->GetText().ToStd(), std::to_string(i));
    list->ReplaceEntry(12345, new HtmlObject(0));
    EXPECT_EQ(list->GetEntry(12345)->GetTagId(), TagId::Text);
    EXPECT_EQ(list->GetEntry(12346)->GetTagLabel().ToStd(), "i");
}

// What the records say without an object must be what the object says once
// made: for every object of a page with long labels, blank lines, parameters,
// expressions, raw text and end tags, on both sides of segment boundaries.
TEST(HtmlObjectListTest, RecordsAnswerAsTheObjectsMadeFromThem) {
    std::string source;
    for (int i = 0; i < 700; ++i) {
        source += "<p class=\"c\" title='t'>line\n" + std::to_string(i) + "</p>\n\n<br/><br />";
        if (i % 97 == 0) source += "<" + std::string(300, 'L') + " a=1>\n</" + std::string(256, 'Q') + ">";
        if (i % 50 == 0) source += "<img src=(n)><script>a<b\n</script>";
    }
    const auto fromRecords = Parse(source);
    const auto made = Parse(source);
    for (unsigned i = 0; i < made->GetCount(); ++i) made->GetEntry(static_cast<int>(i));  // every object made first
    ASSERT_EQ(fromRecords->GetCount(), made->GetCount());
    for (int i = 0; i < static_cast<int>(made->GetCount()); ++i) {
        const HtmlObject& object = *made->GetEntry(i);
        SCOPED_TRACE(i);
        EXPECT_EQ(fromRecords->GetTagIdOf(i), object.GetTagId());
        EXPECT_EQ(fromRecords->IsEndTagOf(i), object.IsEndTag());
        const auto before = source.begin() + static_cast<std::ptrdiff_t>(object.GetSourceOffset());
        EXPECT_EQ(fromRecords->GetLineNumOf(i), 1 + std::count(source.begin(), before, '\n'));
        EXPECT_EQ(object.GetLineNum(), fromRecords->GetLineNumOf(i));
        EXPECT_EQ(fromRecords->GetLabelOf(i), object.GetTagLabel().View());
        EXPECT_EQ(fromRecords->GetTextOf(i), object.GetText().View());
        NyxString fromRecord;
        fromRecords->AppendOutputOf(i, fromRecord);
        EXPECT_EQ(fromRecord.ToStd(), object.Output().ToStd());
        std::unique_ptr<HtmlObject> copy(fromRecords->CopyEntry(i));
        EXPECT_EQ(copy->Output().ToStd(), object.Output().ToStd());
        EXPECT_EQ(copy->GetSourceSize(), object.GetSourceSize());
        EXPECT_EQ(fromRecords->HasExpressionParam(i), object.GetTagLabel() == "img");
    }
}

// A page of small tags costs its records, not an object each: the walk of
// such a page must not make objects to print them.
TEST(HtmlObjectListTest, APageOfSmallTagsStaysAFewBytesPerByte) {
    std::string source;
    for (int i = 0; i < 300000; ++i) source += "<b>";
    const auto list = Parse(source);
    NyxString out;
    for (int i = 0; i < static_cast<int>(list->GetCount()); ++i) list->AppendOutputOf(i, out);
    EXPECT_EQ(out.GetSize(), source.size());
    EXPECT_LT(list->GetUsedBytes(), source.size() * 4);
    EXPECT_EQ(list->GetEntry(299999)->GetLineNum(), 1u);
}

TEST(HtmlObjectListTest, ARestoredListReadsAsParsedAgain) {
    auto list = Parse("a<b x=1>\nc<i>d");
    list->KeepOriginals();
    auto* copy = new HtmlObject(*list->GetEntry(1));
    copy->AddEntry(new HtmlTagParam("cached", "p", 0));
    list->ReplaceEntry(1, copy);
    EXPECT_FALSE(list->IsAsParsed(1));
    EXPECT_EQ(list->GetTextOf(2), "\nc");  // its neighbour's size still comes from the text
    NyxString out;
    list->AppendOutputOf(1, out);
    EXPECT_EQ(out.ToStd(), "<b x=\"1\" cached=\"p\">");
    EXPECT_TRUE(list->RestoreOriginals());
    EXPECT_TRUE(list->IsAsParsed(1));
    EXPECT_EQ(list->GetEntry(1)->Output().ToStd(), "<b x=\"1\">");
    EXPECT_EQ(list->GetLineNumOf(3), 2u);
}

}  // namespace

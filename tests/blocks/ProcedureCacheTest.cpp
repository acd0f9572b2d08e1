// Code in LOOP parameters and statement scripts is compiled once per list
// entry: the tag in the list is replaced once by a copy that names the
// procedure, and later visits find that name instead of compiling again.
// A second compile would add a second parameter to a copy of the copy.
#include <gtest/gtest.h>

#include "TemporaryFolder.h"

#include <filesystem>
#include <fstream>
#include <string>

#include "page/VexlPage.h"

namespace fs = std::filesystem;

namespace {

int CountParameters(const HtmlObject* tag, const char* name) {
    int count = 0;
    for (int i = 1; i <= static_cast<int>(tag->GetCount()); ++i) {
        if (tag->GetEntry(i)->GetName().IsEqualTo(name, false)) ++count;
    }
    return count;
}

class ProcedureCache : public testing::Test {
protected:
    void Render(const std::string& text) {
        Folder = Temporary.Get();
        const fs::path path = Folder / "page.vxl";
        std::ofstream(path, std::ios::binary) << text;
        Page.SetOutput(&Output);
        Page.SetFile(path.c_str());
    }

    NyxString Output;
    VexlPage Page;
    TemporaryFolder Temporary;
    fs::path Folder;
};

TEST_F(ProcedureCache, InnerLoopCompilesItsCodeOnceForAllOuterPasses) {
    Render("<LOOP initialiser=\"a = 0\" condition=\"a < 3\" iterator=\"a = a + 1\">"
           "<LOOP initialiser=\"b = 0\" condition=\"b < 2\" iterator=\"b = b + 1\">x</LOOP>;</LOOP>");
    const HtmlObject* original = Page.HtmlList->GetEntry(1);
    Page.Process();
    EXPECT_EQ("xx;xx;xx;", Output.ToStd());
    const HtmlObject* inner = Page.HtmlList->GetEntry(1);
    EXPECT_NE(original, inner);
    EXPECT_EQ(1, CountParameters(inner, "cachedinit"));
    EXPECT_EQ(1, CountParameters(inner, "cachediter"));
    EXPECT_STREQ("page_1_1", inner->GetStrValue("cachedinit").GetString());
    EXPECT_STREQ("page_1_2", inner->GetStrValue("cachediter").GetString());
}

TEST_F(ProcedureCache, LoopWithoutCodeKeepsItsTag) {
    Render("<SETVAR name=\"n\" value=\"0\"><LOOP condition=\"0\">x</LOOP>");
    const HtmlObject* original = Page.HtmlList->GetEntry(1);
    Page.Process();
    EXPECT_EQ(original, Page.HtmlList->GetEntry(1));
}

TEST_F(ProcedureCache, StatementScriptInAThreePassLoopCompilesOnceAndRunsThreeTimes) {
    Render("<LOOP initialiser=\"i = 0\" condition=\"i < 3\" iterator=\"i = i + 1\">"
           "<SCRIPT>print \"run \", i, \";\"</SCRIPT></LOOP>");
    const HtmlObject* body = Page.HtmlList->GetEntry(2);
    Page.Process();
    EXPECT_EQ("run 0;run 1;run 2;", Output.ToStd());
    const HtmlObject* script = Page.HtmlList->GetEntry(1);
    EXPECT_EQ(1, CountParameters(script, "cachedproc"));
    EXPECT_STREQ("page_1", script->GetStrValue("cachedproc").GetString());
    EXPECT_EQ(body, Page.HtmlList->GetEntry(2));
}

TEST_F(ProcedureCache, StructuredScriptIsCompiledOnEveryVisitAndRunsNothing) {
    Render("<LOOP initialiser=\"i = 0\" condition=\"i < 3\" iterator=\"i = i + 1\">"
           "<SCRIPT>\nproc shown()\n  print \"never\"\nendproc\n</SCRIPT></LOOP>done");
    Page.Process();
    EXPECT_EQ("done", Output.ToStd());
    EXPECT_EQ(0, CountParameters(Page.HtmlList->GetEntry(1), "cachedproc"));
}

TEST_F(ProcedureCache, CachedInitWrittenInThePageRunsThatProcedure) {
    Render("<SCRIPT>\nproc start()\n  k = 5\nendproc\n</SCRIPT>"
           "<LOOP initialiser=\"k = 0\" cachedinit=\"start\" condition=\"k < 7\" iterator=\"k = k + 1\">.</LOOP>");
    Page.Process();
    EXPECT_EQ("..", Output.ToStd());
}

}  // namespace

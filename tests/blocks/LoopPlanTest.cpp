// A LOOP body runs from a plan from its second pass on. The plan must write
// exactly what walking the body writes, pass for pass, and a body that holds
// anything a plan cannot follow must be walked.
#include <gtest/gtest.h>

#include "TemporaryFolder.h"

#include <filesystem>
#include <fstream>
#include <string>

#include "blocks/LoopPlan.h"
#include "quince/Limits.h"
#include "page/VexlPage.h"
#include "tags/VexlParse.h"

namespace fs = std::filesystem;

namespace {

constexpr const char* kLoop = "<LOOP initialiser=\"i = 0\" condition=\"i < 4\" iterator=\"i = i + 1\">";

// Whether the body of the LOOP that opens `page` would run from a plan.
bool Plans(const std::string& page, int depth = 0, int limit = 200) {
    VexlPage request;
    request.HtmlList = new HtmlObjectList(NyxString("page.vxl"), page);
    request.Walks->Depth = depth;
    request.Walks->Limit = limit;
    VexlParse walker(&request);
    return LoopPlan::Make(walker, 0)->Fits(request);
}

class LoopPlanRender : public testing::Test {
protected:
    void SetUp() override { Folder = Temporary.Get(); }

    void Write(const std::string& name, const std::string& text) {
        std::ofstream(Folder / name, std::ios::binary) << text;
    }
    // The page's output and headers, with bodies planned or walked.
    std::string Render(bool plans, int limit = 200) {
        NyxString output;
        VexlPage page;
        page.Walks->PlanLoops = plans;
        page.Walks->Limit = limit;
        page.SetOutput(&output);
        page.SetFile((Folder / "page.vxl").c_str());
        page.Process();
        std::string headers;
        for (int i = 0; i < page.Headers.GetCount(); ++i) {
            headers += page.Headers.GetName(i).ToStd() + ": " + page.Headers.GetValue(i).ToStd() + "\n";
        }
        return headers + "\n" + output.ToStd();
    }
    void ExpectPlanWritesAsWalk(const std::string& page, int limit = 200) {
        Write("page.vxl", page);
        const std::string walked = Render(false, limit);
        EXPECT_EQ(walked, Render(true, limit)) << page;
        EXPECT_NE(std::string::npos, walked.find("pass")) << "the page should print in its passes: " << page;
    }

    TemporaryFolder Temporary;
    fs::path Folder;
};

}  // namespace

TEST(LoopPlan, PlansTextTagsIfConstructsAndDirectives) {
    EXPECT_TRUE(Plans(std::string(kLoop) + "</LOOP>"));
    EXPECT_TRUE(Plans(std::string(kLoop) +
                      "text <b x=(i) y=\"1\"></b z=(i)><TEXTAREA>t</TEXTAREA>"
                      "<IF condition=\"i\">a<ELSEIF condition=\"i == 2\">b<IF condition=\"1\">c<ENDIF><ELSE>d<ENDIF>"
                      "<SETVAR name=\"v\" value=\"i\"><SETHEADER name=\"h\" value=(i)><ELSE>stray</ELSE><ENDIF>"
                      "</LOOP>after"));
    EXPECT_TRUE(Plans(std::string(kLoop) + "no end tag <b x=(i)>"));
}

TEST(LoopPlan, WalksIfConstructsOfUnusualShape) {
    // No ENDIF at all; an ENDIF only behind the LOOP's end; an ELSE whose end is an end tag;
    // an ELSEIF as the last object.
    EXPECT_FALSE(Plans(std::string(kLoop) + "<IF condition=\"i\">a<ELSE>b</LOOP>"));
    EXPECT_FALSE(Plans(std::string(kLoop) + "<IF condition=\"i\">a</LOOP><ENDIF>"));
    EXPECT_FALSE(Plans(std::string(kLoop) + "<IF condition=\"i\">a</ELSE>b<ENDIF></LOOP>"));
    EXPECT_FALSE(Plans(std::string(kLoop) + "<IF condition=\"i\">a<ELSEIF condition=\"1\">"));
}

TEST(LoopPlan, WalksWhenTheWalkWouldMeetTheDepthLimit) {
    const std::string nested = std::string(kLoop) + "<IF condition=\"1\"><IF condition=\"1\">x<ENDIF><ENDIF></LOOP>";
    // The body walks at depth 1, the IF branches at 2 and 3, each checked against the limit.
    EXPECT_TRUE(Plans(nested, 0, 2));
    EXPECT_FALSE(Plans(nested, 0, 1));
    EXPECT_FALSE(Plans(nested, 1, 2));
    EXPECT_TRUE(Plans(std::string(kLoop) + "x</LOOP>", 1, 1));
    EXPECT_FALSE(Plans(std::string(kLoop) + "x</LOOP>", 2, 1));
}

TEST(LoopPlan, WalksWhileUserTagsAreDefinedOrTranslationDiffersFromThePlans) {
    const std::string page = std::string(kLoop) + "x<b y=(i)></LOOP>";
    VexlPage request;
    request.HtmlList = new HtmlObjectList(NyxString("page.vxl"), page);
    VexlParse walker(&request);
    request.TranslationEnabled = true;
    LoopPlan* translating = LoopPlan::Make(walker, 0);
    EXPECT_TRUE(translating->Fits(request));
    request.TranslationEnabled = false;
    EXPECT_FALSE(translating->Fits(request));
    request.HtmlList->ReplaceEntry(1, new HtmlObject(*request.HtmlList->GetEntry(1)));  // drops the plan
    LoopPlan* plan = LoopPlan::Make(walker, 0);
    EXPECT_TRUE(plan->Fits(request));
    request.TranslationEnabled = true;
    EXPECT_FALSE(plan->Fits(request));
    request.TranslationEnabled = false;
    request.TagDefs.AddDefinition("b", "p", 0);
    EXPECT_FALSE(plan->Fits(request));
}

TEST(LoopPlan, ListKeepsThePlanUntilItChanges) {
    const std::string page = std::string(kLoop) + "x<b y=(i)></LOOP>";
    VexlPage request;
    request.HtmlList = new HtmlObjectList(NyxString("page.vxl"), page);
    VexlParse walker(&request);
    EXPECT_EQ(nullptr, LoopPlan::Find(request, 0));
    LoopPlan* plan = LoopPlan::Make(walker, 0);
    EXPECT_EQ(plan, LoopPlan::Find(request, 0));
    // The same list walked from elsewhere: deeper, or under another limit.
    ++request.Walks->Depth;
    EXPECT_FALSE(plan->Fits(request));
    --request.Walks->Depth;
    request.Walks->Limit = 10;
    EXPECT_FALSE(plan->Fits(request));
    request.Walks->Limit = kMaxWalkDepth;
    EXPECT_TRUE(plan->Fits(request));
    request.HtmlList->ReplaceEntry(1, new HtmlObject(*request.HtmlList->GetEntry(1)));
    EXPECT_EQ(nullptr, LoopPlan::Find(request, 0));
}

TEST_F(LoopPlanRender, ConditionsAndValuesRunInTheWalksOrder) {
    // Conditions and values print as they run; skipped branches must not run.
    ExpectPlanWritesAsWalk(
        "<SCRIPT>\nproc mark(string s, bool result)\n  print \"{\", s, \"}\"\n  return result\nendproc\n</SCRIPT>\n"
        + std::string(kLoop) +
        "pass <IF condition='mark(\"a\", i == 0)'>a<ELSEIF condition='mark(\"b\", i == 1)'>b"
        "<ELSEIF condition='mark(\"c\", i > 2)'>c<IF condition='mark(\"d\", true)'>d<ENDIF><ENDIF>"
        "<td x='(mark(\"e\", true))' y=(i) z='(mark(\"f\", false))'></td w='(mark(\"g\", true))'>\n</LOOP>");
}

TEST_F(LoopPlanRender, ValuesFollowTheirVariablesChangeOfType) {
    ExpectPlanWritesAsWalk(std::string(kLoop) +
                           "<SETVAR name=\"v\" value=\"i\"><IF condition=\"i == 1\">"
                           "<SETVAR name=\"v\" value='\"text\"'><ELSEIF condition=\"i == 2\">"
                           "<SETVAR name=\"v\" value=\"2.5f\"><ELSEIF condition=\"i == 3\">"
                           "<SETVAR name=\"v\" value=\"true\"><ENDIF>pass "
                           "<b v=(v) w=\"(v + v)\" big=\"(i + 16777217)\" t=\"(i > 1)\">"
                           "<IF condition=\"v\">true<ENDIF><IF condition=\"later > 0\">later<ENDIF>"
                           "<SETVAR name=\"later\" value=\"i\"></LOOP>");
}

TEST_F(LoopPlanRender, DepthLimitMessagesComeAsFromAWalk) {
    const std::string page = std::string(kLoop) +
                             "pass <IF condition=\"1\">1<IF condition=\"i > 1\">2<IF condition=\"1\">3<ENDIF><ENDIF>"
                             "<ENDIF>\n</LOOP>";
    for (int limit = 1; limit <= 4; ++limit) ExpectPlanWritesAsWalk(page, limit);
}

TEST_F(LoopPlanRender, InnerLoopsAndIncludedFilesPlanTheirOwnBodies) {
    Write("part.vxl", std::string("<LOOP initialiser=\"j = 0\" condition=\"j < 3\" iterator=\"j = j + 1\">"
                                  "<b j=(j)><IF condition=\"j == 1\">one<ENDIF></LOOP>"));
    ExpectPlanWritesAsWalk(std::string(kLoop) + "pass <INCLUDE file=\"part.vxl\">"
                           "<LOOP initialiser=\"k = 0\" condition=\"k < i\" iterator=\"k = k + 1\">[<b k=(k)>]</LOOP>\n"
                           "</LOOP>");
}

TEST_F(LoopPlanRender, KeptPlanStepsAsideOnceUserTagsAreDefined) {
    // The inner loop's plan, kept from the first outer pass, must not print
    // <shout> as it is once the tag has a definition.
    ExpectPlanWritesAsWalk("<SCRIPT>\nproc shout(page, pos)\n  print \"<b>!</b>\"\nendproc\n</SCRIPT>\n" +
                           std::string(kLoop) +
                           "pass <LOOP initialiser=\"j = 0\" condition=\"j < 3\" iterator=\"j = j + 1\">"
                           "<shout n=(j)></LOOP>"
                           "<IF condition=\"i == 1\"><DEFTAG name=\"shout\" proc=\"shout\"><ENDIF>\n"
                           "</LOOP>");
}

TEST_F(LoopPlanRender, PlanOutlivesAClearOfTheExpressionCache) {
    // More expressions than the cache holds: the cache is cleared while the plan is made.
    std::string page = std::string(kLoop) + "pass";
    for (unsigned n = 0; n < quince::kMaxCachedExpressions + 50; ++n) {
        page += "<b n=\"(i + " + std::to_string(n) + ")\">";
    }
    ExpectPlanWritesAsWalk(page + "</LOOP>");
}

TEST_F(LoopPlanRender, TranslatedTextsWriteAsWalked) {
    // Text objects between tags with values, in IF branches, texts met first
    // in a later pass, a translation that begins with a line break; the
    // second render meets every text in the table.
    const std::string database = (Folder / "tr.db").string();
    ASSERT_EQ(0, std::system(("sqlite3 " + database +
                              " \"CREATE TABLE t (k TEXT, v TEXT); INSERT INTO t VALUES ('one', 'eins'), ('two', '"
                              "'||char(10)||'zwei')\"").c_str()));
    const std::string page = "<TRANSLATION file=\"" + database +
                             "\" table=\"t\" keycolumn=\"k\" valuecolumn=\"v\" enable>" + kLoop +
                             "pass <b x=(i)>one</b> two<IF condition=\"i == 2\">late<ELSE>&nbsp;<ENDIF>"
                             "<i>one</i>\n</LOOP>after";
    ExpectPlanWritesAsWalk(page);
    ExpectPlanWritesAsWalk(page);
    std::string rows;
    FILE* list = popen(("sqlite3 " + database + " 'SELECT k FROM t ORDER BY rowid'").c_str(), "r");
    for (int c = std::fgetc(list); c != EOF; c = std::fgetc(list)) rows += static_cast<char>(c);
    pclose(list);
    // Each text once, in the order first met: "pass ", " two", the line end, "late", "after".
    EXPECT_EQ(rows, "one\ntwo\npass \n two\n\n\nlate\nafter\n");
}

// VexlPage: the output sink and its flush rule, the page file, child pages
// and the end of the request.
#include <gtest/gtest.h>

#include "TemporaryFolder.h"

#include <cstdio>
#include <filesystem>
#include <fstream>
#include <new>
#include <string>
#include <unistd.h>

#include "page/VexlPage.h"
#include "tags/VexlParse.h"

namespace fs = std::filesystem;

namespace {

class VexlPageTest : public testing::Test {
protected:
    void SetUp() override { Folder = Temporary.Get(); }

    std::string Write(const std::string& name, const std::string& text) {
        const fs::path path = Folder / name;
        std::ofstream(path, std::ios::binary) << text;
        return path.string();
    }
    // A configuration whose session store lies in the test's folder.
    std::string WriteSessionIni() {
        return Write("site.ini", "[QuinceConfig]\nSessionStore = " + (Folder / "s.db").string() + "\n");
    }

    TemporaryFolder Temporary;
    fs::path Folder;
};

// Sends the standard output to /dev/null for the life of the object.
class QuietStdout {
public:
    QuietStdout() {
        std::fflush(stdout);
        Saved = dup(1);
        FILE* null = std::fopen("/dev/null", "w");
        dup2(fileno(null), 1);
        std::fclose(null);
    }
    ~QuietStdout() {
        std::fflush(stdout);
        dup2(Saved, 1);
        close(Saved);
    }

private:
    int Saved;
};

TEST_F(VexlPageTest, OwnBufferFlushesAt4096CharactersAndNotBefore) {
    QuietStdout quiet;
    VexlPage page;
    page.AppendOutput(NyxString(std::string(4095, 'a')));
    ASSERT_NE(page.Output, nullptr);
    EXPECT_FALSE(page.OutputIsExternal);
    EXPECT_EQ(4095u, page.Output->GetLength());
    page.AppendOutput(NyxString("b"));
    EXPECT_EQ(0u, page.Output->GetLength());
}

TEST_F(VexlPageTest, CallersStringKeepsEverythingAndFlushChangesNothing) {
    NyxString output;
    VexlPage page;
    page.SetOutput(&output);
    for (int i = 0; i < 100; ++i) page.AppendOutput(NyxString(std::string(1000, 'x')));
    page.FlushOutput();
    EXPECT_EQ(100000u, output.GetLength());
}

TEST_F(VexlPageTest, FlushWithoutOutputMakesNoBuffer) {
    VexlPage page;
    page.FlushOutput();
    EXPECT_EQ(nullptr, page.Output);
}

TEST_F(VexlPageTest, MissingFileIsReportedWithItsFullPathAndTheRunGoesOn) {
    NyxString output;
    VexlPage page;
    page.SetOutput(&output);
    const std::string missing = (Folder / "gone.vxl").string();
    page.SetFile(missing.c_str());
    EXPECT_TRUE(page.Process());
    EXPECT_EQ("<P>Unable to open file '" + missing + "'.</P>\n", output.ToStd());
    EXPECT_STREQ("0", page.Headers.GetValue(NyxString("http_session_id")).GetString());
}

TEST_F(VexlPageTest, SecondSetFileReplacesTheList) {
    NyxString output;
    VexlPage page;
    page.SetOutput(&output);
    page.SetFile(Write("one.vxl", "one").c_str());
    page.SetFile(Write("two.vxl", "two").c_str());
    page.Process();
    EXPECT_EQ("two", output.ToStd());
}

TEST_F(VexlPageTest, ChildPageSharesOutputAndContextButNotHeadersOrTags) {
    NyxString output;
    VexlPage page;
    page.SetOutput(&output);
    page.SetFile(Write("page.vxl", "x").c_str());
    {
        VexlPage child(page);
        EXPECT_TRUE(child.IsChildPage);
        EXPECT_EQ(page.Context, child.Context);
        child.SetFile(Write("child.vxl", "<SETHEADER name=\"X-Child\" value=\"1\"><DEFTAG name=\"t\" proc=\"p\">child").c_str());
        VexlParse walker(&child);
        walker.Start(0, nullptr);
        EXPECT_EQ(1, child.Headers.GetCount());
    }
    EXPECT_EQ("child", output.ToStd());
    EXPECT_EQ(0, page.Headers.GetCount());
    EXPECT_EQ(-1, page.TagDefs.FindDefinition("t"));
}

TEST_F(VexlPageTest, ChildPageOfAPageWithoutOutputReachesTheParentsBuffer) {
    VexlPage page;
    page.SetFile(Write("page.vxl", "x").c_str());
    {
        VexlPage child(page);
        child.AppendOutput(NyxString("from the child"));
    }
    ASSERT_NE(page.Output, nullptr);
    EXPECT_EQ("from the child", page.Output->ToStd());
    page.Output->Clear();
}

TEST_F(VexlPageTest, TemporaryFilesOfChildPagesAreDeletedWithTheRequest) {
    NyxString output;
    std::string first;
    std::string second;
    {
        VexlPage page;
        page.SetOutput(&output);
        page.SetFile(Write("page.vxl", "x").c_str());
        first = Write("first.tmp", "1");
        page.TempFiles.PushBack(first.c_str());
        {
            VexlPage child(page);
            second = Write("second.tmp", "2");
            child.TempFiles.PushBack(second.c_str());
        }
        EXPECT_TRUE(fs::exists(second));
        page.Process();
        EXPECT_TRUE(page.TempFiles.IsEmpty());
    }
    EXPECT_FALSE(fs::exists(first));
    EXPECT_FALSE(fs::exists(second));
}

TEST_F(VexlPageTest, SessionNumbersComeFromTheGeneratorAndSkipTakenOnes) {
    NyxString output;
    VexlPage page;
    page.SetIniPath(WriteSessionIni().c_str());
    page.SetOutput(&output);
    page.SetFile(Write("page.vxl", "<SCRIPT>session int n = 1</SCRIPT>").c_str());
    page.SetSessionId(41, 3600);
    page.Process();

    VexlPage next;
    next.SetIniPath((Folder / "site.ini").c_str());
    unsigned draws[] = {0, 41, 42};
    int drawn = 0;
    next.DrawSessionNumber = [&] { return draws[drawn++]; };
    EXPECT_EQ(42u, next.SetSessionId(0, 3600));
    EXPECT_EQ(3, drawn);
    EXPECT_EQ(1234u, next.SetSessionId(1234, 3600));
    EXPECT_EQ(3, drawn);
}

TEST_F(VexlPageTest, MemoryRunningOutEndsTheCallQuietlyAndThePageStaysUsable) {
    NyxString output;
    VexlPage page;
    page.SetIniPath(WriteSessionIni().c_str());
    page.SetOutput(&output);
    page.SetFile(Write("page.vxl", "<p>(<SETVAR name=\"n\" value=\"7\">)</p>").c_str());
    page.DrawSessionNumber = []() -> unsigned { throw std::bad_alloc(); };
    EXPECT_EQ(0u, page.SetSessionId(0, 3600));
    EXPECT_TRUE(page.Process());
    EXPECT_EQ("<p>\n()</p>\n", output.ToStd());
}

}  // namespace

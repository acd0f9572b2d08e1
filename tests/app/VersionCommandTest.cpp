// Tests of `vexl --version` and `-V`.
#include <gtest/gtest.h>

#include <string>

#include "app/ProgramRun.h"

TEST(VersionCommandTest, NamesTheVersionAndTheBuildsFeatures)
{
    const ProgramRun run = RunVexl("--version");
    EXPECT_EQ(run.Status, 0);
    EXPECT_EQ(run.Out.rfind("vexl " VEXL_TEST_VERSION "\n", 0), 0u) << run.Out;
    EXPECT_NE(run.Out.find("\nFastCGI: "), std::string::npos) << run.Out;
    EXPECT_NE(run.Out.find("\nsanitizers: "), std::string::npos) << run.Out;
    EXPECT_NE(run.Out.find("\nhtml module: /"), std::string::npos) << run.Out;  // found beside the library
    EXPECT_EQ(RunVexl("-V").Out, run.Out);
}

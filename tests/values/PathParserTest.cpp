// Tests of PathParser: drive plus folder is the folder of the path.
#include "values/PathParser.h"

#include <gtest/gtest.h>

namespace {

TEST(PathParserTest, CutsAnAbsolutePath) {
    PathParser p(NyxString("/srv/site/pages/index.vxl"));
    EXPECT_TRUE(p.GetDrive().IsEmpty());
    EXPECT_EQ(p.GetDir().ToStd(), "/srv/site/pages/");
    EXPECT_EQ(p.GetFileName().ToStd(), "index.vxl");
    EXPECT_EQ(p.GetFileNameWithoutExt().ToStd(), "index");
    EXPECT_EQ(p.GetFileExt().ToStd(), ".vxl");
    EXPECT_EQ((p.GetDrive() + p.GetDir()).ToStd(), "/srv/site/pages/");
}

TEST(PathParserTest, ABareNameHasNoFolder) {
    PathParser p(NyxString("vexl.ini"));
    EXPECT_TRUE(p.GetDir().IsEmpty());
    EXPECT_EQ(p.GetFileName().ToStd(), "vexl.ini");
}

TEST(PathParserTest, AFolderPathHasNoName) {
    PathParser p(NyxString("conf/"));
    EXPECT_EQ(p.GetDir().ToStd(), "conf/");
    EXPECT_TRUE(p.GetFileName().IsEmpty());
    EXPECT_TRUE(p.GetFileExt().IsEmpty());
}

TEST(PathParserTest, OnlyTheLastDotOfTheNameStartsTheExtension) {
    PathParser p(NyxString("a.d/archive.tar.gz"));
    EXPECT_EQ(p.GetDir().ToStd(), "a.d/");
    EXPECT_EQ(p.GetFileNameWithoutExt().ToStd(), "archive.tar");
    EXPECT_EQ(p.GetFileExt().ToStd(), ".gz");
    PathParser q(NyxString("dir.x/noext"));
    EXPECT_TRUE(q.GetFileExt().IsEmpty());
    EXPECT_EQ(q.GetFileNameWithoutExt().ToStd(), "noext");
}

TEST(PathParserTest, ALeadingDotIsNoExtension) {
    PathParser p(NyxString("/home/u/.vexlrc"));
    EXPECT_EQ(p.GetFileNameWithoutExt().ToStd(), ".vexlrc");
    EXPECT_TRUE(p.GetFileExt().IsEmpty());
}

TEST(PathParserTest, BackslashesSeparateToo) {
    PathParser p(NyxString("C:\\site\\page.vxl"));
    EXPECT_EQ((p.GetDrive() + p.GetDir()).ToStd(), "C:\\site\\");
    EXPECT_EQ(p.GetFileName().ToStd(), "page.vxl");
}

TEST(PathParserTest, DefaultIsEmpty) {
    PathParser p;
    EXPECT_TRUE(p.GetDrive().IsEmpty());
    EXPECT_TRUE(p.GetDir().IsEmpty());
    EXPECT_TRUE(p.GetFileName().IsEmpty());
}

}  // namespace

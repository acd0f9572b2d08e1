// Tests of src/app/PageLocator.cpp: requested paths stay inside the root.
#include "app/PageLocator.cpp"

#include <gtest/gtest.h>

#include "TemporaryFolder.h"

#include <cstdio>
#include <cstdlib>
#include <string>
#include <unistd.h>

namespace {

// A scratch tree:  base/site/{index.vxl, sub/page.vxl, sub/deeper/}
//                  base/secret.vxl   base/site/out -> ../secret.vxl
//                  base/site/inlink -> sub/page.vxl   base/site/outdir -> ..
class PageLocatorTest : public ::testing::Test {
protected:
    void SetUp() override
    {
        Base = Temporary.Get();
        Site = Base + "/site";
        MakeFolder(Site);
        MakeFolder(Site + "/sub");
        MakeFolder(Site + "/sub/deeper");
        MakeFile(Site + "/index.vxl");
        MakeFile(Site + "/sub/page.vxl");
        MakeFile(Site + "/.hidden.vxl");
        MakeFile(Base + "/secret.vxl");
        ASSERT_EQ(symlink("../secret.vxl", (Site + "/out").c_str()), 0);
        ASSERT_EQ(symlink("sub/page.vxl", (Site + "/inlink").c_str()), 0);
        ASSERT_EQ(symlink("..", (Site + "/outdir").c_str()), 0);
        Root = ResolveRootFolder(Site);
        ASSERT_FALSE(Root.empty());
    }

    static void MakeFolder(const std::string& path) { ASSERT_EQ(mkdir(path.c_str(), 0700), 0) << path; }
    static void MakeFile(const std::string& path)
    {
        std::FILE* file = std::fopen(path.c_str(), "w");
        ASSERT_NE(file, nullptr) << path;
        std::fputs("<p>page</p>\n", file);
        std::fclose(file);
    }

    TemporaryFolder Temporary;
    std::string Base, Site, Root;
};

TEST_F(PageLocatorTest, PageInsideTheRootIsFound)
{
    Location location = LocateInRoot(Root, Root, "sub/page.vxl");
    ASSERT_EQ(location.Status, LocateStatus::Found);
    EXPECT_EQ(location.Path, Root + "/sub/page.vxl");
    EXPECT_FALSE(location.IsDirectory);
}

TEST_F(PageLocatorTest, RelativeNamesCountFromTheBaseAndSlashFromTheRoot)
{
    Location relative = LocateInRoot(Root, Root + "/sub", "page.vxl");
    ASSERT_EQ(relative.Status, LocateStatus::Found);
    EXPECT_EQ(relative.Path, Root + "/sub/page.vxl");
    Location fromRoot = LocateInRoot(Root, Root + "/sub", "/index.vxl");
    ASSERT_EQ(fromRoot.Status, LocateStatus::Found);
    EXPECT_EQ(fromRoot.Path, Root + "/index.vxl");
}

TEST_F(PageLocatorTest, DotDotInsideTheRootIsAllowed)
{
    Location location = LocateInRoot(Root, Root + "/sub", "../index.vxl");
    ASSERT_EQ(location.Status, LocateStatus::Found);
    EXPECT_EQ(location.Path, Root + "/index.vxl");
}

TEST_F(PageLocatorTest, DotDotAboveTheRootIsForbidden)
{
    EXPECT_EQ(LocateInRoot(Root, Root, "../secret.vxl").Status, LocateStatus::Forbidden);
    EXPECT_EQ(LocateInRoot(Root, Root + "/sub", "../../secret.vxl").Status, LocateStatus::Forbidden);
    EXPECT_EQ(LocateInRoot(Root, Root, "/sub/../../secret.vxl").Status, LocateStatus::Forbidden);
    // Refused before the file system is asked: a missing target is no 404 here.
    EXPECT_EQ(LocateInRoot(Root, Root, "../no-such.vxl").Status, LocateStatus::Forbidden);
}

TEST_F(PageLocatorTest, LinkLeadingOutsideIsForbidden)
{
    EXPECT_EQ(LocateInRoot(Root, Root, "out").Status, LocateStatus::Forbidden);
    EXPECT_EQ(LocateInRoot(Root, Root, "outdir/secret.vxl").Status, LocateStatus::Forbidden);
}

TEST_F(PageLocatorTest, LinkStayingInsideIsFollowed)
{
    Location location = LocateInRoot(Root, Root, "inlink");
    ASSERT_EQ(location.Status, LocateStatus::Found);
    EXPECT_EQ(location.Path, Root + "/sub/page.vxl");
}

TEST_F(PageLocatorTest, MissingPageIsNotFound)
{
    EXPECT_EQ(LocateInRoot(Root, Root, "nothing.vxl").Status, LocateStatus::NotFound);
    EXPECT_EQ(LocateInRoot(Root, Root, "sub/nothing/deeper.vxl").Status, LocateStatus::NotFound);
    EXPECT_EQ(LocateInRoot(Root, Root, "index.vxl/x").Status, LocateStatus::NotFound);
}

TEST_F(PageLocatorTest, HiddenNamesAndNulBytesAreForbidden)
{
    EXPECT_EQ(LocateInRoot(Root, Root, ".hidden.vxl").Status, LocateStatus::Forbidden);
    EXPECT_EQ(LocateInRoot(Root, Root, "sub/.git/config").Status, LocateStatus::Forbidden);
    EXPECT_EQ(LocateInRoot(Root, Root, std::string_view("index.vxl\0.png", 14)).Status, LocateStatus::Forbidden);
}

TEST_F(PageLocatorTest, BaseOutsideTheRootIsForbidden)
{
    EXPECT_EQ(LocateInRoot(Root, Base, "site/index.vxl").Status, LocateStatus::Forbidden);
}

TEST_F(PageLocatorTest, FoldersAreReportedAsFolders)
{
    Location location = LocateInRoot(Root, Root, "/");
    ASSERT_EQ(location.Status, LocateStatus::Found);
    EXPECT_TRUE(location.IsDirectory);
    EXPECT_EQ(location.Path, Root);
}

TEST_F(PageLocatorTest, SegmentCountAtTheLimitIsWalkedAndPastItRefused)
{
    std::string atLimit;
    for (std::size_t i = 0; i < kMaxPathSegments; ++i)
        atLimit += "a/";
    EXPECT_EQ(LocateInRoot(Root, Root, atLimit).Status, LocateStatus::NotFound);
    EXPECT_EQ(LocateInRoot(Root, Root, atLimit + "a").Status, LocateStatus::Forbidden);
}

TEST_F(PageLocatorTest, ServerPathsAreConfinedToo)
{
    Location inside = LocateServerPath(Root, Site, Site + "/sub/page.vxl");
    ASSERT_EQ(inside.Status, LocateStatus::Found);
    EXPECT_EQ(inside.Path, Root + "/sub/page.vxl");
    EXPECT_EQ(LocateServerPath(Root, Site, Base + "/secret.vxl").Status, LocateStatus::Forbidden);
    EXPECT_EQ(LocateServerPath(Root, Site, Site + "/out").Status, LocateStatus::Forbidden);
    EXPECT_EQ(LocateServerPath(Root, Site, Site + "/../secret.vxl").Status, LocateStatus::Forbidden);
    EXPECT_EQ(LocateServerPath(Root, Site, Site + "/gone.vxl").Status, LocateStatus::NotFound);
}

TEST(PageLocatorPathTest, FolderOfAndExtension)
{
    EXPECT_EQ(FolderOf("/a/b/c.vxl"), "/a/b");
    EXPECT_EQ(FolderOf("/c.vxl"), "/");
    EXPECT_EQ(FolderOf("c.vxl"), ".");
    EXPECT_TRUE(HasExtension("/x/INDEX.VXL", ".vxl"));
    EXPECT_FALSE(HasExtension("/x/index.vxl.bak", ".vxl"));
    EXPECT_FALSE(HasExtension("vxl", ".vxl"));
}

}  // namespace

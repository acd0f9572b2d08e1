// Tests of File: a text file read as lines.
#include "foundation/File.h"

#include <fstream>
#include <string>

#include <gtest/gtest.h>

#include "TemporaryFolder.h"

TEST(FileTest, LinesComeWithoutTheirEnds) {
    TemporaryFolder folder;
    std::string path = folder / "lines.txt";
    std::ofstream(path, std::ios::binary) << "one\r\ntwo\n\nfour\n";
    File file{NyxString(std::string_view(path))};
    EXPECT_TRUE(file.IsLoaded());
    ASSERT_EQ(file.GetLineCount(), 4u);
    EXPECT_EQ(file.GetLine(0).ToStd(), "one");
    EXPECT_EQ(file.GetLine(1).ToStd(), "two");
    EXPECT_EQ(file.GetLine(2).ToStd(), "");
    EXPECT_EQ(file.GetLine(3).ToStd(), "four");
    EXPECT_EQ(file.GetLine(4).ToStd(), "");
}

TEST(FileTest, FinalLineEndOpensNoLine) {
    TemporaryFolder folder;
    std::string path = folder / "final.txt";
    std::ofstream(path, std::ios::binary) << "a\nb";
    File file{NyxString(std::string_view(path))};
    ASSERT_EQ(file.GetLineCount(), 2u);
    EXPECT_EQ(file.GetLine(1).ToStd(), "b");
}

TEST(FileTest, MissingFileIsNotLoaded) {
    TemporaryFolder folder;
    File file{NyxString(std::string_view(folder / "absent.txt"))};
    EXPECT_FALSE(file.IsLoaded());
    EXPECT_EQ(file.GetLineCount(), 0u);
    EXPECT_EQ(file.GetLine(0).ToStd(), "");
}

TEST(FileTest, EmptyFileHasNoLines) {
    TemporaryFolder folder;
    std::string path = folder / "empty.txt";
    std::ofstream(path, std::ios::binary) << "";
    File file{NyxString(std::string_view(path))};
    EXPECT_TRUE(file.IsLoaded());
    EXPECT_EQ(file.GetLineCount(), 0u);
}

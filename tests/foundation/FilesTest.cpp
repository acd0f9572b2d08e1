// Tests of the file functions: handles, appending, facts about paths.
#include "foundation/Files.h"

#include <cstring>
#include <fcntl.h>
#include <string>
#include <sys/stat.h>
#include <unistd.h>

#include <gtest/gtest.h>

#include "TemporaryFolder.h"
#include "foundation/PageMemory.h"

namespace {

void WriteWhole(const std::string& path, const std::string& text) {
    int handle = FileCreate(NyxString(std::string_view(path)), 0);
    ASSERT_GE(handle, 0);
    ASSERT_EQ(FileWrite(handle, text.data(), static_cast<unsigned>(text.size())), static_cast<int>(text.size()));
    ASSERT_EQ(FileClose(handle), 0);
}

std::string ReadWhole(const std::string& path) {
    std::string contents;
    EXPECT_TRUE(FileReadAll(NyxString(std::string_view(path)), contents));
    return contents;
}

NyxString Nyx(const std::string& text) { return NyxString(std::string_view(text)); }

}  // namespace

TEST(FilesTest, CreateWriteThenAppendAtTheEnd) {
    TemporaryFolder folder;
    std::string path = folder / "log.txt";
    WriteWhole(path, "abc");
    int handle = FileOpen(Nyx(path), 1);
    ASSERT_GE(handle, 0);
    EXPECT_EQ(FileSeekEnd(handle), 3);
    EXPECT_EQ(FileWrite(handle, "de", 2), 2);
    EXPECT_EQ(FileClose(handle), 0);
    EXPECT_EQ(ReadWhole(path), "abcde");
}

TEST(FilesTest, OpenForWritingDoesNotTruncate) {
    TemporaryFolder folder;
    std::string path = folder / "keep.txt";
    WriteWhole(path, "content");
    int handle = FileOpen(Nyx(path), 1);
    ASSERT_GE(handle, 0);
    EXPECT_EQ(FileClose(handle), 0);
    EXPECT_EQ(ReadWhole(path), "content");
}

TEST(FilesTest, CreateTruncatesAnExistingFile) {
    TemporaryFolder folder;
    std::string path = folder / "again.txt";
    WriteWhole(path, "a long first content");
    WriteWhole(path, "xy");
    EXPECT_EQ(ReadWhole(path), "xy");
}

TEST(FilesTest, CreatedFileIsForTheOwnerOnly) {
    TemporaryFolder folder;
    std::string path = folder / "private.txt";
    WriteWhole(path, "");
    struct stat facts;
    ASSERT_EQ(stat(path.c_str(), &facts), 0);
    EXPECT_EQ(facts.st_mode & 0777, 0600u);
}

TEST(FilesTest, HandlesAreCloseOnExec) {
    TemporaryFolder folder;
    std::string path = folder / "cloexec.txt";
    WriteWhole(path, "x");
    int handle = FileOpen(Nyx(path), 0);
    ASSERT_GE(handle, 0);
    EXPECT_TRUE(fcntl(handle, F_GETFD) & FD_CLOEXEC);
    FileClose(handle);
}

TEST(FilesTest, OpenFailsOnMissingFileAndUnknownMode) {
    TemporaryFolder folder;
    std::string missing = folder / "missing.txt";
    EXPECT_EQ(FileOpen(Nyx(missing), 0), -1);
    EXPECT_EQ(FileOpen(Nyx(missing), 1), -1);
    EXPECT_EQ(access(missing.c_str(), F_OK), -1) << "mode 1 must not create the file";
    std::string present = folder / "present.txt";
    WriteWhole(present, "x");
    EXPECT_EQ(FileOpen(Nyx(present), 2), -1);
    EXPECT_EQ(FileOpen(NyxString(""), 0), -1);
}

TEST(FilesTest, WriteOfAMegabyteIsWhole) {
    TemporaryFolder folder;
    std::string path = folder / "big.bin";
    std::string data(1 << 20, '\0');
    for (std::size_t i = 0; i < data.size(); ++i) data[i] = static_cast<char>(i * 7);
    WriteWhole(path, data);
    EXPECT_EQ(ReadWhole(path), data);
}

TEST(FilesTest, WriteAndCloseRefuseABadHandle) {
    EXPECT_EQ(FileWrite(-1, "x", 1), -1);
    EXPECT_EQ(FileClose(-1), -1);
    EXPECT_EQ(FileSeekEnd(-1), -1);
}

TEST(FilesTest, DeleteRemovesTheFileOnce) {
    TemporaryFolder folder;
    std::string path = folder / "gone.txt";
    WriteWhole(path, "x");
    EXPECT_EQ(FileDelete(Nyx(path), 0), 0);
    EXPECT_EQ(access(path.c_str(), F_OK), -1);
    EXPECT_EQ(FileDelete(Nyx(path), 0), -1);
}

TEST(FilesTest, ExistsForFilesAndFoldersOnly) {
    TemporaryFolder folder;
    std::string path = folder / "here.txt";
    WriteWhole(path, "x");
    EXPECT_NE(FileExists(Nyx(path)), 0);
    EXPECT_NE(FileExists(Nyx(folder.Get())), 0);
    EXPECT_EQ(FileExists(Nyx(folder / "nothere.txt")), 0);
    EXPECT_EQ(FileExists(NyxString("")), 0);
}

TEST(FilesTest, PathWithANulByteNamesNoFile) {
    TemporaryFolder folder;
    std::string path = folder / "real.txt";
    WriteWhole(path, "x");
    std::string withNul = path + std::string("\0.other", 7);
    EXPECT_EQ(FileExists(Nyx(withNul)), 0);
    EXPECT_EQ(FileGetMode(Nyx(withNul)), 0u);
    EXPECT_EQ(FileOpen(Nyx(withNul), 0), -1);
    EXPECT_EQ(FileDelete(Nyx(withNul), 0), -1);
    EXPECT_EQ(access(path.c_str(), F_OK), 0);
}

TEST(FilesTest, ModeMarksRegularFiles) {
    TemporaryFolder folder;
    std::string path = folder / "mode.txt";
    WriteWhole(path, "x");
    EXPECT_NE(FileGetMode(Nyx(path)) & 0x8000u, 0u);
    unsigned folderMode = FileGetMode(Nyx(folder.Get()));
    EXPECT_NE(folderMode, 0u);
    EXPECT_EQ(folderMode & 0x8000u, 0u);
    EXPECT_EQ(FileGetMode(Nyx(folder / "absent")), 0u);
}

TEST(FilesTest, SetModeChangesOnlyThePermissionBits) {
    TemporaryFolder folder;
    std::string path = folder / "script.sh";
    WriteWhole(path, "x");
    ASSERT_EQ(FileSetMode(Nyx(path), 0755), 0);
    EXPECT_EQ(FileGetMode(Nyx(path)) & 07777u, 0755u);
    ASSERT_EQ(FileSetMode(Nyx(path), 0600), 0);
    EXPECT_EQ(FileGetMode(Nyx(path)) & 07777u, 0600u);
    EXPECT_NE(FileGetMode(Nyx(path)) & 0x8000u, 0u);
    EXPECT_EQ(FileSetMode(Nyx(folder / "absent"), 0600), -1);
}

TEST(FilesTest, ReadAllKeepsEveryByte) {
    TemporaryFolder folder;
    std::string path = folder / "bytes.bin";
    std::string data("a\0b\r\n\xff", 6);
    WriteWhole(path, data);
    EXPECT_EQ(ReadWhole(path), data);
}

TEST(FilesTest, ReadAllIntoPageBufferOnEitherSideOfTheMappingSize) {
    TemporaryFolder folder;
    for (std::size_t size : {std::size_t{5}, PageBuffer::kMapFrom - 1, PageBuffer::kMapFrom, 3 * PageBuffer::kMapFrom + 7}) {
        std::string data(size, 'x');
        for (std::size_t i = 0; i < size; i += 997) data[i] = static_cast<char>('a' + i % 26);
        data.back() = 'Z';
        std::string path = folder / ("file" + std::to_string(size));
        WriteWhole(path, data);
        PageBuffer contents;
        ASSERT_TRUE(FileReadAll(Nyx(path), contents));
        EXPECT_EQ(std::string(contents.data(), contents.size()), data) << size;
    }
    PageBuffer contents;
    EXPECT_FALSE(FileReadAll(Nyx(folder / "missing"), contents));
    EXPECT_EQ(contents.size(), 0u);
}

TEST(FilesTest, PageBufferKeepsItsBytesWhenItMovesIntoMappedPages) {
    PageBuffer buffer;
    buffer.resize(3);
    std::memcpy(buffer.data(), "abc", 3);
    buffer.resize(PageBuffer::kMapFrom * 2);
    EXPECT_EQ(std::string(buffer.data(), 3), "abc");
    buffer.data()[PageBuffer::kMapFrom * 2 - 1] = 'z';
    buffer.resize(2);
    EXPECT_EQ(std::string(buffer.data(), buffer.size()), "ab");
}

TEST(FilesTest, ReadAllFailsOnMissingFileAndFolder) {
    TemporaryFolder folder;
    std::string contents = "stale";
    EXPECT_FALSE(FileReadAll(Nyx(folder / "missing"), contents));
    EXPECT_EQ(contents, "");
    contents = "stale";
    EXPECT_FALSE(FileReadAll(Nyx(folder.Get()), contents));
    EXPECT_EQ(contents, "");
}

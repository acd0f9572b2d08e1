// Tests of IniFile and its base File: sections, keys, comments, blanks.
#include "foundation/IniFile.h"

#include <chrono>
#include <filesystem>
#include <fstream>
#include <memory>
#include <string>

#include <gtest/gtest.h>

#include "TemporaryFolder.h"

namespace {

class IniFileTest : public ::testing::Test {
protected:
    NyxString Write(const std::string& text) {
        std::string path = Folder / "site.ini";
        std::ofstream(path, std::ios::binary) << text;
        return NyxString(std::string_view(path));
    }

    // The value read for section/key, or "<absent>" when GetEntryValue says
    // it found nothing.
    std::string Lookup(const std::string& text, const char* section, const char* key) {
        IniFile ini(Write(text));
        NyxString value("stale");
        if (!ini.GetEntryValue(section, key, value, "")) {
            EXPECT_EQ(value.ToStd(), "");
            return "<absent>";
        }
        return value.ToStd();
    }

    TemporaryFolder Folder;
};

}  // namespace

TEST_F(IniFileTest, ReadsAKeyInItsSection) {
    const char* text = "[General]\nPropagatedVariables = a,b\n[QuinceConfig]\nPreload = start.qs\n";
    EXPECT_EQ(Lookup(text, "QuinceConfig", "Preload"), "start.qs");
    EXPECT_EQ(Lookup(text, "General", "PropagatedVariables"), "a,b");
}

TEST_F(IniFileTest, KeyOfAnotherSectionIsAbsent) {
    const char* text = "[General]\nPreload = wrong.qs\n[QuinceConfig]\nOther = 1\n";
    EXPECT_EQ(Lookup(text, "QuinceConfig", "Preload"), "<absent>");
    EXPECT_EQ(Lookup(text, "Missing", "Other"), "<absent>");
}

TEST_F(IniFileTest, KeysBeforeTheFirstSectionBelongToNone) {
    const char* text = "Preload = early.qs\n[QuinceConfig]\n";
    EXPECT_EQ(Lookup(text, "QuinceConfig", "Preload"), "<absent>");
    EXPECT_EQ(Lookup(text, "", "Preload"), "<absent>");
}

TEST_F(IniFileTest, SectionAndKeyNamesIgnoreCase) {
    const char* text = "[scriptinterpreters]\nPERL = /usr/bin/perl\n";
    EXPECT_EQ(Lookup(text, "ScriptInterpreters", "perl"), "/usr/bin/perl");
}

TEST_F(IniFileTest, ValuesKeepTheirCase) {
    EXPECT_EQ(Lookup("[S]\nk = MixedCase\n", "s", "K"), "MixedCase");
}

TEST_F(IniFileTest, BlanksAroundNamesAndValuesAreTrimmed) {
    const char* text = "  [ General ]  \n\t Key \t=\t value with inner  blanks \t\n";
    EXPECT_EQ(Lookup(text, "General", "Key"), "value with inner  blanks");
}

TEST_F(IniFileTest, CommentLinesAreIgnored) {
    const char* text = "[S]\n; a = commented\n   # b = commented too\nc = real\n";
    EXPECT_EQ(Lookup(text, "S", "a"), "<absent>");
    EXPECT_EQ(Lookup(text, "S", "; a"), "<absent>");
    EXPECT_EQ(Lookup(text, "S", "b"), "<absent>");
    EXPECT_EQ(Lookup(text, "S", "c"), "real");
}

TEST_F(IniFileTest, ValueKeepsEqualsAndSemicolonsAfterTheFirstEquals) {
    const char* text = "[S]\nurl = a=b;c=d ; not a comment\n";
    EXPECT_EQ(Lookup(text, "S", "url"), "a=b;c=d ; not a comment");
}

TEST_F(IniFileTest, CarriageReturnLineEndsAreTolerated) {
    const char* text = "[S]\r\nfirst = one\r\nsecond = two\r\n";
    EXPECT_EQ(Lookup(text, "S", "first"), "one");
    EXPECT_EQ(Lookup(text, "S", "second"), "two");
}

TEST_F(IniFileTest, FirstOccurrenceOfAKeyWins) {
    const char* text = "[S]\nk = first\n[T]\nk = other\n[S]\nk = second\nK = third\n";
    EXPECT_EQ(Lookup(text, "S", "k"), "first");
}

TEST_F(IniFileTest, EmptyValueIsFound) {
    EXPECT_EQ(Lookup("[S]\nk =\n", "S", "k"), "");
    IniFile ini(Write("[S]\nk =   \n"));
    NyxString value;
    EXPECT_TRUE(ini.GetEntryValue("S", "k", value, "fallback"));
    EXPECT_EQ(value.ToStd(), "");
}

TEST_F(IniFileTest, LineWithoutEqualsIsNoEntry) {
    EXPECT_EQ(Lookup("[S]\njustaword\n", "S", "justaword"), "<absent>");
}

TEST_F(IniFileTest, LastLineWithoutLineEndIsRead) {
    EXPECT_EQ(Lookup("[S]\nk = end", "S", "k"), "end");
}

TEST_F(IniFileTest, ByteOrderMarkIsSkipped) {
    EXPECT_EQ(Lookup("\xEF\xBB\xBF[S]\nk = v\n", "S", "k"), "v");
}

TEST_F(IniFileTest, MissingFileReadsAsEmpty) {
    IniFile ini{NyxString(std::string_view(Folder / "absent.ini"))};
    EXPECT_FALSE(ini.IsLoaded());
    EXPECT_EQ(ini.GetLineCount(), 0u);
    NyxString value("stale");
    EXPECT_FALSE(ini.GetEntryValue("General", "PropagatedVariables", value, ""));
    EXPECT_EQ(value.ToStd(), "");
}

TEST_F(IniFileTest, EmptyPathReadsAsEmpty) {
    IniFile ini("");
    NyxString value("stale");
    EXPECT_FALSE(ini.GetEntryValue("QuinceConfig", "Preload", value, ""));
    EXPECT_EQ(value.ToStd(), "");
}

TEST_F(IniFileTest, DefaultFillsAMissingEntry) {
    IniFile ini(Write("[S]\n"));
    NyxString value;
    EXPECT_FALSE(ini.GetEntryValue("S", "k", value, "fallback"));
    EXPECT_EQ(value.ToStd(), "fallback");
}

TEST_F(IniFileTest, DefaultMayBeTheValueItself) {
    IniFile ini(Write("[S]\n"));
    NyxString value("same");
    EXPECT_FALSE(ini.GetEntryValue("S", "k", value, value));
    EXPECT_EQ(value.ToStd(), "same");
}

// A long-running process reads its configuration once, and again only after
// the file changed: a replaced file, a rewritten one of the same size, or one
// that was removed.
TEST_F(IniFileTest, LoadKeepsTheFileUntilItChanges) {
    const NyxString path = Write("[QuinceConfig]\nMaxSteps = 100\n");
    const std::shared_ptr<const IniFile> first = IniFile::Load(path);
    EXPECT_EQ(IniFile::Load(path), first);
    NyxString value;
    first->GetEntryValue("QuinceConfig", "MaxSteps", value, "");
    EXPECT_EQ(value.ToStd(), "100");

    // Same size, another modification time.
    std::filesystem::last_write_time(path.ToStd(), std::filesystem::last_write_time(path.ToStd()) - std::chrono::hours(1));
    Write("[QuinceConfig]\nMaxSteps = 200\n");
    std::filesystem::last_write_time(path.ToStd(), std::filesystem::file_time_type::clock::now() + std::chrono::hours(1));
    const std::shared_ptr<const IniFile> second = IniFile::Load(path);
    EXPECT_NE(second, first);
    second->GetEntryValue("QuinceConfig", "MaxSteps", value, "");
    EXPECT_EQ(value.ToStd(), "200");

    // Replaced by another file (another inode) with the same text and times.
    const std::string other = Folder / "other.ini";
    std::ofstream(other, std::ios::binary) << "[QuinceConfig]\nMaxSteps = 300\n";
    std::filesystem::last_write_time(other, std::filesystem::last_write_time(path.ToStd()));
    std::filesystem::rename(other, path.ToStd());
    IniFile::Load(path)->GetEntryValue("QuinceConfig", "MaxSteps", value, "");
    EXPECT_EQ(value.ToStd(), "300");

    std::filesystem::remove(path.ToStd());
    EXPECT_FALSE(IniFile::Load(path)->GetEntryValue("QuinceConfig", "MaxSteps", value, ""));
}

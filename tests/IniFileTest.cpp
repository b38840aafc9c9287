#include "settings/IniFile.h"

#include "TestTree.h"

#include <fcntl.h>
#include <fstream>
#include <gtest/gtest.h>
#include <sstream>
#include <sys/stat.h>
#include <unistd.h>

namespace {

struct ReadCase {
    const char* what;
    std::string file;
    const char* section;
    const char* key;
    std::string expected;
};

class IniReading : public testing::TestWithParam<ReadCase> {};

TEST_P(IniReading, ReadsAsThePrivateProfileCallsDid) {
    const ReadCase& c = GetParam();
    TestTree t;
    WriteBytes(t.Path("s.ini"), c.file);
    EXPECT_EQ(IniFile(t.Path("s.ini")).GetString(c.section, c.key, "<default>"), c.expected)
        << c.what;
}

const std::string kLongValue(3000, 'v');

INSTANTIATE_TEST_SUITE_P(
    Cases, IniReading,
    testing::Values(
        ReadCase{"plain", "[options]\r\nLastFileMask=*.txt\r\n", "options", "LastFileMask",
                 "*.txt"},
        ReadCase{"names ignore case", "[Windows]\r\nWinstate=2\r\n", "windows", "winstate", "2"},
        ReadCase{"first key wins", "[o]\r\nk=1\r\nK=2\r\n", "o", "k", "1"},
        ReadCase{"first section wins", "[o]\r\nk=1\r\n[O]\r\nk=2\r\nj=3\r\n", "o", "j",
                 "<default>"},
        ReadCase{"key before any section", "k=1\r\n[o]\r\n", "o", "k", "<default>"},
        ReadCase{"empty value is not missing", "[o]\r\nk=\r\n", "o", "k", ""},
        ReadCase{"missing key", "[o]\r\nk=1\r\n", "o", "x", "<default>"},
        ReadCase{"missing section", "[o]\r\nk=1\r\n", "p", "k", "<default>"},
        ReadCase{"blanks around", "  [ o ]  \r\n  k  =  a b  \r\n", "o", "k", "a b"},
        ReadCase{"LF only", "[o]\nk=lf\n", "o", "k", "lf"},
        ReadCase{"byte-order mark", "\xEF\xBB\xBF[o]\r\nk=bom\r\n", "o", "k", "bom"},
        ReadCase{"comment with =", "[o]\r\n;k=no\r\nk=yes\r\n", "o", "k", "yes"},
        ReadCase{"= in value", "[o]\r\nk=a=b\r\n", "o", "k", "a=b"},
        ReadCase{"cut at 2047", "[o]\r\nk=" + kLongValue + "\r\n", "o", "k",
                 std::string(2047, 'v')},
        ReadCase{"cut counts characters", "[o]\r\nk=" + std::string(2046, 'v') + "\xc3\xa4\xc3\xa4",
                 "o", "k", std::string(2046, 'v') + "\xc3\xa4"},
        ReadCase{"truncated mid-line", "[o]\r\nk=1\r\nAutoRes", "o", "AutoRes", "<default>"},
        ReadCase{"no sections", "k=1\r\nj=2\r\n", "o", "k", "<default>"},
        ReadCase{"empty file", "", "o", "k", "<default>"},
        ReadCase{"binary garbage", std::string("\0\xff[o\x01]\n\0k=\xfe", 12), "o", "k",
                 "<default>"},
        ReadCase{"garbage then a good section", std::string("\0\0\xff\xff\n[o]\nk=ok\n", 14), "o",
                 "k", "ok"}));

void PrintTo(const ReadCase& c, std::ostream* os) {
    *os << c.what;
}

TEST(IniFile, AHugeLineIsReadWithoutTrouble) {
    TestTree t;
    WriteBytes(t.Path("s.ini"), "[o]\r\nbig=" + std::string(10 << 20, 'x') + "\r\nk=after\r\n");
    IniFile ini(t.Path("s.ini"));
    EXPECT_EQ(ini.GetString("o", "k", ""), "after");
    EXPECT_EQ(ini.GetString("o", "big", "").size(), 2047u);
}

TEST(IniFile, NewKeysGoToTheEndOfTheirSectionAndNewSectionsToTheEnd) {
    TestTree t;
    WriteBytes(t.Path("s.ini"), "; note\r\n\r\n[a]\r\nx=1\r\n\r\n[b]\r\ny=2\r\n");
    IniFile ini(t.Path("s.ini"));
    ini.WriteString("A", "z", "3");
    ini.WriteString("a", "X", "9");
    ini.WriteString("c", "w", "4");
    EXPECT_EQ(ReadBytes(t.Path("s.ini")),
              "; note\r\n\r\n[a]\r\nx=9\r\nz=3\r\n\r\n[b]\r\ny=2\r\n\r\n[c]\r\nw=4\r\n");
    EXPECT_EQ(ini.KeyNames("a"), (std::vector<std::string>{"x", "z"}));
    EXPECT_TRUE(ini.KeyNames("none").empty());
}

TEST(IniFile, DeleteSectionTakesItsKeysAndLeavesTheRest) {
    TestTree t;
    WriteBytes(t.Path("s.ini"), "[a]\r\nx=1\r\n\r\n[masks]\r\nm=1\r\nn=2\r\n\r\n[c]\r\nz=3\r\n");
    IniFile ini(t.Path("s.ini"));
    ini.DeleteSection("MASKS");
    EXPECT_EQ(ReadBytes(t.Path("s.ini")), "[a]\r\nx=1\r\n\r\n[c]\r\nz=3\r\n");
    ini.WriteString("masks", "mask1", "*.doc;");
    EXPECT_EQ(ReadBytes(t.Path("s.ini")),
              "[a]\r\nx=1\r\n\r\n[c]\r\nz=3\r\n\r\n[masks]\r\nmask1=*.doc;\r\n");
}

TEST(IniFile, AFailedRenameLeavesTheOldFileWholeAndNoTemporaryBehind) {
    TestTree t;
    WriteBytes(t.Path("s.ini"), "[o]\r\nk=old\r\n");
    IniFile ini(t.Path("s.ini"));
    ini.SetRenameForTesting([](const char*, const char*) {
        errno = ENOSPC;
        return -1;
    });
    ini.WriteString("o", "k", "new");
    EXPECT_FALSE(ini.LastWriteSucceeded());
    EXPECT_EQ(ReadBytes(t.Path("s.ini")), "[o]\r\nk=old\r\n");
    EXPECT_EQ(ReaddirOrder(t.Root()).size(), 1u) << "no temporary file left";
    // the program goes on with what it was told
    EXPECT_EQ(ini.GetString("o", "k", ""), "new");
}

TEST(IniFile, AnUnwritableFolderLeavesTheProgramWorkingInMemory) {
    TestTree t;
    t.File("not-a-folder");
    IniFile ini(t.Path("not-a-folder/tallymoor.ini"));
    EXPECT_FALSE(ini.Exists());
    ini.WriteString("o", "k", "v");
    EXPECT_FALSE(ini.LastWriteSucceeded());
    EXPECT_EQ(ini.GetString("o", "k", ""), "v");
}

TEST(IniFile, WritesMakeTheFolderKeepModeAndLinks) {
    TestTree t;
    IniFile fresh(t.Path("config/tallymoor/tallymoor.ini"));
    fresh.WriteString("o", "k", "v");
    EXPECT_TRUE(fresh.LastWriteSucceeded());
    EXPECT_EQ(ReadBytes(t.Path("config/tallymoor/tallymoor.ini")), "[o]\r\nk=v\r\n");

    WriteBytes(t.Path("real.ini"), "[o]\r\n");
    chmod(t.Path("real.ini").c_str(), 0600);
    t.Link("link.ini", t.Path("real.ini"));
    IniFile linked(t.Path("link.ini"));
    linked.WriteString("o", "k", "v");
    struct stat st {};
    ASSERT_EQ(lstat(t.Path("link.ini").c_str(), &st), 0);
    EXPECT_TRUE(S_ISLNK(st.st_mode));
    ASSERT_EQ(stat(t.Path("real.ini").c_str(), &st), 0);
    EXPECT_EQ(st.st_mode & 0777, 0600u);
    EXPECT_EQ(ReadBytes(t.Path("real.ini")), "[o]\r\nk=v\r\n");
}

TEST(IniFile, ChangesMadeByOthersAreSeenAndLineBreaksNeverReachTheFile) {
    TestTree t;
    WriteBytes(t.Path("s.ini"), "[o]\r\nk=1\r\n");
    IniFile ini(t.Path("s.ini"));
    EXPECT_EQ(ini.GetString("o", "k", ""), "1");
    WriteBytes(t.Path("s.ini"), "[o]\r\nk=22\r\n");
    EXPECT_EQ(ini.GetString("o", "k", ""), "22");
    ini.WriteString("o", "p", "a\r\nb\nc");
    EXPECT_EQ(ReadBytes(t.Path("s.ini")), "[o]\r\nk=22\r\np=a  b c\r\n");
}

TEST(IniFile, ABatchWritesOnce) {
    TestTree t;
    IniFile ini(t.Path("s.ini"));
    int renames = 0;
    ini.SetRenameForTesting([&](const char* from, const char* to) {
        ++renames;
        return ::rename(from, to);
    });
    {
        IniFile::Batch batch(ini);
        ini.WriteString("o", "a", "1");
        ini.WriteString("o", "b", "2");
        EXPECT_FALSE(ini.Exists());
    }
    EXPECT_EQ(renames, 1);
    EXPECT_EQ(ReadBytes(t.Path("s.ini")), "[o]\r\na=1\r\nb=2\r\n");
}

} // namespace

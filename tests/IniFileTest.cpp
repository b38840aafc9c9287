#include "settings/IniFile.h"

#include "TestTree.h"

#include <algorithm>
#include <fcntl.h>
#include <functional>
#include <gtest/gtest.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {

struct ReadCase {
    const char* what;
    std::string file;
    const char* section;
    const char* key;
    std::string expected;
};

const std::string kLongValue(3000, 'v');

TEST(IniFile, ReadsKeysAndValuesByTheFileRules) {
    // clang-format off
    const ReadCase cases[] = {
        {"plain", "[options]\r\nLastFileMask=*.txt\r\n", "options", "LastFileMask",
                 "*.txt"},
        {"names ignore case", "[Windows]\r\nWinstate=2\r\n", "windows", "winstate", "2"},
        {"first key wins", "[o]\r\nk=1\r\nK=2\r\n", "o", "k", "1"},
        {"first section wins", "[o]\r\nk=1\r\n[O]\r\nk=2\r\nj=3\r\n", "o", "j",
                 "<default>"},
        {"key before any section", "k=1\r\n[o]\r\n", "o", "k", "<default>"},
        {"empty value is not missing", "[o]\r\nk=\r\n", "o", "k", ""},
        {"missing key", "[o]\r\nk=1\r\n", "o", "x", "<default>"},
        {"missing section", "[o]\r\nk=1\r\n", "p", "k", "<default>"},
        {"blanks around", "  [ o ]  \r\n  k  =  a b  \r\n", "o", "k", "a b"},
        {"LF only", "[o]\nk=lf\n", "o", "k", "lf"},
        {"a lone CR ends a line", "[o]\rk=cr\rj=2\r", "o", "k", "cr"},
        {"lone CR, next key", "[o]\rk=cr\rj=2", "o", "j", "2"},
        {"double quotes come off", "[o]\r\nk= \"a b\" \r\n", "o", "k", "a b"},
        {"single quotes come off", "[o]\r\nk='a'\r\n", "o", "k", "a"},
        {"quotes that do not match stay", "[o]\r\nk=\"a'\r\n", "o", "k", "\"a'"},
        {"a quote alone stays", "[o]\r\nk=\"\r\n", "o", "k", "\""},
        {"inner quotes stay", "[o]\r\nk=a \"b\" c\r\n", "o", "k", "a \"b\" c"},
        {"byte-order mark", "\xEF\xBB\xBF[o]\r\nk=bom\r\n", "o", "k", "bom"},
        {"comment with =", "[o]\r\n;k=no\r\nk=yes\r\n", "o", "k", "yes"},
        {"= in value", "[o]\r\nk=a=b\r\n", "o", "k", "a=b"},
        {"cut at 2047", "[o]\r\nk=" + kLongValue + "\r\n", "o", "k",
                 std::string(2047, 'v')},
        {"cut counts characters", "[o]\r\nk=" + std::string(2046, 'v') + "\xc3\xa4\xc3\xa4",
                 "o", "k", std::string(2046, 'v') + "\xc3\xa4"},
        {"truncated mid-line", "[o]\r\nk=1\r\nAutoRes", "o", "AutoRes", "<default>"},
        {"no sections", "k=1\r\nj=2\r\n", "o", "k", "<default>"},
        {"empty file", "", "o", "k", "<default>"},
        {"binary garbage", std::string("\0\xff[o\x01]\n\0k=\xfe", 12), "o", "k",
                 "<default>"},
        {"garbage then a good section", std::string("\0\0\xff\xff\n[o]\nk=ok\n", 14), "o",
                 "k", "ok"}};
    // clang-format on
    for (const ReadCase& c : cases) {
        TestTree t;
        WriteBytes(t.Path("s.ini"), c.file);
        EXPECT_EQ(IniFile(t.Path("s.ini")).GetString(c.section, c.key, "<default>"), c.expected)
            << c.what;
    }
}

// New keys go to the end of their section, new sections to the end of the file; every other
// line stays; a value never breaks a line; changes made by another program are seen.
TEST(IniFile, WritingKeepsEveryOtherLine) {
    TestTree t;
    WriteBytes(t.Path("s.ini"),
               "; note\r\n\r\n[a]\r\nx=1\r\n\r\n[masks]\r\nm=1\r\n\r\n[b]\r\ny=2\r\n");
    IniFile ini(t.Path("s.ini"));
    ini.WriteString("A", "z", "3");
    ini.WriteString("a", "X", "9");
    ini.WriteString("c", "w", "a\r\nb");
    ini.DeleteSection("MASKS");
    EXPECT_EQ(ReadBytes(t.Path("s.ini")),
              "; note\r\n\r\n[a]\r\nx=9\r\nz=3\r\n\r\n[b]\r\ny=2\r\n\r\n[c]\r\nw=a  b\r\n");
    EXPECT_EQ(ini.KeyNames("a"), (std::vector<std::string>{"x", "z"}));
    WriteBytes(t.Path("s.ini"), "\xEF\xBB\xBF\xEF\xBB\xBF[o]\r\nk=1\r\n"); // found by fuzzing
    ini.WriteString("p", "j", "2");
    EXPECT_EQ(ReadBytes(t.Path("s.ini")),
              "\xEF\xBB\xBF\xEF\xBB\xBF[o]\r\nk=1\r\n\r\n[p]\r\nj=2\r\n")
        << "a byte-order mark is written back, so the next one stays part of the line";
    WriteBytes(t.Path("s.ini"), "[a]\r\nx=22\r\n");
    EXPECT_EQ(ini.GetString("a", "x", ""), "22");
    WriteBytes(t.Path("s.ini"), "[o]\r\nbig=" + std::string(10 << 20, 'x') + "\r\nk=after\r\n");
    EXPECT_EQ(ini.GetString("o", "k", ""), "after") << "a huge line is read without trouble";
}

TEST(IniFile, AFailedWriteLeavesTheOldFileWholeAndTheValuesInMemory) {
    TestTree t;
    WriteBytes(t.Path("s.ini"), "[o]\r\nk=old\r\n");
    IniFile ini(t.Path("s.ini"));
    std::string told;
    ini.SetProblemHandler([&](const std::string& problem) { told = problem; });
    ini.SetRenameForTesting([](const char*, const char*) {
        errno = ENOSPC;
        return -1;
    });
    ini.WriteString("o", "k", "new");
    EXPECT_FALSE(ini.LastWriteSucceeded());
    EXPECT_EQ(ReadBytes(t.Path("s.ini")), "[o]\r\nk=old\r\n");
    EXPECT_EQ(ReaddirOrder(t.Root()).size(), 1u) << "no temporary file left";
    EXPECT_EQ(ini.GetString("o", "k", ""), "new");
    EXPECT_EQ(told, "The settings file ' " + t.Path("s.ini") +
                        " ' could not be saved (No space left on device). Changed settings are "
                        "kept while the program runs and saved with the next change that can be.");
    // A batch writes once, and a new file's folders are made.
    IniFile fresh(t.Path("config/tallymoor/tallymoor.ini"));
    int renames = 0;
    fresh.SetRenameForTesting([&](const char* from, const char* to) {
        ++renames;
        return ::rename(from, to);
    });
    {
        IniFile::Batch batch(fresh);
        fresh.WriteString("o", "a", "1");
        fresh.WriteString("o", "b", "2");
    }
    EXPECT_EQ(renames, 1);
}

// What may stand where the settings file is named, and what a write does to it.
struct PlaceCase {
    const char* what;
    std::function<std::string(const TestTree&)> setUp; // returns the settings path
    const char* problem; // "" when the file is written, else what the message says of it
};

TEST(IniFile, ReplacesOnlyARegularFileItReadOrCreatesOneWhereNothingIs) {
    const auto place = [](const TestTree& t) { return t.Path("s.ini"); };
    const auto made = [](const TestTree& t, mode_t mode) {
        WriteBytes(t.Path("s.ini"), "[o]\r\n");
        chmod(t.Path("s.ini").c_str(), mode);
        return t.Path("s.ini");
    };
    // clang-format off
    const PlaceCase cases[] = {
        {"nothing there: created", place, ""},
        {"a link to an empty file: the file written, its mode kept",
         [&](const TestTree& t) {
             WriteBytes(t.Path("real.ini"), "");
             chmod(t.Path("real.ini").c_str(), 0600);
             t.Link("s.ini", "real.ini");
             return place(t);
         }, ""},
        {"a link to some other file, with none of our sections: left alone",
         [&](const TestTree& t) { WriteBytes(t.Path("rc"), "[alias]\nll='ls -l'\n"); t.Link("s.ini", "rc"); return place(t); },
         "cannot be used (it links to a file that holds no settings of this program)"},
        {"a dangling link: its target created",
         [&](const TestTree& t) { t.Link("s.ini", "real.ini"); return place(t); }, ""},
        {"a device", [](const TestTree&) { return std::string("/dev/null"); }, "cannot be used (Not a regular file)"},
        {"a FIFO (read without blocking)",
         [&](const TestTree& t) { mkfifo(t.Path("s.ini").c_str(), 0600); return place(t); },
         "cannot be used (Not a regular file)"},
        {"a folder", [&](const TestTree& t) { t.Folder("s.ini"); return place(t); }, "cannot be used (Is a directory)"},
        {"a link to a device", [&](const TestTree& t) { t.Link("s.ini", "/dev/zero"); return place(t); },
         "cannot be used (Not a regular file)"},
        {"a file that cannot be read, not wiped", [](const TestTree&) { return std::string("/proc/self/mem"); },
         "cannot be read (Input/output error)"},
        {"a file the user made read-only", [&](const TestTree& t) { return made(t, 0444); }, "is read-only"},
        {"another owner and group (as root): kept with the mode", [&](const TestTree& t) {
             EXPECT_TRUE(chown(made(t, 0640).c_str(), 1234, 5678) == 0 || getuid() != 0);
             return place(t);
         }, ""},
    };
    // clang-format on
    for (const PlaceCase& c : cases) {
        SCOPED_TRACE(c.what);
        TestTree t;
        const std::string path = c.setUp(t);
        struct stat before {};
        struct stat link {};
        stat(path.c_str(), &before);
        const bool wasLink = lstat(path.c_str(), &link) == 0 && S_ISLNK(link.st_mode);
        IniFile ini(path, {"o"});
        std::vector<std::string> told;
        ini.SetProblemHandler([&](const std::string& problem) { told.push_back(problem); });
        ini.WriteString("o", "k", "v");
        ini.WriteString("o", "j", "w");
        const bool inMemory = *c.problem != '\0';
        EXPECT_EQ(ini.InMemoryOnly(), inMemory);
        EXPECT_EQ(ini.GetString("o", "j", ""), "w") << "the program goes on with its settings";
        const std::string problem = "The settings file ' " + path + " ' " + c.problem +
                                    ". Your settings are kept while the program runs, but nothing "
                                    "is saved to that file.";
        EXPECT_EQ(told, inMemory ? std::vector<std::string>{problem} : std::vector<std::string>{})
            << "said once";
        struct stat after {};
        if (inMemory) {
            ASSERT_EQ(stat(path.c_str(), &after), 0);
            EXPECT_EQ(after.st_mode, before.st_mode) << "left as it was";
            EXPECT_EQ(after.st_ino, before.st_ino);
        } else {
            EXPECT_EQ(ReadBytes(path), "[o]\r\nk=v\r\nj=w\r\n");
            ASSERT_EQ(stat(path.c_str(), &after), 0);
            if (before.st_mode != 0) {
                EXPECT_EQ(std::tie(after.st_mode, after.st_uid, after.st_gid),
                          std::tie(before.st_mode, before.st_uid, before.st_gid))
                    << "mode, owner, group kept";
            }
        }
        EXPECT_EQ(lstat(path.c_str(), &link) == 0 && S_ISLNK(link.st_mode), wasLink)
            << "a link stays a link";
    }
}

TEST(IniFile, RunningCopiesKeepEachOthersKeysAndNoneWritesWithoutTheLock) {
    TestTree t;
    // Eight processes writing at the same time, each its own keys.
    constexpr int kCopies = 8, kKeys = 25;
    pid_t children[kCopies];
    for (int c = 0; c < kCopies; ++c) {
        children[c] = fork();
        if (children[c] == 0) {
            IniFile mine(t.Path("s.ini"));
            for (int k = 0; k < kKeys; ++k) {
                mine.WriteString("race", "p" + std::to_string(c) + "k" + std::to_string(k), "x");
            }
            _exit(mine.LastWriteSucceeded() ? 0 : 1);
        }
    }
    for (pid_t child : children) {
        int status = -1;
        waitpid(child, &status, 0);
        EXPECT_EQ(status, 0);
    }
    EXPECT_EQ(IniFile(t.Path("s.ini")).KeyNames("race").size(), size_t{kCopies * kKeys});
    // A copy that keeps the lock: nothing is written, that is told, and the next write saves all.
    const int folder = open(t.Root().c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    ASSERT_EQ(flock(folder, LOCK_EX), 0);
    IniFile late(t.Path("s.ini"));
    std::string told;
    late.SetProblemHandler([&](const std::string& problem) { told = problem; });
    late.SetLockPatience(std::chrono::milliseconds(20));
    late.WriteString("late", "a", "1");
    EXPECT_EQ(IniFile(t.Path("s.ini")).KeyNames("late").size(), 0u);
    EXPECT_EQ(told,
              "The settings file ' " + t.Path("s.ini") +
                  " ' could not be saved (another program "
                  "keeps it locked). Changed settings are kept while the program runs and saved "
                  "with the next change that can be.");
    close(folder);
    late.WriteString("late", "b", "2");
    EXPECT_EQ(IniFile(t.Path("s.ini")).KeyNames("late").size(), 2u);
    // Under the lock the file is read again, also when it looks as it did.
    WriteBytes(t.Path("o.ini"), "[o]\r\nk=1\r\n");
    t.SetTime("o.ini", 1600000000, 0);
    IniFile stale(t.Path("o.ini"));
    EXPECT_EQ(stale.GetString("o", "k", ""), "1");
    WriteBytes(t.Path("o.ini"), "[o]\r\nk=2\r\n");
    t.SetTime("o.ini", 1600000000, 0);
    stale.WriteString("o", "j", "3");
    EXPECT_EQ(ReadBytes(t.Path("o.ini")), "[o]\r\nk=2\r\nj=3\r\n");
}

TEST(IniFile, TemporariesThatAKilledWriteLeftAreRemovedAtTheNextStart) {
    TestTree t;
    WriteBytes(t.Path("tallymoor.ini"), "[o]\r\n");
    // clang-format off
    const char* names[] = {".tallymoor.ini.tallymoor-tmp.Ab12Cd", ".tallymoor.ini.tallymoor-tmp.x",
                           ".tallymoor.ini.backup", ".other.ini.tallymoor-tmp.Ab12Cd"};
    // clang-format on
    for (const char* name : names) {
        t.File(name);
    }
    IniFile(t.Path("tallymoor.ini")).WriteString("o", "k", "v");
    EXPECT_EQ(ReaddirOrder(t.Root()).size(), 4u) << "only the program's own, by their name";
    EXPECT_NE(access(t.Path(names[0]).c_str(), F_OK), 0);
}

} // namespace

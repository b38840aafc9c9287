#include "cli/Cli.h"

#include "TestTree.h"
#include "Version.h"
#include "search/FolderWalk.h"

#include <algorithm>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <gtest/gtest.h>
#include <map>
#include <optional>
#include <pty.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <termios.h>
#include <unistd.h>

namespace {

struct CliRun {
    int status = -1;
    std::string out;
    std::string err;
};

// Runs the command line with both streams captured; `out`, when given, takes standard output.
CliRun RunCli(const std::vector<std::string>& args, const CliSystem& system = {},
              WalkListener* observer = nullptr, std::FILE* out = nullptr) {
    char* data[2] = {};
    size_t size[2] = {};
    std::FILE* captured = open_memstream(&data[0], &size[0]);
    std::FILE* err = open_memstream(&data[1], &size[1]);
    CliRun run;
    run.status = RunCommandLine(args, out ? out : captured, err, observer, system);
    std::fclose(captured);
    std::fclose(err);
    run.out.assign(data[0], size[0]);
    run.err.assign(data[1], size[1]);
    std::free(data[0]);
    std::free(data[1]);
    return run;
}

TEST(Cli, SearchPrintsPathsAsBytesInOrderThenTheCounts) {
    TestTree t;
    t.File({"a.txt", "b.log", "sub/c.TXT", "we\nird\xff.txt"});
    const CliRun run = RunCli({"search", t.Root(), "*.txt"});
    EXPECT_EQ(run.status, 0);
    std::string lines;
    for (const auto& p : ReaddirOrder(t.Root())) {
        if (p.find(".txt") != std::string::npos || p.find(".TXT") != std::string::npos) {
            lines += p + "\n";
        }
    }
    EXPECT_EQ(run.out, lines);
    EXPECT_EQ(run.err.substr(0, run.err.find("Elapsed")), "Objects: 4\nMatched: 3\n");
    EXPECT_NE(run.err.find("  seconds\n"), std::string::npos);
    EXPECT_EQ(RunCli({"search", "-0", t.Root(), "*\xff.TXT"}).out,
              t.Path("we\nird\xff.txt") + std::string(1, '\0'));
}

// What the command line gives a terminal (a pseudo-terminal here): its results and its messages,
// one stream at a time, the other captured as in every other test.
std::string OnATerminal(const std::vector<std::string>& args, bool messages) {
    int master = -1;
    int slave = -1;
    termios raw{};
    cfmakeraw(&raw); // the bytes as written, no line ends turned into CR LF
    EXPECT_EQ(openpty(&master, &slave, nullptr, &raw, nullptr), 0);
    std::FILE* tty = fdopen(slave, "w");
    std::FILE* other = std::tmpfile();
    RunCommandLine(args, messages ? other : tty, messages ? tty : other);
    std::fclose(tty);
    std::fclose(other);
    std::string seen;
    char chunk[4096];
    ssize_t n = 0;
    while ((n = read(master, chunk, sizeof chunk)) > 0) { // until EIO: all of it, the slave closed
        seen.append(chunk, static_cast<size_t>(n));
    }
    close(master);
    return seen;
}

TEST(Cli, NamesReachATerminalQuotedAndAPipeAsTheyAre) {
    TestTree t;
    t.File({"a\x1b[2J.txt", "fake\nline.txt"});
    std::string quoted;
    for (const std::string& path : ReaddirOrder(t.Root())) {
        quoted += "$'" + t.Root() + (path.find('\n') != path.npos ? "fake\\nline" : "a\\033[2J") +
                  ".txt'\n";
    }
    EXPECT_EQ(OnATerminal({"search", "-q", t.Root(), "*.txt"}, false), quoted);
    EXPECT_EQ(OnATerminal({"search", "-q", "-0", t.Root(), "a*"}, false),
              t.Path("a\x1b[2J.txt") + std::string(1, '\0'))
        << "a NUL-ended list is for programs: its bytes";
    EXPECT_EQ(OnATerminal({"search", t.Path("gone\x1b[2J"), "*.txt"}, true),
              "No files matching ' *.txt ' were found in or under the root path ' " + t.Root() +
                  "gone?[2J/ '\n");
    EXPECT_EQ(RunCli({"search", "-q", t.Root(), "a*"}).out, t.Path("a\x1b[2J.txt") + "\n")
        << "into a pipe or a file, the bytes";
}

// Every command's outcome: its status, what it prints, and what it says.
TEST(Cli, ExitStatusesOutputAndMessages) {
    TestTree t;
    t.File({"top.txt", "top.doc", "sub/inner.doc"});
    WriteBytes(t.Path("top.doc"), "12345");
    WriteBytes(t.Path("sub/inner.doc"), "678");
    struct Case {
        std::vector<std::string> args;
        int status;
        std::string out; // "-": not checked
        std::string err; // the start of what goes to standard error
    };
    const std::string noFolder = "No files matching ' *.txt ' were found in or under the root "
                                 "path ' " +
                                 t.Path("top.txt") + "/ '\n";
    // clang-format off
    const Case cases[] = {
        {{"search", t.Root(), "*.txt", "--except", "--no-recurse"}, 0, t.Path("top.doc") + "\n", "Objects: 2"},
        {{"search", "--folders-only", t.Root(), "*.*"}, 0, t.Path("sub") + "\n", "Objects: 1"},
        {{"search", t.Root(), ""}, 2, "", "No File Mask has been specified; nothing to do.\n"},
        {{"search", t.Root(), "*.*;*"}, 2, "",
         "You have specified ' *.* ' more than once in the File Mask field.\n"},
        {{"search", t.Root(), "*.*;*.txt"}, 2, "",
         "Ambiguous file masks selected. The File Mask field contains both ' *.* ' and specific "
         "file types.\n"},
        {{"search", t.Path("top.txt"), "*.txt"}, 1, "", noFolder},
        {{"search", t.Path("sub"), "*.none", "--folders-only"}, 1, "",
         "No folders matching ' *.none ' were found in or under the root path ' " + t.Path("sub/") + " '\n"},
        {{"search", "--", "-no-such-root", "*"}, 1, "", "No files matching"},
        {{"search", "--threads=2", t.Root(), "*.txt", "--no-recurse", "-q"}, 0, t.Path("top.txt") + "\n", ""},
        {{"search", "/tmp"}, 2, "", "tallymoor: search needs ROOT and MASK\nTry 'tallymoor search --help' for more.\n"},
        {{"search", "/tmp", "*", "--bogus"}, 2, "", "tallymoor: unknown option '--bogus'\nTry 'tallymoor search --help' for more.\n"},
        {{"search", "/tmp", "*", "--threads"}, 2, "", "tallymoor: --threads needs a value (N)\nTry"},
        {{"search", "--quiet=yes", "/tmp", "*"}, 2, "", "tallymoor: --quiet takes no value\nTry"},
        {{"census", "-0", "/tmp", "*"}, 2, "", "tallymoor: unknown option '-0'\nTry 'tallymoor census --help'"},
        {{"search", "/tmp", "*", "--threads", "0"}, 2, "", "tallymoor: --threads takes 1 to 64, not '0'\nTry"},
        {{"search"}, 2, "", "Usage:\n  tallymoor search [OPTION...] ROOT MASK\n\nsearch walks"},
        {{"frobnicate", "x"}, 2, "", "tallymoor: unknown command 'frobnicate'\nTry 'tallymoor --help' for more.\n"},
        {{"frobnicate"}, 2, "", "tallymoor: ' frobnicate ' is neither a command (search, census, trash, copy) nor a folder\nTry"},
        {{t.Path("top.txt")}, 2, "", "tallymoor: ' " + t.Path("top.txt") + " ' is a file, not a folder\nTry"},
        {{t.Path("no/such")}, 2, "", "tallymoor: " + t.Path("no/such") + ": No such file or directory\nTry"},
        {{"--bogus"}, 2, "", "tallymoor: unknown option '--bogus'\nTry 'tallymoor --help' for more.\n"},
        {{"census", "--filter=2", t.Root(), "*.txt"}, 0, ".txt\t\t1 files\n", "Objects: 3"},
        {{"census", "--filter", "3", t.Root(), "*.*"}, 0, "", "Objects: 3"},
        {{"census", "--filter", "1", t.Root(), "*.*"}, 2, "", "tallymoor: --filter takes 0 or 2 to 10, not '1'"},
        {{"census", t.Root(), "*.*", "--report", t.Path("top.txt")}, 3, "-",
         "Objects: 3\nMatched: 3\n"},
        {{"census", "--sizes", t.Root(), "*.doc"}, 0, ".doc\t\t2 files\t8\n", "Objects: 3"},
        {{"census", t.Root(), "*.doc", "--report", t.Path("r.txt")}, 0, ".doc\t\t2 files\n", "Objects: 3"},
        {{"census", t.Root(), "*.none"}, 1, "", "No files matching ' *.none '"},
        {{"--version"}, 0, "tallymoor " TALLYMOOR_VERSION "\n", ""},
        {{"copy", t.Root(), "*.doc", t.Path("top.txt")}, 2, "",
         "tallymoor: DEST ' " + t.Path("top.txt") + " ' is not a folder\n"},
        {{"copy", t.Root(), "*.doc", "--folders-only", t.Root()}, 2, "",
         "tallymoor: unknown option '--folders-only'"},
    };
    // clang-format on
    for (const Case& c : cases) {
        const CliRun run = RunCli(c.args);
        EXPECT_EQ(run.status, c.status) << c.args[0] << " " << c.args.back();
        if (c.out != "-") {
            EXPECT_EQ(run.out, c.out) << c.args[0] << " " << c.args.back();
        }
        EXPECT_EQ(run.err.substr(0, c.err.size()), c.err) << c.args[0] << " " << c.args.back();
    }
    EXPECT_NE(ReadBytes(t.Path("r.txt"))
                  .find("#     Root Path:\t" + t.Root() + "\r\n#     File Mask:\t*.doc\r\n"),
              std::string::npos);
    // Help goes to standard output: the whole of it, or one command's.
    EXPECT_NE(RunCli({"--help"})
                  .out.find("  -0, --print0       end each path printed with a NUL "
                            "instead of a newline\n" +
                            std::string(21, ' ') + "[search, trash, copy]\n"),
              std::string::npos);
    const CliRun help = RunCli({"copy", "--help"});
    EXPECT_EQ(help.status, 0);
    EXPECT_EQ(help.out.substr(0, 51), "Usage:\n  tallymoor copy [OPTION...] ROOT MASK DEST\n");
    EXPECT_EQ(help.out.find("--folders-only"), std::string::npos);
    // Copies go flat into DEST, and are printed by their absolute path; the second time every
    // name is there already.
    TestTree dest;
    ASSERT_EQ(chdir(dest.Root().c_str()), 0);
    const CliRun copy = RunCli({"copy", t.Root(), "*.doc", ".", "-0", "-q"});
    EXPECT_EQ(copy.status, 0);
    std::string copies;
    for (const std::string& p : ReaddirOrder(t.Root())) {
        copies += EndsWith(p, ".doc") ? dest.Path(p.substr(p.rfind('/') + 1)) + '\0' : "";
    }
    EXPECT_EQ(copy.out, copies);
    ASSERT_EQ(chdir("/"), 0);
    const CliRun again = RunCli({"copy", t.Root(), "*.doc", dest.Dir()});
    EXPECT_EQ(again.status, 4);
    EXPECT_NE(again.err.find(t.Path("top.doc") + "\tduplicate file\n"), std::string::npos);
    EXPECT_NE(RunCli({"census", t.Root(), "*.*", "--report", t.Path("top.txt")})
                  .err.find("tallymoor: Cannot create " + t.Path("top.txt") + ": File exists"),
              std::string::npos)
        << "a report never replaces a file";
}

// --times prints each path with its time as find's %T@ does, by either walk.
TEST(Cli, SearchPrintsTimesOnlyWhenAskedFor) {
    TestTree t;
    t.File({"new.txt", "old.txt", "whole.txt"});
    t.SetTime("new.txt", 1700000000, 123456789);
    t.SetTime("old.txt", -2, 500000000); // find prints it so too
    t.SetTime("whole.txt", 1600000000, 0);
    const std::map<std::string, std::string> times = {
        {t.Path("new.txt"), "\t1700000000.1234567"},
        {t.Path("old.txt"), "\t-2.5000000"},
        {t.Path("whole.txt"), "\t1600000000.0000000"}};
    std::string lines;
    for (const std::string& path : ReaddirOrder(t.Root())) {
        lines += path + times.at(path) + "\n";
    }
    for (const int threads : {1, 2}) {
        const std::string n = std::to_string(threads);
        EXPECT_EQ(RunCli({"search", "--times", t.Root(), "*.txt", "--threads", n}).out, lines);
    }
}

// A folder that cannot be read is said as find says it; the rest is still searched.
TEST(Cli, UnreadableFoldersAreSaidAndHaveAStatusOfTheirOwn) {
    TestTree t;
    t.File({"a.txt", "closed/b.txt", "open/c.txt"});
    chmod(t.Root().c_str(), 0755);
    chmod(t.Path("closed").c_str(), 0);
    for (const char* threads : {"1", "2"}) {
        const pid_t child = fork(); // root reads anything: the search runs as nobody
        if (child == 0) {
            if (geteuid() == 0 && (setgid(65534) != 0 || setuid(65534) != 0)) {
                _exit(99);
            }
            const CliRun run = RunCli({"search", "-q", "--threads", threads, t.Root(), "*.txt"});
            const bool ok = run.err == "tallymoor: " + t.Path("closed") + ": Permission denied\n" &&
                            run.out.find(t.Path("open/c.txt")) != std::string::npos;
            _exit(ok ? run.status : 98);
        }
        int status = 0;
        waitpid(child, &status, 0);
        EXPECT_EQ(WEXITSTATUS(status), 6) << threads;
    }
    chmod(t.Path("closed").c_str(), 0755);
}

TEST(Cli, TrashAsksOnTheTerminalAndListsWhatDidNotGo) {
    TestTree t;
    t.File({"a.txt", "b.txt", "keep.txt", "d/c.txt", "d/e/f.txt"});
    std::vector<std::string> asked, trashed;
    std::optional<std::string> answer;
    const CliSystem system{[&](const std::string& path) {
                               trashed.push_back(path.substr(t.Root().size()));
                               return path == t.Path("keep.txt")
                                          ? FileOutcome::Failure(path, EACCES)
                                          : FileOutcome::Ok(path);
                           },
                           [&](const std::string& question) {
                               asked.push_back(question);
                               return answer;
                           },
                           [&](const std::string& url, const CancelFlag&, std::string& why) {
                               why = "Connection refused";
                               return url == "sftp://host/share" ? t.Root() : std::string();
                           }};
    // A share's URL is searched at its local path, or refused with the share's reason.
    const std::string found =
        RunCli({"search", "sftp://host/share", "*.txt", "--no-recurse"}, system).out;
    EXPECT_EQ(std::count(found.begin(), found.end(), '\n'), 3);
    EXPECT_NE(found.find(t.Path("keep.txt") + "\n"), std::string::npos);
    const CliRun refused = RunCli({"search", "smb://other/share", "*"}, system);
    EXPECT_EQ(refused.status, 1);
    EXPECT_EQ(refused.err,
              "tallymoor: ' smb://other/share ' cannot be searched: Connection refused\n");
    // No terminal: nothing goes without --yes; "n" declines.
    EXPECT_EQ(RunCli({"trash", t.Root(), "*.txt"}, system).status, 2);
    answer = "n";
    EXPECT_EQ(RunCli({"trash", t.Root(), "*.txt"}, system).status, 7);
    EXPECT_EQ(asked, (std::vector<std::string>{"Send 5 items to the trash? [y/N] ",
                                               "Send 5 items to the trash? [y/N] "}));
    EXPECT_TRUE(trashed.empty());

    CliRun run = RunCli({"trash", t.Root(), "*.txt", "--yes"}, system);
    EXPECT_EQ(run.status, 4);
    EXPECT_EQ(std::count(run.out.begin(), run.out.end(), '\n'), 4) << "the trashed paths";
    EXPECT_NE(run.err.find(t.Path("keep.txt") +
                           "\terror: file doesn't exist (it is still there: Permission denied)\n"),
              std::string::npos);

    // A folder takes its results along: "d/e" is not asked for once "d" has gone.
    trashed.clear();
    answer = "y";
    run = RunCli({"trash", t.Root(), "*", "--folders-only"}, system);
    EXPECT_EQ(run.status, 0);
    EXPECT_EQ(trashed, std::vector<std::string>{"d"});
}

TEST(Cli, TheSettingsOptionIsTakenOutWherever) {
    using Args = std::vector<std::string>;
    // clang-format off
    const std::tuple<Args, std::string, Args> cases[] = {
        {{"--settings", "/x/a.ini", "search", "/r", "*"}, "/x/a.ini", {"search", "/r", "*"}},
        {{"--settings=/y.ini"}, "/y.ini", {}}, // no arguments left: the window opens
        {{"search", "--", "--settings", "x"}, "", {"search", "--", "--settings", "x"}}};
    // clang-format on
    for (auto [args, file, left] : cases) {
        EXPECT_EQ(ExtractSettingsOption(args), file);
        EXPECT_EQ(args, left);
    }
    // A folder alone opens the window there (as a file manager's "Open With" passes it).
    // A command word is a command even where a folder of that name is here.
    TestTree t;
    t.Folder("search");
    ASSERT_EQ(chdir(t.Root().c_str()), 0);
    EXPECT_FALSE(IsCommandLineInvocation({}) || IsCommandLineInvocation({"/tmp"}) ||
                 IsCommandLineInvocation({"./search"}));
    EXPECT_TRUE(IsCommandLineInvocation({"/no/such/folder"}) &&
                IsCommandLineInvocation({"--help"}) && IsCommandLineInvocation({"search"}));
    ASSERT_EQ(chdir("/"), 0);
}

// Results that cannot be written are not "found": every command says why and exits 5.
TEST(Cli, OutputThatFailsSaysSoAndExits5) {
    TestTree t;
    for (int i = 0; i < 300; ++i) { // more than a stream's buffer holds
        t.File("f" + std::to_string(i) + ".txt");
    }
    int pipeEnds[2] = {-1, -1};
    ASSERT_EQ(pipe(pipeEnds), 0);
    close(pipeEnds[0]);
    const auto ignored = std::signal(SIGPIPE, SIG_IGN);
    // clang-format off
    const std::pair<std::FILE*, const char*> sinks[] = {
        {std::fopen("/dev/full", "w"), "No space left on device"},
        {std::fopen("/dev/null", "r"), "Bad file descriptor"},
        {fdopen(pipeEnds[1], "w"), "Broken pipe"}};
    // clang-format on
    for (const auto& [sink, reason] : sinks) {
        for (const std::vector<std::string>& args :
             {std::vector<std::string>{"search", t.Root(), "*.txt"},
              std::vector<std::string>{"census", t.Root(), "*.*"},
              std::vector<std::string>{"--help"}}) {
            const CliRun run = RunCli(args, {}, nullptr, sink);
            EXPECT_EQ(run.status, 5) << reason << ", " << args[0];
            EXPECT_EQ(run.err, std::string("tallymoor: standard output: ") + reason + "\n");
        }
        std::fclose(sink);
    }
    std::signal(SIGPIPE, ignored);
}

// Sends the process a real SIGINT from inside the walk, after a number of entries.
class InterruptAfter : public WalkListener {
public:
    explicit InterruptAfter(int entries) : left_(entries) {}
    void ObjectsCounted(int64_t) override {}
    void FolderEntered(std::string_view, int64_t, int32_t) override {}
    void Yield() override {
        if (--left_ == 0) {
            std::raise(SIGINT);
        }
    }

private:
    int left_;
};

TEST(Cli, CtrlCStopsTheWalkPrintsWhatWasFoundAndExits130) {
    TestTree t;
    for (int i = 0; i < 2000; ++i) {
        t.File("d" + std::to_string(i % 20) + "/f" + std::to_string(i) + ".txt");
    }
    InterruptAfter interrupt(300);
    const CliRun run = RunCli({"search", t.Root(), "*.txt"}, {}, &interrupt);
    EXPECT_EQ(run.status, 130);
    const auto lines = std::count(run.out.begin(), run.out.end(), '\n');
    EXPECT_GT(lines, 250);
    EXPECT_LT(lines, 400);
    // the handler is gone again: the default action is back
    struct sigaction now {};
    sigaction(SIGINT, nullptr, &now);
    EXPECT_EQ(now.sa_handler, SIG_DFL);
}

} // namespace

#include "app/Cli.h"

#include "TestTree.h"
#include "search/FolderWalk.h"

#include <algorithm>
#include <csignal>
#include <fcntl.h>
#include <functional>
#include <unistd.h>
#include <cstdio>
#include <cstdlib>
#include <gtest/gtest.h>
#include <sstream>

namespace {

struct CliRun {
    int status = -1;
    std::string out;
    std::string err;
};

CliRun RunCli(std::vector<std::string> args) {
    char* outData = nullptr;
    char* errData = nullptr;
    size_t outSize = 0, errSize = 0;
    std::FILE* out = open_memstream(&outData, &outSize);
    std::FILE* err = open_memstream(&errData, &errSize);
    CliRun run;
    run.status = RunCommandLine(args, out, err);
    std::fclose(out);
    std::fclose(err);
    run.out.assign(outData, outSize);
    run.err.assign(errData, errSize);
    std::free(outData);
    std::free(errData);
    return run;
}

TEST(Cli, SearchPrintsPathsThenClosingCounts) {
    TestTree t;
    t.File("a.txt");
    t.File("b.log");
    t.File("sub/c.TXT");
    const CliRun run = RunCli({"search", t.Root(), "*.txt"});
    EXPECT_EQ(run.status, 0);
    std::vector<std::string> expected;
    for (const auto& p : ReaddirOrder(t.Root())) {
        if (p.find(".txt") != std::string::npos || p.find(".TXT") != std::string::npos) {
            expected.push_back(p);
        }
    }
    std::string lines;
    for (const auto& p : expected) {
        lines += p + "\n";
    }
    EXPECT_EQ(run.out, lines);
    EXPECT_EQ(run.err.substr(0, run.err.find("Elapsed")), "Objects: 3\nMatched: 2\n");
    EXPECT_NE(run.err.find("Elapsed: 0."), std::string::npos);
    EXPECT_NE(run.err.find("  seconds\n"), std::string::npos);
}

TEST(Cli, Print0WritesRawBytesEndedByNul) {
    TestTree t;
    t.File("we\nird\xff.txt");
    const CliRun run = RunCli({"search", "-0", t.Root(), "*.TXT"});
    EXPECT_EQ(run.status, 0);
    EXPECT_EQ(run.out, t.Path("we\nird\xff.txt") + std::string(1, '\0'));
}

TEST(Cli, OptionsSelectFoldersExceptAndDepth) {
    TestTree t;
    t.File("top.txt");
    t.File("top.doc");
    t.File("sub/inner.doc");
    EXPECT_EQ(RunCli({"search", t.Root(), "*.txt", "--except", "--no-recurse"}).out,
              t.Path("top.doc") + "\n");
    EXPECT_EQ(RunCli({"search", "--folders-only", t.Root(), "*.*"}).out, t.Path("sub") + "\n");
}

TEST(Cli, RefusedMaskPrintsItsMessageAndExits2) {
    TestTree t;
    const std::pair<const char*, const char*> cases[] = {
        {"", "No File Mask has been specified; nothing to do.\n"},
        {"*.*;*", "You have specified ' *.* ' more than once in the File Mask field.\n"},
        {"*.*;*.txt", "Ambiguous file masks selected. The File Mask field contains both ' *.* ' "
                      "and specific file types.\n"}};
    for (const auto& [mask, message] : cases) {
        const CliRun run = RunCli({"search", t.Root(), mask});
        EXPECT_EQ(run.status, 2) << mask;
        EXPECT_EQ(run.err, message);
        EXPECT_EQ(run.out, "");
    }
}

TEST(Cli, RootThatIsNotAFolderOrFindsNothingExits1) {
    TestTree t;
    t.File("file.txt");
    const CliRun notFolder = RunCli({"search", t.Path("file.txt"), "*.txt"});
    EXPECT_EQ(notFolder.status, 1);
    EXPECT_EQ(notFolder.err, "No files matching ' *.txt ' were found in or under the root path ' " +
                                 t.Path("file.txt") + "/ '\n");
    const CliRun nothing = RunCli({"search", t.Root(), "*.none", "--folders-only"});
    EXPECT_EQ(nothing.status, 1);
    EXPECT_EQ(nothing.err.substr(0, nothing.err.find('\n') + 1),
              "No folders matching ' *.none ' were found in or under the root path ' " + t.Root() +
                  " '\n");
}

TEST(Cli, CensusPrintsTheTypesAndWritesTheReport) {
    TestTree t;
    for (const char* f : {"a.TXT", "b.txt", "c.log", "README", "d/e.txt"}) {
        t.File(f);
    }
    TestTree reports;
    const CliRun run = RunCli({"census", t.Root(), "*.*", "--report", reports.Path("r.txt")});
    EXPECT_EQ(run.status, 0);
    // first occurrence decides the order; compare as a set here, order is covered elsewhere
    std::vector<std::string> lines;
    std::stringstream out(run.out);
    for (std::string line; std::getline(out, line);) {
        lines.push_back(line);
    }
    std::sort(lines.begin(), lines.end());
    EXPECT_EQ(lines,
              (std::vector<std::string>{".\t\t1 files", ".log\t\t1 files", ".txt\t\t3 files"}));
    const std::string report = ReadBytes(reports.Path("r.txt"));
    EXPECT_NE(report.find("#     Root Path:\t" + t.Root() + "\r\n#     File Mask:\t*.*\r\n"),
              std::string::npos);
    EXPECT_NE(report.find("#     Total Files:\t5\r\n"), std::string::npos);

    const CliRun filtered = RunCli({"census", "--filter", "3", t.Root(), "*.*"});
    EXPECT_EQ(filtered.out, "");
    EXPECT_EQ(RunCli({"census", "--filter", "2", t.Root(), "*.txt"}).out, ".txt\t\t3 files\n");
    EXPECT_EQ(RunCli({"census", "--filter", "1", t.Root(), "*.*"}).status, 2);
    EXPECT_EQ(RunCli({"census", "--filter", "x", t.Root(), "*.*"}).status, 2);
    EXPECT_EQ(RunCli({"census", t.Root(), "*.*", "--report", "/dev/full"}).status, 3);
    EXPECT_EQ(RunCli({"census", t.Root(), "*.none"}).status, 1);
}

TEST(Cli, TheSettingsOptionIsTakenOutWherever) {
    std::vector<std::string> args = {"--settings", "/x/a.ini", "search", "/r", "*"};
    EXPECT_EQ(ExtractSettingsOption(args), "/x/a.ini");
    EXPECT_EQ(args, (std::vector<std::string>{"search", "/r", "*"}));
    args = {"--settings=/y.ini"};
    EXPECT_EQ(ExtractSettingsOption(args), "/y.ini");
    EXPECT_TRUE(args.empty()) << "the window opens";
    args = {"search", "--", "--settings", "x"};
    EXPECT_EQ(ExtractSettingsOption(args), "");
    EXPECT_EQ(args.size(), 4u);
}

TEST(Cli, UsageErrorsHelpAndVersion) {
    EXPECT_EQ(RunCli({"search", "/tmp"}).status, 2);
    EXPECT_EQ(RunCli({"search", "/tmp", "*", "--bogus"}).status, 2);
    EXPECT_EQ(RunCli({"frobnicate"}).status, 2);
    const CliRun help = RunCli({"--help"});
    EXPECT_EQ(help.status, 0);
    EXPECT_NE(help.out.find("tallymoor search ROOT MASK"), std::string::npos);
    const CliRun version = RunCli({"--version"});
    EXPECT_EQ(version.status, 0);
    EXPECT_EQ(version.out.rfind("tallymoor ", 0), 0u);
    // "--" lets a root begin with "-"
    EXPECT_EQ(RunCli({"search", "--", "-no-such-root", "*"}).status, 1);
}

// Results that cannot be written are not "found": every command says why and exits 5.
TEST(Cli, OutputThatFailsSaysSoAndExits5) {
    TestTree t;
    for (int i = 0; i < 300; ++i) { // more than a stream's buffer holds
        t.File("f" + std::to_string(i) + ".txt");
    }
    struct Sink {
        const char* what;
        std::function<std::FILE*()> open;
        const char* reason;
    };
    int pipeEnds[2] = {-1, -1};
    const Sink sinks[] = {
        {"a full disk", [] { return std::fopen("/dev/full", "w"); }, "No space left on device"},
        {"a closed descriptor", [] { return std::fopen("/dev/null", "r"); },
         "Bad file descriptor"},
        {"a pipe nobody reads",
         [&] {
             EXPECT_EQ(pipe(pipeEnds), 0);
             close(pipeEnds[0]);
             return fdopen(pipeEnds[1], "w");
         },
         "Broken pipe"},
    };
    const auto ignored = std::signal(SIGPIPE, SIG_IGN);
    for (const Sink& sink : sinks) {
        for (const std::vector<std::string>& args :
             {std::vector<std::string>{"search", t.Root(), "*.txt"},
              std::vector<std::string>{"census", t.Root(), "*.*"},
              std::vector<std::string>{"--help"}}) {
            SCOPED_TRACE(std::string(sink.what) + ", " + args[0]);
            std::FILE* out = sink.open();
            ASSERT_NE(out, nullptr);
            char* errData = nullptr;
            size_t errSize = 0;
            std::FILE* err = open_memstream(&errData, &errSize);
            EXPECT_EQ(RunCommandLine(args, out, err), 5);
            std::fclose(err);
            std::fclose(out);
            EXPECT_EQ(std::string(errData, errSize),
                      std::string("tallymoor: standard output: ") + sink.reason + "\n");
            std::free(errData);
        }
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
    char* outData = nullptr;
    size_t outSize = 0;
    std::FILE* out = open_memstream(&outData, &outSize);
    std::FILE* err = std::tmpfile();
    const int status = RunCommandLine({"search", t.Root(), "*.txt"}, out, err, &interrupt);
    std::fclose(out);
    std::fclose(err);
    const std::string printed(outData, outSize);
    std::free(outData);
    EXPECT_EQ(status, 130);
    const auto lines = std::count(printed.begin(), printed.end(), '\n');
    EXPECT_GT(lines, 250);
    EXPECT_LT(lines, 400);
    // the handler is gone again: the default action is back
    struct sigaction now {};
    sigaction(SIGINT, nullptr, &now);
    EXPECT_EQ(now.sa_handler, SIG_DFL);
}

} // namespace

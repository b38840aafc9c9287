#include "QtPrinters.h"
#include "TestTree.h"
#include "output/ClipboardExport.h"
#include "output/ListSaving.h"
#include "output/TextFile.h"
#include "search/FileDataArray.h"

#include <csignal>
#include <functional>
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/stat.h>

namespace {

struct Recorded {
    std::vector<QString> messages;
    int maximum = -1;
    int steps = 0;
    bool finished = false;
    WriteProgress Hooks() {
        return {[this](int m) { maximum = m; }, [this](const QString& m) { messages.push_back(m); },
                [this] { ++steps; }, [this] { finished = true; }};
    }
};

void Fill(FileDataArray& store, const std::vector<std::string>& names) {
    store.Prepare();
    store.Redim(static_cast<int32_t>(names.size()) - 1);
    for (size_t i = 0; i < names.size(); ++i) {
        store.Store(static_cast<int32_t>(i), "/r/", names[i], "", 0);
    }
}

TEST(ListSaving, SaveAllLeavesOutTheLastSlot) {
    TestTree t;
    FileDataArray store;
    Fill(store, {"a", "b", "c", "d", "e", "f"});
    Recorded progress;
    EXPECT_EQ(WriteResultsUnsorted(store, t.Path("all.txt"), progress.Hooks()), "");
    EXPECT_EQ(ReadBytes(t.Path("all.txt")), "/r/a\r\n/r/b\r\n/r/c\r\n/r/d\r\n/r/e\r\n");
    EXPECT_EQ(progress.messages, std::vector<QString>{"Writing 5 files..."});
    EXPECT_EQ(progress.maximum, 5);
    EXPECT_EQ(progress.steps, 1) << "after the line of index 1";
    EXPECT_TRUE(progress.finished);

    Fill(store, {"only"});
    EXPECT_EQ(WriteResultsUnsorted(store, t.Path("one.txt"), progress.Hooks()), "");
    EXPECT_EQ(ReaddirOrder(t.Root()).size(), 1u) << "a single slot writes no file";
}

TEST(ListSaving, AnEmptySearchWrites500EmptyLines) {
    TestTree t;
    FileDataArray store;
    store.Prepare();
    Recorded progress;
    WriteResultsUnsorted(store, t.Path("empty.txt"), progress.Hooks());
    std::string expected;
    for (int i = 0; i < 500; ++i) {
        expected += "\r\n";
    }
    EXPECT_EQ(ReadBytes(t.Path("empty.txt")), expected);
    EXPECT_EQ(progress.messages, std::vector<QString>{"Writing 500 files..."});
}

TEST(ListSaving, SortedWritesByBytes) {
    TestTree t;
    FileDataArray store;
    store.Prepare();
    store.Redim(2);
    store.Store(0, "", "a.txt", "", 0);
    store.Store(1, "", "B.TXT", "", 0);
    store.Store(2, "", "left-out", "", 0);
    Recorded progress;
    WriteResultsSorted(store, t.Path("s.txt"), progress.Hooks());
    EXPECT_EQ(ReadBytes(t.Path("s.txt")), "B.TXT\r\na.txt\r\n");
    EXPECT_EQ(progress.messages,
              (std::vector<QString>{"Sorting 2 files...", "Writing 2 files..."}));
    EXPECT_EQ(WritingMessage(1234567), "Writing 1,234,567 files...");

    EXPECT_EQ(WriteLines(t.Path("l.txt"), {"b", "\xff", "A"}, true), "");
    EXPECT_EQ(ReadBytes(t.Path("l.txt")), "A\r\nb\r\n\xff\r\n");
    EXPECT_EQ(WriteLines(t.Path("l.txt"), {"b", "A"}, false), "");
    EXPECT_EQ(ReadBytes(t.Path("l.txt")), "b\r\nA\r\n");
}

TEST(ClipboardExport, TextAndTheDotsOnTheStatusLine) {
    std::vector<std::string> items;
    for (int i = 0; i < 25; ++i) {
        items.push_back("/p/" + std::to_string(i));
    }
    std::vector<QString> statuses;
    const std::string text = ClipboardText(items, [&](const QString& s) { statuses.push_back(s); });
    EXPECT_EQ(statuses,
              (std::vector<QString>{"Creating clipboard image.", "Creating clipboard image..",
                                    "Creating clipboard image..."}));
    EXPECT_EQ(text.substr(0, 12), "/p/0\r\n/p/1\r\n");
    EXPECT_EQ(text.substr(text.size() - 7), "/p/24\r\n");

    statuses.clear();
    ClipboardText(std::vector<std::string>(215, "x"),
                  [&](const QString& s) { statuses.push_back(s); });
    ASSERT_EQ(statuses.size(), 22u);
    EXPECT_EQ(statuses[19], "Creating clipboard image" + QString(20, '.'));
    EXPECT_EQ(statuses[20], "Creating clipboard image.") << "after twenty dots, one again";
    EXPECT_EQ(ClipboardText({"one"}, [](const QString&) {}), "one\r\n");
}

} // namespace

// Every way a written file can fail, or could destroy what is not its own.
struct TextFileCase {
    const char* what;
    std::function<std::string(const TestTree&)> setUp; // returns the path to write
    TextFile::Mode mode;
    bool tooLarge;            // the write runs into the file-size limit
    std::string error;        // "" on success; "PATH" stands for the path written
    std::string afterwards;   // bytes of "t/target" (or of the path) afterwards; "-" for none
};

TEST(TextFile, WritesOnlyWhatItMayAndLeavesNothingHalfWritten) {
    using Mode = TextFile::Mode;
    const std::string lines = [] {
        std::string all;
        for (int i = 0; i < 2000; ++i) {
            all += std::string(58, 'n') + "\r\n";
        }
        return all;
    }();
    const auto old = [](const TestTree& t) {
        WriteBytes(t.Path("target"), "old");
        return t.Path("target");
    };
    const TextFileCase cases[] = {
        {"new file", [](const TestTree& t) { return t.Path("target"); }, Mode::CreateNew, false,
         "", lines},
        {"existing file, new wanted", old, Mode::CreateNew, false, "Cannot create PATH: File exists",
         "old"},
        {"dangling link, new wanted",
         [](const TestTree& t) {
             t.Link("link", "target");
             return t.Path("link");
         },
         Mode::CreateNew, false, "Cannot create PATH: File exists", "-"},
        {"existing file replaced", old, Mode::Replace, false, "", lines},
        {"link to a file: the file replaced, the link kept",
         [&](const TestTree& t) {
             old(t);
             t.Link("link", "target");
             return t.Path("link");
         },
         Mode::Replace, false, "", lines},
        {"dangling link: its target created",
         [](const TestTree& t) {
             t.Link("link", "target");
             return t.Path("link");
         },
         Mode::Replace, false, "", lines},
        {"a device is never replaced", [](const TestTree&) { return std::string("/dev/null"); },
         Mode::Replace, false, "Cannot replace PATH: Not a regular file", "-"},
        {"a folder is never replaced",
         [](const TestTree& t) {
             t.Folder("target");
             return t.Path("target");
         },
         Mode::Replace, false, "Cannot replace PATH: Is a directory", "-"},
        {"missing folder", [](const TestTree& t) { return t.Path("nowhere/target"); },
         Mode::Replace, false, "Cannot create PATH: No such file or directory", "-"},
        {"short write: the old file stays whole", old, Mode::Replace, true,
         "Cannot write PATH: File too large", "old"},
        {"short write: the new file is taken back",
         [](const TestTree& t) { return t.Path("target"); }, Mode::CreateNew, true,
         "Cannot write PATH: File too large", "-"},
    };
    for (const TextFileCase& c : cases) {
        SCOPED_TRACE(c.what);
        TestTree t;
        const std::string path = c.setUp(t);
        rlimit saved{};
        getrlimit(RLIMIT_FSIZE, &saved);
        if (c.tooLarge) {
            std::signal(SIGXFSZ, SIG_IGN);
            rlimit small = saved;
            small.rlim_cur = 4096;
            setrlimit(RLIMIT_FSIZE, &small);
        }
        TextFile file;
        if (file.Open(path, c.mode)) {
            for (int i = 0; i < 2000; ++i) {
                file.WriteLine(std::string(58, 'n'));
            }
            file.Close();
        }
        setrlimit(RLIMIT_FSIZE, &saved);
        std::string error = c.error;
        if (const size_t at = error.find("PATH"); at != std::string::npos) {
            error.replace(at, 4, path);
        }
        EXPECT_EQ(file.Error(), error);
        struct stat st {};
        if (c.afterwards == "-") {
            EXPECT_TRUE(lstat(t.Path("target").c_str(), &st) != 0 || !S_ISREG(st.st_mode));
        } else {
            EXPECT_EQ(ReadBytes(t.Path("target")), c.afterwards);
        }
        if (path == t.Path("link")) {
            EXPECT_EQ(lstat(path.c_str(), &st), 0);
            EXPECT_TRUE(S_ISLNK(st.st_mode)) << "the link stays a link";
        }
        for (const std::string& entry : ReaddirOrder(t.Root())) {
            EXPECT_EQ(entry.find("tallymoor-tmp"), std::string::npos) << entry;
        }
    }
    struct stat null {};
    EXPECT_EQ(stat("/dev/null", &null), 0);
    EXPECT_TRUE(S_ISCHR(null.st_mode));
}

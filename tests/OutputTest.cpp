#include "QtPrinters.h"
#include "TestTree.h"
#include "output/ClipboardExport.h"
#include "output/ListSaving.h"
#include "output/TextFile.h"
#include "platform/CancelFlag.h"
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

const std::string kFiveHundredEmptyLines = QString("\r\n").repeated(500).toStdString();

// Save All writes every slot but the last (kept so: a single match writes no file), after
// sorting them by their bytes when asked.
TEST(ListSaving, SaveAllWritesEverySlotButTheLast) {
    struct Case {
        std::vector<std::string> names; // empty: an empty search's 501 empty slots
        bool sorted;
        std::string file; // "-": no file at all
        std::vector<QString> messages;
    };
    // clang-format off
    const Case cases[] = {
        {{"a", "b", "c", "d", "e", "f"}, false, "/r/a\r\n/r/b\r\n/r/c\r\n/r/d\r\n/r/e\r\n",
         {"Writing 5 files..."}},
        {{"only"}, false, "-", {}},
        {{}, false, kFiveHundredEmptyLines, {"Writing 500 files..."}},
        {{"a.txt", "B.TXT", "left-out"}, true, "/r/B.TXT\r\n/r/a.txt\r\n",
         {"Sorting 2 files...", "Writing 2 files..."}},
    };
    // clang-format on
    for (const Case& c : cases) {
        TestTree t;
        FileDataArray store;
        store.Prepare();
        if (!c.names.empty()) {
            Fill(store, c.names);
        }
        Recorded progress;
        const WriteProgress hooks = progress.Hooks();
        EXPECT_EQ(c.sorted ? WriteResultsSorted(store, t.Path("out.txt"), hooks)
                           : WriteResultsUnsorted(store, t.Path("out.txt"), hooks),
                  "");
        if (c.file == "-") {
            EXPECT_TRUE(ReaddirOrder(t.Root()).empty());
        } else {
            EXPECT_EQ(ReadBytes(t.Path("out.txt")), c.file);
        }
        EXPECT_EQ(progress.messages, c.messages);
        EXPECT_EQ(progress.finished, c.file != "-");
    }
    EXPECT_EQ(WritingMessage(1234567), "Writing 1,234,567 files...");
    TestTree t;
    EXPECT_EQ(WriteLines(t.Path("l.txt"), {"b", "\xff", "A"}, true), "");
    EXPECT_EQ(ReadBytes(t.Path("l.txt")), "A\r\nb\r\n\xff\r\n");
    EXPECT_EQ(WriteLines(t.Path("l.txt"), {"b", "A"}, false), "");
    EXPECT_EQ(ReadBytes(t.Path("l.txt")), "b\r\nA\r\n");
    // Told to stop (its thread was left behind), a write reads no more and leaves nothing.
    FileDataArray store;
    Fill(store, {"a", "b", "c"});
    Recorded progress;
    WriteProgress hooks = progress.Hooks();
    CancelFlag stop;
    stop.Raise();
    hooks.stop = &stop;
    EXPECT_EQ(WriteResultsUnsorted(store, t.Path("s.txt"), hooks),
              "Cannot write " + t.Path("s.txt") + ": Operation canceled");
    EXPECT_EQ(ReaddirOrder(t.Root()), std::vector<std::string>{t.Path("l.txt")});
}

TEST(ClipboardExport, TextAndTheDotsOnTheStatusLine) {
    std::vector<QString> statuses;
    const std::string text = ClipboardText(std::vector<std::string>(215, "/p"),
                                           [&](const QString& s) { statuses.push_back(s); });
    EXPECT_EQ(text.substr(0, 8), "/p\r\n/p\r\n");
    EXPECT_EQ(text.size(), 215u * 4);
    ASSERT_EQ(statuses.size(), 22u); // one more dot for every ten items
    EXPECT_EQ(statuses[0], "Creating clipboard image.");
    EXPECT_EQ(statuses[19], "Creating clipboard image" + QString(20, '.'));
    EXPECT_EQ(statuses[20], "Creating clipboard image.") << "after twenty dots, one again";
}

// Every way a written file can fail, or could destroy what is not its own.
struct TextFileCase {
    const char* what;
    std::function<std::string(const TestTree&)> setUp; // returns the path to write
    TextFile::Mode mode;
    bool tooLarge;          // the write runs into the file-size limit
    std::string error;      // "" on success; "PATH" stands for the path written
    std::string afterwards; // bytes of "t/target" (or of the path) afterwards; "-" for none
    bool taken = false;     // "t/target" appears while the file is written
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
    const auto target = [](const TestTree& t) { return t.Path("target"); };
    const auto old = [](const TestTree& t) {
        WriteBytes(t.Path("target"), "old");
        return t.Path("target");
    };
    const auto link = [](const TestTree& t) {
        t.Link("link", "target");
        return t.Path("link");
    };
    // clang-format off
    const TextFileCase cases[] = {
        {"new file", target, Mode::CreateNew, false, "", lines},
        {"existing file, new wanted", old, Mode::CreateNew, false, "Cannot create PATH: File exists", "old"},
        {"dangling link, new wanted", link, Mode::CreateNew, false, "Cannot create PATH: File exists", "-"},
        {"existing file replaced", old, Mode::Replace, false, "", lines},
        {"link to a file: the file replaced, the link kept",
         [&](const TestTree& t) { old(t); return link(t); }, Mode::Replace, false, "", lines},
        {"dangling link: its target created", link, Mode::Replace, false, "", lines},
        {"a device is never replaced", [](const TestTree&) { return std::string("/dev/null"); },
         Mode::Replace, false, "Cannot replace PATH: Not a regular file", "-"},
        {"a folder is never replaced", [&](const TestTree& t) { t.Folder("target"); return target(t); },
         Mode::Replace, false, "Cannot replace PATH: Is a directory", "-"},
        {"missing folder", [](const TestTree& t) { return t.Path("nowhere/target"); },
         Mode::Replace, false, "Cannot create PATH: No such file or directory", "-"},
        {"short write: the old file stays whole", old, Mode::Replace, true,
         "Cannot write PATH: File too large", "old"},
        {"short write: the new file is taken back", target, Mode::CreateNew, true,
         "Cannot write PATH: File too large", "-"},
        {"a name taken meanwhile is left to its owner", target, Mode::CreateNew, false,
         "Cannot write PATH: File exists", "theirs", true},
    };
    // clang-format on
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
            if (c.taken) {
                WriteBytes(t.Path("target"), "theirs");
            }
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
    EXPECT_TRUE(stat("/dev/null", &null) == 0 && S_ISCHR(null.st_mode));
}
} // namespace

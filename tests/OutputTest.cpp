#include "QtPrinters.h"
#include "TestTree.h"
#include "output/ClipboardExport.h"
#include "output/ListSaving.h"
#include "search/FileDataArray.h"

#include <gtest/gtest.h>

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
    EXPECT_EQ(WriteLines("/dev/full", {"x"}, false),
              "Cannot write /dev/full: No space left on device");
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

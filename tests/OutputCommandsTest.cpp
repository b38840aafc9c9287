#include "WindowFixture.h"
#include "app/ResultListModel.h"
#include "output/ClipboardExport.h"

#include <QAction>
#include <QClipboard>
#include <QGuiApplication>
#include <QListView>

namespace {

class OutputCommandsTest : public WindowFixture {
protected:
    QListView* List() const { return Find<QListView>("List1"); }
    void SelectRows(std::initializer_list<int> rows) {
        for (int row : rows) {
            List()->selectionModel()->select(List()->model()->index(row, 0),
                                             QItemSelectionModel::Select);
        }
    }
    // A row's path as bytes, through the record it leads to.
    std::string Row(int row) const {
        const int item =
            List()->model()->index(row, 0).data(ResultListModel::ItemIndexRole).toInt();
        return std::string(window->Session().Store()[item].FullPath());
    }
};

TEST_F(OutputCommandsTest, SaveAllWritesTheStoreButItsLastRecord) {
    for (int i = 0; i < 6; ++i) {
        tree.File("f" + std::to_string(i) + ".txt");
    }
    Search(tree.Root(), "*.txt");
    TestTree out;
    prompts.saves.push_back({out.Path("all.txt"), true});
    window->findChild<QAction*>("mnuFile_8")->trigger();
    ASSERT_EQ(prompts.saveRequests.size(), 1u);
    const SaveRequest& r = prompts.saveRequests[0];
    EXPECT_EQ(r.title, "Save Report As");
    EXPECT_EQ(r.name, "");
    EXPECT_FALSE(r.entireListEnabled);
    EXPECT_TRUE(r.entireListChecked);
    std::string expected;
    for (int i = 0; i < 5; ++i) {
        expected += Row(i) + "\r\n";
    }
    EXPECT_EQ(ReadBytes(out.Path("all.txt")), expected);
    EXPECT_EQ(profile->ProfileGetString("paths", "LastOutputSaveDirectory", ""), out.Root());

    // a cancel still writes the remembered folder back
    profile->Settings().LastOutputSaveDirectory = "/kept/";
    window->SaveAllResults();
    EXPECT_EQ(profile->ProfileGetString("paths", "LastOutputSaveDirectory", ""), "/kept/");
    EXPECT_FALSE(window->IsBusy());
}

TEST_F(OutputCommandsTest, SaveWritesTheWholeListOrItsSelection) {
    for (const char* f : {"a.txt", "b.txt", "c.txt", "d.txt", "\xff.txt"}) {
        tree.File(f);
    }
    Search(tree.Root(), "*.txt");
    SelectRows({3, 0, 2});
    TestTree out;
    prompts.saves.push_back({out.Path("whole.txt"), true});
    prompts.saves.push_back({out.Path("some.txt"), false});
    window->SaveResultList();
    window->SaveResultList();
    ASSERT_EQ(prompts.saveRequests.size(), 2u);
    EXPECT_TRUE(prompts.saveRequests[0].entireListEnabled);
    EXPECT_TRUE(prompts.saveRequests[0].entireListChecked);
    std::string whole;
    for (const auto& path : ReaddirOrder(tree.Root())) {
        whole += path + "\r\n";
    }
    EXPECT_EQ(ReadBytes(out.Path("whole.txt")), whole) << "paths as their bytes";
    EXPECT_EQ(ReadBytes(out.Path("some.txt")), Row(0) + "\r\n" + Row(2) + "\r\n" + Row(3) + "\r\n");

    profile->Settings().QSSortResultsOnSave = true;
    prompts.saves.push_back({out.Path("sorted.txt"), false});
    window->SaveResultList();
    std::vector<std::string> rows = {Row(0), Row(2), Row(3)};
    std::sort(rows.begin(), rows.end());
    EXPECT_EQ(ReadBytes(out.Path("sorted.txt")),
              rows[0] + "\r\n" + rows[1] + "\r\n" + rows[2] + "\r\n");

    prompts.saves.push_back({"/dev/full", true});
    window->SaveResultList();
    ASSERT_EQ(prompts.asked.size(), 1u);
    EXPECT_EQ(prompts.asked[0].text, "Cannot replace /dev/full: Not a regular file");
    EXPECT_EQ(prompts.asked[0].icon, MessageIcon::Critical);
}

TEST_F(OutputCommandsTest, ClipboardTakesAtMost1000Items) {
    for (int i = 0; i < 1001; ++i) {
        tree.File("f" + std::to_string(i));
    }
    Search(tree.Root(), "*.*");
    QClipboard* clipboard = QGuiApplication::clipboard();
    clipboard->setText("before");
    window->CopySelectionToClipboard();
    EXPECT_EQ(clipboard->text(), "before") << "nothing selected: the clipboard keeps its text";
    EXPECT_EQ(window->StatusText(0), " Ready! (Selected items copied to clipboard.)");

    window->SelectAll();
    window->SetStatus(0, "Ready!");
    window->CopySelectionToClipboard();
    ASSERT_EQ(prompts.asked.size(), 1u);
    EXPECT_EQ(prompts.asked[0].text,
              "Over 1000 items have been selected, which can seriously degrade system "
              "performance. Please select less than 1000 items or save to file.");
    EXPECT_EQ(prompts.asked[0].icon, MessageIcon::Critical);
    EXPECT_EQ(clipboard->text(), "before");
    EXPECT_EQ(window->StatusText(0), " Ready!");

    List()->selectionModel()->select(List()->model()->index(500, 0), QItemSelectionModel::Deselect);
    window->CopySelectionToClipboard();
    const QString copied = clipboard->text();
    EXPECT_EQ(copied.count("\r\n"), 1000);
    EXPECT_TRUE(copied.startsWith(QString::fromStdString(Row(0)) + "\r\n"));
    EXPECT_FALSE(copied.contains(QString::fromStdString(Row(500)) + "\r\n"));
    EXPECT_TRUE(copied.contains(QString::fromStdString(Row(501)) + "\r\n"));
    EXPECT_EQ(window->StatusText(0), " Ready! (Selected items copied to clipboard.)");

    window->SelectNone();
    SelectRows({7});
    window->CopySelectionToClipboard();
    EXPECT_EQ(clipboard->text(), QString::fromStdString(Row(7)) + "\r\n");
}

} // namespace

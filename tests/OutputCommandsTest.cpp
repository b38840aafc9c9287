#include "WindowFixture.h"
#include "app/ResultListModel.h"

#include <QAction>
#include <QClipboard>
#include <QGuiApplication>

namespace {

class OutputCommandsTest : public WindowFixture {
protected:
    // A row's path as bytes, through the record it leads to.
    std::string Row(int row) const {
        const QAbstractItemModel* model = Find<QTreeView>("List1")->model();
        const int item = model->index(row, 0).data(ResultListModel::ItemIndexRole).toInt();
        return std::string(window->Session().Store()[item].FullPath());
    }
    std::string Lines(std::initializer_list<int> rows) const {
        std::string lines;
        for (const int row : rows) {
            lines += Row(row) + "\r\n";
        }
        return lines;
    }
};

// Save All: the store but its last record, the box shown checked and fixed; Save: the whole list
// or its selection, sorted when asked; the folder chosen is remembered, also after a cancel.
TEST_F(OutputCommandsTest, SaveAllAndSave) {
    tree.File({"a.txt", "b.txt", "c.txt", "d.txt", "e.txt", "\xff.txt"});
    Search(tree.Root(), "*.txt");
    TestTree out;
    SelectRows({3, 0, 2});
    prompts.saves = {{out.Path("all.txt"), true},
                     {},
                     {out.Path("whole.txt"), true},
                     {out.Path("some.txt"), false},
                     {"/dev/full", true}};
    window->findChild<QAction*>("mnuFile_8")->trigger();
    profile->Settings().LastOutputSaveDirectory = "/kept/";
    window->Selection().SaveAllResults();
    EXPECT_EQ(profile->ProfileGetString("paths", "LastOutputSaveDirectory", ""), "/kept/");
    window->Selection().SaveResultList();
    window->Selection().SaveResultList();
    prompts.answers.push_back(MessageAnswer::Ok);
    window->Selection().SaveResultList();

    const SaveRequest& all = prompts.saveRequests.at(0);
    EXPECT_EQ(std::tie(all.title, all.name),
              std::make_tuple(QString("Save Report As"), std::string()));
    EXPECT_FALSE(all.entireListEnabled);
    EXPECT_TRUE(all.entireListChecked);
    EXPECT_TRUE(prompts.saveRequests.at(2).entireListEnabled);
    EXPECT_EQ(prompts.saveRequests.at(2).folder, "/kept/");
    EXPECT_EQ(ReadBytes(out.Path("all.txt")), Lines({0, 1, 2, 3, 4}));
    std::string whole;
    for (const auto& path : ReaddirOrder(tree.Root())) {
        whole += path + "\r\n";
    }
    EXPECT_EQ(ReadBytes(out.Path("whole.txt")), whole) << "paths as their bytes";
    EXPECT_EQ(ReadBytes(out.Path("some.txt")), Lines({0, 2, 3}));
    EXPECT_EQ(prompts.Texts(), QStringList{"Cannot replace /dev/full: Not a regular file"});
    EXPECT_EQ(prompts.asked[0].icon, MessageIcon::Critical);
    EXPECT_FALSE(window->IsBusy());
}

TEST_F(OutputCommandsTest, ClipboardTakesAtMost1000Items) {
    for (int i = 0; i < 1001; ++i) {
        tree.File("f" + std::to_string(i));
    }
    Search(tree.Root(), "*.*");
    QClipboard* clipboard = QGuiApplication::clipboard();
    clipboard->setText("before");
    const QString copied = " Ready! (Selected items copied to clipboard.)";
    window->Selection().CopySelectionToClipboard();
    EXPECT_EQ(clipboard->text(), "before") << "nothing selected: the clipboard keeps its text";
    EXPECT_EQ(Status(StatusPart::Message), copied) << "and the status says so all the same";
    window->Results().SelectAll();
    window->Status().Set(StatusPart::Message, "Ready!");
    prompts.answers.push_back(MessageAnswer::Ok);
    window->Selection().CopySelectionToClipboard();
    EXPECT_EQ(prompts.Texts(), QStringList{"Over 1000 items have been selected, which can "
                                           "seriously degrade system performance. Please select "
                                           "less than 1000 items or save to file."});
    EXPECT_EQ(prompts.asked[0].icon, MessageIcon::Critical);
    EXPECT_EQ(clipboard->text(), "before");
    EXPECT_EQ(Status(StatusPart::Message), " Ready!");
    auto* list = Find<QTreeView>("List1");
    list->selectionModel()->select(list->model()->index(500, 0),
                                   QItemSelectionModel::Deselect | QItemSelectionModel::Rows);
    window->Selection().CopySelectionToClipboard();
    const QString text = clipboard->text();
    EXPECT_EQ(text.count("\r\n"), 1000) << "exactly 1000 are copied";
    EXPECT_TRUE(text.startsWith(QString::fromStdString(Row(0)) + "\r\n"));
    EXPECT_FALSE(text.contains(QString::fromStdString(Row(500)) + "\r\n"));
    EXPECT_EQ(Status(StatusPart::Message), copied);
}

} // namespace

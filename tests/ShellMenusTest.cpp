#include "WindowFixture.h"

#include <QAction>
#include <QCheckBox>
#include <QDialog>
#include <QListWidget>
#include <QMimeData>
#include <QRadioButton>
#include <QTabBar>

namespace {

using ShellMenusTest = WindowFixture;

TEST_F(ShellMenusTest, TheVerbsWaitForResultsThenActOnTheSelection) {
    for (const char* name : {"mnuFile_0", "mnuFile_3", "mnuFile_7"}) {
        EXPECT_FALSE(window->findChild<QAction*>(name)->isEnabled()) << name;
    }
    // Entries the menus keep but do not show.
    for (const char* name : {"mnuListSendTo_0", "mnuListSendTo_1", "mnuListPop_16"}) {
        EXPECT_FALSE(window->findChild<QAction*>(name)->isVisible()) << name;
    }
    tree.File({"a.txt", "b.txt"});
    Search(tree.Root(), "*.txt");
    EXPECT_TRUE(window->findChild<QAction*>("mnuFile_3")->isEnabled());
    SelectRows({1});
    const std::string second = ReaddirOrder(tree.Root())[1];
    prompts.answers = {MessageAnswer::Yes};
    window->findChild<QAction*>("mnuFile_3")->trigger();
    EXPECT_EQ(prompts.Texts(), QStringList{"Confirm opening of " + QString::fromStdString(second)});
    window->findChild<QAction*>("mnuFile_14")->trigger();
    EXPECT_EQ(desktop.calls, (std::vector<std::string>{"open " + second, "properties " + second}));
    EXPECT_EQ(window->Menus().PopupForShownList(), window->Menus().ListPopup());
    Action("Tallymoor on the Web")->trigger();
    Action("Support by E-mail...")->trigger();
    EXPECT_EQ(std::vector<std::string>(desktop.calls.begin() + 2, desktop.calls.end()),
              (std::vector<std::string>{"url https://tallymoor.example/",
                                        "url mailto:support@tallymoor.example"}));
}

TEST_F(ShellMenusTest, DoubleClickFollowsTheSettings) {
    tree.File({"a.txt", "b.txt"});
    Search(tree.Root(), "*.txt");
    SelectRows({0});
    AppSettings& s = profile->Settings();
    s.ConfirmOnOpen = false;
    const std::string first = ReaddirOrder(tree.Root())[0];
    struct Case {
        int action;
        bool shift;
        std::vector<std::string> launched;
        const char* selected;
    };
    // clang-format off
    const Case cases[] = {{0, false, {"open " + first}, "Selected: 1"},
                          {1, true, {"properties " + first}, "Selected: 1"},
                          {7, false, {}, "Selected: 1"}, // other values do nothing
                          {2, false, {}, "Selected: 2"}};
    // clang-format on
    for (const Case& c : cases) {
        (c.shift ? s.DblClickShiftAction : s.DblClickAction) = c.action;
        desktop.calls.clear();
        window->Selection().DoubleClicked(c.shift);
        EXPECT_EQ(desktop.calls, c.launched) << c.action;
        EXPECT_EQ(Text("lblSelCount"), c.selected) << c.action;
    }
}

TEST_F(ShellMenusTest, TheFolderPopupExploresAndSetsTheStartPath) {
    const std::string photos = tree.Path("photos \xff"); // a name that is not UTF-8
    tree.File("photos \xff/p.jpg");
    Find<QCheckBox>("chkOpts_1")->click();
    Search(tree.Root(), "*.*");
    EXPECT_EQ(window->Menus().PopupForShownList(), window->Menus().FolderPopup());
    SelectRows({0});
    profile->Settings().ConfirmOnOpen = false;
    window->findChild<QAction*>("mnuFolderPopup_8")->trigger();
    EXPECT_EQ(desktop.calls, std::vector<std::string>{"open " + photos})
        << "with OpenFoldersWithExplore off, Explore opens";
    profile->Settings().OpenFoldersWithExplore = true;
    window->findChild<QAction*>("mnuFolderPopup_8")->trigger();
    EXPECT_EQ(desktop.calls.back(), "explore " + photos);

    window->findChild<QAction*>("mnuFolderPopup_0")->trigger();
    EXPECT_EQ(Find<QLineEdit>("txtStartPath")->text(),
              QString::fromStdString(tree.Path("photos \uFFFD")));
    EXPECT_FALSE(Find<QCheckBox>("chkOpts_1")->isChecked());
    EXPECT_TRUE(Find<QLineEdit>("txtObjMask")->isEnabled());
    // Dragged out, the folder is named by its bytes.
    const QAbstractItemModel* model = Find<QTreeView>("List1")->model();
    std::unique_ptr<QMimeData> drag(model->mimeData({model->index(0, 0), model->index(0, 1)}));
    EXPECT_EQ(drag->data("text/uri-list").toStdString(),
              "file://" +
                  QByteArray::fromStdString(tree.Root()).toPercentEncoding("/").toStdString() +
                  "photos%20%FF\r\n");
    // The field shows text, but the search gets the folder's bytes.
    Find<QPushButton>("cmdSearch")->click();
    EXPECT_EQ(window->Session().Store()[0].FullPath(), photos + "/p.jpg");
}

// "Filter" makes the view of the current item's type; the multiple-types dialog, unchecked,
// makes the File Mask instead.
TEST_F(ShellMenusTest, FiltersMakeViewsOrAMask) {
    tree.File({"a.htm", "b.html", "c.txt", ".bashrc", "README"});
    Search(tree.Root(), "*.*");
    auto* list = Find<QTreeView>("List1");
    // The type of the row as the census offers it; "." for a name without one.
    for (const auto& [file, caption] :
         {std::pair{"a.htm", "*.htm (1)"}, {".bashrc", "*.bashrc (1)"}, {"README", "*. (1)"}}) {
        Find<QTabBar>("tsResults")->setCurrentIndex(0);
        list->setCurrentIndex(list->model()->index(
            static_cast<int>(Rows("List1").indexOf(QString::fromStdString(tree.Path(file)))), 0));
        window->findChild<QAction*>("mnuListPop_5")->trigger();
        EXPECT_EQ(window->Results().Views()[window->Results().Views().Count() - 1].caption, caption)
            << "no .html in .htm";
    }
    prompts.modals.push_back([](QDialog* d) { // a compound mask's view: the mask alone
        for (const char* type : {".htm", ".txt"}) {
            d->findChild<QListWidget*>("lstExtensions")
                ->findItems(type, Qt::MatchExactly)
                .at(0)
                ->setSelected(true);
        }
        return static_cast<int>(QDialog::Accepted);
    });
    window->findChild<QAction*>("mnuMasks_3")->trigger();
    EXPECT_EQ(window->Results().Views()[window->Results().Views().Count() - 1].caption,
              "*.htm  *.txt  ");
    prompts.modals.push_back([](QDialog* d) {
        auto* types = d->findChild<QListWidget*>("lstExtensions");
        types->findItems(".txt", Qt::MatchExactly).at(0)->setSelected(true);
        d->findChild<QCheckBox*>("Check1")->setChecked(false);
        return static_cast<int>(QDialog::Accepted);
    });
    Find<QRadioButton>("optListTypes_1")->click();
    window->findChild<QAction*>("mnuMasks_3")->trigger();
    EXPECT_EQ(Find<QLineEdit>("txtObjMask")->text(), "*.txt; ");
    EXPECT_TRUE(Find<QRadioButton>("optListTypes_0")->isChecked());
    EXPECT_EQ(window->Results().Views().Count(), 5) << "no view when unchecked";
}

} // namespace

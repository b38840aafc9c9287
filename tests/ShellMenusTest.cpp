#include "WindowFixture.h"

#include <QAction>
#include <QCheckBox>
#include <QLabel>
#include <QListView>
#include <QMenu>
#include <QMenuBar>

namespace {

class ShellMenusTest : public WindowFixture {
protected:
    static QStringList Captions(const QMenu* menu, bool withHidden = true) {
        QStringList captions;
        for (const QAction* a : menu->actions()) {
            if (!withHidden && !a->isVisible()) {
                continue;
            }
            QString caption = a->isSeparator() ? QStringLiteral("-") : a->text();
            if (!a->isVisible()) {
                caption += " (hidden)";
            }
            captions << caption;
        }
        return captions;
    }
    QMenu* TopMenu(const QString& title) const {
        for (QAction* a : window->menuBar()->actions()) {
            if (a->text() == title) {
                return a->menu();
            }
        }
        return nullptr;
    }
    void SelectRow(int row) {
        auto* list = Find<QListView>("List1");
        list->selectionModel()->select(list->model()->index(row, 0), QItemSelectionModel::Select);
    }
};

TEST_F(ShellMenusTest, MenusCarryTheirCaptions) {
    EXPECT_EQ(Captions(TopMenu("&File")),
              (QStringList{"&New", "C&lose Views", "-", "&Open with Associated App",
                           "O&pen with Notepad", "Open &with...", "-", "&Save...", "Save &All...",
                           "-", "P&roperties", "-", "E&xit"}));
    EXPECT_EQ(Captions(window->ListPopup()),
              (QStringList{"Send To", "-", "Open with Associated App", "Open with Notepad",
                           "Open With...", "-", "Select All", "Select None", "Invert Selection",
                           "- (hidden)", "Properties"}));
    EXPECT_EQ(Captions(window->findChild<QAction*>("mnuListPop_4")->menu()),
              (QStringList{"New Tab (hidden)", "- (hidden)", "File...", "Clipboard as Name"}));
    EXPECT_EQ(Captions(window->FolderPopup()),
              (QStringList{"Set as New Start Path", "-", "-", "Send To", "Explore", "-",
                           "Select All", "Select None", "Invert Selection", "-", "Properties"}));
    EXPECT_EQ(Captions(window->findChild<QAction*>("mnuFolderPopup_7")->menu()),
              (QStringList{"File...", "Clipboard as Name"}));
    // before any search the verbs, New and Save wait for results
    EXPECT_FALSE(window->findChild<QAction*>("mnuFile_0")->isEnabled());
    EXPECT_FALSE(window->findChild<QAction*>("mnuFile_3")->isEnabled());
    EXPECT_FALSE(window->findChild<QAction*>("mnuFile_7")->isEnabled());
}

TEST_F(ShellMenusTest, TheFileMenuOpensTheSelectedFiles) {
    tree.File("a.txt");
    tree.File("b.txt");
    Search(tree.Root(), "*.txt");
    EXPECT_TRUE(window->findChild<QAction*>("mnuFile_3")->isEnabled());
    SelectRow(1);
    const std::string second = ReaddirOrder(tree.Root())[1];
    prompts.answers = {MessageAnswer::Yes};
    window->findChild<QAction*>("mnuFile_3")->trigger();
    EXPECT_EQ(prompts.Texts(), QStringList{"Confirm opening of " + QString::fromStdString(second)});
    window->findChild<QAction*>("mnuFile_14")->trigger();
    EXPECT_EQ(desktop.calls, (std::vector<std::string>{"open " + second, "properties " + second}));
    EXPECT_EQ(window->PopupForShownList(), window->ListPopup());
}

TEST_F(ShellMenusTest, DoubleClickFollowsTheSettings) {
    tree.File("a.txt");
    tree.File("b.txt");
    Search(tree.Root(), "*.txt");
    SelectRow(0);
    AppSettings& s = profile->Settings();
    s.ConfirmOnOpen = false;
    s.DblClickAction = 0;
    s.DblClickShiftAction = 1;
    window->DoubleClicked(false);
    window->DoubleClicked(true);
    const std::string first = ReaddirOrder(tree.Root())[0];
    EXPECT_EQ(desktop.calls, (std::vector<std::string>{"open " + first, "properties " + first}));
    s.DblClickAction = 2;
    window->DoubleClicked(false);
    EXPECT_EQ(Find<QLabel>("lblSelCount")->text(), "Selected: 2");
    s.DblClickAction = 7;
    window->DoubleClicked(false);
    EXPECT_EQ(desktop.calls.size(), 2u) << "other values do nothing";
}

TEST_F(ShellMenusTest, TheFolderPopupExploresAndSetsTheStartPath) {
    const std::string photos = tree.Path("photos \xff"); // a name that is not UTF-8
    tree.File("photos \xff/p.jpg");
    Find<QCheckBox>("chkOpts_1")->click();
    Search(tree.Root(), "*.*");
    EXPECT_EQ(window->PopupForShownList(), window->FolderPopup());
    SelectRow(0);
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
    // The field shows text, but the search gets the folder's bytes.
    Find<QPushButton>("cmdSearch")->click();
    EXPECT_EQ(window->Session().Store()[0].FullPath(), photos + "/p.jpg");
}

TEST_F(ShellMenusTest, HelpOpensTheProjectPageAndTheSupportAddress) {
    QMenu* help = TopMenu("&Help");
    help->actions()[0]->trigger();
    help->actions()[1]->trigger();
    EXPECT_EQ(desktop.calls, (std::vector<std::string>{"url https://tallymoor.example/",
                                                       "url mailto:support@tallymoor.example"}));
}

} // namespace

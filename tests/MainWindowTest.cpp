#include "WindowFixture.h"
#include "analysis/dlgDosLen.h"
#include "analysis/dlgRegFiles.h"
#include "analysis/dlgViewMasks.h"
#include "app/MainStartup.h"
#include "app/ResultListModel.h"
#include "app/dlgAbout.h"
#include "fileops/FileCommands.h"
#include "fileops/FolderPickerDialog.h"
#include "fileops/dlgCopyErr.h"
#include "fileops/dlgOpenWith.h"
#include "fileops/dlgProgress.h"
#include "search/SearchStatus.h"
#include "settings/dlgPreferences.h"

#include <QAbstractButton>
#include <QAccessible>
#include <QCheckBox>
#include <QCoreApplication>
#include <QDialogButtonBox>
#include <QHeaderView>
#include <QListWidget>
#include <QLocale>
#include <QMenuBar>
#include <QRadioButton>
#include <QStatusBar>
#include <QTabBar>
#include <QTabWidget>
#include <QTest>
#include <QToolButton>
#include <QWindow>
#include <fcntl.h>
#include <filesystem>
#include <future>
#include <map>
#include <sstream>
#include <sys/stat.h>

namespace {

class MainWindowTest : public WindowFixture {
protected:
    // When the walk is about to open `folder`, it waits until `act` has run on the window's
    // thread: the user doing something while the search runs.
    void WhenTheWalkEnters(const char* folder, std::function<void()> act) {
        auto acted = std::make_shared<std::promise<void>>();
        std::shared_future<void> done = acted->get_future().share();
        window->Session().SetOpenFolderForTesting(
            [this, folder, act, acted, done](int dirFd, const char* name, int flags) {
                if (std::string_view(name) == folder) {
                    QMetaObject::invokeMethod(
                        window.get(),
                        [act, acted] {
                            act();
                            acted->set_value();
                        },
                        Qt::QueuedConnection);
                    done.wait();
                }
                return openat(dirFd, name, flags);
            });
    }
    QStringList Paths(const std::function<bool(const std::string&)>& pick) const {
        QStringList rows;
        for (const auto& p : ReaddirOrder(tree.Root())) {
            if (pick(p)) {
                rows << QString::fromStdString(p);
            }
        }
        return rows;
    }
};

TEST_F(MainWindowTest, ASearchShowsItsResultsCountsCaptionAndTag) {
    tree.File({"a.txt", "b.log", "sub/c.TXT", "sub/d.doc"});
    struct Case {
        const char* what;
        const char* mask;
        bool except, folders;
        QString caption, label;
        std::function<bool(const std::string&)> rows;
    };
    // clang-format off
    const Case cases[] = {
        {"matching", "*.txt", false, false, "All Results (*.txt) (2)", "*.txt files ",
         [](const std::string& p) { return EndsWith(p, ".txt"); }},
        {"except", "*.txt;*.log", true, false, "All Results except (*.txt;*.log) (1)",
         "! *.txt *.log files ", [](const std::string& p) { return EndsWith(p, ".doc"); }},
        {"folders only", "*.txt", false, true, "All Results (folders only) (1)", "Folders (1)",
         [&](const std::string& p) { return p == tree.Path("sub/"); }},
    };
    // clang-format on
    for (const Case& c : cases) {
        SCOPED_TRACE(c.what);
        Find<QRadioButton>(c.except ? "optListTypes_1" : "optListTypes_0")->click();
        if (Find<QCheckBox>("chkOpts_1")->isChecked() != c.folders) {
            Find<QCheckBox>("chkOpts_1")->click();
            EXPECT_EQ(Status(StatusPart::Mode), c.folders ? " Folder Search" : "");
            EXPECT_EQ(Find<QLineEdit>("txtObjMask")->isEnabled(), !c.folders);
        }
        Search(tree.Root(), c.mask);
        EXPECT_EQ(Find<QTabBar>("tsResults")->tabText(0), c.caption);
        EXPECT_EQ(Text("lblResultType"), c.label);
        QStringList expected = Paths(c.rows);
        if (c.folders) {
            expected.replaceInStrings(QRegularExpression("/$"), "");
        }
        EXPECT_EQ(Rows("List1"), expected);
        const QAbstractItemModel* model = Find<QTreeView>("List1")->model();
        EXPECT_EQ(model->index(0, 3).data().toString().isEmpty(), c.folders)
            << "a folder has no time";
        EXPECT_EQ(model->index(0, 4).data().toString().isEmpty(), c.folders)
            << "nor a size (an empty file's is 0 bytes)";
        EXPECT_EQ(model
                      ->index(static_cast<int>(
                                  expected.indexOf(QString::fromStdString(tree.Path("sub/c.TXT")))),
                              2)
                      .data()
                      .toString(),
                  c.rows(tree.Path("sub/c.TXT")) ? ".txt" : "")
            << "the census's type";
        EXPECT_EQ(Find<QPushButton>("cmdSearch")->text(), "&Begin Search");
        EXPECT_FALSE(window->IsBusy());
    }
    Find<QCheckBox>("chkOpts_1")->click();
    Find<QRadioButton>("optListTypes_0")->click();
    Search(tree.Root(), "*.txt");
    EXPECT_EQ(QStringList({Status(StatusPart::Message), Status(StatusPart::Objects),
                           Status(StatusPart::Matched), Status(StatusPart::Mode)}),
              QStringList({" Ready!", " Objects: 4", " Matched: 2", " Done"}));
    EXPECT_TRUE(Status(StatusPart::Elapsed).startsWith(" Elapsed: 0."));
    EXPECT_EQ(profile->ProfileGetString("options", "LastFileMask", ""), "*.txt");
    // At the default size (11970 x 9270 twips), beside a search's counts, every message reads
    // whole.
    window->resize(798, 618);
    window->Status().Set(StatusPart::Objects, ObjectsText(300000));
    window->Status().Set(StatusPart::Matched, MatchedText(300000));
    const auto* part = Find<QLabel>("StatusPart0");
    for (const QString& text :
         {RescanAdviceText(Rescan::AdviseChanged), RescanAdviceText(Rescan::AdviseTooLarge),
          ChangedListText(), QString(" Loading 299,999 items to the list...")}) {
        window->Status().Set(StatusPart::Message, text);
        QCoreApplication::processEvents();
        EXPECT_GE(part->contentsRect().width(), part->fontMetrics().horizontalAdvance(" " + text))
            << text.toStdString();
    }
}

TEST_F(MainWindowTest, RefusedMasksAndSearchesThatFindNothing) {
    tree.File("a.txt");
    Search(tree.Root(), "*.txt");
    const QStringList before = Rows("List1");
    for (const QString mask : {"", "*.*;*", "*.*;*.log"}) {
        prompts.answers.push_back(MessageAnswer::Ok);
        Search(tree.Root(), mask);
        EXPECT_EQ(Rows("List1"), before) << "a refused mask changes nothing";
    }
    prompts.answers.push_back(MessageAnswer::Ok);
    Search(tree.Root(), "*.none");
    Find<QCheckBox>("chkOpts_1")->click();
    prompts.answers.push_back(MessageAnswer::Ok);
    Search(tree.Path("a.txt"), "*.*");
    const QString root = QString::fromStdString(tree.Root());
    EXPECT_EQ(prompts.Texts(),
              (QStringList{"No File Mask has been specified; nothing to do.",
                           "You have specified ' *.* ' more than once in the File Mask field.",
                           "Ambiguous file masks selected. The File Mask field contains both ' *.* "
                           "' and specific file types.",
                           "No files matching ' *.none ' were found in or under the root path ' " +
                               root + " '",
                           "No folders matching ' *.* ' were found in or under the root path ' " +
                               root + "a.txt/ '"}));
    EXPECT_EQ(prompts.asked[0].icon, MessageIcon::Warning);
    EXPECT_EQ(prompts.asked[3].icon, MessageIcon::Information);
    // The old results went with the store: the window shows what File > New gives.
    EXPECT_EQ(Find<QTabBar>("tsResults")->tabText(0), "No results");
    EXPECT_EQ(Text("lblResultType"), "");
    EXPECT_TRUE(Action("New")->isEnabled()) << "an empty search's store is there to clear";
    EXPECT_EQ(Status(StatusPart::Message), " Ready!");
}

// The mask edited while the walk runs is not the one searched; the walk's counts stay.
TEST_F(MainWindowTest, NothingFoundQuotesTheMaskSearchedAndKeepsTheWalksCounts) {
    tree.File({"a.txt", "sub/b.txt"});
    WhenTheWalkEnters("sub", [this] { Find<QLineEdit>("txtObjMask")->setText("*.txt"); });
    prompts.answers.push_back(MessageAnswer::Ok);
    Search(tree.Root(), "*.none");
    EXPECT_EQ(prompts.Texts(),
              QStringList{"No files matching ' *.none ' were found in or under the root path ' " +
                          QString::fromStdString(tree.Root()) + " '"});
    EXPECT_EQ(Status(StatusPart::Objects) + Status(StatusPart::Matched), " Objects: 2 Matched: 0");
}

// Whatever the settings file says, the window opens whole on the screen (the offscreen screen,
// 800 x 600, is what 1600 x 1200 is at scale 2), and what is written back is on it too.
TEST_F(MainWindowTest, TheWindowOpensWholeOnItsScreen) {
    const QRect screen = window->screen()->availableGeometry();
    // clang-format off
    const std::vector<std::pair<const char*, std::string>> cases = {
        {"a scale-1 session's default", "120 360 11970 9270"},
        {"above the top, as the rules centre a tall window", "120 -885 11970 9270"},
        {"on no screen", "99999 99999 6000 4000"},
        {"smaller than the window can be", "1500 1500 3000 2000"}};
    // clang-format on
    for (const auto& [what, stored] : cases) {
        std::istringstream values(stored);
        for (const char* key : {"Left", "Top", "Width", "Height"}) {
            std::string value;
            values >> value;
            profile->ProfileSetWindowsKey(key, value);
        }
        PlaceMainWindow(*window, *profile);
        const QRect frame(window->pos(), window->size());
        EXPECT_TRUE(screen.contains(frame)) << what;
        EXPECT_GE(std::stoi(profile->ProfileGetString("windows", "Top", "")), 0) << what;
    }
}

// Suppress updates says so at once, and during a search takes the folder counts off the status
// line, leaving "Searching...".
TEST_F(MainWindowTest, SuppressUpdatesTakesEffectAtOnce) {
    tree.File({"a.txt", "sub/b.txt"});
    auto* suppress = Find<QCheckBox>("chkOpts_2");
    suppress->click();
    EXPECT_EQ(Status(StatusPart::Mode), " Update suppressed");
    suppress->click();
    EXPECT_EQ(Status(StatusPart::Mode), "");
    QStringList during;
    WhenTheWalkEnters("sub", [&] {
        window->Status().Set(StatusPart::Matched, "Matched: 1");
        suppress->click();
        during << Status(StatusPart::Message) << Status(StatusPart::Matched)
               << Status(StatusPart::Mode);
    });
    Search(tree.Root(), "*.txt");
    EXPECT_EQ(during, (QStringList{" Searching...", "", " Update suppressed"}));
    EXPECT_FALSE(window->Session().Options().ShowFolderProgress);
}

// A share's URL as the Start Path is searched where the share is mounted; one that cannot be
// had is refused with the share's reason, and the results stay.
TEST_F(MainWindowTest, AShareGivenByItsUrlIsSearchedWhereItIsMounted) {
    tree.File("a.txt");
    desktop.mounts["sftp://host/share"] = tree.Root();
    Search("sftp://host/share", "*.txt");
    const QStringList found{QString::fromStdString(tree.Path("a.txt"))};
    EXPECT_EQ(Rows("List1"), found);
    prompts.answers.push_back(MessageAnswer::Ok);
    Search("smb://server/gone", "*.txt");
    EXPECT_EQ(prompts.Texts(),
              QStringList{"' smb://server/gone ' cannot be searched: Operation not supported"});
    EXPECT_EQ(Rows("List1"), found);
    EXPECT_EQ(Status(StatusPart::Message), " Ready!");
    EXPECT_EQ(Find<QPushButton>("cmdSearch")->text(), "&Begin Search");
}

// Over the list limit (lowered here from 32 701 to 2) the list explains, and the explanation
// is no result: it cannot be selected, saved, copied or opened.
TEST_F(MainWindowTest, OverTheListLimitTheExplanationIsNoResult) {
    window->Session().SetListLimitForTesting(2);
    tree.File({"a", "b"});
    Search(tree.Root(), "*.*");
    EXPECT_EQ(Rows("List1").size(), 2) << "the limit itself is listed";
    tree.File("c");
    prompts.modals.push_back([](QDialog*) { return 2; }); // the census opens by itself
    Search(tree.Root(), "*.*");
    EXPECT_EQ(Rows("List1"), (QStringList{"File results exceed 32 thousand files.",
                                          "Create filtered views from the File Type dialog."}));
    EXPECT_TRUE(Find<QTreeView>("List1")->isFirstColumnSpanned(1, {})) << "across the columns";
    EXPECT_EQ(Find<QTabBar>("tsResults")->tabText(0), "All Results (*.*) (3)");
    // Views made from the census leave the explanation where it is.
    window->Types().CreateTypeViews({{3, "."}});
    window->Results().ShowTab(0);
    EXPECT_EQ(Rows("List1").size(), 2);
    window->Results().SelectAll();
    EXPECT_EQ(Text("lblSelCount"), "Selected: 0");
    SelectRows({0, 1});
    EXPECT_EQ(Text("lblSelCount"), "Selected: 0");
    prompts.saves.push_back({tree.Path("list.txt"), true});
    window->Selection().SaveResultList();
    EXPECT_EQ(ReadBytes(tree.Path("list.txt")), "");
    window->Selection().OpenSelected();
    EXPECT_TRUE(desktop.calls.empty());
}

TEST_F(MainWindowTest, CancelAndCloseDuringTheWalkKeepWhatWasFound) {
    for (int i = 0; i < 3000; ++i) {
        tree.File("d" + std::to_string(i % 30) + "/f" + std::to_string(i) + ".txt");
    }
    // The Cancel button, then closing the window, each while the store fills; the walk is not
    // left behind, however long it takes to stop.
    window->Search().SetCancelGraceForTesting(24 * 3600 * 1000);
    for (const bool closing : {false, true}) {
        int yields = 0;
        // On the walk's thread; what it does to the window runs on the window's, while the walk
        // waits.
        window->Search().SetWalkObserver([&] {
            if (++yields != 500) {
                return;
            }
            // A promise rather than a blocking call: the wait is then one a thread checker sees.
            const auto done = std::make_shared<std::promise<void>>();
            QMetaObject::invokeMethod(
                window.get(),
                [this, closing, done] {
                    EXPECT_EQ(Find<QPushButton>("cmdSearch")->text(), "Cancel");
                    EXPECT_FALSE(Action("Select All")->isEnabled());
                    closing ? void(window->close()) : Find<QPushButton>("cmdSearch")->click();
                    EXPECT_TRUE(window->isVisible()) << "closing during a search only cancels it";
                    done->set_value();
                },
                Qt::QueuedConnection);
            done->get_future().wait();
        });
        Search(tree.Root(), "*.txt");
        EXPECT_EQ(Status(StatusPart::Mode), " Cancelled");
        EXPECT_GT(Rows("List1").size(), 400);
        EXPECT_LT(Rows("List1").size(), 3000);
        EXPECT_FALSE(window->IsBusy() || cancel.IsRaised());
    }
    window->Search().SetWalkObserver({});
    window->close();
    EXPECT_FALSE(window->isVisible());
    EXPECT_EQ(profile->ProfileGetString("windows", "Winstate", ""), "0");
    EXPECT_TRUE(window->Status().Closed()) << "the status line is gone";
}

// A folder on a share that stops answering: Cancel leaves the walk behind at once with what it
// found, and says which folder did not answer; the walk stores nothing when the share answers.
TEST_F(MainWindowTest, CancelLeavesBehindAWalkThatAShareKeepsWaiting) {
    tree.File({"a.txt", "stuck/b.txt", "z/c.txt"});
    std::promise<void> answer;
    std::shared_future<void> answered = answer.get_future().share();
    window->Session().SetOpenFolderForTesting(
        [&, answered](int dirFd, const char* name, int flags) {
            if (std::string_view(name) == "stuck") {
                // The share stops answering; meanwhile the user presses Cancel.
                QMetaObject::invokeMethod(
                    window.get(), [&] { Find<QPushButton>("cmdSearch")->click(); },
                    Qt::QueuedConnection);
                answered.wait();
            }
            return openat(dirFd, name, flags);
        });
    QStringList before;
    for (const std::string& path : ReaddirOrder(tree.Root())) {
        if (path == tree.Path("stuck/")) {
            break;
        }
        if (EndsWith(path, ".txt")) {
            before << QString::fromStdString(path);
        }
    }
    window->Search().SetCancelGraceForTesting(0); // it never stops by itself here
    prompts.answers.assign(before.isEmpty() ? 2 : 1, MessageAnswer::Ok);
    Search(tree.Root(), "*.txt");
    // Said once what was found is shown (after the word that nothing was, when nothing was).
    QStringList said{"The search was cancelled while ' " +
                     QString::fromStdString(tree.Path("stuck/")) +
                     " ' did not answer. What was found before it is shown."};
    if (before.isEmpty()) {
        said.prepend(NoMatchesMessage(false, "*.txt", QString::fromStdString(tree.Root())));
    } else {
        EXPECT_EQ(Status(StatusPart::Mode), " Cancelled");
    }
    EXPECT_EQ(prompts.Texts(), said);
    EXPECT_EQ(Rows("List1"), before);
    EXPECT_FALSE(window->IsBusy());
    answer.set_value();
}

// Captions and removals are the views' own; here the tabs, the lists and the progress box.
TEST_F(MainWindowTest, TypeViewsTheirTabsAndWhatRemovalNewAndCloseDo) {
    tree.File({"a.txt", "b.log", "c.txt", "README"});
    Search(tree.Root(), "*.*");
    window->Types().CreateTypeViews({{2, ".txt"}, {1, ".log"}, {2, ".txt"}});
    auto* tabs = Find<QTabBar>("tsResults");
    EXPECT_EQ(tabs->count(), 3);
    EXPECT_EQ(tabs->currentIndex(), 2) << "the last new view is shown";
    EXPECT_EQ(Text("lblResultType"), ".log files:");
    auto* progress = Find<dlgProgress>("dlgProgress");
    EXPECT_EQ(progress->Message(), "Processing... .txt");
    EXPECT_FALSE(progress->isVisible());
    EXPECT_EQ(progress->parentWidget(), window.get()) << "the window's own, transient for it";
    tabs->setCurrentIndex(1);
    EXPECT_TRUE(Find<QTreeView>("List2")->isVisible());
    window->Results().SelectAll();
    window->Results().RemoveFromViews(tree.Path("a.txt"), window->Request().Mask());
    EXPECT_EQ(Rows("List2"), QStringList{QString::fromStdString(tree.Path("c.txt"))});
    EXPECT_EQ(tabs->tabText(0), "All Results (*.*) (3)");
    EXPECT_EQ(tabs->tabText(1), "*.txt (1)");
    EXPECT_EQ(Text("lblSelCount"), "Selected: 1");
    window->Results().CloseViews();
    EXPECT_EQ(tabs->count(), 1);
    EXPECT_EQ(Rows("List1").size(), 3) << "the first view stays";
    window->NewResults();
    EXPECT_EQ(tabs->tabText(0), "No results");
    EXPECT_TRUE(Rows("List1").isEmpty());
    EXPECT_EQ(window->Session().Store().UBound(), -1);
    EXPECT_FALSE(Action("New")->isEnabled()) << "nothing left to clear";
}

// The focus stays in the lists through a new view, a rescan and the keys that change tabs.
TEST_F(MainWindowTest, TheFocusStaysOnTheListAndKeysChangeTabs) {
    tree.File({"a.txt", "b.log", "c.txt"});
    Search(tree.Root(), "*.*");
    auto* list1 = Find<QTreeView>("List1");
    auto* list2 = Find<QTreeView>("List2");
    list1->setFocus();
    window->Types().CreateTypeViews({{2, ".txt"}, {1, ".log"}});
    EXPECT_EQ(window->focusWidget(), list2) << "the new view's list";
    auto* tabs = Find<QTabBar>("tsResults");
    // clang-format off
    const std::tuple<int, Qt::KeyboardModifiers, int> keys[] = {
        {Qt::Key_Tab, Qt::ControlModifier, 0},  // round the end
        {Qt::Key_PageDown, Qt::ControlModifier, 1},
        {Qt::Key_Backtab, Qt::ControlModifier | Qt::ShiftModifier, 0},
        {Qt::Key_PageUp, Qt::ControlModifier, 2},
        {Qt::Key_PageUp, Qt::ControlModifier | Qt::KeypadModifier, 1}};
    // clang-format on
    for (const auto& [key, modifiers, tab] : keys) {
        QTest::keyClick(window->focusWidget(), static_cast<Qt::Key>(key), modifiers);
        EXPECT_EQ(tabs->currentIndex(), tab) << key;
        EXPECT_EQ(window->focusWidget(), tab == 0 ? list1 : list2) << key;
    }
    tabs->setCurrentIndex(0);
    // A rescan, as after a command, returns to the current row's file; when it is gone, to
    // the row where it was.
    const auto current = [&] {
        return list1->currentIndex().data(ResultListModel::FullPathRole).toString();
    };
    list1->setCurrentIndex(list1->model()->index(1, 0));
    const QString second = current();
    tree.File("0.txt"); // a new file: the rows may shift
    Find<QPushButton>("cmdSearch")->click();
    EXPECT_EQ(window->focusWidget(), list1);
    EXPECT_EQ(current(), second);
    EXPECT_EQ(Text("lblSelCount"), "Selected: 0");
    const int row = list1->currentIndex().row();
    std::filesystem::remove(second.toStdString());
    Find<QPushButton>("cmdSearch")->click();
    EXPECT_EQ(list1->currentIndex().row(), row);
}

TEST_F(MainWindowTest, SelectionCommandsAndTheSelectedCount) {
    for (int i = 0; i < 300; ++i) {
        tree.File("f" + std::to_string(i) + ".txt");
    }
    Search(tree.Root(), "*.txt");
    window->Results().SelectAll();
    EXPECT_EQ(Text("lblSelCount"), "Selected: 300");
    window->Results().SelectNone();
    auto* list = Find<QTreeView>("List1");
    list->scrollTo(list->model()->index(150, 0), QAbstractItemView::PositionAtTop);
    const int top = list->indexAt(QPoint(1, 1)).row();
    SelectRows({299});
    profile->Settings().RetainTopIndex = true;
    window->Results().InvertSelection();
    EXPECT_EQ(Text("lblSelCount"), "Selected: 299");
    EXPECT_EQ(list->indexAt(QPoint(1, 1)).row(), top) << "the top row kept in view";
    Search(tree.Root(), "*.txt");
    EXPECT_EQ(Text("lblSelCount"), "Selected: 0");
}

TEST_F(MainWindowTest, MasksMenuFavouritesAndStarDotStar) {
    auto* mask = Find<QLineEdit>("txtObjMask");
    mask->setText("*.doc;");
    Action("Append Selection to Existing Mask")->trigger();
    window->findChild<QAction*>("mnuMaskFavs_4")->trigger();
    EXPECT_EQ(mask->text(), "*.doc;*.log;");
    Find<QRadioButton>("optListTypes_1")->click();
    Find<QCheckBox>("chkOpts_1")->click();
    Action("*.*")->trigger();
    EXPECT_EQ(mask->text(), "*.*");
    EXPECT_TRUE(Find<QRadioButton>("optListTypes_0")->isChecked());
    EXPECT_FALSE(Find<QCheckBox>("chkOpts_1")->isChecked());
    tree.File("a.md");
    Search(tree.Root(), "*.md");
    // The editor starts from what the menu shows: a favourite from a search stays after an edit.
    prompts.modals.push_back([](QDialog* d) {
        d->findChild<QListWidget*>("lstMasks")->setCurrentRow(0);
        d->findChild<QPushButton*>("cmdMasks_0")->click(); // "*.doc;" deleted
        d->findChild<QPushButton*>("cmdOK")->click();
        return 1;
    });
    Action("Edit Favorite Masks List...")->trigger();
    EXPECT_TRUE(window->findChild<QAction*>("mnuMaskFavs_5") &&
                window->findChild<QAction*>("mnuMaskFavs_5")->text() == "*.md");
    window->close();
    EXPECT_EQ(profile->ProfileGetString("masks", "mask6", ""), "*.md") << "kept, saved on exit";
    EXPECT_EQ(profile->ProfileGetString("masks", "mask1", ""), "*.mdb;");
}

TEST_F(MainWindowTest, TheStartPathFromTheSelectMenuUpAndTheKeyboard) {
    tree.Folder("picked");
    profile->Settings().AutoSDSOnNewSelection = true;
    prompts.folders = {tree.Path("picked")};
    Action("Local Path")->trigger();
    EXPECT_EQ(prompts.folderRequests.at(0).caption, "Select Local Folder");
    auto* root = Find<QLineEdit>("txtStartPath");
    EXPECT_EQ(root->text(), QString::fromStdString(tree.Path("picked")));
    EXPECT_EQ(Find<QLineEdit>("txtObjMask")->text(), "*.*");
    EXPECT_EQ(profile->ProfileGetString("paths", "LastCfmBrowseID", ""), "6");
    root->setText("/home/ann/docs");
    Find<QToolButton>("cmdPathBack")->click();
    EXPECT_EQ(root->text(), "/home/ann/");
    EXPECT_EQ(profile->Settings().LastSourceFolder, "/home/ann/");
    // Enter in either field searches.
    tree.File("picked/x.txt");
    root->setText(QString::fromStdString(tree.Path("picked")));
    Find<QLineEdit>("txtObjMask")->setText("*.txt");
    Key(root, Qt::Key_Return);
    EXPECT_EQ(Rows("List1"), QStringList{QString::fromStdString(tree.Path("picked/x.txt"))});
    tree.File("picked/y.txt");
    Key(Find<QCheckBox>("chkOpts_0"), Qt::Key_Return); // on an option box too
    EXPECT_EQ(Rows("List1").size(), 2);
}

// The disk changing under the list is told, or searched again where commands rescan; a change
// elsewhere is not; a tree beyond the watch limit is not watched, and the status line's tool
// tip says why.
TEST_F(MainWindowTest, TheListKnowsWhenTheDiskChangedUnderIt) {
    tree.File({"a.txt", "sub/b.txt"});
    TestTree outside;
    Search(tree.Root(), "*.txt");
    window->Monitor().WaitForWatchesForTesting();
    EXPECT_TRUE(window->Monitor().Watching());
    outside.File("c.txt");
    window->Monitor().ReadChanges();
    EXPECT_EQ(Status(StatusPart::Message), " Ready!");
    tree.File("sub/new.txt");
    window->Monitor().ReadChanges();
    EXPECT_EQ(Status(StatusPart::Message),
              " Ready! (Drive contents changed - rescan recommended.)");
    EXPECT_EQ(Rows("List1").size(), 2);
    profile->Settings().AutoRescanAfterAction = true;
    tree.File("newer.txt");
    window->Monitor().ReadChanges();
    EXPECT_EQ(Rows("List1").size(), 4) << "searched again";
    window->Monitor().WaitForWatchesForTesting();
    // A list longer than automatic rescans may take is not searched again, and says why; a
    // file edited in place counts as a change.
    profile->Settings().AutoRescanUseMaximum = true;
    profile->Settings().AutoRescanMaximum = 3;
    WriteBytes(tree.Path("a.txt"), "edited");
    window->Monitor().ReadChanges();
    EXPECT_EQ(Status(StatusPart::Message), " Ready! (Rescan size exceeded - rescan recommended.)");
    EXPECT_EQ(Rows("List1").size(), 4);
    window->Monitor().SetWatchLimitForTesting(1);
    Search(tree.Root(), "*.txt");
    window->Monitor().WaitForWatchesForTesting();
    EXPECT_FALSE(window->Monitor().Watching());
    EXPECT_TRUE(window->statusBar()->toolTip().startsWith("Changes on the disk are not watched"));
    window->NewResults();
    EXPECT_EQ(window->statusBar()->toolTip(), "") << "no list, nothing to explain";
}

// The report view (a new settings file's default): columns sorted by a click on their header,
// and what a command acts on is the row seen.
TEST_F(MainWindowTest, TheReportSortsByEachColumnAndCommandsFollow) {
    tree.File({"z/a.txt", "a/c.log", "m/b.txt"});
    WriteBytes(tree.Path("z/a.txt"), std::string(1500, 'z'));
    WriteBytes(tree.Path("m/b.txt"), std::string(20, 'm'));
    tree.SetTime("z/a.txt", 1000, 0);
    tree.SetTime("a/c.log", 3000, 0);
    tree.SetTime("m/b.txt", 2000, 0);
    Search(tree.Root(), "*.*");
    auto* list = Find<QTreeView>("List1");
    EXPECT_FALSE(list->header()->isHidden());
    const auto order = [&](std::initializer_list<const char*> names) {
        QStringList rows;
        for (const char* name : names) {
            rows << QString::fromStdString(tree.Path(name));
        }
        return rows;
    };
    // clang-format off
    const std::pair<int, QStringList> clicks[] = {
        {0, order({"z/a.txt", "m/b.txt", "a/c.log"})},  // Name
        {0, order({"a/c.log", "m/b.txt", "z/a.txt"})},  // Name again: descending
        {0, order({"z/a.txt", "m/b.txt", "a/c.log"})},  // and back
        {1, order({"a/c.log", "m/b.txt", "z/a.txt"})},  // Folder
        {2, order({"a/c.log"})},                        // Type: .log first (the rest as found)
        {4, order({"a/c.log", "m/b.txt", "z/a.txt"})},  // Size
        {3, order({"z/a.txt", "m/b.txt", "a/c.log"})}}; // Modified
    // clang-format on
    SelectRows({1});
    const QString selected = Rows("List1")[1];
    for (const auto& [column, rows] : clicks) {
        QTest::mouseClick(list->header()->viewport(), Qt::LeftButton, {},
                          {list->header()->sectionViewportPosition(column) + 4, 5});
        EXPECT_EQ(Rows("List1").mid(0, rows.size()), rows) << column;
        const QModelIndexList rowsSelected = list->selectionModel()->selectedRows();
        ASSERT_EQ(rowsSelected.size(), 1) << "a sort keeps the selection";
        EXPECT_EQ(Rows("List1")[rowsSelected[0].row()], selected);
    }
    // The size as the desktop shows it, exact in the tool tip.
    const QModelIndex size = list->model()->index(0, ResultListModel::Size); // z/a.txt
    EXPECT_TRUE(size.data().toString().contains(QRegularExpression("^1[.,]5 kB$")))
        << size.data().toString().toStdString();
    EXPECT_EQ(size.data(Qt::ToolTipRole), QLocale::system().toString(1500) + " bytes");
    list->selectionModel()->clearSelection();
    SelectRows({0});
    window->Selection().ShowSelectedProperties();
    EXPECT_EQ(desktop.calls, std::vector<std::string>{"properties " + tree.Path("z/a.txt")});
    window->Results().RemoveFromViews(tree.Path("m/b.txt"), window->Request().Mask());
    EXPECT_EQ(Rows("List1"), order({"z/a.txt", "a/c.log"}));
    prompts.modals.push_back([](QDialog* d) {
        d->findChild<QRadioButton*>("optView_0")->click();
        return 0;
    });
    window->ShowPreferences(PreferencesTab::View);
    EXPECT_GE(list->header()->sectionSize(0), list->viewport()->width()) << "a list's one column";
}

// A settings file that cannot be used is told once, and the window works on.
TEST(MainWindowSettings, ASettingsFileThatCannotBeUsedIsToldOnce) {
    TestTree t;
    ASSERT_EQ(mkfifo(t.Path("s.ini").c_str(), 0600), 0);
    modPProfile profile(t.Path("s.ini"), "/home/ann");
    profile.Start();
    ScriptedPrompts prompts;
    RecordingDesktop desktop;
    CancelFlag cancel;
    frmMain window(profile, prompts, desktop, cancel);
    prompts.answers.push_back(MessageAnswer::Ok);
    QCoreApplication::processEvents();
    profile.ProfileSetOptionsKey("LastFileMask", "*.log");
    QCoreApplication::processEvents();
    ASSERT_EQ(prompts.asked.size(), 1u);
    EXPECT_EQ(prompts.asked[0].text,
              QString::fromStdString("The settings file ' " + t.Path("s.ini") +
                                     " ' cannot be used (Not a regular file). Your settings are "
                                     "kept while the program runs, but nothing is saved to that "
                                     "file."));
    EXPECT_EQ(prompts.asked[0].icon, MessageIcon::Warning);
    EXPECT_EQ(profile.ProfileGetString("options", "LastFileMask", ""), "*.log");
}

// Access keys offered at once that lead to more than one place, as "Alt+K: text / text": among
// the window's visible buttons, labelled fields, tabs and menus, and within each menu.
QStringList SharedAccessKeys(QWidget* window) {
    std::vector<QStringList> scopes(1);
    for (QWidget* w : window->findChildren<QWidget*>()) {
        const auto* label = qobject_cast<QLabel*>(w);
        const auto* tabs = qobject_cast<QTabBar*>(w);
        const auto* button = qobject_cast<QAbstractButton*>(w);
        if (w->isVisibleTo(window) && (button || (label && label->buddy()))) {
            scopes[0] << (button ? button->text() : label->text());
        }
        for (int i = 0; tabs && w->isVisibleTo(window) && i < tabs->count(); ++i) {
            scopes[0] << tabs->tabText(i);
        }
        if (const auto* menu = qobject_cast<QMenu*>(w)) {
            scopes.emplace_back();
            for (const QAction* action : menu->actions()) {
                scopes.back() << (action->isVisible() ? action->text() : QString());
            }
        }
    }
    for (const QAction* menu : window->findChild<QMenuBar*>()
                                   ? window->findChild<QMenuBar*>()->actions()
                                   : QList<QAction*>()) {
        scopes[0] << menu->text();
    }
    QStringList shared;
    for (const QStringList& texts : scopes) {
        std::map<QString, QStringList> keys;
        for (const QString& text : texts) {
            keys[QKeySequence::mnemonic(text).toString()] << text;
        }
        for (const auto& [key, owners] : keys) {
            shared << (!key.isEmpty() && owners.size() > 1
                           ? QStringList{key + ": " + owners.join(" / ")}
                           : QStringList());
        }
    }
    return shared;
}

// The controls of `top` that take the keyboard focus and that a screen reader would find
// without a name (its own text, a label that is its buddy, or an accessible name).
QStringList UnnamedControls(QWidget* top) {
    QStringList unnamed;
    for (QWidget* control : top->findChildren<QWidget*>()) {
        if (control->focusPolicy() == Qt::NoFocus || !control->isVisibleTo(top)) {
            continue;
        }
        QAccessibleInterface* face = QAccessible::queryAccessibleInterface(control);
        if (face != nullptr && face->text(QAccessible::Name).trimmed().isEmpty()) {
            unnamed << QString("%1 (%2)").arg(control->objectName(),
                                              control->metaObject()->className());
        }
    }
    return unnamed;
}

// Labels with an access key that leads nowhere: they show the "&" itself.
QStringList KeysLeadingNowhere(QWidget* top) {
    QStringList nowhere;
    for (const QLabel* label : top->findChildren<QLabel*>()) {
        if (label->isVisibleTo(top) && label->buddy() == nullptr &&
            !QKeySequence::mnemonic(label->text()).isEmpty()) {
            nowhere << label->objectName() + ": " + label->text();
        }
    }
    return nowhere;
}

// All at once: two access keys leading to one place, keys leading nowhere, and the controls
// without a name.
QStringList AccessProblems(QWidget* top) {
    return SharedAccessKeys(top) + KeysLeadingNowhere(top) + UnnamedControls(top);
}

// In every window, no two access keys lead to different places, and a screen reader finds a
// name for every control that takes the focus.
TEST_F(MainWindowTest, EveryAccessKeyOfAWindowLeadsToOnePlaceAndEveryControlHasAName) {
    tree.File("a.txt");
    Search(tree.Root(), "*.*");
    std::vector<std::pair<QString, QStringList>> found = {
        {"main window", AccessProblems(window.get())}};
    dlgPreferences preferences(*profile, prompts, {});
    for (int tab = 0; tab < 5; ++tab) {
        preferences.findChild<QTabWidget*>("tsPrefs")->setCurrentIndex(tab);
        found.push_back({"preferences tab " + QString::number(tab), AccessProblems(&preferences)});
    }
    prompts.modals.push_back([&](QDialog* census) {
        found.push_back({"census", AccessProblems(census)});
        return 2;
    });
    window->Types().ShowFileTypes();
    dlgRegFiles registered(*profile, prompts);
    registered.PrefillList(); // its count's label
    dlgViewMasks viewMasks;
    dlgDosLen dosLen;
    dlgCopyErr notProcessed(*profile, prompts, desktop);
    FolderPickerDialog picker({"Select Folder", "Pick one", "/", tree.Root(), {}}, prompts);
    dlgOpenWith openWith({tree.Path("a.txt"), "text/plain", {}, {}});
    dlgAbout about(desktop);
    for (QWidget* dialog : std::initializer_list<QWidget*>{
             &registered, &viewMasks, &dosLen, &notProcessed, &picker, &openWith, &about}) {
        found.push_back({dialog->objectName(), AccessProblems(dialog)});
    }
    for (const auto& [name, shared] : found) {
        EXPECT_EQ(shared, QStringList()) << name.toStdString();
    }
    auto* typed = picker.findChild<QLineEdit*>("txtPath"); // a path typed or pasted
    for (const std::string& path : {tree.Dir(), tree.Path("a.txt")}) {
        typed->clear();
        QTest::keyClicks(typed, QString::fromStdString(path));
        EXPECT_FALSE(
            picker.findChild<QDialogButtonBox*>()->button(QDialogButtonBox::Ok)->isEnabled())
            << "until the file system answered";
        picker.WaitForPathCheck();
        EXPECT_EQ(picker.SelectedFolder(), path == tree.Dir() ? path : "")
            << "a folder, or nothing";
    }
    // New Folder asks for a name in the folder picked, then picks the new one; what is not a
    // name is refused.
    typed->clear();
    QTest::keyClicks(typed, QString::fromStdString(tree.Dir()));
    picker.WaitForPathCheck();
    prompts.texts = {"made", "a/b", ""};
    prompts.answers = {MessageAnswer::Ok};
    for (int i = 0; i < 3; ++i) {
        picker.findChild<QPushButton*>("cmdNewFolder")->click();
    }
    const QString in = QString::fromStdString(tree.Dir());
    EXPECT_EQ(prompts.textsAsked, (QStringList{"Name of the new folder in " + in + ":",
                                               "Name of the new folder in " + in + "/made:",
                                               "Name of the new folder in " + in + "/made:"}));
    EXPECT_TRUE(std::filesystem::is_directory(tree.Path("made")));
    EXPECT_EQ(prompts.Texts(),
              QStringList{"Could not make the folder ' " + in + "/made/a/b ': Invalid argument"});
}

} // namespace

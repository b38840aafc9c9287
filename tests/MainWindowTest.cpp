#include "WindowFixture.h"
#include "app/ResultListModel.h"
#include "app/frmMain.h"
#include "fileops/dlgProgress.h"
#include "platform/CancelFlag.h"
#include "settings/modPProfile.h"

#include <QAction>
#include <QCoreApplication>
#include <QCheckBox>
#include <QLabel>
#include <QLineEdit>
#include <QListView>
#include <QListWidget>
#include <QMenu>
#include <QMenuBar>
#include <QPushButton>
#include <QRadioButton>
#include <QTabBar>
#include <QToolButton>
#include <algorithm>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <memory>

namespace {

class MainWindowTest : public WindowFixture {
protected:
    QString Text(const char* name) const { return Find<QLabel>(name)->text(); }

    QStringList Rows(const char* list) const {
        QStringList rows;
        const QAbstractItemModel* model = Find<QListView>(list)->model();
        for (int r = 0; r < model->rowCount(); ++r) {
            rows << model->index(r, 0).data().toString();
        }
        return rows;
    }

    QStringList Expected(const std::function<bool(const std::string&)>& pick) const {
        QStringList rows;
        for (const auto& p : ReaddirOrder(tree.Root())) {
            if (pick(p)) {
                rows << QString::fromStdString(p);
            }
        }
        return rows;
    }

    QAction* Action(const QString& text) const {
        for (QAction* menu : window->menuBar()->actions()) {
            for (QAction* action : menu->menu()->actions()) {
                if (action->text() == text) {
                    return action;
                }
            }
        }
        ADD_FAILURE() << "no menu entry " << text.toStdString();
        return nullptr;
    }
};

bool EndsWith(const std::string& s, const std::string& end) {
    return s.size() >= end.size() && s.compare(s.size() - end.size(), end.size(), end) == 0;
}

TEST_F(MainWindowTest, ASearchShowsItsResultsCountsCaptionAndTag) {
    for (const char* f : {"a.txt", "b.log", "sub/c.TXT", "sub/d.doc"}) {
        tree.File(f);
    }
    Search(tree.Root(), "*.txt");
    EXPECT_TRUE(prompts.asked.empty());
    EXPECT_EQ(window->StatusText(0), " Ready!");
    EXPECT_EQ(window->StatusText(1), " Objects: 4");
    EXPECT_EQ(window->StatusText(2), " Matched: 2");
    EXPECT_TRUE(window->StatusText(3).startsWith(" Elapsed: 0."));
    EXPECT_TRUE(window->StatusText(3).endsWith("  seconds"));
    EXPECT_EQ(window->StatusText(4), " Done");
    EXPECT_EQ(window->ViewCaption(0), "All Results (*.txt) (2)");
    EXPECT_EQ(Find<QTabBar>("tsResults")->tabText(0), "All Results (*.txt) (2)");
    EXPECT_EQ(window->ViewTag(0), "*.txt files ");
    EXPECT_EQ(Text("lblResultType"), "*.txt files ");
    EXPECT_EQ(Find<QPushButton>("cmdSearch")->text(), "Begin Search");
    EXPECT_FALSE(window->IsBusy());
    EXPECT_EQ(Rows("List1"), Expected([](const std::string& p) {
                  return EndsWith(p, ".txt") || EndsWith(p, ".TXT");
              }));
    const QAbstractItemModel* model = Find<QListView>("List1")->model();
    EXPECT_EQ(model->index(1, 0).data(ResultListModel::ItemIndexRole).toInt(), 1);
    EXPECT_TRUE(Find<QListView>("List1")->isVisible());
    EXPECT_FALSE(Find<QListWidget>("lstDummy")->isVisible());
    EXPECT_EQ(Find<QListWidget>("lstDummy")->item(0)->text(), "searching...");
    // the mask is remembered and becomes a favourite
    EXPECT_EQ(profile->ProfileGetString("options", "LastFileMask", ""), "*.txt");
    EXPECT_EQ(window->Favorites().Captions().back(), "*.txt");
}

TEST_F(MainWindowTest, ExceptAndFoldersOnlySearchesCaptionTheirViews) {
    for (const char* f : {"a.txt", "b.log", "c.doc", "d/e.txt"}) {
        tree.File(f);
    }
    Find<QRadioButton>("optListTypes_1")->click();
    Search(tree.Root(), "*.txt;*.log");
    EXPECT_EQ(window->ViewCaption(0), "All Results except (*.txt;*.log) (1)");
    EXPECT_EQ(Text("lblResultType"), "! *.txt *.log files ");
    EXPECT_EQ(Rows("List1"), QStringList{QString::fromStdString(tree.Path("c.doc"))});

    for (int i = 0; i < 10; ++i) {
        tree.Folder("folders/f" + std::to_string(i));
    }
    Find<QCheckBox>("chkOpts_1")->click();
    EXPECT_EQ(window->StatusText(4), " Folder Search");
    EXPECT_FALSE(Find<QLineEdit>("txtObjMask")->isEnabled());
    EXPECT_FALSE(Find<QRadioButton>("optListTypes_0")->isEnabled());
    Search(tree.Root(), "*.txt");
    EXPECT_EQ(window->ViewCaption(0), "All Results (folders only) (12)");
    EXPECT_EQ(window->ViewTag(0), "Folders (12)");
    EXPECT_EQ(Text("lblResultType"), "Folders (12)");
    Find<QCheckBox>("chkOpts_1")->click();
    EXPECT_EQ(window->StatusText(4), "");
    EXPECT_TRUE(Find<QLineEdit>("txtObjMask")->isEnabled());
}

TEST_F(MainWindowTest, RefusedMasksSayWhyAndChangeNothing) {
    tree.File("a.txt");
    Search(tree.Root(), "*.txt");
    const QStringList before = Rows("List1");
    const std::pair<QString, QString> cases[] = {
        {"", "No File Mask has been specified; nothing to do."},
        {"*.*;*", "You have specified ' *.* ' more than once in the File Mask field."},
        {"*.*;*.log", "Ambiguous file masks selected. The File Mask field contains both ' *.* ' "
                      "and specific file types."}};
    for (const auto& [mask, message] : cases) {
        prompts.asked.clear();
        Search(tree.Root(), mask);
        ASSERT_EQ(prompts.asked.size(), 1u) << mask.toStdString();
        EXPECT_EQ(prompts.asked[0].text, message);
        EXPECT_EQ(prompts.asked[0].buttons, MessageButtons::Ok);
        EXPECT_EQ(Rows("List1"), before);
        EXPECT_EQ(window->ViewCaption(0), "All Results (*.txt) (1)");
        EXPECT_EQ(Find<QPushButton>("cmdSearch")->text(), "Begin Search");
    }
}

TEST_F(MainWindowTest, NothingFoundSaysSoWithMaskAndRoot) {
    tree.File("a.txt");
    Search(tree.Root(), "*.none");
    ASSERT_EQ(prompts.asked.size(), 1u);
    EXPECT_EQ(prompts.asked[0].text, "No files matching ' *.none ' were found in or under the "
                                     "root path ' " +
                                         QString::fromStdString(tree.Root()) + " '");
    EXPECT_EQ(window->StatusText(0), " Ready!");
    Find<QCheckBox>("chkOpts_1")->click();
    Search(tree.Path("a.txt"), "*.*");
    EXPECT_EQ(prompts.asked.back().text,
              "No folders matching ' *.* ' were found in or under the root path ' " +
                  QString::fromStdString(tree.Path("a.txt")) + "/ '");
}

TEST_F(MainWindowTest, The32701RowLimit) {
    for (int i = 0; i < 32701; ++i) {
        tree.File("f" + std::to_string(i));
    }
    Search(tree.Root(), "*.*");
    EXPECT_EQ(Rows("List1").size(), 32701);
    EXPECT_EQ(window->ViewCaption(0), "All Results (*.*) (32701)");
    tree.File("one-more");
    Search(tree.Root(), "*.*");
    EXPECT_EQ(Rows("List1"), (QStringList{"File results exceed 32 thousand files.",
                                          "Create filtered views from the File Type dialog."}));
    EXPECT_EQ(window->ViewCaption(0), "All Results (*.*) (32702)");
    EXPECT_EQ(window->StatusText(2), " Matched: 32,702");
}

TEST_F(MainWindowTest, CancelDuringTheWalkKeepsWhatWasFound) {
    for (int i = 0; i < 3000; ++i) {
        tree.File("d" + std::to_string(i % 30) + "/f" + std::to_string(i) + ".txt");
    }
    int yields = 0;
    window->SetWalkObserver([&] {
        if (++yields == 500) {
            EXPECT_EQ(Find<QPushButton>("cmdSearch")->text(), "Cancel");
            EXPECT_TRUE(window->IsBusy());
            Find<QPushButton>("cmdSearch")->click();
        }
    });
    Search(tree.Root(), "*.txt");
    EXPECT_EQ(window->StatusText(4), " Cancelled");
    const auto rows = Rows("List1").size();
    EXPECT_GT(rows, 400);
    EXPECT_LT(rows, 3000);
    EXPECT_EQ(Find<QPushButton>("cmdSearch")->text(), "Begin Search");
    EXPECT_FALSE(window->IsBusy());
    EXPECT_FALSE(cancel.IsRaised());
}

TEST_F(MainWindowTest, ClosingDuringASearchOnlyCancelsItAndStoreCommandsAreRefused) {
    for (int i = 0; i < 2000; ++i) {
        tree.File("d" + std::to_string(i % 20) + "/f" + std::to_string(i) + ".txt");
    }
    Search(tree.Root(), "*.txt");
    const int yieldsForClose = 300;
    int yields = 0;
    window->SetWalkObserver([&] {
        if (++yields == yieldsForClose) {
            Action("&New")->trigger();
            window->NewResults();
            window->CloseViews();
            EXPECT_FALSE(Action("Select All")->isEnabled());
            window->close();
            EXPECT_TRUE(window->isVisible());
        }
    });
    Search(tree.Root(), "*.txt");
    EXPECT_TRUE(window->isVisible());
    EXPECT_EQ(window->StatusText(4), " Cancelled");
    EXPECT_GT(Rows("List1").size(), 250);
    window->SetWalkObserver({});
    window->close();
    EXPECT_FALSE(window->isVisible());
}

TEST_F(MainWindowTest, SuppressingUpdatesDuringASearch) {
    tree.File("a/b.txt");
    Find<QCheckBox>("chkOpts_2")->click();
    EXPECT_EQ(window->StatusText(4), " Update suppressed");
    EXPECT_FALSE(window->Session().Options().ShowFolderProgress);
    Find<QCheckBox>("chkOpts_2")->click();
    EXPECT_EQ(window->StatusText(4), "");
    bool checked = false;
    window->SetWalkObserver([&] {
        if (!checked) {
            checked = true;
            Find<QCheckBox>("chkOpts_2")->click();
            EXPECT_EQ(window->StatusText(0), " Searching...");
            EXPECT_EQ(window->StatusText(2), "");
            EXPECT_FALSE(window->Session().Options().ShowFolderProgress);
        }
    });
    Search(tree.Root(), "*.txt");
    EXPECT_TRUE(checked);
}

TEST_F(MainWindowTest, TypeViewsGetTheirOwnTabs) {
    for (const char* f : {"a.txt", "b.log", "c.txt", "README"}) {
        tree.File(f);
    }
    Search(tree.Root(), "*.*");
    window->CreateTypeViews({{2, ".txt"}, {1, ".log"}, {2, ".txt"}});
    ASSERT_EQ(window->ViewCount(), 3);
    EXPECT_EQ(window->ViewCaption(1), "*.txt (2)");
    EXPECT_EQ(window->ViewCaption(2), "*.log (1)");
    EXPECT_EQ(window->ViewTag(1), ".txt");
    EXPECT_EQ(window->FindViewByTag(" .log "), 2);
    EXPECT_EQ(window->FindViewByTag(".doc"), -1);
    auto* progress = Find<dlgProgress>("dlgProgress");
    EXPECT_EQ(progress->Message(), "Processing... .txt");
    EXPECT_FALSE(progress->isVisible());
    EXPECT_EQ(Find<QTabBar>("tsResults")->currentIndex(), 2);
    EXPECT_EQ(Text("lblResultType"), ".log files:");
    EXPECT_EQ(Rows("List2"), QStringList{QString::fromStdString(tree.Path("b.log"))});

    Find<QTabBar>("tsResults")->setCurrentIndex(1);
    EXPECT_TRUE(Find<QListView>("List2")->isVisible());
    EXPECT_FALSE(Find<QListView>("List1")->isVisible());
    EXPECT_EQ(Rows("List2"), Expected([](const std::string& p) { return EndsWith(p, ".txt"); }));
    window->SelectAll();
    EXPECT_EQ(Text("lblSelCount"), "Selected: 2");
    Find<QTabBar>("tsResults")->setCurrentIndex(0);
    EXPECT_TRUE(Find<QListView>("List1")->isVisible());
    EXPECT_EQ(Text("lblResultType"), "*.* files ");
    EXPECT_EQ(Text("lblSelCount"), "Selected: 0");

    window->SetViewCaption(1, "*.txt;*.log", 5);
    EXPECT_EQ(window->ViewCaption(1), "*.txt *.log (5)");

    window->CloseViews();
    EXPECT_EQ(window->ViewCount(), 1);
    EXPECT_EQ(Rows("List1").size(), 4);
    EXPECT_EQ(window->Session().Store().UBound(), 3);
}

TEST_F(MainWindowTest, NewReturnsToTheStateBeforeAnySearch) {
    tree.File("a.txt");
    Search(tree.Root(), "*.*");
    window->CreateTypeViews({{1, ".txt"}});
    window->SelectAll();
    window->NewResults();
    EXPECT_EQ(window->ViewCount(), 1);
    EXPECT_EQ(window->ViewCaption(0), "No results");
    EXPECT_EQ(window->StatusText(0), " Ready!");
    for (int part = 1; part < 5; ++part) {
        EXPECT_EQ(window->StatusText(part), "");
    }
    EXPECT_EQ(Text("lblSelCount"), "Selected: 0");
    EXPECT_EQ(Text("lblResultType"), "");
    EXPECT_EQ(window->Session().Store().UBound(), -1);
    EXPECT_TRUE(Rows("List1").isEmpty());
}

TEST_F(MainWindowTest, SelectionCommandsAndTheSelectedCount) {
    for (int i = 0; i < 5; ++i) {
        tree.File("f" + std::to_string(i) + ".txt");
    }
    Search(tree.Root(), "*.txt");
    EXPECT_EQ(Text("lblSelCount"), "Selected: 0");
    window->SelectAll();
    EXPECT_EQ(Text("lblSelCount"), "Selected: 5");
    window->InvertSelection();
    EXPECT_EQ(Text("lblSelCount"), "Selected: 0");
    auto* list = Find<QListView>("List1");
    list->selectionModel()->select(list->model()->index(1, 0), QItemSelectionModel::Select);
    EXPECT_EQ(Text("lblSelCount"), "Selected: 1");
    window->InvertSelection();
    EXPECT_EQ(Text("lblSelCount"), "Selected: 4");
    EXPECT_FALSE(list->selectionModel()->isSelected(list->model()->index(1, 0)));
    window->SelectNone();
    EXPECT_EQ(Text("lblSelCount"), "Selected: 0");
    window->SelectAll();
    Search(tree.Root(), "*.txt");
    EXPECT_EQ(Text("lblSelCount"), "Selected: 0");
}

TEST_F(MainWindowTest, InvertSelectionKeepsTheTopRowWhenAskedTo) {
    for (int i = 0; i < 300; ++i) {
        tree.File("f" + std::to_string(i) + ".txt");
    }
    Search(tree.Root(), "*.txt");
    auto* list = Find<QListView>("List1");
    list->scrollTo(list->model()->index(150, 0), QAbstractItemView::PositionAtTop);
    const QModelIndex top = list->indexAt(QPoint(1, 1));
    ASSERT_GT(top.row(), 100);
    list->selectionModel()->select(list->model()->index(299, 0), QItemSelectionModel::Select);
    profile->Settings().RetainTopIndex = true;
    window->InvertSelection();
    EXPECT_EQ(list->indexAt(QPoint(1, 1)).row(), top.row());
    EXPECT_EQ(Text("lblSelCount"), "Selected: 299");
    profile->Settings().RetainTopIndex = false;
    window->InvertSelection();
    EXPECT_GT(list->indexAt(QPoint(1, 1)).row(), top.row()) << "left at the last row";
    EXPECT_EQ(Text("lblSelCount"), "Selected: 1");
}

TEST_F(MainWindowTest, RemovedItemsLeaveTheViewsAndTheirCounts) {
    for (const char* f : {"a.txt", "b.txt", "c.log"}) {
        tree.File(f);
    }
    Search(tree.Root(), "*.txt;*.log");
    window->CreateTypeViews({{2, ".txt"}});
    window->RemoveFromViews(tree.Path("a.txt"));
    EXPECT_EQ(Rows("List1").size(), 2);
    EXPECT_EQ(window->ViewCaption(0), "All Results (*.txt;*.log) (2)");
    EXPECT_EQ(window->ViewTag(0), "*.txt *.log files (2)");
    EXPECT_EQ(window->ViewCaption(1), "*.txt (1)");
    EXPECT_EQ(Rows("List2"), QStringList{QString::fromStdString(tree.Path("b.txt"))});
}

TEST_F(MainWindowTest, MasksMenuOffersFavouritesAndStarDotStar) {
    QMenu* masks = window->findChild<QMenu*>("zmnuMasks");
    QStringList captions;
    for (QAction* a : masks->actions()) {
        captions << (a->isSeparator() ? QStringLiteral("-") : a->text());
    }
    EXPECT_EQ(captions, (QStringList{"Append Selection to Existing Mask", "-", "*.*", "*.doc;",
                                     "*.mdb;", "*.ppt;", "*.txt;", "*.log;", "*.rtf;"}));
    auto* mask = Find<QLineEdit>("txtObjMask");
    mask->setText("*.doc;");
    Action("Append Selection to Existing Mask")->trigger();
    window->findChild<QAction*>("mnuMaskFavs_4")->trigger();
    EXPECT_EQ(mask->text(), "*.doc;*.log;");
    Action("Append Selection to Existing Mask")->trigger();
    window->findChild<QAction*>("mnuMaskFavs_1")->trigger();
    EXPECT_EQ(mask->text(), "*.mdb;");

    Find<QRadioButton>("optListTypes_1")->click();
    Find<QCheckBox>("chkOpts_1")->click();
    Action("*.*")->trigger();
    EXPECT_EQ(mask->text(), "*.*");
    EXPECT_TRUE(Find<QRadioButton>("optListTypes_0")->isChecked());
    EXPECT_FALSE(Find<QCheckBox>("chkOpts_1")->isChecked());
    EXPECT_TRUE(mask->isEnabled());
}

TEST_F(MainWindowTest, ANewFavouriteAppearsAfterASearchAndIsSavedOnExit) {
    tree.File("a.md");
    Search(tree.Root(), " *.TXT; ");
    Search(tree.Root(), "*.md");
    EXPECT_EQ(window->findChild<QAction*>("mnuMaskFavs_6")->text(), "*.md");
    EXPECT_EQ(window->findChild<QAction*>("mnuMaskFavs_7"), nullptr);
    window->close();
    EXPECT_EQ(profile->ProfileGetString("masks", "mask7", ""), "*.md");
    EXPECT_EQ(profile->ProfileGetString("windows", "Winstate", ""), "0");
    EXPECT_NE(profile->ProfileGetString("windows", "Width", ""), "");
    EXPECT_EQ(window->StatusText(0), "") << "the status line is gone";
}

TEST_F(MainWindowTest, SelectMenuPutsThePickIntoTheRootField) {
    tree.Folder("picked");
    profile->Settings().AutoSDSOnNewSelection = true;
    prompts.folders.push_back(tree.Path("picked"));
    Action("Local Path")->trigger();
    ASSERT_EQ(prompts.folderRequests.size(), 1u);
    EXPECT_EQ(prompts.folderRequests[0].caption, "Select Local Folder");
    EXPECT_EQ(Find<QLineEdit>("txtStartPath")->text(), QString::fromStdString(tree.Path("picked")));
    EXPECT_EQ(Find<QLineEdit>("txtObjMask")->text(), "*.*");
    EXPECT_EQ(profile->ProfileGetString("paths", "LastSourceFolder", ""), tree.Path("picked"));
    EXPECT_EQ(profile->ProfileGetString("paths", "LastCfmBrowseID", ""), "6");
    // a cancelled pick changes nothing
    Action("Network Share")->trigger();
    EXPECT_EQ(Find<QLineEdit>("txtStartPath")->text(), QString::fromStdString(tree.Path("picked")));
    EXPECT_EQ(profile->ProfileGetString("paths", "LastCfmBrowseID", ""), "6");
}

TEST_F(MainWindowTest, PathBackGoesToTheParentFolder) {
    auto* root = Find<QLineEdit>("txtStartPath");
    const std::pair<QString, QString> cases[] = {{"/home/ann/docs/", "/home/ann/"},
                                                 {"/home/ann/docs", "/home/ann/"},
                                                 {"/home", "/"},
                                                 {"/", "/"}};
    for (const auto& [from, to] : cases) {
        root->setText(from);
        Find<QToolButton>("cmdPathBack")->click();
        EXPECT_EQ(root->text(), to) << from.toStdString();
    }
    EXPECT_EQ(profile->Settings().LastSourceFolder, "/");
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

} // namespace

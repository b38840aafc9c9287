#include "WindowFixture.h"
#include "analysis/Census.h"
#include "fileops/CommandThread.h"
#include "fileops/dlgCopyErr.h"

#include <QCheckBox>
#include <QClipboard>
#include <QDateTime>
#include <QHeaderView>
#include <QTableWidget>
#include <QTimer>
#include <future>
#include <sys/stat.h>

namespace {

class WindowCommandsTest : public WindowFixture {
protected:
    // The command waits for the timer, so that menus close first; runs it.
    void RunPendingCommand() {
        auto* timer = Find<QTimer>("Timer1");
        ASSERT_TRUE(timer->isActive());
        EXPECT_EQ(timer->interval(), 5);
        while (timer->isActive()) {
            QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents);
        }
    }
    // The rows of a "Files Not Processed" list, cells joined by " | ".
    static QStringList Cells(const QTableWidget* list) {
        QStringList rows;
        for (int r = 0; r < list->rowCount(); ++r) {
            QStringList cells;
            for (int c = 0; c < list->columnCount(); ++c) {
                cells << list->item(r, c)->text();
            }
            rows << cells.join(" | ");
        }
        return rows;
    }
    static QStringList Headers(const QTableWidget* list) {
        QStringList headers;
        for (int c = 0; c < list->columnCount(); ++c) {
            headers << list->horizontalHeaderItem(c)->text();
        }
        return headers;
    }
};

TEST_F(WindowCommandsTest, TheDeleteKeyAsksSendsToTheTrashAndListsWhatStayed) {
    tree.File({"a.txt", "b.txt", "c.txt"});
    Search(tree.Root(), "*.txt");
    window->Monitor().WaitForWatchesForTesting();
    const std::vector<std::string> found = ReaddirOrder(tree.Root());
    const QString first = QString::fromStdString(found[0]);
    const QString second = QString::fromStdString(found[1]);
    SelectRows({0, 1});
    Key(Find<QTreeView>("List1"), Qt::Key_Delete);
    prompts.answers = {MessageAnswer::Yes, MessageAnswer::Yes, MessageAnswer::No};
    prompts.modals.push_back([&](QDialog* dialog) {
        EXPECT_EQ(dialog->windowTitle(), "Files Not Processed");
        EXPECT_EQ(dialog->findChild<QLabel*>("Label1")->text(),
                  "The following files were not processed due to the reasons stated. Selecting a "
                  "file\ndisplays its complete path in the textbox below.");
        const auto* list = dialog->findChild<QTableWidget*>("ListView1");
        EXPECT_EQ(Headers(list), QStringList({"File", "Status"}));
        EXPECT_EQ(Cells(list), QStringList{first + " | file deletion skipped by user"});
        EXPECT_EQ(Find<QPushButton>("cmdSearch")->text(), "Cancel");
        return 0;
    });
    RunPendingCommand();
    EXPECT_EQ(prompts.Texts(), QStringList({"Are you sure you want to delete both selected files?",
                                            "Are you sure you want to delete ' " + second + " '?",
                                            "Are you sure you want to delete ' " + first + " '?"}));
    EXPECT_FALSE(Exists(found[1]));
    EXPECT_EQ(Rows("List1"), QStringList({first, QString::fromStdString(found[2])}));
    window->Monitor().ReadChanges();
    EXPECT_EQ(Status(StatusPart::Message), " Ready! (The list has changed - rescan recommended.)")
        << "the program's own change is told as commands tell it, and nothing more";
    EXPECT_EQ(Find<QPushButton>("cmdSearch")->text(), "&Begin Search");
}

// A command that changed the disk unloads the census: the next one counts afresh.
TEST_F(WindowCommandsTest, ACommandThatChangedTheDiskUnloadsTheCensus) {
    tree.File({"a.txt", "b.txt"});
    profile->Settings().ConfirmOnEachFileDelete = false;
    Search(tree.Root(), "*.txt");
    prompts.modals.push_back([](QDialog*) { return 2; });
    window->Types().ShowFileTypes();
    ASSERT_TRUE(window->Types().CensusReady());
    SelectRows({0});
    Key(Find<QTreeView>("List1"), Qt::Key_Delete);
    prompts.answers = {MessageAnswer::Yes};
    RunPendingCommand();
    EXPECT_EQ(desktop.calls.size(), 1u);
    EXPECT_FALSE(window->Types().CensusReady());
}

// A share that stops answering holds the command's own thread, not the window: Cancel leaves
// that thread behind, says which file did not answer, and nothing after it is done.
TEST_F(WindowCommandsTest, ACancelledCommandStuckInACallIsLeftBehind) {
    tree.File({"a.txt", "b.txt"});
    profile->Settings().AutoRescanAfterAction = true;
    profile->Settings().ConfirmOnEachFileDelete = false;
    Search(tree.Root(), "*.txt");
    const QStringList found = Rows("List1");
    std::promise<void> shareAnswers;
    const std::shared_future<void> answered = shareAnswers.get_future().share();
    desktop.beforeTrash = [&](const std::string&) {
        cancel.Raise(); // the user's Cancel while the call waits
        answered.wait();
    };
    CommandThread::SetGraceForTesting(0);
    SelectRows({0, 1});
    Key(Find<QTreeView>("List1"), Qt::Key_Delete);
    prompts.answers = {MessageAnswer::Yes, MessageAnswer::Ok};
    RunPendingCommand();
    EXPECT_EQ(prompts.Texts(),
              QStringList({"Are you sure you want to delete both selected files?",
                           "The command was cancelled while ' " + found[1] +
                               " ' did not answer. What was done before it stays done."}));
    EXPECT_EQ(Status(StatusPart::Message), " Ready! (The list has changed - rescan recommended.)")
        << "no rescan of a share that does not answer";
    EXPECT_EQ(Find<QPushButton>("cmdSearch")->text(), "&Begin Search");
    shareAnswers.set_value();
    CommandThread::WaitForAllForTesting();
    CommandThread::SetGraceForTesting(CommandThread::kGraceTicks);
    EXPECT_EQ(desktop.calls, std::vector<std::string>{"trash " + found[1].toStdString()});
    EXPECT_TRUE(Exists(found[0].toStdString())) << "the cancelled command went no further";
}

// Every view of a folders-only search lists folders: a type view's too.
TEST_F(WindowCommandsTest, InAViewOfFoldersDeleteTakesTheFolderThenRescans) {
    tree.File({"keep/a.txt", "old/b.txt"});
    profile->Settings().AutoRescanAfterAction = true;
    Find<QCheckBox>("chkOpts_1")->click();
    Search(tree.Root(), "*");
    MarkTypeless(window->Session().Store()); // as the census does: "." for no type
    window->Types().CreateTypeViews({{2, "."}});
    const int old =
        static_cast<int>(Rows("List2").indexOf(QString::fromStdString(tree.Path("old"))));
    ASSERT_GE(old, 0);
    SelectRows({old}, "List2");
    Key(Find<QTreeView>("List2"), Qt::Key_Delete);
    prompts.answers = {MessageAnswer::Yes};
    RunPendingCommand();
    EXPECT_EQ(prompts.Texts(), QStringList{"Send ' " + QString::fromStdString(tree.Path("old")) +
                                           " '\r\nand all its contents to the recycle bin?"});
    EXPECT_EQ(desktop.calls, std::vector<std::string>{"trash " + tree.Path("old")});
    EXPECT_EQ(Rows("List1"), QStringList{QString::fromStdString(tree.Path("keep"))});
}

TEST_F(WindowCommandsTest, CopyAsksThenPicksTheDestinationAndListsTheDuplicates) {
    tree.File({"a.txt", "b.txt"});
    TestTree to;
    WriteBytes(to.Path("a.txt"), "there before");
    Search(tree.Root(), "*.txt");
    window->Results().SelectAll();
    prompts.answers = {MessageAnswer::Yes};
    prompts.folders = {to.Root()};
    prompts.modals.push_back([&](QDialog* dialog) {
        const auto* list = dialog->findChild<QTableWidget*>("ListView1");
        EXPECT_EQ(list->columnCount(), 5);
        EXPECT_TRUE(Cells(list)[0].startsWith("a.txt | ") &&
                    Cells(list)[0].endsWith(" | duplicate file"));
        return 0;
    });
    Action("Copy...")->trigger();
    RunPendingCommand();
    EXPECT_EQ(prompts.Texts(), QStringList{"Are you sure you want to copy both selected files?"});
    EXPECT_EQ(prompts.folderRequests.at(0).caption, "Select Destination Folder");
    EXPECT_EQ(ReadBytes(to.Path("a.txt")), "there before");
    EXPECT_TRUE(Exists(to.Path("b.txt")));
    EXPECT_EQ(profile->ProfileGetString("paths", "LastCopyFileTarget", ""), to.Root());
    EXPECT_EQ(Status(StatusPart::Message), " Ready! (The list has changed - rescan recommended.)");
}

TEST_F(WindowCommandsTest, TheFolderPopupMovesTheSelectedFolder) {
    tree.File("old/a.txt");
    tree.Folder("new");
    Find<QCheckBox>("chkOpts_1")->click();
    Search(tree.Root(), "*");
    auto* move = window->findChild<QAction*>("mnuFolderPopup_4");
    EXPECT_TRUE(move->isEnabled()) << "enabled once there are folders";
    SelectRows({static_cast<int>(Rows("List1").indexOf(QString::fromStdString(tree.Path("old"))))});
    prompts.answers = {MessageAnswer::Yes};
    prompts.folders = {tree.Path("new")};
    move->trigger();
    RunPendingCommand();
    EXPECT_EQ(prompts.Texts(), QStringList{"Are you sure you want to move ' " +
                                           QString::fromStdString(tree.Path("old")) +
                                           "/ ' and all its contents to another location?"});
    EXPECT_EQ(prompts.folderRequests.at(0).caption, "Select Destination Location");
    EXPECT_TRUE(Exists(tree.Path("new/old/a.txt")));
    EXPECT_FALSE(Exists(tree.Path("old")));
}

TEST_F(WindowCommandsTest, TheNotProcessedListOfACopyAndItsRememberedView) {
    tree.File({"src/dup.txt", "dst/dup.txt"});
    tree.SetTime("dst/dup.txt", 1700000000, 0);
    const std::vector<SkippedItem> items = {
        SkippedItem::Refused(0, tree.Path("src/dup.txt"), "duplicate file")
            .At(0, tree.Path("dst/dup.txt")),
        SkippedItem::Refused(1, tree.Path("src/gone.txt"), "source file not found")
            .At(0, tree.Path("dst/gone.txt"))};
    const QString shown =
        QLocale::system().toString(QDateTime::fromSecsSinceEpoch(1700000000), QLocale::ShortFormat);
    {
        dlgCopyErr dialog(*profile, prompts, desktop);
        dialog.Create(PendingAction::CopyFiles);
        dialog.AddItems(items);
        dialog.CreateFinalize();
        EXPECT_EQ(Headers(dialog.List()),
                  QStringList({"Source File", "Source Path", "Source Date/Time", "Target Date/Time",
                               "Status"}));
        const QStringList rows = Cells(dialog.List());
        EXPECT_TRUE(rows[0].startsWith("dup.txt | ")) << rows[0].toStdString();
        EXPECT_TRUE(rows[0].endsWith(" | " + shown + " | duplicate file")) << rows[0].toStdString();
        EXPECT_TRUE(rows[1].endsWith(" |  | source file not found")) << rows[1].toStdString();
        {
            // A deep folder gives up room for the reason: the reason reads whole.
            dlgCopyErr deep(*profile, prompts, desktop);
            deep.Create(PendingAction::CopyFiles);
            deep.AddItems({SkippedItem::Refused(0, "/" + std::string(300, 'd') + "/x.txt",
                                                "duplicate file")});
            deep.CreateFinalize();
            const QHeaderView* header = deep.List()->horizontalHeader();
            EXPECT_LE(header->sectionPosition(4) +
                          deep.List()->fontMetrics().horizontalAdvance("duplicate file"),
                      deep.width());
        }
        dialog.SetGridLines(false); // a new settings file has them on, and the report view
        dialog.SetReportView(false);

        dialog.List()->selectRow(1);
        dialog.CopyToClipboard();
        EXPECT_EQ(QGuiApplication::clipboard()->text(),
                  "Files not Processed\r\n" +
                      QLocale::system().toString(QDate::currentDate(), QLocale::LongFormat) +
                      "\r\n" + QString::fromStdString(tree.Path("src/gone.txt")) + "\r\n");
        EXPECT_EQ(dialog.findChild<QLineEdit*>("Text1")->text(),
                  "Ready! (Selected items copied to clipboard.)");
    }
    // The next list opens as the last one was left: the settings file holds it.
    EXPECT_EQ(profile->ProfileGetString("options", "LVUseGridLines", ""), "0");
    EXPECT_EQ(profile->ProfileGetString("options", "LVDefaultView", ""), "0");
    dlgCopyErr next(*profile, prompts, desktop);
    next.Create(PendingAction::DeleteFiles);
    next.CreateFinalize();
    EXPECT_TRUE(!next.List()->showGrid() && next.List()->horizontalHeader()->isHidden());
}

} // namespace

#include "WindowFixture.h"
#include "analysis/dlgStarDotStar.h"
#include "app/frmMain.h"
#include "platform/CancelFlag.h"
#include "settings/modPProfile.h"

#include <QAction>
#include <QHeaderView>
#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <QLocale>
#include <QMenu>
#include <QPushButton>
#include <QRegularExpression>
#include <QTest>
#include <gtest/gtest.h>

namespace {

class CensusDialogTest : public WindowFixture {
protected:
    void Search(const QString& mask) { WindowFixture::Search(tree.Root(), mask); }

    // Opens the census; `use` works the dialog as a user would and returns how it closed.
    void OpenCensus(std::function<int(dlgStarDotStar&)> use) {
        prompts.modals.push_back(
            [use](QDialog* dialog) { return use(*static_cast<dlgStarDotStar*>(dialog)); });
        window->Types().ShowFileTypes();
    }

    static QString Label(const dlgStarDotStar& d, const char* name) {
        return d.findChild<QLabel*>(name)->text();
    }
    static QStringList Lines(const dlgStarDotStar& d) {
        QStringList lines;
        for (const QListWidgetItem* item :
             d.findChild<QListWidget*>("lstExtensions")->findItems("*", Qt::MatchWildcard)) {
            lines << item->text();
        }
        return lines;
    }
    static void Select(dlgStarDotStar& d, const QString& extension) {
        for (QListWidgetItem* item : d.findChild<QListWidget*>("lstExtensions")
                                         ->findItems(extension + "\t", Qt::MatchStartsWith)) {
            item->setSelected(true);
        }
    }
    static bool Enabled(const dlgStarDotStar& d, int button) {
        return d.findChild<QPushButton*>(QStringLiteral("cmd_%1").arg(button))->isEnabled();
    }
};

TEST_F(CensusDialogTest, ShowsTheTypesOfTheSearchWithItsTexts) {
    tree.File({"A.TXT", "b.txt", "c.log", "README", "sub/d.txt"});
    Search("*.*");
    OpenCensus([&](dlgStarDotStar& d) {
        EXPECT_EQ(d.windowTitle(), "File Types in All Results (*.*) (5)");
        EXPECT_EQ(Label(d, "Label1"),
                  "The search results returned 3 file types. Select the file types below to view "
                  "as separate tabs (maximum of 30), or select one for exporting to a file.");
        EXPECT_EQ(Label(d, "lblResultsCount"), "3/3 masks");
        EXPECT_EQ(Label(d, "lblSelectedCount"), "Selected: 0");
        EXPECT_EQ(Label(d, "lblTotalFiles"), "");
        QStringList lines = Lines(d);
        lines.sort();
        EXPECT_EQ(lines, (QStringList{".\t\t1 files", ".log\t\t1 files", ".txt\t\t3 files"}));
        EXPECT_FALSE(Enabled(d, dlgStarDotStar::View));
        EXPECT_FALSE(Enabled(d, dlgStarDotStar::Export));
        for (const auto& [letter, enabled] :
             {std::pair{19, true}, {11, true}, {0, false}}) { // T L A
            const QAction* item = d.findChild<QAction*>(QStringLiteral("mnuAlpha_%1").arg(letter));
            EXPECT_EQ(std::make_pair(item->isEnabled(), item->text()),
                      std::make_pair(enabled, QString("&") + QChar('A' + letter)));
        }
        EXPECT_TRUE(d.findChild<QAction*>("mnuFilter_0")->isChecked());
        EXPECT_TRUE(d.findChild<QMenu*>("zmnuFilter")->actions().at(1)->isSeparator())
            << "after All results";
        d.grab(); // paints the two columns (a sanitized build checks what they read)
        Select(d, ".txt");
        EXPECT_EQ(Label(d, "lblSelectedCount"), "Selected: 1");
        EXPECT_EQ(Label(d, "lblTotalFiles"), "(3 files)");
        EXPECT_TRUE(Enabled(d, dlgStarDotStar::Export));
        Select(d, ".log");
        EXPECT_FALSE(Enabled(d, dlgStarDotStar::Export)) << "export takes one type";
        EXPECT_TRUE(Enabled(d, dlgStarDotStar::View));
        d.CommandAction(dlgStarDotStar::View);
        return d.result();
    });
    ASSERT_EQ(window->Results().Views().Count(), 3);
    EXPECT_EQ(window->Results().Views()[1].caption, "*.txt (3)");
    EXPECT_EQ(window->Results().Views()[2].caption, "*.log (1)");
    EXPECT_EQ(window->Session().Store()[3].Extension(), ".") << "README marked in the store";
}

// Each type's total size beside its line, the selection's beside its count of files; a click on
// the Size header orders the types largest first, one on Type brings the census's order back.
TEST_F(CensusDialogTest, SizesOfTheTypesAndTheirOrderBySize) {
    tree.File({"a.txt", "b.log", "c.log", "d.md"});
    WriteBytes(tree.Path("a.txt"), std::string(300, 'a'));
    WriteBytes(tree.Path("b.log"), std::string(1000, 'b'));
    WriteBytes(tree.Path("c.log"), std::string(200, 'c'));
    Search("*.*");
    OpenCensus([&](dlgStarDotStar& d) {
        auto* list = d.findChild<QListWidget*>("lstExtensions");
        const QStringList found = Lines(d);
        const QStringList bySize = {".log\t\t2 files", ".txt\t\t1 files", ".md\t\t1 files"};
        auto* header = d.findChild<QHeaderView*>("hdrTypes");
        const auto click = [&](int section) {
            QTest::mouseClick(header->viewport(), Qt::LeftButton, {},
                              {header->sectionViewportPosition(section) + 4, 5});
        };
        EXPECT_EQ(header->model()->headerData(1, Qt::Horizontal).toString(), "Files");
        Select(d, ".txt");
        click(2);
        EXPECT_EQ(Lines(d), bySize);
        click(2);
        EXPECT_EQ(Lines(d), QStringList(bySize.rbegin(), bySize.rend()))
            << "a second click: largest last";
        click(1);
        EXPECT_EQ(Lines(d).front(), ".log\t\t2 files");
        // From the keyboard: the header's focus on Size, then Space.
        header->setFocus();
        for (const Qt::Key key : {Qt::Key_Right, Qt::Key_Right, Qt::Key_Right, Qt::Key_Space}) {
            QTest::keyClick(header, key);
        }
        EXPECT_EQ(Lines(d), bySize) << "Size again: largest first";
        EXPECT_EQ(list->item(0)->toolTip(), QLocale::system().toString(1200) + " bytes");
        Select(d, ".log");
        EXPECT_EQ(Label(d, "lblTotalFiles"), "(3 files)") << "the selection stayed";
        EXPECT_TRUE(Label(d, "lblTotalSize").contains(QRegularExpression("^1[.,]5 kB$")))
            << Label(d, "lblTotalSize").toStdString();
        click(0);
        EXPECT_EQ(Lines(d), found);
        EXPECT_EQ(list->selectedItems().size(), 2);
        d.grab(); // paints the size column
        return dlgStarDotStar::Close;
    });
}

TEST_F(CensusDialogTest, SelectByRangeAppendFilterAndJumpByLetter) {
    for (int i = 0; i < 10; ++i) {
        tree.File("t" + std::to_string(i) + ".ten");
    }
    for (int i = 0; i < 31; ++i) {
        tree.File("f." + std::to_string(i) + "x");
    }
    tree.File("x.one");
    Search("*.*");
    OpenCensus([&](dlgStarDotStar& d) {
        d.SelectRange(2); // less than 5: every ".Nx" and .one
        EXPECT_EQ(Label(d, "lblSelectedCount"), "Selected: 32");
        EXPECT_FALSE(Enabled(d, dlgStarDotStar::View)) << "more than 30 types";
        d.SelectRange(4); // 10 - 20 replaces it
        EXPECT_EQ(Label(d, "lblSelectedCount"), "Selected: 1");
        EXPECT_TRUE(Enabled(d, dlgStarDotStar::View));
        d.findChild<QAction*>("mnuSelect_12")->trigger(); // append
        d.SelectRange(3);
        EXPECT_EQ(Label(d, "lblSelectedCount"), "Selected: 1") << ".ten is 5 - 10 and 10 - 20";
        d.findChild<QAction*>("mnuSelect_14")->trigger();
        EXPECT_EQ(Label(d, "lblSelectedCount"), "Selected: 0");
        d.findChild<QAction*>("mnuFilter_3")->trigger(); // 5 - 10
        EXPECT_EQ(Lines(d), QStringList{".ten\t\t10 files"});
        EXPECT_EQ(Label(d, "lblResultsCount"), "1/33 masks (filter applied)");
        EXPECT_FALSE(d.findChild<QAction*>("mnuFilter_0")->isChecked());
        EXPECT_TRUE(d.findChild<QAction*>("mnuFilter_3")->isChecked());
        d.FilterMasks(0);
        EXPECT_EQ(Lines(d).size(), 33);
        d.JumpToLetter(1); // B: nothing begins with it
        EXPECT_FALSE(d.findChild<QAction*>("mnuAlpha_1")->isEnabled());
        d.CommandAction(dlgStarDotStar::Close);
        return d.result();
    });
    EXPECT_EQ(window->Results().Views().Count(), 1);
}

TEST_F(CensusDialogTest, TheCensusIsKeptUntilTheNextSearch) {
    tree.File("a.txt");
    profile->Settings().AlwaysShowCountWhenSDS = true;
    dlgStarDotStar* first = nullptr;
    prompts.modals.push_back([&](QDialog* d) { // after a "*.*" search, by itself
        first = static_cast<dlgStarDotStar*>(d);
        Select(*first, ".txt");
        return 0;
    });
    Search("*.*");
    EXPECT_TRUE(window->Types().CensusReady());
    tree.File("b.log");
    OpenCensus([&](dlgStarDotStar& d) {
        EXPECT_EQ(&d, first);
        EXPECT_EQ(Label(d, "lblSelectedCount"), "Selected: 0") << "shown again deselected";
        EXPECT_EQ(Lines(d).size(), 1) << "no recount";
        return 0;
    });
    prompts.modals.push_back([&](QDialog* d) {
        EXPECT_EQ(Lines(*static_cast<dlgStarDotStar*>(d)).size(), 2) << "a new search recounts";
        return 0;
    });
    Search("*.*");
    window->NewResults();
    EXPECT_FALSE(window->Types().CensusReady()) << "gone with the results";
    prompts.answers.push_back(MessageAnswer::Ok);
    window->Types().ShowFileTypes();
    EXPECT_EQ(prompts.Texts(), QStringList{"Critical Error - the file data array is empty; this "
                                           "function is unavailable. Please restart the "
                                           "application to avoid corrupted reports."});
}

TEST_F(CensusDialogTest, ReportAndExportAskForAFileWriteItAndSayWhatFailed) {
    tree.File({"a.txt", "b.txt", "c.log"});
    Search("*.*");
    profile->Settings().LastOutputSaveDirectory = tree.Root();
    tree.Folder("out");
    prompts.saves = {{tree.Path("out/report.txt"), false},
                     {tree.Path("out/txt.txt"), false},
                     {},
                     {"/dev/full", false},
                     {tree.Path("no/such/folder/r.txt"), false}};
    prompts.answers = {MessageAnswer::Ok, MessageAnswer::Ok, MessageAnswer::Ok};
    OpenCensus([&](dlgStarDotStar& d) {
        auto* header = d.findChild<QHeaderView*>("hdrTypes");
        header->sectionClicked(1);
        header->sectionClicked(1); // by files, largest last: the report's order too
        d.CommandAction(dlgStarDotStar::Report);
        EXPECT_EQ(d.Result(), -1) << "the dialog stays";
        Select(d, ".txt");
        d.CommandAction(dlgStarDotStar::Export);
        d.CommandAction(dlgStarDotStar::Report); // cancelled
        d.CommandAction(dlgStarDotStar::Export); // onto a device
        d.CommandAction(dlgStarDotStar::Report); // into a missing folder
        d.findChild<QAction*>("mnuFilter_4")->trigger();
        d.CommandAction(dlgStarDotStar::Report); // an empty list
        return 0;
    });
    ASSERT_EQ(prompts.saveRequests.size(), 5u);
    const SaveRequest& r = prompts.saveRequests[0];
    EXPECT_EQ(r.title, "Save Report As");
    EXPECT_EQ(r.filters, (QStringList{"Text Files  (*.txt)", "All Files  (*.*)"}));
    EXPECT_EQ(std::tie(r.defaultSuffix, r.name, r.folder),
              std::make_tuple(QString("txt"), std::string("resultcount.txt"), tree.Root()));
    EXPECT_EQ(prompts.saveRequests[1].name, "results for txt.txt");
    EXPECT_EQ(prompts.saveRequests[1].folder, tree.Path("out/")) << "the folder remembered";
    const std::string report = ReadBytes(tree.Path("out/report.txt"));
    EXPECT_NE(report.find("#     Root Path:\t" + tree.Root() +
                          "\r\n#     File Mask:\t*.*\r\n#"
                          "     Total Types:\t2\r\n#     Total Files:\t3\r\n"),
              std::string::npos);
    EXPECT_TRUE(EndsWith(report, "-\r\n\r\n.log\t1\r\n.txt\t2\r\n")) << "the body, as shown";
    EXPECT_EQ(ReadBytes(tree.Path("out/txt.txt")).size(), 2 * (tree.Path("a.txt").size() + 2));
    EXPECT_EQ(
        prompts.Texts(),
        (QStringList{"Cannot replace /dev/full: Not a regular file",
                     QString::fromStdString("Cannot create " + tree.Path("no/such/folder/r.txt") +
                                            ": No such file or directory"),
                     "There is nothing in the current list to save"}));
    EXPECT_EQ(prompts.asked[0].icon, MessageIcon::Critical);
    EXPECT_EQ(prompts.asked[2].icon, MessageIcon::Warning);
}

// A type whose bytes are not UTF-8 is shown with a replacement character, but views and exports
// use its bytes.
TEST_F(CensusDialogTest, ATypeThatIsNotUtf8KeepsItsBytes) {
    tree.File({"a.\xff", "b.txt"});
    Search("*.*");
    prompts.saves.push_back({tree.Path("export.txt"), false});
    OpenCensus([&](dlgStarDotStar& d) {
        Select(d, QString::fromUtf8(".\xef\xbf\xbd"));
        d.CommandAction(dlgStarDotStar::Export);
        d.CommandAction(dlgStarDotStar::View);
        return static_cast<int>(dlgStarDotStar::View);
    });
    EXPECT_EQ(ReadBytes(tree.Path("export.txt")), tree.Path("a.\xff") + "\r\n");
    ASSERT_EQ(window->Results().Views().Count(), 2);
    EXPECT_EQ(window->Results().Views()[1].caption, QString::fromUtf8("*.\xef\xbf\xbd (1)"));
}

} // namespace

#include "ScriptedPrompts.h"
#include "TestTree.h"
#include "analysis/dlgDosLen.h"
#include "analysis/dlgRegFiles.h"
#include "analysis/dlgViewMasks.h"
#include "app/QtPrompts.h"
#include "app/dlgAbout.h"
#include "fileops/dlgProgress.h"
#include "fileops/dlgProperties.h"
#include "platform/CancelFlag.h"
#include "platform/EventYield.h"
#include "settings/AppSettings.h"
#include "settings/MaskFavorites.h"
#include "settings/dlgPreferences.h"
#include "settings/modPProfile.h"
#include "widgets/WrappingRow.h"

#include <QApplication>
#include <QCheckBox>
#include <QComboBox>
#include <QCoreApplication>
#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <QPushButton>
#include <QRadioButton>
#include <QTabWidget>
#include <QTest>
#include <QTimer>
#include <gtest/gtest.h>
#include <sys/stat.h>

namespace {

TEST(dlgProgress, MessageBarAndCancel) {
    CancelFlag cancel;
    AppSettings settings;
    EventYield yield;
    dlgProgress progress(cancel, settings, yield, nullptr);
    progress.SetMessage("");
    EXPECT_EQ(progress.Message(), "Processing...");
    progress.Create(3, 10, true);
    EXPECT_TRUE(progress.isVisible() && progress.CancelShown());
    for (const int value : {3, 6, 9, 9}) { // past the maximum the bar stays
        progress.Update(3);
        EXPECT_EQ(progress.Value(), value);
    }
    progress.UpdateDirect(10);
    EXPECT_EQ(progress.Value(), 10);
    progress.Reset();
    progress.Update(3);
    EXPECT_EQ(progress.Value(), 3) << "Reset starts the count again";
    // Cancel, Escape and the close box each raise the flag and leave closing to the task; with
    // no Cancel they do nothing.
    const std::function<void()> ways[] = {
        [&] { progress.findChild<QPushButton*>("cmdCancel")->click(); },
        [&] { QTest::keyClick(&progress, Qt::Key_Escape); }, [&] { progress.close(); }};
    for (const bool cancelAllowed : {true, false}) {
        for (const auto& way : ways) {
            progress.Create(3, 10, cancelAllowed);
            cancel.Lower();
            way();
            EXPECT_EQ(cancel.IsRaised(), cancelAllowed);
            EXPECT_TRUE(progress.isVisible());
        }
    }
    progress.Destroy();
    EXPECT_FALSE(progress.isVisible());
}

// The options' row: both groups on one line when there is room, the second at the right; the
// second below the first when not; never narrower than the wider group.
TEST(WrappingRow, OneLineOrTwo) {
    QWidget window;
    auto* row = new WrappingRow;
    row->setContentsMargins(0, 0, 0, 0);
    row->setSpacing(10);
    QWidget* groups[2];
    for (int i = 0; i < 2; ++i) {
        auto* group = new QHBoxLayout;
        groups[i] = new QWidget(&window);
        groups[i]->setFixedSize(i == 0 ? 300 : 200, 20);
        group->addWidget(groups[i]);
        group->setContentsMargins(0, 0, 0, 0);
        row->addItem(group);
    }
    window.setLayout(row);
    EXPECT_EQ(row->minimumSize().width(), 300);
    // clang-format off
    const std::tuple<int, QPoint, int> cases[] = {
        {600, {400, 0}, 20},  // one line, the second group at the right
        {510, {310, 0}, 20},  // just room for both
        {509, {0, 30}, 50}};  // two lines
    // clang-format on
    for (const auto& [width, second, height] : cases) {
        row->setGeometry({0, 0, width, row->heightForWidth(width)});
        EXPECT_EQ(groups[1]->pos(), second) << width;
        EXPECT_EQ(row->heightForWidth(width), height) << width;
    }
}

TEST(dlgProperties, ShowsWhatTheFileSystemSays) {
    TestTree t;
    WriteBytes(t.Path("notes.txt"), "hello");
    chmod(t.Path("notes.txt").c_str(), 0640);
    dlgProperties properties(t.Path("notes.txt"));
    properties.WaitForFacts();
    EXPECT_EQ(QStringList({properties.Field("Name"), properties.Field("Size"),
                           properties.Field("Permissions")}),
              QStringList({"notes.txt", "5 bytes", "-rw-r----- (640)"}));
    dlgProperties gone(t.Path("gone"));
    gone.WaitForFacts();
    EXPECT_EQ(gone.Field("Type"), "(cannot be read: it may have been moved or deleted)");
    QCoreApplication::sendPostedEvents(); // the thread's own word comes after: nothing twice
    EXPECT_EQ(properties.findChildren<QLabel*>("Size").size(), 1);
}

// The colour picker gives back the custom colours the user did not change as they were: a system
// colour too, which has no RGB of its own. (Closed as soon as it runs its own event loop.)
TEST(QtPrompts, TheColourPickerKeepsTheCustomColoursNotChanged) {
    QtPrompts prompts;
    std::array<int32_t, 16> custom{};
    custom[11] = -2147483643; // 0x80000005, the system's window background
    QTimer::singleShot(0, [] { QApplication::activeModalWidget()->close(); });
    EXPECT_EQ(prompts.ChooseColor(0x00FF8000, custom), std::nullopt);
    EXPECT_EQ(custom[11], -2147483643);
}

// The Masks menu's dialogs: every text of theirs, and the masks they build.
TEST(MaskDialogs, TheirTextsAndTheMasksTheyBuild) {
    dlgDosLen dos;
    dos.InitDialog(4);
    EXPECT_EQ(dos.windowTitle(), "Define DOS Length");
    EXPECT_EQ(dos.findChild<QLabel*>("Label1")->text(),
              "Select the number of characters that the Registered File Types dialog will list "
              "when 'DOS Extensions Only' is selected.");
    EXPECT_EQ(dos.findChild<QComboBox*>("Combo1")->currentText(), "3");

    dlgViewMasks view;
    view.SetupMaskArray({".doc", ".txt"});
    view.SetupControls("All Results (*.*) (5)");
    EXPECT_EQ(view.windowTitle(), "Existing File Types in All Results (*.*) (5)");
    EXPECT_EQ(view.findChild<QLabel*>("Label1")->text(),
              "Select up to six items to create a compond file mask. A new view will be created "
              "containing all files matching the selections made. Uncheck Filter Current Results "
              "to use selection as a new File Mask instead.");
    EXPECT_FALSE(view.findChild<QPushButton*>("cmd_1")->isEnabled());
    view.findChild<QListWidget*>("lstExtensions")->selectAll();
    EXPECT_EQ(view.Mask(), "*.doc; *.txt; ");
    EXPECT_TRUE(view.CommandFilter() && view.findChild<QPushButton*>("cmd_1")->isEnabled());

    TestTree t;
    modPProfile profile(t.Path("s.ini"), "/home/ann");
    profile.Start();
    ScriptedPrompts prompts;
    // The mask as passed in (a pattern the list lacks too); the lines beginning with its types
    // selected, also across a change of mode.
    for (const auto& [mask, selected] : {std::pair{"*.txt; *.html", "*.html; *.txt; "},
                                         {"*.htm", "*.htm; "},
                                         {"*.txt; *.nonesuch", "*.txt; "},
                                         {"*.*", ""}}) {
        dlgRegFiles registered(profile, prompts);
        registered.PrefillList();
        registered.SetCurrentObjectMask(mask);
        prompts.modals.push_back([](QDialog*) { return static_cast<int>(QDialog::Accepted); });
        registered.FilterMenu(dlgRegFiles::FilterEntry::DosLength);     // DOS extensions only,
        registered.FilterMenu(dlgRegFiles::FilterEntry::AllExtensions); // and back
        EXPECT_EQ(registered.CurrentObjectMask(), mask);
        QString picked;
        for (const QListWidgetItem* item :
             registered.findChild<QListWidget*>("lstSelected")->findItems("*", Qt::MatchWildcard)) {
            picked += "*" + item->text() + "; ";
        }
        EXPECT_EQ(picked, selected) << mask;
    }
    dlgRegFiles registered(profile, prompts);
    registered.PrefillList();
    const auto count = [&] { return registered.findChild<QLabel*>("lbExtensionCount")->text(); };
    EXPECT_TRUE(count().startsWith("&Registered File Extensions (all) : "))
        << count().toStdString();
    prompts.modals.push_back([](QDialog* d) {
        d->findChild<QComboBox*>("Combo1")->setCurrentText("2");
        EXPECT_EQ(d->findChild<QCheckBox*>("chkReload")->text(),
                  "&Keep this length for the next time");
        d->findChild<QCheckBox*>("chkReload")->setChecked(true);
        return static_cast<int>(QDialog::Accepted);
    });
    registered.FilterMenu(dlgRegFiles::FilterEntry::DosLength);
    EXPECT_TRUE(count().startsWith("&Registered File Extensions (dos) : "))
        << count().toStdString();
    EXPECT_EQ(profile.ProfileGetString("options", "RegFilesDosLength", ""), "3");
}

// The preferences: every caption, each option written the moment it changes, the rules
// between them, the folder question, the mask editor.
TEST(dlgPreferences, CaptionsRulesAndWhatEachControlWrites) {
    TestTree t;
    modPProfile profile(t.Path("s.ini"), "/home/ann");
    profile.Start();
    ScriptedPrompts prompts;
    int masksCommitted = 0;
    dlgPreferences dialog(profile, prompts, [&] { ++masksCommitted; });
    const auto tabs = dialog.findChild<QTabWidget*>("tsPrefs");
    const char* tabTexts[][2] = {
        {"&General", "General options affecting how you interact with the application.\nChanges "
                     "made to General options are applied immediately."},
        {"&Confirmation && Warnings", "Set warning levels for various destructive and "
                                      "non-destructive file operations.\nChanges made to Warning "
                                      "options are applied immediately."},
        {"&Folders && Paths", "The paths represent the current locations the application tries to "
                              "use for each file action. Changes made are temporary as each file "
                              "action updates these values. If you have a location giving "
                              "problems, change it here. Clicking each label opens the Browse "
                              "dialog for easier selection."},
        {"Edit &Masks", "Add favorite masks or remove unused masks from the Masks menu.\nDouble "
                        "click to edit existing masks, or select and delete."},
        {"View Options", "General interface preferences"}};
    for (int i = 0; i < 5; ++i) {
        EXPECT_EQ(tabs->tabText(i), tabTexts[i][0]);
        EXPECT_EQ(tabs->widget(i)->findChild<QLabel*>("lblDescription")->text(), tabTexts[i][1]);
    }
    const auto box = [&](const char* name) { return dialog.findChild<QCheckBox*>(name); };
    const auto key = [&](const char* name) {
        return profile.ProfileGetString("options", name, "?");
    };
    // clang-format off
    const std::tuple<const char*, const char*, const char*> boxes[] = {
        {"chkGeneral_0", "Automatically perfrom a file system rescan after a file or folder move "
                         "or deletion", "AutoRescanAfterAction"},
        {"chkGeneral_2", "When viewing contents of a folder, open Explorer in 'explore view'",
         "OpenFoldersWithExplore"},
        {"chkGeneral_3", "When performing an Edit / Invert Selection command, retain the top index "
                         "in view", "RetainTopIndex"},
        {"chkGeneral_4", "When a new start path selected using Browse dialog, automatically set *.* "
                         "search", "AutoSDSOnNewSelection"},
        {"chkGeneral_5", "Always show the File Type dialog following *.* search",
         "AlwaysShowCountWhenSDS"},
        {"chkGeneral_6", "Sort file or folder results in ascending order before writing the "
                         "results to disk", "QSSortResultsOnSave"},
        {"chkGeneral_7", "Watch the searched folders and say when their contents change",
         "WatchForChanges"},
        {"chkGeneral_1", "Only when list contains less than", "AutoRescanUseMaximum"},
        {"chkWarnings_0", "Confirm file open (associated or notepad)", "ConfirmOnOpen"},
        {"chkWarnings_1", "Confirm 'Open With' command", "AskToOpenWith"},
        {"chkWarnings_2", "Confirm file or folder copying", "ConfirmOnCopy"},
        {"chkWarnings_3", "Confirm file or folder move commands", "ConfirmOnMove"},
        {"chkWarnings_4", "Confirm folder deletion", "ConfirmOnFolderDelete"},
        {"chkWarnings_6", "Confirm delete for every file", "ConfirmOnEachFileDelete"},
        {"chkWarnings_5", "Confirm file deletion", "ConfirmOnFileDelete"}};
    // clang-format on
    EXPECT_FALSE(box("chkGeneral_1")->isEnabled()) << "only with the rescan";
    for (const auto& [name, caption, written] : boxes) {
        EXPECT_EQ(box(name)->text(), caption);
        const std::string before = key(written);
        box(name)->click();
        EXPECT_NE(key(written), before) << name << " writes " << written;
    }
    EXPECT_TRUE(box("chkGeneral_1")->isEnabled());
    EXPECT_FALSE(box("chkWarnings_6")->isEnabled() || box("chkWarnings_6")->isChecked())
        << "every file is asked for only while file deletion is";
    EXPECT_EQ(key("ConfirmOnEachFileDelete"), "0");
    auto* maximum = dialog.findChild<QComboBox*>("cboMaxItems");
    EXPECT_EQ(maximum->itemText(0), "no maximum");
    emit maximum->activated(0);
    EXPECT_EQ(key("AutoRescanMaximum"), "-1");
    emit dialog.findChild<QComboBox*>("cboDCS")->activated(2);
    EXPECT_EQ(key("DblClickShiftAction"), "2");

    auto* folder = dialog.findChild<QLineEdit*>("txtFolders_1");
    dialog.show();
    for (const MessageAnswer answer : {MessageAnswer::No, MessageAnswer::Yes}) {
        folder->setText("/no/such/folder");
        folder->setModified(true);
        prompts.answers = {answer};
        QTest::keyClick(folder, Qt::Key_Return);
        EXPECT_TRUE(dialog.isVisible()) << "Enter takes the path, and the dialog stays";
        EXPECT_EQ(prompts.asked.back().text,
                  "The path entered as ' Copy File Target ' does not exist. Use it anyway?");
        EXPECT_EQ(prompts.asked.back().buttons, MessageButtons::YesNoDefaultNo);
    }
    EXPECT_EQ(profile.ProfileGetString("paths", "LastCopyFileTarget", ""), "/no/such/folder");
    prompts.folders = {""}; // a click on the label: the picker of every purpose, its places too
    QTest::mouseClick(dialog.findChild<QLabel*>("Label3_1"), Qt::LeftButton);
    const FolderRequest& picking = prompts.folderRequests.at(0);
    EXPECT_EQ(
        std::tie(picking.caption, picking.prompt),
        std::make_tuple(
            QString("Select Folder"),
            QString("Select the folder representing the default path for ' Copy File Target '")));
    EXPECT_EQ(picking.places.at(0).path, "/home/ann/");

    auto* masks = dialog.findChild<QListWidget*>("lstMasks");
    auto* entry = dialog.findChild<QLineEdit*>("txtMask");
    for (const char* mask : {" *.B; ", "*.txt;", "*.a;"}) { // "*.txt;" is there already
        entry->setText(mask);
        dialog.MaskCommand(dlgPreferences::MaskButton::Add);
    }
    masks->setCurrentRow(0);
    dialog.MaskCommand(dlgPreferences::MaskButton::Delete);
    dialog.MaskCommand(dlgPreferences::MaskButton::Sort);
    QStringList rows;
    for (int i = 0; i < masks->count(); ++i) {
        rows << masks->item(i)->text();
    }
    EXPECT_EQ(rows,
              QStringList({"*.B;", "*.a;", "*.log;", "*.mdb;", "*.ppt;", "*.rtf;", "*.txt;"}));
    prompts.answers = {MessageAnswer::No};
    dialog.MaskCommand(dlgPreferences::MaskButton::Reload);
    EXPECT_EQ(prompts.asked.back().text,
              "The Mask List has changed. Reloading willl discard all changes. Continue?");
    // Another window closing meanwhile adds a mask: it stays beside the list arranged here.
    modPProfile other(profile.File().Path(), "/home/ann");
    MaskFavorites otherWindow;
    otherWindow.Load(other);
    otherWindow.Add("*.other;");
    otherWindow.Save(other);
    dialog.findChild<QPushButton*>("cmdOK")->click();
    EXPECT_EQ(masksCommitted, 1);
    EXPECT_EQ(profile.ProfileGetString("masks", "mask1", ""), "*.B;");
    EXPECT_EQ(profile.ProfileGetString("masks", "mask8", ""), "*.other;");
    EXPECT_EQ(profile.File().KeyNames("masks").size(), 8u);
}

TEST(dlgPreferences, ViewOptionsAndTheSortedColumnsColour) {
    TestTree t;
    modPProfile profile(t.Path("s.ini"), "/home/ann");
    profile.Start();
    ScriptedPrompts prompts;
    dlgPreferences dialog(profile, prompts, {});
    dialog.SetStartupTab(PreferencesTab::View);
    EXPECT_EQ(dialog.findChild<QTabWidget*>("tsPrefs")->currentIndex(), 4);
    dialog.findChild<QRadioButton*>("optView_0")->click();
    EXPECT_EQ(profile.ProfileGetString("options", "LVDefaultView", ""), "0");
    EXPECT_FALSE(dialog.findChild<QCheckBox*>("chkViews_1")->isEnabled()) << "list view: no grid";
    dialog.findChild<QRadioButton*>("optView_1")->click();
    dialog.findChild<QCheckBox*>("chkViews_1")->click();
    EXPECT_EQ(profile.ProfileGetString("options", "LVUseGridLines", ""), "0");
    dialog.findChild<QRadioButton*>("optStyle_1")->click();
    EXPECT_EQ(profile.ProfileGetString("options", "PBScrollStyle", ""), "1");
    prompts.colors = {0x00336699, std::nullopt};
    dialog.ChooseSortColor();
    dialog.ChooseSortColor(); // cancelled: the colour stays
    EXPECT_EQ(profile.ProfileGetString("options", "LVCustomSortColor", ""),
              std::to_string(0x00336699));
}

} // namespace

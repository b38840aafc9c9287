#include "ScriptedPrompts.h"
#include "TestTree.h"
#include "analysis/dlgDosLen.h"
#include "analysis/dlgRegFiles.h"
#include "analysis/dlgViewMasks.h"
#include "app/dlgAbout.h"
#include "fileops/FolderPickerDialog.h"
#include "fileops/dlgProgress.h"
#include "fileops/dlgProperties.h"
#include "platform/CancelFlag.h"
#include "platform/EventYield.h"
#include "platform/QtPrompts.h"
#include "settings/AppSettings.h"
#include "settings/modPProfile.h"

#include <QComboBox>
#include <QCoreApplication>
#include <QDialogButtonBox>
#include <QElapsedTimer>
#include <QLabel>
#include <QListWidget>
#include <QPushButton>
#include <fstream>
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
    auto* button = progress.findChild<QPushButton*>("cmdCancel");
    button->click();
    button->click();
    EXPECT_TRUE(cancel.IsRaised());
    EXPECT_TRUE(progress.isVisible()) << "Cancel leaves closing to the task";
    progress.Destroy();
    EXPECT_FALSE(progress.isVisible());
}

TEST(FolderPickerDialog, ShowsCaptionPromptAndTheStartFolderInSight) {
    TestTree t;
    for (int i = 0; i < 100; ++i) { // rows that arrive above the start folder, at two levels
        t.Folder("f" + std::to_string(1000 + i));
        t.Folder("z/f" + std::to_string(1000 + i));
    }
    t.Folder("z/z-start");
    FolderPickerDialog dialog({"Select Local Folder", "Pick one.", t.Root(), t.Path("z/z-start"), {}});
    dialog.show();
    EXPECT_EQ(dialog.windowTitle(), "Select Local Folder");
    EXPECT_EQ(dialog.findChild<QLabel*>("lblPrompt")->text(), "Pick one.");
    EXPECT_EQ(dialog.SelectedFolder(), t.Path("z/z-start"));
    EXPECT_TRUE(dialog.findChild<QDialogButtonBox*>()->button(QDialogButtonBox::Ok)->isEnabled());
    // The model reads the folder in the background: wait until it has (not a time to pass).
    QElapsedTimer waited;
    waited.start();
    while (!dialog.SelectedFolderInView() && waited.elapsed() < 30000) {
        QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents, 50);
    }
    EXPECT_TRUE(dialog.SelectedFolderInView());
}

TEST(dlgAbout, ShowsVersionMemoryAndOpensTheProjectPage) {
    TestTree t;
    std::ofstream(t.Path("meminfo")) << "MemTotal:       24684084 kB\nMemFree: 1 kB\n"
                                        "MemAvailable:   20971520 kB\n";
    EXPECT_EQ(dlgAbout::MemoryText(QString::fromStdString(t.Path("meminfo"))),
              "Physical memory: 23.5 GiB, of which 20.0 GiB available");
    EXPECT_EQ(dlgAbout::MemoryText("/nonexistent"), "Physical memory: unknown");
    EXPECT_TRUE(dlgAbout::MemoryText().contains("GiB available")) << "the real /proc/meminfo";
    RecordingDesktop desktop;
    dlgAbout about(desktop);
    EXPECT_TRUE(about.findChild<QLabel*>("lblVersion")->text().startsWith("Version "));
    EXPECT_FALSE(about.findChild<QLabel*>("lblIcon")->pixmap().isNull()) << "the program's icon";
    emit about.findChild<QLabel*>("lblLink")->linkActivated(kProjectPage);
    EXPECT_EQ(desktop.calls, std::vector<std::string>{std::string("url ") + kProjectPage});
}

TEST(dlgProperties, ShowsWhatTheFileSystemSays) {
    TestTree t;
    WriteBytes(t.Path("notes.txt"), "hello");
    chmod(t.Path("notes.txt").c_str(), 0640);
    t.SetTime("notes.txt", 1700000000, 0);
    dlgProperties properties(t.Path("notes.txt"));
    EXPECT_EQ(properties.Field("Name"), "notes.txt");
    EXPECT_EQ(properties.Field("Folder"), QString::fromStdString(t.Root()));
    EXPECT_EQ(properties.Field("Size"), "5 bytes");
    EXPECT_EQ(properties.Field("Permissions"), "-rw-r----- (640)");
    EXPECT_EQ(dlgProperties::PermissionsText(S_IFLNK | 0777), "lrwxrwxrwx (777)");
    dlgProperties gone(t.Path("vanished.txt"));
    EXPECT_EQ(gone.Field("Type"), "(cannot be read: it may have been moved or deleted)");
}

// A path in a message is never broken at a blank; when it must be, then after a "/".
TEST(QtPrompts, PathsInMessagesStayWhole) {
    const QFontMetrics metrics{QFont()};
    const int room = metrics.horizontalAdvance("Confirm opening of /home/ann/a b/c d.txt") + 4;
    const QChar nb(0xA0);
    const std::pair<QString, QStringList> cases[] = {
        {"Confirm opening of /home/ann/a b/c d.txt",
         {"Confirm opening of /home/ann/a" + QString(nb) + "b/c" + nb + "d.txt"}},
        {"Could not open ' /home/ann/a b/c d.txt ' with Editor: it failed",
         {"Could not open '", "/home/ann/a" + QString(nb) + "b/c" + nb + "d.txt", "' with Editor: it failed"}},
        {"Confirm opening of /home/ann/" + QString(40, 'x') + "/" + QString(40, 'y'),
         {"Confirm opening of", "/home/ann/", QString(40, 'x') + "/", QString(40, 'y')}},
        {"No path here, only words.", {"No path here, only words."}},
    };
    for (const auto& [text, lines] : cases) {
        int widest = 0;
        EXPECT_EQ(KeepPathsWhole(text, metrics, room, widest).split('\n'), lines);
        EXPECT_LE(widest, room);
    }
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
    for (const auto& [mask, built] : {std::pair{"*.txt; *.html", "*.html; *.txt; "}, {"*.*", "*.*"}}) {
        dlgRegFiles registered(profile, prompts);
        registered.PrefillList();
        registered.SetCurrentObjectMask(mask);
        EXPECT_EQ(registered.CurrentObjectMask(), built) << "selected from the mask, in list order";
    }
    dlgRegFiles registered(profile, prompts);
    registered.PrefillList();
    const auto count = [&] { return registered.findChild<QLabel*>("lbExtensionCount")->text(); };
    EXPECT_TRUE(count().startsWith("&Registered File Extensions (all) : ")) << count().toStdString();
    prompts.modals.push_back([](QDialog* d) {
        d->findChild<QComboBox*>("Combo1")->setCurrentText("2");
        return static_cast<int>(QDialog::Accepted);
    });
    registered.FilterMenu(3);
    EXPECT_TRUE(count().startsWith("&Registered File Extensions (dos) : ")) << count().toStdString();
    EXPECT_EQ(profile.ProfileGetString("options", "RegFilesDosLength", ""), "3");
}

} // namespace

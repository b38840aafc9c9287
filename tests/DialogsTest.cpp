#include "ScriptedPrompts.h"
#include "TestTree.h"
#include "app/MainStartup.h"
#include "app/dlgAbout.h"
#include "app/frmMain.h"
#include "fileops/FolderPickerDialog.h"
#include "fileops/dlgProgress.h"
#include "fileops/dlgProperties.h"
#include "platform/CancelFlag.h"
#include "platform/EventYield.h"
#include "platform/QtPrompts.h"
#include "settings/modPProfile.h"

#include <QCoreApplication>
#include <QDialogButtonBox>
#include <QElapsedTimer>
#include <QLabel>
#include <QPushButton>
#include <QScreen>
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
    progress.SetMessage("Copying a.txt");
    EXPECT_EQ(progress.Message(), "Copying a.txt");

    progress.Create(3, 10, true);
    EXPECT_TRUE(progress.isVisible());
    EXPECT_TRUE(progress.CancelShown());
    const int expected[] = {3, 6, 9, 9, 9};
    for (int value : expected) {
        progress.Update(3);
        EXPECT_EQ(progress.Value(), value);
    }
    progress.UpdateDirect(11);
    EXPECT_EQ(progress.Value(), 9) << "past the maximum the bar stays";
    progress.UpdateDirect(10);
    EXPECT_EQ(progress.Value(), 10);
    progress.Reset();
    EXPECT_EQ(progress.Value(), 0);
    progress.Update(3);
    EXPECT_EQ(progress.Value(), 3) << "Reset starts the count again";
    progress.Setup(1, 50, 7);
    EXPECT_EQ(progress.Maximum(), 50);
    EXPECT_EQ(progress.Value(), 7);

    auto* button = progress.findChild<QPushButton*>("cmdCancel");
    button->click();
    button->click();
    EXPECT_TRUE(cancel.IsRaised());
    EXPECT_TRUE(progress.isVisible()) << "Cancel leaves closing to the task";
    progress.Destroy();
    EXPECT_FALSE(progress.isVisible());

    progress.Create(1, 5, false);
    EXPECT_FALSE(progress.CancelShown());
    progress.Destroy();
}

TEST(FolderPickerDialog, ShowsCaptionPromptAndTheStartFolderInSight) {
    TestTree t;
    for (int i = 0; i < 100; ++i) { // rows that arrive above the start folder, at two levels
        t.Folder("f" + std::to_string(1000 + i));
        t.Folder("z/f" + std::to_string(1000 + i));
    }
    t.Folder("z/z-start");
    FolderPickerDialog dialog({"Select Local Folder", "Pick one.", t.Root(), t.Path("z/z-start")});
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
    FolderPickerDialog none({"", "", t.Root(), ""});
    EXPECT_EQ(none.SelectedFolder(), "");
    EXPECT_FALSE(none.findChild<QDialogButtonBox*>()->button(QDialogButtonBox::Ok)->isEnabled());
}

class StartupTest : public testing::Test {
protected:
    void Start(const std::string& windows) {
        window.reset(); // it refers to the settings about to be replaced
        if (!windows.empty()) {
            std::ofstream(config.Path("tallymoor.ini"), std::ios::binary)
                << "[windows]\r\n" + windows;
        }
        profile = std::make_unique<modPProfile>(config.Path("tallymoor.ini"), "/home/ann");
        profile->Start();
        window = std::make_unique<frmMain>(*profile, prompts, desktop, cancel);
        PlaceMainWindow(*window, *profile);
        const QScreen* screen = window->screen();
        dpi = screen->logicalDotsPerInch();
        screenTwips = QSize(static_cast<int>(screen->size().width() * 1440.0 / dpi),
                            static_cast<int>(screen->size().height() * 1440.0 / dpi));
    }
    int Pixels(int twips) const { return static_cast<int>(twips * dpi / 1440.0); }

    TestTree config;
    ScriptedPrompts prompts;
    RecordingDesktop desktop;
    CancelFlag cancel;
    std::unique_ptr<modPProfile> profile;
    std::unique_ptr<frmMain> window;
    double dpi = 96;
    QSize screenTwips;
};

// Where the window opens, by what [windows] holds, and what the file says while it runs.
TEST_F(StartupTest, PlacementFromTheSettingsFile) {
    struct Case {
        const char* stored; // "" : no settings file yet
        int left, top, width, height; // twips; -1 left or top: centred
        bool maximised;
    };
    const Case cases[] = {
        {"", -1, -1, 11970, 9270, false},
        {"Winstate=1\r\nLeft=300\r\nTop=0\r\nWidth=6000\r\nHeight=4500\r\n", 300, 9270, 6000, 4500,
         false}, // a stored top of 0 reads as the default height; minimised is ignored
        {"Winstate=2\r\nLeft=300\r\nTop=400\r\nWidth=6000\r\nHeight=4500\r\n", 300, 400, 6000, 4500,
         true},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.stored);
        Start(c.stored);
        EXPECT_EQ(window->windowTitle(), " Tallymoor");
        if (!c.maximised) {
            EXPECT_EQ(window->width(), Pixels(c.width));
            EXPECT_EQ(window->x(),
                      Pixels(c.left >= 0 ? c.left : (screenTwips.width() - 11970) / 2));
            if (c.top >= 0) {
                EXPECT_EQ(window->y(), Pixels(c.top));
            }
        }
        EXPECT_EQ(bool(window->windowState() & Qt::WindowMaximized), c.maximised);
        EXPECT_EQ(profile->ProfileGetString("windows", "Winstate", ""), c.maximised ? "2" : "0");
        EXPECT_EQ(profile->ProfileGetString("windows", "Width", ""), "11970")
            << "the file holds the default placement while the program runs";
    }
    window->show();
    window->close(); // maximised: a centred default, 11970 for both offsets
    EXPECT_EQ(profile->ProfileGetString("windows", "Left", ""),
              std::to_string((screenTwips.width() - 11970) / 2));
    EXPECT_EQ(profile->ProfileGetString("windows", "Top", ""),
              std::to_string((screenTwips.height() - 11970) / 2));
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
    EXPECT_TRUE(properties.Field("Owner").startsWith("root:") ||
                !properties.Field("Owner").isEmpty());
    EXPECT_FALSE(properties.Field("Modified").isEmpty());
    EXPECT_EQ(dlgProperties::PermissionsText(S_IFDIR | 0755), "drwxr-xr-x (755)");
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

} // namespace

#include "ScriptedPrompts.h"
#include "TestTree.h"
#include "app/MainStartup.h"
#include "app/dlgAbout.h"
#include "app/frmMain.h"
#include "fileops/FolderPickerDialog.h"
#include "fileops/dlgProgress.h"
#include "fileops/dlgProperties.h"
#include "fileops/modBrowse.h"
#include "platform/CancelFlag.h"
#include "settings/modPProfile.h"

#include <QDialogButtonBox>
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
    dlgProgress progress(cancel, settings, nullptr);
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

struct PurposeCase {
    int purpose;
    const char* caption;
    const char* prompt;
    const char* root; // "home", "/" or "network"
    const char* key;
};

TEST(modBrowse, EveryPurposeHasItsCaptionPromptRootAndMemory) {
    const PurposeCase cases[] = {
        {1, "Select Destination Folder",
         "Select the folder or drive into which the selected files will be copied.", "home",
         "LastCopyFileTarget"},
        {2, "Select Local Folder",
         "Select the folder or drive into which the selected folder should be copied.", "/",
         "LastCopyFolderTarget"},
        {3, "Select Destination Folder",
         "Choose the folder or drive into which all contents of selected folder should be copied.",
         "/", "LastCopyFolderTarget"},
        {4, "", "", "home", "LastMoveFileTarget"},
        {5, "Select Destination Location",
         "You are about to move a folder and all its contents. Choose a new location for the "
         "selected folder.",
         "home", "LastMoveFolderTarget"},
        {6, "Select Local Folder", "Select the folder or drive in which to begin the search.", "/",
         "LastSourceFolder"},
        {7, "Select Network Share", "Select the network share in which to begin the search.",
         "network", "LastSourceNetFolder"},
        {8, "Select Network Administrative Share",
         "Select the network share in which to begin the search.", "network",
         "LastSourceNetAdminFolder"}};
    for (const auto& c : cases) {
        TestTree t;
        t.Folder("home");
        t.Folder("start");
        t.Folder("picked");
        modPProfile profile(t.Path("tallymoor.ini"), t.Path("home"));
        profile.Start();
        AppSettings& s = profile.Settings();
        for (std::string* path :
             {&s.LastCopyFileTarget, &s.LastCopyFolderTarget, &s.LastMoveFileTarget,
              &s.LastMoveFolderTarget, &s.LastSourceNetFolder, &s.LastSourceNetAdminFolder}) {
            *path = t.Path("start");
        }
        ScriptedPrompts prompts;
        prompts.folders.push_back(t.Path("picked"));
        const std::string picked =
            modBrowse::PickFolder(c.purpose, true, t.Path("start"), profile, prompts);
        EXPECT_EQ(picked, t.Path("picked"));
        ASSERT_EQ(prompts.folderRequests.size(), 1u);
        const FolderRequest& r = prompts.folderRequests[0];
        EXPECT_EQ(r.caption, c.caption) << c.purpose;
        EXPECT_EQ(r.prompt, c.prompt) << c.purpose;
        const std::string root = std::string(c.root) == "home" ? t.Path("home/")
                                 : std::string(c.root) == "/"  ? "/"
                                                               : r.root;
        EXPECT_EQ(r.root, root) << c.purpose;
        // purpose 4 always starts at the home folder
        EXPECT_EQ(r.start, c.purpose == 4 ? t.Path("home/") : t.Path("start")) << c.purpose;
        EXPECT_EQ(profile.ProfileGetString("paths", c.key, ""), t.Path("picked")) << c.purpose;
        EXPECT_EQ(profile.ProfileGetString("paths", "LastCfmBrowseID", ""),
                  std::to_string(c.purpose));
        EXPECT_TRUE(prompts.asked.empty());
    }
}

TEST(modBrowse, MissingStartCancelAndUnknownPurposes) {
    TestTree t;
    t.Folder("home");
    modPProfile profile(t.Path("tallymoor.ini"), t.Path("home"));
    profile.Start();
    profile.Settings().LastCopyFileTarget = t.Path("deleted-since");
    ScriptedPrompts prompts;
    EXPECT_EQ(modBrowse::PickFolder(1, true, "", profile, prompts), "");
    EXPECT_EQ(prompts.folderRequests[0].start, t.Path("home/"));
    EXPECT_EQ(profile.ProfileGetString("paths", "LastCfmBrowseID", ""), "0")
        << "a cancelled pick remembers nothing";

    prompts.folders.push_back(t.Path("home"));
    modBrowse::PickFolder(9, true, "", profile, prompts);
    ASSERT_EQ(prompts.asked.size(), 1u);
    EXPECT_EQ(prompts.asked[0].text, "oops!");
    EXPECT_EQ(prompts.asked[0].icon, MessageIcon::None);
    EXPECT_EQ(prompts.folderRequests[1].caption, "");
    EXPECT_EQ(prompts.folderRequests[1].prompt, "");
    EXPECT_EQ(profile.ProfileGetString("paths", "LastCfmBrowseID", ""), "9");

    modBrowse::RememberPickedFolder(6, "", profile);
    EXPECT_EQ(profile.ProfileGetString("paths", "LastCfmBrowseID", ""), "9");
}

TEST(FolderPickerDialog, ShowsCaptionPromptAndTheStartFolder) {
    TestTree t;
    t.Folder("a/b");
    FolderPickerDialog dialog({"Select Local Folder", "Pick one.", t.Root(), t.Path("a/b")});
    EXPECT_EQ(dialog.windowTitle(), "Select Local Folder");
    EXPECT_EQ(dialog.findChild<QLabel*>("lblPrompt")->text(), "Pick one.");
    EXPECT_EQ(dialog.SelectedFolder(), t.Path("a/b"));
    EXPECT_TRUE(dialog.findChild<QDialogButtonBox*>()->button(QDialogButtonBox::Ok)->isEnabled());
    FolderPickerDialog none({"", "", t.Root(), ""});
    EXPECT_EQ(none.SelectedFolder(), "");
    EXPECT_FALSE(none.findChild<QDialogButtonBox*>()->button(QDialogButtonBox::Ok)->isEnabled());
}

class StartupTest : public testing::Test {
protected:
    void Start(const std::string& windows) {
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

TEST_F(StartupTest, FirstStartOpensCentredAtTheDefaultSize) {
    Start("");
    EXPECT_EQ(window->windowTitle(), " Tallymoor");
    EXPECT_EQ(window->width(), Pixels(11970));
    EXPECT_EQ(window->height(), Pixels(9270));
    EXPECT_EQ(window->x(), Pixels((screenTwips.width() - 11970) / 2));
    EXPECT_EQ(profile->ProfileGetString("windows", "Winstate", "?"), "0");
    EXPECT_EQ(profile->ProfileGetString("windows", "Width", ""), "11970");
    EXPECT_EQ(profile->ProfileGetString("windows", "Height", ""), "9270");
    EXPECT_EQ(profile->ProfileGetString("windows", "Left", ""),
              std::to_string(
                  (screenTwips.width() - static_cast<int>(window->width() * 1440.0 / dpi)) / 2));
}

TEST_F(StartupTest, AStoredTopOfZeroReadsAsTheDefaultHeight) {
    Start("Winstate=1\r\nLeft=300\r\nTop=0\r\nWidth=6000\r\nHeight=4500\r\n");
    EXPECT_EQ(window->y(), Pixels(9270));
    EXPECT_EQ(window->x(), Pixels(300));
    EXPECT_EQ(window->width(), Pixels(6000));
    EXPECT_FALSE(window->windowState() & Qt::WindowMinimized) << "a minimised state is ignored";
    EXPECT_EQ(profile->ProfileGetString("windows", "Winstate", ""), "0");
    EXPECT_EQ(profile->ProfileGetString("windows", "Width", ""), "11970")
        << "the file holds the default placement while the program runs";
}

TEST_F(StartupTest, AStoredMaximisedStateIsRestored) {
    Start("Winstate=2\r\nLeft=300\r\nTop=400\r\nWidth=6000\r\nHeight=4500\r\n");
    EXPECT_TRUE(window->windowState() & Qt::WindowMaximized);
    EXPECT_EQ(profile->ProfileGetString("windows", "Winstate", ""), "2");
}

TEST_F(StartupTest, ExitWhileMaximisedStoresACentredDefault) {
    Start("Winstate=2\r\nLeft=300\r\nTop=400\r\nWidth=6000\r\nHeight=4500\r\n");
    window->show();
    window->close();
    EXPECT_EQ(profile->ProfileGetString("windows", "Winstate", ""), "2");
    EXPECT_EQ(profile->ProfileGetString("windows", "Left", ""),
              std::to_string((screenTwips.width() - 11970) / 2));
    EXPECT_EQ(profile->ProfileGetString("windows", "Top", ""),
              std::to_string((screenTwips.height() - 11970) / 2));
    EXPECT_EQ(profile->ProfileGetString("windows", "Height", ""), "9270");
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

} // namespace

#include "ScriptedPrompts.h"
#include "TestTree.h"
#include "fileops/modShell.h"
#include "settings/AppSettings.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

namespace {

using modShell::ShellOpenDocument;
using modShell::ShellOpenSelected;
using modShell::ShellOpenWithDialog;
using modShell::ShellOpenWithNotepad;
using modShell::ShellShowProperties;

class ShellVerbsTest : public testing::Test {
protected:
    QStringList Questions() const { return prompts.Texts(); }
    AppSettings settings;
    ScriptedPrompts prompts;
    RecordingDesktop desktop;
};

const std::vector<std::string> kNone;
const std::vector<std::string> kOne = {"/home/ann/my file.txt"};
const std::vector<std::string> kThree = {"/a/-one", "/a/two \"2\"",
                                         "/a/thr\xff"
                                         "ee"};

TEST_F(ShellVerbsTest, NothingSelectedDoesNothingSilently) {
    ShellOpenSelected(kNone, false, settings, prompts, desktop);
    ShellOpenWithNotepad(kNone, settings, prompts, desktop);
    ShellShowProperties(kNone, prompts, desktop);
    EXPECT_TRUE(prompts.asked.empty());
    EXPECT_TRUE(desktop.calls.empty());
    ShellOpenWithDialog(kNone, settings, prompts, desktop);
    ASSERT_EQ(prompts.asked.size(), 1u);
    EXPECT_EQ(prompts.asked[0].text,
              "Sorry. The 'Open With' dialog may only be invoked when one file is selected.");
    EXPECT_EQ(prompts.asked[0].icon, MessageIcon::Information);
}

TEST_F(ShellVerbsTest, OneItemIsConfirmedByItselfOnly) {
    prompts.answers = {MessageAnswer::Yes, MessageAnswer::No};
    ShellOpenSelected(kOne, false, settings, prompts, desktop);
    ShellOpenSelected(kOne, false, settings, prompts, desktop);
    EXPECT_EQ(Questions(), (QStringList{"Confirm opening of /home/ann/my file.txt",
                                        "Confirm opening of /home/ann/my file.txt"}));
    EXPECT_EQ(prompts.asked[0].icon, MessageIcon::Question);
    EXPECT_EQ(prompts.asked[0].buttons, MessageButtons::YesNo);
    EXPECT_EQ(desktop.calls, std::vector<std::string>{"open /home/ann/my file.txt"});

    settings.ConfirmOnOpen = false;
    ShellOpenSelected(kOne, false, settings, prompts, desktop);
    ShellOpenWithNotepad(kOne, settings, prompts, desktop);
    EXPECT_EQ(prompts.asked.size(), 2u) << "nothing asked with ConfirmOnOpen off";
    EXPECT_EQ(desktop.calls.back(), "editor /home/ann/my file.txt");
}

TEST_F(ShellVerbsTest, ManyItemsAskOnceThenEachAndARefusalSkipsOne) {
    prompts.answers = {MessageAnswer::Yes, MessageAnswer::Yes, MessageAnswer::No,
                       MessageAnswer::Yes};
    ShellOpenWithNotepad(kThree, settings, prompts, desktop);
    EXPECT_EQ(Questions(),
              (QStringList{"More than one file is selected. Are you sure you want to open all "
                           "selected files in the current window?",
                           "Confirm using Notepad to open: \r\n/a/-one",
                           "Confirm using Notepad to open: \r\n/a/two \"2\"",
                           "Confirm using Notepad to open: \r\n/a/thr\xef\xbf\xbd"
                           "ee"}));
    EXPECT_EQ(prompts.asked[0].icon, MessageIcon::Warning);
    EXPECT_EQ(prompts.asked[0].buttons, MessageButtons::YesNo);
    EXPECT_EQ(desktop.calls, (std::vector<std::string>{"editor /a/-one", "editor /a/thr\xff"
                                                                         "ee"}))
        << "the paths keep their bytes";

    prompts.asked.clear();
    desktop.calls.clear();
    prompts.answers = {MessageAnswer::No};
    ShellOpenSelected(kThree, false, settings, prompts, desktop);
    EXPECT_EQ(prompts.asked.size(), 1u);
    EXPECT_TRUE(desktop.calls.empty()) << "No to the first question ends the command";
}

TEST_F(ShellVerbsTest, PropertiesAskOnlyForManyItems) {
    ShellShowProperties(kOne, prompts, desktop);
    prompts.answers = {MessageAnswer::Yes};
    ShellShowProperties(kThree, prompts, desktop);
    EXPECT_EQ(Questions(), QStringList{"More than one file is selected. Are you sure you want to "
                                       "open property pages for all selected files?"});
    EXPECT_EQ(desktop.calls.size(), 4u);
    EXPECT_EQ(desktop.calls[0], "properties /home/ann/my file.txt");
}

TEST_F(ShellVerbsTest, FoldersAreExploredOnlyWhenAskedTo) {
    settings.ConfirmOnOpen = false;
    ShellOpenSelected({"/srv/data"}, true, settings, prompts, desktop);
    settings.OpenFoldersWithExplore = true;
    ShellOpenSelected({"/srv/data"}, true, settings, prompts, desktop);
    ShellOpenSelected({"/srv/file"}, false, settings, prompts, desktop);
    EXPECT_EQ(desktop.calls,
              (std::vector<std::string>{"open /srv/data", "explore /srv/data", "open /srv/file"}));
}

TEST_F(ShellVerbsTest, OpenWithIsForOneFile) {
    ShellOpenWithDialog(kThree, settings, prompts, desktop);
    EXPECT_TRUE(prompts.asked.empty());
    EXPECT_TRUE(desktop.calls.empty());
    prompts.answers = {MessageAnswer::No, MessageAnswer::Yes};
    ShellOpenWithDialog(kOne, settings, prompts, desktop);
    ShellOpenWithDialog(kOne, settings, prompts, desktop);
    EXPECT_EQ(Questions(),
              (QStringList{"Show the 'Open With...' dialog for file: \r\n/home/ann/my file.txt",
                           "Show the 'Open With...' dialog for file: \r\n/home/ann/my file.txt"}));
    EXPECT_EQ(desktop.calls, std::vector<std::string>{"openwith /home/ann/my file.txt"});
    settings.AskToOpenWith = false;
    ShellOpenWithDialog(kOne, settings, prompts, desktop);
    EXPECT_EQ(prompts.asked.size(), 2u);
    EXPECT_EQ(desktop.calls.size(), 2u);
}

TEST_F(ShellVerbsTest, DocumentsAndLinks) {
    ShellOpenDocument("https://tallymoor.example/", desktop);
    ShellOpenDocument("mailto:support@tallymoor.example", desktop);
    ShellOpenDocument("/usr/share/doc/README", desktop);
    EXPECT_EQ(desktop.calls, (std::vector<std::string>{"url https://tallymoor.example/",
                                                       "url mailto:support@tallymoor.example",
                                                       "open /usr/share/doc/README"}));
}

} // namespace

// Every entry of the menu bar and the two popups starts its own command, checked against a
// recording stand-in for the window: no main window is built.
#include "ScriptedPrompts.h"
#include "TestTree.h"
#include "app/window/MainMenus.h"
#include "app/window/MenuCommands.h"
#include "app/window/WindowContext.h"
#include "fileops/FileCommands.h"
#include "platform/CancelFlag.h"
#include "settings/dlgPreferences.h"
#include "settings/modBrowse.h"
#include "settings/modPProfile.h"

#include <QAction>
#include <QMenuBar>
#include <QWidget>
#include <gtest/gtest.h>

namespace {

class RecordingCommands : public MenuCommands {
public:
    void NewResults() override { Record("new"); }
    void CloseViews() override { Record("close views"); }
    void OpenSelected() override { Record("open"); }
    void OpenSelectedWithNotepad() override { Record("editor"); }
    void OpenSelectedWithDialog() override { Record("open with"); }
    void SaveResultList() override { Record("save"); }
    void SaveAllResults() override { Record("save all"); }
    void Request(PendingAction action) override {
        Record("command " + std::to_string(static_cast<int>(action)));
    }
    void ShowSelectedProperties() override { Record("properties"); }
    void Exit() override { Record("exit"); }
    void SelectAll() override { Record("select all"); }
    void SelectNone() override { Record("select none"); }
    void InvertSelection() override { Record("invert"); }
    void CopySelectionToClipboard() override { Record("clipboard"); }
    void ShowPreferences(PreferencesTab tab) override {
        Record("preferences " + std::to_string(static_cast<int>(tab)));
    }
    void SelectSearchRoot(modBrowse::PickPurpose purpose) override {
        Record("pick root " + std::to_string(static_cast<int>(purpose)));
    }
    void ShowRegisteredTypes() override { Record("registered types"); }
    void FilterOnCurrentType() override { Record("filter"); }
    void FilterOnMultipleTypes(bool asViews) override {
        Record(asViews ? "filter views" : "filter types");
    }
    void ChooseStarDotStar() override { Record("*.*"); }
    void ChooseMaskFavorite(size_t index, bool) override {
        Record("favourite " + std::to_string(index));
    }
    void OpenLink(const char* link) override { Record(std::string("link ") + link); }
    void ShowAbout() override { Record("about"); }
    void SetAsNewStartPath() override { Record("start path"); }
    bool FolderResults() const override { return folders; }
    int ViewCount() const override { return 1; }
    void EnableCensus(bool) override {}

    bool folders = false;
    std::vector<std::string> started;

private:
    void Record(const std::string& what) { started.push_back(what); }
};

TEST(MainMenus, EveryEntryStartsItsOwnCommand) {
    TestTree config;
    modPProfile profile(config.Path("tallymoor.ini"), "/home/ann");
    profile.Start();
    ScriptedPrompts prompts;
    RecordingDesktop desktop;
    CancelFlag cancel;
    WindowContext shared(profile, prompts, desktop, cancel);
    QWidget owner;
    RecordingCommands commands;
    MainMenus menus(owner, commands, shared);
    QMenuBar bar(&owner);
    menus.Build(&bar);
    const std::pair<const char*, std::string> entries[] = {
        {"mnuFile_0", "new"},
        {"mnuFile_1", "close views"},
        {"mnuFile_3", "open"},
        {"mnuFile_4", "editor"},
        {"mnuFile_5", "open with"},
        {"mnuFile_7", "save"},
        {"mnuFile_8", "save all"},
        {"mnuFile_10", "command 1"}, // copy the files shown
        {"mnuFile_12", "command 6"}, // delete them
        {"mnuFile_14", "properties"},
        {"mnuFile_16", "exit"},
        {"mnuEdit_0", "select all"},
        {"mnuEdit_1", "select none"},
        {"mnuEdit_2", "invert"},
        {"mnuEditCopy", "clipboard"},
        {"mnuEditPreferences", "preferences 1"},
        {"mnuSelect_0", "pick root 6"},
        {"mnuSelect_1", "pick root 7"},
        {"mnuSelect_2", "pick root 8"},
        {"mnuMasks_0", "registered types"},
        {"mnuMasks_2", "filter"},
        {"mnuMasks_3", "filter types"},
        {"mnuMasks_4", "filter views"},
        {"mnuMasks_6", "preferences 4"},
        {"mnuMasks_10", "*.*"},
        {"mnuListPop_0", "command 1"},
        {"mnuListPop_2", "command 6"},
        {"mnuListSendTo_2", "save"},
        {"mnuListSendTo_3", "clipboard"},
        {"mnuListPop_5", "filter"},
        {"mnuListPop_6", "filter types"},
        {"mnuListPop_7", "filter views"},
        {"mnuListPop_9", "open"},
        {"mnuListPop_10", "editor"},
        {"mnuListPop_11", "open with"},
        {"mnuListPop_13", "select all"},
        {"mnuListPop_14", "select none"},
        {"mnuListPop_15", "invert"},
        {"mnuListPop_17", "properties"},
        {"mnuFolderPopup_0", "start path"},
        {"mnuFolderPopup_2", "command 2"},
        {"mnuFolderPopup_3", "command 3"},
        {"mnuFolderPopup_4", "command 5"},
        {"mnuFolderPopup_5", "command 7"},
        {"mnuFolderSendTo_0", "save"},
        {"mnuFolderSendTo_1", "clipboard"},
        {"mnuFolderPopup_8", "open"},
        {"mnuFolderPopup_10", "select all"},
        {"mnuFolderPopup_11", "select none"},
        {"mnuFolderPopup_12", "invert"},
        {"mnuFolderPopup_14", "properties"},
    };
    for (const auto& [name, command] : entries) {
        auto* action = owner.findChild<QAction*>(name);
        ASSERT_NE(action, nullptr) << name;
        commands.started.clear();
        emit action->triggered(); // whatever the entry's state: what it would start
        EXPECT_EQ(commands.started, std::vector<std::string>{command}) << name;
    }
    // The Help menu's entries go by their captions.
    const std::pair<QString, std::string> help[] = {
        {"Tallymoor on the &Web", "link https://tallymoor.example/"},
        {"&Support by E-mail...", "link mailto:support@tallymoor.example"},
        {"&About Tallymoor...", "about"}};
    for (const auto& [caption, command] : help) {
        commands.started.clear();
        for (QAction* action : owner.findChildren<QAction*>()) {
            if (action->text() == caption) {
                emit action->triggered();
            }
        }
        EXPECT_EQ(commands.started, std::vector<std::string>{command}) << caption.toStdString();
    }
    // In a view of folders, File's Copy and Delete take the folder.
    commands.folders = true;
    commands.started.clear();
    for (const char* name : {"mnuFile_10", "mnuFile_12"}) {
        emit owner.findChild<QAction*>(name)->triggered();
    }
    EXPECT_EQ(commands.started, (std::vector<std::string>{"command 2", "command 7"}));
}

} // namespace

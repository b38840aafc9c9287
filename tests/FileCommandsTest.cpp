#include "fileops/FileCommands.h"

#include "ScriptedPrompts.h"
#include "TestTree.h"
#include "platform/CancelFlag.h"
#include "settings/AppSettings.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

namespace {

bool Exists(const std::string& path) {
    struct stat st {};
    return lstat(path.c_str(), &st) == 0;
}

struct ConfirmRow {
    PendingAction command;
    int selected;
    bool confirmEachFile;
    const char* question; // "" when none is asked
};

TEST(FileCommands, TheQuestionBeforeEachCommand) {
    const ConfirmRow rows[] = {
        {PendingAction::CopyFiles, 1, true, "Are you sure you want to copy ' /t/0 '?"},
        {PendingAction::CopyFiles, 2, true, "Are you sure you want to copy both selected files?"},
        {PendingAction::CopyFiles, 1234, true,
         "Are you sure you want to copy all 1,234 selected files?"},
        {PendingAction::CopyFolder, 1, true,
         "Are you sure you want to copy ' /t/0/ ' and all its contents to another location?"},
        {PendingAction::CopyFolder, 2, true, ""},
        {PendingAction::CopyFolderContents, 1, true,
         "Copy all files and folders under ' /t/0/ ' to another location?"},
        {PendingAction::MoveFolder, 1, true,
         "Are you sure you want to move ' /t/0/ ' and all its contents to another location?"},
        {PendingAction::DeleteFiles, 1, true, ""},
        {PendingAction::DeleteFiles, 1, false, "Are you sure you want to delete ' /t/0 '?"},
        {PendingAction::DeleteFiles, 2, true, "Are you sure you want to delete both selected files?"},
        {PendingAction::DeleteFiles, 3, true, "Are you sure you want to delete all 3 selected files?"},
        {PendingAction::DeleteFolder, 1, true,
         "Send ' /t/0 '\r\nand all its contents to the recycle bin?"},
        {PendingAction::MoveFiles, 1, true, ""},
    };
    for (const ConfirmRow& row : rows) {
        SCOPED_TRACE(row.question);
        std::vector<std::string> selected;
        for (int i = 0; i < row.selected; ++i) {
            selected.push_back("/t/" + std::to_string(i));
        }
        AppSettings settings;
        settings.ConfirmOnEachFileDelete = row.confirmEachFile;
        const bool asks = *row.question != '\0';
        ScriptedPrompts prompts;
        if (asks) {
            prompts.answers = {MessageAnswer::No};
        }
        EXPECT_EQ(ConfirmAction(row.command, selected, settings, prompts), !asks);
        EXPECT_EQ(prompts.Texts(), asks ? QStringList{row.question} : QStringList{});
        if (asks) {
            EXPECT_EQ(prompts.asked[0].title, " Tallymoor Confirmation");
            EXPECT_EQ(prompts.asked[0].buttons, MessageButtons::YesNo);
        }
        // Each question has its setting; switched off, it is not asked.
        settings.ConfirmOnCopy = settings.ConfirmOnMove = settings.ConfirmOnFileDelete = false;
        settings.ConfirmOnFolderDelete = false;
        EXPECT_TRUE(ConfirmAction(row.command, selected, settings, prompts));
    }
}

// A tree of files a.txt .. e.txt, the selection in that order, and a command context that
// records what it was told.
class DeleteFiles : public testing::Test {
protected:
    void SetUp() override {
        for (const char* name : {"a.txt", "b.txt", "c.txt", "d.txt", "e.txt"}) {
            tree.File(name);
            selection.push_back({tree.Path(name), 7});
        }
    }
    DeleteOutcome Run() {
        CommandContext context{settings,
                               prompts,
                               desktop,
                               cancel,
                               status,
                               [this] { onYield(); },
                               [](std::string_view p) { return QString::fromUtf8(p); },
                               [this](std::string_view p) { removed.emplace_back(p); },
                               [] {},
                               {}};
        return DeleteSelectedFiles(selection, context);
    }
    std::string Path(const char* name) const { return tree.Path(name); }
    static std::vector<std::string> Remarks(const DeleteOutcome& outcome) {
        std::vector<std::string> remarks;
        for (const SkippedItem& item : outcome.notProcessed) {
            remarks.push_back(item.path.substr(item.path.rfind('/') + 1) + ": " + item.remark +
                              (item.reason.empty() ? "" : " (" + item.reason + ")"));
        }
        return remarks;
    }

    TestTree tree;
    std::vector<SelectedItem> selection;
    AppSettings settings;
    ScriptedPrompts prompts;
    RecordingDesktop desktop;
    CancelFlag cancel;
    StatusLine status;
    std::function<void()> onYield = [] {};
    std::vector<std::string> removed;
};

TEST_F(DeleteFiles, EachFileAskedFromTheLastUpToCancel) {
    unlink(Path("d.txt").c_str()); // vanished after the search: listed, not asked for
    desktop.trashRefusals[Path("e.txt")] = "Permission denied";
    prompts.answers = {MessageAnswer::Yes, MessageAnswer::No, MessageAnswer::Cancel};
    const DeleteOutcome outcome = Run();
    EXPECT_EQ(prompts.Texts(), QStringList({"Are you sure you want to delete ' " +
                                                QString::fromStdString(Path("e.txt")) + " '?",
                                            "Are you sure you want to delete ' " +
                                                QString::fromStdString(Path("c.txt")) + " '?",
                                            "Are you sure you want to delete ' " +
                                                QString::fromStdString(Path("b.txt")) + " '?"}));
    EXPECT_EQ(prompts.asked[0].icon, MessageIcon::Warning);
    EXPECT_EQ(prompts.asked[0].buttons, MessageButtons::YesNoCancel);
    // a.txt, after the Cancel, is neither deleted nor listed.
    EXPECT_EQ(Remarks(outcome), (std::vector<std::string>{
                                    "b.txt: delete cancelled by user",
                                    "c.txt: file deletion skipped by user",
                                    "d.txt: file doesn't exist",
                                    "e.txt: error: file doesn't exist (Permission denied)"}));
    EXPECT_TRUE(Exists(Path("a.txt")) && Exists(Path("b.txt")) && Exists(Path("e.txt")));
    EXPECT_FALSE(outcome.changed);
    EXPECT_TRUE(removed.empty());
    EXPECT_EQ(status.Text(StatusPart::Objects), " File: 3 of 5");
    EXPECT_EQ(status.Text(StatusPart::Elapsed), " Skipped: 3");
}

TEST_F(DeleteFiles, EachFileDeletedIsTakenOutOfTheViews) {
    selection.resize(2);
    prompts.answers = {MessageAnswer::Yes, MessageAnswer::Yes};
    const DeleteOutcome outcome = Run();
    EXPECT_TRUE(outcome.changed);
    EXPECT_TRUE(outcome.notProcessed.empty());
    EXPECT_EQ(removed, (std::vector<std::string>{Path("b.txt"), Path("a.txt")}));
    EXPECT_FALSE(Exists(Path("a.txt")) || Exists(Path("b.txt")));
    EXPECT_EQ(status.Text(StatusPart::Message), " Deleting " + QString::fromStdString(Path("a.txt")));
}

TEST_F(DeleteFiles, TheBatchGoesAfterTheWalkAndListsWhatTheTrashRefused) {
    settings.ConfirmOnEachFileDelete = false;
    unlink(Path("a.txt").c_str());
    desktop.trashRefusals[Path("c.txt")] = "Read-only file system";
    QString whileWalking;
    onYield = [&] { whileWalking = status.Text(StatusPart::Message); };
    const DeleteOutcome outcome = Run();
    EXPECT_EQ(whileWalking, " Adding " + QString::fromStdString(Path("c.txt")));
    EXPECT_EQ(desktop.calls, (std::vector<std::string>{"trash " + Path("e.txt"), "trash " + Path("d.txt"),
                                                       "trash " + Path("c.txt"), "trash " + Path("b.txt")}));
    EXPECT_EQ(Remarks(outcome),
              (std::vector<std::string>{"a.txt: file doesn't exist",
                                        "c.txt: error: file doesn't exist (Read-only file system)"}));
    EXPECT_EQ(outcome.deleted, 3);
    // The views keep batch-deleted files until the next search.
    EXPECT_TRUE(removed.empty());
    EXPECT_EQ(status.Text(StatusPart::Message), " Deleting");
    EXPECT_EQ(status.Text(StatusPart::Objects), " File: 4 of 5");
}

TEST_F(DeleteFiles, ACancelledBatchDeletesNothingAndVanishedFilesAreAllListed) {
    settings.ConfirmOnEachFileDelete = false;
    onYield = [this] { cancel.Raise(); }; // at the second item: position 1
    EXPECT_EQ(Run().deleted, 0);
    EXPECT_TRUE(desktop.calls.empty());

    cancel.Lower();
    for (const SelectedItem& item : selection) {
        unlink(item.path.c_str());
    }
    onYield = [] {};
    const DeleteOutcome outcome = Run();
    EXPECT_EQ(outcome.skipped, 5);
    EXPECT_EQ(outcome.notProcessed.front().remark, "file doesn't exist");
    EXPECT_TRUE(desktop.calls.empty());
}

TEST(FileCommands, AFolderThatCannotGoIsToldWithItsReason) {
    TestTree t;
    t.File("gone/x.txt");
    t.File("kept/y.txt");
    t.File("plain.txt");
    AppSettings settings;
    ScriptedPrompts prompts;
    RecordingDesktop desktop;
    CancelFlag cancel;
    StatusLine status;
    CommandContext context{settings, prompts, desktop, cancel, status, {}, {}, {}, {}, {}};
    desktop.trashRefusals[t.Path("kept")] = "Trashing on system internal mounts is not supported";
    const std::pair<const char*, const char*> rows[] = {
        {"gone", ""},
        {"kept", "Trashing on system internal mounts is not supported"},
        {"plain.txt", "it is not a folder any more"}};
    for (const auto& [folder, reason] : rows) {
        const bool deleted = *reason == '\0';
        prompts.asked.clear();
        if (!deleted) {
            prompts.answers = {MessageAnswer::Ok};
        }
        EXPECT_EQ(DeleteFolder(t.Path(folder), context), deleted);
        EXPECT_EQ(prompts.Texts(), deleted ? QStringList() : QStringList{QString::fromStdString(
                      "Could not send ' " + t.Path(folder) + " ' to the trash: " + reason)});
        EXPECT_EQ(status.Text(StatusPart::Message), deleted ? " Folder deleted" : " Folder not deleted");
    }
    EXPECT_FALSE(Exists(t.Path("gone")));
    EXPECT_TRUE(Exists(t.Path("kept/y.txt")));
}

TEST(FileCommands, RescanOrAdvice) {
    struct Row {
        bool autoRescan, useMaximum;
        int maximum, rows;
        const char* status;
    } rows[] = {
        {false, false, 0, 10, "Ready! (Drive contents changed - rescan recommended.)"},
        {true, false, 5, 10, "Ready!"},
        {true, true, 5, 10, "Ready! (Rescan size exceeded - rescan recommended.)"},
        {true, true, 10, 10, "Ready!"},
        {true, true, -1, 10, "Ready!"},
    };
    for (const Row& row : rows) {
        AppSettings s;
        s.AutoRescanAfterAction = row.autoRescan;
        s.AutoRescanUseMaximum = row.useMaximum;
        s.AutoRescanMaximum = row.maximum;
        EXPECT_EQ(RescanAdviceText(RescanOrAdvise(s, row.rows)), row.status);
    }
}

} // namespace

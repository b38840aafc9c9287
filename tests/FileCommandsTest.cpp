#include "fileops/FileCommands.h"

#include "ScriptedPrompts.h"
#include "TestTree.h"
#include "fileops/FileCopy.h"
#include "platform/CancelFlag.h"
#include "platform/FileReplacement.h"
#include "platform/OpenFileGuard.h"
#include "platform/PathAccess.h"
#include "platform/Progress.h"
#include "platform/UniqueFd.h"
#include "settings/AppSettings.h"
#include "text/PathText.h"

#include <climits>
#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <sys/file.h>
#include <sys/mman.h>
#include <sys/mount.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

// Whether this file system gives this user leases (the tests' folder, not the program's).
bool LeasesHere(const std::string& file) {
    const UniqueFd fd(open(file.c_str(), O_RDONLY | O_CLOEXEC));
    return ReadLease(fd.Get(), FileSystemKindOf(fd.Get()) == FileSystemKind::Disk).Taken() ==
           ReadLease::State::Held;
}

struct ConfirmRow {
    PendingAction command;
    int selected;
    bool confirmEachFile;
    const char* question; // "" when none is asked
};

TEST(FileCommands, TheQuestionBeforeEachCommand) {
    // clang-format off
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
    // clang-format on
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
    CommandContext Context() {
        return {settings,
                prompts,
                desktop,
                cancel,
                status,
                [this] { onYield(); },
                [](std::string_view p) { return QString::fromUtf8(p); },
                [this](std::string_view p) { removed.emplace_back(p); },
                [] {},
                {},
                progress,
                &faults,
                {}};
    }
    DeleteOutcome Run() {
        CommandContext context = Context();
        return DeleteSelectedFiles(selection, context);
    }
    std::string Path(const std::string& name) const { return tree.Path(name); }
    template <class Outcome> static std::vector<std::string> Remarks(const Outcome& outcome) {
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
    CopyFaults faults;
    Progress* progress = nullptr;
};

// The progress window's last message and bar maximum.
class LastProgress : public Progress {
public:
    void Create(int, int, bool) override {}
    void Destroy() override {}
    void Reset() override {}
    void SetMessage(const QString& text) override { message = text; }
    void Setup(int, int max, int) override { maximum = max; }
    void Update(int) override {}
    void UpdateDirect(int) override {}
    QString message;
    int maximum = -1;
};

TEST_F(DeleteFiles, EachFileAskedFromTheLastUpToCancel) {
    unlink(Path("d.txt").c_str()); // vanished after the search: listed, not asked for
    desktop.trashRefusals[Path("e.txt")] = "Permission denied";
    prompts.answers = {MessageAnswer::Yes, MessageAnswer::No, MessageAnswer::Cancel};
    const DeleteOutcome outcome = Run();
    const auto question = [&](const char* name) {
        return "Are you sure you want to delete ' " + QString::fromStdString(Path(name)) + " '?";
    };
    EXPECT_EQ(prompts.Texts(),
              QStringList({question("e.txt"), question("c.txt"), question("b.txt")}));
    EXPECT_EQ(prompts.asked[0].icon, MessageIcon::Warning);
    EXPECT_EQ(prompts.asked[0].buttons, MessageButtons::YesNoCancel);
    // a.txt, after the Cancel, is neither deleted nor listed.
    EXPECT_EQ(Remarks(outcome),
              (std::vector<std::string>{
                  "b.txt: delete cancelled by user", "c.txt: file deletion skipped by user",
                  "d.txt: file doesn't exist",
                  "e.txt: error: file doesn't exist (it is still there: Permission denied)"}));
    EXPECT_TRUE(Exists(Path("a.txt")) && Exists(Path("b.txt")) && Exists(Path("e.txt")));
    EXPECT_FALSE(outcome.changed);
    EXPECT_TRUE(removed.empty());
    EXPECT_EQ(status.Text(StatusPart::Objects), " File: 3 of 5");
    EXPECT_EQ(status.Text(StatusPart::Elapsed), " Skipped: 4");
}

TEST_F(DeleteFiles, TheCountsShownAfterTheLastAnswer) {
    selection.resize(3);
    prompts.answers = {MessageAnswer::Yes, MessageAnswer::No, MessageAnswer::Yes};
    const DeleteOutcome outcome = Run();
    EXPECT_EQ(outcome.deleted, 2);
    EXPECT_EQ(status.Text(StatusPart::Matched) + status.Text(StatusPart::Elapsed),
              " Deleted: 2 Skipped: 1");
}

TEST_F(DeleteFiles, TheBatchGoesAfterAnUncancelledWalkAndListsWhatTheTrashRefused) {
    settings.ConfirmOnEachFileDelete = false;
    onYield = [this] { cancel.Raise(); }; // at the second item: position 1
    EXPECT_EQ(Run().deleted, 0);
    EXPECT_TRUE(desktop.calls.empty()) << "a cancelled walk sends nothing";
    cancel.Lower();
    unlink(Path("a.txt").c_str());
    desktop.trashRefusals[Path("c.txt")] = "Read-only file system";
    QString whileWalking;
    onYield = [&] { whileWalking = status.Text(StatusPart::Message); };
    const DeleteOutcome outcome = Run();
    EXPECT_EQ(whileWalking, " Adding " + QString::fromStdString(Path("c.txt")));
    EXPECT_EQ(desktop.calls,
              (std::vector<std::string>{"trash " + Path("e.txt"), "trash " + Path("d.txt"),
                                        "trash " + Path("c.txt"), "trash " + Path("b.txt")}));
    EXPECT_EQ(Remarks(outcome),
              (std::vector<std::string>{
                  "a.txt: file doesn't exist",
                  "c.txt: error: file doesn't exist (it is still there: Read-only file system)"}));
    EXPECT_EQ(outcome.deleted, 3);
    // The views keep batch-deleted files until the next search.
    EXPECT_TRUE(removed.empty());
    EXPECT_EQ(status.Text(StatusPart::Message), " Deleting");
    EXPECT_EQ(status.Text(StatusPart::Objects), " File: 4 of 5");
    // Only vanished files: nothing is sent, every one is listed.
    unlink(Path("c.txt").c_str());
    desktop.calls.clear();
    EXPECT_EQ(Run().skipped, 5);
    EXPECT_TRUE(desktop.calls.empty());
}

TEST_F(DeleteFiles, AFolderThatCannotGoIsToldWithItsReason) {
    tree.File({"gone/x.txt", "kept/y.txt"});
    desktop.trashRefusals[Path("kept")] = "Trashing on system internal mounts is not supported";
    CommandContext context = Context();
    // clang-format off
    const std::pair<const char*, const char*> rows[] = {
        {"gone", ""},
        {"kept", "Trashing on system internal mounts is not supported"},
        {"a.txt", "it is not a folder any more"}};
    // clang-format on
    for (const auto& [folder, reason] : rows) {
        const bool deleted = *reason == '\0';
        prompts.asked.clear();
        if (!deleted) {
            prompts.answers = {MessageAnswer::Ok};
        }
        EXPECT_EQ(DeleteFolder(Path(folder), context), deleted);
        EXPECT_EQ(prompts.Texts(),
                  deleted ? QStringList()
                          : QStringList{QString::fromStdString("Could not send ' " + Path(folder) +
                                                               " ' to the trash: " + reason)});
        EXPECT_EQ(status.Text(StatusPart::Message),
                  deleted ? " Folder deleted" : " Folder not deleted");
    }
    EXPECT_FALSE(Exists(Path("gone")));
    EXPECT_TRUE(Exists(Path("kept/y.txt")));
}

// Copies never write over anything: each fault through the real engine on a real tree.
using CopyFiles = DeleteFiles;

TEST_F(CopyFiles, NothingThereIsWrittenOverAndNothingHalfCopiedStays) {
    TestTree to;
    WriteBytes(Path("a.txt"), "new a");
    tree.SetTime("a.txt", 1500000000, 0);
    WriteBytes(to.Path("b.txt"), "there before");
    to.Link("c.txt", to.Path("nowhere")); // a dangling link: nothing is written through it
    unlink(Path("d.txt").c_str());        // gone since the search
    tree.Link("l.txt", "a.txt");          // copied as a link, never read through
    selection.push_back({Path("l.txt"), 7});
    selection.push_back({Path("a.txt"), 7}); // its own copy made a moment ago is there now
    // Leftovers of copies killed while they wrote a file and a link, and a file still written.
    WriteBytes(to.Path(".b.txt.tallymoor-tmp.Ab12Cd"), "killed");
    to.SetTime(".b.txt.tallymoor-tmp.Ab12Cd", 1500000000, 0); // as a copy sets it before naming
    to.Link(".l.txt.tallymoor-tmp.Qw56Er", "a.txt");
    WriteBytes(to.Path(".c.txt.tallymoor-tmp.Xy34Zw"), "alive");
    const int alive = open(to.Path(".c.txt.tallymoor-tmp.Xy34Zw").c_str(), O_RDONLY | O_CLOEXEC);
    flock(alive, LOCK_EX);
    CommandContext context = Context();
    const auto leftovers = [&] {
        return std::make_tuple(Exists(to.Path(".b.txt.tallymoor-tmp.Ab12Cd")),
                               Exists(to.Path(".l.txt.tallymoor-tmp.Qw56Er")),
                               Exists(to.Path(".c.txt.tallymoor-tmp.Xy34Zw")));
    };
    CopySelectedFiles({{Path("d.txt"), 1}}, to.Dir(), context);
    EXPECT_EQ(leftovers(), std::make_tuple(true, true, true)) << "changed in the last minute";
    faults.clock = [] { return time(nullptr) + 61; };
    const CopyFilesOutcome outcome = CopySelectedFiles(selection, to.Dir(), context);
    EXPECT_EQ(Remarks(outcome),
              (std::vector<std::string>{"b.txt: duplicate file", "c.txt: duplicate file",
                                        "d.txt: source file not found", "a.txt: duplicate file"}));
    EXPECT_EQ(outcome.notProcessed[0].target, to.Path("b.txt"));
    EXPECT_EQ(ReadBytes(to.Path("b.txt")), "there before");
    EXPECT_FALSE(Exists(to.Path("nowhere")));
    EXPECT_EQ(leftovers(), std::make_tuple(false, false, true))
        << "a killed copy's leftovers go a minute later, a live one's stays";
    close(alive);
    EXPECT_EQ(ReadBytes(to.Path("a.txt")), "new a");
    struct stat st {};
    ASSERT_EQ(stat(to.Path("a.txt").c_str(), &st), 0);
    EXPECT_EQ(st.st_mtim.tv_sec, 1500000000) << "the source's time kept";
    char link[8] = {};
    EXPECT_EQ(readlink(to.Path("l.txt").c_str(), link, sizeof link), 5);
    EXPECT_EQ(std::make_tuple(outcome.processed, outcome.copied, outcome.skipped),
              std::make_tuple(6, 3, 4));
    EXPECT_EQ(status.Text(StatusPart::Message),
              " Copying " + QString::fromStdString(Path("a.txt")));
    EXPECT_EQ(status.Text(StatusPart::Objects), " File: 6 of 7");
    EXPECT_EQ(status.Text(StatusPart::Matched), " Copied: 3");
    EXPECT_EQ(status.Text(StatusPart::Elapsed), " Skipped: 4");

    // What the kernel makes up as it is read is not copied: a page map would read on for ever.
    EXPECT_EQ(Remarks(CopySelectedFiles({{"/proc/self/status", 1}}, to.Dir(), context)),
              std::vector<std::string>{"status: not a regular file on disk"});

    // Whatever stops a copy, its name is not there before the file is whole, and nothing of it
    // stays; with unnamed files and range copies, and without (as between some file systems).
    // A writer that opens the source meanwhile breaks the copy's lease (this one gives up at
    // once, as one that waits would wait on the copy); where no lease can be had, a change is
    // told by the source's identity. The last row copies.
    const auto sameSizeTimeSetBack = [&](const TestTree&) {
        struct stat st {};
        stat(Path("e.txt").c_str(), &st);
        WriteBytes(Path("e.txt"), std::string(5 << 20, 'x'));
        const timespec times[2] = {st.st_atim, st.st_mtim};
        return utimensat(AT_FDCWD, Path("e.txt").c_str(), times, 0); // only the ctime tells
    };
    const auto writerOpens = [&](const TestTree&) {
        EXPECT_EQ(open(Path("e.txt").c_str(), O_WRONLY | O_NONBLOCK | O_CLOEXEC), -1);
        EXPECT_EQ(errno, EWOULDBLOCK) << "the copy's lease holds it";
        return 0;
    };
    const bool leases = LeasesHere(Path("a.txt"));
    // clang-format off
    const std::tuple<const char*, bool, std::function<int(const TestTree&)>> stops[] = {
        {"28 (No space left on device)", true, [](const TestTree&) { return ENOSPC; }},
        {"30 (Read-only file system)", true, [](const TestTree&) { return EROFS; }},
        {"125 (Operation canceled)", true, [&](const TestTree&) { cancel.Raise(); return 0; }},
        {"file in use (another program has it open for writing)", true, writerOpens},
        {"source changed during copy", false, [&](const TestTree&) { return truncate(Path("e.txt").c_str(), 5); }},
        {"source changed during copy", true, [](const TestTree&) { return -1; }}, // its data ends early
        {"source changed during copy", false, [&](const TestTree&) { WriteBytes(Path("e.txt"), std::string(5 << 20, 'x')); return 0; }},
        {"source changed during copy", false, [&](const TestTree&) { std::ofstream(Path("e.txt"), std::ios::app) << "+"; return 0; }},
        {"source changed during copy", false, sameSizeTimeSetBack},
        {"duplicate file", true, [](const TestTree& to) { WriteBytes(to.Path("e.txt"), "appeared"); return 0; }},
        {"", true, [](const TestTree&) { return 0; }}};
    // clang-format on
    for (const bool unnamed : {true, false}) {
        faults.noUnnamedFiles = faults.noRangeCopies = !unnamed;
        for (const auto& [remark, leased, stop] : stops) {
            SCOPED_TRACE(std::string(remark) + (unnamed ? "" : " (a hidden name)"));
            if (!leases && std::string_view(remark).starts_with("file in use")) {
                continue; // no lease to break here; the identity rows stand in
            }
            faults.noLeases = !leased;
            TestTree empty;
            WriteBytes(Path("e.txt"), std::string(5 << 20, 'e'));
            size_t seen = 0;
            faults.write = [&, &stop = stop, acted = false](std::string_view,
                                                            int64_t done) mutable {
                if (done < (1 << 20) || std::exchange(acted, true)) {
                    return 0;
                }
                seen = ReaddirOrder(empty.Root()).size();
                return stop(empty);
            };
            const CopyFilesOutcome out = CopySelectedFiles(
                {{Path("a.txt"), 1}, {Path("e.txt"), 2}, {Path("c.txt"), 3}}, empty.Dir(), context);
            cancel.Lower();
            const bool copied = *remark == '\0', taken = remark == std::string("duplicate file");
            EXPECT_EQ(seen, unnamed ? 1u : 2u)
                << "a.txt, and the hidden name without unnamed files";
            EXPECT_EQ(Remarks(out),
                      copied ? std::vector<std::string>{}
                             : std::vector<std::string>{"e.txt: " + std::string(remark)});
            EXPECT_EQ(ReaddirOrder(empty.Root()).size(), *remark == '1'    ? 1u
                                                         : copied || taken ? 3u
                                                                           : 2u);
            const std::string there =
                Exists(empty.Path("e.txt")) ? ReadBytes(empty.Path("e.txt")) : "";
            EXPECT_TRUE(there == (copied  ? std::string(5 << 20, 'e')
                                  : taken ? "appeared"
                                          : ""))
                << there.size() << " bytes";
        }
    }
}

TEST_F(CopyFiles, AFolderCopyAsksAboutNamesThereAndKeepsLinksAsLinks) {
    TestTree to;
    tree.File("sub/deep/f.txt");
    tree.Link("sub/link", "deep/f.txt");
    ASSERT_EQ(mkfifo(Path("sub/pipe").c_str(), 0600), 0);
    to.Folder("sub");
    WriteBytes(to.Path("sub/a.txt"), "mine"); // the folder is merged; its names are asked about
    WriteBytes(to.Path("sub/b.txt"), "mine too");
    tree.File({"sub/a.txt", "sub/b.txt", "sub/c.txt"});
    WriteBytes(to.Path("sub/c.txt"), "keep");
    prompts.conflicts = {{ConflictChoice::Replace, false}, {ConflictChoice::Skip, true}};
    std::vector<SkippedItem> notProcessed;
    CommandContext context = Context();
    EXPECT_TRUE(
        CopyFolder(Path("sub"), to.Dir(), PendingAction::CopyFolder, context, notProcessed));
    ASSERT_EQ(prompts.conflictsAsked.size(), 2u); // the third name follows "for all"
    const std::string first = prompts.conflictsAsked[0].toStdString();
    const std::string name = first.substr(to.Path("sub/").size() + 2, 5); // in readdir order
    EXPECT_EQ(first, "' " + to.Path("sub/" + name) + " ' is already there.\n\nReplace it with ' " +
                         Path("sub/" + name) +
                         " '? What is there now goes to the trash, from where it can be restored.");
    EXPECT_EQ(desktop.calls.size(), 1u) << "the replaced file went to the trash first";
    EXPECT_EQ(ReadBytes(to.Path("sub/c.txt")), "keep");
    EXPECT_EQ(ReadBytes(to.Path("sub/deep/f.txt")), "");
    char link[64] = {};
    EXPECT_EQ(readlink(to.Path("sub/link").c_str(), link, sizeof link), 10);
    EXPECT_STREQ(link, "deep/f.txt");
    ASSERT_EQ(notProcessed.size(), 1u);
    EXPECT_EQ(notProcessed[0].path + ": " + notProcessed[0].remark,
              Path("sub/pipe") + ": special file not copied");
    EXPECT_EQ(status.Text(StatusPart::Message), " Folder not copied");
    // What the trash will not take is not replaced: it stays as it was, and is listed.
    WriteBytes(to.Path("sub/a.txt"), "mine again");
    desktop.trashRefusals[to.Path("sub/a.txt")] = "Permission denied";
    prompts.conflicts = {{ConflictChoice::Replace, true}};
    CopyFolder(Path("sub"), to.Dir(), PendingAction::CopyFolder, context, notProcessed);
    EXPECT_EQ(ReadBytes(to.Path("sub/a.txt")), "mine again");
    CopyFilesOutcome listed;
    listed.notProcessed = notProcessed;
    std::vector<std::string> remarks = Remarks(listed);
    std::sort(remarks.begin(), remarks.end()); // in the order read from the disk
    EXPECT_EQ(remarks,
              (std::vector<std::string>{"a.txt: not replaced (Permission denied)",
                                        "pipe: special file not copied (not a regular file)"}));

    // Into itself, or below itself: refused before anything is written.
    for (const auto& [into, mode] : {std::pair{Path("sub/deep"), PendingAction::CopyFolder},
                                     {Path("sub/deep"), PendingAction::CopyFolderContents},
                                     {Path("sub"), PendingAction::CopyFolder},
                                     {tree.Dir(), PendingAction::CopyFolder}}) {
        prompts.answers = {MessageAnswer::Ok};
        EXPECT_FALSE(CopyFolder(Path("sub"), into, mode, context, notProcessed));
        EXPECT_TRUE(
            prompts.Texts().back().endsWith("': that is the folder itself or lies inside it."));
        EXPECT_EQ(status.Text(StatusPart::Message), mode == PendingAction::CopyFolder
                                                        ? " Folder not copied"
                                                        : " Contents not copied");
    }
    TestTree contents;
    const std::string into = contents.Dir();
    EXPECT_TRUE(CopyFolder(Path("sub/deep"), into, PendingAction::CopyFolderContents, context,
                           notProcessed));
    EXPECT_EQ(ReaddirOrder(contents.Root()), std::vector<std::string>{contents.Path("f.txt")});
    EXPECT_EQ(status.Text(StatusPart::Message), " Contents copied");
    EXPECT_TRUE(
        CopyFolder(Path("sub/deep"), into, PendingAction::CopyFolder, context, notProcessed));
    EXPECT_TRUE(Exists(contents.Path("deep/f.txt")));
    EXPECT_EQ(status.Text(StatusPart::Message), " Folder copied");
    // A copy cut short leaves no folder of its making empty: cancelled inside x/y, or holding
    // only what could not be copied.
    tree.File("cut/x/y/big");
    tree.Folder("cut/p");
    ASSERT_EQ(mkfifo(Path("cut/p/pipe").c_str(), 0600), 0);
    TestTree cut;
    faults.write = [&](std::string_view target, int64_t) {
        return target == "big" ? cancel.Raise(), 0 : 0;
    };
    CopyFolder(Path("cut"), cut.Root(), PendingAction::CopyFolder, context, notProcessed);
    EXPECT_EQ(ReaddirOrder(cut.Root()), std::vector<std::string>{});
    cancel.Lower();
    faults.write = {};
    CopyFolder(Path("cut"), cut.Root(), PendingAction::CopyFolder, context, notProcessed);
    EXPECT_EQ(ReaddirOrder(cut.Root()),
              (std::vector<std::string>{cut.Path("cut/"), cut.Path("cut/x/"), cut.Path("cut/x/y/"),
                                        cut.Path("cut/x/y/big")}));
}

TEST_F(CopyFiles, AMoveAcrossFileSystemsLeavesTheSourceWholeUntilAllArrived) {
    for (int i = 0; i < 5; ++i) {
        tree.File("m/f" + std::to_string(i));
        WriteBytes(Path("m/f" + std::to_string(i)), std::string(100, 'm'));
    }
    tree.Folder("to");
    const std::vector<std::string> before = ReaddirOrder(Path("m/"));
    faults.rename = [] { return EXDEV; };
    int files = 0;
    faults.write = [&](std::string_view, int64_t done) {
        return done == 0 && ++files == 3 ? EIO : 0;
    };
    std::vector<SkippedItem> notProcessed;
    CommandContext context = Context();
    EXPECT_FALSE(MoveFolder(Path("m"), Path("to"), context, notProcessed));
    EXPECT_EQ(ReaddirOrder(Path("m/")), before) << "the source whole";
    EXPECT_FALSE(Exists(Path("to/m"))) << "the partial copy taken back";
    ASSERT_EQ(notProcessed.size(), 1u);
    EXPECT_EQ(notProcessed[0].remark + " (" + notProcessed[0].reason + ")",
              "5 (Input/output error)");
    EXPECT_EQ(status.Text(StatusPart::Message), " Folder not moved");

    // A file rewritten after it was copied, its size the same, stays with its folder, and so
    // does one whose copy was cut short meanwhile; both are listed, the rest is moved.
    faults.write = {};
    const std::vector<std::string> changed = ReaddirOrder(Path("m/")); // the order copied
    onYield = [&, copied = 0]() mutable {                              // after each file
        if (++copied <= 2) {
            WriteBytes(copied == 1 ? changed[0] : Path("to/m/") + BaseName(changed[1]),
                       copied == 1 ? std::string(100, 'M') : "cut");
        }
    };
    LastProgress shown;
    context.progress = &shown;
    EXPECT_TRUE(MoveFolder(Path("m"), Path("to"), context, notProcessed));
    context.progress = nullptr;
    EXPECT_EQ(shown.message.toStdString() + " " + std::to_string(shown.maximum),
              "Removing the moved items from " + Path("m") + " 0")
        << "the copy's bytes are done: no full bar reading Copying";
    EXPECT_EQ(ReaddirOrder(Path("m/")), (std::vector<std::string>{changed[0], changed[1]}));
    ASSERT_EQ(notProcessed.size(), 2u);
    EXPECT_EQ(notProcessed[0].remark + ": " + notProcessed[0].reason,
              "not removed: it changed while it was moved");
    EXPECT_EQ(ReadBytes(changed[0]) + ReadBytes(changed[1]),
              std::string(100, 'M') + std::string(100, 'm'));
    EXPECT_EQ(status.Text(StatusPart::Message), " Folder moved");
    std::filesystem::remove_all(Path("m"));

    // On one file system a rename; a name already there is never replaced.
    faults.rename = {};
    tree.Folder("back/m");
    prompts.answers = {MessageAnswer::Ok};
    EXPECT_FALSE(MoveFolder(Path("to/m"), Path("back"), context, notProcessed));
    EXPECT_EQ(prompts.Texts().back(),
              QString::fromStdString("Could not move ' " + Path("to/m") + " ' to ' " +
                                     Path("back") + " ': something named ' m ' is already there"));
    EXPECT_TRUE(MoveFolder(Path("to/m"), tree.Dir(), context, notProcessed));
    EXPECT_EQ(ReaddirOrder(Path("m/")).size(), 5u);
    // Into itself, also where a move would copy.
    faults.rename = [] { return EXDEV; };
    tree.Folder("m/x");
    prompts.answers = {MessageAnswer::Ok};
    EXPECT_FALSE(MoveFolder(Path("m"), Path("m/x"), context, notProcessed));
    EXPECT_TRUE(prompts.Texts().back().endsWith("': a folder cannot be moved into itself"));
    EXPECT_EQ(ReaddirOrder(Path("m/x/")), std::vector<std::string>{});
    // A folder that became a file since it was listed is not moved, and says so.
    tree.File("was-folder");
    prompts.answers = {MessageAnswer::Ok};
    EXPECT_FALSE(MoveFolder(Path("was-folder"), Path("m/x"), context, notProcessed));
    EXPECT_TRUE(prompts.Texts().back().endsWith("': it is not a folder any more"));
    EXPECT_EQ(status.Text(StatusPart::Message), " Folder not moved");
}

// A writer may change a file in ways its identity never shows: through a shared mapping, or in
// one long write begun before the copy. Such a file is not copied, and a move leaves it.
TEST_F(CopyFiles, AFileAnotherProgramHasOpenForWritingIsNeitherCopiedNorMovedAway) {
    tree.File({"m/w.txt", "m/k.txt"});
    if (!LeasesHere(Path("m/w.txt"))) {
        GTEST_SKIP() << "this file system gives no leases; the identity checks stand in";
    }
    WriteBytes(Path("m/w.txt"), "being written");
    int fd = open(Path("m/w.txt").c_str(), O_RDWR | O_CLOEXEC);
    void* mapped = mmap(nullptr, 13, PROT_READ | PROT_WRITE, MAP_SHARED, fd, 0);
    ASSERT_NE(mapped, MAP_FAILED);
    close(fd); // the mapping keeps it open for writing
    TestTree to;
    CommandContext context = Context();
    const CopyFilesOutcome copy =
        CopySelectedFiles({{Path("m/w.txt"), 1}, {Path("m/k.txt"), 2}}, to.Dir(), context);
    EXPECT_EQ(Remarks(copy), std::vector<std::string>{
                                 "w.txt: file in use (another program has it open for writing)"});
    EXPECT_EQ(ReaddirOrder(to.Root()), std::vector<std::string>{to.Path("k.txt")});
    faults.rename = [] { return EXDEV; };
    std::vector<SkippedItem> notProcessed;
    EXPECT_FALSE(MoveFolder(Path("m"), to.Dir(), context, notProcessed));
    EXPECT_EQ(ReadBytes(Path("m/w.txt")), "being written") << "left where it was";
    EXPECT_FALSE(Exists(to.Path("m")));
    ASSERT_EQ(notProcessed.size(), 1u);
    EXPECT_EQ(notProcessed[0].remark, "file in use");
    munmap(mapped, 13);

    // Opened for writing once copied, before the source goes: it stays, the rest moves.
    UniqueFd writer;
    onYield = [&, files = 0]() mutable {
        if (++files == 2) {
            writer.Reset(open(Path("m/w.txt").c_str(), O_WRONLY | O_CLOEXEC));
        }
    };
    EXPECT_TRUE(MoveFolder(Path("m"), to.Dir(), context, notProcessed));
    EXPECT_EQ(ReaddirOrder(Path("m/")), std::vector<std::string>{Path("m/w.txt")});
    EXPECT_EQ(ReadBytes(to.Path("m/w.txt")), "being written") << "its copy arrived";
    ASSERT_EQ(notProcessed.size(), 1u);
    EXPECT_EQ(notProcessed[0].remark + ": " + notProcessed[0].reason,
              "file in use: another program has it open for writing");
}

TEST_F(CopyFiles, ItemsDeeperThanAPathCanNameAreCopiedMovedAndTrashed) {
    const std::vector<std::string> files = tree.DeepChain("deep", 24, std::string(200, 'd'));
    const std::string deepest = FolderOfPath(files.back()); // 24 levels of 200 bytes
    TestTree to;
    CommandContext context = Context();
    EXPECT_EQ(CopySelectedFiles({{files.back(), 1}}, to.Dir(), context).copied, 1);
    std::vector<SkippedItem> notProcessed;
    EXPECT_TRUE(CopyFolder(deepest, to.Dir(), PendingAction::CopyFolder, context, notProcessed));
    EXPECT_TRUE(MoveFolder(deepest, tree.Dir(), context, notProcessed));
    EXPECT_EQ(ReaddirOrder(to.Root()).size(), 3u);
    EXPECT_TRUE(Exists(Path(std::string(200, 'd') + "/f.txt")));
    settings.ConfirmOnEachFileDelete = false;
    DeleteSelectedFiles({{files[files.size() - 2], 1}}, context);
    EXPECT_EQ(desktop.calls, std::vector<std::string>{"trash " + files[files.size() - 2]});
}

// A path one byte either side of what the system takes whole (PATH_MAX, its NUL included) is
// reached, stated and copied alike.
TEST_F(CopyFiles, PathsAtTheLimitOfWhatTheSystemTakesWhole) {
    for (const size_t length : {PATH_MAX - 1, PATH_MAX, PATH_MAX + 1}) {
        SCOPED_TRACE(length);
        TestTree deep;
        std::string path = deep.Root();
        UniqueFd folder(open(path.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
        while (length - path.size() > 250) {
            const std::string name(200, 'd');
            mkdirat(folder.Get(), name.c_str(), 0755);
            folder.Reset(openat(folder.Get(), name.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
            path += name + "/";
        }
        const std::string file(length - path.size(), 'f');
        close(openat(folder.Get(), file.c_str(), O_WRONLY | O_CREAT | O_CLOEXEC, 0644));
        path += file;
        ASSERT_EQ(path.size(), length);
        struct stat made {};
        ASSERT_EQ(fstatat(folder.Get(), file.c_str(), &made, 0), 0);
        struct stat st {};
        ASSERT_TRUE(StatItem(path, st));
        EXPECT_EQ(st.st_ino, made.st_ino);
        const ItemAt item = OpenItem(path);
        ASSERT_TRUE(item);
        EXPECT_EQ(item.name, file);
        TestTree to;
        CommandContext context = Context();
        EXPECT_EQ(CopySelectedFiles({{path, 1}}, to.Dir(), context).copied, 1);
        EXPECT_TRUE(Exists(to.Path(file)));
    }
}

// A real move to another file system, when the test may mount one.
TEST_F(CopyFiles, ARealMoveAcrossFileSystems) {
    TestTree small;
    const std::string root = small.Dir();
    if (mount("tmpfs", root.c_str(), "tmpfs", 0, "size=1m") != 0) {
        GTEST_SKIP() << "no tmpfs may be mounted here; the injected faults stand in";
    }
    const struct Unmount {
        std::string path;
        ~Unmount() { umount2(path.c_str(), MNT_DETACH); }
    } unmount{root};
    CommandContext context = Context();
    tree.File("m/x/y.txt");
    WriteBytes(Path("m/x/y.txt"), "moved");
    std::vector<SkippedItem> notProcessed;
    EXPECT_TRUE(MoveFolder(Path("m"), root, context, notProcessed));
    EXPECT_EQ(ReadBytes(small.Path("m/x/y.txt")), "moved");
    EXPECT_FALSE(Exists(Path("m")));
}

TEST(FileCommands, RescanOrAdvice) {
    // AutoRescanAfterAction, AutoRescanUseMaximum, AutoRescanMaximum, the list's rows, the status
    // clang-format off
    const std::tuple<bool, bool, int, int, const char*> rows[] = {
        {false, false, 0, 10, "Ready! (Drive contents changed - rescan recommended.)"},
        {true, false, 5, 10, "Ready!"},
        {true, true, 5, 10, "Ready! (Rescan size exceeded - rescan recommended.)"},
        {true, true, 10, 10, "Ready!"},
        {true, true, -1, 10, "Ready!"}};
    // clang-format on
    for (const auto& [rescan, useMaximum, maximum, listRows, text] : rows) {
        AppSettings s;
        std::tie(s.AutoRescanAfterAction, s.AutoRescanUseMaximum, s.AutoRescanMaximum) =
            std::tie(rescan, useMaximum, maximum);
        EXPECT_EQ(RescanAdviceText(RescanOrAdvise(s, listRows)), text);
    }
}

} // namespace

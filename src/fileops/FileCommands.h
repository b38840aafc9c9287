#pragma once

#include "fileops/SkippedItem.h"
#include "output/StatusLine.h"
#include "settings/modBrowse.h"

#include <QString>
#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

class CancelFlag;
class Desktop;
class Progress;
class Prompts;
struct AppSettings;
struct CopyFaults;

// The file commands that wait for the window's timer, by their codes. Moving files (4) is
// offered by no command and runs nothing.
enum class PendingAction {
    None = 0,
    CopyFiles = 1,
    CopyFolder = 2,
    CopyFolderContents = 3,
    MoveFiles = 4,
    MoveFolder = 5,
    DeleteFiles = 6,
    DeleteFolder = 7,
};

// A selected result: its path's bytes and its modification time (FILETIME ticks).
struct SelectedItem {
    std::string path;
    int64_t lastWriteTime = 0;
};

// A remark or reason as the user reads it: the program's own words translated, the system's
// (already in the user's language) as they are.
QString RemarkText(const std::string& words);

// What a command reaches while it runs: the settings, the user, the desktop, the cancel flag,
// the status line, and the window around it.
struct CommandContext {
    const AppSettings& settings;
    Prompts& prompts;
    Desktop& desktop;
    const CancelFlag& cancel;
    StatusLine& status;
    std::function<void()> yield;                           // lets the event loop run
    std::function<QString(std::string_view)> shortPath;    // a path shortened for the status line
    std::function<void(std::string_view)> removeFromViews; // a path gone from the disk
    std::function<void()> prepareWindow;                   // saves and clears the controls
    std::function<void(std::string_view)> handled; // hears each item trashed, or each copy made
    Progress* progress = nullptr;                  // the progress window, when there is one
    const CopyFaults* faults = nullptr;            // faults a test puts into copies
    std::function<void(std::string_view)> working; // hears each item before it is touched
};

// The question a command asks before it runs, by its confirmation setting and the number of
// selected items (folder commands ask only for exactly one); true when it may go on. The box is
// titled with the application title and " Confirmation".
bool ConfirmAction(PendingAction command, const std::vector<std::string>& selected,
                   const AppSettings& settings, Prompts& prompts);

// `PrepareAction` for the delete commands: the question, then the window prepared.
bool PrepareDelete(PendingAction command, const std::vector<std::string>& selected,
                   CommandContext& context);

// Whether `path` is a folder or a link to one.
bool LeadsToFolder(const std::string& path);

// `PrepareAction` for copies and moves: the question, then the destination picked for the
// command's purpose (`pick`: "" when cancelled), which must be an existing folder (`isFolder`
// tells; the window asks it on a thread of its own); then the window prepared. The destination
// without a trailing "/", or nothing when the command ends.
std::optional<std::string>
PrepareCopy(PendingAction command, const std::vector<std::string>& selected,
            CommandContext& context, const std::function<std::string(modBrowse::PickPurpose)>& pick,
            const std::function<bool(const std::string&)>& isFolder = LeadsToFolder);

struct DeleteOutcome {
    bool changed = false;
    int processed = 0;
    int deleted = 0;
    int skipped = 0;
    std::vector<SkippedItem> notProcessed; // in selection order
};

// `DeleteSelectedFiles`, after PrepareDelete: the selection walked from the last item to the
// first; with ConfirmOnEachFileDelete each file is asked for and sent to the trash at once,
// otherwise the existing files are gathered and, unless the walk was cancelled, sent to the
// trash one by one. A file the trash cannot take stays where it is and is listed.
DeleteOutcome DeleteSelectedFiles(const std::vector<SelectedItem>& selection,
                                  CommandContext& context);

// `DeleteFolder`, after PrepareDelete: one existing folder to the trash. True when it went;
// otherwise says why. The status line tells "Folder deleted" or "Folder not deleted".
bool DeleteFolder(const std::string& folder, CommandContext& context);

struct CopyFilesOutcome {
    bool changed = false;
    int processed = 0;
    int copied = 0;
    int skipped = 0;
    std::vector<SkippedItem> notProcessed; // in selection order
};

// `CopySelectedFiles`, after PrepareCopy: each selected file into `destination` under its own
// name, never over anything there. A file gone since the search is "source file not found", a
// name already there "duplicate file" (with the target as its date's source), any other failure
// its error number with the system's words. Cancel stops after the current file, whose partial
// copy is removed.
CopyFilesOutcome CopySelectedFiles(const std::vector<SelectedItem>& selection,
                                   const std::string& destination, CommandContext& context);

// `CopyFolder`, after PrepareCopy: the folder itself (CopyFolder) or what it holds
// (CopyFolderContents) into `destination`; a name already there is asked about (Skip, Replace,
// Cancel), and what is replaced goes to the trash first. Never into itself. The status line
// tells "Folder copied", "Contents copied", "Folder not copied" or "Contents not copied". True
// when anything was copied; what was not goes to `notProcessed`.
bool CopyFolder(const std::string& folder, const std::string& destination, PendingAction mode,
                CommandContext& context, std::vector<SkippedItem>& notProcessed);

// `MoveFolder`, after PrepareCopy: the folder with all it holds into `destination`, where its
// name must be free; across file systems the source goes only once all of it arrived. "Folder
// moved" or "Folder not moved". True when the disk changed.
bool MoveFolder(const std::string& folder, const std::string& destination, CommandContext& context,
                std::vector<SkippedItem>& notProcessed);

// The question for a name already at a copy's target.
QString ConflictQuestion(const std::string& existing, const std::string& source);

// What follows a command that changed the disk (`RescanOrAdvise`).
enum class Rescan { Now, AdviseChanged, AdviseTooLarge };
Rescan RescanOrAdvise(const AppSettings& settings, int listRows);
// "Ready! (...)" for an advice.
QString RescanAdviceText(Rescan advice);
// The status after a command: "Ready!" when nothing changed, else the advice to rescan.
QString ChangedListText();

#pragma once

#include "fileops/FileCommands.h"

#include <QCoreApplication>
#include <functional>
#include <optional>
#include <string>
#include <vector>

class QTimer;
class frmMain;
struct WindowContext;

// The file commands: each started through a one-shot timer once the menu or key that asked for
// it is done, run with the window's controls saved and the search button as its Cancel, and
// followed by a rescan or the advice to make one.
class CommandRunner {
    Q_DECLARE_TR_FUNCTIONS(frmMain)

public:
    CommandRunner(frmMain& window, WindowContext& shared);

    // Starts a copy, move or delete once the event that asked for it is over.
    void Request(PendingAction action);
    // The timer's event: runs the waiting command, then rescans or advises a rescan.
    void TimerFired();
    bool Running() const { return running_; }

private:
    bool Run(PendingAction action);
    CommandContext Context();
    template <class Result>
    std::optional<Result> OffThread(const CommandContext& context,
                                    std::function<Result(CommandContext&)> body);
    void NotAnswering(const std::string& path);
    void Ended();
    void ShowNotProcessed(PendingAction command, const std::vector<SkippedItem>& items);
    bool DeleteFiles();
    bool DeleteFolder();
    bool CopyFiles();
    // Copying a folder or its contents, or moving it.
    bool FolderCommand(PendingAction command);
    // The destination of a copy or move, after its question; nothing when the command ends.
    std::optional<std::string> PrepareCopyCommand(PendingAction command,
                                                  const std::vector<std::string>& selected,
                                                  CommandContext& context);

    frmMain& window_;
    WindowContext& shared_;
    QTimer* Timer1;
    PendingAction pending_ = PendingAction::None;
    bool running_ = false;
    bool leftBehind_ = false; // the last command did not end: its thread waits on a call
};

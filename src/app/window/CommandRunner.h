#pragma once

#include "fileops/FileCommands.h"

#include <QCoreApplication>
#include <functional>
#include <optional>
#include <string>
#include <vector>

class QTimer;
class ChangeMonitor;
class QLabel;
class QWidget;
class ResultPane;
class SearchRequest;
class TypeCommands;
enum class PreferencesTab;
struct WindowContext;

// The file commands: each started through a one-shot timer once the menu or key that asked for
// it is done, run with the window's controls saved and the search button as its Cancel, and
// followed by a rescan or the advice to make one.
class CommandRunner {
    Q_DECLARE_TR_FUNCTIONS(frmMain)

public:
    // What the runner asks of the window: a search again, the preferences (from the list of
    // what was not processed), and the status line's message part (paths are fitted to it).
    struct Hooks {
        std::function<void()> rescan;
        std::function<void(PreferencesTab)> showPreferences;
        std::function<const QLabel*()> messagePart;
    };
    // Its timer and dialogs belong to `owner`.
    CommandRunner(QWidget& owner, WindowContext& shared, ResultPane& results,
                  SearchRequest& request, TypeCommands& types, ChangeMonitor& monitor, Hooks hooks);

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

    QWidget& owner_;
    WindowContext& shared_;
    ResultPane& results_;
    SearchRequest& request_;
    TypeCommands& types_;
    ChangeMonitor& monitor_;
    Hooks hooks_;
    QTimer* Timer1;
    PendingAction pending_ = PendingAction::None;
    bool running_ = false;
    bool leftBehind_ = false; // the last command did not end: its thread waits on a call
};

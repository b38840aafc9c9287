#include "app/window/CommandRunner.h"

#include "app/frmMain.h"
#include "app/window/ChangeMonitor.h"
#include "app/window/ResultPane.h"
#include "app/window/SearchController.h"
#include "app/window/SearchRequest.h"
#include "app/window/TypeCommands.h"
#include "app/window/WindowContext.h"
#include "fileops/dlgCopyErr.h"
#include "fileops/dlgProgress.h"
#include "platform/CancelFlag.h"
#include "platform/WindowPrompts.h"
#include "search/PathText.h"
#include "search/SearchStatus.h"
#include "settings/dlgPreferences.h"
#include "settings/modPProfile.h"

#include <QCoreApplication>
#include <QFontMetrics>
#include <QLabel>
#include <QTimer>

CommandRunner::CommandRunner(frmMain& window, WindowContext& shared)
    : window_(window), shared_(shared), Timer1(new QTimer(&window)) {
    Timer1->setObjectName("Timer1");
    Timer1->setSingleShot(true);
    QObject::connect(Timer1, &QTimer::timeout, &window, [this] { TimerFired(); });
}

void CommandRunner::Request(PendingAction action) {
    if (shared_.busy || !shared_.session.ResultsAvailable()) {
        return;
    }
    pending_ = action;
    Timer1->start(5);
}

void CommandRunner::TimerFired() {
    Timer1->stop();
    if (!Run(pending_)) {
        shared_.status.Set(StatusPart::Message, tr("Ready!"));
        return;
    }
    // The census counted a disk that is no longer so.
    window_.Types().UnloadCensus();
    if (!shared_.profile.Settings().AutoRescanAfterAction) {
        shared_.status.Set(StatusPart::Message, ChangedListText());
        return;
    }
    const Rescan advice =
        RescanOrAdvise(shared_.profile.Settings(), window_.Results().VisibleRowCount());
    if (advice == Rescan::Now) {
        window_.Search().ButtonClicked();
    } else {
        shared_.status.Set(StatusPart::Message, RescanAdviceText(advice));
    }
}

// True when the command changed the disk.
bool CommandRunner::Run(PendingAction action) {
    switch (action) {
    case PendingAction::DeleteFiles:
        return DeleteFiles();
    case PendingAction::DeleteFolder:
        return DeleteFolder();
    case PendingAction::CopyFiles:
        return CopyFiles();
    case PendingAction::CopyFolder:
    case PendingAction::CopyFolderContents:
    case PendingAction::MoveFolder:
        return FolderCommand(action);
    case PendingAction::MoveFiles: // offered by no entry, and runs nothing
    case PendingAction::None:
        break;
    }
    return false;
}

CommandContext CommandRunner::Context() {
    return CommandContext{
        shared_.profile.Settings(),
        shared_.prompts,
        shared_.desktop,
        shared_.cancel,
        shared_.status,
        [this] { shared_.yield.Yield(); },
        [this](std::string_view path) {
            // Shortened in its middle to fit the message part after "Deleting ".
            const QLabel* part = window_.MessagePart();
            const QFontMetrics metrics = part->fontMetrics();
            const int room =
                part->contentsRect().width() -
                metrics.horizontalAdvance(
                    QCoreApplication::translate("FileCommands", "Deleting %1").arg(QString())) -
                8;
            return metrics.elidedText(DisplayPath(path), Qt::ElideMiddle, std::max(room, 40));
        },
        [this](std::string_view path) {
            window_.Results().RemoveFromViews(path, window_.Request().Mask());
        },
        [this] {
            window_.SetBusy(true);
            running_ = true;
            shared_.status.State(QStringLiteral("save&clear"));
            window_.Request().ShowRunning(true);
        },
        {},
        shared_.progress};
}

void CommandRunner::Ended() {
    window_.Monitor().Forget(); // what the command changed is told as commands tell it
    window_.Request().ShowRunning(false);
    shared_.status.State(QStringLiteral("restore"));
    running_ = false;
    window_.SetBusy(false);
}

void CommandRunner::ShowNotProcessed(PendingAction command, const std::vector<SkippedItem>& items) {
    dlgCopyErr dialog(shared_.profile, shared_.prompts, shared_.desktop, &window_);
    dialog.Create(command);
    dialog.AddItems(items);
    dialog.CreateFinalize();
    dialog.SetPreferencesOpener([this] { window_.ShowPreferences(PreferencesTab::General); });
    shared_.status.Set(StatusPart::Message, tr("Ready!"));
    shared_.prompts.ShowModal(&dialog);
}

bool CommandRunner::DeleteFiles() {
    shared_.cancel.Lower();
    ResultPane& results = window_.Results();
    const std::vector<SelectedItem> selection = results.SelectedItems();
    CommandContext context = Context();
    if (!PrepareDelete(PendingAction::DeleteFiles, results.SelectedPaths(), context)) {
        return false;
    }
    const DeleteOutcome outcome = DeleteSelectedFiles(selection, context);
    results.UpdateSelectedCount();
    if (!outcome.notProcessed.empty()) {
        ShowNotProcessed(PendingAction::DeleteFiles, outcome.notProcessed);
    }
    Ended();
    return outcome.changed;
}

std::optional<std::string>
CommandRunner::PrepareCopyCommand(PendingAction command, const std::vector<std::string>& selected,
                                  CommandContext& context) {
    return PrepareCopy(command, selected, context, [this](modBrowse::PickPurpose purpose) {
        return modBrowse::PickFolder(purpose, true, window_.Request().StartPath(), shared_.profile,
                                     shared_.prompts);
    });
}

bool CommandRunner::CopyFiles() {
    shared_.cancel.Lower();
    const std::vector<SelectedItem> selection = window_.Results().SelectedItems();
    CommandContext context = Context();
    const auto destination =
        PrepareCopyCommand(PendingAction::CopyFiles, window_.Results().SelectedPaths(), context);
    if (!destination) {
        return false;
    }
    const CopyFilesOutcome outcome = CopySelectedFiles(selection, *destination, context);
    if (!outcome.notProcessed.empty()) {
        ShowNotProcessed(PendingAction::CopyFiles, outcome.notProcessed);
    }
    Ended();
    return outcome.changed;
}

bool CommandRunner::FolderCommand(PendingAction command) {
    shared_.cancel.Lower();
    const std::vector<std::string> selected = window_.Results().SelectedPaths();
    CommandContext context = Context();
    if (selected.size() != 1) {
        return false;
    }
    const auto destination = PrepareCopyCommand(command, selected, context);
    if (!destination) {
        return false;
    }
    std::vector<SkippedItem> notProcessed;
    const bool changed =
        command == PendingAction::MoveFolder
            ? MoveFolder(selected.front(), *destination, context, notProcessed)
            : CopyFolder(selected.front(), *destination, command, context, notProcessed);
    const QString outcome = shared_.status.Text(StatusPart::Message);
    if (!notProcessed.empty()) {
        ShowNotProcessed(command, notProcessed);
    }
    Ended();
    shared_.status.Set(StatusPart::Message, outcome.trimmed());
    return changed;
}

bool CommandRunner::DeleteFolder() {
    shared_.cancel.Lower();
    const std::vector<std::string> selected = window_.Results().SelectedPaths();
    CommandContext context = Context();
    if (selected.size() != 1 || !PrepareDelete(PendingAction::DeleteFolder, selected, context)) {
        return false;
    }
    const bool deleted = ::DeleteFolder(selected.front(), context);
    const QString outcome = shared_.status.Text(StatusPart::Message);
    Ended();
    shared_.status.Set(StatusPart::Message, outcome.trimmed());
    return deleted;
}

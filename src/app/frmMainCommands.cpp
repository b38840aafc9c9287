// The file commands: started through the one-shot timer once the menu has closed, run with the
// window's controls saved and the search button as their Cancel, and followed by a rescan or
// the advice to make one.

#include "app/ResultListModel.h"
#include "app/frmMain.h"
#include "fileops/FileCommands.h"
#include "fileops/dlgCopyErr.h"
#include "fileops/dlgProgress.h"
#include "fileops/modBrowse.h"
#include "platform/CancelFlag.h"
#include "platform/Prompts.h"
#include "search/SearchStatus.h"
#include "settings/modPProfile.h"

#include <QCoreApplication>
#include <QFontMetrics>
#include <QLabel>
#include <QPushButton>
#include <QTabBar>
#include <QTimer>
#include <QTreeView>

void frmMain::RequestCommand(PendingAction action) {
    if (busy_ || !session_.ResultsAvailable()) {
        return;
    }
    pendingAction_ = action;
    Timer1->start(5);
}

void frmMain::Timer1Fired() {
    Timer1->stop();
    bool changed = false;
    switch (pendingAction_) {
    case PendingAction::DeleteFiles:
        changed = DeleteSelectedFilesCommand();
        break;
    case PendingAction::DeleteFolder:
        changed = DeleteFolderCommand();
        break;
    case PendingAction::CopyFiles:
        changed = CopySelectedFilesCommand();
        break;
    case PendingAction::CopyFolder:
    case PendingAction::CopyFolderContents:
    case PendingAction::MoveFolder:
        changed = FolderCommand(pendingAction_);
        break;
    case PendingAction::MoveFiles: // offered by no entry, and runs nothing
    case PendingAction::None:
        break;
    }
    if (!changed) {
        SetStatus(StatusPart::Message, tr("Ready!"));
        return;
    }
    // The census counted a disk that is no longer so.
    UnloadCensus();
    if (!profile_.Settings().AutoRescanAfterAction) {
        SetStatus(StatusPart::Message, ChangedListText());
        return;
    }
    const Rescan advice = RescanOrAdvise(profile_.Settings(), ModelOf(VisibleList())->rowCount());
    if (advice == Rescan::Now) {
        SearchButtonClicked();
    } else {
        SetStatus(StatusPart::Message, RescanAdviceText(advice));
    }
}

CommandContext frmMain::Context() {
    return CommandContext{
        profile_.Settings(),
        prompts_,
        desktop_,
        cancel_,
        status_,
        [this] { yield_.Yield(); },
        [this](std::string_view path) {
            // Shortened in its middle to fit the message part after "Deleting ".
            const QLabel* part = statusParts_[0];
            const QFontMetrics metrics = part->fontMetrics();
            const int room =
                part->contentsRect().width() -
                metrics.horizontalAdvance(
                    QCoreApplication::translate("FileCommands", "Deleting %1").arg(QString())) -
                8;
            return metrics.elidedText(DisplayPath(path), Qt::ElideMiddle, std::max(room, 40));
        },
        [this](std::string_view path) { RemoveFromViews(path); },
        [this] {
            SetBusy(true);
            commandRunning_ = true;
            status_.State(QStringLiteral("save&clear"));
            cmdSearch->setText(tr("Cancel"));
        },
        {},
        progress_,
        copyFaults_};
}

void frmMain::CommandEnded() {
    cmdSearch->setText(tr("&Begin Search"));
    status_.State(QStringLiteral("restore"));
    commandRunning_ = false;
    SetBusy(false);
}

void frmMain::ShowNotProcessed(PendingAction command, const std::vector<SkippedItem>& items) {
    dlgCopyErr dialog(profile_, prompts_, desktop_, this);
    dialog.Create(command);
    dialog.AddItems(items);
    dialog.CreateFinalize();
    dialog.SetPreferencesOpener([this] { ShowPreferences(1); });
    SetStatus(StatusPart::Message, tr("Ready!"));
    prompts_.ShowModal(&dialog);
}

std::vector<SelectedItem> frmMain::SelectedItems() const {
    QTreeView* list = VisibleList();
    const ResultListModel* model = ModelOf(list);
    std::vector<SelectedItem> items;
    for (const int row : SelectedRows(list)) {
        const FileDataEntry& record = session_.Store()[model->ItemIndexAt(row)];
        items.push_back({std::string(record.FullPath()), record.LastWriteTime});
    }
    return items;
}

bool frmMain::DeleteSelectedFilesCommand() {
    cancel_.Lower();
    const std::vector<SelectedItem> selection = SelectedItems();
    CommandContext context = Context();
    if (!PrepareDelete(PendingAction::DeleteFiles, SelectedPaths(), context)) {
        return false;
    }
    const DeleteOutcome outcome = DeleteSelectedFiles(selection, context);
    UpdateSelectedCount();
    if (!outcome.notProcessed.empty()) {
        ShowNotProcessed(PendingAction::DeleteFiles, outcome.notProcessed);
    }
    CommandEnded();
    return outcome.changed;
}

std::optional<std::string> frmMain::PrepareCopyCommand(PendingAction command,
                                                       const std::vector<std::string>& selected,
                                                       CommandContext& context) {
    return PrepareCopy(command, selected, context, [this](int purpose) {
        return modBrowse::PickFolder(purpose, true, StartPath(), profile_, prompts_);
    });
}

bool frmMain::CopySelectedFilesCommand() {
    cancel_.Lower();
    const std::vector<SelectedItem> selection = SelectedItems();
    CommandContext context = Context();
    const auto destination = PrepareCopyCommand(PendingAction::CopyFiles, SelectedPaths(), context);
    if (!destination) {
        return false;
    }
    const CopyFilesOutcome outcome = CopySelectedFiles(selection, *destination, context);
    if (!outcome.notProcessed.empty()) {
        ShowNotProcessed(PendingAction::CopyFiles, outcome.notProcessed);
    }
    CommandEnded();
    return outcome.changed;
}

bool frmMain::FolderCommand(PendingAction command) {
    cancel_.Lower();
    const std::vector<std::string> selected = SelectedPaths();
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
    const QString outcome = status_.Text(StatusPart::Message);
    if (!notProcessed.empty()) {
        ShowNotProcessed(command, notProcessed);
    }
    CommandEnded();
    SetStatus(StatusPart::Message, outcome.trimmed());
    return changed;
}

bool frmMain::DeleteFolderCommand() {
    cancel_.Lower();
    const std::vector<std::string> selected = SelectedPaths();
    CommandContext context = Context();
    if (selected.size() != 1 || !PrepareDelete(PendingAction::DeleteFolder, selected, context)) {
        return false;
    }
    const bool deleted = DeleteFolder(selected.front(), context);
    const QString outcome = status_.Text(StatusPart::Message);
    CommandEnded();
    SetStatus(StatusPart::Message, outcome.trimmed());
    return deleted;
}

#include "app/window/CommandRunner.h"

#include "app/window/ChangeMonitor.h"
#include "app/window/ResultPane.h"
#include "app/window/SearchController.h"
#include "app/window/SearchRequest.h"
#include "app/window/TypeCommands.h"
#include "app/window/WindowContext.h"
#include "fileops/CommandThread.h"
#include "fileops/dlgCopyErr.h"
#include "fileops/dlgProgress.h"
#include "platform/CancelFlag.h"
#include "platform/WindowPrompts.h"
#include "settings/dlgPreferences.h"
#include "settings/modPProfile.h"
#include "text/DisplayText.h"
#include "text/PathText.h"

#include <QCoreApplication>
#include <QFont>
#include <QFontMetrics>
#include <QLabel>
#include <QTimer>

CommandRunner::CommandRunner(QWidget& owner, WindowContext& shared, ResultPane& results,
                             SearchRequest& request, TypeCommands& types, ChangeMonitor& monitor,
                             Hooks hooks)
    : owner_(owner), shared_(shared), results_(results), request_(request), types_(types),
      monitor_(monitor), hooks_(std::move(hooks)), Timer1(new QTimer(&owner)) {
    Timer1->setObjectName("Timer1");
    Timer1->setSingleShot(true);
    QObject::connect(Timer1, &QTimer::timeout, &owner, [this] { TimerFired(); });
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
    leftBehind_ = false;
    if (!Run(pending_)) {
        shared_.status.Set(StatusPart::Message, tr("Ready!"));
        return;
    }
    // The census counted a disk that is no longer so.
    types_.UnloadCensus();
    // A rescan would wait on the share that did not answer.
    if (!shared_.profile.Settings().AutoRescanAfterAction || leftBehind_) {
        shared_.status.Set(StatusPart::Message, ChangedListText());
        return;
    }
    const Rescan advice = RescanOrAdvise(shared_.profile.Settings(), results_.VisibleRowCount());
    if (advice == Rescan::Now) {
        hooks_.rescan();
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
    // Shortened in its middle to fit the message part after "Deleting ". The command's thread
    // measures with a font of its own, made from the label's.
    const QLabel* part = hooks_.messagePart();
    const int room =
        part->contentsRect().width() -
        part->fontMetrics().horizontalAdvance(
            QCoreApplication::translate("FileCommands", "Deleting %1").arg(QString())) -
        8;
    const QString font = part->font().toString();
    return CommandContext{
        shared_.profile.Settings(),
        shared_.prompts,
        shared_.desktop,
        shared_.cancel,
        shared_.status,
        [this] { shared_.yield.Yield(); },
        [font, room, metrics = std::optional<QFontMetrics>()](std::string_view path) mutable {
            if (!metrics) { // made once, on the thread that measures
                QFont own;
                own.fromString(font);
                metrics.emplace(own);
            }
            return metrics->elidedText(DisplayPath(path), Qt::ElideMiddle, std::max(room, 40));
        },
        [this](std::string_view path) { results_.RemoveFromViews(path, request_.Mask()); },
        [this] {
            shared_.SetBusy(true);
            running_ = true;
            shared_.status.State(StatusLine::Mode::SaveAndClear);
            request_.ShowRunning(true);
        },
        {},
        shared_.progress,
        nullptr,
        {}};
}

// The command's calls run on a thread of their own, so that a share that stops answering
// holds no more than that thread; the window waits here with its event loop running. Nothing
// when the command was left behind in a call that did not return: the user is told which.
template <class Result>
std::optional<Result> CommandRunner::OffThread(const CommandContext& context,
                                               std::function<Result(CommandContext&)> body) {
    const auto thread = CommandThread::Make(shared_.cancel);
    const auto threaded = ThreadedContext::Make(thread, context);
    const auto result = std::make_shared<Result>();
    if (thread->Run(
            [threaded, result, body = std::move(body)] { *result = body(threaded->Context()); })) {
        return std::move(*result);
    }
    if (context.progress) {
        context.progress->Destroy(); // what the body would have closed
    }
    NotAnswering(thread->WaitedOn());
    return std::nullopt;
}

void CommandRunner::NotAnswering(const std::string& path) {
    leftBehind_ = true;
    shared_.prompts.Message(tr("The command was cancelled while ' %1 ' did not answer. What was "
                               "done before it stays done.")
                                .arg(DisplayPath(path)),
                            MessageIcon::Information, MessageButtons::Ok);
}

void CommandRunner::Ended() {
    monitor_.Forget(); // what the command changed is told as commands tell it
    request_.ShowRunning(false);
    shared_.status.State(StatusLine::Mode::Restore);
    running_ = false;
    shared_.SetBusy(false);
}

void CommandRunner::ShowNotProcessed(PendingAction command, const std::vector<SkippedItem>& items) {
    dlgCopyErr dialog(shared_.profile, shared_.prompts, shared_.desktop, &owner_);
    dialog.Create(command);
    dialog.AddItems(items);
    dialog.CreateFinalize();
    dialog.SetPreferencesOpener([this] { hooks_.showPreferences(PreferencesTab::General); });
    shared_.status.Set(StatusPart::Message, tr("Ready!"));
    shared_.prompts.ShowModal(&dialog);
}

bool CommandRunner::DeleteFiles() {
    shared_.cancel.Lower();
    ResultPane& results = results_;
    const std::vector<SelectedItem> selection = results.SelectedItems();
    CommandContext context = Context();
    if (!PrepareDelete(PendingAction::DeleteFiles, results.SelectedPaths(), context)) {
        return false;
    }
    const std::optional<DeleteOutcome> outcome = OffThread<DeleteOutcome>(
        context, [selection](CommandContext& c) { return DeleteSelectedFiles(selection, c); });
    results.UpdateSelectedCount();
    if (outcome && !outcome->notProcessed.empty()) {
        ShowNotProcessed(PendingAction::DeleteFiles, outcome->notProcessed);
    }
    Ended();
    return !outcome || outcome->changed;
}

std::optional<std::string>
CommandRunner::PrepareCopyCommand(PendingAction command, const std::vector<std::string>& selected,
                                  CommandContext& context) {
    return PrepareCopy(
        command, selected, context,
        [this](modBrowse::PickPurpose purpose) {
            return modBrowse::PickFolder(purpose, true, request_.StartPath(), shared_.profile,
                                         shared_.prompts);
        },
        [this](const std::string& folder) {
            // The destination may be on a share that stopped answering.
            const auto thread = CommandThread::Make(shared_.cancel);
            const auto answer = std::make_shared<bool>(false);
            return thread->Run([answer, folder] { *answer = LeadsToFolder(folder); }) && *answer;
        });
}

bool CommandRunner::CopyFiles() {
    shared_.cancel.Lower();
    const std::vector<SelectedItem> selection = results_.SelectedItems();
    CommandContext context = Context();
    const auto destination =
        PrepareCopyCommand(PendingAction::CopyFiles, results_.SelectedPaths(), context);
    if (!destination) {
        return false;
    }
    const std::optional<CopyFilesOutcome> outcome =
        OffThread<CopyFilesOutcome>(context, [selection, to = *destination](CommandContext& c) {
            return CopySelectedFiles(selection, to, c);
        });
    if (outcome && !outcome->notProcessed.empty()) {
        ShowNotProcessed(PendingAction::CopyFiles, outcome->notProcessed);
    }
    Ended();
    return !outcome || outcome->changed;
}

namespace {
struct FolderOutcome {
    bool changed = false;
    std::vector<SkippedItem> notProcessed;
};
} // namespace

bool CommandRunner::FolderCommand(PendingAction command) {
    shared_.cancel.Lower();
    const std::vector<std::string> selected = results_.SelectedPaths();
    CommandContext context = Context();
    if (selected.size() != 1) {
        return false;
    }
    const auto destination = PrepareCopyCommand(command, selected, context);
    if (!destination) {
        return false;
    }
    const std::optional<FolderOutcome> outcome = OffThread<FolderOutcome>(
        context, [command, folder = selected.front(), to = *destination](CommandContext& c) {
            FolderOutcome done;
            done.changed = command == PendingAction::MoveFolder
                               ? MoveFolder(folder, to, c, done.notProcessed)
                               : CopyFolder(folder, to, command, c, done.notProcessed);
            return done;
        });
    const QString message = shared_.status.Text(StatusPart::Message);
    if (outcome && !outcome->notProcessed.empty()) {
        ShowNotProcessed(command, outcome->notProcessed);
    }
    Ended();
    shared_.status.Set(StatusPart::Message, message.trimmed());
    return !outcome || outcome->changed;
}

bool CommandRunner::DeleteFolder() {
    shared_.cancel.Lower();
    const std::vector<std::string> selected = results_.SelectedPaths();
    CommandContext context = Context();
    if (selected.size() != 1 || !PrepareDelete(PendingAction::DeleteFolder, selected, context)) {
        return false;
    }
    const std::optional<bool> deleted =
        OffThread<bool>(context, [folder = selected.front()](CommandContext& c) {
            return ::DeleteFolder(folder, c);
        });
    const QString message = shared_.status.Text(StatusPart::Message);
    Ended();
    shared_.status.Set(StatusPart::Message, message.trimmed());
    return !deleted || *deleted;
}

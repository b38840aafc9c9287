#include "app/window/SelectionCommands.h"

#include "app/window/ResultPane.h"
#include "app/window/SearchRequest.h"
#include "app/window/WindowContext.h"
#include "fileops/CommandThread.h"
#include "fileops/dlgProgress.h"
#include "fileops/modShell.h"
#include "output/ClipboardExport.h"
#include "output/ListSaving.h"
#include "output/modFileDialog.h"
#include "platform/WindowPrompts.h"
#include "settings/modPProfile.h"

#include <QClipboard>
#include <QGuiApplication>

void SelectionCommands::OpenSelected() {
    if (!shared_.busy) {
        modShell::ShellOpenSelected(results_.SelectedPaths(), results_.FolderResults(),
                                    shared_.profile.Settings(), shared_.prompts, shared_.desktop);
    }
}

void SelectionCommands::OpenSelectedWithNotepad() {
    if (!shared_.busy) {
        modShell::ShellOpenWithNotepad(results_.SelectedPaths(), shared_.profile.Settings(),
                                       shared_.prompts, shared_.desktop);
    }
}

void SelectionCommands::OpenSelectedWithDialog() {
    if (!shared_.busy) {
        modShell::ShellOpenWithDialog(results_.SelectedPaths(), shared_.profile.Settings(),
                                      shared_.prompts, shared_.desktop);
    }
}

void SelectionCommands::ShowSelectedProperties() {
    if (!shared_.busy) {
        modShell::ShellShowProperties(results_.SelectedPaths(), shared_.prompts, shared_.desktop);
    }
}

void SelectionCommands::SetAsNewStartPath() {
    const std::vector<std::string> paths = results_.SelectedPaths();
    if (shared_.busy || paths.empty()) {
        return;
    }
    request_.SetStartPath(paths.front());
    request_.ClearFoldersOnly();
}

void SelectionCommands::DoubleClicked(bool shiftHeld) {
    const AppSettings& s = shared_.profile.Settings();
    switch (static_cast<DoubleClickAction>(shiftHeld ? s.DblClickShiftAction : s.DblClickAction)) {
    case DoubleClickAction::Open:
        OpenSelected();
        break;
    case DoubleClickAction::Properties:
        ShowSelectedProperties();
        break;
    case DoubleClickAction::SelectAll:
        results_.SelectAll();
        break;
    }
}

void SelectionCommands::SaveResultList() {
    if (shared_.busy) {
        return;
    }
    shared_.SetBusy(true);
    bool entireList = true;
    const std::string path = modFileDialog::AskForOutputFile(shared_.prompts, shared_.profile, true,
                                                             entireList, "", true);
    shared_.cancel.Lower();
    if (!path.empty()) {
        ShowWriteError(WriteOffThread(
            shared_.cancel, path,
            [path, lines = results_.RowPaths(!entireList),
             sorted = shared_.profile.Settings().QSSortResultsOnSave](CommandThread&) mutable {
                return WriteLines(path, std::move(lines), sorted);
            }));
    }
    shared_.SetBusy(false);
}

void SelectionCommands::SaveAllResults() {
    if (shared_.busy || shared_.session.Store().UBound() < 0) {
        return;
    }
    shared_.SetBusy(true);
    bool entireList = true;
    const std::string path = modFileDialog::AskForOutputFile(shared_.prompts, shared_.profile,
                                                             false, entireList, "", true);
    shared_.cancel.Lower();
    if (!path.empty()) {
        Progress* progress = shared_.progress;
        const FileDataArray& store = shared_.session.Store();
        const bool sorted = shared_.profile.Settings().QSSortResultsOnSave;
        // The store stays as it is while the window is busy; a write left behind stops
        // reading it once its call returns.
        ShowWriteError(WriteOffThread(
            shared_.cancel, path, [&store, path, progress, sorted](CommandThread& thread) {
                const std::shared_ptr<Progress> bar = ProgressThrough(thread, *progress);
                const WriteProgress hooks{
                    [&bar](int maximum) { bar->Create(20, maximum, false); },
                    [&bar](const QString& message) { bar->SetMessage(message); },
                    [&bar] { bar->Update(20); }, [&bar] { bar->Destroy(); }, &thread.Cancel()};
                return sorted ? WriteResultsSorted(store, path, hooks)
                              : WriteResultsUnsorted(store, path, hooks);
            }));
        progress->Destroy(); // also when the write was left behind before it could
    }
    shared_.SetBusy(false);
}

void SelectionCommands::ShowWriteError(const std::string& error) {
    if (!error.empty()) {
        shared_.prompts.Message(QString::fromStdString(error), MessageIcon::Critical,
                                MessageButtons::Ok);
    }
}

void SelectionCommands::CopySelectionToClipboard() {
    if (shared_.busy) {
        return;
    }
    const int selected = results_.SelectedCount();
    if (selected > kClipboardLimit) {
        shared_.prompts.Message(
            tr("Over 1000 items have been selected, which can seriously degrade system "
               "performance. Please select less than 1000 items or save to file."),
            MessageIcon::Critical, MessageButtons::Ok);
        return;
    }
    StatusLine& status = shared_.status;
    if (selected > 0) {
        const std::string text =
            ClipboardText(results_.SelectedPaths(), [&status](const QString& message) {
                status.Set(StatusPart::Message, message);
            });
        QClipboard* clipboard = QGuiApplication::clipboard();
        clipboard->clear();
        clipboard->setText(QString::fromUtf8(text.data(), static_cast<qsizetype>(text.size())));
    }
    status.Set(StatusPart::Message, tr("Ready! (Selected items copied to clipboard.)"));
}

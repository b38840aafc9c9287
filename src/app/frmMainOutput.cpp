// Putting results outside the program: list files and the clipboard.

#include "app/ResultListModel.h"
#include "app/frmMain.h"
#include "fileops/dlgProgress.h"
#include "output/ClipboardExport.h"
#include "output/ListSaving.h"
#include "output/modFileDialog.h"
#include "platform/Prompts.h"
#include "settings/modPProfile.h"

#include <QClipboard>
#include <QGuiApplication>
#include <QTreeView>
#include <algorithm>
#include <numeric>

std::vector<int> frmMain::SelectedRows(QTreeView* list) const {
    const ResultListModel* model = ModelOf(list);
    std::vector<int> rows;
    for (const QItemSelectionRange& range : list->selectionModel()->selection()) {
        for (int row = range.top(); row <= range.bottom(); ++row) {
            // A range may span text rows (Select All over the explanation); they are no results.
            if (model->ItemIndexAt(row) >= 0) {
                rows.push_back(row);
            }
        }
    }
    std::sort(rows.begin(), rows.end());
    rows.erase(std::unique(rows.begin(), rows.end()), rows.end());
    return rows;
}

std::vector<std::string> frmMain::RowPaths(QTreeView* list, bool selectedOnly) const {
    const ResultListModel* model = ModelOf(list);
    std::vector<int> rows;
    if (selectedOnly) {
        rows = SelectedRows(list);
    } else {
        rows.resize(static_cast<size_t>(model->rowCount()));
        std::iota(rows.begin(), rows.end(), 0);
    }
    std::vector<std::string> paths;
    paths.reserve(rows.size());
    for (const int row : rows) {
        // Text rows (the explanation above 32 701 results) are not results.
        if (const int32_t item = model->ItemIndexAt(row); item >= 0) {
            paths.emplace_back(session_.Store()[item].FullPath());
        }
    }
    return paths;
}

void frmMain::SaveResultList() {
    if (busy_) {
        return;
    }
    SetBusy(true);
    QTreeView* list = VisibleList();
    bool entireList = true;
    const std::string path =
        modFileDialog::AskForOutputFile(prompts_, profile_, true, entireList, "", true);
    if (!path.empty()) {
        const std::string error =
            WriteLines(path, RowPaths(list, !entireList), profile_.Settings().QSSortResultsOnSave);
        if (!error.empty()) {
            prompts_.Message(QString::fromStdString(error), MessageIcon::Critical,
                             MessageButtons::Ok);
        }
    }
    SetBusy(false);
}

void frmMain::SaveAllResults() {
    if (busy_ || session_.Store().UBound() < 0) {
        return;
    }
    SetBusy(true);
    bool entireList = true;
    const std::string path =
        modFileDialog::AskForOutputFile(prompts_, profile_, false, entireList, "", true);
    yield_.Now();
    if (!path.empty()) {
        Progress& progress = *progress_;
        const WriteProgress hooks{[&](int maximum) { progress.Create(20, maximum, false); },
                                  [&](const QString& message) { progress.SetMessage(message); },
                                  [&] {
                                      progress.Update(20);
                                      yield_.Yield();
                                  },
                                  [&] { progress.Destroy(); }};
        const std::string error = profile_.Settings().QSSortResultsOnSave
                                      ? WriteResultsSorted(session_.Store(), path, hooks)
                                      : WriteResultsUnsorted(session_.Store(), path, hooks);
        if (!error.empty()) {
            prompts_.Message(QString::fromStdString(error), MessageIcon::Critical,
                             MessageButtons::Ok);
        }
    }
    SetBusy(false);
}

void frmMain::CopySelectionToClipboard() {
    if (busy_) {
        return;
    }
    QTreeView* list = VisibleList();
    const int selected = static_cast<int>(SelectedRows(list).size());
    if (selected > kClipboardLimit) {
        prompts_.Message(
            tr("Over 1000 items have been selected, which can seriously degrade system "
               "performance. Please select less than 1000 items or save to file."),
            MessageIcon::Critical, MessageButtons::Ok);
        return;
    }
    if (selected > 0) {
        const std::string text = ClipboardText(RowPaths(list, true), [this](const QString& status) {
            SetStatus(StatusPart::Message, status);
        });
        QClipboard* clipboard = QGuiApplication::clipboard();
        clipboard->clear();
        clipboard->setText(QString::fromUtf8(text.data(), static_cast<qsizetype>(text.size())));
    }
    SetStatus(StatusPart::Message, tr("Ready! (Selected items copied to clipboard.)"));
}

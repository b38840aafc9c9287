// The result views: the tabs and lists that show them, the selection, the closing status of a
// search, and the census that makes views of types.

#include "analysis/dlgStarDotStar.h"
#include "app/ResultListModel.h"
#include "app/frmMain.h"
#include "fileops/dlgProgress.h"
#include "platform/CancelFlag.h"
#include "platform/Prompts.h"
#include "search/SearchStatus.h"
#include "settings/modPProfile.h"

#include <QAction>
#include <QApplication>
#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <QSignalBlocker>
#include <QTabBar>
#include <QTreeView>

void frmMain::ShowSearchResults(float elapsedSeconds) {
    const SearchCounters& counters = session_.Counters();
    folderResults_ = session_.Options().FoldersOnly;
    SetStatus(StatusPart::Message, tr("Ready!"));
    SetStatus(StatusPart::Objects, ObjectsText(counters.ObjectCount));
    SetStatus(StatusPart::Matched, MatchedText(counters.MatchedCount));
    SetStatus(StatusPart::Elapsed, ElapsedText(elapsedSeconds));
    SetStatus(StatusPart::Mode, OutcomeText(cancel_.IsRaised()));
    lblResultType->setText(views_.LabelText(0));

    const std::string mask = txtObjMask->text().toStdString();
    favorites_.Add(mask);
    profile_.Settings().LastFileMask = mask;
    profile_.ProfileSetOptionsKey("LastFileMask", mask);
    cancel_.Lower();
    busy_ = false;
}

void frmMain::ShowPlaceholder(const QString& word) {
    lstDummy->clear();
    lstDummy->addItem(word);
    List1->hide();
    List2->hide();
    lstDummy->show();
}

void frmMain::ShowList(QTreeView* list) {
    lstDummy->hide();
    (list == List1 ? List2 : List1)->hide();
    list->show();
}

QTreeView* frmMain::VisibleList() const {
    return tsResults->currentIndex() > 0 ? List2 : List1;
}

ResultListModel* frmMain::ModelOf(QTreeView* list) const {
    return list == List1 ? model1_ : model2_;
}

void frmMain::SyncViews() {
    const QSignalBlocker quiet(tsResults);
    while (tsResults->count() > views_.Count()) {
        tsResults->removeTab(tsResults->count() - 1);
    }
    while (tsResults->count() < views_.Count()) {
        tsResults->addTab(QString());
    }
    for (int tab = 0; tab < views_.Count(); ++tab) {
        tsResults->setTabText(tab, views_[tab].caption);
    }
    // A view may have moved or gone: the lists are pointed at the views as they are now.
    model1_->ShowRows(&views_[0].rows);
    const int current = tsResults->currentIndex();
    if (current > 0) {
        model2_->ShowRows(&views_[current].rows);
        ShowList(List2);
    } else {
        model2_->Clear();
        ShowList(List1);
    }
    lblResultType->setText(views_.LabelText(std::max(current, 0)));
    UpdateCommandStates();
}

void frmMain::TabChanged(int tab) {
    if (tab < 0 || tab >= views_.Count()) {
        return;
    }
    if (tab == 0) {
        ShowList(List1);
    } else {
        List1->hide();
        model2_->ShowRows(&views_[tab].rows);
        ShowList(List2);
    }
    lblResultType->setText(views_.LabelText(tab));
    UpdateSelectedCount();
    UpdateCommandStates(); // the filters need a list of files
}

void frmMain::UpdateSelectedCount() {
    lblSelCount->setText(tr("Selected: %1").arg(SelectedRows(VisibleList()).size()));
}

void frmMain::RowRemoving(int tab, int row) {
    if (tab == 0) {
        model1_->BeginRemoveRow(row);
    } else if (tab == tsResults->currentIndex()) {
        model2_->BeginRemoveRow(row);
    }
}

void frmMain::RowRemoved(int tab) {
    if (tab == 0) {
        model1_->EndRemoveRow();
    } else if (tab == tsResults->currentIndex()) {
        model2_->EndRemoveRow();
    }
}

void frmMain::CreateTypeViews(const SelectedTypeArray& types) {
    if (busy_ || types.empty()) {
        return;
    }
    SetBusy(true);
    progress_->Create(1, static_cast<int>(types.size()), false);
    int lastNew = -1;
    for (const SelectedTypeEntry& type : types) {
        progress_->SetMessage(tr("Processing... %1").arg(QString::fromStdString(type.Extension)));
        progress_->Update(1);
        const int tab =
            views_.AddTypeView(type.Extension, type.FileCount, [this] { yield_.Yield(); });
        lastNew = tab >= 0 ? tab : lastNew;
    }
    progress_->Destroy();
    SetBusy(false);
    SyncViews();
    if (lastNew > 0) {
        tsResults->setCurrentIndex(lastNew);
    }
    TabChanged(tsResults->currentIndex());
}

void frmMain::NewResults() {
    if (busy_) {
        return;
    }
    lstDummy->clear();
    lstDummy->addItem(tr("searching..."));
    model1_->Clear();
    model2_->Clear();
    views_.Clear();
    status_.State(QStringLiteral("clear"));
    UnloadCensus();
    session_.Erase();
    folderResults_ = false;
    SyncViews();
    SetBusy(false);
}

void frmMain::CloseViews() {
    if (busy_) {
        return;
    }
    views_.CloseViews();
    SyncViews();
    TabChanged(0);
}

void frmMain::RemoveFromViews(std::string_view path) {
    views_.RemoveFromViews(path, txtObjMask->text(), this);
    for (int tab = 0; tab < views_.Count(); ++tab) {
        tsResults->setTabText(tab, views_[tab].caption);
    }
    lblResultType->setText(views_.LabelText(std::max(tsResults->currentIndex(), 0)));
    UpdateSelectedCount();
}

void frmMain::SelectAll() {
    if (!busy_) {
        VisibleList()->selectAll();
    }
}

void frmMain::SelectNone() {
    if (!busy_) {
        VisibleList()->clearSelection();
    }
}

void frmMain::InvertSelection() {
    QTreeView* list = VisibleList();
    const int rows = ModelOf(list)->rowCount();
    if (busy_ || rows == 0 || ModelOf(list)->ItemIndexAt(0) < 0) {
        return;
    }
    const QModelIndex top = list->indexAt(QPoint(1, 1));
    const QItemSelection all(list->model()->index(0, 0),
                             list->model()->index(rows - 1, list->model()->columnCount() - 1));
    list->selectionModel()->select(all, QItemSelectionModel::Toggle);
    // Inverting walks every row, leaving the view at the last one, unless the first visible row
    // is to stay in view.
    if (profile_.Settings().RetainTopIndex && top.isValid()) {
        list->scrollTo(top, QAbstractItemView::PositionAtTop);
    } else {
        list->scrollTo(list->model()->index(rows - 1, 0));
    }
}

void frmMain::UnloadCensus() {
    census_.reset();
}

void frmMain::ShowFileTypes() {
    if (busy_) {
        return;
    }
    if (census_) {
        census_->DeselectAll();
    } else {
        if (session_.Store().UBound() < 0) {
            prompts_.Message(tr("Critical Error - the file data array is empty; this function is "
                                "unavailable. Please restart the application to avoid corrupted "
                                "reports."),
                             MessageIcon::Critical, MessageButtons::Ok);
            return;
        }
        QApplication::setOverrideCursor(Qt::WaitCursor);
        // Two passes over the store, each stepped about twenty times.
        progress_->Create(1, 42, false);
        census_ = std::make_unique<dlgStarDotStar>(session_.Store(), profile_, prompts_, *progress_,
                                                   yield_, this);
        census_->CreateMaskArrayCountSR(0);
        census_->SetupControls(tr("File Types in %1").arg(views_[0].caption),
                               static_cast<int>(census_->CensusData().Hidden().size()));
        census_->SetSearchData(StartPath(), txtObjMask->text().toStdString());
        QApplication::restoreOverrideCursor();
    }
    const int result = prompts_.ShowModal(census_.get());
    if (result == dlgStarDotStar::View) {
        const SelectedTypeArray types = census_->GetSelectedItemArray();
        if (!types.empty()) {
            CreateTypeViews(types);
        }
    }
    progress_->Destroy();
}

// The result views: the first tab over every record, per-type tabs over a subset, the lists,
// the selection and the closing status of a search.

#include "analysis/dlgStarDotStar.h"
#include "app/ResultListModel.h"
#include "app/frmMain.h"
#include "fileops/dlgProgress.h"
#include "platform/CancelFlag.h"
#include "platform/EventYield.h"
#include "platform/Prompts.h"
#include "search/SearchStatus.h"
#include "settings/modPProfile.h"

#include <QApplication>
#include <QFile>
#include <QLabel>
#include <QLineEdit>
#include <QListView>
#include <QListWidget>
#include <QSignalBlocker>
#include <QTabBar>

namespace {
QString SpacedMask(const QString& mask) {
    return QString(mask).replace(QLatin1Char(';'), QLatin1Char(' '));
}
} // namespace

void frmMain::ShowSearchResults(float elapsedSeconds) {
    const SearchOptions& options = session_.Options();
    const SearchCounters& counters = session_.Counters();
    folderResults_ = options.FoldersOnly;
    SetStatus(0, tr("Ready!"));
    SetStatus(1, ObjectsText(counters.ObjectCount));
    SetStatus(2, MatchedText(counters.MatchedCount));
    SetStatus(3, ElapsedText(elapsedSeconds));
    SetStatus(4, OutcomeText(cancel_.IsRaised()));

    const QString mask = txtObjMask->text();
    const QString count = QString::number(counters.MatchedCount);
    ResultView& first = views_[0];
    if (options.FoldersOnly) {
        first.caption = tr("All Results (folders only) (") + count + QLatin1Char(')');
        first.tag = tr("Folders (") + count + QLatin1Char(')');
    } else if (options.ExpectedMatch == 1) {
        first.caption = tr("All Results (") + mask + tr(") (") + count + QLatin1Char(')');
        first.tag = SpacedMask(mask) + tr(" files ");
    } else {
        first.caption = tr("All Results except (") + mask + tr(") (") + count + QLatin1Char(')');
        first.tag = tr("! ") + SpacedMask(mask) + tr(" files ");
    }
    tsResults->setTabText(0, first.caption);
    lblResultType->setText(first.tag);

    favorites_.Add(mask.toStdString());
    profile_.Settings().LastFileMask = mask.toStdString();
    profile_.ProfileSetOptionsKey("LastFileMask", mask.toStdString());
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

void frmMain::ShowList(QListView* list) {
    lstDummy->hide();
    (list == List1 ? List2 : List1)->hide();
    list->show();
}

QListView* frmMain::VisibleList() const {
    return tsResults->currentIndex() > 0 ? List2 : List1;
}

ResultListModel* frmMain::ModelOf(QListView* list) const {
    return list == List1 ? model1_ : model2_;
}

void frmMain::TabChanged(int tab) {
    if (tab < 0 || tab >= static_cast<int>(views_.size())) {
        return;
    }
    if (tab == 0) {
        ShowList(List1);
        lblResultType->setText(views_[0].tag);
    } else {
        List1->hide();
        model2_->SetItems(views_[tab].items);
        ShowList(List2);
        lblResultType->setText(views_[tab].tag + tr(" files:"));
    }
    UpdateSelectedCount();
}

void frmMain::UpdateSelectedCount() {
    int selected = 0;
    for (const QItemSelectionRange& range : VisibleList()->selectionModel()->selection()) {
        selected += range.height();
    }
    lblSelCount->setText(tr("Selected: ") + QString::number(selected));
}

int frmMain::FindViewByTag(const QString& text) const {
    const QString wanted = text.trimmed();
    for (size_t tab = 0; tab < views_.size(); ++tab) {
        if (views_[tab].tag.trimmed() == wanted) {
            return static_cast<int>(tab);
        }
    }
    return -1;
}

void frmMain::SetViewCaption(int tab, const QString& mask, int count) {
    if (tab < 0 || tab >= static_cast<int>(views_.size())) {
        return;
    }
    views_[tab].caption = SpacedMask(mask) + tr(" (") + QString::number(count) + QLatin1Char(')');
    tsResults->setTabText(tab, views_[tab].caption);
}

int frmMain::FillTypeList(const std::string& extension, int32_t expectedCount) {
    List2->hide();
    List2->setEnabled(false);
    model2_->Clear();
    std::vector<int32_t> items;
    if (expectedCount > 10000) {
        items.reserve(static_cast<size_t>(expectedCount));
    }
    const FileDataArray& store = session_.Store();
    for (int32_t i = 0; i <= store.UBound(); ++i) {
        if (store[i].Extension() == extension) {
            items.push_back(i);
        }
        if (i % 1000 == 1) {
            YieldToEventLoop();
        }
    }
    model2_->SetItems(std::move(items));
    List2->setEnabled(true);
    List2->show();
    return model2_->rowCount();
}

void frmMain::CreateTypeViews(const SelectedTypeArray& types) {
    if (busy_ || types.empty()) {
        return;
    }
    SetBusy(true);
    Progress& progress = *progress_;
    progress.Create(1, static_cast<int>(types.size()), false);
    int lastNew = -1;
    for (const SelectedTypeEntry& type : types) {
        const QString extension = QString::fromStdString(type.Extension);
        progress.SetMessage(tr("Processing... ") + extension);
        progress.Update(1);
        if (FindViewByTag(extension) >= 0) {
            continue;
        }
        int tab = -1;
        {
            const QSignalBlocker quiet(tsResults);
            tab = tsResults->addTab(extension);
        }
        if (tab < 0) {
            continue;
        }
        views_.push_back({extension, extension, {}});
        const int rows = FillTypeList(type.Extension, type.FileCount);
        views_[static_cast<size_t>(tab)].items = model2_->Items();
        SetViewCaption(tab, QLatin1Char('*') + extension, rows);
        lastNew = tab;
    }
    progress.Destroy();
    SetBusy(false);
    if (lastNew > 0) {
        tsResults->setCurrentIndex(lastNew);
    }
    TabChanged(tsResults->currentIndex());
}

void frmMain::RemoveViewsButFirst() {
    const QSignalBlocker quiet(tsResults);
    while (tsResults->count() > 1) {
        tsResults->removeTab(tsResults->count() - 1);
    }
    views_.resize(1);
    tsResults->setCurrentIndex(0);
    ShowList(List1);
}

void frmMain::NewResults() {
    if (busy_) {
        return;
    }
    lstDummy->clear();
    lstDummy->addItem(tr("searching..."));
    model1_->Clear();
    model2_->Clear();
    RemoveViewsButFirst();
    views_[0].caption = tr("No results");
    views_[0].tag.clear();
    tsResults->setTabText(0, views_[0].caption);
    StatusState("clear");
    UnloadCensus();
    session_.Erase();
    folderResults_ = false;
    lblSelCount->setText(tr("Selected: 0"));
    lblResultType->clear();
    SetBusy(false);
}

void frmMain::CloseViews() {
    if (busy_) {
        return;
    }
    model2_->Clear();
    RemoveViewsButFirst();
    TabChanged(0);
}

void frmMain::RemoveFromViews(std::string_view path) {
    if (const int row = model1_->FindPath(path); row >= 0) {
        model1_->RemoveRow(row);
    }
    if (const int row = model2_->FindPath(path); row >= 0) {
        model2_->RemoveRow(row);
    }
    const QString mask = txtObjMask->text();
    const QString left = QString::number(model1_->rowCount());
    views_[0].caption = tr("All Results (") + mask + tr(") (") + left + QLatin1Char(')');
    views_[0].tag = SpacedMask(mask) + tr(" files (") + left + QLatin1Char(')');
    tsResults->setTabText(0, views_[0].caption);
    const int current = tsResults->currentIndex();
    for (size_t tab = 1; tab < views_.size(); ++tab) {
        auto& items = views_[tab].items;
        if (static_cast<int>(tab) == current) {
            items = model2_->Items();
        } else {
            const FileDataArray& store = session_.Store();
            const auto found = std::find_if(items.begin(), items.end(), [&](int32_t item) {
                return store[item].FullPath() == path;
            });
            if (found != items.end()) {
                items.erase(found);
            }
        }
        SetViewCaption(static_cast<int>(tab), QLatin1Char('*') + views_[tab].tag,
                       static_cast<int>(items.size()));
    }
    if (current == 0) {
        lblResultType->setText(views_[0].tag);
    }
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
    QListView* list = VisibleList();
    const int rows = ModelOf(list)->rowCount();
    if (busy_ || rows == 0) {
        return;
    }
    const QModelIndex top = list->indexAt(QPoint(1, 1));
    const QItemSelection all(list->model()->index(0, 0), list->model()->index(rows - 1, 0));
    list->selectionModel()->select(all, QItemSelectionModel::Toggle);
    // Inverting walks every row, leaving the view at the last one, unless the first visible row
    // is to stay in view.
    if (profile_.Settings().RetainTopIndex && top.isValid()) {
        list->scrollTo(top, QAbstractItemView::PositionAtTop);
    } else {
        list->scrollTo(list->model()->index(rows - 1, 0));
    }
}

QString frmMain::ViewCaption(int tab) const {
    return views_.at(static_cast<size_t>(tab)).caption;
}
QString frmMain::ViewTag(int tab) const {
    return views_.at(static_cast<size_t>(tab)).tag;
}
int frmMain::ViewCount() const {
    return static_cast<int>(views_.size());
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
        Progress& progress = *progress_;
        // Two passes over the store, each stepped about twenty times.
        progress.Create(1, 42, false);
        census_ =
            std::make_unique<dlgStarDotStar>(session_.Store(), profile_, prompts_, progress, this);
        census_->CreateMaskArrayCountSR(0);
        census_->SetupControls(tr("File Types in ") + views_[0].caption,
                               static_cast<int>(census_->CensusData().Hidden().size()));
        census_->SetSearchData(StartPath(),
                               txtObjMask->text().toStdString());
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

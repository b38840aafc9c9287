#include "app/window/ResultPane.h"

#include "app/ResultListModel.h"
#include "app/window/WindowContext.h"
#include "fileops/FileCommands.h"
#include "settings/modPProfile.h"
#include "widgets/ListCellDelegate.h"

#include <QContextMenuEvent>
#include <QGridLayout>
#include <QHBoxLayout>
#include <QHeaderView>
#include <QKeyEvent>
#include <QLabel>
#include <QListWidget>
#include <QMouseEvent>
#include <QSignalBlocker>
#include <QTabBar>
#include <QTreeView>
#include <QVBoxLayout>
#include <algorithm>
#include <numeric>

ResultPane::ResultPane(QWidget& owner, WindowContext& shared, Hooks hooks)
    : owner_(owner), hooks_(std::move(hooks)), shared_(shared), views_(shared.session.Store()) {
}

QLayout* ResultPane::Build(QWidget* parent) {
    auto* layout = new QVBoxLayout;
    layout->setContentsMargins(0, 0, 0, 0);
    tsResults = new QTabBar(parent);
    tsResults->setObjectName("tsResults");
    tsResults->setExpanding(false);
    tsResults->setDocumentMode(true);
    tsResults->addTab(views_[0].caption);
    layout->addWidget(tsResults);

    auto* labels = new QHBoxLayout;
    lblResultType = new QLabel(parent);
    lblResultType->setObjectName("lblResultType");
    lblSelCount = new QLabel(tr("Selected: 0"), parent);
    lblSelCount->setObjectName("lblSelCount");
    labels->addWidget(lblResultType, 1);
    labels->addWidget(lblSelCount);
    layout->addLayout(labels);

    // The three lists share one place; only one is shown at a time.
    auto* lists = new QGridLayout;
    model1_ = new ResultListModel(shared_.session.Store(), &owner_);
    model2_ = new ResultListModel(shared_.session.Store(), &owner_);
    List1 = new QTreeView(parent);
    List2 = new QTreeView(parent);
    for (auto [list, model, name] :
         {std::tuple{List1, model1_, "List1"}, std::tuple{List2, model2_, "List2"}}) {
        SetUpList(list, model, name);
        lists->addWidget(list, 0, 0);
    }
    List2->hide();
    lstDummy = new QListWidget(parent);
    lstDummy->setObjectName("lstDummy");
    lstDummy->setAccessibleName(tr("Results"));
    lstDummy->hide();
    ResetPlaceholder();
    lists->addWidget(lstDummy, 0, 0);
    layout->addLayout(lists, 1);
    QObject::connect(tsResults, &QTabBar::currentChanged, &owner_,
                     [this](int tab) { TabChanged(tab); });
    return layout;
}

void ResultPane::SetUpList(QTreeView* list, ResultListModel* model, const char* name) {
    list->setObjectName(name);
    list->setAccessibleName(tr("Results"));
    list->setModel(model);
    list->setUniformRowHeights(true);
    list->setRootIsDecorated(false);
    list->setSelectionMode(QAbstractItemView::ExtendedSelection);
    list->setSelectionBehavior(QAbstractItemView::SelectRows);
    list->setAllColumnsShowFocus(true);
    list->setDragEnabled(true);
    list->setDragDropMode(QAbstractItemView::DragOnly);
    list->setDefaultDropAction(Qt::CopyAction);
    list->setItemDelegate(
        new ListCellDelegate(shared_.profile.Settings(), list->header(), true, list));
    // Sorted only once the user asks, by a click on a column's header: the header keeps the
    // order (ascending first, then each click the other way); no column is marked before.
    QHeaderView* header = list->header();
    header->setSectionsClickable(true);
    header->setSortIndicator(-1, Qt::AscendingOrder);
    header->setSortIndicatorShown(true);
    QObject::connect(header, &QHeaderView::sortIndicatorChanged, &owner_,
                     [model](int column, Qt::SortOrder order) {
                         if (column >= 0) {
                             model->sort(column, order);
                         }
                     });
    const auto count = [this] { UpdateSelectedCount(); };
    QObject::connect(list->selectionModel(), &QItemSelectionModel::selectionChanged, &owner_,
                     count);
    QObject::connect(model, &QAbstractItemModel::modelReset, &owner_, count);
    QObject::connect(model, &QAbstractItemModel::rowsRemoved, &owner_, count);
    // Context menus come through the event filter: a click, Shift+F10 or the Menu key.
    list->installEventFilter(&owner_);
    list->viewport()->installEventFilter(&owner_);
    QObject::connect(list, &QAbstractItemView::doubleClicked, &owner_,
                     [this] { hooks_.doubleClicked(shiftAtPress_); });
}

void ResultPane::ClearLists() {
    model1_->Clear();
    model2_->Clear();
}

void ResultPane::ApplyListView() {
    const bool report =
        shared_.profile.Settings().LVDefaultView == static_cast<int>(ListViewStyle::Report);
    for (auto [list, model] : {std::pair{List1, model1_}, std::pair{List2, model2_}}) {
        model->SetReport(report);
        list->setHeaderHidden(!report);
        if (report) {
            // The folder takes the room the others leave.
            QHeaderView* header = list->header();
            header->setStretchLastSection(false);
            header->setSectionResizeMode(QHeaderView::Interactive);
            header->setSectionResizeMode(ResultListModel::Folder, QHeaderView::Stretch);
            const int widths[] = {220, 0, 60, 150, 80};
            for (const int column : {0, 2, 3, 4}) {
                header->resizeSection(column, widths[column]);
            }
        } else {
            // The one column of paths takes the whole width.
            list->header()->setSortIndicator(-1, Qt::AscendingOrder);
            list->header()->setStretchLastSection(true);
        }
        list->viewport()->update();
    }
}

void ResultPane::ShowPlaceholder(const QString& word) {
    lstDummy->clear();
    lstDummy->addItem(word);
    ShowInListsPlace(lstDummy);
}

// One of the three takes the lists' place. It takes the focus too when one of them had it: a
// hidden widget's focus would fall through to the fields above, where the next key typed for
// the list would land.
void ResultPane::ShowInListsPlace(QWidget* shown) {
    const QWidget* focused = owner_.window()->focusWidget();
    const bool listFocused = focused == List1 || focused == List2 || focused == lstDummy;
    shown->show();
    if (listFocused) {
        shown->setFocus(Qt::OtherFocusReason);
    }
    for (QWidget* list : {static_cast<QWidget*>(List1), static_cast<QWidget*>(List2),
                          static_cast<QWidget*>(lstDummy)}) {
        if (list != shown) {
            list->hide();
        }
    }
}

void ResultPane::ResetPlaceholder() {
    lstDummy->clear();
    lstDummy->addItem(tr("searching..."));
}

void ResultPane::ShowList(QTreeView* list) {
    ShowInListsPlace(list);
}

void ResultPane::ShowFirstList() {
    ShowList(List1);
}

void ResultPane::ShowTooManyToList() {
    model1_->ShowTexts({tr("File results exceed 32 thousand files."),
                        tr("Create filtered views from the File Type dialog.")});
    for (const int row : {0, 1}) {
        List1->setFirstColumnSpanned(row, {}, true); // across the report's columns
    }
}

QTreeView* ResultPane::VisibleList() const {
    return tsResults->currentIndex() > 0 ? List2 : List1;
}

int ResultPane::VisibleRowCount() const {
    return ModelOf(VisibleList())->rowCount();
}

ResultListModel* ResultPane::ModelOf(QTreeView* list) const {
    return list == List1 ? model1_ : model2_;
}

int32_t ResultPane::CurrentItem() const {
    QTreeView* list = VisibleList();
    const QModelIndex current = list->currentIndex();
    return current.isValid() ? ModelOf(list)->ItemIndexAt(current.row()) : -1;
}

ResultPane::Place ResultPane::CurrentPlace() const {
    const int32_t item = CurrentItem();
    if (item < 0) {
        return {};
    }
    return {std::string(shared_.session.Store()[item].FullPath()),
            VisibleList()->currentIndex().row(), shared_.session.RootPath()};
}

void ResultPane::ReturnTo(const Place& place) {
    const int rows = model1_->rowCount();
    if (place.row < 0 || rows == 0 || model1_->ItemIndexAt(0) < 0) {
        return;
    }
    int row = place.root == shared_.session.RootPath() ? std::min(place.row, rows - 1) : -1;
    for (int r = 0; r < rows; ++r) {
        if (shared_.session.Store()[model1_->ItemIndexAt(r)].FullPath() == place.path) {
            row = r;
            break;
        }
    }
    if (row < 0) {
        return;
    }
    const QModelIndex index = model1_->index(row, 0);
    List1->selectionModel()->setCurrentIndex(index, QItemSelectionModel::NoUpdate);
    List1->scrollTo(index);
}

QString ResultPane::TabText(int tab) const {
    return tsResults->tabText(tab);
}

void ResultPane::SetTabText(int tab, const QString& text) {
    tsResults->setTabText(tab, text);
}

void ResultPane::SetResultType(const QString& text) {
    lblResultType->setText(text);
}

void ResultPane::SyncViews() {
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
    // A view may have moved or gone: the lists are pointed at the views as they are now. The
    // first list keeps explaining results too many to list, whatever views are made.
    if (shared_.session.ListLimitExceeded()) {
        ShowTooManyToList();
    } else {
        model1_->ShowRows(&views_[0].rows);
    }
    const int current = tsResults->currentIndex();
    if (current > 0) {
        model2_->ShowRows(&views_[current].rows);
        ShowList(List2);
    } else {
        model2_->Clear();
        ShowList(List1);
    }
    lblResultType->setText(views_.LabelText(std::max(current, 0)));
    hooks_.shownListChanged();
}

void ResultPane::ShowTab(int tab) {
    if (tab >= 0) {
        tsResults->setCurrentIndex(tab);
    }
    TabChanged(tsResults->currentIndex());
}

void ResultPane::TabChanged(int tab) {
    if (tab < 0 || tab >= views_.Count()) {
        return;
    }
    if (tab == 0) {
        ShowList(List1);
    } else {
        model2_->ShowRows(&views_[tab].rows);
        ShowList(List2);
    }
    lblResultType->setText(views_.LabelText(tab));
    UpdateSelectedCount();
    hooks_.shownListChanged(); // the filters need a list of files
}

void ResultPane::UpdateSelectedCount() {
    lblSelCount->setText(tr("Selected: %1").arg(SelectedCount()));
}

void ResultPane::RowRemoving(int tab, int row) {
    if (tab == 0) {
        model1_->BeginRemoveRow(row);
    } else if (tab == tsResults->currentIndex()) {
        model2_->BeginRemoveRow(row);
    }
}

void ResultPane::RowRemoved(int tab) {
    if (tab == 0) {
        model1_->EndRemoveRow();
    } else if (tab == tsResults->currentIndex()) {
        model2_->EndRemoveRow();
    }
}

void ResultPane::RemoveFromViews(std::string_view path, const QString& mask) {
    views_.RemoveFromViews(path, mask, this);
    for (int tab = 0; tab < views_.Count(); ++tab) {
        tsResults->setTabText(tab, views_[tab].caption);
    }
    lblResultType->setText(views_.LabelText(std::max(tsResults->currentIndex(), 0)));
    UpdateSelectedCount();
}

std::vector<int> ResultPane::SelectedRows(QTreeView* list) const {
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

int ResultPane::SelectedCount() const {
    return static_cast<int>(SelectedRows(VisibleList()).size());
}

std::vector<std::string> ResultPane::RowPaths(bool selectedOnly) const {
    QTreeView* list = VisibleList();
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
            paths.emplace_back(shared_.session.Store()[item].FullPath());
        }
    }
    return paths;
}

std::vector<SelectedItem> ResultPane::SelectedItems() const {
    QTreeView* list = VisibleList();
    const ResultListModel* model = ModelOf(list);
    std::vector<SelectedItem> items;
    for (const int row : SelectedRows(list)) {
        const FileDataEntry& record = shared_.session.Store()[model->ItemIndexAt(row)];
        items.push_back({std::string(record.FullPath()), record.LastWriteTime});
    }
    return items;
}

void ResultPane::CloseViews() {
    if (shared_.busy) {
        return;
    }
    views_.CloseViews();
    SyncViews();
    TabChanged(0);
}

void ResultPane::SelectAll() {
    if (!shared_.busy) {
        VisibleList()->selectAll();
    }
}

void ResultPane::SelectNone() {
    if (!shared_.busy) {
        VisibleList()->clearSelection();
    }
}

void ResultPane::InvertSelection() {
    QTreeView* list = VisibleList();
    const int rows = ModelOf(list)->rowCount();
    if (shared_.busy || rows == 0 || ModelOf(list)->ItemIndexAt(0) < 0) {
        return;
    }
    const QModelIndex top = list->indexAt(QPoint(1, 1));
    const QItemSelection all(list->model()->index(0, 0),
                             list->model()->index(rows - 1, list->model()->columnCount() - 1));
    list->selectionModel()->select(all, QItemSelectionModel::Toggle);
    // Inverting walks every row, leaving the view at the last one, unless the first visible row
    // is to stay in view.
    if (shared_.profile.Settings().RetainTopIndex && top.isValid()) {
        list->scrollTo(top, QAbstractItemView::PositionAtTop);
    } else {
        list->scrollTo(list->model()->index(rows - 1, 0));
    }
}

void ResultPane::SetBusy(bool busy) {
    tsResults->setEnabled(!busy);
}

// Ctrl+Tab and Ctrl+Page Down go to the next tab, Ctrl+Shift+Tab and Ctrl+Page Up to the one
// before, round the ends, as in a browser.
static int TabStep(const QKeyEvent& key) {
    const Qt::KeyboardModifiers mods = key.modifiers() & ~Qt::KeypadModifier;
    if (mods == Qt::ControlModifier) {
        switch (key.key()) {
        case Qt::Key_Tab:
        case Qt::Key_PageDown:
            return 1;
        case Qt::Key_PageUp:
            return -1;
        default:
            return 0;
        }
    }
    const bool back = key.key() == Qt::Key_Backtab || key.key() == Qt::Key_Tab;
    return mods == (Qt::ControlModifier | Qt::ShiftModifier) && back ? -1 : 0;
}

bool ResultPane::ListEvent(QObject* watched, QEvent* event) {
    // Shift counts as it was when the mouse went down.
    if (event->type() == QEvent::MouseButtonPress || event->type() == QEvent::MouseButtonDblClick) {
        shiftAtPress_ = static_cast<QMouseEvent*>(event)->modifiers() & Qt::ShiftModifier;
    }
    for (QTreeView* list : {List1, List2}) {
        if (watched != list && watched != list->viewport()) {
            continue;
        }
        // From the keyboard (the Menu key, Shift+F10): at the current row, or the list's
        // corner without one.
        const QRect row = list->visualRect(list->currentIndex());
        const QPoint atRow = row.isValid() ? row.bottomLeft() : QPoint(0, 0);
        if (event->type() == QEvent::KeyPress) {
            const auto* key = static_cast<QKeyEvent*>(event);
            if (key->key() == Qt::Key_Delete && key->modifiers() == Qt::NoModifier) {
                hooks_.request(FolderResults() ? PendingAction::DeleteFolder
                                               : PendingAction::DeleteFiles);
                return true;
            }
            if (const int step = TabStep(*key); step != 0) {
                if (!shared_.busy && tsResults->count() > 1) {
                    const int count = tsResults->count();
                    ShowTab((tsResults->currentIndex() + step + count) % count);
                }
                return true;
            }
            if (key->key() == Qt::Key_Menu ||
                (key->key() == Qt::Key_F10 && key->modifiers() == Qt::ShiftModifier)) {
                hooks_.popup(list->viewport()->mapToGlobal(atRow));
                return true;
            }
        } else if (event->type() == QEvent::ContextMenu) {
            const auto* menu = static_cast<QContextMenuEvent*>(event);
            hooks_.popup(menu->reason() == QContextMenuEvent::Keyboard
                             ? list->viewport()->mapToGlobal(atRow)
                             : menu->globalPos());
            return true;
        }
    }
    return false;
}

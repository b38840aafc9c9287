#include "fileops/dlgCopyErr.h"

#include "fileops/CommandThread.h"
#include "fileops/modShell.h"
#include "output/ListSaving.h"
#include "output/modFileDialog.h"
#include "platform/Prompts.h"
#include "settings/modPProfile.h"
#include "text/DisplayText.h"
#include "text/PathText.h"
#include "widgets/FileDrag.h"
#include "widgets/ListCellDelegate.h"

#include <QActionGroup>
#include <QApplication>
#include <QClipboard>
#include <QDate>
#include <QDateTime>
#include <QHeaderView>
#include <QLabel>
#include <QLineEdit>
#include <QLocale>
#include <QMenu>
#include <QMenuBar>
#include <QMimeData>
#include <QPainter>
#include <QScrollBar>
#include <QStyledItemDelegate>
#include <QTableWidget>
#include <QVBoxLayout>
#include <algorithm>
#include <sys/stat.h>

namespace {

constexpr int PathRole = Qt::UserRole;     // the item's path as bytes
constexpr int SortRole = Qt::UserRole + 1; // what a column sorts by, when not its text

// An item that sorts by its sort value when it has one (times), else by its text.
class SortableItem : public QTableWidgetItem {
public:
    using QTableWidgetItem::QTableWidgetItem;
    bool operator<(const QTableWidgetItem& other) const override {
        const QVariant mine = data(SortRole);
        return mine.isValid() ? mine.toLongLong() < other.data(SortRole).toLongLong()
                              : QTableWidgetItem::operator<(other);
    }
};

QString TargetDateText(const std::string& target, int64_t& ticks) {
    struct stat st {};
    ticks = 0;
    if (target.empty() || lstat(target.c_str(), &st) != 0) {
        return {};
    }
    ticks = (st.st_mtim.tv_sec + 11644473600LL) * 10000000 + st.st_mtim.tv_nsec / 100;
    return FileTimeText(ticks);
}

// The list: its rows are dragged out as the files they name.
class NotProcessedTable : public QTableWidget {
public:
    using QTableWidget::QTableWidget;

protected:
    QStringList mimeTypes() const override {
        return {QStringLiteral("text/uri-list"), QStringLiteral("text/plain")};
    }
    QMimeData* mimeData(const QList<QTableWidgetItem*>& items) const override {
        std::vector<int> rows;
        for (const QTableWidgetItem* cell : items) {
            rows.push_back(cell->row());
        }
        std::sort(rows.begin(), rows.end());
        rows.erase(std::unique(rows.begin(), rows.end()), rows.end());
        std::vector<std::string> paths;
        for (const int row : rows) {
            paths.push_back(item(row, 0)->data(PathRole).toByteArray().toStdString());
        }
        return FileDragData(paths);
    }
};

} // namespace

dlgCopyErr::dlgCopyErr(modPProfile& profile, Prompts& prompts, Desktop& desktop, QWidget* parent)
    : QDialog(parent), profile_(profile), prompts_(prompts), desktop_(desktop),
      Label1(new QLabel(this)), ListView1(new NotProcessedTable(this)), Text1(new QLineEdit(this)) {
    setObjectName("dlgCopyErr");
    setWindowTitle(tr("Files Not Processed"));
    Label1->setObjectName("Label1");
    Label1->setText(tr("The following files were not processed due to the reasons stated. "
                       "Selecting a file\ndisplays its complete path in the textbox below."));
    ListView1->setObjectName("ListView1");
    ListView1->setAccessibleName(tr("Files not processed"));
    ListView1->setSelectionBehavior(QAbstractItemView::SelectRows);
    ListView1->setSelectionMode(QAbstractItemView::ExtendedSelection);
    ListView1->setEditTriggers(QAbstractItemView::NoEditTriggers);
    ListView1->setDragEnabled(true);
    ListView1->setDragDropMode(QAbstractItemView::DragOnly);
    ListView1->setDefaultDropAction(Qt::CopyAction);
    ListView1->setTextElideMode(Qt::ElideMiddle);
    ListView1->verticalHeader()->hide();
    // Rows as high as a line of text, as in the result lists (a table's default is taller).
    ListView1->verticalHeader()->setSectionResizeMode(QHeaderView::Fixed);
    ListView1->verticalHeader()->setDefaultSectionSize(fontMetrics().height() + 6);
    ListView1->setItemDelegate(
        new ListCellDelegate(profile_.Settings(), ListView1->horizontalHeader(), false, ListView1));
    Text1->setObjectName("Text1");
    Text1->setAccessibleName(tr("Complete path"));
    Text1->setReadOnly(true);
    connect(ListView1, &QTableWidget::currentCellChanged, this, [this](int row) {
        const QTableWidgetItem* item = ListView1->item(row, 0);
        Text1->setText(item ? DisplayPath(item->data(PathRole).toByteArray().toStdString())
                            : QString());
    });

    auto* bar = new QMenuBar(this);
    QMenu* file = bar->addMenu(tr("&File"));
    QMenu* edit = bar->addMenu(tr("&Edit"));
    BuildMenus(file, edit, bar->addMenu(tr("&View")));
    auto* layout = new QVBoxLayout(this);
    layout->setMenuBar(bar);
    layout->addWidget(Label1);
    layout->addWidget(ListView1, 1);
    layout->addWidget(Text1);
    resize(720, 420);
}

void dlgCopyErr::BuildMenus(QMenu* file, QMenu* edit, QMenu* view) {
    file->setObjectName("mnuErrFile");
    file->addAction(tr("Save..."), this, [this] { FileSaveListview(true); });
    const auto properties = [this] {
        modShell::ShellShowProperties(Paths(true), prompts_, desktop_);
    };
    file->addAction(tr("Properties"), this, properties);
    file->addSeparator();
    file->addAction(tr("&Close"), this, &QDialog::accept);

    edit->setObjectName("mnuErrEdit");
    edit->addAction(tr("Select All"), ListView1, &QAbstractItemView::selectAll);
    edit->addAction(tr("Select None"), ListView1, &QAbstractItemView::clearSelection);
    edit->addAction(tr("Send To Clipboard as Name"), this, &dlgCopyErr::CopyToClipboard);
    edit->addAction(tr("Preferences..."), this, [this] {
        if (openPreferences_) {
            openPreferences_();
            SetReportView(profile_.Settings().LVDefaultView == 1);
            SetGridLines(profile_.Settings().LVUseGridLines);
        }
    });

    view->setObjectName("mnuErrView");
    reportView_ = view->addAction(tr("&Report View"), this, [this] { SetReportView(true); });
    listView_ = view->addAction(tr("&List View"), this, [this] { SetReportView(false); });
    gridLines_ = view->addAction(tr("&Gridlines"), this,
                                 [this] { SetGridLines(!profile_.Settings().LVUseGridLines); });
    for (QAction* action : {reportView_, listView_, gridLines_}) {
        action->setCheckable(true);
    }
    auto* views = new QActionGroup(view); // one view at a time, shown as radio items
    views->addAction(reportView_);
    views->addAction(listView_);

    mnuErrListPopup_ = new QMenu(this);
    mnuErrListPopup_->setObjectName("mnuErrListPopup");
    QMenu* sendTo = mnuErrListPopup_->addMenu(tr("Send To"));
    sendTo->setObjectName("mnuErrListSendTo");
    sendTo->addAction(tr("File..."), this, [this] { FileSaveListview(false); });
    sendTo->addAction(tr("Clipboard..."), this, &dlgCopyErr::CopyToClipboard);
    mnuErrListPopup_->addAction(tr("Select All"), ListView1, &QAbstractItemView::selectAll);
    mnuErrListPopup_->addAction(tr("Select None"), ListView1, &QAbstractItemView::clearSelection);
    mnuErrListPopup_->addAction(tr("Properties"), this, properties);
    ListView1->setContextMenuPolicy(Qt::CustomContextMenu);
    connect(ListView1, &QWidget::customContextMenuRequested, this, [this](const QPoint& at) {
        mnuErrListPopup_->popup(ListView1->viewport()->mapToGlobal(at));
    });
}

void dlgCopyErr::Create(PendingAction command) {
    copyLayout_ = command == PendingAction::CopyFiles || command == PendingAction::MoveFiles;
    const QStringList columns =
        copyLayout_ ? QStringList{tr("Source File"), tr("Source Path"), tr("Source Date/Time"),
                                  tr("Target Date/Time"), tr("Status")}
                    : QStringList{tr("File"), tr("Status")};
    ListView1->clear();
    ListView1->setRowCount(0);
    ListView1->setColumnCount(static_cast<int>(columns.size()));
    ListView1->setHorizontalHeaderLabels(columns);
}

void dlgCopyErr::AddItems(const std::vector<SkippedItem>& items) {
    ListView1->setSortingEnabled(false);
    for (const SkippedItem& item : items) {
        const int row = ListView1->rowCount();
        ListView1->insertRow(row);
        const PathParts parts = SplitPath(item.path);
        const std::string name(parts.name);
        const std::string folder = WithTrailingSlash(parts.folder);
        const QString status = item.reason.empty()
                                   ? RemarkText(item.remark)
                                   : tr("%1 (%2)", "a remark and its reason")
                                         .arg(RemarkText(item.remark), RemarkText(item.reason));
        QStringList cells;
        int64_t targetTicks = 0;
        if (copyLayout_) {
            cells = {DisplayPath(name), DisplayPath(folder), FileTimeText(item.lastWriteTime),
                     TargetDateText(item.target, targetTicks), status};
        } else {
            cells = {DisplayPath(item.path), status};
        }
        for (int column = 0; column < static_cast<int>(cells.size()); ++column) {
            auto* cell = new SortableItem(cells[column]);
            if (copyLayout_ && column == 2) {
                cell->setData(SortRole, static_cast<qlonglong>(item.lastWriteTime));
            } else if (copyLayout_ && column == 3) {
                cell->setData(SortRole, static_cast<qlonglong>(targetTicks));
            }
            ListView1->setItem(row, column, cell);
        }
        ListView1->item(row, 0)->setData(PathRole, QByteArray::fromStdString(item.path));
        // The list view shows the first column alone: the reason is there as its tip.
        ListView1->item(row, 0)->setToolTip(status);
    }
}

void dlgCopyErr::CreateFinalize() {
    ListView1->resizeColumnsToContents();
    ListView1->horizontalHeader()->setStretchLastSection(true);
    // The reason, in the last column, reads whole at the dialog's size: the folder column (cut
    // in the middle) gives up what is missing.
    QHeaderView* header = ListView1->horizontalHeader();
    const int last = header->count() - 1;
    int used = 0;
    for (int column = 0; column <= last; ++column) {
        used += header->sectionSize(column);
    }
    const int room = width() - 2 * layout()->contentsMargins().left() -
                     ListView1->verticalScrollBar()->sizeHint().width() -
                     2 * ListView1->frameWidth();
    if (last > 1 && used > room) {
        header->resizeSection(1, std::max(120, header->sectionSize(1) - (used - room)));
    }
    // In the command's order until the user sorts by a column.
    ListView1->horizontalHeader()->setSortIndicator(-1, Qt::AscendingOrder);
    ListView1->setSortingEnabled(true);
    ListView1->horizontalHeader()->setSortIndicatorShown(false);
    connect(ListView1->horizontalHeader(), &QHeaderView::sectionClicked,
            ListView1->horizontalHeader(),
            [header = ListView1->horizontalHeader()] { header->setSortIndicatorShown(true); });
    const AppSettings& s = profile_.Settings();
    SetReportView(s.LVDefaultView == 1);
    SetGridLines(s.LVUseGridLines);
}

void dlgCopyErr::SetReportView(bool report) {
    for (int column = 1; column < ListView1->columnCount(); ++column) {
        ListView1->setColumnHidden(column, !report);
    }
    ListView1->horizontalHeader()->setVisible(report);
    reportView_->setChecked(report);
    listView_->setChecked(!report);
    const int view = report ? 1 : 0;
    if (profile_.Settings().LVDefaultView != view) {
        profile_.Settings().LVDefaultView = view;
        profile_.ProfileSetOptionsKey("LVDefaultView", std::to_string(view));
    }
}

void dlgCopyErr::SetGridLines(bool on) {
    ListView1->setShowGrid(on);
    gridLines_->setChecked(on);
    if (profile_.Settings().LVUseGridLines != on) {
        profile_.Settings().LVUseGridLines = on;
        profile_.ProfileSetOptionsKey("LVUseGridLines", BoolText(on));
    }
}

std::vector<std::string> dlgCopyErr::Paths(bool selectedOnly) const {
    std::vector<std::string> paths;
    for (int row = 0; row < ListView1->rowCount(); ++row) {
        const QTableWidgetItem* item = ListView1->item(row, 0);
        if (!selectedOnly || ListView1->selectionModel()->isRowSelected(row)) {
            paths.push_back(item->data(PathRole).toByteArray().toStdString());
        }
    }
    return paths;
}

void dlgCopyErr::FileSaveListview(bool allItems) {
    bool entireList = allItems;
    const std::string path =
        modFileDialog::AskForOutputFile(prompts_, profile_, false, entireList, "", false);
    if (path.empty()) {
        return;
    }
    stop_.Lower();
    if (const std::string error =
            WriteOffThread(stop_, path,
                           [path, lines = Paths(!allItems)](CommandThread&) mutable {
                               return WriteLines(path, std::move(lines), false);
                           });
        !error.empty()) {
        prompts_.Message(QString::fromStdString(error), MessageIcon::Critical, MessageButtons::Ok);
    }
}

void dlgCopyErr::reject() {
    stop_.Raise();
    QDialog::reject();
}

void dlgCopyErr::CopyToClipboard() {
    const std::vector<std::string> paths = Paths(true);
    if (paths.empty()) {
        return;
    }
    QString text = tr("Files not Processed") + QStringLiteral("\r\n") +
                   QLocale::system().toString(QDate::currentDate(), QLocale::LongFormat) +
                   QStringLiteral("\r\n");
    for (const std::string& path : paths) {
        text += DisplayPath(path) + QStringLiteral("\r\n");
    }
    QGuiApplication::clipboard()->setText(text);
    Text1->setText(tr("Ready! (Selected items copied to clipboard.)"));
}

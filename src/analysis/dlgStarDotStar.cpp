#include "analysis/dlgStarDotStar.h"

#include "analysis/CensusReport.h"
#include "analysis/LetterMenu.h"
#include "fileops/CommandThread.h"
#include "output/ListSaving.h"
#include "output/modFileDialog.h"
#include "platform/EventYield.h"
#include "platform/Progress.h"
#include "platform/Prompts.h"
#include "search/FileDataArray.h"
#include "settings/modPProfile.h"
#include "text/DisplayText.h"

#include <QApplication>
#include <QHBoxLayout>
#include <QHeaderView>
#include <QKeyEvent>
#include <QLabel>
#include <QListWidget>
#include <QMenuBar>
#include <QPainter>
#include <QPushButton>
#include <QResizeEvent>
#include <QScrollBar>
#include <QStandardItemModel>
#include <QStyleOptionFocusRect>
#include <QStyledItemDelegate>
#include <QVBoxLayout>
#include <algorithm>
#include <set>

namespace {
constexpr int CountRole = Qt::UserRole;
// The extension's bytes: a type that is not UTF-8 cannot be recovered from the line shown.
constexpr int ExtensionRole = Qt::UserRole + 1;
constexpr int BytesRole = Qt::UserRole + 2;

QListWidgetItem* TypeItem(const CensusType& type) {
    // The line the command line prints, its count in the user's language.
    const int count = static_cast<int>(type.Count);
    auto* item =
        new QListWidgetItem(QString::fromStdString(type.Extension) + QStringLiteral("\t\t") +
                            dlgStarDotStar::tr("%n files", nullptr, count));
    item->setData(CountRole, type.Count);
    item->setData(ExtensionRole, QByteArray::fromStdString(type.Extension));
    item->setData(BytesRole, static_cast<qlonglong>(type.Bytes));
    item->setData(Qt::ToolTipRole, ExactSizeText(type.Bytes));
    return item;
}

std::string ExtensionOf(const QListWidgetItem* item) {
    return item->data(ExtensionRole).toByteArray().toStdString();
}

// Shows a type's line ("ext", two TABs, "N files") in the columns of the header above the list:
// the extension, its count, and its total size at the right; the item's text stays the line.
class TypeLineDelegate : public QStyledItemDelegate {
public:
    TypeLineDelegate(const QHeaderView* columns, QObject* parent)
        : QStyledItemDelegate(parent), columns_(columns) {}

    void paint(QPainter* painter, const QStyleOptionViewItem& option,
               const QModelIndex& index) const override {
        QStyleOptionViewItem plain = option;
        initStyleOption(&plain, index);
        const std::string line = plain.text.toStdString(); // the views below point into it
        const auto [extension, rest] = FirstToken(line, '\t');
        plain.text.clear();
        const QWidget* widget = plain.widget;
        QStyle* style = widget ? widget->style() : QApplication::style();
        style->drawControl(QStyle::CE_ItemViewItem, &plain, painter, widget);
        painter->save();
        painter->setPen(plain.palette.color(
            option.state & QStyle::State_Selected ? QPalette::HighlightedText : QPalette::Text));
        const QString type = QString::fromStdString(std::string(extension));
        const QRect first = Column(option.rect, 0);
        // Cut only what does not fit: the widest extension sets the column's width.
        painter->drawText(first, Qt::AlignLeft | Qt::AlignVCenter,
                          plain.fontMetrics.horizontalAdvance(type) <= first.width()
                              ? type
                              : plain.fontMetrics.elidedText(type, Qt::ElideMiddle, first.width()));
        painter->drawText(Column(option.rect, 1), Qt::AlignLeft | Qt::AlignVCenter,
                          QString::fromStdString(std::string(rest)).trimmed());
        painter->drawText(Column(option.rect, 2), Qt::AlignRight | Qt::AlignVCenter,
                          SizeText(index.data(BytesRole).toLongLong()));
        painter->restore();
    }

private:
    QRect Column(const QRect& row, int section) const {
        constexpr int kPadding = 4;
        return {row.left() + columns_->sectionPosition(section) + kPadding, row.top(),
                columns_->sectionSize(section) - 2 * kPadding, row.height()};
    }
    const QHeaderView* columns_;
};
// A header a keyboard reaches: Tab gives it the focus, Left and Right move it between the
// columns (the one it is on framed), Space or Enter clicks that column.
class ColumnHeader : public QHeaderView {
public:
    explicit ColumnHeader(QWidget* parent) : QHeaderView(Qt::Horizontal, parent) {
        setFocusPolicy(Qt::TabFocus);
    }
    // The Type column as wide as `wanted` (the widest extension), unless that would leave the
    // counts less than a third of the width; kept so as the header is resized.
    void SetTypeWidth(int wanted) {
        wanted_ = wanted;
        resizeSection(0, std::min(wanted_, std::max(width() * 2 / 3, 60)));
    }

protected:
    void keyPressEvent(QKeyEvent* event) override {
        switch (event->key()) {
        case Qt::Key_Left:
        case Qt::Key_Right:
            current_ =
                std::clamp(current_ + (event->key() == Qt::Key_Left ? -1 : 1), 0, count() - 1);
            viewport()->update();
            return;
        case Qt::Key_Space:
        case Qt::Key_Return:
        case Qt::Key_Enter:
            emit sectionClicked(current_);
            return;
        default:
            QHeaderView::keyPressEvent(event);
        }
    }
    void paintSection(QPainter* painter, const QRect& rect, int section) const override {
        QHeaderView::paintSection(painter, rect, section);
        if (hasFocus() && section == current_) {
            QStyleOptionFocusRect focus;
            focus.initFrom(this);
            focus.rect = rect.adjusted(2, 2, -2, -2);
            style()->drawPrimitive(QStyle::PE_FrameFocusRect, &focus, painter, this);
        }
    }
    void resizeEvent(QResizeEvent* event) override {
        QHeaderView::resizeEvent(event);
        SetTypeWidth(wanted_);
    }
    void focusInEvent(QFocusEvent* event) override {
        QHeaderView::focusInEvent(event);
        viewport()->update();
    }
    void focusOutEvent(QFocusEvent* event) override {
        QHeaderView::focusOutEvent(event);
        viewport()->update();
    }

private:
    int current_ = 0;
    int wanted_ = 80;
};
} // namespace

dlgStarDotStar::dlgStarDotStar(FileDataArray& store, modPProfile& profile, Prompts& prompts,
                               Progress& progress, EventYield& yield, QWidget* parent)
    : QDialog(parent), store_(store), profile_(profile), prompts_(prompts), progress_(progress),
      yield_(yield) {
    setObjectName("dlgStarDotStar");
    auto* layout = new QVBoxLayout(this);
    auto* bar = new QMenuBar(this);
    layout->setMenuBar(bar);
    lstExtensions = new QListWidget(this);
    BuildMenus(bar);

    Label1 = new QLabel(this);
    Label1->setObjectName("Label1");
    Label1->setWordWrap(true);
    lstExtensions->setObjectName("lstExtensions");
    lstExtensions->setAccessibleName(tr("File types"));
    lstExtensions->setSelectionMode(QAbstractItemView::ExtendedSelection);
    lstExtensions->setUniformItemSizes(true);
    lstHidden = new QListWidget(this);
    lstHidden->setObjectName("lstHidden");
    lstHidden->hide();
    lblResultsCount = new QLabel(this);
    lblResultsCount->setObjectName("lblResultsCount");
    lblSelectedCount = new QLabel(this);
    lblSelectedCount->setObjectName("lblSelectedCount");
    lblTotalFiles = new QLabel(this);
    lblTotalFiles->setObjectName("lblTotalFiles");
    lblTotalSize = new QLabel(this);
    lblTotalSize->setObjectName("lblTotalSize");
    BuildHeader();
    lstExtensions->setItemDelegate(new TypeLineDelegate(hdrTypes, lstExtensions));

    QLayout* buttons = Buttons();

    auto* counts = new QHBoxLayout;
    counts->addWidget(lblResultsCount);
    counts->addStretch();
    counts->addWidget(lblSelectedCount);
    counts->addWidget(lblTotalFiles);
    counts->addWidget(lblTotalSize);

    layout->addWidget(Label1);
    // The header ends where the list's rows do, before its scroll bar.
    lstExtensions->setVerticalScrollBarPolicy(Qt::ScrollBarAlwaysOn);
    auto* headerRow = new QHBoxLayout;
    headerRow->setContentsMargins(0, 0, lstExtensions->verticalScrollBar()->sizeHint().width(), 0);
    headerRow->addWidget(hdrTypes);
    auto* list = new QVBoxLayout;
    list->setSpacing(0);
    list->addLayout(headerRow);
    list->addWidget(lstExtensions, 1);
    layout->addLayout(list, 1);
    layout->addWidget(lstHidden);
    layout->addLayout(counts);
    layout->addLayout(buttons);
    connect(lstExtensions, &QListWidget::itemSelectionChanged, this,
            &dlgStarDotStar::SelectionChanged);
    resize(460, 520);
}

// Export and Report at the left, View and Close at the right.
QLayout* dlgStarDotStar::Buttons() {
    const char* captions[] = {QT_TR_NOOP("&Export Type..."), QT_TR_NOOP("&View as Tabs"),
                              QT_TR_NOOP("&Close"), QT_TR_NOOP("Save &Report...")};
    auto* buttons = new QHBoxLayout;
    for (int i = 0; i < 4; ++i) {
        cmd[i] = new QPushButton(tr(captions[i]), this);
        cmd[i]->setObjectName(QStringLiteral("cmd_%1").arg(i));
        cmd[i]->setAutoDefault(false);
        connect(cmd[i], &QPushButton::clicked, this, [this, i] { CommandAction(i); });
    }
    buttons->addWidget(cmd[Export]);
    buttons->addWidget(cmd[Report]);
    buttons->addStretch();
    buttons->addWidget(cmd[View]);
    buttons->addWidget(cmd[Close]);
    cmd[View]->setDefault(true);
    return buttons;
}

// Above the list, a header of its three columns. A click on Files or Size orders the types by
// it, largest first, a second click largest last; a click on Type puts them back in the
// census's order. The header takes the keyboard focus too: Left and Right pick a column, Space
// or Enter orders by it.
void dlgStarDotStar::BuildHeader() {
    auto* columns = new QStandardItemModel(0, 3, this);
    columns->setHorizontalHeaderLabels({tr("Type"), tr("Files"), tr("Size")});
    columns->setHeaderData(2, Qt::Horizontal, QVariant(Qt::AlignRight | Qt::AlignVCenter),
                           Qt::TextAlignmentRole);
    hdrTypes = new ColumnHeader(this);
    hdrTypes->setObjectName("hdrTypes");
    hdrTypes->setAccessibleName(tr("Order of the types"));
    hdrTypes->setModel(columns);
    hdrTypes->setDefaultAlignment(Qt::AlignLeft | Qt::AlignVCenter);
    hdrTypes->setFixedHeight(hdrTypes->fontMetrics().height() + 10); // one line of text
    hdrTypes->setSectionsClickable(true);
    hdrTypes->setSectionResizeMode(0, QHeaderView::Interactive);
    hdrTypes->setSectionResizeMode(1, QHeaderView::Stretch);
    hdrTypes->setSectionResizeMode(2, QHeaderView::Fixed);
    hdrTypes->resizeSection(2, 90);
    hdrTypes->setSortIndicatorShown(true);
    hdrTypes->setSortIndicator(-1, Qt::AscendingOrder);
    connect(hdrTypes, &QHeaderView::sectionClicked, this,
            [this](int section) { OrderBy(section); });
}

void dlgStarDotStar::OrderBy(int section) {
    if (section == 0) {
        orderColumn_ = -1;
    } else if (section == orderColumn_) {
        largestFirst_ = !largestFirst_;
    } else {
        orderColumn_ = section;
        largestFirst_ = true;
    }
    hdrTypes->setSortIndicator(orderColumn_,
                               largestFirst_ ? Qt::DescendingOrder : Qt::AscendingOrder);
    // The selection stays with its types, and its totals with it.
    std::set<std::string> selected;
    for (const QListWidgetItem* item : lstExtensions->selectedItems()) {
        selected.insert(ExtensionOf(item));
    }
    FillList(selected);
}

std::vector<CensusType> dlgStarDotStar::ShownTypes() const {
    std::vector<CensusType> types = census_.Shown();
    if (orderColumn_ > 0) {
        const bool bySize = orderColumn_ == 2;
        const bool largestFirst = largestFirst_;
        std::stable_sort(types.begin(), types.end(),
                         [bySize, largestFirst](const CensusType& a, const CensusType& b) {
                             const int64_t x = bySize ? a.Bytes : a.Count;
                             const int64_t y = bySize ? b.Bytes : b.Count;
                             return largestFirst ? x > y : x < y;
                         });
    }
    return types;
}

void dlgStarDotStar::BuildMenus(QWidget* barWidget) {
    auto* bar = static_cast<QMenuBar*>(barWidget);
    QMenu* filter = bar->addMenu(tr("&Filter"));
    filter->setObjectName("zmnuFilter");
    QMenu* select = bar->addMenu(tr("&Select"));
    select->setObjectName("zmnuSelect");
    for (int i = 0; i < kCountRanges; ++i) {
        if (i == kRangeSeparator) {
            filter->addSeparator();
            select->addSeparator();
            continue;
        }
        mnuFilter[i] = filter->addAction(CountRangeCaption(i), this, [this, i] { FilterMasks(i); });
        mnuFilter[i]->setObjectName(QStringLiteral("mnuFilter_%1").arg(i));
        mnuFilter[i]->setCheckable(true);
        QAction* range =
            select->addAction(CountRangeCaption(i), this, [this, i] { SelectRange(i); });
        range->setObjectName(QStringLiteral("mnuSelect_%1").arg(i));
    }
    select->addSeparator();
    appendSelection_ = select->addAction(tr("Append Selection to Existing Items"));
    appendSelection_->setObjectName("mnuSelect_12");
    appendSelection_->setCheckable(true);
    select->addSeparator();
    QAction* clear = select->addAction(tr("Clear Selection"), this, &dlgStarDotStar::DeselectAll);
    clear->setObjectName("mnuSelect_14");

    letters_ = new LetterMenu(bar, lstExtensions);
}

void dlgStarDotStar::CreateMaskArrayCountSR(int filterIndex) {
    QApplication::setOverrideCursor(Qt::WaitCursor);
    lstExtensions->hide();
    lstExtensions->clear();
    if (!counted_) {
        census_.Build(
            store_, filterIndex, [this](const QString& text) { progress_.SetMessage(text); },
            [this] {
                progress_.Update(1);
                yield_.Yield();
            });
        counted_ = true;
    } else {
        census_.ApplyFilter(filterIndex);
    }
    lstHidden->clear();
    for (const CensusType& type : census_.Hidden()) {
        lstHidden->addItem(TypeItem(type));
    }
    FillList();
    for (int i = 0; i < kCountRanges; ++i) {
        if (mnuFilter[i] != nullptr) {
            mnuFilter[i]->setChecked(i == kAllResults);
        }
    }
    lstExtensions->show();
    lstExtensions->setEnabled(true);
    progress_.Destroy();
    QApplication::restoreOverrideCursor();
}

void dlgStarDotStar::FillList(const std::set<std::string>& selected) {
    lstExtensions->clear();
    int widest = 0;
    QItemSelection chosen;
    for (const CensusType& type : ShownTypes()) {
        widest = std::max(widest, lstExtensions->fontMetrics().horizontalAdvance(
                                      QString::fromStdString(type.Extension)));
        lstExtensions->addItem(TypeItem(type));
        if (selected.count(type.Extension) > 0) {
            const QModelIndex row = lstExtensions->model()->index(lstExtensions->count() - 1, 0);
            chosen.select(row, row);
        }
    }
    // The widest extension whole, unless it would leave the counts no room.
    static_cast<ColumnHeader*>(hdrTypes)->SetTypeWidth(std::max(widest, 40) + 12);
    lstExtensions->selectionModel()->select(chosen, QItemSelectionModel::Select);
    letters_->Refresh();
    lblResultsCount->setText(census_.ResultsCountText());
    SelectionChanged();
    if (selected.empty()) {
        lblTotalFiles->clear();
        lblTotalSize->clear();
    }
}

void dlgStarDotStar::SetupControls(const QString& caption, int types) {
    setWindowTitle(caption);
    Label1->setText(tr("The search results returned %1 file types. Select the file types below to "
                       "view as separate tabs (maximum of 30), or select one for exporting to a "
                       "file.")
                        .arg(types));
}

void dlgStarDotStar::SetSearchData(const std::string& rootPath, const std::string& maskText) {
    rootPath_ = rootPath;
    maskText_ = maskText;
}

void dlgStarDotStar::FilterMasks(int filterIndex) {
    if (mnuFilter[census_.FilterIndex()] != nullptr) {
        mnuFilter[census_.FilterIndex()]->setChecked(false);
    }
    if (mnuFilter[filterIndex] != nullptr) {
        mnuFilter[filterIndex]->setChecked(true);
    }
    census_.ApplyFilter(filterIndex);
    FillList();
}

void dlgStarDotStar::SelectRange(int index) {
    if (!appendSelection_->isChecked()) {
        lstExtensions->clearSelection();
    }
    // One selection of all the rows in range, told once: item by item, each row would recount
    // the whole selection.
    QItemSelection range;
    const QAbstractItemModel* rows = lstExtensions->model();
    const int count = lstExtensions->count();
    for (int row = 0; row < count;) {
        int end = row;
        while (end < count &&
               InSelectRange(index, lstExtensions->item(end)->data(CountRole).toInt())) {
            ++end;
        }
        if (end > row) { // rows row..end-1 in range: one stretch
            range.append(QItemSelectionRange(rows->index(row, 0), rows->index(end - 1, 0)));
        }
        row = end + 1;
    }
    lstExtensions->selectionModel()->select(range, QItemSelectionModel::Select);
    SelectionChanged();
}

void dlgStarDotStar::JumpToLetter(int index) {
    letters_->Jump(index);
}

void dlgStarDotStar::DeselectAll() {
    lstExtensions->clearSelection();
    SelectionChanged();
}

void dlgStarDotStar::SelectionChanged() {
    const QList<QListWidgetItem*> selected = lstExtensions->selectedItems();
    const int count = static_cast<int>(selected.size());
    cmd[View]->setEnabled(count >= 1 && count <= kMaxViews);
    cmd[Export]->setEnabled(count == 1);
    lblSelectedCount->setText(tr("Selected: %1").arg(count));
    int64_t files = 0;
    int64_t bytes = 0;
    for (const QListWidgetItem* item : selected) {
        files += item->data(CountRole).toInt();
        bytes += item->data(BytesRole).toLongLong();
    }
    lblTotalFiles->setText(tr("(%1 files)").arg(files));
    lblTotalSize->setText(count > 0 ? SizeText(bytes) : QString());
}

const SelectedTypeArray& dlgStarDotStar::GetSelectedItemArray() {
    selected_.clear();
    for (int row = 0; row < lstExtensions->count(); ++row) {
        const QListWidgetItem* item = lstExtensions->item(row);
        if (item->isSelected()) {
            selected_.push_back({item->data(CountRole).toInt(), ExtensionOf(item)});
        }
    }
    return selected_;
}

void dlgStarDotStar::CommandAction(int index) {
    switch (index) {
    case Export:
        ExportSelectedType();
        break;
    case View:
        GetSelectedItemArray();
        result_ = View;
        done(View);
        break;
    case Close:
        result_ = Close;
        done(Close);
        break;
    case Report:
        SaveCensusReport();
        break;
    default:
        break;
    }
}

std::string dlgStarDotStar::AskForFile(const std::string& defaultName) {
    bool entireList = false;
    return modFileDialog::AskForOutputFile(prompts_, profile_, false, entireList, defaultName,
                                           false);
}

void dlgStarDotStar::reject() {
    stop_.Raise();
    QDialog::reject();
}

void dlgStarDotStar::ReportError(const std::string& error) {
    if (!error.empty()) {
        prompts_.Message(QString::fromStdString(error), MessageIcon::Critical, MessageButtons::Ok);
    }
}

void dlgStarDotStar::SaveCensusReport() {
    if (lstExtensions->count() == 0) {
        prompts_.Message(tr("There is nothing in the current list to save"), MessageIcon::Warning,
                         MessageButtons::Ok);
        return;
    }
    const std::string path = AskForFile(CensusReportFileName(census_.FilterIndex()));
    if (!path.empty()) {
        stop_.Lower();
        ReportError(WriteOffThread(
            stop_, path,
            [path, shown = ShownTypes(), root = rootPath_, mask = maskText_](CommandThread&) {
                return WriteCensusReport(path, TextFile::Mode::Replace, shown, root, mask);
            }));
    }
}

void dlgStarDotStar::ExportSelectedType() {
    const QList<QListWidgetItem*> selected = lstExtensions->selectedItems();
    if (selected.size() != 1) {
        return;
    }
    const std::string extension = ExtensionOf(selected.front());
    const std::string path = AskForFile(TypeExportFileName(extension));
    if (!path.empty()) {
        stop_.Lower();
        ReportError(WriteOffThread(
            stop_, path,
            [path, lines = TypeExportLines(store_, extension)](CommandThread&) mutable {
                return WriteLines(path, std::move(lines), false);
            }));
    }
}

std::vector<CensusType> dlgStarDotStar::CloneResultsSR() const {
    return census_.Hidden();
}

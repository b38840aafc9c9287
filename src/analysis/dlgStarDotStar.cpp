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
#include <QLabel>
#include <QListWidget>
#include <QMenuBar>
#include <QPainter>
#include <QPushButton>
#include <QScrollBar>
#include <QStandardItemModel>
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

// Shows a type's line ("ext", two TABs, "N files") as two aligned columns, however long an
// extension is, and its total size in a column of its own at the right; the item's text stays
// the line.
class TypeLineDelegate : public QStyledItemDelegate {
public:
    using QStyledItemDelegate::QStyledItemDelegate;
    void SetFirstColumnWidth(int width) { firstColumn_ = width; }
    void SetSizeColumnWidth(int width) { sizeColumn_ = width; }

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
        QRect area = style->subElementRect(QStyle::SE_ItemViewItemText, &plain, widget);
        const QRect size = area.adjusted(area.width() - sizeColumn_, 0, -4, 0);
        area.setRight(size.left() - 1);
        painter->save();
        painter->setPen(plain.palette.color(
            option.state & QStyle::State_Selected ? QPalette::HighlightedText : QPalette::Text));
        // As wide as the longest extension, but the counts never leave the list.
        const int width = std::min(firstColumn_, area.width() * 2 / 3);
        const QRect first(area.left(), area.top(), width, area.height());
        painter->drawText(
            first, Qt::AlignLeft | Qt::AlignVCenter,
            plain.fontMetrics.elidedText(QString::fromStdString(std::string(extension)),
                                         Qt::ElideMiddle, width));
        painter->drawText(area.adjusted(width + 12, 0, 0, 0), Qt::AlignLeft | Qt::AlignVCenter,
                          QString::fromStdString(std::string(rest)).trimmed());
        painter->drawText(size, Qt::AlignRight | Qt::AlignVCenter,
                          SizeText(index.data(BytesRole).toLongLong()));
        painter->restore();
    }

private:
    int firstColumn_ = 80;
    int sizeColumn_ = 90;
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
    lstExtensions->setSelectionMode(QAbstractItemView::ExtendedSelection);
    lstExtensions->setUniformItemSizes(true);
    lstExtensions->setItemDelegate(new TypeLineDelegate(lstExtensions));
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

// Above the list, a header of its two columns: a click on Size orders the types by their size,
// largest first; a click on Type puts them back in the census's order.
void dlgStarDotStar::BuildHeader() {
    auto* columns = new QStandardItemModel(0, 2, this);
    columns->setHorizontalHeaderLabels({tr("Type"), tr("Size")});
    columns->setHeaderData(1, Qt::Horizontal, QVariant(Qt::AlignRight | Qt::AlignVCenter),
                           Qt::TextAlignmentRole);
    hdrTypes = new QHeaderView(Qt::Horizontal, this);
    hdrTypes->setObjectName("hdrTypes");
    hdrTypes->setModel(columns);
    hdrTypes->setDefaultAlignment(Qt::AlignLeft | Qt::AlignVCenter);
    hdrTypes->setFixedHeight(hdrTypes->fontMetrics().height() + 10); // one line of text
    hdrTypes->setSectionsClickable(true);
    hdrTypes->setSectionResizeMode(0, QHeaderView::Stretch);
    hdrTypes->setSectionResizeMode(1, QHeaderView::Fixed);
    hdrTypes->resizeSection(1, 90);
    hdrTypes->setSortIndicatorShown(true);
    hdrTypes->setSortIndicator(-1, Qt::AscendingOrder);
    connect(hdrTypes, &QHeaderView::sectionClicked, this,
            [this](int section) { OrderBySize(section == 1); });
}

void dlgStarDotStar::OrderBySize(bool bySize) {
    bySize_ = bySize;
    hdrTypes->setSortIndicator(bySize ? 1 : -1, Qt::DescendingOrder);
    // The selection stays with its types, and its totals with it.
    std::set<std::string> selected;
    for (const QListWidgetItem* item : lstExtensions->selectedItems()) {
        selected.insert(ExtensionOf(item));
    }
    FillList(selected);
    SelectionChanged();
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
    std::vector<CensusType> types = census_.Shown();
    if (bySize_) {
        std::stable_sort(types.begin(), types.end(), [](const CensusType& a, const CensusType& b) {
            return a.Bytes > b.Bytes;
        });
    }
    int widest = 0;
    for (const CensusType& type : types) {
        QListWidgetItem* item = TypeItem(type);
        widest = std::max(widest, lstExtensions->fontMetrics().horizontalAdvance(
                                      QString::fromStdString(type.Extension)));
        lstExtensions->addItem(item);
        item->setSelected(selected.count(type.Extension) > 0);
    }
    static_cast<TypeLineDelegate*>(lstExtensions->itemDelegate())
        ->SetFirstColumnWidth(std::max(widest, 40));
    letters_->Refresh();
    lblResultsCount->setText(census_.ResultsCountText());
    SelectionChanged();
    lblTotalFiles->clear();
    lblTotalSize->clear();
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
    for (int row = 0; row < lstExtensions->count(); ++row) {
        QListWidgetItem* item = lstExtensions->item(row);
        if (InSelectRange(index, item->data(CountRole).toInt())) {
            item->setSelected(true);
        }
    }
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
            [path, shown = census_.Shown(), root = rootPath_, mask = maskText_](CommandThread&) {
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

#include "app/ResultListModel.h"

#include "search/FileDataArray.h"
#include "text/DisplayText.h"
#include "text/PathText.h"
#include "widgets/FileDrag.h"
#include "widgets/ListCellDelegate.h"

#include <algorithm>
#include <numeric>

namespace {

std::string_view NameOf(std::string_view path) {
    return SplitPath(path).name;
}

std::string_view FolderOf(std::string_view path) {
    return SplitPath(path).folder;
}

// The type as the census names it (lower case); nothing for folders and names without one,
// which the census marks ".".
std::string_view TypeOf(const FileDataEntry& record) {
    return record.Extension() == "." ? std::string_view() : record.Extension();
}

} // namespace

ResultListModel::ResultListModel(const FileDataArray& store, QObject* parent)
    : QAbstractTableModel(parent), store_(store), composer_(store) {
}

void ResultListModel::ShowRows(const std::vector<int32_t>* rows) {
    beginResetModel();
    rows_ = rows;
    texts_.clear();
    Order();
    endResetModel();
}

void ResultListModel::ShowTexts(const QStringList& texts) {
    beginResetModel();
    rows_ = nullptr;
    texts_ = texts;
    order_.clear();
    endResetModel();
}

void ResultListModel::SetReport(bool report) {
    if (report == report_) {
        return;
    }
    beginResetModel();
    report_ = report;
    if (!report_) {
        sortColumn_ = -1; // a list shows the order found
    }
    Order();
    endResetModel();
}

int32_t ResultListModel::ItemIndexAt(int row) const {
    if (rows_ == nullptr || row < 0 || row >= static_cast<int>(rows_->size())) {
        return -1;
    }
    return store_[(*rows_)[ViewRow(row)]].ItemIndex;
}

void ResultListModel::BeginRemoveRow(int viewRow) {
    removing_ = viewRow;
    int row = viewRow;
    if (!order_.empty()) {
        row = static_cast<int>(
            std::find(order_.begin(), order_.end(), static_cast<size_t>(viewRow)) - order_.begin());
    }
    beginRemoveRows({}, row, row);
    if (!order_.empty()) {
        order_.erase(order_.begin() + row);
        for (size_t& place : order_) {
            place -= place > static_cast<size_t>(viewRow) ? 1 : 0;
        }
    }
}

void ResultListModel::EndRemoveRow() {
    removing_ = -1;
    endRemoveRows();
}

int ResultListModel::rowCount(const QModelIndex& parent) const {
    if (parent.isValid()) {
        return 0;
    }
    if (rows_ == nullptr) {
        return static_cast<int>(texts_.size());
    }
    // While a row leaves, the view's rows are one fewer before the list has heard of it.
    return static_cast<int>(order_.empty() ? rows_->size() : order_.size());
}

int ResultListModel::columnCount(const QModelIndex& parent) const {
    return parent.isValid() ? 0 : (report_ ? Columns : 1);
}

QVariant ResultListModel::data(const QModelIndex& index, int role) const {
    if (!index.isValid()) {
        return {};
    }
    const int row = index.row();
    if (rows_ == nullptr) {
        return role == Qt::DisplayRole && row < texts_.size() && index.column() == 0
                   ? QVariant(texts_[row])
                   : QVariant();
    }
    const FileDataEntry record = store_[(*rows_)[ViewRow(row)]];
    const std::string_view path = composer_.FullPath(record);
    const bool sizeCell = report_ && index.column() == Size;
    switch (role) {
    case ItemIndexRole:
        return record.ItemIndex;
    case Qt::ToolTipRole:
        if (sizeCell) {
            return record.Size >= 0 ? ExactSizeText(record.Size) : QVariant();
        }
        return DisplayPath(path);
    case FullPathRole:
        return DisplayPath(path);
    case Qt::TextAlignmentRole:
        return sizeCell ? QVariant(Qt::AlignRight | Qt::AlignVCenter) : QVariant();
    case Qt::DisplayRole:
        break;
    default:
        return {};
    }
    if (!report_) {
        return DisplayPath(path);
    }
    switch (index.column()) {
    case Name:
        return DisplayPath(NameOf(path));
    case Folder:
        return DisplayPath(FolderOf(path));
    case Type:
        return DisplayPath(TypeOf(record));
    case Modified:
        // A folder's record keeps no time.
        return record.LastWriteTime != 0 ? FileTimeText(record.LastWriteTime) : QString();
    case Size:
        // Folders have none.
        return record.Size >= 0 ? SizeText(record.Size) : QString();
    default:
        return {};
    }
}

QVariant ResultListModel::headerData(int section, Qt::Orientation orientation, int role) const {
    if (orientation != Qt::Horizontal || role != Qt::DisplayRole) {
        return {};
    }
    static const char* const kHeaders[] = {QT_TR_NOOP("Name"), QT_TR_NOOP("Folder"),
                                           QT_TR_NOOP("Type"), QT_TR_NOOP("Modified"),
                                           QT_TR_NOOP("Size")};
    return section >= 0 && section < Columns ? tr(kHeaders[section]) : QVariant();
}

Qt::ItemFlags ResultListModel::flags(const QModelIndex& index) const {
    if (!index.isValid()) {
        return Qt::NoItemFlags;
    }
    return rows_ != nullptr ? Qt::ItemIsEnabled | Qt::ItemIsSelectable | Qt::ItemIsDragEnabled
                            : Qt::ItemIsEnabled;
}

QStringList ResultListModel::mimeTypes() const {
    return {QStringLiteral("text/uri-list"), QStringLiteral("text/plain")};
}

QMimeData* ResultListModel::mimeData(const QModelIndexList& indexes) const {
    std::vector<int> rows;
    for (const QModelIndex& index : indexes) {
        rows.push_back(index.row());
    }
    std::sort(rows.begin(), rows.end());
    rows.erase(std::unique(rows.begin(), rows.end()), rows.end());
    std::vector<std::string> paths;
    for (const int row : rows) {
        if (const int32_t item = ItemIndexAt(row); item >= 0) {
            paths.emplace_back(store_[(*rows_)[ViewRow(row)]].FullPath());
        }
    }
    return FileDragData(paths);
}

void ResultListModel::sort(int column, Qt::SortOrder order) {
    // A new order of the same rows: the selection and the current row follow their records.
    emit layoutAboutToBeChanged({}, QAbstractItemModel::VerticalSortHint);
    const QModelIndexList before = persistentIndexList();
    std::vector<size_t> places;
    for (const QModelIndex& index : before) {
        places.push_back(ViewRow(index.row()));
    }
    sortColumn_ = report_ ? column : -1;
    sortOrder_ = order;
    Order();
    std::vector<int> rowOf(order_.size());
    for (size_t row = 0; row < order_.size(); ++row) {
        rowOf[order_[row]] = static_cast<int>(row);
    }
    QModelIndexList after;
    for (qsizetype i = 0; i < before.size(); ++i) {
        const size_t place = places[static_cast<size_t>(i)];
        after << index(order_.empty() ? static_cast<int>(place) : rowOf[place], before[i].column());
    }
    changePersistentIndexList(before, after);
    emit layoutChanged({}, QAbstractItemModel::VerticalSortHint);
}

void ResultListModel::Order() {
    order_.clear();
    if (rows_ == nullptr || sortColumn_ < 0) {
        return;
    }
    order_.resize(rows_->size());
    std::iota(order_.begin(), order_.end(), size_t{0});
    // Each row's key once: the text of its column without regard to case, or its number.
    std::vector<std::string> texts;
    std::vector<int64_t> numbers;
    const bool byNumber = sortColumn_ == Modified || sortColumn_ == Size;
    for (const int32_t record : *rows_) {
        const FileDataEntry entry = store_[record];
        if (byNumber) {
            numbers.push_back(sortColumn_ == Size ? entry.Size : entry.LastWriteTime);
        } else {
            const std::string_view path = composer_.FullPath(entry);
            texts.push_back(
                sortColumn_ == Type
                    ? std::string(TypeOf(entry))
                    : LowerCaseName(sortColumn_ == Name ? NameOf(path) : FolderOf(path)));
        }
    }
    const auto less = [&](size_t a, size_t b) {
        return byNumber ? numbers[a] < numbers[b] : texts[a] < texts[b];
    };
    if (sortOrder_ == Qt::AscendingOrder) {
        std::stable_sort(order_.begin(), order_.end(), less);
    } else {
        std::stable_sort(order_.begin(), order_.end(),
                         [&](size_t a, size_t b) { return less(b, a); });
    }
}

#include "app/ResultListModel.h"

#include "search/FileDataArray.h"
#include "search/PathText.h"
#include "search/SearchStatus.h"

ResultListModel::ResultListModel(const FileDataArray& store, QObject* parent)
    : QAbstractListModel(parent), store_(store) {
}

void ResultListModel::SetItems(std::vector<int32_t> items) {
    beginResetModel();
    items_ = std::move(items);
    texts_.clear();
    endResetModel();
}

void ResultListModel::SetTexts(const QStringList& texts) {
    beginResetModel();
    items_.clear();
    texts_ = texts;
    endResetModel();
}

void ResultListModel::Clear() {
    SetTexts({});
}

int32_t ResultListModel::ItemIndexAt(int row) const {
    if (row < 0 || row >= static_cast<int>(items_.size())) {
        return -1;
    }
    return store_[items_[static_cast<size_t>(row)]].ItemIndex;
}

int ResultListModel::FindPath(std::string_view path) const {
    for (size_t row = 0; row < items_.size(); ++row) {
        if (store_[items_[row]].FullPath() == path) {
            return static_cast<int>(row);
        }
    }
    const std::string lowered = LowerCaseName(path);
    for (size_t row = 0; row < items_.size(); ++row) {
        if (LowerCaseName(store_[items_[row]].FullPath()) == lowered) {
            return static_cast<int>(row);
        }
    }
    return -1;
}

void ResultListModel::RemoveRow(int row) {
    if (row < 0 || row >= static_cast<int>(items_.size())) {
        return;
    }
    beginRemoveRows({}, row, row);
    items_.erase(items_.begin() + row);
    endRemoveRows();
}

int ResultListModel::rowCount(const QModelIndex& parent) const {
    if (parent.isValid()) {
        return 0;
    }
    return static_cast<int>(items_.empty() ? texts_.size() : items_.size());
}

QVariant ResultListModel::data(const QModelIndex& index, int role) const {
    if (!index.isValid()) {
        return {};
    }
    const int row = index.row();
    if (items_.empty()) {
        if (role == Qt::DisplayRole && row < texts_.size()) {
            return texts_[row];
        }
        return {};
    }
    if (role == Qt::DisplayRole || role == Qt::ToolTipRole) {
        return DisplayPath(store_[items_[static_cast<size_t>(row)]].FullPath());
    }
    if (role == ItemIndexRole) {
        return ItemIndexAt(row);
    }
    return {};
}

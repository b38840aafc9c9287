#include "app/ResultListModel.h"

#include "search/FileDataArray.h"
#include "search/SearchStatus.h"

ResultListModel::ResultListModel(const FileDataArray& store, QObject* parent)
    : QAbstractListModel(parent), store_(store) {
}

void ResultListModel::ShowRows(const std::vector<int32_t>* rows) {
    beginResetModel();
    rows_ = rows;
    texts_.clear();
    endResetModel();
}

void ResultListModel::ShowTexts(const QStringList& texts) {
    beginResetModel();
    rows_ = nullptr;
    texts_ = texts;
    endResetModel();
}

int32_t ResultListModel::ItemIndexAt(int row) const {
    if (rows_ == nullptr || row < 0 || row >= static_cast<int>(rows_->size())) {
        return -1;
    }
    return store_[(*rows_)[static_cast<size_t>(row)]].ItemIndex;
}

int ResultListModel::rowCount(const QModelIndex& parent) const {
    if (parent.isValid()) {
        return 0;
    }
    return static_cast<int>(rows_ != nullptr ? rows_->size() : static_cast<size_t>(texts_.size()));
}

QVariant ResultListModel::data(const QModelIndex& index, int role) const {
    if (!index.isValid()) {
        return {};
    }
    const int row = index.row();
    if (rows_ == nullptr) {
        return role == Qt::DisplayRole && row < texts_.size() ? QVariant(texts_[row]) : QVariant();
    }
    if (role == Qt::DisplayRole || role == Qt::ToolTipRole) {
        return DisplayPath(store_[(*rows_)[static_cast<size_t>(row)]].FullPath());
    }
    if (role == ItemIndexRole) {
        return ItemIndexAt(row);
    }
    return {};
}

Qt::ItemFlags ResultListModel::flags(const QModelIndex& index) const {
    if (!index.isValid()) {
        return Qt::NoItemFlags;
    }
    return rows_ != nullptr ? Qt::ItemIsEnabled | Qt::ItemIsSelectable : Qt::ItemIsEnabled;
}

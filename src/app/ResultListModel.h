#pragma once

#include <QAbstractListModel>
#include <QStringList>
#include <cstdint>
#include <vector>

class FileDataArray;

// A result list as a view over the store: it shows the rows of a result view (records by
// index, kept by ResultViews), so a list of half a million rows costs the list nothing. It can
// show plain text rows instead (the explanation above 32 701 results): those are not results,
// so they can be neither selected, saved, copied nor opened.
class ResultListModel : public QAbstractListModel {
    Q_OBJECT
public:
    static constexpr int ItemIndexRole = Qt::UserRole;

    explicit ResultListModel(const FileDataArray& store, QObject* parent = nullptr);

    // Shows `rows`, which the caller keeps and tells of removals; nullptr shows nothing.
    void ShowRows(const std::vector<int32_t>* rows);
    void ShowTexts(const QStringList& texts);
    void Clear() { ShowRows(nullptr); }

    // The record a row leads to; -1 for a text row.
    int32_t ItemIndexAt(int row) const;
    // Around the removal of a row from the rows shown.
    void BeginRemoveRow(int row) { beginRemoveRows({}, row, row); }
    void EndRemoveRow() { endRemoveRows(); }

    int rowCount(const QModelIndex& parent = {}) const override;
    QVariant data(const QModelIndex& index, int role) const override;
    Qt::ItemFlags flags(const QModelIndex& index) const override;

private:
    const FileDataArray& store_;
    const std::vector<int32_t>* rows_ = nullptr;
    QStringList texts_;
};

#pragma once

#include "search/FileDataArray.h"

#include <QAbstractTableModel>
#include <QStringList>
#include <cstdint>
#include <vector>

class FileDataArray;

// A result list as a view over the store: it shows the rows of a result view (records by
// index, kept by ResultViews), so a list of half a million rows costs the list nothing. As a
// list it shows each full path; as a report, Name, Folder, Type, Modified and Size, sortable by any
// column (the rows keep their records, so every command acts on what is seen, in the order
// seen). It can show plain text rows instead (the explanation above 32 701 results): those
// are not results, so they can be neither selected, saved, copied nor opened.
class ResultListModel : public QAbstractTableModel {
    Q_OBJECT
public:
    static constexpr int ItemIndexRole = Qt::UserRole;
    static constexpr int FullPathRole = Qt::UserRole + 1; // the full path, in either view
    enum Column { Name, Folder, Type, Modified, Size, Columns };

    explicit ResultListModel(const FileDataArray& store, QObject* parent = nullptr);

    // Shows `rows`, which the caller keeps and tells of removals; nullptr shows nothing. A
    // sort the user chose stays.
    void ShowRows(const std::vector<int32_t>* rows);
    void ShowTexts(const QStringList& texts);
    void Clear() { ShowRows(nullptr); }
    // The report's columns, or the full path alone.
    void SetReport(bool report);
    bool Report() const { return report_; }

    // The record a row leads to; -1 for a text row.
    int32_t ItemIndexAt(int row) const;
    // Around the removal of a row of the result view (its place there, not in the list).
    void BeginRemoveRow(int viewRow);
    void EndRemoveRow();

    int rowCount(const QModelIndex& parent = {}) const override;
    int columnCount(const QModelIndex& parent = {}) const override;
    QVariant data(const QModelIndex& index, int role) const override;
    QVariant headerData(int section, Qt::Orientation orientation, int role) const override;
    Qt::ItemFlags flags(const QModelIndex& index) const override;
    // Rows are dragged out as files (copied by whoever takes them).
    QStringList mimeTypes() const override;
    QMimeData* mimeData(const QModelIndexList& indexes) const override;
    Qt::DropActions supportedDragActions() const override { return Qt::CopyAction; }
    // Orders the rows by a column (ties keep their order); -1 goes back to the order found.
    void sort(int column, Qt::SortOrder order = Qt::AscendingOrder) override;

private:
    // The place in the result view of a row of the list.
    size_t ViewRow(int row) const {
        return order_.empty() ? static_cast<size_t>(row) : order_[static_cast<size_t>(row)];
    }
    void Order();

    const FileDataArray& store_;
    mutable PathComposer composer_;
    const std::vector<int32_t>* rows_ = nullptr;
    QStringList texts_;
    bool report_ = false;
    int sortColumn_ = -1;
    Qt::SortOrder sortOrder_ = Qt::AscendingOrder;
    std::vector<size_t> order_; // empty: the view's own order
    int removing_ = -1;
};

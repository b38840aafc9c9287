#pragma once

#include <QAbstractListModel>
#include <QStringList>
#include <cstdint>
#include <vector>

class FileDataArray;

// A result list as a view over the store: each row holds a record's ItemIndex and shows its
// FullPath, so a list of half a million rows costs 4 bytes a row. A list can also hold plain
// text rows instead (the placeholder words, the "too many results" explanation).
class ResultListModel : public QAbstractListModel {
    Q_OBJECT
public:
    static constexpr int ItemIndexRole = Qt::UserRole;

    explicit ResultListModel(const FileDataArray& store, QObject* parent = nullptr);

    void SetItems(std::vector<int32_t> items);
    void SetTexts(const QStringList& texts);
    void Clear();

    // The record a row leads to; -1 for a text row.
    int32_t ItemIndexAt(int row) const;
    const std::vector<int32_t>& Items() const { return items_; }
    // The first row whose path is `path`: byte-exact first, else ignoring case.
    int FindPath(std::string_view path) const;
    void RemoveRow(int row);

    int rowCount(const QModelIndex& parent = {}) const override;
    QVariant data(const QModelIndex& index, int role) const override;

private:
    const FileDataArray& store_;
    std::vector<int32_t> items_;
    QStringList texts_;
};

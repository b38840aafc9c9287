#pragma once

#include <QStyledItemDelegate>

class QHeaderView;
struct AppSettings;

// Paints the cells of the program's lists: the column the user sorted by shaded with
// LVCustomSortColor while LVUseCustomSortColor is on, and, for lists without a grid of their
// own, grid lines while LVUseGridLines is on.
class ListCellDelegate : public QStyledItemDelegate {
public:
    ListCellDelegate(const AppSettings& settings, QHeaderView* header, bool drawsGrid,
                     QObject* parent);
    void paint(QPainter* painter, const QStyleOptionViewItem& option,
               const QModelIndex& index) const override;
    // Rows leave room for their grid line below the text, so that it never crosses an "_".
    QSize sizeHint(const QStyleOptionViewItem& option, const QModelIndex& index) const override;

private:
    const AppSettings& settings_;
    QHeaderView* header_;
    bool drawsGrid_;
};

// A colour of the settings file (0x00BBGGRR).
QColor ColorOfSetting(int32_t bgr);
// A file time (100-ns ticks since 1601) as the locale's short date and time.
QString FileTimeText(int64_t fileTime);

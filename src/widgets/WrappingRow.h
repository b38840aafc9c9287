#pragma once

#include <QLayout>
#include <QList>

class QLayoutItem;

// Two groups on one line, the first at the left and the second at the right, or, where the line
// is too narrow for both, the second below the first. A window using it can be made as narrow
// as its wider group (a small screen, a large scale).
class WrappingRow : public QLayout {
public:
    WrappingRow() = default;
    ~WrappingRow() override;
    WrappingRow(const WrappingRow&) = delete;
    WrappingRow& operator=(const WrappingRow&) = delete;

    // The first layout added is the left group, the second the right one.
    void addItem(QLayoutItem* item) override;
    int count() const override { return static_cast<int>(items_.size()); }
    QLayoutItem* itemAt(int index) const override { return items_.value(index); }
    QLayoutItem* takeAt(int index) override;
    QSize sizeHint() const override;
    QSize minimumSize() const override;
    bool hasHeightForWidth() const override { return true; }
    int heightForWidth(int width) const override;
    Qt::Orientations expandingDirections() const override { return {}; }
    void setGeometry(const QRect& rect) override;

private:
    // Whether both groups fit on one line `width` wide.
    bool OneLine(int width) const;
    QList<QLayoutItem*> items_;
};

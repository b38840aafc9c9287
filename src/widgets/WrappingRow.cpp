#include "widgets/WrappingRow.h"

#include <algorithm>

WrappingRow::~WrappingRow() {
    while (QLayoutItem* item = takeAt(0)) {
        delete item;
    }
}

void WrappingRow::addItem(QLayoutItem* item) {
    items_.append(item);
}

QLayoutItem* WrappingRow::takeAt(int index) {
    return index >= 0 && index < items_.size() ? items_.takeAt(index) : nullptr;
}

bool WrappingRow::OneLine(int width) const {
    int wanted = 0;
    for (const QLayoutItem* item : items_) {
        wanted += item->sizeHint().width();
    }
    return items_.size() < 2 || wanted + spacing() * (items_.size() - 1) <= width;
}

QSize WrappingRow::sizeHint() const {
    QSize size;
    for (const QLayoutItem* item : items_) {
        size.rwidth() += item->sizeHint().width();
        size.setHeight(std::max(size.height(), item->sizeHint().height()));
    }
    size.rwidth() += spacing() * std::max(0, static_cast<int>(items_.size()) - 1);
    return size;
}

QSize WrappingRow::minimumSize() const {
    QSize size;
    for (const QLayoutItem* item : items_) {
        size = size.expandedTo(item->sizeHint());
    }
    return size;
}

int WrappingRow::heightForWidth(int width) const {
    if (OneLine(width)) {
        return sizeHint().height();
    }
    int height = 0;
    for (const QLayoutItem* item : items_) {
        height += item->sizeHint().height() + spacing();
    }
    return height - spacing();
}

void WrappingRow::setGeometry(const QRect& rect) {
    QLayout::setGeometry(rect);
    const bool oneLine = OneLine(rect.width());
    int top = rect.top();
    for (int i = 0; i < items_.size(); ++i) {
        QLayoutItem* item = items_[i];
        const QSize size = item->sizeHint();
        const bool right = oneLine && i > 0;
        const int left = right ? rect.right() + 1 - size.width() : rect.left();
        item->setGeometry({left, top, std::min(size.width(), rect.width()), size.height()});
        if (!oneLine) {
            top += size.height() + spacing();
        }
    }
}

#include "widgets/ListCellDelegate.h"

#include "settings/AppSettings.h"

#include <QDateTime>
#include <QHeaderView>
#include <QLocale>
#include <QPainter>

QColor ColorOfSetting(int32_t bgr) {
    const auto v = static_cast<uint32_t>(bgr);
    return QColor(static_cast<int>(v & 0xFF), static_cast<int>((v >> 8) & 0xFF),
                  static_cast<int>((v >> 16) & 0xFF));
}

QString FileTimeText(int64_t fileTime) {
    constexpr int64_t kTicksTo1970 = 116444736000000000LL;
    const QDateTime when =
        QDateTime::fromMSecsSinceEpoch((fileTime - kTicksTo1970) / 10000, Qt::LocalTime);
    return QLocale::system().toString(when, QLocale::ShortFormat);
}

ListCellDelegate::ListCellDelegate(const AppSettings& settings, QHeaderView* header, bool drawsGrid,
                                   QObject* parent)
    : QStyledItemDelegate(parent), settings_(settings), header_(header), drawsGrid_(drawsGrid) {
}

void ListCellDelegate::paint(QPainter* painter, const QStyleOptionViewItem& option,
                             const QModelIndex& index) const {
    if (settings_.LVUseCustomSortColor && header_->isVisible() && header_->isSortIndicatorShown() &&
        index.column() == header_->sortIndicatorSection() &&
        !(option.state & QStyle::State_Selected)) {
        painter->fillRect(option.rect, ColorOfSetting(settings_.LVCustomSortColor));
    }
    QStyledItemDelegate::paint(painter, option, index);
    if (drawsGrid_ && settings_.LVUseGridLines && header_->isVisible()) {
        painter->save();
        painter->setPen(option.palette.color(QPalette::Midlight));
        painter->drawLine(option.rect.topRight(), option.rect.bottomRight());
        painter->drawLine(option.rect.bottomLeft(), option.rect.bottomRight());
        painter->restore();
    }
}

QSize ListCellDelegate::sizeHint(const QStyleOptionViewItem& option,
                                 const QModelIndex& index) const {
    return QStyledItemDelegate::sizeHint(option, index) + QSize(0, drawsGrid_ ? 2 : 0);
}

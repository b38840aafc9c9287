#include "app/AppIcon.h"

#include <QPainter>
#include <QPainterPath>
#include <QPixmap>

QPixmap AppIconPixmap(int size) {
    QPixmap pixmap(size, size);
    pixmap.fill(Qt::transparent);
    QPainter painter(&pixmap);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.scale(size / 64.0, size / 64.0); // drawn on the SVG's 64 x 64 grid
    QPainterPath tile;
    tile.addRoundedRect(QRectF(2, 2, 60, 60), 12, 12);
    painter.fillPath(tile, QColor(0x1f, 0x6f, 0x78));
    QPainterPath moor;
    moor.moveTo(0, 46);
    moor.cubicTo(16, 40, 30, 50, 44, 44);
    moor.cubicTo(52, 41, 58, 41, 64, 42);
    moor.lineTo(64, 64);
    moor.lineTo(0, 64);
    moor.closeSubpath();
    painter.setClipPath(tile);
    painter.fillPath(moor, QColor(0x6f, 0xae, 0x5c));
    painter.setClipping(false);
    QPen stroke(Qt::white, 4, Qt::SolidLine, Qt::RoundCap);
    painter.setPen(stroke);
    for (const int x : {18, 26, 34, 42}) {
        painter.drawLine(QPointF(x, 14), QPointF(x, 38));
    }
    stroke.setColor(QColor(0xf2, 0xc1, 0x4e));
    painter.setPen(stroke);
    painter.drawLine(QPointF(13, 35), QPointF(48, 17));
    return pixmap;
}

QIcon AppIcon() {
    QIcon icon;
    for (const int size : {16, 24, 32, 48, 64, 128, 256}) {
        icon.addPixmap(AppIconPixmap(size));
    }
    return icon;
}

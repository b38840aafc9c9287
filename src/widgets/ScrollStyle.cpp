#include "widgets/ScrollStyle.h"

#include <QProgressBar>
#include <QString>

void ApplyScrollStyle(QProgressBar* bar, int style) {
    // Blocks as the standard bar shows them, or one smooth band.
    bar->setStyleSheet(style == 1
                           ? QString()
                           : QStringLiteral("QProgressBar { border: 1px solid palette(mid); }"
                                            "QProgressBar::chunk { background: palette(highlight);"
                                            " width: 9px; margin: 1px; }"));
}

#include "output/ClipboardExport.h"

#include <QCoreApplication>

std::string ClipboardText(const std::vector<std::string>& items,
                          const std::function<void(const QString&)>& status) {
    std::string text;
    int dots = 0;
    for (size_t i = 0; i < items.size(); ++i) {
        text += items[i];
        text += "\r\n";
        if (i % 10 == 1) {
            ++dots;
            status(QCoreApplication::translate("ClipboardExport", "Creating clipboard image") +
                   QString(dots, QLatin1Char('.')));
            if (dots == 20) {
                dots = 0;
            }
        }
    }
    return text;
}

#include "platform/Desktop.h"

#include <QDesktopServices>

bool QtDesktop::OpenUrl(const QUrl& url) {
    return QDesktopServices::openUrl(url);
}

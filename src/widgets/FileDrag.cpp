#include "widgets/FileDrag.h"

#include "text/DisplayText.h"

#include <QMimeData>

QMimeData* FileDragData(const std::vector<std::string>& paths) {
    QByteArray uris;
    QString text;
    for (const std::string& path : paths) {
        // Percent-encoded from the bytes: a name that is not UTF-8 arrives as it is.
        uris += "file://" + QByteArray::fromStdString(path).toPercentEncoding("/") + "\r\n";
        text += DisplayPath(path) + QLatin1Char('\n');
    }
    auto* data = new QMimeData;
    data->setData(QStringLiteral("text/uri-list"), uris);
    data->setText(text);
    return data;
}

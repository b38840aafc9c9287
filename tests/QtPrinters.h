#pragma once

#include <QString>
#include <QStringList>
#include <ostream>

// Readable failure messages for Qt strings.
inline void PrintTo(const QString& text, std::ostream* os) {
    *os << '"' << text.toStdString() << '"';
}
inline void PrintTo(const QStringList& list, std::ostream* os) {
    *os << "{";
    for (const QString& text : list) {
        *os << " \"" << text.toStdString() << "\"";
    }
    *os << " }";
}

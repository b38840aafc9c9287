#include "text/DisplayText.h"

#include <QCoreApplication>
#include <QLocale>

namespace {
const QLocale& Locale() {
    static const QLocale locale = QLocale::system();
    return locale;
}
} // namespace

QString FormatCount(int64_t value) {
    return Locale().toString(static_cast<qlonglong>(value));
}

QString SizeText(int64_t bytes) {
    // Qt says "1 bytes"; below a kilobyte the exact words read right.
    return bytes < 1000 ? ExactSizeText(bytes)
                        : Locale().formattedDataSize(bytes, 1, QLocale::DataSizeSIFormat);
}

QString ExactSizeText(int64_t bytes) {
    return bytes == 1
               ? QCoreApplication::translate("SearchStatus", "1 byte")
               : QCoreApplication::translate("SearchStatus", "%1 bytes").arg(FormatCount(bytes));
}

QString DisplayPath(std::string_view bytes) {
    return QString::fromUtf8(bytes.data(), static_cast<qsizetype>(bytes.size()));
}

#include "search/SearchStatus.h"

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

QString ObjectsText(int64_t objects) {
    return QStringLiteral("Objects: ") + FormatCount(objects);
}

QString MatchedText(int64_t matched) {
    return QStringLiteral("Matched: ") + FormatCount(matched);
}

QString ElapsedText(float seconds) {
    QString text = QStringLiteral("Elapsed: ") + Locale().toString(seconds, 'f', 2);
    if (seconds < 59.99f) {
        text += QStringLiteral("  seconds");
    }
    return text;
}

QString OutcomeText(bool cancelled) {
    return cancelled ? QStringLiteral("Cancelled") : QStringLiteral("Done");
}

QString DisplayPath(std::string_view bytes) {
    return QString::fromUtf8(bytes.data(), static_cast<qsizetype>(bytes.size()));
}

FolderMessage FolderMessageTexts(std::string_view folderName, int64_t objects, int32_t matched) {
    return {QStringLiteral("Searching ") + DisplayPath(folderName) + QLatin1Char(' '),
            QStringLiteral(" Objects: ") + FormatCount(objects),
            QStringLiteral(" Matched: ") + FormatCount(matched)};
}

QString NoMatchesMessage(bool foldersOnly, const QString& maskText, const QString& rootPath) {
    return QStringLiteral("No ") +
           (foldersOnly ? QStringLiteral("folders") : QStringLiteral("files")) +
           QStringLiteral(" matching ' ") + maskText + QStringLiteral(" ' ") +
           QStringLiteral("were found in or under the root path ' ") + rootPath +
           QStringLiteral(" '");
}

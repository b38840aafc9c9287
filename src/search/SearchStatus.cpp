#include "search/SearchStatus.h"

#include <QCoreApplication>
#include <QLocale>

namespace {
const QLocale& Locale() {
    static const QLocale locale = QLocale::system();
    return locale;
}
} // namespace

QString ObjectsText(int64_t objects) {
    return QCoreApplication::translate("SearchStatus", "Objects: %1").arg(FormatCount(objects));
}

QString MatchedText(int64_t matched) {
    return QCoreApplication::translate("SearchStatus", "Matched: %1").arg(FormatCount(matched));
}

QString ElapsedText(float seconds) {
    const QString figure = Locale().toString(seconds, 'f', 2);
    return seconds < 59.99f
               ? QCoreApplication::translate("SearchStatus", "Elapsed: %1  seconds").arg(figure)
               : QCoreApplication::translate("SearchStatus", "Elapsed: %1").arg(figure);
}

QString OutcomeText(bool cancelled) {
    return cancelled ? QCoreApplication::translate("SearchStatus", "Cancelled")
                     : QCoreApplication::translate("SearchStatus", "Done");
}

FolderMessage FolderMessageTexts(std::string_view folderName, int64_t objects, int32_t matched) {
    return {
        QCoreApplication::translate("SearchStatus", "Searching %1 ").arg(DisplayPath(folderName)),
        QCoreApplication::translate("SearchStatus", " Objects: %1").arg(FormatCount(objects)),
        QCoreApplication::translate("SearchStatus", " Matched: %1").arg(FormatCount(matched))};
}

QString NoMatchesMessage(bool foldersOnly, const QString& maskText, const QString& rootPath) {
    return (foldersOnly
                ? QCoreApplication::translate(
                      "SearchStatus",
                      "No folders matching ' %1 ' were found in or under the root path ' %2 '")
                : QCoreApplication::translate(
                      "SearchStatus",
                      "No files matching ' %1 ' were found in or under the root path ' %2 '"))
        .arg(maskText, rootPath);
}

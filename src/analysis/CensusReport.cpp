#include "analysis/CensusReport.h"

#include "output/TextFile.h"
#include "search/FileDataArray.h"

#include <QLocale>

QString ReportDateText(const QDateTime& when) {
    const QLocale locale = QLocale::system();
    return locale.toString(when.date(), QLocale::ShortFormat) + QLatin1Char(' ') +
           locale.toString(when.time(), QLocale::LongFormat);
}

std::string CensusReportText(const std::vector<CensusType>& shown, std::string_view rootPath,
                             std::string_view maskText, const QDateTime& now) {
    int64_t files = 0;
    for (const CensusType& type : shown) {
        files += type.Count;
    }
    const std::string rule = "#" + std::string(50, '-');
    const std::string indent = "#     ";
    std::string text;
    const auto line = [&text](std::string_view content) {
        text += content;
        text += "\r\n";
    };
    line(rule);
    line(indent + "Tallymoor: File-Type Report");
    line(indent + "File Date:\t" + ReportDateText(now).toStdString());
    line("#");
    line(indent + "Root Path:\t" + std::string(rootPath));
    line(indent + "File Mask:\t" + std::string(maskText));
    line(indent + "Total Types:\t" + std::to_string(shown.size()));
    line(indent + "Total Files:\t" + std::to_string(files));
    line(rule);
    line("");
    for (const CensusType& type : shown) {
        line(type.Extension + "\t" + std::to_string(type.Count));
    }
    return text;
}

std::string WriteCensusReport(const std::string& path, TextFile::Mode mode,
                              const std::vector<CensusType>& shown, std::string_view rootPath,
                              std::string_view maskText) {
    TextFile file;
    if (!file.Open(path, mode)) {
        return file.Error();
    }
    std::string text = CensusReportText(shown, rootPath, maskText, QDateTime::currentDateTime());
    // The text already ends its lines; write it whole.
    if (!text.empty()) {
        text.resize(text.size() - 2);
        file.WriteLine(text);
    }
    file.Close();
    return file.Error();
}

std::vector<std::string> TypeExportLines(const FileDataArray& store, std::string_view extension) {
    std::vector<std::string> lines;
    PathComposer composer(store);
    for (const int32_t record : RecordsOfExtension(store, extension)) {
        lines.emplace_back(composer.FullPath(record));
    }
    return lines;
}

#pragma once

#include "analysis/Census.h"
#include "output/TextFile.h"

#include <QDateTime>
#include <string>

class FileDataArray;

// The census report: a commented header (program, date, root, mask, totals), then one line per
// shown type: the extension, a TAB, the count. Lines end in CR LF.
std::string CensusReportText(const std::vector<CensusType>& shown, std::string_view rootPath,
                             std::string_view maskText, const QDateTime& now);

// The report's date: the locale's short date, one space, its long time.
QString ReportDateText(const QDateTime& when);

// Writes the report; empty on success, else the reason, naming the file.
std::string WriteCensusReport(const std::string& path, TextFile::Mode mode,
                              const std::vector<CensusType>& shown, std::string_view rootPath,
                              std::string_view maskText);

// The full path of every record whose extension is exactly `extension`, in store order: the
// lines of a type's export.
std::vector<std::string> TypeExportLines(const FileDataArray& store, std::string_view extension);

// The census command: the types of what was found, and the report.
#include "analysis/Census.h"
#include "analysis/CensusReport.h"
#include "cli/CliParts.h"

namespace cli {

// The census as the window's dialog shows it: built over every record, then narrowed by the
// Filter menu's range when one is asked for.
int PrintCensus(const Request& request, SearchSession& session, const CancelFlag& cancel,
                const ReadProblems& read, std::FILE* stdOut, std::FILE* err) {
    if (!session.ResultsAvailable()) {
        PrintCounts(request, session, err);
        return ExitStatus(session, cancel, read);
    }
    Census census;
    census.Build(
        session.Store(), 0, [](const QString&) {}, [] {});
    if (request.filter != kAllResults) {
        census.ApplyFilter(request.filter);
    }
    CheckedOutput out(stdOut);
    for (const CensusType& type : census.Shown()) {
        out.WriteName(type.Extension);
        out.Write(std::string_view(CensusDisplayLine(type)).substr(type.Extension.size()));
        if (request.sizes) {
            out.Put('\t');
            out.Write(std::to_string(type.Bytes));
        }
        out.Put('\n');
    }
    if (!out.Finish()) {
        return OutputFailed(out, err);
    }
    PrintCounts(request, session, err);
    if (!request.report.empty()) {
        const std::string error =
            WriteCensusReport(request.report, TextFile::Mode::CreateNew, census.Shown(),
                              session.RootPath(), request.options.MaskText);
        if (!error.empty()) {
            Say(err, Text::tr("tallymoor: %1"), {error});
            return kExitReportFailed;
        }
    }
    return ExitStatus(session, cancel, read);
}

} // namespace cli

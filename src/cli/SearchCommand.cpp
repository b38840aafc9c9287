// The walk every command runs first, and the search command's printing.
#include "cli/CliParts.h"
#include "platform/CancelFlag.h"
#include "search/MaskRules.h"
#include "search/SearchStatus.h"
#include "text/PathText.h"

#include <charconv>

namespace cli {

// Checks the mask and walks the root, as the window does. Returns an exit status when the
// command ends here (a refused mask, no folder); -1 when the search ran over a folder.
int Search(Request& request, SearchSession& session, CancelFlag& cancel, std::FILE* err,
           ReadProblems& listener) {
    if (const MaskVerdict verdict = ValidateMask(request.options.MaskText);
        verdict != MaskVerdict::Accepted) {
        PrintLine(err, MaskRefusalText(verdict));
        return kExitUsage;
    }
    cancel.Lower();
    session.Prepare(request.root, request.options);
    {
        InterruptCancels interrupts(cancel);
        const NotAnswering watchdog(listener, err);
        session.Run(cancel, &listener);
    }
    if (!session.RootWasFolder() || !session.ResultsAvailable()) {
        PrintLine(err, NoMatchesMessage(request.options.FoldersOnly,
                                        QString::fromStdString(request.options.MaskText),
                                        DisplayPath(session.RootPath())));
        if (!session.RootWasFolder()) {
            return listener.Count() > 0 ? kExitNotRead : kExitNothingFound;
        }
    } else {
        session.CloseStore();
    }
    return -1;
}

void PrintCounts(const Request& request, const SearchSession& session, std::FILE* err) {
    if (request.quiet) {
        return;
    }
    const SearchCounters& counters = session.Counters();
    PrintLine(err, ObjectsText(counters.ObjectCount));
    PrintLine(err, MatchedText(counters.MatchedCount));
    PrintLine(err, ElapsedText(session.ElapsedSeconds()));
}

// The status of a command that did all it was asked: what was found, unless something was
// interrupted or could not be read.
int ExitStatus(const SearchSession& session, const CancelFlag& cancel, const ReadProblems& read) {
    if (cancel.IsRaised()) {
        return kExitInterrupted;
    }
    if (read.Count() > 0) {
        return kExitNotRead;
    }
    return session.ResultsAvailable() ? kExitFound : kExitNothingFound;
}

// "PATH<TAB>seconds.fraction" as find's %T@ prints it, to the store's 100 ns.
void WriteTime(CheckedOutput& out, int64_t fileTime) {
    if (fileTime == 0) {
        return; // not known: its reason was said during the walk
    }
    constexpr int64_t kUnitsPerSecond = 10000000;
    constexpr int64_t k1601To1970 = 11644473600LL * kUnitsPerSecond;
    const int64_t units = fileTime - k1601To1970;
    int64_t seconds = units / kUnitsPerSecond;
    int64_t fraction = units % kUnitsPerSecond;
    if (fraction < 0) {
        --seconds;
        fraction += kUnitsPerSecond;
    }
    char text[32];
    char* end = std::to_chars(text, text + sizeof text, seconds).ptr;
    *end++ = '.';
    for (int64_t unit = kUnitsPerSecond / 10; unit > 0; unit /= 10) {
        *end++ = static_cast<char>('0' + fraction / unit % 10);
    }
    out.Write(std::string_view(text, static_cast<size_t>(end - text)));
}

int FinishPaths(const Request& request, const SearchSession& session, const CancelFlag& cancel,
                const ReadProblems& read, PathPrinter& printer, CheckedOutput& out,
                std::FILE* err) {
    if (session.ResultsAvailable()) {
        printer.CatchUp();
    }
    if (!out.Finish()) {
        return OutputFailed(out, err);
    }
    PrintCounts(request, session, err);
    return ExitStatus(session, cancel, read);
}

} // namespace cli

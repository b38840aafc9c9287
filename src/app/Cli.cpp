#include "app/Cli.h"

#include "Version.h"
#include "platform/CancelFlag.h"
#include "search/MaskRules.h"
#include "search/SearchSession.h"
#include "search/SearchStatus.h"

#include <csignal>
#include <string_view>

namespace {

constexpr int kExitFound = 0;
constexpr int kExitNothingFound = 1;
constexpr int kExitUsage = 2;
constexpr int kExitInterrupted = 130;

constexpr const char* kUsage =
    "Usage:\n"
    "  tallymoor [--settings FILE]   open the window (FILE: the settings file to use)\n"
    "  tallymoor search ROOT MASK [--folders-only] [--except] [--no-recurse] [-0|--print0]\n"
    "  tallymoor --help | --version\n"
    "\n"
    "search walks ROOT depth first and prints every path the search keeps, one per line, in\n"
    "the order found, as raw bytes. MASK is one or more wildcard patterns separated by \";\"\n"
    "(\"*.txt;*.log\"), matched without regard to case; \"*.*\" keeps every file. Folders whose\n"
    "name begins with \".\" are skipped; symbolic links are listed like files, never followed.\n"
    "The closing counts go to standard error.\n"
    "\n"
    "  --folders-only   list folders instead of files\n"
    "  --except         list every file that matches none of the patterns\n"
    "  --no-recurse     examine ROOT's own entries only\n"
    "  -0, --print0     end each path with a NUL instead of a newline\n"
    "  --               end of options (for a ROOT or MASK that begins with \"-\")\n"
    "\n"
    "Exit status: 0 something found, 1 nothing found (or ROOT is not a folder),\n"
    "2 bad usage or a refused mask, 130 interrupted by Ctrl-C (what was found is printed).\n";

void PrintLine(std::FILE* stream, const QString& text) {
    const QByteArray bytes = text.toUtf8();
    std::fwrite(bytes.constData(), 1, static_cast<size_t>(bytes.size()), stream);
    std::fputc('\n', stream);
}

extern "C" void RaiseCancelOnSignal(int) {
    CancelFlag::Program().Raise();
}

// Ctrl-C during the walk raises the cancel flag once; a second Ctrl-C ends the program.
class InterruptCancels {
public:
    InterruptCancels() {
        struct sigaction action {};
        action.sa_handler = RaiseCancelOnSignal;
        action.sa_flags = SA_RESETHAND;
        sigemptyset(&action.sa_mask);
        sigaction(SIGINT, &action, &previous_);
    }
    ~InterruptCancels() { sigaction(SIGINT, &previous_, nullptr); }
    InterruptCancels(const InterruptCancels&) = delete;
    InterruptCancels& operator=(const InterruptCancels&) = delete;

private:
    struct sigaction previous_ {};
};

int Search(const std::vector<std::string>& args, std::FILE* out, std::FILE* err,
           WalkListener* walkObserver) {
    SearchOptions options;
    options.ShowFolderProgress = false; // nobody watches a status line here
    bool print0 = false;
    std::vector<std::string> positional;
    bool optionsEnded = false;
    for (size_t i = 1; i < args.size(); ++i) {
        const std::string_view a = args[i];
        if (optionsEnded || a.empty() || a.front() != '-' || a == "-") {
            positional.push_back(args[i]);
        } else if (a == "--") {
            optionsEnded = true;
        } else if (a == "--folders-only") {
            options.FoldersOnly = true;
        } else if (a == "--except") {
            options.ExpectedMatch = 0;
        } else if (a == "--no-recurse") {
            options.Recurse = false;
        } else if (a == "-0" || a == "--print0") {
            print0 = true;
        } else {
            std::fprintf(err, "tallymoor: unknown option '%s'\n%s", args[i].c_str(), kUsage);
            return kExitUsage;
        }
    }
    if (positional.size() != 2) {
        std::fprintf(err, "tallymoor: search needs ROOT and MASK\n%s", kUsage);
        return kExitUsage;
    }
    const std::string& root = positional[0];
    options.MaskText = positional[1];

    if (const MaskVerdict verdict = ValidateMask(options.MaskText);
        verdict != MaskVerdict::Accepted) {
        std::fprintf(err, "%s\n", MaskRefusalText(verdict).c_str());
        return kExitUsage;
    }

    CancelFlag& cancel = CancelFlag::Program();
    cancel.Lower();
    SearchSession session;
    session.Prepare(root, options);
    {
        InterruptCancels interrupts;
        session.Run(cancel, walkObserver);
    }
    const bool cancelled = cancel.IsRaised();
    const auto noMatches = [&] {
        PrintLine(err,
                  NoMatchesMessage(options.FoldersOnly, QString::fromStdString(options.MaskText),
                                   DisplayPath(session.RootPath())));
    };
    if (!session.RootWasFolder()) {
        noMatches();
        return kExitNothingFound;
    }
    if (session.ResultsAvailable()) {
        session.CloseStore();
        const FileDataArray& store = session.Store();
        const char end = print0 ? '\0' : '\n';
        for (int32_t i = 0; i <= store.UBound(); ++i) {
            const std::string_view path = store[i].FullPath();
            std::fwrite(path.data(), 1, path.size(), out);
            std::fputc(end, out);
        }
        std::fflush(out);
    } else {
        noMatches();
    }
    const SearchCounters& counters = session.Counters();
    PrintLine(err, ObjectsText(counters.ObjectCount));
    PrintLine(err, MatchedText(counters.MatchedCount));
    PrintLine(err, ElapsedText(session.ElapsedSeconds()));
    if (cancelled) {
        return kExitInterrupted;
    }
    return session.ResultsAvailable() ? kExitFound : kExitNothingFound;
}

} // namespace

std::string ExtractSettingsOption(std::vector<std::string>& args) {
    std::string file;
    for (size_t i = 0; i < args.size();) {
        if (args[i] == "--") {
            break;
        }
        if (args[i] == "--settings" && i + 1 < args.size()) {
            file = args[i + 1];
            args.erase(args.begin() + static_cast<ptrdiff_t>(i),
                       args.begin() + static_cast<ptrdiff_t>(i) + 2);
        } else if (args[i].rfind("--settings=", 0) == 0) {
            file = args[i].substr(11);
            args.erase(args.begin() + static_cast<ptrdiff_t>(i));
        } else {
            ++i;
        }
    }
    return file;
}

bool IsCommandLineInvocation(const std::vector<std::string>& args) {
    return !args.empty();
}

int RunCommandLine(const std::vector<std::string>& args, std::FILE* out, std::FILE* err,
                   WalkListener* walkObserver) {
    if (args.empty()) {
        std::fputs(kUsage, err);
        return kExitUsage;
    }
    if (args[0] == "--help" || args[0] == "-h" || args[0] == "help") {
        std::fputs(kUsage, out);
        return kExitFound;
    }
    if (args[0] == "--version") {
        std::fprintf(out, "tallymoor %s\n", TALLYMOOR_VERSION);
        return kExitFound;
    }
    if (args[0] == "search") {
        return Search(args, out, err, walkObserver);
    }
    std::fprintf(err, "tallymoor: unknown command '%s'\n%s", args[0].c_str(), kUsage);
    return kExitUsage;
}

#include "app/Cli.h"

#include "Version.h"
#include "analysis/Census.h"
#include "analysis/CensusReport.h"
#include "fileops/FileCommands.h"
#include "platform/CancelFlag.h"
#include "platform/Desktop.h"
#include "platform/Prompts.h"
#include "search/MaskRules.h"
#include "search/PathText.h"
#include "search/SearchSession.h"
#include "search/SearchStatus.h"
#include "settings/AppSettings.h"

#include <QCoreApplication>
#include <atomic>
#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <set>
#include <string_view>
#include <sys/stat.h>
#include <unistd.h>

namespace {

constexpr int kExitFound = 0;
constexpr int kExitNothingFound = 1;
constexpr int kExitUsage = 2;
constexpr int kExitReportFailed = 3;
constexpr int kExitNotProcessed = 4;
constexpr int kExitOutputFailed = 5;
constexpr int kExitInterrupted = 130;

constexpr const char* kUsage = QT_TRANSLATE_NOOP(
    "Cli",
    "Usage:\n"
    "  tallymoor [--settings FILE] [FOLDER]   open the window (FILE: the settings file to use;\n"
    "                                         FOLDER: the Start Path)\n"
    "  tallymoor search ROOT MASK [--folders-only] [--except] [--no-recurse] [-0|--print0]\n"
    "  tallymoor census ROOT MASK [--filter N] [--report FILE] [--folders-only] [--except]\n"
    "                   [--no-recurse]\n"
    "  tallymoor trash ROOT MASK [--folders-only] [--except] [--no-recurse] [--yes]\n"
    "  tallymoor copy ROOT MASK DEST [--except] [--no-recurse]\n"
    "  (each of them also takes --threads N)\n"
    "  tallymoor --help | --version\n"
    "\n"
    "search walks ROOT depth first and prints every path the search keeps, one per line, in\n"
    "the order found, as raw bytes. MASK is one or more wildcard patterns separated by \";\"\n"
    "(\"*.txt;*.log\"), matched without regard to case; \"*.*\" keeps every file. Folders whose\n"
    "name begins with \".\" are skipped; symbolic links are listed like files, never followed.\n"
    "The closing counts go to standard error.\n"
    "\n"
    "census runs the same search and prints the file-type census instead: one line per type\n"
    "(extension, two TABs, count, \" files\"; \".\" stands for names without an extension),\n"
    "in the order the File Types dialog shows them.\n"
    "\n"
    "trash runs the same search and sends every result to the desktop's trash, where it can\n"
    "be restored from. It asks first on the terminal (\"Send N items to the trash? [y/N]\"),\n"
    "and without a terminal does nothing unless --yes is given. Trashed paths go to standard\n"
    "output; an item not processed goes to standard error as its path, a TAB and why. A\n"
    "folder takes along the results inside it.\n"
    "\n"
    "copy runs the same search and copies every result file into the folder DEST, under its\n"
    "own name; a name already in DEST is never written over (the file is listed as a\n"
    "\"duplicate file\"). The new copies' paths go to standard output; a file not copied goes to\n"
    "standard error as its path, a TAB and why.\n"
    "\n"
    "  --folders-only   list folders instead of files\n"
    "  --except         list every file that matches none of the patterns\n"
    "  --no-recurse     examine ROOT's own entries only\n"
    "  -0, --print0     end each path with a NUL instead of a newline\n"
    "  --filter N       show only the types of count range N, as the dialog's Filter menu:\n"
    "                   2 under 5 files, 3 5-10, 4 10-20, 5 20-50, 6 50-100, 7 100-500,\n"
    "                   8 500-1000, 9 1000-5000, 10 5000 and over (0: all)\n"
    "  --report FILE    also write the census report to FILE (a new file: an existing one\n"
    "                   is never replaced)\n"
    "  --yes            trash without asking\n"
    "  --threads N      read folders on N threads (default: one per processor, at most 8;\n"
    "                   1 reads them on the walking thread); what is found and its order\n"
    "                   are the same\n"
    "  --               end of options (for a ROOT or MASK that begins with \"-\")\n"
    "\n"
    "Exit status: 0 something found, 1 nothing found (or ROOT is not a folder),\n"
    "2 bad usage, a refused mask, a DEST that is not a folder or no terminal to ask on,\n"
    "3 the report could not be written,\n"
    "4 some items were not processed (each is listed),\n"
    "5 standard output could not be written (the reason goes to standard error),\n"
    "130 interrupted by Ctrl-C (what was found is printed).\n");

struct Text {
    Q_DECLARE_TR_FUNCTIONS(Cli)
};

std::string Usage() {
    return QCoreApplication::translate("Cli", kUsage).toStdString();
}

// A message on standard error, and its line's end: the words translated, the values (paths,
// arguments) put in as their bytes.
void Say(std::FILE* err, const QString& words,
         std::initializer_list<std::string_view> values = {}) {
    const std::string text = FillIn(words.toStdString(), values) + '\n';
    std::fwrite(text.data(), 1, text.size(), err);
}

void PrintLine(std::FILE* stream, const QString& text) {
    const QByteArray bytes = text.toUtf8();
    std::fwrite(bytes.constData(), 1, static_cast<size_t>(bytes.size()), stream);
    std::fputc('\n', stream);
}

// Standard output with every write checked: the first failure is kept with its reason, and
// nothing more is attempted after it.
class CheckedOutput {
public:
    explicit CheckedOutput(std::FILE* stream) : stream_(stream) {}

    void Write(std::string_view bytes) {
        errno = 0;
        if (error_ == 0 && std::fwrite(bytes.data(), 1, bytes.size(), stream_) != bytes.size()) {
            error_ = errno != 0 ? errno : EIO;
        }
    }
    void Put(char c) { Write(std::string_view(&c, 1)); }
    // Flushes; true when everything went out.
    bool Finish() {
        errno = 0;
        if (error_ == 0 && (std::fflush(stream_) != 0 || std::ferror(stream_))) {
            error_ = errno != 0 ? errno : EIO;
        }
        return error_ == 0;
    }
    int Error() const { return error_; }

private:
    std::FILE* stream_;
    int error_ = 0;
};

// Says why standard output failed; the status of its own.
int OutputFailed(const CheckedOutput& out, std::FILE* err) {
    Say(err, Text::tr("tallymoor: standard output: %1"), {std::strerror(out.Error())});
    return kExitOutputFailed;
}

std::atomic<CancelFlag*> interruptTarget{nullptr};

extern "C" void RaiseCancelOnSignal(int) {
    if (CancelFlag* cancel = interruptTarget.load()) {
        cancel->Raise();
    }
}

// Ctrl-C during the walk raises the cancel flag once; a second Ctrl-C ends the program.
class InterruptCancels {
public:
    explicit InterruptCancels(CancelFlag& cancel) {
        interruptTarget.store(&cancel);
        struct sigaction action {};
        action.sa_handler = RaiseCancelOnSignal;
        action.sa_flags = SA_RESETHAND;
        sigemptyset(&action.sa_mask);
        sigaction(SIGINT, &action, &previous_);
    }
    ~InterruptCancels() {
        sigaction(SIGINT, &previous_, nullptr);
        interruptTarget.store(nullptr);
    }
    InterruptCancels(const InterruptCancels&) = delete;
    InterruptCancels& operator=(const InterruptCancels&) = delete;

private:
    struct sigaction previous_ {};
};

// What both commands take: ROOT, MASK and the search options.
struct Request {
    SearchOptions options;
    std::string root;
    bool print0 = false;
    int filter = 0;
    std::string report;
    bool yes = false;
    std::string destination; // copy's DEST
};

// Parses the arguments after the command; returns false (after saying why) on bad usage.
bool ParseRequest(const std::vector<std::string>& args, Request& request, std::FILE* err) {
    const bool census = args[0] == "census";
    request.options.ShowFolderProgress = false; // nobody watches a status line here
    std::vector<std::string> positional;
    bool optionsEnded = false;
    for (size_t i = 1; i < args.size(); ++i) {
        const std::string_view a = args[i];
        const bool hasValue = i + 1 < args.size();
        if (optionsEnded || a.empty() || a.front() != '-' || a == "-") {
            positional.push_back(args[i]);
        } else if (a == "--") {
            optionsEnded = true;
        } else if (a == "--folders-only" && args[0] != "copy") {
            request.options.FoldersOnly = true;
        } else if (a == "--except") {
            request.options.ExpectedMatch = 0;
        } else if (a == "--no-recurse") {
            request.options.Recurse = false;
        } else if (args[0] == "trash" && a == "--yes") {
            request.yes = true;
        } else if (args[0] == "search" && (a == "-0" || a == "--print0")) {
            request.print0 = true;
        } else if (census && a == "--filter" && hasValue) {
            const std::string& value = args[++i];
            char* end = nullptr;
            const long filter = std::strtol(value.c_str(), &end, 10);
            if (value.empty() || *end != '\0' || filter < 0 || filter >= kCountRanges ||
                filter == 1) {
                Say(err, Text::tr("tallymoor: --filter takes 0 or 2 to 10, not '%1'"), {value});
                return false;
            }
            request.filter = static_cast<int>(filter);
        } else if (census && a == "--report" && hasValue) {
            request.report = args[++i];
        } else if (a == "--threads" && hasValue) {
            const std::string& value = args[++i];
            char* end = nullptr;
            const long threads = std::strtol(value.c_str(), &end, 10);
            if (value.empty() || *end != '\0' || threads < 1 || threads > 64) {
                Say(err, Text::tr("tallymoor: --threads takes 1 to 64, not '%1'"), {value});
                return false;
            }
            request.options.Threads = static_cast<int>(threads);
        } else {
            Say(err, Text::tr("tallymoor: unknown option '%1'"), {args[i]});
            std::fputs(Usage().c_str(), err);
            return false;
        }
    }
    const bool copy = args[0] == "copy";
    if (positional.size() != (copy ? 3u : 2u)) {
        Say(err,
            copy ? Text::tr("tallymoor: %1 needs ROOT, MASK and DEST")
                 : Text::tr("tallymoor: %1 needs ROOT and MASK"),
            {args[0]});
        std::fputs(Usage().c_str(), err);
        return false;
    }
    request.root = positional[0];
    request.options.MaskText = positional[1];
    if (copy) {
        request.destination = positional[2];
        struct stat st {};
        if (stat(request.destination.c_str(), &st) != 0 || !S_ISDIR(st.st_mode)) {
            Say(err, Text::tr("tallymoor: DEST ' %1 ' is not a folder"), {request.destination});
            return false;
        }
        while (request.destination.size() > 1 && request.destination.back() == '/') {
            request.destination.pop_back();
        }
    }
    return true;
}

// Reads the command's arguments, checks the mask and walks the root, as the window does.
// Returns an exit status when the command ends here (bad usage, a refused mask, no folder,
// nothing found); -1 when there are results.
int ParseAndSearch(const std::vector<std::string>& args, Request& request, SearchSession& session,
                   CancelFlag& cancel, std::FILE* err, WalkListener* walkObserver) {
    if (!ParseRequest(args, request, err)) {
        return kExitUsage;
    }
    if (const MaskVerdict verdict = ValidateMask(request.options.MaskText);
        verdict != MaskVerdict::Accepted) {
        PrintLine(err, MaskRefusalText(verdict));
        return kExitUsage;
    }
    cancel.Lower();
    session.Prepare(request.root, request.options);
    {
        InterruptCancels interrupts(cancel);
        session.Run(cancel, walkObserver);
    }
    if (!session.RootWasFolder() || !session.ResultsAvailable()) {
        PrintLine(err, NoMatchesMessage(request.options.FoldersOnly,
                                        QString::fromStdString(request.options.MaskText),
                                        DisplayPath(session.RootPath())));
        if (!session.RootWasFolder()) {
            return kExitNothingFound;
        }
    } else {
        session.CloseStore();
    }
    return -1;
}

void PrintCounts(const SearchSession& session, std::FILE* err) {
    const SearchCounters& counters = session.Counters();
    PrintLine(err, ObjectsText(counters.ObjectCount));
    PrintLine(err, MatchedText(counters.MatchedCount));
    PrintLine(err, ElapsedText(session.ElapsedSeconds()));
}

int ExitStatus(const SearchSession& session, const CancelFlag& cancel) {
    if (cancel.IsRaised()) {
        return kExitInterrupted;
    }
    return session.ResultsAvailable() ? kExitFound : kExitNothingFound;
}

int Search(const std::vector<std::string>& args, std::FILE* stdOut, std::FILE* err,
           WalkListener* walkObserver) {
    Request request;
    SearchSession session;
    CancelFlag cancel;
    if (const int status = ParseAndSearch(args, request, session, cancel, err, walkObserver);
        status >= 0) {
        return status;
    }
    CheckedOutput out(stdOut);
    if (session.ResultsAvailable()) {
        const FileDataArray& store = session.Store();
        const char end = request.print0 ? '\0' : '\n';
        PathComposer composer(store);
        for (int32_t i = 0; i <= store.UBound() && out.Error() == 0; ++i) {
            out.Write(composer.FullPath(i));
            out.Put(end);
        }
    }
    if (!out.Finish()) {
        return OutputFailed(out, err);
    }
    PrintCounts(session, err);
    return ExitStatus(session, cancel);
}

// The census as the window's dialog shows it: built over every record, then narrowed by the
// Filter menu's range when one is asked for.
int CensusCommand(const std::vector<std::string>& args, std::FILE* stdOut, std::FILE* err,
                  WalkListener* walkObserver) {
    Request request;
    SearchSession session;
    CancelFlag cancel;
    if (const int status = ParseAndSearch(args, request, session, cancel, err, walkObserver);
        status >= 0) {
        return status;
    }
    if (!session.ResultsAvailable()) {
        PrintCounts(session, err);
        return ExitStatus(session, cancel);
    }
    Census census;
    census.Build(
        session.Store(), 0, [](const QString&) {}, [] {});
    if (request.filter != 0) {
        census.ApplyFilter(request.filter);
    }
    CheckedOutput out(stdOut);
    for (const CensusType& type : census.Shown()) {
        out.Write(CensusDisplayLine(type));
        out.Put('\n');
    }
    if (!out.Finish()) {
        return OutputFailed(out, err);
    }
    PrintCounts(session, err);
    if (!request.report.empty()) {
        const std::string error =
            WriteCensusReport(request.report, TextFile::Mode::CreateNew, census.Shown(),
                              session.RootPath(), request.options.MaskText);
        if (!error.empty()) {
            Say(err, Text::tr("tallymoor: %1"), {error});
            return kExitReportFailed;
        }
    }
    return ExitStatus(session, cancel);
}

// Nobody to ask: a message goes to standard error, every question is declined.
class Unattended : public Prompts {
public:
    explicit Unattended(std::FILE* err) : err_(err) {}
    MessageAnswer Message(const QString& text, MessageIcon, MessageButtons buttons,
                          const QString&) override {
        PrintLine(err_, text);
        return buttons == MessageButtons::Ok ? MessageAnswer::Ok : MessageAnswer::Cancel;
    }
    std::string PickFolder(const FolderRequest&) override { return {}; }
    SaveAnswer SaveFile(const SaveRequest&) override { return {}; }
    OpenWithAnswer ChooseApplication(const OpenWithRequest&) override { return {}; }
    void ShowFileProperties(const std::string&) override {}
    ConflictAnswer AskConflict(const QString&) override { return {ConflictChoice::Skip, true}; }
    std::optional<int32_t> ChooseColor(int32_t, std::array<int32_t, 16>&) override { return {}; }
    int ShowModal(QDialog*) override { return 0; }

private:
    std::FILE* err_;
};

// A desktop that only has a trash: what the trash command reaches.
class TrashOnly : public Desktop {
public:
    explicit TrashOnly(const CliSystem& system) : system_(system) {}
    bool OpenUrl(const std::string&) override { return false; }
    bool Open(const std::string&) override { return false; }
    bool Explore(const std::string&) override { return false; }
    bool ShowProperties(const std::string&) override { return false; }
    bool OpenInTextEditor(const std::string&) override { return false; }
    bool OpenWith(const std::string&) override { return false; }
    std::string MoveToTrash(const std::string& path) override {
        return system_.moveToTrash ? system_.moveToTrash(path)
                                   : QT_TRANSLATE_NOOP("Remark", "no trash");
    }

private:
    const CliSystem& system_;
};

// The trash's selection: every result, reversed (the engine walks from the last item to the
// first, so they go in the order found), without the results inside a listed folder, which
// go with it.
std::vector<SelectedItem> TrashSelection(const FileDataArray& store) {
    std::set<std::string, std::less<>> listed;
    for (int32_t i = 0; i <= store.UBound(); ++i) {
        listed.insert(store[i].FullPath());
    }
    const auto insideListed = [&listed](std::string_view path) {
        for (size_t slash = path.rfind('/'); slash != 0 && slash != std::string_view::npos;
             slash = path.rfind('/', slash - 1)) {
            if (listed.count(path.substr(0, slash)) != 0) {
                return true;
            }
        }
        return false;
    };
    std::vector<SelectedItem> selection;
    for (int32_t i = store.UBound(); i >= 0; --i) {
        if (!insideListed(store[i].FullPath())) {
            selection.push_back({std::string(store[i].FullPath()), store[i].LastWriteTime});
        }
    }
    return selection;
}

// The trash and copy commands: the search, then every result through the window's engine.
// What was handled goes to standard output (a trashed path, a new copy's path), what was not to
// standard error as its path, a TAB and its remark.
int FileCommand(const std::vector<std::string>& args, std::FILE* stdOut, std::FILE* err,
                WalkListener* walkObserver, const CliSystem& system) {
    const bool trash = args[0] == "trash";
    Request request;
    SearchSession session;
    CancelFlag cancel;
    if (const int status = ParseAndSearch(args, request, session, cancel, err, walkObserver);
        status >= 0) {
        return status;
    }
    PrintCounts(session, err);
    if (!session.ResultsAvailable()) {
        return ExitStatus(session, cancel);
    }
    const FileDataArray& store = session.Store();
    std::vector<SelectedItem> selection;
    if (trash) {
        selection = TrashSelection(store);
    } else {
        for (int32_t i = 0; i <= store.UBound(); ++i) {
            selection.push_back({std::string(store[i].FullPath()), store[i].LastWriteTime});
        }
    }
    const std::string count = std::to_string(selection.size());
    if (trash && !request.yes) {
        const auto answer = system.askTerminal
                                ? system.askTerminal(Text::tr("Send %1 items to the trash? [y/N] ")
                                                         .arg(selection.size())
                                                         .toStdString())
                                : std::nullopt;
        if (!answer) {
            Say(err,
                Text::tr("tallymoor: %1 items found; without a terminal to ask on, nothing goes to "
                         "the trash unless --yes is given"),
                {count});
            return kExitUsage;
        }
        if (*answer != "y" && *answer != "Y" && *answer != "yes") {
            return kExitFound;
        }
    }
    AppSettings batch;
    batch.ConfirmOnEachFileDelete = false;
    TrashOnly desktop(system);
    Unattended prompts(err);
    StatusLine status;
    CheckedOutput out(stdOut);
    CommandContext context{batch,
                           prompts,
                           desktop,
                           cancel,
                           status,
                           [] {},
                           [](std::string_view path) { return DisplayPath(path); },
                           [](std::string_view) {},
                           [] {},
                           [&](std::string_view path) {
                               out.Write(path);
                               out.Put('\n');
                           }};
    std::vector<SkippedItem> notProcessed;
    {
        InterruptCancels interrupts(cancel);
        notProcessed =
            trash ? DeleteSelectedFiles(selection, context).notProcessed
                  : CopySelectedFiles(selection, request.destination, context).notProcessed;
    }
    if (!out.Finish()) {
        return OutputFailed(out, err);
    }
    for (const SkippedItem& item : notProcessed) {
        const std::string remark = RemarkText(item.remark).toStdString();
        Say(err, QStringLiteral("%1\t%2"),
            {item.path, item.reason.empty()
                            ? remark
                            : FillIn(QCoreApplication::translate("dlgCopyErr", "%1 (%2)",
                                                                 "a remark and its reason")
                                         .toStdString(),
                                     {remark, RemarkText(item.reason).toStdString()})});
    }
    if (cancel.IsRaised()) {
        return kExitInterrupted;
    }
    return notProcessed.empty() ? kExitFound : kExitNotProcessed;
}

} // namespace

std::optional<std::string> AskOnTerminal(const std::string& question) {
    if (!isatty(STDIN_FILENO)) {
        return std::nullopt;
    }
    std::fputs(question.c_str(), stderr);
    std::fflush(stderr);
    char line[256];
    if (std::fgets(line, sizeof line, stdin) == nullptr) {
        return std::string();
    }
    std::string answer(line);
    while (!answer.empty() && (answer.back() == '\n' || answer.back() == '\r')) {
        answer.pop_back();
    }
    return answer;
}

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
    struct stat st {};
    const bool folder = args.size() == 1 && !args[0].empty() && args[0][0] != '-' &&
                        stat(args[0].c_str(), &st) == 0 && S_ISDIR(st.st_mode);
    return !args.empty() && !folder;
}

int RunCommandLine(const std::vector<std::string>& args, std::FILE* out, std::FILE* err,
                   WalkListener* walkObserver, const CliSystem& system) {
    if (args.empty()) {
        std::fputs(Usage().c_str(), err);
        return kExitUsage;
    }
    if (args[0] == "--help" || args[0] == "-h" || args[0] == "help" || args[0] == "--version") {
        CheckedOutput checked(out);
        checked.Write(args[0] == "--version" ? "tallymoor " TALLYMOOR_VERSION "\n" : Usage());
        return checked.Finish() ? kExitFound : OutputFailed(checked, err);
    }
    if (args[0] == "search") {
        return Search(args, out, err, walkObserver);
    }
    if (args[0] == "census") {
        return CensusCommand(args, out, err, walkObserver);
    }
    if (args[0] == "trash" || args[0] == "copy") {
        return FileCommand(args, out, err, walkObserver, system);
    }
    Say(err, Text::tr("tallymoor: unknown command '%1'"), {args[0]});
    std::fputs(Usage().c_str(), err);
    return kExitUsage;
}

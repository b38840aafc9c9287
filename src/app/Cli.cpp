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
#include <charconv>
#include <chrono>
#include <condition_variable>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <mutex>
#include <set>
#include <string_view>
#include <sys/stat.h>
#include <thread>
#include <unistd.h>

namespace {

constexpr int kExitFound = 0;
constexpr int kExitNothingFound = 1;
constexpr int kExitUsage = 2;
constexpr int kExitReportFailed = 3;
constexpr int kExitNotProcessed = 4;
constexpr int kExitOutputFailed = 5;
constexpr int kExitNotRead = 6;
constexpr int kExitDeclined = 7;
constexpr int kExitInterrupted = 130;

enum class Command { Search, Census, Trash, Copy };
constexpr unsigned Bit(Command c) {
    return 1u << static_cast<unsigned>(c);
}
constexpr unsigned kEveryCommand = 0xF;

struct CommandInfo {
    std::string_view word;
    Command command;
    const char* operands;
    const char* about;
};

const CommandInfo kCommands[] = {
    {"search", Command::Search, "ROOT MASK",
     QT_TRANSLATE_NOOP("Cli",
                       "search walks ROOT depth first and prints every path the search keeps, one "
                       "per line, in\nthe order found, as raw bytes. MASK is one or more wildcard "
                       "patterns separated by \";\"\n(\"*.txt;*.log\"), matched without regard to "
                       "case; \"*.*\" keeps every file. Folders whose\nname begins with \".\" are "
                       "skipped; symbolic links are listed like files, never followed.\n")},
    {"census", Command::Census, "ROOT MASK",
     QT_TRANSLATE_NOOP("Cli",
                       "census runs the same search and prints the file-type census instead: one "
                       "line per type\n(extension, two TABs, count, \" files\"; \".\" stands for "
                       "names without an extension),\nin the order the File Types dialog shows "
                       "them.\n")},
    {"trash", Command::Trash, "ROOT MASK",
     QT_TRANSLATE_NOOP("Cli",
                       "trash runs the same search and sends every result to the desktop's trash, "
                       "where it can\nbe restored from. It asks first on the terminal (\"Send N "
                       "items to the trash? [y/N]\"),\nand without a terminal does nothing unless "
                       "--yes is given. Trashed paths go to standard\noutput; an item not "
                       "processed goes to standard error as its path, a TAB and why. A\nfolder "
                       "takes along the results inside it.\n")},
    {"copy", Command::Copy, "ROOT MASK DEST",
     QT_TRANSLATE_NOOP("Cli",
                       "copy runs the same search and copies every result file into the folder "
                       "DEST, under its\nown name; a name already in DEST is never written over "
                       "(the file is listed as a\n\"duplicate file\"). The absolute paths of the "
                       "new copies go to standard output; a file\nnot copied goes to standard "
                       "error as its path, a TAB and why.\n")},
};

enum class Option {
    FoldersOnly,
    Except,
    NoRecurse,
    Print0,
    Times,
    Sizes,
    Filter,
    Report,
    Yes,
    Threads,
    Quiet,
    Help
};

struct OptionInfo {
    Option option;
    std::string_view name; // without its "--"
    char letter;           // the short form, or 0
    const char* value;     // what it takes, or nullptr
    unsigned commands;
    const char* help;
};

const OptionInfo kOptions[] = {
    {Option::FoldersOnly, "folders-only", 0, nullptr, kEveryCommand & ~Bit(Command::Copy),
     QT_TRANSLATE_NOOP("Cli", "list folders instead of files")},
    {Option::Except, "except", 0, nullptr, kEveryCommand,
     QT_TRANSLATE_NOOP("Cli", "list every file that matches none of the patterns")},
    {Option::NoRecurse, "no-recurse", 0, nullptr, kEveryCommand,
     QT_TRANSLATE_NOOP("Cli", "examine ROOT's own entries only")},
    {Option::Print0, "print0", '0', nullptr, kEveryCommand & ~Bit(Command::Census),
     QT_TRANSLATE_NOOP("Cli", "end each path printed with a NUL instead of a newline")},
    {Option::Times, "times", 0, nullptr, Bit(Command::Search),
     QT_TRANSLATE_NOOP("Cli", "print a TAB and the modification time after each path, in\n"
                              "seconds since 1970 with seven decimals (as find's %T@)")},
    {Option::Sizes, "sizes", 0, nullptr, Bit(Command::Census),
     QT_TRANSLATE_NOOP("Cli", "print a TAB and the type's total size in bytes after each line")},
    {Option::Filter, "filter", 0, "N", Bit(Command::Census),
     QT_TRANSLATE_NOOP("Cli", "show only the types of count range N, as the dialog's Filter menu:\n"
                              "2 under 5 files, 3 5-10, 4 10-20, 5 20-50, 6 50-100, 7 100-500,\n"
                              "8 500-1000, 9 1000-5000, 10 5000 and over (0: all)")},
    {Option::Report, "report", 0, "FILE", Bit(Command::Census),
     QT_TRANSLATE_NOOP("Cli", "also write the census report to FILE (a new file: an existing\n"
                              "one is never replaced)")},
    {Option::Yes, "yes", 0, nullptr, Bit(Command::Trash),
     QT_TRANSLATE_NOOP("Cli", "trash without asking")},
    {Option::Threads, "threads", 0, "N", kEveryCommand,
     QT_TRANSLATE_NOOP("Cli", "walk on N threads in all: one stores, the others read folders\n"
                              "ahead (default: one per processor, at most 8; 33 on a network\n"
                              "file system); what is found and its order are the same")},
    {Option::Quiet, "quiet", 'q', nullptr, kEveryCommand,
     QT_TRANSLATE_NOOP("Cli", "leave out the closing counts (errors are still said)")},
    {Option::Help, "help", 'h', nullptr, kEveryCommand,
     QT_TRANSLATE_NOOP("Cli", "print this help and exit")},
};

constexpr const char* kWindowUsage = QT_TRANSLATE_NOOP(
    "Cli", "  tallymoor [--settings FILE] [FOLDER]   open the window (FILE: the settings file to "
           "use;\n                                         FOLDER: the Start Path)\n");

constexpr const char* kEndOfOptions = QT_TRANSLATE_NOOP(
    "Cli", "  --                 end of options (for a ROOT or MASK that begins with \"-\")\n");

constexpr const char* kCounts = QT_TRANSLATE_NOOP(
    "Cli", "ROOT may be a share's URL (sftp://host/dir, smb://server/share): it is searched at\n"
           "its local path through GIO, the share mounted first when it is not.\n"
           "The closing counts go to standard error. A folder that cannot be read is said there\n"
           "as \"tallymoor: PATH: reason\", and the walk goes on.\n");

constexpr const char* kExitStatuses = QT_TRANSLATE_NOOP(
    "Cli",
    "Exit status:\n"
    "  0    something was found (and every command on it was carried out)\n"
    "  1    nothing was found, or ROOT is not a folder\n"
    "  2    bad usage, a refused mask, a DEST that is not a folder, or no terminal to ask on\n"
    "  3    the census report could not be written\n"
    "  4    some items were not processed (each is listed on standard error)\n"
    "  5    standard output could not be written (the reason goes to standard error)\n"
    "  6    some folders or files could not be read, and nothing else failed\n"
    "  7    the trash was declined at its question: nothing was sent\n"
    "  130  interrupted by Ctrl-C (what was found is printed)\n"
    "A reader that goes away (tallymoor search ... | head) ends tallymoor by SIGPIPE, as it\n"
    "ends any filter; the shell shows 141.\n");

struct Text {
    Q_DECLARE_TR_FUNCTIONS(Cli)
};

std::string Tr(const char* text) {
    return QCoreApplication::translate("Cli", text).toStdString();
}

const CommandInfo* FindCommand(std::string_view word) {
    for (const CommandInfo& c : kCommands) {
        if (c.word == word) {
            return &c;
        }
    }
    return nullptr;
}

std::string Indented(const std::string& text, size_t width) {
    std::string out;
    for (const char c : text) {
        out += c;
        if (c == '\n') {
            out.append(width, ' ');
        }
    }
    return out;
}

// An option's line in the help: its names in a column, then what it does; `forCommands` adds
// the commands that take it when not all do.
std::string OptionHelp(const OptionInfo& o, bool forCommands) {
    std::string names = o.letter ? std::string("  -") + o.letter + ", --" : std::string("  --");
    names.append(o.name);
    if (o.value) {
        names.append(" ").append(o.value);
    }
    constexpr size_t kColumn = 21;
    names.resize(std::max(names.size() + 1, kColumn), ' ');
    std::string help = Indented(Tr(o.help), kColumn);
    if (forCommands && o.commands != kEveryCommand) {
        std::string words;
        for (const CommandInfo& c : kCommands) {
            if (o.commands & Bit(c.command)) {
                words.append(words.empty() ? "" : ", ").append(c.word);
            }
        }
        help += "\n" + std::string(kColumn, ' ') + "[" + words + "]";
    }
    return names + help + "\n";
}

// The whole help, or one command's.
std::string Usage(const CommandInfo* only) {
    std::string text = Tr(QT_TRANSLATE_NOOP("Cli", "Usage:\n"));
    if (!only) {
        text += Tr(kWindowUsage);
    }
    for (const CommandInfo& c : kCommands) {
        if (!only || only == &c) {
            text.append("  tallymoor ").append(c.word).append(" [OPTION...] ").append(c.operands);
            text += '\n';
        }
    }
    if (!only) {
        text += "  tallymoor COMMAND --help\n  tallymoor --help | --version\n";
    }
    for (const CommandInfo& c : kCommands) {
        if (!only || only == &c) {
            text += '\n' + Tr(c.about);
        }
    }
    text += '\n' + Tr(kCounts) + '\n' + Tr(QT_TRANSLATE_NOOP("Cli", "Options:\n"));
    for (const OptionInfo& o : kOptions) {
        if (!only || (o.commands & Bit(only->command))) {
            text += OptionHelp(o, !only);
        }
    }
    return text + Tr(kEndOfOptions) + '\n' + Tr(kExitStatuses);
}

// A message on standard error, and its line's end: the words translated, the values (paths,
// arguments) put in as their bytes.
// On a terminal each value is quoted as ls quotes names, so that no escape sequence or line
// end in a name reaches the terminal as it is.
void Say(std::FILE* err, const QString& words,
         std::initializer_list<std::string_view> values = {}) {
    std::string text;
    if (isatty(fileno(err)) != 0) {
        std::vector<std::string> quoted;
        for (const std::string_view value : values) {
            quoted.push_back(TerminalQuoted(value));
        }
        std::vector<std::string_view> views(quoted.begin(), quoted.end());
        text = FillIn(words.toStdString(), views);
    } else {
        text = FillIn(words.toStdString(), values);
    }
    text += '\n';
    std::fwrite(text.data(), 1, text.size(), err);
}

// A usage error: one line of why, one of where to read more.
int UsageError(std::FILE* err, const QString& why, std::initializer_list<std::string_view> values,
               std::string_view command = {}) {
    Say(err, why, values);
    const std::string program = command.empty() ? "tallymoor" : "tallymoor " + std::string(command);
    Say(err, Text::tr("Try '%1 --help' for more."), {program});
    return kExitUsage;
}

// One line of a message; on a terminal, what a name in it could do to the terminal shows as "?".
void PrintLine(std::FILE* stream, const QString& text) {
    const std::string bytes =
        isatty(fileno(stream)) != 0 ? TerminalSafe(text.toStdString()) : text.toStdString();
    std::fwrite(bytes.data(), 1, bytes.size(), stream);
    std::fputc('\n', stream);
}

// Standard output with every write checked: the first failure is kept with its reason, and
// nothing more is attempted after it. Into a pipe or a file, lines are gathered and go out in
// large writes; a terminal gets each piece as it comes, to show the search as it goes.
class CheckedOutput {
public:
    // `rawNames`: names go out as their bytes even to a terminal (NUL-ended lists).
    explicit CheckedOutput(std::FILE* stream, bool rawNames = false)
        : stream_(stream), chunk_(isatty(fileno(stream)) != 0 ? 0 : kChunk),
          quoteNames_(chunk_ == 0 && !rawNames) {
        buffer_.reserve(chunk_);
    }

    void Write(std::string_view bytes) {
        buffer_.append(bytes);
        SendWhenFull();
    }
    // A name or path: to a terminal quoted as ls quotes it, else its bytes.
    void WriteName(std::string_view name) { Write(quoteNames_ ? TerminalQuoted(name) : name); }
    void Put(char c) {
        buffer_.push_back(c);
        SendWhenFull();
    }
    // Flushes; true when everything went out.
    bool Finish() {
        Send();
        errno = 0;
        if (error_ == 0 && (std::fflush(stream_) != 0 || std::ferror(stream_))) {
            error_ = errno != 0 ? errno : EIO;
        }
        return error_ == 0;
    }
    int Error() const { return error_; }

private:
    static constexpr size_t kChunk = 64 * 1024;

    void SendWhenFull() {
        if (buffer_.size() >= chunk_) {
            Send();
        }
    }
    void Send() {
        errno = 0;
        if (error_ == 0 &&
            std::fwrite(buffer_.data(), 1, buffer_.size(), stream_) != buffer_.size()) {
            error_ = errno != 0 ? errno : EIO;
        }
        buffer_.clear();
    }

    std::FILE* stream_;
    size_t chunk_;
    bool quoteNames_;
    std::string buffer_;
    int error_ = 0;
};

// Says why standard output failed; the status of its own.
int OutputFailed(const CheckedOutput& out, std::FILE* err) {
    Say(err, Text::tr("tallymoor: standard output: %1"), {std::strerror(out.Error())});
    return kExitOutputFailed;
}

// Prints the text and ends: 0, or 5 when it could not be written.
int PrintAndEnd(std::FILE* stdOut, std::FILE* err, const std::string& text) {
    CheckedOutput out(stdOut);
    out.Write(text);
    return out.Finish() ? kExitFound : OutputFailed(out, err);
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

// Says each folder or file the walk could not read, as find does, and counts them; everything
// else goes on to the observer, when there is one.
class ReadProblems : public WalkListener {
public:
    ReadProblems(std::FILE* err, WalkListener* observer) : err_(err), observer_(observer) {}
    void ObjectsCounted(int64_t shown) override {
        if (observer_) {
            observer_->ObjectsCounted(shown);
        }
    }
    void FolderEntered(std::string_view name, int64_t objects, int32_t matched) override {
        if (observer_) {
            observer_->FolderEntered(name, objects, matched);
        }
    }
    void Yield() override {
        progress_.fetch_add(1, std::memory_order_relaxed);
        if (observer_) {
            observer_->Yield();
        }
        if (catchUp_ && ++yields_ % 1024 == 0) {
            catchUp_();
        }
    }
    void Reading(std::string_view parent, std::string_view name) override {
        progress_.fetch_add(1, std::memory_order_relaxed);
        const std::lock_guard lock(mutex_);
        reading_.assign(parent).append(name);
        if (!name.empty()) {
            reading_ += '/';
        }
    }
    // How far the walk got: it changes whenever the walk moves on.
    uint64_t Progress() const { return progress_.load(std::memory_order_relaxed); }
    // The folder the walk waits on, or last waited on.
    std::string WaitedOn() {
        const std::lock_guard lock(mutex_);
        return reading_;
    }
    // Runs `catchUp` every so many entries the walk examines.
    void SetCatchUp(std::function<void()> catchUp) { catchUp_ = std::move(catchUp); }
    void NotRead(std::string_view path, int error) override {
        ++count_;
        Say(err_, Text::tr("tallymoor: %1: %2"), {path, std::strerror(error)});
    }
    int Count() const { return count_; }

private:
    std::FILE* err_;
    WalkListener* observer_;
    int count_ = 0;
    std::function<void()> catchUp_;
    std::atomic<uint64_t> progress_{0};
    std::mutex mutex_;
    std::string reading_;
    uint32_t yields_ = 0;
};

// Says on standard error which folder the walk has been waiting on for a while (a share that
// stopped answering), once for each wait. The walk goes on waiting: no signal ends a wait on a
// share, and Ctrl-C ends the search when the call returns.
class NotAnswering {
public:
    NotAnswering(ReadProblems& read, std::FILE* err) : read_(read), err_(err) {
        thread_ = std::thread([this] { Watch(); });
    }
    ~NotAnswering() {
        {
            const std::lock_guard lock(mutex_);
            stop_ = true;
        }
        wake_.notify_one();
        thread_.join();
    }
    NotAnswering(const NotAnswering&) = delete;
    NotAnswering& operator=(const NotAnswering&) = delete;

private:
    static constexpr auto kPatience = std::chrono::seconds(5);

    void Watch() {
        uint64_t seen = read_.Progress();
        auto since = std::chrono::steady_clock::now();
        bool told = false;
        std::unique_lock lock(mutex_);
        while (!wake_.wait_for(lock, std::chrono::milliseconds(250), [this] { return stop_; })) {
            const auto now = std::chrono::steady_clock::now();
            if (const uint64_t progress = read_.Progress(); progress != seen) {
                seen = progress;
                since = now;
                told = false;
            } else if (!told && now - since >= kPatience) {
                told = true;
                Say(err_, Text::tr("tallymoor: %1: not answering for %2 seconds; still waiting"),
                    {read_.WaitedOn(),
                     std::to_string(
                         std::chrono::duration_cast<std::chrono::seconds>(now - since).count())});
            }
        }
    }

    ReadProblems& read_;
    std::FILE* err_;
    std::mutex mutex_;
    std::condition_variable wake_;
    bool stop_ = false;
    std::thread thread_;
};

// What the commands take: ROOT, MASK and the options.
struct Request {
    const CommandInfo* command = nullptr;
    SearchOptions options;
    std::string root;
    bool print0 = false;
    bool times = false;
    bool sizes = false;
    bool quiet = false;
    bool help = false;
    int filter = kAllResults;
    std::string report;
    bool yes = false;
    std::string destination; // copy's DEST, absolute
    bool Is(Command c) const { return command->command == c; }
};

// A whole number in [low, high], or nothing.
std::optional<int> NumberIn(const std::string& value, long low, long high) {
    char* end = nullptr;
    errno = 0;
    const long number = std::strtol(value.c_str(), &end, 10);
    if (value.empty() || *end != '\0' || errno != 0 || number < low || number > high) {
        return std::nullopt;
    }
    return static_cast<int>(number);
}

// Sets one option from its value; returns false (after saying why) when the value is refused.
bool TakeOption(const OptionInfo& o, const std::string& value, Request& request, std::FILE* err) {
    switch (o.option) {
    case Option::FoldersOnly:
        request.options.FoldersOnly = true;
        break;
    case Option::Except:
        request.options.ExpectedMatch = 0;
        break;
    case Option::NoRecurse:
        request.options.Recurse = false;
        break;
    case Option::Print0:
        request.print0 = true;
        break;
    case Option::Times:
        request.times = true;
        break;
    case Option::Sizes:
        request.sizes = true;
        break;
    case Option::Yes:
        request.yes = true;
        break;
    case Option::Quiet:
        request.quiet = true;
        break;
    case Option::Help:
        request.help = true;
        break;
    case Option::Report:
        request.report = value;
        break;
    case Option::Filter: {
        const auto filter = NumberIn(value, kAllResults, kCountRanges - 1);
        if (!filter || *filter == kRangeSeparator) {
            UsageError(err, Text::tr("tallymoor: --filter takes 0 or 2 to 10, not '%1'"), {value},
                       request.command->word);
            return false;
        }
        request.filter = *filter;
        break;
    }
    case Option::Threads: {
        const auto threads = NumberIn(value, 1, 64);
        if (!threads) {
            UsageError(err, Text::tr("tallymoor: --threads takes 1 to 64, not '%1'"), {value},
                       request.command->word);
            return false;
        }
        request.options.Threads = *threads;
        break;
    }
    }
    return true;
}

// The option `arg` names ("--name", "--name=value", "-x"), when this command takes it.
const OptionInfo* FindOption(std::string_view arg, const Request& request) {
    const bool isLong = arg.substr(0, 2) == "--";
    const std::string_view name = isLong ? arg.substr(2, arg.find('=') - 2) : arg.substr(1);
    for (const OptionInfo& o : kOptions) {
        const bool named = isLong ? o.name == name : name.size() == 1 && o.letter == name[0];
        if (named && (o.commands & Bit(request.command->command))) {
            return &o;
        }
    }
    return nullptr;
}

// Parses the arguments after the command word; returns a usage status (after saying why) or -1.
// ROOT, MASK and, for a copy, DEST. -1 when they are right, else the exit status.
int TakeOperands(const std::vector<std::string>& positional, Request& request, std::FILE* err) {
    const std::string_view word = request.command->word;
    const bool copy = request.Is(Command::Copy);
    if (positional.size() != (copy ? 3u : 2u)) {
        return UsageError(err,
                          copy ? Text::tr("tallymoor: %1 needs ROOT, MASK and DEST")
                               : Text::tr("tallymoor: %1 needs ROOT and MASK"),
                          {word}, word);
    }
    request.root = positional[0];
    request.options.MaskText = positional[1];
    // Nothing else here prints a time or a size.
    request.options.KeepStatus = request.times || request.sizes;
    if (copy) {
        request.destination = AbsolutePath(positional[2]);
        struct stat st {};
        if (stat(request.destination.c_str(), &st) != 0 || !S_ISDIR(st.st_mode)) {
            Say(err, Text::tr("tallymoor: DEST ' %1 ' is not a folder"), {positional[2]});
            return kExitUsage;
        }
        while (request.destination.size() > 1 && request.destination.back() == '/') {
            request.destination.pop_back();
        }
    }
    return -1;
}

int ParseRequest(const std::vector<std::string>& args, Request& request, std::FILE* err) {
    const std::string_view word = request.command->word;
    request.options.ShowFolderProgress = false; // nobody watches a status line here
    std::vector<std::string> positional;
    bool optionsEnded = false;
    for (size_t i = 1; i < args.size(); ++i) {
        const std::string& a = args[i];
        if (optionsEnded || a.size() < 2 || a.front() != '-') {
            positional.push_back(a);
            continue;
        }
        if (a == "--") {
            optionsEnded = true;
            continue;
        }
        const OptionInfo* o = FindOption(a, request);
        if (!o) {
            return UsageError(err, Text::tr("tallymoor: unknown option '%1'"), {a}, word);
        }
        const size_t equals = a.substr(0, 2) == "--" ? a.find('=') : std::string::npos;
        std::string value;
        if (!o->value && equals != std::string::npos) {
            return UsageError(err, Text::tr("tallymoor: --%1 takes no value"), {o->name}, word);
        }
        if (o->value && equals != std::string::npos) {
            value = a.substr(equals + 1);
        } else if (o->value && i + 1 < args.size()) {
            value = args[++i];
        } else if (o->value) {
            return UsageError(err, Text::tr("tallymoor: --%1 needs a value (%2)"),
                              {o->name, o->value}, word);
        }
        if (!TakeOption(*o, value, request, err)) {
            return kExitUsage;
        }
    }
    if (request.help) {
        return -1;
    }
    return TakeOperands(positional, request, err);
}

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

// Prints the paths (and times) of the records stored so far. It runs while the walk goes on,
// so the printing overlaps the reading rather than following it.
class PathPrinter {
public:
    PathPrinter(const Request& request, const SearchSession& session, CheckedOutput& out)
        : request_(request), session_(session), out_(out), composer_(session.Store()) {}

    void CatchUp() {
        const FileDataArray& store = session_.Store();
        const char end = request_.print0 ? '\0' : '\n';
        for (; next_ < session_.Counters().MatchedCount && out_.Error() == 0; ++next_) {
            out_.WriteName(composer_.FullPath(next_));
            if (request_.times) {
                out_.Put('\t');
                WriteTime(out_, store[next_].LastWriteTime);
            }
            out_.Put(end);
        }
    }

private:
    const Request& request_;
    const SearchSession& session_;
    CheckedOutput& out_;
    PathComposer composer_;
    int32_t next_ = 0;
};

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

// Nobody to ask: a message goes to standard error, every question is declined.
class Unattended : public NobodyToAsk<> {
public:
    explicit Unattended(std::FILE* err) : err_(err) {}
    MessageAnswer Message(const QString& text, MessageIcon, MessageButtons buttons,
                          const QString&) override {
        PrintLine(err_, text);
        return buttons == MessageButtons::Ok ? MessageAnswer::Ok : MessageAnswer::Cancel;
    }

private:
    std::FILE* err_;
};

// A desktop that only has a trash: what the trash command reaches.
class TrashOnly : public NoDesktop {
public:
    explicit TrashOnly(const CliSystem& system) : system_(system) {}
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

// The trash and copy commands: every result through the window's engine. What was handled
// goes to standard output (a trashed path, a new copy's path), what was not to standard error
// as its path, a TAB and its remark.
std::vector<SelectedItem> EverySlot(const FileDataArray& store) {
    std::vector<SelectedItem> selection;
    for (int32_t i = 0; i <= store.UBound(); ++i) {
        selection.push_back({std::string(store[i].FullPath()), store[i].LastWriteTime});
    }
    return selection;
}

// The trash question on the terminal: 0 when the answer is yes, else the exit status.
int AskToTrash(size_t count, const CliSystem& system, std::FILE* err) {
    const auto answer =
        system.askTerminal
            ? system.askTerminal(
                  Text::tr("Send %1 items to the trash? [y/N] ").arg(count).toStdString())
            : std::nullopt;
    if (!answer) {
        Say(err,
            Text::tr("tallymoor: %1 items found; without a terminal to ask on, nothing goes to "
                     "the trash unless --yes is given"),
            {std::to_string(count)});
        return kExitUsage;
    }
    return *answer == "y" || *answer == "Y" || *answer == "yes" ? 0 : kExitDeclined;
}

// One line each: the path, a tab, the remark and its reason.
void SayNotProcessed(const std::vector<SkippedItem>& items, std::FILE* err) {
    for (const SkippedItem& item : items) {
        const std::string remark = RemarkText(item.remark).toStdString();
        Say(err, QStringLiteral("%1\t%2"),
            {item.path, item.reason.empty()
                            ? remark
                            : FillIn(QCoreApplication::translate("dlgCopyErr", "%1 (%2)",
                                                                 "a remark and its reason")
                                         .toStdString(),
                                     {remark, RemarkText(item.reason).toStdString()})});
    }
}

int RunFileCommand(const Request& request, const SearchSession& session, CancelFlag& cancel,
                   const ReadProblems& read, const CliSystem& system, std::FILE* stdOut,
                   std::FILE* err) {
    const bool trash = request.Is(Command::Trash);
    PrintCounts(request, session, err);
    if (!session.ResultsAvailable()) {
        return ExitStatus(session, cancel, read);
    }
    const std::vector<SelectedItem> selection =
        trash ? TrashSelection(session.Store()) : EverySlot(session.Store());
    if (trash && !request.yes) {
        if (const int declined = AskToTrash(selection.size(), system, err)) {
            return declined;
        }
    }
    AppSettings batch;
    batch.ConfirmOnEachFileDelete = false;
    TrashOnly desktop(system);
    Unattended prompts(err);
    StatusLine status;
    CheckedOutput out(stdOut, request.print0);
    const char end = request.print0 ? '\0' : '\n';
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
                               out.WriteName(path);
                               out.Put(end);
                           },
                           nullptr,
                           nullptr,
                           {}};
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
    SayNotProcessed(notProcessed, err);
    if (cancel.IsRaised()) {
        return kExitInterrupted;
    }
    return notProcessed.empty() ? ExitStatus(session, cancel, read) : kExitNotProcessed;
}

// A command word and what follows it.
int RunCommand(const CommandInfo& command, const std::vector<std::string>& args, std::FILE* stdOut,
               std::FILE* err, WalkListener* walkObserver, const CliSystem& system) {
    Request request;
    request.command = &command;
    if (args.size() == 1) { // the word alone: what it takes
        std::fputs(Usage(&command).c_str(), err);
        return kExitUsage;
    }
    if (const int status = ParseRequest(args, request, err); status >= 0) {
        return status;
    }
    if (request.help) {
        return PrintAndEnd(stdOut, err, Usage(&command));
    }
    SearchSession session;
    CancelFlag cancel;
    ReadProblems read(err, walkObserver);
    CheckedOutput out(stdOut, request.print0);
    PathPrinter printer(request, session, out);
    if (command.command == Command::Search) {
        read.SetCatchUp([&] {
            printer.CatchUp();
            if (out.Error() != 0) {
                cancel.Raise(); // nobody reads what more the walk would find
            }
        });
    }
    if (IsLocationUrl(request.root)) {
        std::string why = "Operation not supported";
        std::string local;
        if (system.localPathOf) {
            const InterruptCancels interrupts(cancel);
            local = system.localPathOf(request.root, cancel, why);
        }
        if (local.empty()) {
            PrintLine(err, Text::tr("tallymoor: ' %1 ' cannot be searched: %2")
                               .arg(DisplayPath(request.root), RemarkText(why)));
            return kExitNothingFound;
        }
        request.root = local;
    }
    if (const int status = Search(request, session, cancel, err, read); status >= 0) {
        return status;
    }
    switch (command.command) {
    case Command::Search:
        return FinishPaths(request, session, cancel, read, printer, out, err);
    case Command::Census:
        return PrintCensus(request, session, cancel, read, stdOut, err);
    case Command::Trash:
    case Command::Copy:
        return RunFileCommand(request, session, cancel, read, system, stdOut, err);
    }
    return kExitUsage;
}

// A first argument that is neither a command nor an option: a folder the window cannot open.
int NotAFolder(const std::string& arg, std::FILE* err) {
    struct stat st {};
    if (stat(arg.c_str(), &st) == 0) {
        return UsageError(err, Text::tr("tallymoor: ' %1 ' is a file, not a folder"), {arg});
    }
    const int error = errno;
    if (arg.find('/') == std::string::npos && error == ENOENT) {
        return UsageError(err,
                          Text::tr("tallymoor: ' %1 ' is neither a command (search, census, trash, "
                                   "copy) nor a folder"),
                          {arg});
    }
    return UsageError(err, Text::tr("tallymoor: %1: %2"), {arg, std::strerror(error)});
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
    if (args.empty()) {
        return false;
    }
    struct stat st {};
    // A command word is always the command, even where a folder of that name is here.
    return args.size() != 1 || FindCommand(args[0]) || args[0].empty() || args[0][0] == '-' ||
           stat(args[0].c_str(), &st) != 0 || !S_ISDIR(st.st_mode);
}

int RunCommandLine(const std::vector<std::string>& args, std::FILE* out, std::FILE* err,
                   WalkListener* walkObserver, const CliSystem& system) {
    if (args.empty()) {
        std::fputs(Usage(nullptr).c_str(), err);
        return kExitUsage;
    }
    const std::string& first = args[0];
    if (const CommandInfo* command = FindCommand(first)) {
        return RunCommand(*command, args, out, err, walkObserver, system);
    }
    if (first == "--help" || first == "-h" || first == "help") {
        const CommandInfo* about = args.size() > 1 ? FindCommand(args[1]) : nullptr;
        return PrintAndEnd(out, err, Usage(about));
    }
    if (first == "--version" || first == "-V") {
        return PrintAndEnd(out, err, "tallymoor " TALLYMOOR_VERSION "\n");
    }
    if (first == "--settings") {
        return UsageError(err, Text::tr("tallymoor: --%1 needs a value (%2)"),
                          {"settings", "FILE"});
    }
    if (first.size() > 1 && first[0] == '-') {
        return UsageError(err, Text::tr("tallymoor: unknown option '%1'"), {first});
    }
    if (args.size() == 1) {
        return NotAFolder(first, err);
    }
    return UsageError(err, Text::tr("tallymoor: unknown command '%1'"), {first});
}

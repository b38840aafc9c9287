#pragma once

// The command line's parts, shared by its files: exit statuses, the request, checked output,
// Ctrl-C, what the walk could not read, and each command's end.

#include "analysis/Census.h"
#include "cli/Cli.h"
#include "search/FolderWalk.h"
#include "search/SearchSession.h"
#include "text/PathText.h"

#include <QCoreApplication>
#include <atomic>
#include <chrono>
#include <condition_variable>
#include <csignal>
#include <cstdio>
#include <cstring>
#include <functional>
#include <mutex>
#include <string>
#include <string_view>
#include <thread>
#include <unistd.h>
#include <vector>

class CancelFlag;

namespace cli {

inline constexpr int kExitFound = 0;
inline constexpr int kExitNothingFound = 1;
inline constexpr int kExitUsage = 2;
inline constexpr int kExitReportFailed = 3;
inline constexpr int kExitNotProcessed = 4;
inline constexpr int kExitOutputFailed = 5;
inline constexpr int kExitNotRead = 6;
inline constexpr int kExitDeclined = 7;
inline constexpr int kExitInterrupted = 130;

enum class Command { Search, Census, Trash, Copy };

struct CommandInfo {
    std::string_view word;
    Command command;
    const char* operands;
    const char* about;
};

struct Text {
    Q_DECLARE_TR_FUNCTIONS(Cli)
};

// A text of the command line's, translated.
std::string Tr(const char* text);

// The command of a word ("search"), or nothing.
const CommandInfo* FindCommand(std::string_view word);
// The whole help, or one command's.
std::string Usage(const CommandInfo* only);

// A message on standard error, and its line's end: the words translated, the values (paths,
// arguments) put in as their bytes.
// On a terminal each value is quoted as ls quotes names, so that no escape sequence or line
// end in a name reaches the terminal as it is.
void Say(std::FILE* err, const QString& words, std::initializer_list<std::string_view> values = {});
// A usage error: one line of why, one of where to read more; the status of its own.
int UsageError(std::FILE* err, const QString& why, std::initializer_list<std::string_view> values,
               std::string_view command = {});
// One line of a message; on a terminal, what a name in it could do to the terminal shows as "?".
void PrintLine(std::FILE* stream, const QString& text);

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
int OutputFailed(const CheckedOutput& out, std::FILE* err);
// Prints the text and ends: 0, or 5 when it could not be written.
int PrintAndEnd(std::FILE* stdOut, std::FILE* err, const std::string& text);

extern std::atomic<CancelFlag*> interruptTarget;
extern "C" void RaiseCancelOnSignal(int);

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
    void NotRead(const FileOutcome& failure) override {
        ++count_;
        Say(err_, Text::tr("tallymoor: %1: %2"), {failure.path, failure.reason});
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

// Parses the arguments after the command word; returns a usage status (after saying why) or -1.
int ParseRequest(const std::vector<std::string>& args, Request& request, std::FILE* err);

// Checks the mask and walks the root, as the window does. Returns an exit status when the
// command ends here (a refused mask, no folder); -1 when the search ran over a folder.
int Search(Request& request, SearchSession& session, CancelFlag& cancel, std::FILE* err,
           ReadProblems& listener);
void PrintCounts(const Request& request, const SearchSession& session, std::FILE* err);
// The status of a command that did all it was asked: what was found, unless something was
// interrupted or could not be read.
int ExitStatus(const SearchSession& session, const CancelFlag& cancel, const ReadProblems& read);

// "<TAB>seconds.fraction" as find's %T@ prints a time, to the store's 100 ns.
void WriteTime(CheckedOutput& out, int64_t fileTime);

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

// The search command's end: the paths not printed yet, then the counts.
int FinishPaths(const Request& request, const SearchSession& session, const CancelFlag& cancel,
                const ReadProblems& read, PathPrinter& printer, CheckedOutput& out, std::FILE* err);
// The census command's end: the census as the window's dialog shows it.
int PrintCensus(const Request& request, SearchSession& session, const CancelFlag& cancel,
                const ReadProblems& read, std::FILE* stdOut, std::FILE* err);
// The trash and copy commands' end: every result through the window's engine.
int RunFileCommand(const Request& request, const SearchSession& session, CancelFlag& cancel,
                   const ReadProblems& read, const CliSystem& system, std::FILE* stdOut,
                   std::FILE* err);

} // namespace cli

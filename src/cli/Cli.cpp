#include "Version.h"
#include "cli/CliParts.h"
#include "fileops/FileCommands.h"
#include "platform/CancelFlag.h"
#include "text/DisplayText.h"
#include "text/PathText.h"

#include <cerrno>
#include <sys/stat.h>

namespace cli {

namespace {

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

} // namespace cli

using namespace cli;

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

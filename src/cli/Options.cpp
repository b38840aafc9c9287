// The commands and options the command line takes, their help, and the parsing of a request.
#include "Version.h"
#include "cli/CliParts.h"
#include "search/MaskRules.h"
#include "text/PathText.h"

#include <cerrno>
#include <cstdlib>
#include <sys/stat.h>

namespace cli {

constexpr unsigned Bit(Command c) {
    return 1u << static_cast<unsigned>(c);
}
constexpr unsigned kEveryCommand = 0xF;

namespace {

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

} // namespace

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

} // namespace cli

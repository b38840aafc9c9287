// What the command line says on standard error, how it checks standard output, and Ctrl-C.
#include "cli/CliParts.h"
#include "platform/CancelFlag.h"
#include "text/PathText.h"

namespace cli {

void Say(std::FILE* err, const QString& words, std::initializer_list<std::string_view> values) {
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
               std::string_view command) {
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

} // namespace cli

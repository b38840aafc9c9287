#pragma once

#include "platform/FileOutcome.h"

#include <cstdio>
#include <functional>
#include <optional>
#include <string>
#include <vector>

// The headless front end: `tallymoor search ...`, `--help`, `--version`. It runs the same
// search code as the window, on Qt Core only.

// Takes "--settings FILE" (or "--settings=FILE") out of the arguments and returns FILE; empty
// when the option is not there.
std::string ExtractSettingsOption(std::vector<std::string>& args);

// True when the arguments (without the program name) ask for the command line, not the window:
// no arguments, or a single existing folder that is not a command word (`tallymoor FOLDER`, as
// a file manager passes it), open the window.
bool IsCommandLineInvocation(const std::vector<std::string>& args);

class WalkListener;

// What the command line reaches beyond its streams.
class CancelFlag;

struct CliSystem {
    // Sends an item to the trash: "" when it went, else why not.
    std::function<FileOutcome(const std::string& path)> moveToTrash;
    // Asks a question on the terminal and returns the answer; nothing without a terminal.
    std::function<std::optional<std::string>(const std::string& question)> askTerminal;
    // The local path of a share's URL, mounted when it is not: "" and why when it cannot be had.
    std::function<std::string(const std::string& url, const CancelFlag& cancel, std::string& why)>
        localPathOf;
};

// Asks on standard error and reads standard input, when standard input is a terminal.
std::optional<std::string> AskOnTerminal(const std::string& question);

// Runs the command line; returns the exit status. Results go to `out`, messages to `err`.
// `walkObserver`, when given, hears the walk (tests interrupt it from there).
int RunCommandLine(const std::vector<std::string>& args, std::FILE* out, std::FILE* err,
                   WalkListener* walkObserver = nullptr, const CliSystem& system = {});

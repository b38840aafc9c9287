#pragma once

#include <cstdio>
#include <string>
#include <vector>

// The headless front end: `tallymoor search ...`, `--help`, `--version`. It runs the same
// search code as the window, on Qt Core only.

// Takes "--settings FILE" (or "--settings=FILE") out of the arguments and returns FILE; empty
// when the option is not there.
std::string ExtractSettingsOption(std::vector<std::string>& args);

// True when the arguments (without the program name) ask for the command line, not the window.
bool IsCommandLineInvocation(const std::vector<std::string>& args);

class WalkListener;

// Runs the command line; returns the exit status. Results go to `out`, messages to `err`.
// `walkObserver`, when given, hears the walk (tests interrupt it from there).
int RunCommandLine(const std::vector<std::string>& args, std::FILE* out, std::FILE* err,
                   WalkListener* walkObserver = nullptr);

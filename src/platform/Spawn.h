#pragma once

#include <string>
#include <vector>

// Starts a program detached from this one (no shell, no zombie), with `argv` passed as the exact
// bytes given and `workingFolder` as its folder when it exists. True when the program started.
bool SpawnDetached(const std::vector<std::string>& argv, const std::string& workingFolder = {});

// Whether `program` is found on PATH (or is an executable path).
bool ProgramExists(const std::string& program);

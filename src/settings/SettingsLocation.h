#pragma once

#include <string>

// Where the settings file lives: the file named by --settings when given; else tallymoor.ini
// beside the executable when one is already there (portable use); else
// $XDG_CONFIG_HOME/tallymoor/tallymoor.ini, with ~/.config when XDG_CONFIG_HOME is unset or not
// absolute.
std::string SettingsFilePath(const std::string& overridePath, const std::string& executableFolder,
                             const char* xdgConfigHome, const std::string& home);

// The user's home folder ($HOME, else the password database), without a trailing "/".
std::string HomeFolder();

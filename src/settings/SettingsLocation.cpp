#include "settings/SettingsLocation.h"

#include <cstdlib>
#include <pwd.h>
#include <sys/stat.h>
#include <unistd.h>

std::string SettingsFilePath(const std::string& overridePath, const std::string& executableFolder,
                             const char* xdgConfigHome, const std::string& home) {
    if (!overridePath.empty()) {
        return overridePath;
    }
    if (!executableFolder.empty()) {
        const std::string beside = executableFolder + "/tallymoor.ini";
        struct stat st {};
        if (stat(beside.c_str(), &st) == 0 && S_ISREG(st.st_mode)) {
            return beside;
        }
    }
    std::string config;
    if (xdgConfigHome != nullptr && xdgConfigHome[0] == '/') {
        config = xdgConfigHome;
    } else {
        config = home + "/.config";
    }
    return config + "/tallymoor/tallymoor.ini";
}

std::string HomeFolder() {
    std::string home;
    if (const char* env = std::getenv("HOME"); env != nullptr && env[0] == '/') {
        home = env;
    } else if (const passwd* pw = getpwuid(getuid()); pw != nullptr && pw->pw_dir != nullptr) {
        home = pw->pw_dir;
    } else {
        home = "/";
    }
    while (home.size() > 1 && home.back() == '/') {
        home.pop_back();
    }
    return home;
}

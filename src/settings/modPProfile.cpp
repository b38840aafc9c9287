#include "settings/modPProfile.h"

#include "text/PathText.h"

#include <charconv>
#include <cmath>
#include <limits>

namespace {

constexpr const char* kWindows = "windows";
constexpr const char* kPaths = "paths";
constexpr const char* kOptions = "options";
constexpr const char* kMasks = "masks";
constexpr const char* kCustom = "custom";

constexpr std::array kPathKeys = {"LastSourceFolder",         "LastCopyFileTarget",
                                  "LastCopyFolderTarget",     "LastMoveFileTarget",
                                  "LastMoveFolderTarget",     "LastSourceNetFolder",
                                  "LastSourceNetAdminFolder", "LastOutputSaveDirectory"};

struct NewFileOption {
    const char* key;
    const char* value;
};
// In the order a new file receives them.
constexpr std::array<NewFileOption, 24> kNewFileOptions = {{
    {"AskToOpenWith", "1"},          {"AutoRescanAfterAction", "0"},
    {"AutoRescanUseMaximum", "0"},   {"AutoRescanMaximum", "300"},
    {"AutoSDSOnNewSelection", "0"},  {"AlwaysShowCountWhenSDS", "0"},
    {"ConfirmOnOpen", "1"},          {"ConfirmOnCopy", "1"},
    {"ConfirmOnMove", "1"},          {"ConfirmOnFolderDelete", "1"},
    {"ConfirmOnFileDelete", "1"},    {"ConfirmOnEachFileDelete", "1"},
    {"LVDefaultView", "1"},          {"LVCustomSortColor", "15987699"},
    {"LVUseCustomSortColor", "1"},   {"LVUseGridLines", "1"},
    {"RetainTopIndex", "0"},         {"DblClickAction", "0"},
    {"DblClickShiftAction", "1"},    {"LastFileMask", "*.txt"},
    {"OpenFoldersWithExplore", "0"}, {"PBScrollStyle", "0"},
    {"QSSortResultsOnSave", "0"},    {"QSResultsWhenFolders", "0"},
}};

constexpr std::array kNewFileMasks = {"*.doc;", "*.mdb;", "*.ppt;", "*.txt;", "*.log;", "*.rtf;"};

constexpr std::array<int32_t, 16> kNewFileColors = {
    16383743, 14809855, 15987699, 16250871,    0, 0, 0, 0,
    13696972, 14803455, 14283511, -2147483643, 0, 0, 0, 0};

bool EqualsIgnoringCase(std::string_view a, std::string_view b) {
    if (a.size() != b.size()) {
        return false;
    }
    for (size_t i = 0; i < a.size(); ++i) {
        if (std::tolower(static_cast<unsigned char>(a[i])) !=
            std::tolower(static_cast<unsigned char>(b[i]))) {
            return false;
        }
    }
    return true;
}

// The length of the leading number: sign, digits, a fraction, an exponent.
size_t LeadingNumberLength(std::string_view s) {
    size_t i = 0;
    const auto digits = [&] {
        const size_t start = i;
        while (i < s.size() && s[i] >= '0' && s[i] <= '9') {
            ++i;
        }
        return i - start;
    };
    if (i < s.size() && (s[i] == '+' || s[i] == '-')) {
        ++i;
    }
    size_t mantissa = digits();
    if (i < s.size() && s[i] == '.') {
        ++i;
        mantissa += digits();
    }
    if (mantissa == 0) {
        return 0;
    }
    const size_t beforeExponent = i;
    if (i < s.size() && (s[i] == 'e' || s[i] == 'E')) {
        ++i;
        if (i < s.size() && (s[i] == '+' || s[i] == '-')) {
            ++i;
        }
        if (digits() == 0) {
            i = beforeExponent;
        }
    }
    return i;
}

} // namespace

int32_t ReadNumber(std::string_view text) {
    text = TrimSpacesAndTabs(text);
    const size_t length = LeadingNumberLength(text);
    if (length == 0) {
        return 0;
    }
    std::string_view number = text.substr(0, length);
    if (number.front() == '+') {
        number.remove_prefix(1);
    }
    double value = 0;
    const auto result = std::from_chars(number.data(), number.data() + number.size(), value);
    if (result.ec == std::errc::result_out_of_range) {
        value = number.front() == '-' ? -HUGE_VAL : HUGE_VAL;
    } else if (result.ec != std::errc{}) {
        return 0;
    }
    value = std::nearbyint(value);
    constexpr double kLow = std::numeric_limits<int32_t>::min();
    constexpr double kHigh = std::numeric_limits<int32_t>::max();
    return static_cast<int32_t>(value < kLow ? kLow : value > kHigh ? kHigh : value);
}

bool ReadBoolean(std::string_view text) {
    text = TrimSpacesAndTabs(text);
    if (EqualsIgnoringCase(text, "true")) {
        return true;
    }
    if (EqualsIgnoringCase(text, "false") || text.empty()) {
        return false;
    }
    // Only a value that is a number as a whole counts; hand-edited words read false.
    if (LeadingNumberLength(text) != text.size()) {
        return false;
    }
    if (text.front() == '+') {
        text.remove_prefix(1);
    }
    double value = 0;
    const auto result = std::from_chars(text.data(), text.data() + text.size(), value);
    return result.ec == std::errc::result_out_of_range || value != 0;
}

std::string BoolText(bool value) {
    return value ? "1" : "0";
}

const std::array<const char*, 10> modPProfile::kHeader = {
    "; --------------------------------------------------------------",
    "; ----                                                      ----",
    "; ----  This file contains user, session and                ----",
    "; ----  application settings for the Tallymoor.             ----",
    "; ----                                                      ----",
    "; ----  Although this file is modifiable, it is strongly    ----",
    "; ----  recommended that you allow the application to make  ----",
    "; ----  make any needed changes.                            ----",
    "; ----                                                      ----",
    "; --------------------------------------------------------------",
};

modPProfile::modPProfile(std::string settingsPath, std::string home)
    : file_(std::move(settingsPath), {kWindows, kPaths, kOptions, kMasks, kCustom}),
      home_(std::move(home)) {
}

std::string modPProfile::RootFolder() const {
    return home_.empty() || home_.back() == '/' ? home_ : home_ + "/";
}

std::string modPProfile::ProfileGetString(std::string_view section, std::string_view key,
                                          std::string_view fallback) const {
    return file_.GetString(section, key, fallback);
}

void modPProfile::ProfileSetWindowsKey(std::string_view key, std::string_view value) {
    file_.WriteString(kWindows, key, value);
}

void modPProfile::ProfileSetPathsKey(std::string_view key, std::string_view value) {
    file_.WriteString(kPaths, key, value);
}

void modPProfile::ProfileSetOptionsKey(std::string_view key, std::string_view value) {
    file_.WriteString(kOptions, key, value);
}

void modPProfile::ProfileSetMasksKey(std::string_view key, std::string_view value) {
    file_.WriteString(kMasks, key, value);
}

void modPProfile::ProfileDeleteSection(std::string_view section) {
    file_.DeleteSection(section);
}

void modPProfile::ProfileCreateDefault() {
    // The whole new file in one write, made only where none is by then: another copy starting
    // at the same moment may have made it, with its first changes in it.
    std::vector<std::string> lines(kHeader.begin(), kHeader.end());
    const auto section = [&lines](const char* name) {
        lines.emplace_back();
        lines.push_back("[" + std::string(name) + "]");
    };
    const auto key = [&lines](std::string_view name, std::string_view value) {
        lines.push_back(std::string(name) + "=" + std::string(value));
    };
    section(kWindows);
    for (const char* name : {"Winstate", "Left", "Top", "Width", "Height"}) {
        key(name, "");
    }
    section(kPaths);
    for (const char* name : kPathKeys) {
        key(name, RootFolder());
    }
    key("LastCfmBrowseID", "0");
    section(kOptions);
    for (const auto& option : kNewFileOptions) {
        key(option.key, option.value);
    }
    section(kMasks);
    for (size_t i = 0; i < kNewFileMasks.size(); ++i) {
        key("mask" + std::to_string(i + 1), kNewFileMasks[i]);
    }
    section(kCustom);
    for (size_t i = 0; i < kNewFileColors.size(); ++i) {
        key("color" + std::to_string(i + 1), std::to_string(kNewFileColors[i]));
    }
    file_.CreateWith(std::move(lines));
}

bool modPProfile::ReadBool(std::string_view key, bool fallback) const {
    return ReadBoolean(ProfileGetString(kOptions, key, BoolText(fallback)));
}

int32_t modPProfile::ReadInt(std::string_view section, std::string_view key,
                             std::string_view fallback) const {
    return ReadNumber(ProfileGetString(section, key, fallback));
}

void modPProfile::ProfileLoadSettings() {
    AppSettings& s = settings_;
    // A missing path reads as the home folder, the root every path setting starts from.
    const std::string root = RootFolder();
    std::string* paths[] = {&s.LastSourceFolder,         &s.LastCopyFileTarget,
                            &s.LastCopyFolderTarget,     &s.LastMoveFileTarget,
                            &s.LastMoveFolderTarget,     &s.LastSourceNetFolder,
                            &s.LastSourceNetAdminFolder, &s.LastOutputSaveDirectory};
    for (size_t i = 0; i < kPathKeys.size(); ++i) {
        *paths[i] = ProfileGetString(kPaths, kPathKeys[i], root);
    }
    s.LastCfmBrowseID = ReadInt(kPaths, "LastCfmBrowseID", "0");

    s.LastFileMask = ProfileGetString(kOptions, "LastFileMask", "*.txt");
    s.ConfirmOnOpen = ReadBool("ConfirmOnOpen", true);
    s.ConfirmOnCopy = ReadBool("ConfirmOnCopy", true);
    s.ConfirmOnMove = ReadBool("ConfirmOnMove", true);
    s.ConfirmOnFolderDelete = ReadBool("ConfirmOnFolderDelete", true);
    s.ConfirmOnFileDelete = ReadBool("ConfirmOnFileDelete", true);
    s.ConfirmOnEachFileDelete = ReadBool("ConfirmOnEachFileDelete", true);
    s.AskToOpenWith = ReadBool("AskToOpenWith", true);
    s.AutoRescanAfterAction = ReadBool("AutoRescanAfterAction", false);
    s.AutoRescanUseMaximum = ReadBool("AutoRescanUseMaximum", false);
    s.AutoRescanMaximum = ReadInt(kOptions, "AutoRescanMaximum", "0");
    s.AutoSDSOnNewSelection = ReadBool("AutoSDSOnNewSelection", false);
    s.AlwaysShowCountWhenSDS = ReadBool("AlwaysShowCountWhenSDS", false);
    s.RetainTopIndex = ReadBool("RetainTopIndex", false);
    s.DblClickAction = ReadInt(kOptions, "DblClickAction", "0");
    s.DblClickShiftAction = ReadInt(kOptions, "DblClickShiftAction", "1");
    s.OpenFoldersWithExplore = ReadBool("OpenFoldersWithExplore", false);
    s.WatchForChanges = ReadBool("WatchForChanges", true);
    // Read a second time with another default: this reading is the one that counts.
    s.LastFileMask = ProfileGetString(kOptions, "LastFileMask", "*.*");
    s.LVUseGridLines = ReadBool("LVUseGridLines", false);
    s.LVUseCustomSortColor = ReadBool("LVUseCustomSortColor", false);
    s.LVCustomSortColor = ReadInt(kOptions, "LVCustomSortColor", "0");
    if (s.LVCustomSortColor == 0) {
        s.LVCustomSortColor = AppSettings::kDefaultSortColor;
    }
    s.PBScrollStyle = ReadInt(kOptions, "PBScrollStyle", "0");
    s.LVDefaultView = ReadInt(kOptions, "LVDefaultView", "0");
    s.QSSortResultsOnSave = ReadBool("QSSortResultsOnSave", false);
}

void modPProfile::ProfileSaveWindowPlacement() {
    ProfileSetWindowsKey("Left", std::to_string(settings_.Left));
    ProfileSetWindowsKey("Top", std::to_string(settings_.Top));
    ProfileSetWindowsKey("Width", std::to_string(settings_.Width));
    ProfileSetWindowsKey("Height", std::to_string(settings_.Height));
    ProfileSetWindowsKey("Winstate", std::string(1, settings_.Winstate));
}

void modPProfile::ProfileLoadCustomColors(std::array<int32_t, 16>& table) const {
    for (size_t i = 0; i < table.size(); ++i) {
        table[i] = ReadInt(kCustom, "color" + std::to_string(i + 1), "0");
    }
}

void modPProfile::ProfileSaveCustomColors(const std::array<int32_t, 16>& table) {
    IniFile::Batch batch(file_);
    for (size_t i = 0; i < table.size(); ++i) {
        file_.WriteString(kCustom, "color" + std::to_string(i + 1), std::to_string(table[i]));
    }
}

void modPProfile::Start() {
    settings_.LVCustomSortColor = AppSettings::kDefaultSortColor;
    if (!FileExists()) {
        ProfileCreateDefault();
    }
    ProfileLoadSettings();
}

#pragma once

#include "settings/AppSettings.h"
#include "settings/IniFile.h"

#include <array>
#include <optional>
#include <string>
#include <string_view>

// `modPProfile`: the settings file and the in-memory `AppSettings`. Every change is written
// through at once by the section writers; nothing is buffered until exit.
class modPProfile {
public:
    // `home`: the user's home folder, the root the path settings fall back to.
    modPProfile(std::string settingsPath, std::string home);

    AppSettings& Settings() { return settings_; }
    const AppSettings& Settings() const { return settings_; }
    IniFile& File() { return file_; }
    const IniFile& File() const { return file_; }
    bool FileExists() const { return file_.Exists(); }

    // The home folder with a trailing "/": what a missing path setting reads as.
    std::string RootFolder() const;

    std::string ProfileGetString(std::string_view section, std::string_view key,
                                 std::string_view fallback) const;
    void ProfileSetWindowsKey(std::string_view key, std::string_view value);
    void ProfileSetPathsKey(std::string_view key, std::string_view value);
    void ProfileSetOptionsKey(std::string_view key, std::string_view value);
    void ProfileSetMasksKey(std::string_view key, std::string_view value);
    void ProfileDeleteSection(std::string_view section);

    // Writes a new file: the header, the five sections, then every key with its new-file value.
    void ProfileCreateDefault();
    // Fills the [paths] and [options] fields of `AppSettings`.
    void ProfileLoadSettings();
    // Writes Left, Top, Width, Height and Winstate from `AppSettings`, in that order.
    void ProfileSaveWindowPlacement();
    void ProfileLoadCustomColors(std::array<int32_t, 16>& table) const;
    void ProfileSaveCustomColors(const std::array<int32_t, 16>& table);

    // The start-up sequence of the settings: fallbacks, a new file when none exists, loading.
    void Start();

    static const std::array<const char*, 10> kHeader;

private:
    bool ReadBool(std::string_view key, bool fallback) const;
    int32_t ReadInt(std::string_view section, std::string_view key,
                    std::string_view fallback) const;

    IniFile file_;
    std::string home_;
    AppSettings settings_;
};

// Reading rules of the settings file.
// A number's text: its leading number as far as it parses, rounded to the nearest whole number
// (halves to even); text without a leading number reads 0. Out-of-range values are clamped.
int32_t ReadNumber(std::string_view text);
// A boolean's text: a number is true when not zero; "True" and "False" in any case; anything
// else (empty, words) is false.
bool ReadBoolean(std::string_view text);
// "1" or "0", as a check box's state.
std::string BoolText(bool value);

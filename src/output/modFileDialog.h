#pragma once

#include <string>

class Prompts;
class modPProfile;
class QWidget;

namespace modFileDialog {

// The process-wide "entire list" switch: whether the save dialog's "Save Entire List" check
// box can be changed. Set by the list-saving commands.
bool& EntireListSwitch();

// `SaveReportDialog`: "Save Report As" with the text-file and all-files filters, default suffix
// "txt", the overwrite question and the "Save Entire List" check box (checked when
// `entireList` comes in true). Returns the path chosen, or "" on cancel. On OK `entireList`
// returns the check box and `initialFolder` the chosen folder with a trailing "/"; on cancel
// both keep their values.
std::string SaveReportDialog(Prompts& prompts, QWidget* owner, bool& entireList,
                             std::string& initialFolder, const std::string& initialName);

// The save dialog opened on `LastOutputSaveDirectory`, which then remembers the chosen folder
// (written to the settings file; after a cancel too when `writeBackOnCancel`, as the list-saving
// commands do). Returns the path chosen, or "" on cancel.
std::string AskForOutputFile(Prompts& prompts, QWidget* owner, modPProfile& profile,
                             bool& entireList, const std::string& initialName,
                             bool writeBackOnCancel);

} // namespace modFileDialog

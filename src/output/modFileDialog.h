#pragma once

#include <string>

class Prompts;
class modPProfile;

namespace modFileDialog {

// `SaveReportDialog`: "Save Report As" with the text-file and all-files filters, default suffix
// "txt", the overwrite question and the "Save Entire List" check box (checked when `entireList`
// comes in true; changeable only when `entireListEnabled`, which the list-saving commands set).
// Returns the path chosen, or "" on cancel. On OK `entireList` returns the check box and
// `initialFolder` the chosen folder with a trailing "/"; on cancel both keep their values.
std::string SaveReportDialog(Prompts& prompts, bool entireListEnabled, bool& entireList,
                             std::string& initialFolder, const std::string& initialName);

// The save dialog opened on `LastOutputSaveDirectory`, which then remembers the chosen folder
// (written to the settings file; after a cancel too when `writeBackOnCancel`, as the list-saving
// commands do). Returns the path chosen, or "" on cancel.
std::string AskForOutputFile(Prompts& prompts, modPProfile& profile, bool entireListEnabled,
                             bool& entireList, const std::string& initialName,
                             bool writeBackOnCancel);

} // namespace modFileDialog

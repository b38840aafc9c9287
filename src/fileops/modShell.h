#pragma once

#include <QString>
#include <string>
#include <vector>

class Desktop;
class Prompts;
struct AppSettings;

// The shell verbs on the selected items of a list: open (or explore a folder), open in the text
// editor, properties, Open With. Each asks once when several items are selected, then acts on
// each selected item in list order; a refused per-item question skips only that item.
namespace modShell {

// `selected`: the full paths of the selected items, in list order.
void ShellOpenSelected(const std::vector<std::string>& selected, bool folderView,
                       const AppSettings& settings, Prompts& prompts, Desktop& desktop);
void ShellOpenWithNotepad(const std::vector<std::string>& selected, const AppSettings& settings,
                          Prompts& prompts, Desktop& desktop);
void ShellShowProperties(const std::vector<std::string>& selected, Prompts& prompts,
                         Desktop& desktop);
void ShellOpenWithDialog(const std::vector<std::string>& selected, const AppSettings& settings,
                         Prompts& prompts, Desktop& desktop);
// A document or a link ("https:", "mailto:") with what the desktop associates with it; the
// Open With dialog when nothing is.
void ShellOpenDocument(const std::string& target, Desktop& desktop);

} // namespace modShell

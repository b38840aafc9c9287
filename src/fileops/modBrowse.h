#pragma once

#include <QString>
#include <string>

class modPProfile;
class Prompts;

// Folder picking with remembered locations. Purposes: 1 copy files, 2 copy folder, 3 copy folder
// contents, 4 move files, 5 move folder, 6 search root (local), 7 search root (network share),
// 8 search root (administrative share). Each has its caption, prompt, browse root and
// remembered start location.
namespace modBrowse {

enum class BrowseRoot { Desktop, Drives, Network };

struct Purpose {
    QString caption;
    QString prompt;
    BrowseRoot root = BrowseRoot::Desktop;
    bool administrativeShares = false;
};

// The caption, prompt and root of a purpose; empty texts for a number outside 1 to 8.
Purpose PurposeOf(int purpose);

// Where a browse root is on this system: the desktop is the home folder, the drives are "/", the
// network is the GVFS mount folder when there is one, else /mnt.
std::string RootFolderOf(BrowseRoot root, const std::string& home);

// `PickFolder`: asks for a folder for `purpose`; `rootFieldText` is the root path field's text
// (the start for purpose 6). Returns the path picked, empty on cancel; remembers a pick when
// `remember` is set. A purpose outside 1 to 8 first says "oops!".
std::string PickFolder(int purpose, bool remember, const std::string& rootFieldText,
                       modPProfile& profile, Prompts& prompts);

// `RememberPickedFolder`: stores a non-empty path under its purpose's key (purposes 2 and 3
// share one), and the purpose under LastCfmBrowseID, whatever its number.
void RememberPickedFolder(int purpose, const std::string& path, modPProfile& profile);

} // namespace modBrowse

#pragma once

#include "platform/Prompts.h"

#include <QString>
#include <string>
#include <vector>

class modPProfile;

// Folder picking with remembered locations. Each purpose has its caption, prompt, browse root
// and remembered start location.
namespace modBrowse {

// What a folder is picked for. The numbers are those kept as LastCfmBrowseID; the copy and move
// purposes have the numbers of their commands.
enum class PickPurpose {
    CopyFiles = 1,
    CopyFolder = 2,
    CopyFolderContents = 3,
    MoveFiles = 4,
    MoveFolder = 5,
    SearchRoot = 6, // the Select menu's local path, and the Up button
    NetworkShare = 7,
    AdministrativeShare = 8,
};

enum class BrowseRoot { Desktop, Drives, Network };

struct Purpose {
    QString caption;
    QString prompt;
    BrowseRoot root = BrowseRoot::Desktop;
    bool administrativeShares = false;
};

// The caption, prompt and root of a purpose; empty texts for a number outside 1 to 8.
Purpose PurposeOf(PickPurpose purpose);

// Where a browse root is on this system: the desktop and the drives are the whole file system
// ("/", so that any disk or stick can be reached), the network is the GVFS mount folder when
// there is one, else /mnt.
std::string RootFolderOf(BrowseRoot root);

// The places offered beside the tree: the home folder, the file system, and every volume mounted
// under /media, /run/media or /mnt and every GVFS mount (`runtimeDir`/gvfs), by their names.
std::vector<FolderPlace> StartingPlaces(const std::string& home, const std::string& runtimeDir);
// The same for this session: the settings' home folder, the session's runtime folder.
std::vector<FolderPlace> StartingPlaces(const modPProfile& profile);

// `PickFolder`: asks for a folder for `purpose`; `rootFieldText` is the root path field's text
// (the start for a search root). Returns the path picked, empty on cancel; remembers a pick when
// `remember` is set. A purpose outside 1 to 8 first says "oops!".
std::string PickFolder(PickPurpose purpose, bool remember, const std::string& rootFieldText,
                       modPProfile& profile, Prompts& prompts);

// `RememberPickedFolder`: stores a non-empty path under its purpose's key (purposes 2 and 3
// share one: the copies of a folder and of its contents), and the purpose under LastCfmBrowseID,
// whatever its number.
void RememberPickedFolder(PickPurpose purpose, const std::string& path, modPProfile& profile);

} // namespace modBrowse

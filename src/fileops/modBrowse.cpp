#include "fileops/modBrowse.h"

#include "platform/Prompts.h"
#include "settings/modPProfile.h"

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QStorageInfo>
#include <cstdlib>
#include <optional>
#include <sys/stat.h>

namespace modBrowse {

namespace {

struct Text {
    Q_DECLARE_TR_FUNCTIONS(modBrowse)
};

bool IsFolder(const std::string& path) {
    struct stat st {};
    return !path.empty() && stat(path.c_str(), &st) == 0 && S_ISDIR(st.st_mode);
}

// The field of AppSettings and the key a purpose remembers its pick in.
struct Memory {
    std::string AppSettings::*field;
    const char* key;
};

std::optional<Memory> MemoryOf(int purpose) {
    switch (purpose) {
    case 1:
        return Memory{&AppSettings::LastCopyFileTarget, "LastCopyFileTarget"};
    case 2:
    case 3:
        return Memory{&AppSettings::LastCopyFolderTarget, "LastCopyFolderTarget"};
    case 4:
        return Memory{&AppSettings::LastMoveFileTarget, "LastMoveFileTarget"};
    case 5:
        return Memory{&AppSettings::LastMoveFolderTarget, "LastMoveFolderTarget"};
    case 6:
        return Memory{&AppSettings::LastSourceFolder, "LastSourceFolder"};
    case 7:
        return Memory{&AppSettings::LastSourceNetFolder, "LastSourceNetFolder"};
    case 8:
        return Memory{&AppSettings::LastSourceNetAdminFolder, "LastSourceNetAdminFolder"};
    default:
        return std::nullopt;
    }
}

} // namespace

Purpose PurposeOf(int purpose) {
    switch (purpose) {
    case 1:
        return {
            Text::tr("Select Destination Folder"),
            Text::tr("Select the folder or drive into which the selected files will be copied."),
            BrowseRoot::Desktop};
    case 2:
        return {Text::tr("Select Local Folder"),
                Text::tr("Select the folder or drive into which the selected folder should be "
                         "copied."),
                BrowseRoot::Drives};
    case 3:
        return {Text::tr("Select Destination Folder"),
                Text::tr("Choose the folder or drive into which all contents of selected folder "
                         "should be copied."),
                BrowseRoot::Drives};
    case 4:
        return {"", "", BrowseRoot::Desktop};
    case 5:
        return {Text::tr("Select Destination Location"),
                Text::tr("You are about to move a folder and all its contents. Choose a new "
                         "location for the selected folder."),
                BrowseRoot::Desktop};
    case 6:
        return {Text::tr("Select Local Folder"),
                Text::tr("Select the folder or drive in which to begin the search."),
                BrowseRoot::Drives};
    case 7:
        return {Text::tr("Select Network Share"),
                Text::tr("Select the network share in which to begin the search."),
                BrowseRoot::Network};
    case 8:
        return {Text::tr("Select Network Administrative Share"),
                Text::tr("Select the network share in which to begin the search."),
                BrowseRoot::Network, true};
    default:
        return {"", "", BrowseRoot::Desktop};
    }
}

std::string RootFolderOf(BrowseRoot root) {
    if (root == BrowseRoot::Network) {
        if (const char* runtime = std::getenv("XDG_RUNTIME_DIR"); runtime && runtime[0] == '/') {
            const std::string gvfs = std::string(runtime) + "/gvfs";
            if (IsFolder(gvfs)) {
                return gvfs;
            }
        }
        return "/mnt";
    }
    return "/";
}

std::vector<FolderPlace> StartingPlaces(const std::string& home, const std::string& runtimeDir) {
    std::vector<FolderPlace> places = {{Text::tr("Home"), home}, {Text::tr("File System"), "/"}};
    for (const QStorageInfo& volume : QStorageInfo::mountedVolumes()) {
        const std::string root = QFile::encodeName(volume.rootPath()).toStdString();
        if (root.rfind("/media/", 0) == 0 || root.rfind("/run/media/", 0) == 0 ||
            root.rfind("/mnt/", 0) == 0 || root == "/mnt" || root == "/media") {
            const QString name =
                volume.name().isEmpty() ? QFileInfo(volume.rootPath()).fileName() : volume.name();
            places.push_back({name, root});
        }
    }
    if (!runtimeDir.empty()) {
        const QDir gvfs(QFile::decodeName(QByteArray::fromStdString(runtimeDir + "/gvfs")));
        for (const QFileInfo& mount : gvfs.entryInfoList(QDir::Dirs | QDir::NoDotAndDotDot)) {
            places.push_back({mount.fileName(), QFile::encodeName(mount.filePath()).toStdString()});
        }
    }
    return places;
}

std::vector<FolderPlace> StartingPlaces(const modPProfile& profile) {
    const char* runtime = std::getenv("XDG_RUNTIME_DIR");
    return StartingPlaces(profile.RootFolder(), runtime ? runtime : "");
}

std::string PickFolder(int purpose, bool remember, const std::string& rootFieldText,
                       modPProfile& profile, Prompts& prompts) {
    const AppSettings& s = profile.Settings();
    std::string start;
    switch (purpose) {
    case 1:
        start = s.LastCopyFileTarget;
        break;
    case 2:
    case 3:
        start = s.LastCopyFolderTarget;
        break;
    case 5:
        start = s.LastMoveFolderTarget;
        break;
    case 6:
        start = rootFieldText;
        break;
    case 7:
        start = s.LastSourceNetFolder;
        break;
    case 8:
        start = s.LastSourceNetAdminFolder;
        break;
    case 4:
        break;
    default:
        prompts.Message(QCoreApplication::translate("modBrowse", "oops!"), MessageIcon::None,
                        MessageButtons::Ok);
        break;
    }
    if (!IsFolder(start)) {
        start = profile.RootFolder();
    }
    const Purpose p = PurposeOf(purpose);
    FolderRequest request{p.caption, p.prompt, RootFolderOf(p.root), start,
                          StartingPlaces(profile)};
    const std::string picked = prompts.PickFolder(request);
    if (!picked.empty() && remember) {
        RememberPickedFolder(purpose, picked, profile);
    }
    return picked;
}

void RememberPickedFolder(int purpose, const std::string& path, modPProfile& profile) {
    if (path.empty()) {
        return;
    }
    if (const auto memory = MemoryOf(purpose)) {
        profile.Settings().*(memory->field) = path;
        profile.ProfileSetPathsKey(memory->key, path);
    }
    profile.Settings().LastCfmBrowseID = purpose;
    profile.ProfileSetPathsKey("LastCfmBrowseID", std::to_string(purpose));
}

} // namespace modBrowse

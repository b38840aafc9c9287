#include "settings/modBrowse.h"

#include "platform/Prompts.h"
#include "settings/modPProfile.h"
#include "text/PathText.h"

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

std::optional<Memory> MemoryOf(PickPurpose purpose) {
    switch (purpose) {
    case PickPurpose::CopyFiles:
        return Memory{&AppSettings::LastCopyFileTarget, "LastCopyFileTarget"};
    case PickPurpose::CopyFolder:
    case PickPurpose::CopyFolderContents:
        return Memory{&AppSettings::LastCopyFolderTarget, "LastCopyFolderTarget"};
    case PickPurpose::MoveFiles:
        return Memory{&AppSettings::LastMoveFileTarget, "LastMoveFileTarget"};
    case PickPurpose::MoveFolder:
        return Memory{&AppSettings::LastMoveFolderTarget, "LastMoveFolderTarget"};
    case PickPurpose::SearchRoot:
        return Memory{&AppSettings::LastSourceFolder, "LastSourceFolder"};
    case PickPurpose::NetworkShare:
        return Memory{&AppSettings::LastSourceNetFolder, "LastSourceNetFolder"};
    case PickPurpose::AdministrativeShare:
        return Memory{&AppSettings::LastSourceNetAdminFolder, "LastSourceNetAdminFolder"};
    default:
        return std::nullopt;
    }
}

} // namespace

Purpose PurposeOf(PickPurpose purpose) {
    switch (purpose) {
    case PickPurpose::CopyFiles:
        return {
            Text::tr("Select Destination Folder"),
            Text::tr("Select the folder or drive into which the selected files will be copied."),
            BrowseRoot::Desktop};
    case PickPurpose::CopyFolder:
        return {Text::tr("Select Local Folder"),
                Text::tr("Select the folder or drive into which the selected folder should be "
                         "copied."),
                BrowseRoot::Drives};
    case PickPurpose::CopyFolderContents:
        return {Text::tr("Select Destination Folder"),
                Text::tr("Choose the folder or drive into which all contents of selected folder "
                         "should be copied."),
                BrowseRoot::Drives};
    case PickPurpose::MoveFiles:
        return {"", "", BrowseRoot::Desktop};
    case PickPurpose::MoveFolder:
        return {Text::tr("Select Destination Location"),
                Text::tr("You are about to move a folder and all its contents. Choose a new "
                         "location for the selected folder."),
                BrowseRoot::Desktop};
    case PickPurpose::SearchRoot:
        return {Text::tr("Select Local Folder"),
                Text::tr("Select the folder or drive in which to begin the search."),
                BrowseRoot::Drives};
    case PickPurpose::NetworkShare:
        return {Text::tr("Select Network Share"),
                Text::tr("Select the network share in which to begin the search."),
                BrowseRoot::Network};
    case PickPurpose::AdministrativeShare:
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

std::string PickFolder(PickPurpose purpose, bool remember, const std::string& rootFieldText,
                       modPProfile& profile, Prompts& prompts) {
    const AppSettings& s = profile.Settings();
    // Each purpose starts where its pick is remembered; the search root where the field
    // points, and moving files (offered by no command) nowhere in particular.
    std::string start;
    const std::optional<Memory> memory = MemoryOf(purpose);
    if (!memory) {
        prompts.Message(QCoreApplication::translate("modBrowse", "oops!"), MessageIcon::None,
                        MessageButtons::Ok);
    } else if (purpose == PickPurpose::SearchRoot) {
        start = rootFieldText;
    } else if (purpose != PickPurpose::MoveFiles) {
        start = s.*(memory->field);
    }
    const Purpose p = PurposeOf(purpose);
    const std::string root = RootFolderOf(p.root);
    // A share is picked among the network mounts: a remembered folder elsewhere (the home
    // folder of a new settings file) starts the picker there instead.
    if (p.root == BrowseRoot::Network &&
        WithTrailingSlash(start).rfind(WithTrailingSlash(root), 0) != 0 && IsFolder(root)) {
        start = root;
    }
    if (!IsFolder(start)) {
        start = profile.RootFolder();
    }
    // The start is shown selected in the tree: one that is the tree's root itself (no share
    // picked before) or lies outside it (no network mounts here) opens the tree at its parent.
    const std::string inRoot = WithTrailingSlash(root);
    const std::string atStart = WithTrailingSlash(start);
    const bool inside = atStart.size() > inRoot.size() && atStart.rfind(inRoot, 0) == 0;
    FolderRequest request{p.caption, p.prompt, inside ? root : ParentFolder(start), start,
                          StartingPlaces(profile)};
    const std::string picked = prompts.PickFolder(request);
    if (!picked.empty() && remember) {
        RememberPickedFolder(purpose, picked, profile);
    }
    return picked;
}

void RememberPickedFolder(PickPurpose purpose, const std::string& path, modPProfile& profile) {
    if (path.empty()) {
        return;
    }
    if (const auto memory = MemoryOf(purpose)) {
        profile.Settings().*(memory->field) = path;
        profile.ProfileSetPathsKey(memory->key, path);
    }
    profile.Settings().LastCfmBrowseID = static_cast<int>(purpose);
    profile.ProfileSetPathsKey("LastCfmBrowseID", std::to_string(static_cast<int>(purpose)));
}

} // namespace modBrowse

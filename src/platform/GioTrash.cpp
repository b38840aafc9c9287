// GIO first: Qt's keyword macros would clash with its headers.
#include "platform/FileReplacement.h"
#include "platform/GioDesktop.h"
#include "platform/PathAccess.h"
#include "text/PathText.h"

#include <QtGlobal>
#include <algorithm>
#include <cerrno>
#include <climits>
#include <ctime>
#include <fcntl.h>
#include <fstream>
#include <gio/gio.h>
#include <gio/gunixmounts.h>
#include <memory>
#include <sstream>
#include <sys/stat.h>
#include <sys/sysmacros.h>
#include <unistd.h>

namespace {

constexpr const char* kInfoSuffix = ".trashinfo";
constexpr int kTrashFolderFlags = O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC;
// Room left in a name for a counter (".999") once the suffix is added.
constexpr size_t kLongestTrashName = NAME_MAX - 10 - 4;

// The name an item gets in the trash: its own, cut where a character begins when too long.
std::string TrashName(const std::string& name) {
    size_t end = std::min(name.size(), kLongestTrashName);
    while (end > 0 && end < name.size() && (static_cast<unsigned char>(name[end]) & 0xC0) == 0x80) {
        --end;
    }
    return name.substr(0, end);
}

// An info file as file managers read it: the path URL-escaped, the local time of the
// deletion to the second.
std::string TrashInfoText(const char* escapedPath, time_t now) {
    char when[32];
    tm local{};
    strftime(when, sizeof when, "%Y-%m-%dT%H:%M:%S", localtime_r(&now, &local));
    return std::string("[Trash Info]\nPath=") + escapedPath + "\nDeletionDate=" + when + "\n";
}

// A trash's files/ and info/ folders, open, and how an item's path is written in its info file.
struct TrashPlace {
    UniqueFd files;
    UniqueFd info;
    std::string path; // absolute, or relative to the trash's top folder
};

// Opens (making it when missing) the folder `name` in `parent`, which must be a real folder.
UniqueFd OpenOrMake(int parent, const char* name) {
    if (mkdirat(parent, name, 0700) != 0 && errno != EEXIST) {
        return {};
    }
    return UniqueFd(openat(parent, name, kTrashFolderFlags));
}

bool OpenParts(int trash, TrashPlace& place) {
    if (trash < 0) {
        return false;
    }
    place.files = OpenOrMake(trash, "files");
    place.info = OpenOrMake(trash, "info");
    return place.files && place.info;
}

// The home trash, when it is on the item's file system (a rename cannot cross file systems,
// and a copy would be no trash).
bool HomeTrash(dev_t device, const std::string& path, TrashPlace& place) {
    const std::string trash = std::string(g_get_user_data_dir()) + "/Trash";
    g_mkdir_with_parents(trash.c_str(), 0700);
    const UniqueFd folder(open(trash.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    struct stat st {};
    if (!folder || fstat(folder.Get(), &st) != 0 || st.st_dev != device) {
        return false;
    }
    place.path = path;
    return OpenParts(folder.Get(), place);
}

// The trash at the top of the item's file system: "$topdir/.Trash/$uid" when the
// administrator made .Trash (a real folder with the sticky bit), else "$topdir/.Trash-$uid".
bool TopTrash(const ItemAt& item, dev_t device, const std::string& path, TrashPlace& place) {
    // Up from the item's folder while the file system stays the same.
    UniqueFd top(openat(item.folder.Get(), ".", O_PATH | O_DIRECTORY | O_CLOEXEC));
    int levels = 0;
    for (;;) {
        struct stat here {};
        struct stat above {};
        UniqueFd up(openat(top.Get(), "..", O_PATH | O_DIRECTORY | O_CLOEXEC));
        if (!up || fstat(top.Get(), &here) != 0 || fstat(up.Get(), &above) != 0 ||
            above.st_dev != device ||
            (above.st_ino == here.st_ino && above.st_dev == here.st_dev)) {
            break;
        }
        top = std::move(up);
        ++levels;
    }
    const UniqueFd topFolder(openat(top.Get(), ".", O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    if (!topFolder) {
        return false;
    }
    const std::string uid = std::to_string(getuid());
    struct stat shared {};
    bool opened = false;
    if (fstatat(topFolder.Get(), ".Trash", &shared, AT_SYMLINK_NOFOLLOW) == 0 &&
        S_ISDIR(shared.st_mode) && (shared.st_mode & S_ISVTX) != 0) {
        const UniqueFd admin(openat(topFolder.Get(), ".Trash", kTrashFolderFlags));
        const UniqueFd mine(admin ? OpenOrMake(admin.Get(), uid.c_str()) : UniqueFd());
        opened = OpenParts(mine.Get(), place);
    }
    if (!opened) {
        const UniqueFd mine(OpenOrMake(topFolder.Get(), (".Trash-" + uid).c_str()));
        struct stat st {};
        opened = mine && fstat(mine.Get(), &st) == 0 && st.st_uid == getuid() &&
                 OpenParts(mine.Get(), place);
    }
    if (!opened) {
        return false;
    }
    // Relative to the top folder, as the file manager restores it even when the volume is
    // mounted elsewhere next time; the absolute path when the path's last names do not lead
    // to the item (a link on the way).
    place.path = path;
    size_t start = path.size();
    for (int i = 0; i <= levels && start != std::string::npos && start > 0; ++i) {
        start = path.rfind('/', start - 1);
    }
    if (start != std::string::npos) {
        const std::string relative = path.substr(start + 1);
        const UniqueFd folder(
            OpenFolder(FolderOfPath(relative), O_PATH | O_CLOEXEC, topFolder.Get()));
        struct stat a {};
        struct stat b {};
        if (folder && fstat(folder.Get(), &a) == 0 && fstat(item.folder.Get(), &b) == 0 &&
            a.st_dev == b.st_dev && a.st_ino == b.st_ino) {
            place.path = relative;
        }
    }
    return true;
}

// Whether GIO keeps the trash away from the file system `device` (system internal mounts such
// as a tmpfs /tmp): the same answer for an item too deep for GIO to look at.
bool SystemInternal(dev_t device) {
    std::ifstream mounts("/proc/self/mountinfo");
    std::string line;
    while (std::getline(mounts, line)) {
        std::istringstream fields(line);
        std::string id, parent, numbers, root, escaped;
        fields >> id >> parent >> numbers >> root >> escaped;
        unsigned major = 0, minor = 0;
        if (std::sscanf(numbers.c_str(), "%u:%u", &major, &minor) != 2 ||
            makedev(major, minor) != device) {
            continue;
        }
        std::string point; // blanks and backslashes come as \ooo
        for (size_t i = 0; i < escaped.size(); ++i) {
            const bool code = escaped[i] == '\\' && i + 3 < escaped.size();
            point += code ? static_cast<char>(std::stoi(escaped.substr(i + 1, 3), nullptr, 8))
                          : escaped[i];
            i += code ? 3 : 0;
        }
        GUnixMountEntry* mount = g_unix_mount_at(point.c_str(), nullptr);
        const bool internal = mount != nullptr && g_unix_mount_is_system_internal(mount);
        if (mount != nullptr) {
            g_unix_mount_free(mount);
        }
        return internal;
    }
    return false;
}

// The freedesktop trash by hand, for what GIO cannot do: a name too long for its info file
// ("name.trashinfo"), or a path longer than PATH_MAX. The item is reached through its folder's
// descriptor and goes to the trash of its own file system under a name short enough; the info
// file, reserved exclusively first, keeps its whole original path.
FileOutcome TrashByHand(const std::string& path) {
    const ItemAt item = OpenItem(path);
    struct stat st {};
    if (!item || fstatat(item.folder.Get(), item.name.c_str(), &st, AT_SYMLINK_NOFOLLOW) != 0) {
        return FileOutcome::Failure(path, item ? errno : item.error);
    }
    TrashPlace place;
    const bool home = HomeTrash(st.st_dev, path, place);
    if (!home && SystemInternal(st.st_dev)) {
        return FileOutcome::Refusal(
            path,
            QT_TRANSLATE_NOOP("Remark", "Trashing on system internal mounts is not supported"));
    }
    if (!home && !TopTrash(item, st.st_dev, path, place)) {
        return FileOutcome::Refusal(path,
                                    QT_TRANSLATE_NOOP("Remark", "no trash on this file system"));
    }
    std::unique_ptr<char, decltype(&g_free)> escaped(
        g_uri_escape_string(place.path.c_str(), "/", FALSE), g_free);
    const std::string content = TrashInfoText(escaped.get(), time(nullptr));
    const std::string base = TrashName(item.name);
    for (int n = 1; n < 1000; ++n) {
        const std::string name = n == 1 ? base : base + "." + std::to_string(n);
        const std::string infoName = name + kInfoSuffix;
        UniqueFd fd(openat(place.info.Get(), infoName.c_str(),
                           O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, 0600));
        if (!fd) {
            if (errno == EEXIST) {
                continue;
            }
            return FileOutcome::Failure(path, errno);
        }
        const bool written = write(fd.Get(), content.data(), content.size()) ==
                                 static_cast<ssize_t>(content.size()) &&
                             fsync(fd.Get()) == 0;
        if (fd.Close() && written &&
            renameat2(item.folder.Get(), item.name.c_str(), place.files.Get(), name.c_str(),
                      RENAME_NOREPLACE) == 0) {
            return FileOutcome::Ok(path);
        }
        const int error = errno;
        unlinkat(place.info.Get(), infoName.c_str(), 0);
        if (error != EEXIST) {
            return FileOutcome::Failure(path, error);
        }
    }
    return FileOutcome::Failure(path, EEXIST);
}

} // namespace

FileOutcome MoveToTrash(const std::string& path) {
    if (path.size() >= PATH_MAX) {
        return TrashByHand(path); // GIO names files by whole paths
    }
    std::unique_ptr<GFile, decltype(&g_object_unref)> file(g_file_new_for_path(path.c_str()),
                                                           g_object_unref);
    GError* failure = nullptr;
    if (g_file_trash(file.get(), nullptr, &failure)) {
        return FileOutcome::Ok(path);
    }
    std::unique_ptr<GError, decltype(&g_error_free)> error(failure, g_error_free);
    if (g_error_matches(error.get(), G_IO_ERROR, G_IO_ERROR_FILENAME_TOO_LONG)) {
        return TrashByHand(path);
    }
    // GIO names the file in its message ("Error trashing file PATH: reason"); the caller
    // names it already, so only the reason is kept.
    const std::string message = error->message;
    const size_t named = message.find(path + ": ");
    return FileOutcome::Failure(
        path, 0, named == std::string::npos ? message : message.substr(named + path.size() + 2));
}

FileOutcome GioDesktop::MoveToTrash(const std::string& path) {
    return ::MoveToTrash(path);
}

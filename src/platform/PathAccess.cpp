#include "platform/PathAccess.h"

#include "platform/FileReplacement.h"
#include "text/PathText.h"

#include <cerrno>
#include <climits>
#include <dirent.h>

namespace {

std::string WithoutTrailingSlashes(std::string path) {
    while (path.size() > 1 && path.back() == '/') {
        path.pop_back();
    }
    return path;
}

} // namespace

UniqueFd OpenFolder(const std::string& path, int flags, int base) {
    flags |= O_DIRECTORY;
    if (path.size() < PATH_MAX) {
        return UniqueFd(openat(base, path.c_str(), flags));
    }
    // Pieces shorter than PATH_MAX, cut at slashes, each opened relative to the one before.
    size_t at = path.find_first_not_of('/');
    UniqueFd folder;
    if (at != 0) {
        folder.Reset(open("/", O_PATH | O_DIRECTORY | O_CLOEXEC));
        if (!folder) {
            return folder;
        }
    }
    while (at < path.size()) {
        size_t end = path.size();
        if (end - at >= PATH_MAX) {
            end = path.rfind('/', at + PATH_MAX - 1);
            if (end == std::string::npos || end <= at) {
                errno = ENAMETOOLONG;
                return {};
            }
        }
        const bool last = path.find_first_not_of('/', end) == std::string::npos;
        const std::string piece = path.substr(at, end - at);
        UniqueFd next(openat(folder ? folder.Get() : base, piece.c_str(),
                             last ? flags : O_PATH | O_DIRECTORY | O_CLOEXEC));
        if (!next) {
            return next;
        }
        folder = std::move(next);
        at = path.find_first_not_of('/', end);
    }
    return folder;
}

ItemAt OpenItem(const std::string& path) {
    const std::string item = WithoutTrailingSlashes(path);
    ItemAt at;
    at.name = BaseName(item);
    at.folder = OpenFolder(FolderOfPath(item), O_RDONLY | O_CLOEXEC);
    if (!at.folder) {
        at.error = errno;
    }
    return at;
}

bool StatItem(const std::string& path, struct stat& st) {
    if (path.size() < PATH_MAX) {
        return lstat(path.c_str(), &st) == 0;
    }
    const ItemAt at = OpenItem(path);
    if (!at) {
        errno = at.error;
        return false;
    }
    return fstatat(at.folder.Get(), at.name.c_str(), &st, AT_SYMLINK_NOFOLLOW) == 0;
}

std::vector<std::string> FolderNames(int folder) {
    std::vector<std::string> names;
    const DirStream dir =
        OpenDirStream(UniqueFd(openat(folder, ".", O_RDONLY | O_DIRECTORY | O_CLOEXEC)));
    if (!dir) {
        return names;
    }
    while (const dirent* e = readdir(dir.get())) {
        const std::string_view name = e->d_name;
        if (name != "." && name != "..") {
            names.emplace_back(name);
        }
    }
    return names;
}

bool FileIdentity::operator==(const FileIdentity& o) const {
    return device == o.device && inode == o.inode && type == o.type && size == o.size &&
           modified.tv_sec == o.modified.tv_sec && modified.tv_nsec == o.modified.tv_nsec &&
           changed.tv_sec == o.changed.tv_sec && changed.tv_nsec == o.changed.tv_nsec;
}

FileIdentity IdentityOf(const struct stat& st) {
    return {st.st_dev, st.st_ino, st.st_mode & S_IFMT, st.st_size, st.st_mtim, st.st_ctim};
}

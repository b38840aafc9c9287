#include "platform/FileReplacement.h"

#include "text/PathText.h"

#include <QtGlobal>
#include <cerrno>
#include <climits>
#include <cstdio>
#include <cstring>
#include <ctime>
#include <dirent.h>
#include <fcntl.h>
#include <fstream>
#include <sys/file.h>
#include <sys/stat.h>

namespace {

constexpr int kMaxLinkHops = 40;
constexpr const char* kTemporaryMark = ".tallymoor-tmp.";
constexpr size_t kNameMax = 255;
constexpr size_t kRandomPart = 6; // mkstemp's XXXXXX

mode_t NewFileMode() {
    // The umask without changing it (umask(2) would, for every thread): /proc tells it.
    static const mode_t mask = [] {
        std::ifstream status("/proc/self/status");
        std::string line;
        while (std::getline(status, line)) {
            if (line.rfind("Umask:", 0) == 0) {
                return static_cast<mode_t>(std::strtoul(line.c_str() + 6, nullptr, 8));
            }
        }
        return static_cast<mode_t>(022);
    }();
    return 0666 & ~mask;
}

} // namespace

std::string SystemReason(int error) {
    return std::strerror(error);
}

ReplaceTarget ResolveReplaceTarget(const std::string& path) {
    ReplaceTarget target;
    target.path = path;
    for (int hops = 0;; ++hops) {
        struct stat st {};
        if (lstat(target.path.c_str(), &st) != 0) {
            if (errno != ENOENT) {
                target.error = SystemReason(errno);
            }
            target.mode = NewFileMode();
            return target;
        }
        if (!S_ISLNK(st.st_mode)) {
            target.exists = true;
            if (S_ISDIR(st.st_mode)) {
                target.error = SystemReason(EISDIR);
            } else if (!S_ISREG(st.st_mode)) {
                target.error = QT_TRANSLATE_NOOP("Remark", "Not a regular file");
            }
            target.mode = st.st_mode & 07777;
            target.owner = st.st_uid;
            target.group = st.st_gid;
            return target;
        }
        if (hops == kMaxLinkHops) {
            target.error = SystemReason(ELOOP);
            return target;
        }
        std::string link(static_cast<size_t>(st.st_size > 0 ? st.st_size : PATH_MAX) + 1, '\0');
        const ssize_t n = readlink(target.path.c_str(), link.data(), link.size());
        if (n < 0 || static_cast<size_t>(n) >= link.size()) {
            target.error = SystemReason(n < 0 ? errno : ENAMETOOLONG);
            return target;
        }
        link.resize(static_cast<size_t>(n));
        target.path = link.front() == '/' ? link : FolderOfPath(target.path) + "/" + link;
    }
}

std::string TemporaryBeside::NamePrefix(const std::string& target) {
    // Short enough that the random part still fits in a name.
    const size_t room = kNameMax - 1 - std::strlen(kTemporaryMark) - kRandomPart;
    return "." + BaseName(target).substr(0, room) + kTemporaryMark;
}

TemporaryBeside::~TemporaryBeside() {
    Discard();
}

void TemporaryBeside::Discard() {
    fd_.Close();
    if (!temporary_.empty()) {
        unlink(temporary_.c_str());
        temporary_.clear();
    }
}

bool TemporaryBeside::Create(const std::string& target) {
    Discard();
    target_ = target;
    std::string name = FolderOfPath(target) + "/" + NamePrefix(target) + "XXXXXX";
    const int fd = mkostemp(name.data(), O_CLOEXEC);
    if (fd < 0) {
        return false;
    }
    fd_.Reset(fd);
    flock(fd, LOCK_EX); // alive: no cleaner may take it
    temporary_ = name;
    return true;
}

bool TemporaryBeside::WriteAll(const char* data, size_t size) {
    while (size > 0) {
        const ssize_t n = write(fd_.Get(), data, size);
        if (n < 0) {
            if (errno == EINTR) {
                continue;
            }
            return false;
        }
        if (n == 0) {
            errno = ENOSPC;
            return false;
        }
        data += n;
        size -= static_cast<size_t>(n);
    }
    return true;
}

bool TemporaryBeside::Commit(const ReplaceTarget& like, const RenameFunction& rename) {
    // The owner and group first: changing them may clear set-id bits of the mode.
    bool done = fd_.Valid() && fdatasync(fd_.Get()) == 0 &&
                (!like.exists || fchown(fd_.Get(), like.owner, like.group) == 0) &&
                fchmod(fd_.Get(), like.mode) == 0;
    int error = errno;
    if (!fd_.Close() && done) {
        done = false;
        error = errno;
    }
    if (done && (rename || like.exists)) {
        if ((rename ? rename : ::rename)(temporary_.c_str(), target_.c_str()) != 0) {
            done = false;
            error = errno;
        }
    } else if (done) {
        done = PublishWithoutReplacing(AT_FDCWD, std::exchange(temporary_, {}), target_);
        error = errno;
    }
    if (done) {
        temporary_.clear();
    } else {
        Discard();
        errno = error;
    }
    return done;
}

bool PublishWithoutReplacing(int folder, const std::string& from, const std::string& to) {
    int error = 0;
    if (renameat2(folder, from.c_str(), folder, to.c_str(), RENAME_NOREPLACE) == 0) {
        return true;
    }
    error = errno;
    if (error == EINVAL || error == ENOSYS || error == EOPNOTSUPP) {
        // No renaming without replacing here: a second name that cannot replace, then the
        // first one dropped.
        if (linkat(folder, from.c_str(), folder, to.c_str(), 0) == 0) {
            unlinkat(folder, from.c_str(), 0);
            return true;
        }
        error = errno;
        if (error == EPERM || error == EOPNOTSUPP || error == EMLINK) {
            // Not even links: the name is claimed with an empty file of our own, which is all
            // the rename then replaces.
            UniqueFd claim(openat(folder, to.c_str(),
                                  O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, 0600));
            error = !claim ? errno : 0;
            if (claim && renameat(folder, from.c_str(), folder, to.c_str()) == 0) {
                return true;
            }
            if (claim) {
                error = errno;
                unlinkat(folder, to.c_str(), 0);
            }
        }
    }
    unlinkat(folder, from.c_str(), 0);
    errno = error;
    return false;
}

bool IsTemporaryName(std::string_view name) {
    const size_t mark = std::strlen(kTemporaryMark);
    return name.size() > 1 + mark + kRandomPart && name.front() == '.' &&
           name.substr(name.size() - kRandomPart - mark, mark) == kTemporaryMark;
}

void RemoveStaleTemporaries(int folder, const std::vector<std::string>& names, time_t now) {
    for (const std::string& name : names) {
        struct stat there {};
        if (!IsTemporaryName(name) ||
            fstatat(folder, name.c_str(), &there, AT_SYMLINK_NOFOLLOW) != 0 ||
            there.st_ctime >= now - 60) {
            continue;
        }
        if (S_ISLNK(there.st_mode)) {
            unlinkat(folder, name.c_str(), 0);
            continue;
        }
        const UniqueFd fd(
            openat(folder, name.c_str(), O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC));
        struct stat held {};
        // Locked by its writer until the moment it is named; the one opened is the one named.
        if (fd && fstat(fd.Get(), &held) == 0 && S_ISREG(held.st_mode) &&
            flock(fd.Get(), LOCK_EX | LOCK_NB) == 0 &&
            fstatat(folder, name.c_str(), &there, AT_SYMLINK_NOFOLLOW) == 0 &&
            there.st_dev == held.st_dev && there.st_ino == held.st_ino) {
            unlinkat(folder, name.c_str(), 0);
        }
    }
}

int RemoveLeftoverTemporaries(const std::string& target) {
    const std::string prefix = TemporaryBeside::NamePrefix(target);
    UniqueFd folder(open(FolderOfPath(target).c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    if (!folder) {
        return 0;
    }
    const DirStream dir = OpenDirStream(UniqueFd(fcntl(folder.Get(), F_DUPFD_CLOEXEC, 0)));
    if (!dir) {
        return 0;
    }
    int removed = 0;
    while (const dirent* entry = readdir(dir.get())) {
        const std::string name = entry->d_name;
        struct stat st {};
        if (name.size() == prefix.size() + kRandomPart &&
            name.compare(0, prefix.size(), prefix) == 0 &&
            fstatat(folder.Get(), entry->d_name, &st, AT_SYMLINK_NOFOLLOW) == 0 &&
            S_ISREG(st.st_mode) && unlinkat(folder.Get(), entry->d_name, 0) == 0) {
            ++removed;
        }
    }
    return removed;
}

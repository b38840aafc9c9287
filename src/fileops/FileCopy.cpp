#include "fileops/FileCopy.h"

#include "platform/CancelFlag.h"
#include "platform/FileReplacement.h"
#include "platform/Progress.h"
#include "platform/UniqueFd.h"
#include "search/PathText.h"
#include "search/SearchStatus.h"

#include <QCoreApplication>
#include <cerrno>
#include <climits>
#include <cstdio>
#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

constexpr size_t kChunk = 1 << 20;
constexpr int kDirectoryFlags = O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC;

CopyOutcome Outcome(CopyResult result, int error) {
    return {result, error, SystemReason(error)};
}

bool SameFile(const struct stat& a, const struct stat& b) {
    return a.st_dev == b.st_dev && a.st_ino == b.st_ino;
}

// Takes back a target this copy created, only while its name still leads to that file.
void RemoveCreated(int dir, const std::string& name, const struct stat& created) {
    struct stat now {};
    if (fstatat(dir, name.c_str(), &now, AT_SYMLINK_NOFOLLOW) == 0 && SameFile(now, created)) {
        unlinkat(dir, name.c_str(), 0);
    }
}

bool WriteAll(int fd, const char* data, size_t size) {
    while (size > 0) {
        const ssize_t n = write(fd, data, size);
        if (n < 0 && errno == EINTR) {
            continue;
        }
        if (n <= 0) {
            if (n == 0) {
                errno = EIO;
            }
            return false;
        }
        data += n;
        size -= static_cast<size_t>(n);
    }
    return true;
}

// Copies what `in` holds to `out`; the error number, ECANCELED on cancel, 0 when done.
int CopyData(int in, int out, int64_t size, std::string_view target, const CancelFlag& cancel,
             const CopyProgress& progress, const CopyFaults* faults) {
    int64_t done = 0;
    // A file that reports no size (as under /proc) is read to its end instead.
    bool ranges = size > 0;
    std::vector<char> buffer;
    for (;;) {
        if (faults && faults->write) {
            if (const int error = faults->write(target, done)) {
                return error;
            }
        }
        if (cancel.IsRaised()) {
            return ECANCELED;
        }
        ssize_t n = 0;
        if (ranges) {
            n = copy_file_range(in, nullptr, out, nullptr, 4 * kChunk, 0);
            if (n < 0 &&
                (errno == EXDEV || errno == EINVAL || errno == ENOSYS || errno == EOPNOTSUPP)) {
                ranges = false; // not between these file systems: reads and writes go on
                continue;
            }
        } else {
            buffer.resize(kChunk);
            n = read(in, buffer.data(), buffer.size());
            if (n > 0 && !WriteAll(out, buffer.data(), static_cast<size_t>(n))) {
                return errno;
            }
        }
        if (n < 0) {
            if (errno == EINTR) {
                continue;
            }
            return errno;
        }
        if (n == 0) {
            return 0;
        }
        done += n;
        if (progress.advanced) {
            progress.advanced(done);
        }
    }
}

// The entries of a folder, "." and ".." left out. Read through a descriptor of its own: a
// duplicate would share (and leave at the end) the folder's reading position.
std::vector<std::string> Names(int folder) {
    std::vector<std::string> names;
    const int fd = openat(folder, ".", O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    DIR* dir = fd >= 0 ? fdopendir(fd) : nullptr;
    if (dir == nullptr) {
        if (fd >= 0) {
            close(fd);
        }
        return names;
    }
    while (const dirent* e = readdir(dir)) {
        const std::string_view name = e->d_name;
        if (name != "." && name != "..") {
            names.emplace_back(name);
        }
    }
    closedir(dir);
    return names;
}

// The bytes of the regular files below a folder, for the progress bar.
int64_t TreeBytes(int folder) {
    int64_t bytes = 0;
    for (const std::string& name : Names(folder)) {
        struct stat st {};
        if (fstatat(folder, name.c_str(), &st, AT_SYMLINK_NOFOLLOW) != 0) {
            continue;
        }
        if (S_ISREG(st.st_mode)) {
            bytes += st.st_size;
        } else if (S_ISDIR(st.st_mode)) {
            if (const UniqueFd child(openat(folder, name.c_str(), kDirectoryFlags)); child) {
                bytes += TreeBytes(child.Get());
            }
        }
    }
    return bytes;
}

class TreeCopier {
public:
    explicit TreeCopier(TreeCopyContext& context) : c_(context) {}

    TreeOutcome Run(const std::string& source, const std::string& target, bool contentsOnly) {
        const UniqueFd from(open(source.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
        if (!from) {
            Problem(source, QT_TRANSLATE_NOOP("Remark", "source file not found"),
                    SystemReason(errno));
            return out_;
        }
        if (c_.progress) {
            const int64_t total = TreeBytes(from.Get());
            while ((total >> shift_) > INT_MAX) {
                ++shift_; // the bar counts in larger units past 2 GiB
            }
            c_.progress->Setup(0, static_cast<int>(total >> shift_), 0);
        }
        if (contentsOnly) {
            const UniqueFd into(open(target.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
            if (!into) {
                Problem(target, QT_TRANSLATE_NOOP("Remark", "folder not opened"),
                        SystemReason(errno));
                return out_;
            }
            Children(from.Get(), source, into.Get(), target);
        } else {
            const UniqueFd sourceParent(
                open(FolderOfPath(source).c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
            const UniqueFd targetParent(
                open(FolderOfPath(target).c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
            if (!sourceParent || !targetParent) {
                Problem(source, QT_TRANSLATE_NOOP("Remark", "folder not opened"),
                        SystemReason(errno));
                return out_;
            }
            Entry(sourceParent.Get(), BaseName(source), source, targetParent.Get(),
                  BaseName(target), target);
        }
        return out_;
    }

private:
    bool Stopped() {
        if (!out_.cancelled && c_.cancel.IsRaised()) {
            out_.cancelled = true;
        }
        return out_.cancelled;
    }

    void Problem(const std::string& path, const std::string& remark, const std::string& reason) {
        out_.problems.push_back({out_.problems.size(), path, 0, remark, {}, reason});
    }

    // A name already at the target: false when the item is not to be copied.
    bool MayReplace(const std::string& existing, const std::string& source) {
        ConflictAnswer answer;
        if (haveAnswerForAll_) {
            answer = answerForAll_;
        } else if (!c_.conflict) {
            Problem(source, QT_TRANSLATE_NOOP("Remark", "duplicate file"), SystemReason(EEXIST));
            return false;
        } else {
            answer = c_.conflict(existing, source);
            haveAnswerForAll_ = answer.forAll;
            answerForAll_ = answer;
        }
        switch (answer.choice) {
        case ConflictChoice::Skip:
            return false;
        case ConflictChoice::Cancel:
            out_.cancelled = true;
            return false;
        case ConflictChoice::Replace:
            break;
        }
        const std::string refused =
            c_.trash ? c_.trash(existing) : QT_TRANSLATE_NOOP("Remark", "no trash");
        if (!refused.empty()) {
            Problem(source, QT_TRANSLATE_NOOP("Remark", "not replaced"), refused);
            return false;
        }
        return true;
    }

    void Children(int from, const std::string& sourcePath, int into,
                  const std::string& targetPath) {
        for (const std::string& name : Names(from)) {
            if (Stopped()) {
                return;
            }
            Entry(from, name, JoinPath(sourcePath, name), into, name, JoinPath(targetPath, name));
        }
    }

    void Entry(int sourceDir, const std::string& name, const std::string& sourcePath, int targetDir,
               const std::string& targetName, const std::string& targetPath) {
        struct stat st {};
        if (fstatat(sourceDir, name.c_str(), &st, AT_SYMLINK_NOFOLLOW) != 0) {
            Problem(sourcePath, QT_TRANSLATE_NOOP("Remark", "source file not found"),
                    SystemReason(errno));
            return;
        }
        struct stat there {};
        bool exists = fstatat(targetDir, targetName.c_str(), &there, AT_SYMLINK_NOFOLLOW) == 0;
        if (exists && SameFile(st, there)) {
            Problem(sourcePath, QT_TRANSLATE_NOOP("Remark", "duplicate file"),
                    QT_TRANSLATE_NOOP("Remark", "it is the item itself"));
            return;
        }
        if (exists && !(S_ISDIR(st.st_mode) && S_ISDIR(there.st_mode))) {
            if (!MayReplace(targetPath, sourcePath)) {
                return;
            }
            exists = false;
        }
        if (S_ISDIR(st.st_mode)) {
            Folder(sourceDir, name, sourcePath, st, targetDir, targetName, targetPath, !exists);
        } else if (S_ISLNK(st.st_mode)) {
            Link(sourceDir, name, sourcePath, st, targetDir, targetName);
        } else if (S_ISREG(st.st_mode)) {
            File(sourceDir, name, sourcePath, st, targetDir, targetName, targetPath);
        } else {
            Problem(sourcePath, QT_TRANSLATE_NOOP("Remark", "special file not copied"),
                    QT_TRANSLATE_NOOP("Remark", "not a regular file"));
        }
    }

    void Folder(int sourceDir, const std::string& name, const std::string& sourcePath,
                const struct stat& st, int targetDir, const std::string& targetName,
                const std::string& targetPath, bool make) {
        // Made writable for the copy; it takes the source's permissions once filled.
        if (make && mkdirat(targetDir, targetName.c_str(), 0700) != 0) {
            Problem(sourcePath,
                    errno == EEXIST ? QT_TRANSLATE_NOOP("Remark", "duplicate file")
                                    : std::to_string(errno),
                    SystemReason(errno));
            return;
        }
        const UniqueFd from(openat(sourceDir, name.c_str(), kDirectoryFlags));
        const UniqueFd into(openat(targetDir, targetName.c_str(), kDirectoryFlags));
        if (!from || !into) {
            Problem(sourcePath, std::to_string(errno), SystemReason(errno));
            if (make && !into) {
                unlinkat(targetDir, targetName.c_str(), AT_REMOVEDIR);
            }
            return;
        }
        Children(from.Get(), sourcePath, into.Get(), targetPath);
        if (make) {
            fchmod(into.Get(), st.st_mode & 07777);
            const timespec times[2] = {st.st_atim, st.st_mtim};
            futimens(into.Get(), times);
        }
    }

    void Link(int sourceDir, const std::string& name, const std::string& sourcePath,
              const struct stat& st, int targetDir, const std::string& targetName) {
        std::string to(static_cast<size_t>(st.st_size) + 1, '\0');
        const ssize_t n = readlinkat(sourceDir, name.c_str(), to.data(), to.size());
        if (n < 0 || static_cast<size_t>(n) >= to.size()) {
            Problem(sourcePath, std::to_string(n < 0 ? errno : ENAMETOOLONG),
                    SystemReason(n < 0 ? errno : ENAMETOOLONG));
            return;
        }
        to.resize(static_cast<size_t>(n));
        if (symlinkat(to.c_str(), targetDir, targetName.c_str()) != 0) {
            Problem(sourcePath,
                    errno == EEXIST ? QT_TRANSLATE_NOOP("Remark", "duplicate file")
                                    : std::to_string(errno),
                    SystemReason(errno));
            return;
        }
        const timespec times[2] = {st.st_atim, st.st_mtim};
        utimensat(targetDir, targetName.c_str(), times, AT_SYMLINK_NOFOLLOW);
        ++out_.files;
    }

    void File(int sourceDir, const std::string& name, const std::string& sourcePath,
              const struct stat& st, int targetDir, const std::string& targetName,
              const std::string& targetPath) {
        if (c_.progress) {
            c_.progress->SetMessage(QCoreApplication::translate("FileCommands", "Copying %1")
                                        .arg(DisplayPath(sourcePath)));
        }
        const CopyProgress progress{{}, [this](int64_t done) {
                                        if (c_.progress) {
                                            c_.progress->UpdateDirect(
                                                static_cast<int>((bytesDone_ + done) >> shift_));
                                        }
                                    }};
        const CopyOutcome copy =
            CopyOneFile(sourceDir, name, targetDir, targetName, c_.cancel, progress, c_.faults);
        switch (copy.result) {
        case CopyResult::Copied:
            ++out_.files;
            bytesDone_ += st.st_size;
            break;
        case CopyResult::TargetExists:
            Problem(sourcePath, QT_TRANSLATE_NOOP("Remark", "duplicate file"), copy.reason);
            out_.problems.back().remarkDate = targetPath;
            break;
        case CopyResult::SourceMissing:
            Problem(sourcePath, QT_TRANSLATE_NOOP("Remark", "source file not found"), copy.reason);
            break;
        case CopyResult::Cancelled:
            out_.cancelled = true;
            break;
        case CopyResult::Failed:
            Problem(sourcePath, std::to_string(copy.error), copy.reason);
            out_.problems.back().remarkDate = targetPath;
            break;
        }
        if (c_.yield) {
            c_.yield();
        }
    }

    TreeCopyContext& c_;
    TreeOutcome out_;
    int shift_ = 0;
    int64_t bytesDone_ = 0;
    bool haveAnswerForAll_ = false;
    ConflictAnswer answerForAll_;
};

// Whether the entry `name` of `source` has its counterpart in `target`: a folder for a folder,
// a link for a link, a file of the same size for a file.
bool Arrived(int source, int target, const std::string& name, struct stat& from) {
    struct stat to {};
    return fstatat(source, name.c_str(), &from, AT_SYMLINK_NOFOLLOW) == 0 &&
           fstatat(target, name.c_str(), &to, AT_SYMLINK_NOFOLLOW) == 0 &&
           (from.st_mode & S_IFMT) == (to.st_mode & S_IFMT) &&
           (!S_ISREG(from.st_mode) || from.st_size == to.st_size);
}

// Whether everything below `source` has arrived below `target`: what a move checks before it
// removes anything of its source.
bool AllArrived(int source, int target) {
    for (const std::string& name : Names(source)) {
        struct stat from {};
        if (!Arrived(source, target, name, from)) {
            return false;
        }
        if (S_ISDIR(from.st_mode)) {
            const UniqueFd a(openat(source, name.c_str(), kDirectoryFlags));
            const UniqueFd b(openat(target, name.c_str(), kDirectoryFlags));
            if (!a || !b || !AllArrived(a.Get(), b.Get())) {
                return false;
            }
        }
    }
    return true;
}

// Removes what a move copied from below `source`, entry by entry, each only while its
// counterpart is below `target`: what appeared or changed meanwhile stays, and is listed.
void RemoveArrived(int source, int target, const std::string& path,
                   std::vector<SkippedItem>& problems) {
    for (const std::string& name : Names(source)) {
        const std::string child = JoinPath(path, name);
        struct stat from {};
        int error = 0;
        if (!Arrived(source, target, name, from)) {
            problems.push_back({problems.size(),
                                child,
                                0,
                                QT_TRANSLATE_NOOP("Remark", "not removed"),
                                {},
                                QT_TRANSLATE_NOOP("Remark", "it changed while it was moved")});
            continue;
        }
        if (S_ISDIR(from.st_mode)) {
            const UniqueFd a(openat(source, name.c_str(), kDirectoryFlags));
            const UniqueFd b(openat(target, name.c_str(), kDirectoryFlags));
            const size_t before = problems.size();
            if (a && b) {
                RemoveArrived(a.Get(), b.Get(), child, problems);
            }
            if (unlinkat(source, name.c_str(), AT_REMOVEDIR) != 0 && problems.size() == before) {
                error = errno;
            }
        } else if (unlinkat(source, name.c_str(), 0) != 0) {
            error = errno;
        }
        if (error != 0) {
            problems.push_back({problems.size(),
                                child,
                                0,
                                QT_TRANSLATE_NOOP("Remark", "not removed"),
                                {},
                                SystemReason(error)});
        }
    }
}

void RemoveEntry(int dir, const std::string& name, const std::string& path,
                 std::vector<SkippedItem>& problems) {
    if (unlinkat(dir, name.c_str(), 0) == 0) {
        return;
    }
    int error = errno;
    if (error == EISDIR) {
        const size_t before = problems.size();
        if (const UniqueFd folder(openat(dir, name.c_str(), kDirectoryFlags)); folder) {
            for (const std::string& child : Names(folder.Get())) {
                RemoveEntry(folder.Get(), child, JoinPath(path, child), problems);
            }
        }
        if (unlinkat(dir, name.c_str(), AT_REMOVEDIR) == 0) {
            return;
        }
        error = errno;
        if (problems.size() > before) {
            return; // what stayed inside is listed already
        }
    }
    problems.push_back({problems.size(),
                        path,
                        0,
                        QT_TRANSLATE_NOOP("Remark", "not removed"),
                        {},
                        SystemReason(error)});
}

} // namespace

std::string JoinPath(const std::string& folder, const std::string& name) {
    return !folder.empty() && folder.back() == '/' ? folder + name : folder + "/" + name;
}

std::string BaseName(const std::string& path) {
    const size_t slash = path.rfind('/');
    return slash == std::string::npos ? path : path.substr(slash + 1);
}

CopyOutcome CopyOneFile(int sourceDir, const std::string& source, int targetDir,
                        const std::string& target, const CancelFlag& cancel,
                        const CopyProgress& progress, const CopyFaults* faults) {
    // Not blocking, so that a FIFO that looks like a file cannot stop the copy on its open.
    const UniqueFd in(
        openat(sourceDir, source.c_str(), O_RDONLY | O_NONBLOCK | O_NOCTTY | O_CLOEXEC));
    if (!in) {
        const int error = errno;
        struct stat st {};
        const bool gone = fstatat(sourceDir, source.c_str(), &st, AT_SYMLINK_NOFOLLOW) != 0;
        return Outcome(gone ? CopyResult::SourceMissing : CopyResult::Failed, error);
    }
    struct stat from {};
    if (fstat(in.Get(), &from) != 0) {
        return Outcome(CopyResult::Failed, errno);
    }
    if (!S_ISREG(from.st_mode)) {
        CopyOutcome outcome = Outcome(CopyResult::Failed, S_ISDIR(from.st_mode) ? EISDIR : EINVAL);
        if (!S_ISDIR(from.st_mode)) {
            outcome.reason = QT_TRANSLATE_NOOP("Remark", "not a regular file");
        }
        return outcome;
    }
    UniqueFd out(openat(targetDir, target.c_str(),
                        O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, from.st_mode & 0777));
    if (!out) {
        const int error = errno;
        return Outcome(error == EEXIST ? CopyResult::TargetExists : CopyResult::Failed, error);
    }
    struct stat created {};
    fstat(out.Get(), &created);
    if (progress.started) {
        progress.started(from.st_size);
    }
    int error = CopyData(in.Get(), out.Get(), from.st_size, target, cancel, progress, faults);
    if (error == 0) {
        // A file system that keeps no such times still holds the data: not a failure.
        const timespec times[2] = {from.st_atim, from.st_mtim};
        futimens(out.Get(), times);
        if (!out.Close()) {
            error = errno;
        }
    }
    if (error != 0) {
        out.Close();
        RemoveCreated(targetDir, target, created);
        return Outcome(error == ECANCELED && cancel.IsRaised() ? CopyResult::Cancelled
                                                               : CopyResult::Failed,
                       error);
    }
    return {CopyResult::Copied, 0, {}};
}

TreeOutcome CopyTree(const std::string& source, const std::string& target, bool contentsOnly,
                     TreeCopyContext& context) {
    return TreeCopier(context).Run(source, target, contentsOnly);
}

bool IsSameOrInside(const std::string& folder, const std::string& other) {
    struct stat goal {};
    if (stat(other.c_str(), &goal) != 0) {
        return false;
    }
    UniqueFd here(open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    for (int depth = 0; here && depth < 100000; ++depth) {
        struct stat st {};
        if (fstat(here.Get(), &st) != 0) {
            return false;
        }
        if (SameFile(st, goal)) {
            return true;
        }
        UniqueFd up(openat(here.Get(), "..", O_RDONLY | O_DIRECTORY | O_CLOEXEC));
        struct stat above {};
        if (!up || fstat(up.Get(), &above) != 0 || SameFile(above, st)) {
            return false; // the root
        }
        here = std::move(up);
    }
    return false;
}

MoveOutcome MoveTree(const std::string& source, const std::string& target,
                     TreeCopyContext& context) {
    struct stat there {};
    if (lstat(target.c_str(), &there) == 0) {
        return {
            MoveResult::Refused,
            FillIn(QCoreApplication::translate("Remark", "something named ' %1 ' is already there")
                       .toStdString(),
                   {BaseName(target)}),
            {}};
    }
    if (IsSameOrInside(FolderOfPath(target), source)) {
        return {MoveResult::Refused,
                QT_TRANSLATE_NOOP("Remark", "a folder cannot be moved into itself"),
                {}};
    }
    const int injected = context.faults && context.faults->rename ? context.faults->rename() : 0;
    int error = injected;
    if (error == 0) {
        error = renameat2(AT_FDCWD, source.c_str(), AT_FDCWD, target.c_str(), RENAME_NOREPLACE) == 0
                    ? 0
                    : errno;
    }
    bool claimed = false;
    if (error == EINVAL || error == ENOSYS) {
        // No renaming without replacing here: the name is claimed with an empty folder of our
        // own, and only that is replaced.
        if (mkdir(target.c_str(), 0700) != 0) {
            return {errno == EEXIST ? MoveResult::Refused : MoveResult::Failed,
                    SystemReason(errno),
                    {}};
        }
        claimed = true;
        error = rename(source.c_str(), target.c_str()) == 0 ? 0 : errno;
    }
    if (error == 0) {
        return {MoveResult::Moved, {}, {}};
    }
    if (error != EXDEV) {
        if (claimed) {
            rmdir(target.c_str());
        }
        return {
            error == EEXIST ? MoveResult::Refused : MoveResult::Failed, SystemReason(error), {}};
    }
    // Another file system: a copy first, into a folder of our own.
    if (!claimed && mkdir(target.c_str(), 0700) != 0) {
        return {
            errno == EEXIST ? MoveResult::Refused : MoveResult::Failed, SystemReason(errno), {}};
    }
    TreeCopyContext copying = context;
    copying.conflict = nullptr;
    const TreeOutcome copied = CopyTree(source, target, true, copying);
    const UniqueFd from(open(source.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    const UniqueFd into(open(target.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    if (!copied.Complete() || !from || !into || !AllArrived(from.Get(), into.Get())) {
        RemoveTree(target);
        return {copied.cancelled ? MoveResult::Cancelled : MoveResult::Failed,
                QT_TRANSLATE_NOOP("Remark", "not every item could be copied"), copied.problems};
    }
    struct stat st {};
    if (fstat(from.Get(), &st) == 0) {
        fchmod(into.Get(), st.st_mode & 07777);
        const timespec times[2] = {st.st_atim, st.st_mtim};
        futimens(into.Get(), times);
    }
    // Everything arrived: only now does the source go, each entry only while its copy is there.
    MoveOutcome moved{MoveResult::Moved, {}, {}};
    RemoveArrived(from.Get(), into.Get(), source, moved.problems);
    if (moved.problems.empty() && rmdir(source.c_str()) != 0) {
        moved.problems.push_back(
            {0, source, 0, QT_TRANSLATE_NOOP("Remark", "not removed"), {}, SystemReason(errno)});
    }
    return moved;
}

std::vector<SkippedItem> RemoveTree(const std::string& path) {
    std::vector<SkippedItem> problems;
    const UniqueFd parent(open(FolderOfPath(path).c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    if (!parent) {
        problems.push_back(
            {0, path, 0, QT_TRANSLATE_NOOP("Remark", "not removed"), {}, SystemReason(errno)});
        return problems;
    }
    RemoveEntry(parent.Get(), BaseName(path), path, problems);
    return problems;
}

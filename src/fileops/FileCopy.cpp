#include "fileops/FileCopy.h"

#include "platform/CancelFlag.h"
#include "platform/FileReplacement.h"
#include "platform/OpenFileGuard.h"
#include "platform/Progress.h"
#include "platform/UniqueFd.h"
#include "text/DisplayText.h"
#include "text/PathText.h"

#include <QCoreApplication>
#include <cerrno>
#include <climits>
#include <cstdio>
#include <dirent.h>
#include <fcntl.h>
#include <map>
#include <optional>
#include <random>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

constexpr size_t kChunk = 1 << 20;
constexpr int kFolderFlags = O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC;
constexpr const char* kChanged = QT_TRANSLATE_NOOP("Remark", "source changed during copy");
constexpr const char* kInUse = QT_TRANSLATE_NOOP("Remark", "file in use");
constexpr const char* kWriterHasIt =
    QT_TRANSLATE_NOOP("Remark", "another program has it open for writing");
constexpr const char* kNotOnDisk = QT_TRANSLATE_NOOP("Remark", "not a regular file on disk");

CopyOutcome Result(Outcome what, const std::string& source, int error) {
    return {FileOutcome::Of(what, source, error), {}};
}

bool SameFile(const struct stat& a, const struct stat& b) {
    return a.st_dev == b.st_dev && a.st_ino == b.st_ino;
}

// A hidden name beside `name` that nothing else uses: ".name.tallymoor-tmp.XXXXXX".
std::string TemporaryName(const std::string& name) {
    static constexpr char kLetters[] =
        "abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789";
    thread_local std::mt19937 random{std::random_device{}()};
    std::string temporary = TemporaryBeside::NamePrefix(name);
    for (int i = 0; i < 6; ++i) {
        temporary += kLetters[random() % (sizeof kLetters - 1)];
    }
    return temporary;
}

// Whether a file written unnamed can be named later: through /proc, as any user may.
bool CanNameUnnamedFiles() {
    static const bool can = access("/proc/self/fd", X_OK) == 0;
    return can;
}

// A new file in a folder that gets its name only when whole: unnamed (O_TMPFILE) where the file
// system has such files, else under a hidden temporary name. Unless published it goes again.
class NewFile {
public:
    NewFile(int folder, std::string name) : folder_(folder), name_(std::move(name)) {}
    ~NewFile() {
        fd_.Close();
        if (!temporary_.empty()) {
            unlinkat(folder_, temporary_.c_str(), 0);
        }
    }
    NewFile(const NewFile&) = delete;
    NewFile& operator=(const NewFile&) = delete;

    bool Create(mode_t mode, bool unnamed) {
        if (unnamed && CanNameUnnamedFiles()) {
            fd_.Reset(openat(folder_, ".", O_TMPFILE | O_WRONLY | O_CLOEXEC, mode));
            if (fd_ || (errno != EOPNOTSUPP && errno != EISDIR && errno != EINVAL)) {
                return fd_.Valid();
            }
        }
        for (int attempt = 0; attempt < 100; ++attempt) {
            const std::string name = TemporaryName(name_);
            fd_.Reset(openat(folder_, name.c_str(),
                             O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, mode));
            if (fd_) {
                temporary_ = name;
                flock(fd_.Get(), LOCK_EX); // alive: no cleaner may take it
                return true;
            }
            if (errno != EEXIST) {
                return false;
            }
        }
        return false;
    }

    int Fd() const { return fd_.Get(); }

    // Syncs the file and gives it its name; false with errno (EEXIST: the name is taken).
    bool Publish() {
        if (fsync(fd_.Get()) != 0) {
            return false;
        }
        if (temporary_.empty()) {
            const std::string self = "/proc/self/fd/" + std::to_string(fd_.Get());
            return linkat(AT_FDCWD, self.c_str(), folder_, name_.c_str(), AT_SYMLINK_FOLLOW) == 0 &&
                   fd_.Close();
        }
        if (!fd_.Close()) {
            return false;
        }
        return PublishWithoutReplacing(folder_, std::exchange(temporary_, {}), name_);
    }

private:
    int folder_;
    std::string name_;
    std::string temporary_;
    UniqueFd fd_;
};

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

// Copies what `in` holds to `out`, the bytes counted into `done`; the error number, ECANCELED
// on cancel, 0 when done.
int CopyData(int in, int out, int64_t size, std::string_view target, const CancelFlag& cancel,
             const ReadLease& lease, const CopyProgress& progress, const CopyFaults* faults,
             int64_t& done) {
    // A file that reports no size (as under /proc) is read to its end instead.
    bool ranges = size > 0 && !(faults && faults->noRangeCopies);
    std::vector<char> buffer;
    for (;;) {
        if (faults && faults->write) {
            if (const int error = faults->write(target, done)) {
                return error < 0 ? 0 : error;
            }
        }
        if (cancel.IsRaised()) {
            return ECANCELED;
        }
        if (lease.InUse()) {
            return ETXTBSY; // a writer came: what is read now may be torn
        }
        ssize_t n = 0;
        if (ranges) {
            n = copy_file_range(in, nullptr, out, nullptr, 4 * kChunk, 0);
            if (n < 0 &&
                (errno == EXDEV || errno == EINVAL || errno == ENOSYS || errno == EOPNOTSUPP)) {
                ranges = false; // not between these file systems: reads and writes go on
                continue;
            }
            if (n == 0) {
                ranges = false; // some file systems end a range copy early: a read tells
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

// A link copied as a link: made under a hidden name, given the source's times, then named.
CopyOutcome CopyLink(int sourceDir, const std::string& source, const struct stat& st, int targetDir,
                     const std::string& target) {
    std::string to(static_cast<size_t>(st.st_size) + 1, '\0');
    const ssize_t n = readlinkat(sourceDir, source.c_str(), to.data(), to.size());
    if (n < 0 || static_cast<size_t>(n) >= to.size()) {
        return n < 0 && errno == ENOENT
                   ? Result(Outcome::SourceMissing, source, ENOENT)
                   : CopyOutcome{{Outcome::SourceChanged, 0, source, kChanged}, {}};
    }
    to.resize(static_cast<size_t>(n));
    std::string temporary;
    for (int attempt = 0; temporary.empty() && attempt < 100; ++attempt) {
        temporary = TemporaryName(target);
        if (symlinkat(to.c_str(), targetDir, temporary.c_str()) != 0) {
            if (errno != EEXIST) {
                return Result(Outcome::Failed, source, errno);
            }
            temporary.clear();
        }
    }
    const timespec times[2] = {st.st_atim, st.st_mtim};
    utimensat(targetDir, temporary.c_str(), times, AT_SYMLINK_NOFOLLOW);
    if (!PublishWithoutReplacing(targetDir, temporary, target)) {
        return Result(errno == EEXIST ? Outcome::TargetExists : Outcome::Failed, source, errno);
    }
    return {FileOutcome::Ok(source), IdentityOf(st)};
}

// The bytes of the regular files below a folder, for the progress bar.
int64_t TreeBytes(int folder) {
    int64_t bytes = 0;
    for (const std::string& name : FolderNames(folder)) {
        struct stat st {};
        if (fstatat(folder, name.c_str(), &st, AT_SYMLINK_NOFOLLOW) != 0) {
            continue;
        }
        if (S_ISREG(st.st_mode)) {
            bytes += st.st_size;
        } else if (S_ISDIR(st.st_mode)) {
            if (const UniqueFd child(openat(folder, name.c_str(), kFolderFlags)); child) {
                bytes += TreeBytes(child.Get());
            }
        }
    }
    return bytes;
}

SkippedItem NotRemoved(size_t slot, const std::string& path, const std::string& reason) {
    return SkippedItem::Refused(slot, path, QT_TRANSLATE_NOOP("Remark", "not removed"), reason);
}

// Removes the entry `name` of `dir` with all it holds, without following links.
void RemoveEntry(int dir, const std::string& name, const std::string& path,
                 std::vector<SkippedItem>& problems) {
    if (unlinkat(dir, name.c_str(), 0) == 0) {
        return;
    }
    int error = errno;
    if (error == EISDIR) {
        const size_t before = problems.size();
        if (const UniqueFd folder(openat(dir, name.c_str(), kFolderFlags)); folder) {
            for (const std::string& child : FolderNames(folder.Get())) {
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
    problems.push_back(NotRemoved(problems.size(), path, SystemReason(error)));
}

class TreeCopier {
public:
    explicit TreeCopier(TreeCopyContext& context) : c_(context) {}

    // The entries of the folder `from` into the folder `into`.
    TreeOutcome Contents(int from, const std::string& source, int into, const std::string& target) {
        SetUpProgress(from);
        RemoveStaleTemporaries(into, FolderNames(into), CleanerClock(c_.faults));
        Children(from, source, into, target);
        return std::move(out_);
    }

    // The entry `name` of the folder `from` as `targetName` in `into`.
    TreeOutcome Item(int from, const std::string& name, const std::string& source, int into,
                     const std::string& targetName, const std::string& target) {
        if (const UniqueFd folder(openat(from, name.c_str(), kFolderFlags)); folder) {
            SetUpProgress(folder.Get());
        }
        Entry(from, name, source, into, targetName, target);
        return std::move(out_);
    }

private:
    void SetUpProgress(int folder) {
        if (c_.progress) {
            const int64_t total = TreeBytes(folder);
            while ((total >> shift_) > INT_MAX) {
                ++shift_; // the bar counts in larger units past 2 GiB
            }
            c_.progress->Setup(0, static_cast<int>(total >> shift_), 0);
        }
    }

    bool Stopped() {
        if (!out_.cancelled && c_.cancel.IsRaised()) {
            out_.cancelled = true;
        }
        return out_.cancelled;
    }

    void Failed(const std::string& path, int error, const std::string& target = {}) {
        out_.problems.push_back(SkippedItem::Failure(out_.problems.size(), path, error, target));
    }

    void Problem(const std::string& path, const std::string& remark, const std::string& reason) {
        out_.problems.push_back(SkippedItem::Refused(out_.problems.size(), path, remark, reason));
    }

    // A name already at the target: false when the item is not to be copied.
    bool MayReplace(const std::string& existing, const std::string& source) {
        ConflictAnswer answer;
        if (haveAnswerForAll_) {
            answer = answerForAll_;
        } else if (!c_.conflict) {
            out_.problems.push_back(NotCopied(
                out_.problems.size(), {FileOutcome::Of(Outcome::TargetExists, source, EEXIST), {}},
                source, existing));
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
        const FileOutcome trashed =
            c_.trash ? c_.trash(existing)
                     : FileOutcome::Refusal(existing, QT_TRANSLATE_NOOP("Remark", "no trash"));
        if (!trashed.Done()) {
            Problem(source, QT_TRANSLATE_NOOP("Remark", "not replaced"), trashed.reason);
            out_.problems.back().error = trashed.error;
            return false;
        }
        return true;
    }

    void Children(int from, const std::string& sourcePath, int into,
                  const std::string& targetPath) {
        for (const std::string& name : FolderNames(from)) {
            if (Stopped()) {
                return;
            }
            Entry(from, name, JoinPath(sourcePath, name), into, name, JoinPath(targetPath, name));
        }
    }

    void Entry(int sourceDir, const std::string& name, const std::string& sourcePath, int targetDir,
               const std::string& targetName, const std::string& targetPath) {
        if (c_.working) {
            c_.working(sourcePath);
        }
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
        } else if (S_ISLNK(st.st_mode) || S_ISREG(st.st_mode)) {
            File(sourceDir, name, sourcePath, st, targetDir, targetName, targetPath);
        } else {
            Problem(sourcePath, QT_TRANSLATE_NOOP("Remark", "special file not copied"),
                    QT_TRANSLATE_NOOP("Remark", "not a regular file"));
        }
    }

    void Folder(int sourceDir, const std::string& name, const std::string& sourcePath,
                const struct stat& st, int targetDir, const std::string& targetName,
                const std::string& targetPath, bool make) {
        // The source is opened first: a folder that cannot be read gets no empty copy.
        const UniqueFd from(openat(sourceDir, name.c_str(), kFolderFlags));
        if (!from) {
            Failed(sourcePath, errno);
            return;
        }
        // Made writable for the copy; it takes the source's permissions once filled.
        if (make && mkdirat(targetDir, targetName.c_str(), 0700) != 0) {
            if (errno == EEXIST) {
                Problem(sourcePath, QT_TRANSLATE_NOOP("Remark", "duplicate file"),
                        SystemReason(errno));
            } else {
                Failed(sourcePath, errno);
            }
            return;
        }
        const UniqueFd into(openat(targetDir, targetName.c_str(), kFolderFlags));
        if (!into) {
            Failed(sourcePath, errno);
            if (make) {
                unlinkat(targetDir, targetName.c_str(), AT_REMOVEDIR);
            }
            return;
        }
        if (!make) {
            RemoveStaleTemporaries(into.Get(), FolderNames(into.Get()),
                                   CleanerClock(c_.faults)); // a killed copy's leftovers
        }
        const size_t problems = out_.problems.size();
        const bool wasCancelled = out_.cancelled;
        Children(from.Get(), sourcePath, into.Get(), targetPath);
        if (!make) {
            return;
        }
        // A copy cut short leaves no folder of its making empty; rmdir takes only an empty one.
        if ((out_.cancelled && !wasCancelled) || out_.problems.size() > problems) {
            if (unlinkat(targetDir, targetName.c_str(), AT_REMOVEDIR) == 0) {
                return;
            }
        }
        fchmod(into.Get(), st.st_mode & 07777);
        const timespec times[2] = {st.st_atim, st.st_mtim};
        futimens(into.Get(), times);
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
        if (copy.Done()) {
            ++out_.files;
            out_.copied.push_back(copy.copied);
            bytesDone_ += S_ISREG(st.st_mode) ? st.st_size : 0;
        } else if (copy.what == Outcome::Cancelled) {
            out_.cancelled = true;
        } else {
            out_.problems.push_back(NotCopied(out_.problems.size(), copy, sourcePath, targetPath));
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

using Copied = std::map<std::pair<dev_t, ino_t>, FileIdentity>;

// Removes the file or link `name` of `dir`, found as `was`, while it is still what was
// `copied` and no other program has it open for writing: that one may be changing it in ways
// its identity does not show (through a mapping, or in a write begun before the copy), so it
// stays and is listed.
void RemoveCopiedFile(int dir, const std::string& name, const std::string& path,
                      const struct stat& was, const FileIdentity& copied,
                      std::vector<SkippedItem>& problems) {
    UniqueFd fd;
    std::optional<ReadLease> lease;
    if (S_ISREG(was.st_mode)) {
        fd.Reset(
            openat(dir, name.c_str(), O_RDONLY | O_NONBLOCK | O_NOCTTY | O_NOFOLLOW | O_CLOEXEC));
        if (fd &&
            lease.emplace(fd.Get(), FileSystemKindOf(fd.Get()) == FileSystemKind::Disk).InUse()) {
            problems.push_back(SkippedItem::Refused(problems.size(), path, kInUse, kWriterHasIt));
            return;
        }
        // Looked at again under the lease: a write since the name was looked at shows now.
        struct stat st {};
        if (!fd || fstat(fd.Get(), &st) != 0 || !(IdentityOf(st) == copied)) {
            problems.push_back(
                NotRemoved(problems.size(), path,
                           QT_TRANSLATE_NOOP("Remark", "it changed while it was moved")));
            return;
        }
    }
    // The lease, held across the unlink, keeps writers out until the name is gone.
    if (unlinkat(dir, name.c_str(), 0) != 0) {
        problems.push_back(NotRemoved(problems.size(), path, SystemReason(errno)));
    }
}

// Removes what a move copied from below `source`: a file or link only while it is what was
// copied and its copy is in `target`, a folder once emptied. What appeared or changed meanwhile
// stays, and is listed.
void RemoveMoved(int source, int target, const std::string& path, const Copied& copied,
                 std::vector<SkippedItem>& problems) {
    for (const std::string& name : FolderNames(source)) {
        const std::string child = JoinPath(path, name);
        struct stat from {};
        struct stat to {};
        if (fstatat(source, name.c_str(), &from, AT_SYMLINK_NOFOLLOW) != 0) {
            continue; // gone meanwhile: nothing left to remove
        }
        const bool counterpart = fstatat(target, name.c_str(), &to, AT_SYMLINK_NOFOLLOW) == 0 &&
                                 (from.st_mode & S_IFMT) == (to.st_mode & S_IFMT);
        if (counterpart && S_ISDIR(from.st_mode)) {
            const UniqueFd a(openat(source, name.c_str(), kFolderFlags));
            const UniqueFd b(openat(target, name.c_str(), kFolderFlags));
            const size_t before = problems.size();
            if (a && b) {
                RemoveMoved(a.Get(), b.Get(), child, copied, problems);
            }
            if (unlinkat(source, name.c_str(), AT_REMOVEDIR) != 0 && problems.size() == before) {
                problems.push_back(NotRemoved(problems.size(), child, SystemReason(errno)));
            }
            continue;
        }
        const auto was = copied.find({from.st_dev, from.st_ino});
        if (!counterpart || was == copied.end() || !(was->second == IdentityOf(from)) ||
            (S_ISREG(from.st_mode) && to.st_size != from.st_size)) {
            problems.push_back(
                NotRemoved(problems.size(), child,
                           QT_TRANSLATE_NOOP("Remark", "it changed while it was moved")));
        } else {
            RemoveCopiedFile(source, name, child, from, was->second, problems);
        }
    }
}

// Renames the entry `from` to the free name `to`, replacing nothing.
int RenameNoReplaceError(const ItemAt& from, const ItemAt& to, const CopyFaults* faults) {
    if (const int injected = faults && faults->rename ? faults->rename() : 0) {
        return injected;
    }
    const int a = from.folder.Get();
    const int b = to.folder.Get();
    if (renameat2(a, from.name.c_str(), b, to.name.c_str(), RENAME_NOREPLACE) == 0) {
        return 0;
    }
    if (errno != EINVAL && errno != ENOSYS) {
        return errno;
    }
    // No renaming without replacing here: the name is claimed with an empty folder of our own,
    // and only that is replaced.
    if (mkdirat(b, to.name.c_str(), 0700) != 0) {
        return errno;
    }
    if (renameat(a, from.name.c_str(), b, to.name.c_str()) == 0) {
        return 0;
    }
    const int error = errno;
    unlinkat(b, to.name.c_str(), AT_REMOVEDIR);
    return error;
}

FileOutcome RenameNoReplace(const ItemAt& from, const ItemAt& to, const CopyFaults* faults) {
    const int error = RenameNoReplaceError(from, to, faults);
    return FileOutcome::Of(error == 0 ? Outcome::Done : Outcome::Failed, to.name, error);
}

MoveOutcome Moving(Outcome what, const std::string& path, int error) {
    return {FileOutcome::Of(what, path, error), {}};
}

} // namespace

time_t CleanerClock(const CopyFaults* faults) {
    return faults && faults->clock ? faults->clock() : time(nullptr);
}

std::string JoinPath(const std::string& folder, const std::string& name) {
    return !folder.empty() && folder.back() == '/' ? folder + name : folder + "/" + name;
}

// Opens `source` for a copy into `target`, as `in` with its status `from` and the `kind` of
// file system it is on. Nothing when it is a regular file on disk; otherwise how the copy ends:
// a link copied as a link, or why it cannot be.
static std::optional<CopyOutcome> OpenRegularSource(int sourceDir, const std::string& source,
                                                    int targetDir, const std::string& target,
                                                    UniqueFd& in, struct stat& from,
                                                    FileSystemKind& kind) {
    // Not following a link, and not blocking, so that a FIFO that looks like a file cannot
    // stop the copy on its open; the type is the descriptor's, not what a name said before.
    in.Reset(openat(sourceDir, source.c_str(),
                    O_RDONLY | O_NONBLOCK | O_NOCTTY | O_NOFOLLOW | O_CLOEXEC));
    if (!in) {
        const int error = errno;
        struct stat st {};
        if (fstatat(sourceDir, source.c_str(), &st, AT_SYMLINK_NOFOLLOW) != 0) {
            return Result(Outcome::SourceMissing, source, errno);
        }
        if (S_ISLNK(st.st_mode)) {
            return CopyLink(sourceDir, source, st, targetDir, target);
        }
        // Refused at once rather than waited for: another program holds a lease to write it
        // (a file server's, say).
        return error == EWOULDBLOCK ? CopyOutcome{{Outcome::InUse, error, source, kWriterHasIt}, {}}
                                    : Result(Outcome::Failed, source, error);
    }
    if (fstat(in.Get(), &from) != 0) {
        return Result(Outcome::Failed, source, errno);
    }
    if (!S_ISREG(from.st_mode)) {
        CopyOutcome outcome =
            Result(Outcome::Failed, source, S_ISDIR(from.st_mode) ? EISDIR : EINVAL);
        if (!S_ISDIR(from.st_mode)) {
            outcome.reason = QT_TRANSLATE_NOOP("Remark", "not a regular file");
        }
        return outcome;
    }
    // What /proc or /sys make up as they are read may not end (a process's page map reads on
    // for hundreds of gigabytes) and is no file to keep.
    kind = FileSystemKindOf(in.Get());
    if (kind == FileSystemKind::Pseudo) {
        return CopyOutcome{{Outcome::NotOnDisk, EINVAL, source, kNotOnDisk}, {}};
    }
    return std::nullopt;
}

CopyOutcome CopyOneFile(int sourceDir, const std::string& source, int targetDir,
                        const std::string& target, const CancelFlag& cancel,
                        const CopyProgress& progress, const CopyFaults* faults) {
    // A name already there is told before anything is read; one that appears meanwhile is
    // caught when the copy is named.
    struct stat there {};
    if (fstatat(targetDir, target.c_str(), &there, AT_SYMLINK_NOFOLLOW) == 0) {
        return Result(Outcome::TargetExists, source, EEXIST);
    }
    if (errno != ENOENT) {
        return Result(Outcome::Failed, source, errno);
    }
    UniqueFd in;
    struct stat from {};
    FileSystemKind kind = FileSystemKind::Disk;
    if (auto early = OpenRegularSource(sourceDir, source, targetDir, target, in, from, kind)) {
        return *early;
    }
    // Held until the copy has its name: no writer can open the source before then unseen.
    const ReadLease lease(in.Get(), kind == FileSystemKind::Disk && !(faults && faults->noLeases));
    const CopyOutcome inUse{{Outcome::InUse, ETXTBSY, source, kWriterHasIt}, {}};
    if (lease.InUse()) {
        return inUse;
    }
    NewFile out(targetDir, target);
    if (!out.Create(from.st_mode & 0777, !(faults && faults->noUnnamedFiles))) {
        return Result(Outcome::Failed, source, errno);
    }
    if (progress.started) {
        progress.started(from.st_size);
    }
    int64_t done = 0;
    const int error =
        CopyData(in.Get(), out.Fd(), from.st_size, target, cancel, lease, progress, faults, done);
    if (lease.InUse()) {
        return inUse;
    }
    if (error) {
        return Result(error == ECANCELED && cancel.IsRaised() ? Outcome::Cancelled
                                                              : Outcome::Failed,
                      source, error);
    }
    // What was read must be the whole file as it was opened, unchanged since. A file that
    // takes no room on a disk holds less than its size says.
    struct stat after {};
    if (fstat(in.Get(), &after) != 0 || !(IdentityOf(after) == IdentityOf(from)) ||
        (from.st_blocks > 0 && done != from.st_size)) {
        return {{Outcome::SourceChanged, 0, source, kChanged}, {}};
    }
    // A file system that keeps no such times still holds the data: not a failure.
    const timespec times[2] = {from.st_atim, from.st_mtim};
    futimens(out.Fd(), times);
    if (!out.Publish()) {
        return Result(errno == EEXIST ? Outcome::TargetExists : Outcome::Failed, source, errno);
    }
    return {FileOutcome::Ok(source), IdentityOf(from)};
}

SkippedItem NotCopied(size_t slot, const CopyOutcome& copy, const std::string& source,
                      const std::string& target) {
    std::string remark;
    std::string reason = copy.reason;
    bool targetShown = true;
    switch (copy.what) {
    case Outcome::TargetExists: // the remark says it all
        remark = QT_TRANSLATE_NOOP("Remark", "duplicate file");
        reason.clear();
        break;
    case Outcome::SourceMissing:
        remark = QT_TRANSLATE_NOOP("Remark", "source file not found");
        targetShown = false;
        break;
    case Outcome::SourceChanged:
        remark = kChanged;
        reason.clear();
        break;
    case Outcome::NotOnDisk:
        remark = kNotOnDisk;
        reason.clear();
        targetShown = false;
        break;
    case Outcome::InUse:
        remark = kInUse;
        break;
    default:
        break;
    }
    SkippedItem item = SkippedItem::Of(slot, {copy.what, copy.error, source, reason}, remark);
    if (targetShown) {
        item.target = target;
    }
    return item;
}

TreeOutcome CopyTree(const std::string& source, const std::string& target, bool contentsOnly,
                     TreeCopyContext& context) {
    const auto failed = [](const std::string& path, const char* remark, int error) {
        TreeOutcome outcome;
        outcome.problems.push_back(SkippedItem::Refused(0, path, remark, SystemReason(error)));
        outcome.problems.back().error = error;
        return outcome;
    };
    if (contentsOnly) {
        const UniqueFd from(OpenFolder(source));
        if (!from) {
            return failed(source, QT_TRANSLATE_NOOP("Remark", "source file not found"), errno);
        }
        const UniqueFd into(OpenFolder(target));
        if (!into) {
            return failed(target, QT_TRANSLATE_NOOP("Remark", "folder not opened"), errno);
        }
        return TreeCopier(context).Contents(from.Get(), source, into.Get(), target);
    }
    const ItemAt from = OpenItem(source);
    const ItemAt into = OpenItem(target);
    if (!from || !into) {
        return failed(source, QT_TRANSLATE_NOOP("Remark", "folder not opened"),
                      from ? into.error : from.error);
    }
    return TreeCopier(context).Item(from.folder.Get(), from.name, source, into.folder.Get(),
                                    into.name, target);
}

bool IsSameOrInside(const std::string& folder, const std::string& other) {
    struct stat goal {};
    const UniqueFd otherFd(OpenFolder(other, O_PATH | O_CLOEXEC));
    if (!otherFd || fstat(otherFd.Get(), &goal) != 0) {
        return false;
    }
    UniqueFd here(OpenFolder(folder, O_PATH | O_CLOEXEC));
    for (int depth = 0; here && depth < 100000; ++depth) {
        struct stat st {};
        if (fstat(here.Get(), &st) != 0) {
            return false;
        }
        if (SameFile(st, goal)) {
            return true;
        }
        UniqueFd up(openat(here.Get(), "..", O_PATH | O_DIRECTORY | O_CLOEXEC));
        struct stat above {};
        if (!up || fstat(up.Get(), &above) != 0 || SameFile(above, st)) {
            return false; // the root
        }
        here = std::move(up);
    }
    return false;
}

// A move to another file system: a copy first, into a folder of our own, synced; then the
// source removed, each item only while it is what was copied.
static MoveOutcome MoveByCopy(const ItemAt& from, const ItemAt& to, const std::string& source,
                              const std::string& target, TreeCopyContext& context) {
    if (mkdirat(to.folder.Get(), to.name.c_str(), 0700) != 0) {
        return Moving(errno == EEXIST ? Outcome::Refused : Outcome::Failed, target, errno);
    }
    const UniqueFd fromFd(openat(from.folder.Get(), from.name.c_str(), kFolderFlags));
    const UniqueFd into(openat(to.folder.Get(), to.name.c_str(), kFolderFlags));
    TreeCopyContext copying = context;
    copying.conflict = nullptr;
    TreeOutcome copied;
    if (fromFd && into) {
        copied = TreeCopier(copying).Contents(fromFd.Get(), source, into.Get(), target);
    } else {
        const int error = errno;
        copied.problems.push_back(SkippedItem::Refused(
            0, source, QT_TRANSLATE_NOOP("Remark", "folder not opened"), SystemReason(error)));
        copied.problems.back().error = error;
    }
    // The copy must be on the disk before any of its source goes.
    if (copied.Complete() && syncfs(into.Get()) != 0) {
        copied.problems.push_back(SkippedItem::Failure(0, target, errno));
    }
    if (!copied.Complete()) {
        std::vector<SkippedItem> ignored;
        RemoveEntry(to.folder.Get(), to.name, target, ignored);
        return {{copied.cancelled ? Outcome::Cancelled : Outcome::Failed, 0, source,
                 QT_TRANSLATE_NOOP("Remark", "not every item could be copied")},
                copied.problems};
    }
    struct stat st {};
    if (fstat(fromFd.Get(), &st) == 0) {
        fchmod(into.Get(), st.st_mode & 07777);
        const timespec times[2] = {st.st_atim, st.st_mtim};
        futimens(into.Get(), times);
    }
    // Everything arrived: only now does the source go, each item only while it is what was
    // copied.
    Copied identities;
    for (const FileIdentity& identity : copied.copied) {
        identities[{identity.device, identity.inode}] = identity;
    }
    MoveOutcome moved{FileOutcome::Ok(source), {}};
    if (context.working) {
        context.working(source);
    }
    if (context.progress) { // no bytes to count now: the bar only shows that it runs
        context.progress->SetMessage(
            QCoreApplication::translate("FileCommands", "Removing the moved items from %1")
                .arg(DisplayPath(source)));
        context.progress->Setup(0, 0, 0);
    }
    RemoveMoved(fromFd.Get(), into.Get(), source, identities, moved.problems);
    if (moved.problems.empty() &&
        unlinkat(from.folder.Get(), from.name.c_str(), AT_REMOVEDIR) != 0) {
        moved.problems.push_back(NotRemoved(0, source, SystemReason(errno)));
    }
    return moved;
}

MoveOutcome MoveTree(const std::string& source, const std::string& target,
                     TreeCopyContext& context) {
    const ItemAt from = OpenItem(source);
    const ItemAt to = OpenItem(target);
    if (!from || !to) {
        return from ? Moving(Outcome::Failed, target, to.error)
                    : Moving(Outcome::Failed, source, from.error);
    }
    struct stat there {};
    if (fstatat(to.folder.Get(), to.name.c_str(), &there, AT_SYMLINK_NOFOLLOW) == 0) {
        return {FileOutcome::Refusal(target,
                                     FillIn(QCoreApplication::translate(
                                                "Remark", "something named ' %1 ' is already there")
                                                .toStdString(),
                                            {to.name})),
                {}};
    }
    if (IsSameOrInside(FolderOfPath(target), source)) {
        return {FileOutcome::Refusal(
                    target, QT_TRANSLATE_NOOP("Remark", "a folder cannot be moved into itself")),
                {}};
    }
    const FileOutcome renamed = RenameNoReplace(from, to, context.faults);
    if (renamed.Done()) {
        return {FileOutcome::Ok(source), {}};
    }
    if (renamed.error != EXDEV) {
        return Moving(renamed.error == EEXIST ? Outcome::Refused : Outcome::Failed, target,
                      renamed.error);
    }
    return MoveByCopy(from, to, source, target, context);
}

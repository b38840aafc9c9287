#include "search/FolderWalk.h"

#include "platform/CancelFlag.h"
#include "text/PathText.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <dirent.h>
#include <fcntl.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace {

constexpr size_t kScratchSize = 32 * 1024;
constexpr int kOpenDirFlags = O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC;
constexpr int kMostKeptLevels = 128;

int CountOpenDescriptors() {
    const DirStream dir(opendir("/proc/self/fd"));
    if (!dir) {
        return 3;
    }
    int count = -1; // the one reading the list
    while (const dirent* entry = readdir(dir.get())) {
        if (entry->d_name[0] != '.') {
            ++count;
        }
    }
    return count;
}

long SpareDescriptors() {
    rlimit limit{};
    rlim_t soft = 1024;
    if (getrlimit(RLIMIT_NOFILE, &limit) == 0 && limit.rlim_cur != RLIM_INFINITY) {
        soft = limit.rlim_cur;
    }
    return static_cast<long>(soft) - CountOpenDescriptors();
}

// Half of what the process may still open, less a few for the rest of the program; the walk
// itself needs two at the deepest point (a folder and the subfolder being opened).
int DefaultKeptLevels() {
    return static_cast<int>(std::clamp<long>(SpareDescriptors() / 2 - 2, 0, kMostKeptLevels));
}

bool OutOfDescriptors(int error) {
    return error == EMFILE || error == ENFILE;
}

// Opens the root the user named. Links in it are followed, as any path typed by a user is.
// A path too long for one call is opened one component at a time.
UniqueFd OpenRoot(const std::string& path) {
    constexpr int kFlags = O_RDONLY | O_DIRECTORY | O_CLOEXEC;
    UniqueFd fd(open(path.c_str(), kFlags));
    if (fd || errno != ENAMETOOLONG) {
        return fd;
    }
    fd.Reset(open(path.front() == '/' ? "/" : ".", kFlags));
    for (size_t start = 0; fd && start < path.size();) {
        size_t end = path.find('/', start);
        if (end == std::string::npos) {
            end = path.size();
        }
        if (end > start) {
            const std::string component = path.substr(start, end - start);
            UniqueFd next(openat(fd.Get(), component.c_str(), kFlags));
            const int error = errno; // why it failed, for the caller
            fd = std::move(next);
            errno = error;
        }
        start = end + 1;
    }
    return fd;
}

bool IsLowerAscii(std::string_view s) {
    return std::none_of(s.begin(), s.end(), [](char c) {
        return (c >= 'A' && c <= 'Z') || static_cast<unsigned char>(c) >= 0x80;
    });
}

} // namespace

FolderWalk::FolderWalk(const SearchOptions& options, FileDataArray& store, SearchCounters& counters,
                       const CancelFlag& cancel, WalkListener* listener)
    : options_(options), store_(store), counters_(counters), cancel_(cancel), listener_(listener),
      matcher_(options.MaskText), expected_(options.ExpectedMatch == 1),
      keptLevels_(DefaultKeptLevels()), openFolder_([](int dirFd, const char* name, int flags) {
          return openat(dirFd, name, flags);
      }) {
}

FolderWalk::~FolderWalk() = default;

// Reads the whole folder. The level keeps exactly what the folder holds: the records are read
// into the shared buffer and copied once.
bool FolderWalk::ReadEntries(int fd, std::vector<char>& into) {
    if (scratch_.size() < kScratchSize) {
        scratch_.resize(kScratchSize);
    }
    size_t used = 0;
    for (;;) {
        if (scratch_.size() - used < kScratchSize / 2) {
            scratch_.resize(scratch_.size() * 2);
        }
        const long n = syscall(SYS_getdents64, fd, scratch_.data() + used, scratch_.size() - used);
        if (n <= 0) {
            const int error = errno;
            into.assign(scratch_.begin(), scratch_.begin() + static_cast<ptrdiff_t>(used));
            if (scratch_.size() > 32 * kScratchSize) {
                scratch_ = std::vector<char>(kScratchSize); // a huge folder's buffer goes back
            }
            // A folder that fails part-way is walked as far as it could be read.
            errno = error;
            return n == 0 || used > 0;
        }
        used += static_cast<size_t>(n);
    }
}

// `name` is an entry of the current folder.
void FolderWalk::TellNotRead(std::string_view name, int error) {
    if (listener_ && !cancel_.IsRaised()) {
        listener_->NotRead(FileOutcome::Failure(path_ + std::string(name), error));
    }
}

bool FolderWalk::SameFolder(int fd, const Level& level) const {
    struct stat st {};
    return fstat(fd, &st) == 0 && st.st_dev == level.dev && st.st_ino == level.ino;
}

// Gives back the descriptor of the shallowest level that has one, other than `keep`: those are
// needed again last, and come back through ".." on the way up. False when none is left.
bool FolderWalk::GiveBackDescriptor(size_t keep) {
    for (size_t i = 0; i < levels_.size(); ++i) {
        if (i != keep && levels_[i].fd.Valid()) {
            levels_[i].fd.Close();
            keptLevels_ = std::min(keptLevels_, static_cast<int>(i));
            return true;
        }
    }
    return false;
}

UniqueFd FolderWalk::OpenFolderAt(int dirFd, const char* name, size_t keep) {
    for (;;) {
        const int fd = openFolder_(dirFd, name, kOpenDirFlags);
        if (fd >= 0) {
            return UniqueFd(fd);
        }
        if (!OutOfDescriptors(errno) || !GiveBackDescriptor(keep)) {
            return {};
        }
    }
}

// The descriptor of a level, reopened when it was given back; -1 when the folder is gone (the
// level is then finished: what it still held went away with it).
int FolderWalk::LevelFd(size_t level) {
    if (!levels_[level].fd.Valid() && !ReopenFromAncestor(level)) {
        return -1;
    }
    return levels_[level].fd.Get();
}

// From the nearest ancestor that is open (or the root, by its path), one name at a time, each
// checked to be the folder it was. A step that fails finishes that level and all below it.
bool FolderWalk::ReopenFromAncestor(size_t level) {
    size_t from = level;
    while (from > 0 && !levels_[from - 1].fd.Valid()) {
        --from;
    }
    UniqueFd current;
    if (from == 0) {
        for (;;) {
            current = OpenRoot(rootPath_);
            if (current || !OutOfDescriptors(errno) || !GiveBackDescriptor(levels_.size())) {
                break;
            }
        }
        if (!current || !SameFolder(current.Get(), levels_[0])) {
            for (size_t i = 0; i <= level; ++i) {
                levels_[i].pos = levels_[i].entries.size();
            }
            return false;
        }
        from = 1;
    }
    for (size_t i = from; i <= level; ++i) {
        const int parentFd = i == from && !current ? levels_[i - 1].fd.Get() : current.Get();
        const std::string name =
            path_.substr(levels_[i].nameStart, levels_[i].nameEnd - levels_[i].nameStart);
        UniqueFd next = OpenFolderAt(parentFd, name.c_str(), i - 1);
        if (!next || !SameFolder(next.Get(), levels_[i])) {
            for (size_t k = i; k <= level; ++k) {
                levels_[k].pos = levels_[k].entries.size();
            }
            return false;
        }
        current = std::move(next);
    }
    levels_[level].fd = std::move(current);
    return true;
}

bool FolderWalk::Walk(const std::string& folderPath) {
    levels_.clear();
    rootPath_ = folderPath;
    if (listener_) {
        listener_->Reading(folderPath, {});
    }
    UniqueFd root = OpenRoot(folderPath);
    struct stat st {};
    if (!root || fstat(root.Get(), &st) != 0) {
        // A root that is there but cannot be opened is said; one that is missing is not.
        if (errno != ENOENT && errno != ENOTDIR && listener_) {
            listener_->NotRead(FileOutcome::Failure(folderPath, errno));
        }
        return false;
    }
    rootKind_ = FileSystemKindOf(root.Get());
    Level& first = levels_.emplace_back();
    first.dev = st.st_dev;
    first.ino = st.st_ino;
    path_ = folderPath;
    first.nameEnd = path_.size();
    RecordFolder();
    const auto started = std::chrono::steady_clock::now();
    const bool read = ReadEntries(root.Get(), first.entries);
    // A big root takes long anywhere: each 64 KiB of its records adds to the allowance.
    const auto allowance =
        options_.SlowRoot * (1 + static_cast<int64_t>(first.entries.size() >> 16));
    remote_ = rootKind_ == FileSystemKind::Network ||
              std::chrono::steady_clock::now() - started >= allowance;
    if (!read || cancel_.IsRaised()) {
        if (!cancel_.IsRaised() && listener_) {
            listener_->NotRead(FileOutcome::Failure(folderPath, errno));
        }
        levels_.clear();
        return true;
    }
    StartReadAhead(root.Get());
    first.fd = std::move(root);
    ShareStatus(first);
    WalkLevels();
    levels_.clear();
    readAhead_.reset();
    return true;
}

// Readers for the subfolders, when there is room for them: with few descriptors to spare, or
// nothing below the root, this thread walks alone.
void FolderWalk::StartReadAhead(int rootFd) {
    const int threads = options_.Threads > 0 ? options_.Threads
                        : remote_            ? FolderReadAhead::kRemoteThreads + 1
                                             : FolderReadAhead::DefaultThreads();
    // Each reader holds a descriptor while it reads.
    if (threads <= 1 || testOpen_ || SpareDescriptors() < 4L * threads + 16) {
        return;
    }
    std::vector<char>& entries = levels_[0].entries;
    const bool subfolders = options_.Recurse && HasSubfolders(rootFd, entries);
    if (subfolders || (KeepsStatus() && entries.size() >= 2 * FolderReadAhead::kStatusPiece)) {
        // This thread is one of them: no more threads run than there are processors.
        // A quarter of what is spare stays open for subfolders read ahead; the walk's own
        // levels keep at most half.
        readAhead_ = std::make_unique<FolderReadAhead>(
            UniqueFd(fcntl(rootFd, F_DUPFD_CLOEXEC, 0)), threads - 1,
            static_cast<int>(std::clamp<long>(SpareDescriptors() / 4, 0, 64)), options_, cancel_,
            remote_);
        if (options_.Recurse) {
            levels_[0].jobs = readAhead_->Offer({}, 0, entries);
        }
    }
}

// A big folder this thread read itself has its files' status looked up by readers too.
void FolderWalk::ShareStatus(Level& level) {
    if (readAhead_ && KeepsStatus()) {
        level.statusPieces = readAhead_->OfferStatus(level.fd.Get(), level.entries);
        level.readAhead = level.readAhead || !level.statusPieces.empty();
    }
}

// The status read ahead for the level's next kept file, taking the next piece when one is due;
// none when it was not (then it is looked up as it is stored).
const FolderReadAhead::Kept* FolderWalk::NextKept(Level& level) {
    while (level.nextKept == level.kept.size() && level.nextPiece < level.statusPieces.size()) {
        const FolderReadAhead::JobRef piece = std::move(level.statusPieces[level.nextPiece++]);
        if (!readAhead_->TakeStatus(piece, level.kept)) {
            level.nextPiece = level.statusPieces.size(); // the rest as they are stored
        }
    }
    return level.nextKept < level.kept.size() ? &level.kept[level.nextKept++] : nullptr;
}

void FolderWalk::WalkLevels() {
    while (!levels_.empty()) {
        const size_t depth = levels_.size() - 1;
        Level& level = levels_[depth];
        if (level.Finished()) {
            Ascend();
            if (!levels_.empty() && AfterEntry()) {
                return;
            }
            continue;
        }
        const auto* entry = reinterpret_cast<const dirent64*>(level.entries.data() + level.pos);
        level.pos += entry->d_reclen;
        const std::string_view name(entry->d_name);
        bool isFolder = entry->d_type == DT_DIR;
        if (entry->d_type == DT_UNKNOWN) {
            const int fd = LevelFd(depth);
            if (fd < 0) {
                continue;
            }
            isFolder = IsFolderAt(fd, entry->d_name);
        }
        if (isFolder) {
            const Step step = VisitFolder(depth, name);
            if (step == Step::Stop) {
                return;
            }
            if (step == Step::Entered) {
                continue; // the step after this entry waits until the subfolder is done
            }
        } else if (!options_.FoldersOnly) {
            ++counters_.ObjectCount;
            GrowStoreIfNeeded();
            if (matcher_.Matches(name) == expected_) {
                StoreFile(depth, name);
            }
            if (counters_.ObjectCount % 4000 == 1 && listener_) {
                listener_->ObjectsCounted(counters_.ObjectCount - 1);
            }
        }
        if (AfterEntry()) {
            return;
        }
    }
}

// A subfolder `name` of the folder at `depth`: stored when folders are searched, then entered.
FolderWalk::Step FolderWalk::VisitFolder(size_t depth, std::string_view name) {
    // "." and "..", and deliberately every folder whose name begins with a dot.
    if (name.front() == '.') {
        return Step::Next;
    }
    const uint32_t ordinal = levels_[depth].subfolders++;
    if (counters_.ObjectCount % 500 == 1 && listener_) {
        listener_->Yield();
    }
    if (cancel_.IsRaised()) {
        return Step::Stop;
    }
    if (options_.FoldersOnly) {
        ++counters_.ObjectCount;
        GrowStoreIfNeeded();
        if (!Entered()) {
            return Step::Stop;
        }
        store_.Store(counters_.MatchedCount, StoreFolder(depth), name, {}, 0);
        ++counters_.MatchedCount;
        Left();
        if (counters_.ObjectCount % 100 == 1 && listener_) {
            listener_->ObjectsCounted(counters_.ObjectCount - 1);
        }
    }
    if (options_.ShowFolderProgress && listener_) {
        listener_->FolderEntered(name, counters_.ObjectCount, counters_.MatchedCount);
    }
    return options_.Recurse && Descend(name, ordinal) ? Step::Entered : Step::Next;
}

// The step after every entry: stop on cancel, else let the event loop run, skipping it only
// when the count is an exact multiple of 500. Returns true when the walk must stop.
bool FolderWalk::AfterEntry() {
    if (cancel_.IsRaised()) {
        return true;
    }
    if (counters_.ObjectCount % 500 != 0 && listener_) {
        listener_->Yield();
    }
    return false;
}

// The test runs for every examined object, but grows the store only once per chunk: objects
// that do not match leave MatchedCount where it is, and the slot it names exists already.
void FolderWalk::GrowStoreIfNeeded() {
    const int32_t matched = counters_.MatchedCount;
    if (matched > 1 && matched % 500 == 1 && Entered()) {
        if (store_.UBound() < matched) {
            ++counters_.ChunkCount;
            store_.Redim(counters_.ChunkCount * 500);
        }
        Left();
    }
}

// Around every change to the store; false when another thread has taken it.
bool FolderWalk::Entered() {
    return !gate_ || gate_->Enter(counters_.ObjectCount);
}

void FolderWalk::Left() {
    if (gate_) {
        gate_->Leave();
    }
}

void FolderWalk::StoreFile(size_t level, std::string_view name) {
    // `name` points into the level's records, which end each name with a NUL.
    struct stat st {};
    FolderReadAhead::Kept kept;
    Level& l = levels_[level];
    if (const FolderReadAhead::Kept* ahead = l.readAhead ? NextKept(l) : nullptr) {
        kept = *ahead;
    } else if (const int fd = KeepsStatus() ? LevelFd(level) : -1; fd >= 0) {
        kept = fstatat(fd, name.data(), &st, AT_SYMLINK_NOFOLLOW) == 0
                   ? FolderReadAhead::Kept{ToFileTime(st.st_mtim.tv_sec, st.st_mtim.tv_nsec),
                                           st.st_size, 0}
                   : FolderReadAhead::Kept{0, -1, errno};
    }
    if (kept.error != 0) { // a reader's or this stat's
        TellNotRead(name, kept.error);
    }
    const std::string_view extension = ExtensionOf(name);
    if (!Entered()) {
        return;
    }
    if (IsLowerAscii(extension)) {
        store_.Store(counters_.MatchedCount, StoreFolder(level), name, extension, kept.time,
                     kept.size);
    } else {
        store_.Store(counters_.MatchedCount, StoreFolder(level), name, LowerCaseName(extension),
                     kept.time, kept.size);
    }
    ++counters_.MatchedCount;
    Left();
}

// The level's folder in the store, added with its ancestors the first time a record needs it.
uint32_t FolderWalk::StoreFolder(size_t level) {
    Level& l = levels_[level];
    if (l.folder == FileDataArray::kNoFolder) {
        const uint32_t parent = level == 0 ? FileDataArray::kNoFolder : StoreFolder(level - 1);
        const std::string_view segment(path_.data() + l.nameStart, l.nameEnd + 1 - l.nameStart);
        l.folder = store_.AddFolder(parent, level == 0 ? std::string_view(rootPath_) : segment);
    }
    return l.folder;
}

// Opens a subfolder of the current level and makes it the current level. Returns false when
// it cannot be opened or read (told to the listener, then skipped) or when a cancel is already
// raised.
bool FolderWalk::Descend(std::string_view name, uint32_t ordinal) {
    const size_t depth = levels_.size() - 1;
    Level child;
    if (listener_) {
        listener_->Reading(path_, name);
    }
    if (readAhead_) {
        FolderReadAhead::Jobs& jobs = levels_[depth].jobs;
        const FolderReadAhead::JobRef job =
            ordinal < jobs.size() ? std::move(jobs[ordinal]) : nullptr;
        if (job && TakeReadAhead(child, name, job)) {
            return true;
        }
        if (cancel_.IsRaised()) {
            return false;
        }
    }
    const int parentFd = LevelFd(depth);
    if (parentFd < 0) {
        return false;
    }
    UniqueFd fd = OpenFolderAt(parentFd, name.data(), depth);
    struct stat st {};
    if (!fd || fstat(fd.Get(), &st) != 0 || !ReadEntries(fd.Get(), child.entries)) {
        TellNotRead(name, errno);
        return false;
    }
    if (cancel_.IsRaised()) {
        return false;
    }
    if (readAhead_) {
        // Its subfolders are read ahead like any other's: types known, so counted the same.
        ResolveUnknownTypes(fd.Get(), child.entries);
    }
    child.fd = std::move(fd);
    child.dev = st.st_dev;
    child.ino = st.st_ino;
    Enter(std::move(child), name);
    Level& entered = levels_.back();
    if (readAhead_ && path_.size() - rootPath_.size() < PATH_MAX) {
        entered.jobs = readAhead_->Offer(std::string_view(path_).substr(rootPath_.size()),
                                         depth + 1, entered.entries);
    }
    // Offered last, so read first: its files come before what is below them.
    ShareStatus(entered);
    return true;
}

// Makes the subfolder `name` the current level.
void FolderWalk::Enter(Level&& child, std::string_view name) {
    const size_t depth = levels_.size() - 1;
    child.nameStart = path_.size();
    path_.append(name);
    child.nameEnd = path_.size();
    path_ += '/';
    levels_.push_back(std::move(child));
    // Deep down, the parent gives its descriptor back; its entries are already read.
    if (static_cast<int>(depth) >= keptLevels_) {
        levels_[depth].fd.Close();
    }
    RecordFolder();
}

// The folder just entered, kept in the store when every folder is to be.
void FolderWalk::RecordFolder() {
    if (options_.RecordFolders && Entered()) {
        StoreFolder(levels_.size() - 1);
        Left();
    }
}

// The subfolder from the read-ahead, made the current level; false when the walk must read it.
bool FolderWalk::TakeReadAhead(Level& child, std::string_view name,
                               const FolderReadAhead::JobRef& job) {
    FolderReadAhead::Folder folder;
    if (!readAhead_->Take(job, folder) || cancel_.IsRaised()) {
        return false;
    }
    child.entries = std::move(folder.entries);
    child.kept = std::move(folder.kept);
    child.jobs = std::move(folder.subfolders);
    child.readAhead = true;
    child.dev = folder.dev;
    child.ino = folder.ino;
    Enter(std::move(child), name);
    return true;
}

// Leaves the current level, giving back its descriptor and its entries. A parent that still has
// entries and gave its descriptor back is reopened through "..", when that is still the same
// folder; otherwise LevelFd reopens it from an ancestor when it is next needed.
void FolderWalk::Ascend() {
    Level& child = levels_.back();
    if (levels_.size() > 1) {
        Level& parent = levels_[levels_.size() - 2];
        if (!parent.fd.Valid() && !parent.Finished() && child.fd.Valid()) {
            UniqueFd up = OpenFolderAt(child.fd.Get(), "..", levels_.size() - 1);
            if (up && SameFolder(up.Get(), parent)) {
                parent.fd = std::move(up);
            }
        }
    }
    // Pieces not needed (no kept file in them) are let go, so readers do not count them held.
    for (size_t i = child.nextPiece; i < child.statusPieces.size(); ++i) {
        readAhead_->LetGo(child.statusPieces[i]);
    }
    path_.resize(child.nameStart);
    levels_.pop_back();
}

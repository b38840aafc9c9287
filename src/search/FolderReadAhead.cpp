#include "search/FolderReadAhead.h"

#include "platform/CancelFlag.h"
#include "search/MaskMatcher.h"
#include "search/SearchOptions.h"
#include "text/PathText.h"

#include <algorithm>
#include <chrono>
#include <climits>
#include <cstring>
#include <dirent.h>
#include <fcntl.h>
#include <linux/openat2.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <type_traits>
#include <unistd.h>

namespace {

constexpr int kMostHeld = 256;
constexpr int kMostHeldRemote = 4096; // folders a round trip away are worth reading far ahead
constexpr size_t kScratchSize = 32 * 1024;

template <class Entries, class Visit> void ForEachEntry(Entries& entries, Visit visit) {
    using Entry =
        std::conditional_t<std::is_const_v<std::remove_pointer_t<decltype(entries.data())>>,
                           const dirent64, dirent64>;
    for (size_t pos = 0; pos < entries.size();) {
        auto* entry = reinterpret_cast<Entry*>(entries.data() + pos);
        pos += entry->d_reclen;
        visit(*entry);
    }
}

bool IsSubfolder(const dirent64& entry) {
    return entry.d_type == DT_DIR && entry.d_name[0] != '.';
}

bool AnySubfolder(const std::vector<char>& entries) {
    bool any = false;
    ForEachEntry(entries, [&any](const dirent64& entry) { any = any || IsSubfolder(entry); });
    return any;
}

} // namespace

bool IsFolderAt(int dirFd, const char* name) {
    struct stat st {};
    return fstatat(dirFd, name, &st, AT_SYMLINK_NOFOLLOW) == 0 && S_ISDIR(st.st_mode);
}

void ResolveUnknownTypes(int dirFd, std::vector<char>& entries) {
    ForEachEntry(entries, [dirFd](dirent64& entry) {
        if (entry.d_type == DT_UNKNOWN) {
            entry.d_type = IsFolderAt(dirFd, entry.d_name) ? DT_DIR : DT_REG;
        }
    });
}

bool HasSubfolders(int dirFd, std::vector<char>& entries) {
    ResolveUnknownTypes(dirFd, entries);
    return AnySubfolder(entries);
}

// Threads in all, the walking one included.
int FolderReadAhead::DefaultThreads() {
    const long online = sysconf(_SC_NPROCESSORS_ONLN);
    return static_cast<int>(std::clamp<long>(online, 1, 8));
}

FolderReadAhead::FolderReadAhead(UniqueFd root, int readers, int keptOpen,
                                 const SearchOptions& options, const CancelFlag& cancel,
                                 bool remote)
    : root_(std::move(root)), options_(options), cancel_(cancel), remote_(remote),
      mostHeld_(remote ? kMostHeldRemote : kMostHeld),
      parentsOpen_(std::make_shared<std::atomic<int>>(0)), mostParents_(keptOpen),
      walkReader_(options.MaskText) {
    for (int i = 0; i < readers; ++i) {
        threads_.emplace_back([this] { Run(); });
    }
}

FolderReadAhead::~FolderReadAhead() {
    {
        const std::lock_guard lock(mutex_);
        stop_ = true;
        changes_.fetch_add(1);
    }
    workReady_.notify_all();
    for (std::thread& thread : threads_) {
        thread.join();
    }
}

// Whether the subfolders of a folder `depth` levels down, holding `entries`, are read ahead.
bool FolderReadAhead::ReadsAheadBelow(size_t depth, const std::vector<char>& entries) const {
    return remote_ || depth < kDeepest || entries.size() >= kBusyFolder;
}

// One job for each subfolder the walk will enter, in its order; none for a path too long for
// one call (the walk opens it by its parent) or where nothing is read ahead.
FolderReadAhead::Jobs FolderReadAhead::MakeJobs(std::string_view path, size_t depth,
                                                const std::vector<char>& entries,
                                                const Parent& parent) const {
    Jobs jobs;
    if (!ReadsAheadBelow(depth, entries)) {
        return jobs;
    }
    ForEachEntry(entries, [&](const dirent64& entry) {
        if (!IsSubfolder(entry)) {
            return;
        }
        std::shared_ptr<Job>& job = jobs.emplace_back();
        const size_t length = std::strlen(entry.d_name);
        if (path.size() + length + 1 < PATH_MAX) {
            job = std::make_shared<Job>();
            job->path.reserve(path.size() + length + 1);
            job->path.append(path).append(entry.d_name, length).push_back('/');
            job->depth = depth + 1;
            job->parent = parent;
        }
    });
    return jobs;
}

// Under the lock. The first of them ends up on top: it is the walk's next.
void FolderReadAhead::Push(const Jobs& jobs) {
    bool any = false;
    for (auto job = jobs.rbegin(); job != jobs.rend(); ++job) {
        if (*job) {
            work_.emplace_back(*job);
            any = true;
        }
    }
    if (any) {
        changes_.fetch_add(1);
        if (idleReaders_.load() > 0) {
            workReady_.notify_one();
        }
    }
}

FolderReadAhead::Jobs FolderReadAhead::Offer(std::string_view path, size_t depth,
                                             const std::vector<char>& entries) {
    Jobs jobs = MakeJobs(path, depth, entries, {});
    const std::lock_guard lock(mutex_);
    Push(jobs);
    return jobs;
}

// Under the lock: the job offered last that nobody has begun, or nothing when readers hold
// enough or the search is cancelled. Jobs the walk let go or began itself are passed over.
std::shared_ptr<FolderReadAhead::Job> FolderReadAhead::PopWork() {
    if (cancel_.IsRaised()) {
        return {};
    }
    // The folder the walk waits for goes first, however many are held.
    if (State waiting = State::Waiting;
        wanted_ && wanted_->state.compare_exchange_strong(waiting, State::Reading)) {
        return std::move(wanted_);
    }
    if (held_.load() >= mostHeld_) {
        return {};
    }
    while (!work_.empty()) {
        std::shared_ptr<Job> job = work_.back().lock();
        work_.pop_back();
        State waiting = State::Waiting;
        // The walk may begin a job without the lock.
        if (job && job->state.compare_exchange_strong(waiting, State::Reading)) {
            return job;
        }
    }
    return {};
}

// Whether the job is still to be read or being read.
bool FolderReadAhead::Pending(const Job& job) const {
    const State state = job.state.load(std::memory_order_acquire);
    return state == State::Reading || (remote_ && state == State::Waiting);
}

bool FolderReadAhead::Take(const JobRef& job, Folder& into) {
    State waiting = State::Waiting;
    if (remote_) {
        if (job->state.load() == State::Waiting) {
            const std::lock_guard lock(mutex_);
            wanted_ = job;
            changes_.fetch_add(1);
            if (idleReaders_.load() > 0) {
                workReady_.notify_one();
            }
        }
    } else if (job->state.compare_exchange_strong(waiting, State::Reading)) {
        // No reader came to it: the walk reads it as a reader would.
        ReadJob(*job, walkReader_);
    }
    while (Pending(*job) && !cancel_.IsRaised()) {
        // Rather than sleep until a reader is done, the walk reads the next folder to come;
        // not on a share, where a read waits a round trip that readers wait side by side.
        std::shared_ptr<Job> next;
        if (!remote_) {
            const std::lock_guard lock(mutex_);
            next = PopWork();
        }
        if (next) {
            ReadJob(*next, walkReader_);
        } else {
            WaitForReader(*job);
        }
    }
    if (remote_) {
        const std::lock_guard lock(mutex_);
        if (wanted_ == job) {
            wanted_.reset();
        }
    }
    if (job->state.load(std::memory_order_acquire) != State::Read || cancel_.IsRaised()) {
        LetGo(job);
        return false;
    }
    into = std::move(job->folder);
    // A reader waiting for room can go on.
    if (held_.fetch_sub(1) >= mostHeld_ && idleReaders_.load() > 0) {
        const std::lock_guard lock(mutex_);
        changes_.fetch_add(1);
        workReady_.notify_one();
    }
    return true;
}

// The walk lets a job go without taking it: a reader still on it does not count it as held.
void FolderReadAhead::LetGo(const JobRef& job) {
    const std::lock_guard lock(mutex_);
    job->dropped = true;
    if (job->state.load() == State::Read) {
        job->state = State::Failed;
        held_.fetch_sub(1);
    }
}

// Until a reader finishes a folder. A reader is usually only microseconds from done, and
// waking from a sleep costs more than that, so the walk spins a little first: it is one of
// no more threads than processors, so nobody waits for its core.
void FolderReadAhead::WaitForReader(const Job& job) {
    const uint64_t seen = progress_.load(std::memory_order_acquire);
    // A share's reader is a round trip from done: no use spinning for it.
    const int spins = remote_ ? 0 : 20000;
    for (int spin = 0; spin < spins && progress_.load(std::memory_order_acquire) == seen; ++spin) {
        std::this_thread::yield();
    }
    Lock lock(mutex_);
    if (progress_.load(std::memory_order_acquire) == seen && Pending(job)) {
        walkWaiting_ = true;
        done_.wait_for(lock, std::chrono::milliseconds(10));
        walkWaiting_ = false;
    }
}

FolderReadAhead::Reader::Reader(const std::string& mask) : matcher(mask), scratch(kScratchSize) {
}

bool FolderReadAhead::Read(const Job& job, Folder& folder, UniqueFd& fd,
                           std::vector<char>& scratch) const {
    constexpr int kFlags = O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC;
    const std::string& path = job.path;
    if (job.parent) {
        // One name (never "." or "..": those begin with a dot), no link followed: still
        // beneath the root the parent was opened under.
        const size_t start = path.rfind('/', path.size() - 2) + 1;
        const std::string name = path.substr(start, path.size() - 1 - start);
        fd.Reset(openat(job.parent->Get(), name.c_str(), kFlags));
    } else {
        open_how how{};
        how.flags = kFlags;
        how.resolve = RESOLVE_BENEATH | RESOLVE_NO_SYMLINKS | RESOLVE_NO_MAGICLINKS;
        fd.Reset(
            static_cast<int>(syscall(SYS_openat2, root_.Get(), path.c_str(), &how, sizeof how)));
    }
    struct stat st {};
    if (!fd || fstat(fd.Get(), &st) != 0) {
        return false;
    }
    folder.dev = st.st_dev;
    folder.ino = st.st_ino;
    size_t used = 0;
    for (;;) {
        if (scratch.size() - used < kScratchSize / 2) {
            scratch.resize(scratch.size() * 2);
        }
        const long n =
            syscall(SYS_getdents64, fd.Get(), scratch.data() + used, scratch.size() - used);
        if (n < 0 && used == 0) {
            return false;
        }
        if (n <= 0) {
            break;
        }
        used += static_cast<size_t>(n);
    }
    folder.entries.assign(scratch.begin(), scratch.begin() + static_cast<ptrdiff_t>(used));
    if (scratch.size() > 32 * kScratchSize) {
        scratch = std::vector<char>(kScratchSize);
    }
    ResolveUnknownTypes(fd.Get(), folder.entries);
    return true;
}

// The times and sizes of the files among `records` the walk will store, in the order it stores
// them; the error number for a file whose status could not be read.
void FolderReadAhead::StatKeptFiles(int fd, const MaskMatcher& matcher, std::string_view records,
                                    std::vector<Kept>& kept) const {
    const bool expected = options_.ExpectedMatch == 1;
    // Room for a usual folder's files at once, rather than growing a step at a time.
    size_t entries = 0;
    ForEachEntry(records, [&entries](const dirent64&) { ++entries; });
    kept.reserve(std::min<size_t>(entries, 1024));
    ForEachEntry(records, [&](const dirent64& entry) {
        if (entry.d_type != DT_DIR && matcher.Matches(entry.d_name) == expected) {
            struct stat file {};
            if (fstatat(fd, entry.d_name, &file, AT_SYMLINK_NOFOLLOW) == 0) {
                kept.push_back(
                    {ToFileTime(file.st_mtim.tv_sec, file.st_mtim.tv_nsec), file.st_size, 0});
            } else {
                kept.push_back({0, -1, errno});
            }
        }
    });
}

// A piece of the status lookup of a big folder the walk read itself.
void FolderReadAhead::StatPiece(Job& piece, Reader& reader) {
    Folder folder;
    const std::string_view records(piece.records->data(), piece.records->size());
    StatKeptFiles(piece.parent->Get(), reader.matcher,
                  records.substr(piece.begin, piece.end - piece.begin), folder.kept);
    Finish(piece, true, folder, false);
}

FolderReadAhead::Jobs FolderReadAhead::OfferStatus(int fd, const std::vector<char>& entries) {
    Jobs pieces;
    if (entries.size() < 2 * kStatusPiece) {
        return pieces;
    }
    UniqueFd copy(fcntl(fd, F_DUPFD_CLOEXEC, 0));
    const Parent shared = Share(copy);
    if (!shared) {
        return pieces;
    }
    // A copy: a reader may still be on a piece when the walk has left the folder (cancelled).
    const auto records = std::make_shared<const std::vector<char>>(entries);
    for (size_t pos = 0; pos < entries.size();) {
        const std::shared_ptr<Job>& piece = pieces.emplace_back(std::make_shared<Job>());
        piece->records = records;
        piece->parent = shared;
        piece->begin = pos;
        while (pos < entries.size() && pos - piece->begin < kStatusPiece) {
            pos += reinterpret_cast<const dirent64*>(entries.data() + pos)->d_reclen;
        }
        piece->end = pos;
    }
    const std::lock_guard lock(mutex_);
    Push(pieces);
    return pieces;
}

bool FolderReadAhead::TakeStatus(const JobRef& piece, std::vector<Kept>& kept) {
    Folder folder;
    if (!Take(piece, folder)) {
        return false;
    }
    kept.insert(kept.end(), folder.kept.begin(), folder.kept.end());
    return true;
}

// The descriptor of a folder just read, shared by its subfolders' jobs when it is deep (opening
// by the whole path costs a lookup per level; near the root that is cheaper than keeping
// descriptors), has subfolders and the budget allows; the last of them closes it. Kept, it is
// taken from `fd`.
FolderReadAhead::Parent FolderReadAhead::KeepOpen(UniqueFd& fd, const Job& job,
                                                  const std::vector<char>& entries) {
    constexpr size_t kDeep = 16; // levels below the root
    if (job.depth < kDeep || !ReadsAheadBelow(job.depth, entries) || !fd ||
        !AnySubfolder(entries)) {
        return {};
    }
    return Share(fd);
}

// `fd`, taken to be shared by jobs, within the budget of descriptors kept; the last of them
// closes it. Nothing when the budget is spent.
FolderReadAhead::Parent FolderReadAhead::Share(UniqueFd& fd) {
    if (!fd) {
        return {};
    }
    if (parentsOpen_->fetch_add(1) >= mostParents_) {
        parentsOpen_->fetch_sub(1);
        return {};
    }
    return Parent(new UniqueFd(std::move(fd)), [count = parentsOpen_](const UniqueFd* kept) {
        delete kept;
        count->fetch_sub(1);
    });
}

void FolderReadAhead::ReadJob(Job& job, Reader& reader) {
    if (job.records) {
        StatPiece(job, reader);
        return;
    }
    Folder folder;
    UniqueFd fd;
    const bool read = Read(job, folder, fd, reader.scratch);
    const Parent kept = read ? KeepOpen(fd, job, folder.entries) : Parent();
    if (read) {
        folder.subfolders = MakeJobs(job.path, job.depth, folder.entries, kept);
    }
    // The files' status takes longest, so the subfolders are offered first: another thread
    // reads them meanwhile (down a chain nothing else could be read).
    const bool status = read && !options_.FoldersOnly && options_.KeepStatus;
    const bool offered = status && !folder.subfolders.empty();
    if (offered) {
        const std::lock_guard lock(mutex_);
        Push(folder.subfolders);
        TellWalk();
    }
    if (status) {
        StatKeptFiles(kept ? kept->Get() : fd.Get(), reader.matcher,
                      {folder.entries.data(), folder.entries.size()}, folder.kept);
    }
    Finish(job, read, folder, offered);
}

// Publishes what was read, unless the walk let the job go meanwhile.
void FolderReadAhead::Finish(Job& job, bool read, Folder& folder, bool offered) {
    const std::lock_guard lock(mutex_);
    if (read && !job.dropped) {
        if (!offered) {
            Push(folder.subfolders);
        }
        job.folder = std::move(folder);
        held_.fetch_add(1);
        job.state.store(State::Read, std::memory_order_release);
    } else {
        job.state.store(State::Failed, std::memory_order_release);
    }
    TellWalk();
}

// Under the lock: a walk waiting for a folder looks again.
void FolderReadAhead::TellWalk() {
    progress_.fetch_add(1, std::memory_order_release);
    if (walkWaiting_) {
        done_.notify_one();
    }
}

// Until there may be new work. The walk is usually about to offer some, and a reader that
// sleeps costs a wake-up on each side, so it spins a little first.
void FolderReadAhead::AwaitWork(Lock& lock) {
    const uint64_t seen = changes_.load(std::memory_order_acquire);
    lock.unlock();
    for (int spin = 0; spin < 4000 && changes_.load(std::memory_order_acquire) == seen; ++spin) {
        CpuRelax();
    }
    lock.lock();
}

// The next job for a reader; nothing when the read-ahead ends.
std::shared_ptr<FolderReadAhead::Job> FolderReadAhead::NextJob() {
    Lock lock(mutex_);
    for (bool spun = false;; spun = true) {
        if (stop_) {
            return {};
        }
        if (std::shared_ptr<Job> job = PopWork()) {
            return job;
        }
        if (!spun) {
            AwaitWork(lock);
            continue;
        }
        idleReaders_.fetch_add(1);
        // Checked again with the count raised: whoever makes room or work after it sees it.
        if (std::shared_ptr<Job> job = stop_ ? nullptr : PopWork()) {
            idleReaders_.fetch_sub(1);
            return job;
        }
        workReady_.wait(lock);
        idleReaders_.fetch_sub(1);
    }
}

void FolderReadAhead::Run() {
    Reader reader(options_.MaskText);
    while (const std::shared_ptr<Job> job = NextJob()) {
        ReadJob(*job, reader);
    }
}

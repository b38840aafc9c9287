#include "search/FolderReadAhead.h"

#include "platform/CancelFlag.h"
#include "search/FolderWalk.h"
#include "search/MaskMatcher.h"
#include "search/PathText.h"

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

constexpr size_t kMostHeld = 256;
constexpr size_t kScratchSize = 32 * 1024;

template <class Entries, class Visit> void ForEachEntry(Entries& entries, Visit visit) {
    using Entry = std::conditional_t<std::is_const_v<Entries>, const dirent64, dirent64>;
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
                                 const SearchOptions& options, const CancelFlag& cancel)
    : root_(std::move(root)), options_(options), cancel_(cancel),
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
        changes_.fetch_add(1, std::memory_order_release);
    }
    work_.notify_all();
    for (std::thread& thread : threads_) {
        thread.join();
    }
}

void FolderReadAhead::AddSubfolders(const Place& place, std::string_view path,
                                    const std::vector<char>& entries, const Parent& parent) {
    changes_.fetch_add(1, std::memory_order_release);
    if (place.size() >= kDeepest) {
        return;
    }
    Place child = place;
    child.push_back(0);
    if (child < scanFrom_) {
        scanFrom_ = child; // its subfolders wait before anything waiting so far
    }
    for (size_t pos = 0; pos < entries.size();) {
        const auto* entry = reinterpret_cast<const dirent64*>(entries.data() + pos);
        pos += entry->d_reclen;
        if (!IsSubfolder(*entry)) {
            continue;
        }
        // A path too long for one call is left to the walk, which opens it by its parent.
        if (path.size() + std::strlen(entry->d_name) + 1 < PATH_MAX) {
            auto [it, added] = jobs_.try_emplace(child);
            if (!added) {
                held_ -= it->second.state == State::Read ? 1 : 0;
                it->second = Job{};
            }
            it->second.path.append(path).append(entry->d_name).push_back('/');
            it->second.parent = parent;
        }
        ++child.back();
    }
}

void FolderReadAhead::WakeReader(Lock& lock) {
    // Only for work a reader can take: a reader woken for nothing costs a wake-up on each side.
    const bool idle = idleReaders_ > 0 && NextToRead() != jobs_.end();
    lock.unlock();
    if (idle) {
        work_.notify_one();
    }
}

void FolderReadAhead::Offer(const Place& place, std::string_view path,
                            const std::vector<char>& entries) {
    std::unique_lock lock(mutex_);
    AddSubfolders(place, path, entries);
    WakeReader(lock);
}

bool FolderReadAhead::Take(const Place& place, std::string_view path, Folder& into) {
    std::unique_lock lock(mutex_);
    // The walk goes on from here: nothing before this place is of use any more.
    const auto Drop = [this](std::map<Place, Job>::iterator it) {
        held_ -= it->second.state == State::Read ? 1 : 0;
        return jobs_.erase(it);
    };
    for (auto it = jobs_.begin(); it != jobs_.end() && it->first < place;) {
        it = Drop(it);
    }
    auto it = jobs_.find(place);
    if (it != jobs_.end() && it->second.state == State::Waiting && it->second.path == path) {
        // No reader came to it: the walk reads it as a reader would, by its path from the
        // root, rather than climb back to a folder it still holds a descriptor for.
        ReadJob(lock, it, walkReader_);
        it = jobs_.find(place);
    }
    while (it != jobs_.end() && it->second.state == State::Reading && !cancel_.IsRaised()) {
        // Rather than sleep until a reader is done, the walk reads the next folder to come.
        if (const auto next = NextToRead(); next != jobs_.end()) {
            ReadJob(lock, next, walkReader_);
        } else {
            WaitForReader(lock);
        }
        it = jobs_.find(place);
    }
    bool taken = false;
    if (it != jobs_.end()) {
        taken = it->second.state == State::Read && it->second.path == path;
        if (taken) {
            into = std::move(it->second.folder);
            Drop(it);
        } else {
            // Whatever was read below a folder the walk reads itself is not its to use.
            while (it != jobs_.end() && it->first.size() >= place.size() &&
                   std::equal(place.begin(), place.end(), it->first.begin())) {
                it = Drop(it);
            }
        }
    }
    changes_.fetch_add(1, std::memory_order_release);
    WakeReader(lock);
    return taken;
}

// Until a reader finishes a folder. A reader is usually only microseconds from done, and
// waking from a sleep costs more than that, so the walk spins a little first: it is one of
// no more threads than processors, so nobody waits for its core.
void FolderReadAhead::WaitForReader(Lock& lock) {
    const uint64_t seen = progress_.load(std::memory_order_acquire);
    lock.unlock();
    for (int spin = 0; spin < 20000 && progress_.load(std::memory_order_acquire) == seen; ++spin) {
        std::this_thread::yield();
    }
    lock.lock();
    if (progress_.load(std::memory_order_acquire) == seen) {
        walkWaiting_ = true;
        done_.wait_for(lock, std::chrono::milliseconds(10));
        walkWaiting_ = false;
    }
}

FolderReadAhead::Reader::Reader(const std::string& mask) : matcher(mask), scratch(kScratchSize) {
}

bool FolderReadAhead::Read(const std::string& path, const Parent& parent, Folder& folder,
                           UniqueFd& fd, std::vector<char>& scratch) const {
    constexpr int kFlags = O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC;
    if (parent) {
        // One name (never "." or "..": those begin with a dot), no link followed: still
        // beneath the root the parent was opened under.
        const size_t start = path.rfind('/', path.size() - 2) + 1;
        const std::string name = path.substr(start, path.size() - 1 - start);
        fd.Reset(openat(parent->Get(), name.c_str(), kFlags));
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

// The times and sizes of the files the walk will store, in the order it stores them; -errno
// for a file whose status could not be read.
void FolderReadAhead::StatKeptFiles(int fd, const MaskMatcher& matcher, Folder& folder) const {
    const bool expected = options_.ExpectedMatch == 1;
    // Room for a usual folder's files at once, rather than growing a step at a time.
    size_t entries = 0;
    ForEachEntry(folder.entries, [&entries](const dirent64&) { ++entries; });
    folder.kept.reserve(std::min<size_t>(entries, 1024));
    ForEachEntry(folder.entries, [&](const dirent64& entry) {
        if (entry.d_type != DT_DIR && matcher.Matches(entry.d_name) == expected) {
            struct stat file {};
            if (fstatat(fd, entry.d_name, &file, AT_SYMLINK_NOFOLLOW) == 0) {
                folder.kept.push_back(
                    {ToFileTime(file.st_mtim.tv_sec, file.st_mtim.tv_nsec), file.st_size});
            } else {
                folder.kept.push_back({-errno, -1});
            }
        }
    });
}

FolderReadAhead::Jobs::iterator FolderReadAhead::NextToRead() {
    if (held_ >= kMostHeld || cancel_.IsRaised()) {
        return jobs_.end();
    }
    const auto next = std::find_if(jobs_.lower_bound(scanFrom_), jobs_.end(), [](const auto& job) {
        return job.second.state == State::Waiting;
    });
    if (next != jobs_.end()) {
        scanFrom_ = next->first;
    }
    return next;
}

// The descriptor of a folder just read, shared by its subfolders' jobs when it is deep (opening
// by the whole path costs a lookup per level; near the root that is cheaper than keeping
// descriptors), has subfolders and the budget allows; the last of them closes it. Kept, it is
// taken from `fd`.
FolderReadAhead::Parent FolderReadAhead::KeepOpen(UniqueFd& fd, std::string_view path,
                                                  const std::vector<char>& entries) {
    constexpr long kDeep = 16; // levels below the root
    if (std::count(path.begin(), path.end(), '/') < kDeep) {
        return {};
    }
    if (!fd || !AnySubfolder(entries)) {
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

void FolderReadAhead::ReadJob(Lock& lock, Jobs::iterator job, Reader& reader) {
    const Place place = job->first;
    const std::string path = job->second.path;
    const Parent parent = std::move(job->second.parent);
    job->second.state = State::Reading;
    ++held_;
    lock.unlock();

    Folder folder;
    UniqueFd fd;
    const bool read = Read(path, parent, folder, fd, reader.scratch);
    const Parent kept = read ? KeepOpen(fd, path, folder.entries) : Parent();
    const bool status = read && !options_.FoldersOnly && options_.KeepStatus;
    // The files' status takes longest, so the subfolders are offered first: another thread
    // reads them meanwhile (down a chain nothing else could be read).
    bool offered = false;
    if (status && AnySubfolder(folder.entries)) {
        lock.lock();
        if (const auto it = jobs_.find(place);
            it != jobs_.end() && it->second.state == State::Reading) {
            AddSubfolders(place, path, folder.entries, kept);
            offered = true;
            Progressed();
        }
        lock.unlock();
    }
    if (status) {
        StatKeptFiles(kept ? kept->Get() : fd.Get(), reader.matcher, folder);
    }

    lock.lock();
    const auto it = jobs_.find(place);
    if (it == jobs_.end() || it->second.state != State::Reading || !read) {
        --held_;
        if (it != jobs_.end() && it->second.state == State::Reading) {
            it->second.state = State::Failed;
        }
    } else {
        if (!offered) {
            AddSubfolders(place, path, folder.entries, kept);
        }
        it->second.folder = std::move(folder);
        it->second.state = State::Read;
    }
    Progressed();
}

// Tells whoever waits that there is more to take or to read: an idle reader (its subfolders
// are more work), and the walk.
void FolderReadAhead::Progressed() {
    if (idleReaders_ > 0) {
        work_.notify_one();
    }
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

void FolderReadAhead::Run() {
    Reader reader(options_.MaskText);
    std::unique_lock lock(mutex_);
    for (;;) {
        auto next = jobs_.end();
        if (!stop_ && (next = NextToRead()) == jobs_.end()) {
            AwaitWork(lock);
            ++idleReaders_;
            work_.wait(lock, [&] { return stop_ || (next = NextToRead()) != jobs_.end(); });
            --idleReaders_;
        }
        if (stop_) {
            return;
        }
        ReadJob(lock, next, reader);
    }
}

#pragma once

#include "platform/SpinThenSleepMutex.h"
#include "platform/UniqueFd.h"
#include "search/MaskMatcher.h"

#include <atomic>
#include <condition_variable>
#include <cstdint>
#include <memory>
#include <mutex>
#include <string>
#include <string_view>
#include <sys/types.h>
#include <thread>
#include <vector>

class CancelFlag;

struct SearchOptions;

// Reads folders ahead of a depth-first walk on reader threads, so that the walk, which stores
// on one thread in its own order, finds each folder's entries (and the times and sizes of the
// files the mask keeps) already read. Each subfolder to read is a job, held by the folder that
// contains it: the walk holds the jobs of the folders it is in, takes each in its turn, and drops
// what it has gone past by simply letting go. Readers take the job offered last first, which
// is the walk's next when one thread reads, and hold at most a bounded number of folders read
// and not yet taken. Anything a reader could not read is simply read by the walk itself, so the
// walk's results never depend on the readers. A big folder the walk read itself (the root, say)
// has its files' status looked up in pieces, by readers and the walk side by side.
class FolderReadAhead {
    struct Job;

public:
    // A subfolder to read, as the walk holds it.
    using JobRef = std::shared_ptr<Job>;
    // A folder's subfolders' jobs, in the walk's order; none for one left to the walk.
    using Jobs = std::vector<JobRef>;
    // A kept file's status: its time and size, or why it could not be read.
    struct Kept {
        int64_t time = 0;
        int64_t size = -1;
        int error = 0; // the status lookup's error number; time and size are then unknown
    };
    struct Folder {
        std::vector<char> entries; // getdents64 records; d_type filled in where it was unknown
        std::vector<Kept> kept;    // each kept file's, in order
        Jobs subfolders;
        dev_t dev = 0;
        ino_t ino = 0;
    };

    // `root` is the walk's root, opened; `readers` threads start at once. At most `keptOpen`
    // folders read stay open for their subfolders. `remote`: the root is on a network or FUSE
    // file system, where each folder read waits a round trip: readers then read at every depth
    // and further ahead, and the walk never reads a folder itself but has a reader take the one
    // it waits for first, so that as many requests as readers are in flight.
    FolderReadAhead(UniqueFd root, int readers, int keptOpen, const SearchOptions& options,
                    const CancelFlag& cancel, bool remote = false);
    ~FolderReadAhead();
    FolderReadAhead(const FolderReadAhead&) = delete;
    FolderReadAhead& operator=(const FolderReadAhead&) = delete;

    // A folder the walk read itself, `depth` levels below the root: its subfolders' jobs, for
    // readers to read. `path` is relative to the root and, unless empty, ends in "/".
    Jobs Offer(std::string_view path, size_t depth, const std::vector<char>& entries);
    // The job's folder when a reader has it (waiting while one reads it, and reading other
    // folders meanwhile). False: the walk reads it itself.
    bool Take(const JobRef& job, Folder& into);

    // The status of the kept files of a big folder the walk read itself (open as `fd`), in
    // pieces for readers to look up while the walk stores; none for a folder of fewer than two
    // pieces. The walk takes them in order, adding each piece's to `kept` (false: cancelled),
    // and lets go of those it does not need.
    Jobs OfferStatus(int fd, const std::vector<char>& entries);
    bool TakeStatus(const JobRef& piece, std::vector<Kept>& kept);
    void LetGo(const JobRef& job);
    static constexpr size_t kStatusPiece = 64 * 1024; // bytes of records, some 2 000 files

    // Levels below the root read ahead. Further down, only below folders of at least
    // kBusyFolder bytes of entries: far down a chain of small folders, where one leads to one
    // and nothing can be read side by side, handing each over costs more than reading it, and
    // the walk does better alone.
    static constexpr size_t kDeepest = 24;
    static constexpr size_t kBusyFolder = 4096;

    // Threads for reading by default: the processors online, at most 8; on a network or FUSE
    // file system, enough to hide its round trips.
    static int DefaultThreads();
    static constexpr int kRemoteThreads = 32;

private:
    enum class State { Waiting, Reading, Read, Failed };
    // A folder to read. Whoever moves it from Waiting to Reading reads it; Read publishes its
    // folder to the walk.
    struct Job {
        std::string path; // relative to the root, ending in "/"
        size_t depth = 0;
        // The parent folder, kept open so this one is opened by its name alone rather than by
        // its whole path from the root; or nothing.
        std::shared_ptr<const UniqueFd> parent;
        std::atomic<State> state{State::Waiting};
        bool dropped = false; // the walk let it go (under the lock)
        Folder folder;
        // A piece of a status lookup: records [begin, end) of the folder open as `parent`.
        std::shared_ptr<const std::vector<char>> records;
        size_t begin = 0;
        size_t end = 0;
    };

    using Parent = std::shared_ptr<const UniqueFd>;
    using Lock = std::unique_lock<SpinThenSleepMutex>;

    struct Reader {
        explicit Reader(const std::string& mask);
        MaskMatcher matcher;
        std::vector<char> scratch;
    };

    bool ReadsAheadBelow(size_t depth, const std::vector<char>& entries) const;
    bool Pending(const Job& job) const;
    void Run();
    std::shared_ptr<Job> NextJob();
    std::shared_ptr<Job> PopWork();
    void Push(const Jobs& jobs);
    void ReadJob(Job& job, Reader& reader);
    void Finish(Job& job, bool read, Folder& folder, bool offered);
    void TellWalk();
    void AwaitWork(Lock& lock);
    void WaitForReader(const Job& job);
    bool Read(const Job& job, Folder& folder, UniqueFd& fd, std::vector<char>& scratch) const;
    void StatKeptFiles(int fd, const MaskMatcher& matcher, std::string_view records,
                       std::vector<Kept>& kept) const;
    void StatPiece(Job& piece, Reader& reader);
    Parent Share(UniqueFd& fd);
    Jobs MakeJobs(std::string_view path, size_t depth, const std::vector<char>& entries,
                  const Parent& parent) const;
    Parent KeepOpen(UniqueFd& fd, const Job& job, const std::vector<char>& entries);

    UniqueFd root_;
    const SearchOptions& options_;
    const CancelFlag& cancel_;
    const bool remote_;
    const int mostHeld_;                   // folders read and not taken, at most
    std::vector<std::weak_ptr<Job>> work_; // the last offered is read first
    std::shared_ptr<Job> wanted_;          // the one the walk waits for, read first (remote)
    std::atomic<int> held_{0};             // folders read and not taken
    bool stop_ = false;
    std::atomic<int> idleReaders_{0}; // waiting for work: woken only then, wake-ups cost
    std::atomic<bool> walkWaiting_{false};
    std::atomic<uint64_t> changes_{0};  // work offered, folders taken, or the end
    std::atomic<uint64_t> progress_{0}; // jobs done with, read or not, or their subfolders offered
    std::shared_ptr<std::atomic<int>> parentsOpen_; // descriptors kept for subfolders
    int mostParents_ = 0;
    SpinThenSleepMutex mutex_;
    std::condition_variable_any workReady_;
    std::condition_variable_any done_;
    Reader walkReader_;
    std::vector<std::thread> threads_;
};

// Whether `name` in the folder open as `dirFd` is a folder itself (a link to one is not).
bool IsFolderAt(int dirFd, const char* name);

// Looks up the type of every entry whose d_type is unknown, so the records say which are
// folders (a failed lookup marks it a file, as the walk would take it).
void ResolveUnknownTypes(int dirFd, std::vector<char>& entries);

// ResolveUnknownTypes, then whether any entry is a folder the walk would enter: with none, there
// is nothing to read ahead.
bool HasSubfolders(int dirFd, std::vector<char>& entries);

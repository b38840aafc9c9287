#pragma once

#include "platform/SpinThenSleepMutex.h"
#include "platform/UniqueFd.h"
#include "search/MaskMatcher.h"

#include <atomic>
#include <condition_variable>
#include <cstdint>
#include <map>
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
// files the mask keeps) already read. A folder is named by its place in the walk: the numbers of
// the subfolders taken, from the root down. Readers take the nearest folder to come first, and hold
// at most a bounded number of folders read and not yet taken; what the walk has gone past is
// dropped. Anything a reader could not read is simply read by the walk itself, so the walk's
// results never depend on the readers.
class FolderReadAhead {
public:
    using Place = std::vector<uint32_t>;
    // A kept file's status: its time (-errno when it could not be read) and its size.
    struct Kept {
        int64_t time = 0;
        int64_t size = -1;
    };
    struct Folder {
        std::vector<char> entries; // getdents64 records; d_type filled in where it was unknown
        std::vector<Kept> kept;    // each kept file's, in order
        dev_t dev = 0;
        ino_t ino = 0;
    };

    // `root` is the walk's root, opened; `readers` threads start at once. At most `keptOpen`
    // folders read stay open for their subfolders.
    FolderReadAhead(UniqueFd root, int readers, int keptOpen, const SearchOptions& options,
                    const CancelFlag& cancel);
    ~FolderReadAhead();
    FolderReadAhead(const FolderReadAhead&) = delete;
    FolderReadAhead& operator=(const FolderReadAhead&) = delete;

    // A folder the walk read itself: its subfolders become folders to read. `path` is relative
    // to the root and, unless empty, ends in "/".
    void Offer(const Place& place, std::string_view path, const std::vector<char>& entries);
    // The folder at `place`, whose path relative to the root is `path`, when a reader has it
    // (waiting while one reads it). False: the walk reads it itself. Taking a place drops
    // every place before it.
    bool Take(const Place& place, std::string_view path, Folder& into);

    // Levels below the root read ahead. A folder is named by its place, so the work for each
    // grows with its depth: far down a chain, where one folder leads to one folder and nothing
    // can be read side by side, the walk does better alone.
    static constexpr size_t kDeepest = 64;

    // Threads for reading by default: the processors online, at most 8.
    static int DefaultThreads();

private:
    enum class State { Waiting, Reading, Read, Failed };
    // A folder a reader read, kept open while its subfolders wait, so each is opened by its
    // name alone rather than by its whole path from the root.
    using Parent = std::shared_ptr<const UniqueFd>;
    struct Job {
        std::string path;
        State state = State::Waiting;
        Folder folder;
        Parent parent; // or nothing: opened from the root
    };

    struct Reader {
        explicit Reader(const std::string& mask);
        MaskMatcher matcher;
        std::vector<char> scratch;
    };
    using Jobs = std::map<Place, Job>;
    using Lock = std::unique_lock<SpinThenSleepMutex>;

    void Run();
    Jobs::iterator NextToRead();
    void ReadJob(Lock& lock, Jobs::iterator job, Reader& reader);
    void Progressed();
    void WakeReader(Lock& lock);
    void AwaitWork(Lock& lock);
    void WaitForReader(Lock& lock);
    bool Read(const std::string& path, const Parent& parent, Folder& folder, UniqueFd& fd,
              std::vector<char>& scratch) const;
    void StatKeptFiles(int fd, const MaskMatcher& matcher, Folder& folder) const;
    void AddSubfolders(const Place& place, std::string_view path, const std::vector<char>& entries,
                       const Parent& parent = {});
    Parent KeepOpen(UniqueFd& fd, std::string_view path, const std::vector<char>& entries);

    UniqueFd root_;
    const SearchOptions& options_;
    const CancelFlag& cancel_;
    std::map<Place, Job> jobs_;
    Place scanFrom_;  // no job before it is waiting: where the search for work starts
    size_t held_ = 0; // folders read and not taken, and folders being read
    bool stop_ = false;
    int idleReaders_ = 0; // waiting for work: woken only then, wake-ups cost
    bool walkWaiting_ = false;
    std::atomic<uint64_t> changes_{0}; // work offered, folders taken, or the end
    std::atomic<uint64_t> progress_{
        0}; // folders done with, read or not, or their subfolders offered
    std::shared_ptr<std::atomic<int>> parentsOpen_; // descriptors kept for subfolders
    int mostParents_ = 0;
    SpinThenSleepMutex mutex_;
    std::condition_variable_any work_;
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

#pragma once

#include "platform/UniqueFd.h"
#include "search/FolderWalk.h"
#include "search/MaskMatcher.h"

#include <QString>
#include <atomic>
#include <functional>
#include <string>
#include <thread>
#include <vector>

// Watches the folders a search walked (inotify) and tells whether what happens in them could
// alter the results: a name created, removed or renamed that the search would list, or a
// folder created or removed where the search went into folders. The watches are added on a
// thread of its own, to the folders the walk entered (it lists nothing again), so that neither
// the search nor its list waits for them. A tree with more folders than the user may watch is
// not watched at all, nor one on a network or FUSE file system, whose server's changes inotify
// never sees.
class FolderWatch {
public:
    enum class State { Adding, Watching, TooManyFolders, Failed };

    // `options` are the search's; `limit` the most watches this user may have (0: read it from
    // /proc/sys/fs/inotify/max_user_watches).
    explicit FolderWatch(const SearchOptions& options, long limit = 0);
    ~FolderWatch();
    FolderWatch(const FolderWatch&) = delete;
    FolderWatch& operator=(const FolderWatch&) = delete;

    // Adds the watches to `folders` (the walk's, in its order) on a thread, then calls `done`
    // there.
    void Start(std::vector<std::string> folders, std::function<void()> done);
    // The same, on this thread (tests).
    void AddWatches(const std::vector<std::string>& folders);
    // Why a tree on a network or FUSE file system is not watched, for the user.
    static QString RemoteProblem();

    State CurrentState() const { return state_; }
    // Why nothing is watched, for the user; empty while watching.
    QString Problem() const;
    // Readable when something happened.
    int Fd() const { return fd_.Get(); }
    // Reads what happened since the last call; true when it could alter the results.
    bool ReadEvents();

private:
    bool Watch(const std::string& folder);
    bool Alters(uint32_t mask, const char* name) const;

    SearchOptions options_;
    MaskMatcher matcher_;
    long limit_;
    UniqueFd fd_;
    std::atomic<State> state_{State::Adding};
    long watched_ = 0; // by the thread adding them
    int error_ = 0;
    std::thread adder_;
    std::atomic<bool> stop_{false};
};

// Makes the calling thread run only when a processor has nothing else to do: for work behind a
// search (watching its folders, closing old watches) that must not take a core from the next.
void RunOnlyWhenIdle();
// Gives such a thread its share of the processors again, before someone waits for it to end:
// on a busy machine an idle-only thread might otherwise never run.
void RunNormally(std::thread& thread);

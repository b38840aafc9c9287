#pragma once

#include "search/FileDataArray.h"
#include "search/FolderWalk.h"

#include <functional>
#include <memory>
#include <string>

class CancelFlag;

// The part of a search that does not touch a window: options and counters reset, the store
// prepared, the walk timed, the store closed. The window and the command line both run it.
class SearchSession {
public:
    // Rows a result list can hold; more results are shown only through per-type views.
    static constexpr int32_t kListLimit = 32701;
    // Tests lower it, so that a few files stand for tens of thousands.
    void SetListLimitForTesting(int32_t limit) { listLimit_ = limit; }
    // Whether `matched` results are more than a list takes: the last index reaches the limit.
    static bool TooManyToList(int32_t matched, int32_t limit = kListLimit) {
        return matched - 1 >= limit;
    }

    // Resets counters and flags for a new search of `rootText` (made absolute against the
    // current folder, with a "/" at its end) with `options`.
    void Prepare(const std::string& rootText, const SearchOptions& options);

    // Erases the store, gives it its first 501 slots, lowers nothing and walks the root.
    // Elapsed time covers the walk only.
    void Run(const CancelFlag& cancel, WalkListener* listener);

    // The same walk on a thread of its own, for a window that must stay alive while a share
    // takes its time or does not answer at all. `listener` hears the walk on that thread and
    // must be safe there, and hears every folder entered (whether to show it is its own
    // affair); `finished` is called there too, once, when the walk is done. The store
    // is the walk's until Collect.
    void Start(std::shared_ptr<WalkListener> listener, std::function<void()> finished);
    // Whether the walk started last is done.
    bool WalkDone() const;
    // Tells the walk to stop at its next step (it may be waiting on the file system).
    void CancelWalk();
    // Takes the walk's results. A walk that is not done is left behind: what it stored so far
    // is taken at once, and it stores nothing more; its thread ends when the call it waits on
    // returns. Neither its listener nor `finished` is called after this returns. True when the
    // walk was left behind.
    bool Collect();
    // Tests put a blocking open in the walk Start runs.
    void SetOpenFolderForTesting(FolderWalk::OpenFolderFunction open) {
        testOpen_ = std::move(open);
    }

    // Forgets the results: the store erased, nothing available.
    void Erase();

    // Bounds the store exactly to the records found; call only when ResultsAvailable.
    void CloseStore();

    FileDataArray& Store() { return store_; }
    const FileDataArray& Store() const { return store_; }
    SearchOptions& Options() { return options_; }
    const SearchOptions& Options() const { return options_; }
    const SearchCounters& Counters() const { return counters_; }

    const std::string& RootPath() const { return rootPath_; }
    bool RootWasFolder() const { return rootWasFolder_; }
    float ElapsedSeconds() const { return elapsedSeconds_; }
    bool StarDotStarSearched() const { return starDotStarSearched_; }
    bool ResultsAvailable() const { return resultsAvailable_; }
    bool ListLimitExceeded() const { return listLimitExceeded_; }
    // The file system the root is on; Network also when a walk was left behind.
    FileSystemKind RootKind() const { return rootKind_; }

private:
    struct Walk;

    std::shared_ptr<Walk> walk_;
    FolderWalk::OpenFolderFunction testOpen_;
    FileDataArray store_;
    SearchOptions options_;
    SearchCounters counters_;
    std::string rootPath_;
    bool rootWasFolder_ = false;
    float elapsedSeconds_ = 0;
    bool starDotStarSearched_ = false;
    bool resultsAvailable_ = false;
    bool listLimitExceeded_ = false;
    int32_t listLimit_ = kListLimit;
    FileSystemKind rootKind_ = FileSystemKind::Disk;
};

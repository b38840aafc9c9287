#include "search/SearchSession.h"

#include "platform/CancelFlag.h"
#include "search/MaskRules.h"
#include "text/PathText.h"

#include <QElapsedTimer>
#include <atomic>
#include <mutex>
#include <thread>

void SearchSession::Prepare(const std::string& rootText, const SearchOptions& options) {
    options_ = options;
    counters_ = SearchCounters{};
    rootPath_ = WithTrailingSlash(AbsolutePath(rootText));
    rootWasFolder_ = false;
    elapsedSeconds_ = 0;
    resultsAvailable_ = false;
    listLimitExceeded_ = false;
    starDotStarSearched_ = ContainsStarDotStar(options_.MaskText);
    store_.Erase();
}

void SearchSession::Run(const CancelFlag& cancel, WalkListener* listener) {
    store_.Prepare();
    QElapsedTimer timer;
    timer.start();
    FolderWalk walk(options_, store_, counters_, cancel, listener);
    rootWasFolder_ = walk.Walk(rootPath_);
    rootKind_ = walk.RootKind();
    elapsedSeconds_ = static_cast<float>(timer.elapsed()) / 1000.0f;
    resultsAvailable_ = counters_.MatchedCount > 0;
}

void SearchSession::CloseStore() {
    store_.Redim(counters_.MatchedCount - 1);
    listLimitExceeded_ = TooManyToList(counters_.MatchedCount, listLimit_);
}

void SearchSession::Erase() {
    store_.Erase();
    resultsAvailable_ = false;
    listLimitExceeded_ = false;
}

// What a walk on its own thread owns: everything it writes, so that a walk left behind touches
// nothing of the session's.
struct SearchSession::Walk {
    SearchOptions options;
    std::string root;
    FileDataArray store;
    SearchCounters counters;
    CancelFlag cancel;
    StoreGate gate;
    std::shared_ptr<WalkListener> listener;
    QElapsedTimer timer;
    bool rootWasFolder = false; // these three are written before `done`
    FileSystemKind rootKind = FileSystemKind::Disk;
    float elapsedSeconds = 0;
    std::atomic<bool> done{false};
    std::mutex finishedMutex; // the callback may be taken away while the walk ends
    std::function<void()> finished;

    void Run(const FolderWalk::OpenFolderFunction& testOpen) {
        {
            FolderWalk walk(options, store, counters, cancel, listener.get());
            walk.SetGate(&gate);
            if (testOpen) {
                walk.SetOpenFolderForTesting(testOpen);
            }
            rootWasFolder = walk.Walk(root);
            rootKind = walk.RootKind();
        }
        elapsedSeconds = static_cast<float>(timer.elapsed()) / 1000.0f;
        done.store(true, std::memory_order_release);
        const std::lock_guard lock(finishedMutex);
        if (finished) {
            finished();
        }
    }
};

void SearchSession::Start(std::shared_ptr<WalkListener> listener, std::function<void()> finished) {
    walk_ = std::make_shared<Walk>();
    walk_->options = options_;
    // Every folder entered is told: whether it shows may change while the walk runs. And
    // kept, for the window to watch.
    walk_->options.ShowFolderProgress = true;
    walk_->options.RecordFolders = true;
    walk_->root = rootPath_;
    walk_->listener = std::move(listener);
    walk_->finished = std::move(finished);
    walk_->store.Prepare();
    walk_->timer.start();
    // Detached: a walk left behind on a share that does not answer ends when its call returns.
    std::thread([walk = walk_, open = testOpen_] { walk->Run(open); }).detach();
}

bool SearchSession::WalkDone() const {
    return !walk_ || walk_->done.load(std::memory_order_acquire);
}

void SearchSession::CancelWalk() {
    if (walk_) {
        walk_->cancel.Raise();
    }
}

bool SearchSession::Collect() {
    if (!walk_) {
        return false;
    }
    {
        const std::lock_guard lock(walk_->finishedMutex);
        walk_->finished = nullptr;
    }
    const bool done = walk_->done.load(std::memory_order_acquire);
    if (done) {
        counters_ = walk_->counters;
        rootWasFolder_ = walk_->rootWasFolder;
        rootKind_ = walk_->rootKind;
        elapsedSeconds_ = walk_->elapsedSeconds;
    } else {
        walk_->cancel.Raise();
        walk_->gate.Close();
        counters_.MatchedCount = walk_->counters.MatchedCount;
        counters_.ChunkCount = walk_->counters.ChunkCount;
        counters_.ObjectCount = walk_->gate.Objects();
        rootWasFolder_ = true;               // it was opened, or the walk would be done
        rootKind_ = FileSystemKind::Network; // what does not answer is not watched
        elapsedSeconds_ = static_cast<float>(walk_->timer.elapsed()) / 1000.0f;
    }
    store_ = std::move(walk_->store);
    resultsAvailable_ = counters_.MatchedCount > 0;
    walk_.reset();
    return !done;
}

#include "app/window/SearchController.h"

#include "app/window/ChangeMonitor.h"
#include "app/window/CommandRunner.h"
#include "app/window/ResultPane.h"
#include "app/window/SearchRequest.h"
#include "app/window/TypeCommands.h"
#include "app/window/WindowContext.h"
#include "fileops/FileCommands.h"
#include "platform/CancelFlag.h"
#include "platform/Desktop.h"
#include "platform/WindowPrompts.h"
#include "search/SearchStatus.h"
#include "settings/modPProfile.h"
#include "text/PathText.h"

#include <QEventLoop>
#include <QTimer>
#include <atomic>
#include <mutex>
#include <optional>

// Keeps what the walk last told, on the walk's thread, for the window's thread to show when it
// next looks: formatting a text for every folder would cost more than the walk.
class SearchController::StatusListener : public WalkListener {
public:
    explicit StatusListener(std::function<void()> observer) : observer_(std::move(observer)) {}

    void ObjectsCounted(int64_t shown) override {
        const std::lock_guard lock(mutex_);
        objects_ = shown;
        objectsSequence_ = ++sequence_;
    }
    void FolderEntered(std::string_view name, int64_t objects, int32_t matched) override {
        const std::lock_guard lock(mutex_);
        folderName_.assign(name);
        folderObjects_ = objects;
        folderMatched_ = matched;
        folderSequence_ = ++sequence_;
    }
    void Yield() override {
        if (observer_ && !detached_.load(std::memory_order_acquire)) {
            observer_();
        }
    }
    void Reading(std::string_view parent, std::string_view name) override {
        const std::lock_guard lock(mutex_);
        reading_.assign(parent).append(name);
        if (!name.empty()) {
            reading_ += '/';
        }
    }
    // The folder the walk waits on, or last waited on.
    std::string WaitedOn() {
        const std::lock_guard lock(mutex_);
        return reading_;
    }
    // No more calls of the observer: the window has taken the results.
    void Detach() { detached_.store(true, std::memory_order_release); }

    // On the window's thread: puts what was told since it last looked on the status line.
    void Show(StatusLine& status, bool folderProgress) {
        const std::lock_guard lock(mutex_);
        if (folderSequence_ > shownSequence_ && folderProgress) {
            const FolderMessage m = FolderMessageTexts(folderName_, folderObjects_, folderMatched_);
            status.SetExact(StatusPart::Message, m.part0);
            status.SetExact(StatusPart::Objects, m.part1);
            status.SetExact(StatusPart::Matched, m.part2);
        }
        if (objectsSequence_ > shownSequence_ && objectsSequence_ > folderSequence_) {
            status.Set(StatusPart::Objects, ObjectsText(objects_));
        }
        shownSequence_ = sequence_;
    }

private:
    const std::function<void()> observer_;
    std::atomic<bool> detached_{false};
    std::mutex mutex_;
    uint64_t sequence_ = 0;
    uint64_t shownSequence_ = 0;
    int64_t objects_ = 0;
    uint64_t objectsSequence_ = 0;
    std::string folderName_;
    int64_t folderObjects_ = 0;
    int32_t folderMatched_ = 0;
    uint64_t folderSequence_ = 0;
    std::string reading_;
};

void SearchController::Cancel() {
    shared_.cancel.Raise();
    CancelWalk();
}

void SearchController::ButtonClicked() {
    if (searching_ || commandRunning_()) {
        Cancel();
        shared_.yield.Now();
        return;
    }
    if (shared_.busy) {
        return;
    }
    shared_.cancel.Lower();
    const ResultPane::Place place = results_.CurrentPlace(); // a rescan returns there
    const std::optional<std::string> root = Root();
    if (!root || !Prepare(*root)) {
        results_.ResetPlaceholder();
        return;
    }
    searching_ = true;
    request_.ShowRunning(true);
    shared_.SetBusy(true);
    shared_.status.Set(StatusPart::Message, tr("Searching..."));

    const std::optional<std::string> notAnswering = WaitForWalk();
    if (shared_.session.ResultsAvailable()) {
        ShowMatches();
        results_.ReturnTo(place);
    } else {
        ShowNoMatches();
    }
    request_.ShowRunning(false);
    searching_ = false;
    shared_.SetBusy(false);
    results_.ResetPlaceholder();
    if (notAnswering) {
        shared_.prompts.Message(
            tr("The search was cancelled while ' %1 ' did not answer. What was found before it "
               "is shown.")
                .arg(DisplayPath(*notAnswering)),
            MessageIcon::Information, MessageButtons::Ok);
    }
}

// The walk runs on a thread of its own; this one keeps the window alive, shows the walk's
// status as it goes, and answers Cancel, Escape and the close box. A walk that does not stop
// soon after a cancel (its share does not answer) is left behind with what it found: the
// folder it waits on is returned.
std::optional<std::string> SearchController::WaitForWalk() {
    SearchSession& session = shared_.session;
    const auto listener = std::make_shared<StatusListener>(walkObserver_);
    QEventLoop loop;
    walkLoop_ = &loop;
    cancelling_ = false;
    session.Start(listener, [&loop] {
        QMetaObject::invokeMethod(&loop, &QEventLoop::quit, Qt::QueuedConnection);
    });
    QTimer status;
    QObject::connect(&status, &QTimer::timeout, &loop, [this, &listener] {
        listener->Show(shared_.status, shared_.session.Options().ShowFolderProgress);
        if (shared_.cancel.IsRaised()) {
            CancelWalk(); // closing the window raises it too
        }
    });
    status.start(kStatusInterval);
    if (!session.WalkDone()) {
        loop.exec();
    }
    walkLoop_ = nullptr;
    listener->Detach();
    if (session.Collect()) {
        return listener->WaitedOn();
    }
    return std::nullopt;
}

void SearchController::CancelWalk() {
    if (walkLoop_ != nullptr && !cancelling_) {
        cancelling_ = true;
        shared_.session.CancelWalk();
        QTimer::singleShot(cancelGrace_, walkLoop_, [this] {
            cancelling_ = false;
            if (walkLoop_ != nullptr) {
                walkLoop_->quit();
            }
        });
    }
}

// A Start Path given as a URL is searched at its share's local path, the share mounted first
// when it is not; the button is Cancel while the share is asked.
std::optional<std::string> SearchController::Root() {
    const std::string start = request_.StartPath();
    if (!IsLocationUrl(start)) {
        return start;
    }
    searching_ = true;
    request_.ShowRunning(true);
    shared_.SetBusy(true);
    const QString url = QString::fromStdString(start);
    shared_.status.Set(StatusPart::Message, tr("Connecting to %1...").arg(url));
    std::string why;
    const std::string local = shared_.desktop.LocalPathOf(start, shared_.cancel, why);
    searching_ = false;
    request_.ShowRunning(false);
    shared_.SetBusy(false);
    if (local.empty()) {
        shared_.status.Set(StatusPart::Message, tr("Ready!"));
        if (shared_.cancel.IsRaised()) {
            return std::nullopt; // the user's own Cancel needs no word
        }
        shared_.prompts.Message(tr("' %1 ' cannot be searched: %2").arg(url, RemarkText(why)),
                                MessageIcon::Critical, MessageButtons::Ok);
        return std::nullopt;
    }
    return local;
}

bool SearchController::Prepare(const std::string& root) {
    SearchRequest& request = request_;
    if (!request.ValidateMask()) {
        return false;
    }
    ResultPane& results = results_;
    results.Views().CloseViews();
    results.SyncViews();
    shared_.status.State(StatusLine::Mode::Clear);
    // The lists and the census refer to records of the store, which the search is about to
    // erase.
    types_.UnloadCensus();
    monitor_.Stop();
    results.ClearLists();
    shared_.session.Prepare(root, request.Options());
    results.SetFolderResults(false);
    shared_.cancel.Lower();
    return true;
}

// The mask as it was searched: the field may have been edited during the walk.
QString SearchController::SearchedMask() const {
    return QString::fromStdString(shared_.session.Options().MaskText);
}

void SearchController::ShowNoMatches() {
    // The old results are gone with the store: the window shows what File > New gives.
    ResultPane& results = results_;
    results.Views().Clear();
    results.SyncViews();
    results.ShowFirstList();
    const SearchOptions& options = shared_.session.Options();
    // The walk's own counts stay, as the last folder it entered would have shown them.
    const SearchCounters& counters = shared_.session.Counters();
    shared_.status.Set(StatusPart::Objects, ObjectsText(counters.ObjectCount));
    shared_.status.Set(StatusPart::Matched, MatchedText(counters.MatchedCount));
    shared_.prompts.Message(NoMatchesMessage(options.FoldersOnly, SearchedMask(),
                                             DisplayPath(shared_.session.RootPath())),
                            MessageIcon::Information, MessageButtons::Ok);
    shared_.status.Set(StatusPart::Message, tr("Ready!"));
}

void SearchController::ShowMatches() {
    ResultPane& results = results_;
    const QString mask = SearchedMask();
    const bool foldersOnly = shared_.session.Options().FoldersOnly;
    // The caption and tag while the list loads; ShowSearchResults adds the count.
    results.SetTabText(0, tr("All Results (%1)").arg(mask));
    results.SetResultType(
        foldersOnly
            ? tr("Results (folders only)")
            : tr("%1 files ").arg(QString(mask).replace(QLatin1Char(';'), QLatin1Char(' '))));
    results.ShowPlaceholder(tr("formatting..."));
    shared_.session.CloseStore();
    const int32_t matched = shared_.session.Counters().MatchedCount;
    const bool listed = !shared_.session.ListLimitExceeded();
    if (listed) {
        results.ShowPlaceholder(tr("loading..."));
        shared_.status.Set(StatusPart::Message,
                           tr("Loading %1 items to the list...").arg(matched - 1));
    }
    results.Views().ShowSearch(mask, foldersOnly, shared_.session.Options().ExpectedMatch == 0,
                               matched, listed);
    results.SyncViews();
    results.ShowFirstList();
    ShowSearchResults(shared_.session.ElapsedSeconds());
    // The list is there: its folders are watched from now on.
    monitor_.Watch(shared_.session);
    if (!listed) {
        results.ShowTooManyToList();
        // Views of a part of the results are made from the census.
        types_.ShowFileTypes();
    } else if (shared_.session.StarDotStarSearched() &&
               shared_.profile.Settings().AlwaysShowCountWhenSDS) {
        types_.ShowFileTypes();
    }
}

void SearchController::ShowSearchResults(float elapsedSeconds) {
    const SearchCounters& counters = shared_.session.Counters();
    results_.SetFolderResults(shared_.session.Options().FoldersOnly);
    StatusLine& status = shared_.status;
    status.Set(StatusPart::Message, tr("Ready!"));
    status.Set(StatusPart::Objects, ObjectsText(counters.ObjectCount));
    status.Set(StatusPart::Matched, MatchedText(counters.MatchedCount));
    status.Set(StatusPart::Elapsed, ElapsedText(elapsedSeconds));
    status.Set(StatusPart::Mode, OutcomeText(shared_.cancel.IsRaised()));
    results_.SetResultType(results_.Views().LabelText(0));

    const std::string& mask = shared_.session.Options().MaskText;
    shared_.favorites.Add(mask);
    shared_.profile.Settings().LastFileMask = mask;
    shared_.profile.ProfileSetOptionsKey("LastFileMask", mask);
    shared_.cancel.Lower();
    shared_.busy = false;
}

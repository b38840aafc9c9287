#include "app/window/SearchController.h"

#include "app/frmMain.h"
#include "app/window/ChangeMonitor.h"
#include "app/window/CommandRunner.h"
#include "app/window/ResultPane.h"
#include "app/window/SearchRequest.h"
#include "app/window/TypeCommands.h"
#include "app/window/WindowContext.h"
#include "platform/CancelFlag.h"
#include "platform/WindowPrompts.h"
#include "search/PathText.h"
#include "search/SearchStatus.h"
#include "settings/modPProfile.h"

// Keeps the newest status texts of the walk and puts them on the status line only when the
// event loop is about to run: formatting a text for every folder would cost more than the walk.
class SearchController::StatusListener : public WalkListener {
public:
    explicit StatusListener(SearchController& search) : search_(search) {}

    void ObjectsCounted(int64_t shown) override {
        objects_ = shown;
        objectsSequence_ = ++sequence_;
    }
    void FolderEntered(std::string_view name, int64_t objects, int32_t matched) override {
        folderName_.assign(name);
        folderObjects_ = objects;
        folderMatched_ = matched;
        folderSequence_ = ++sequence_;
    }
    void Yield() override {
        if (search_.walkObserver_) {
            search_.walkObserver_();
        }
        if (search_.shared_.yield.Due()) {
            Flush();
            search_.shared_.yield.Now();
        }
    }
    void Flush() {
        StatusLine& status = search_.shared_.status;
        if (folderSequence_ > shownSequence_ &&
            search_.shared_.session.Options().ShowFolderProgress) {
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
    SearchController& search_;
    uint64_t sequence_ = 0;
    uint64_t shownSequence_ = 0;
    int64_t objects_ = 0;
    uint64_t objectsSequence_ = 0;
    std::string folderName_;
    int64_t folderObjects_ = 0;
    int32_t folderMatched_ = 0;
    uint64_t folderSequence_ = 0;
};

void SearchController::ButtonClicked() {
    if (searching_ || window_.Commands().Running()) {
        shared_.cancel.Raise();
        shared_.yield.Now();
        return;
    }
    if (shared_.busy) {
        return;
    }
    shared_.cancel.Lower();
    if (!Prepare()) {
        window_.Results().ResetPlaceholder();
        return;
    }
    searching_ = true;
    window_.Request().ShowRunning(true);
    window_.SetBusy(true);
    shared_.status.Set(StatusPart::Message, tr("Searching..."));

    StatusListener listener(*this);
    shared_.session.Run(shared_.cancel, &listener);
    if (shared_.session.ResultsAvailable()) {
        ShowMatches();
    } else {
        ShowNoMatches();
    }
    window_.Request().ShowRunning(false);
    searching_ = false;
    window_.SetBusy(false);
    window_.Results().ResetPlaceholder();
}

bool SearchController::Prepare() {
    SearchRequest& request = window_.Request();
    if (!request.ValidateMask()) {
        return false;
    }
    ResultPane& results = window_.Results();
    results.Views().CloseViews();
    results.SyncViews();
    shared_.status.State(QStringLiteral("clear"));
    // The lists and the census refer to records of the store, which the search is about to
    // erase.
    window_.Types().UnloadCensus();
    window_.Monitor().Stop();
    results.ClearLists();
    shared_.session.Prepare(request.StartPath(), request.Options());
    results.SetFolderResults(false);
    shared_.cancel.Lower();
    return true;
}

void SearchController::ShowNoMatches() {
    // The old results are gone with the store: the window shows what File > New gives.
    ResultPane& results = window_.Results();
    results.Views().Clear();
    results.SyncViews();
    results.ShowFirstList();
    const SearchOptions& options = shared_.session.Options();
    shared_.prompts.Message(NoMatchesMessage(options.FoldersOnly, window_.Request().Mask(),
                                             DisplayPath(shared_.session.RootPath())),
                            MessageIcon::Information, MessageButtons::Ok);
    shared_.status.Set(StatusPart::Message, tr("Ready!"));
}

void SearchController::ShowMatches() {
    ResultPane& results = window_.Results();
    const QString mask = window_.Request().Mask();
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
    window_.Monitor().Watch(shared_.session.RootPath(), shared_.session.Options());
    if (!listed) {
        results.ShowTooManyToList();
        // Views of a part of the results are made from the census.
        window_.Types().ShowFileTypes();
    } else if (shared_.session.StarDotStarSearched() &&
               shared_.profile.Settings().AlwaysShowCountWhenSDS) {
        window_.Types().ShowFileTypes();
    }
}

void SearchController::ShowSearchResults(float elapsedSeconds) {
    const SearchCounters& counters = shared_.session.Counters();
    window_.Results().SetFolderResults(shared_.session.Options().FoldersOnly);
    StatusLine& status = shared_.status;
    status.Set(StatusPart::Message, tr("Ready!"));
    status.Set(StatusPart::Objects, ObjectsText(counters.ObjectCount));
    status.Set(StatusPart::Matched, MatchedText(counters.MatchedCount));
    status.Set(StatusPart::Elapsed, ElapsedText(elapsedSeconds));
    status.Set(StatusPart::Mode, OutcomeText(shared_.cancel.IsRaised()));
    window_.Results().SetResultType(window_.Results().Views().LabelText(0));

    const std::string mask = window_.Request().Mask().toStdString();
    shared_.favorites.Add(mask);
    shared_.profile.Settings().LastFileMask = mask;
    shared_.profile.ProfileSetOptionsKey("LastFileMask", mask);
    shared_.cancel.Lower();
    shared_.busy = false;
}

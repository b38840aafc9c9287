#include "search/SearchSession.h"

#include "search/MaskRules.h"
#include "search/PathText.h"

#include <QElapsedTimer>

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
    elapsedSeconds_ = static_cast<float>(timer.elapsed()) / 1000.0f;
    resultsAvailable_ = counters_.MatchedCount > 0;
}

void SearchSession::CloseStore() {
    store_.Redim(counters_.MatchedCount - 1);
    listLimitExceeded_ = counters_.MatchedCount - 1 >= listLimit_;
}

void SearchSession::Erase() {
    store_.Erase();
    resultsAvailable_ = false;
    listLimitExceeded_ = false;
}

#pragma once

#include <QCoreApplication>
#include <functional>

class frmMain;
struct WindowContext;

// What Begin Search runs: the walk with its status line, then the results handed to the views,
// or the word that there are none. The same button cancels a search or a command.
class SearchController {
    Q_DECLARE_TR_FUNCTIONS(frmMain)

public:
    SearchController(frmMain& window, WindowContext& shared) : window_(window), shared_(shared) {}

    // The search button: begins a search, or cancels the one (or the command) running.
    void ButtonClicked();
    bool Searching() const { return searching_; }
    // Runs whenever the walk yields (tests cancel or close from here).
    void SetWalkObserver(std::function<void()> observer) { walkObserver_ = std::move(observer); }

private:
    class StatusListener;

    // Empties the window of the last results; false when the mask is refused.
    bool Prepare();
    void ShowNoMatches();
    void ShowMatches();
    // The closing status line of a search, and its mask remembered.
    void ShowSearchResults(float elapsedSeconds);

    frmMain& window_;
    WindowContext& shared_;
    bool searching_ = false;
    std::function<void()> walkObserver_;
};

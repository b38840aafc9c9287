#pragma once

#include <QCoreApplication>
#include <functional>
#include <optional>
#include <string>

class QEventLoop;
class ChangeMonitor;
class ResultPane;
class SearchRequest;
class TypeCommands;
struct WindowContext;

// What Begin Search runs: the walk with its status line, then the results handed to the views,
// or the word that there are none. The same button cancels a search or a command.
class SearchController {
    Q_DECLARE_TR_FUNCTIONS(frmMain)

public:
    // `commandRunning`: whether a file command runs (the button then cancels it).
    SearchController(WindowContext& shared, SearchRequest& request, ResultPane& results,
                     TypeCommands& types, ChangeMonitor& monitor,
                     std::function<bool()> commandRunning)
        : shared_(shared), request_(request), results_(results), types_(types), monitor_(monitor),
          commandRunning_(std::move(commandRunning)) {}

    // The search button: begins a search, or cancels the one (or the command) running.
    void ButtonClicked();
    bool Searching() const { return searching_; }
    // Cancels the search or the command running (the close box, for one).
    void Cancel();
    // How long a cancelled walk is given to stop by itself before it is left behind; tests
    // give it no time, or all the time there is.
    void SetCancelGraceForTesting(int milliseconds) { cancelGrace_ = milliseconds; }
    // Runs whenever the walk yields, on the walk's own thread (tests cancel or close from here,
    // running that on the window's thread and waiting for it).
    void SetWalkObserver(std::function<void()> observer) { walkObserver_ = std::move(observer); }

private:
    class StatusListener;

    // How often the status line shows how far the walk got, and how long a cancelled walk is
    // given to stop by itself before it is left behind.
    static constexpr int kStatusInterval = 40; // ms
    static constexpr int kCancelGrace = 250;   // ms

    // Empties the window of the last results; false when the mask is refused.
    std::optional<std::string> Root();
    bool Prepare(const std::string& root);
    std::optional<std::string> WaitForWalk();
    void CancelWalk();
    QString SearchedMask() const;
    void ShowNoMatches();
    void ShowMatches();
    // The closing status line of a search, and its mask remembered.
    void ShowSearchResults(float elapsedSeconds);

    WindowContext& shared_;
    SearchRequest& request_;
    ResultPane& results_;
    TypeCommands& types_;
    ChangeMonitor& monitor_;
    std::function<bool()> commandRunning_;
    bool searching_ = false;
    bool cancelling_ = false;
    int cancelGrace_ = kCancelGrace;
    QEventLoop* walkLoop_ = nullptr; // while a walk runs
    std::function<void()> walkObserver_;
};

#pragma once

#include <QCoreApplication>
#include <QElapsedTimer>
#include <functional>
#include <future>
#include <memory>
#include <string>
#include <thread>

class FolderWatch;
class QSocketNotifier;
class QTimer;
class QWidget;
class SearchSession;
struct WindowContext;

// Watches the folders of the search on screen, when WatchForChanges is on, and says when the
// disk changed under the list ("Drive contents changed"), or searches again where the settings
// rescan after a command: at most once a second, and never while a search, a command or a
// dialog runs. The program's own commands are not changes to tell.
class ChangeMonitor {
    Q_DECLARE_TR_FUNCTIONS(frmMain)

public:
    // What the monitor asks of the window: a tool tip on the status bar that explains what is
    // not watched, whether a command runs, the rows shown, and a search again.
    struct Hooks {
        std::function<void(const QString&)> explain;
        std::function<bool()> commandRunning;
        std::function<int()> visibleRows;
        std::function<void()> rescan;
    };
    // Its timers and notifier belong to `owner`.
    ChangeMonitor(QWidget& owner, WindowContext& shared, Hooks hooks);
    ~ChangeMonitor();

    // Begins watching the search just shown: the folders its walk entered, added in the
    // background. A search on a network or FUSE file system is not watched (the tool tip says
    // why).
    void Watch(const SearchSession& session);
    void Stop();
    // What happened is the program's own doing: forgotten.
    void Forget();
    // Reads what happened in the watched folders (when the watch's descriptor is readable).
    void ReadChanges();
    bool Watching() const { return watch_ != nullptr; }

    // Tests: the watches' limit for the next Watch, and a wait until they are all added.
    void SetWatchLimitForTesting(long limit) { limit_ = limit; }
    void WaitForWatchesForTesting();

private:
    void Added(unsigned generation);
    // Tells the change, or searches again, once nothing holds the window.
    void Act();
    void JoinCloser();

    QWidget& owner_;
    Hooks hooks_;
    WindowContext& shared_;
    std::unique_ptr<FolderWatch> watch_;
    QSocketNotifier* notifier_ = nullptr;
    QTimer* retry_;
    QElapsedTimer lastRescan_;
    unsigned generation_ = 0;
    bool changed_ = false;
    long limit_ = 0;
    std::shared_future<void> added_;
    std::thread closer_;
};

#pragma once

#include <QCoreApplication>
#include <QElapsedTimer>
#include <future>
#include <memory>
#include <string>
#include <thread>

class FolderWatch;
class QSocketNotifier;
class QTimer;
class frmMain;
class SearchSession;
struct WindowContext;

// Watches the folders of the search on screen, when WatchForChanges is on, and says when the
// disk changed under the list ("Drive contents changed"), or searches again where the settings
// rescan after a command: at most once a second, and never while a search, a command or a
// dialog runs. The program's own commands are not changes to tell.
class ChangeMonitor {
    Q_DECLARE_TR_FUNCTIONS(frmMain)

public:
    ChangeMonitor(frmMain& window, WindowContext& shared);
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

    frmMain& window_;
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

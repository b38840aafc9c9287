#include "app/window/ChangeMonitor.h"

#include "app/window/WindowContext.h"
#include "fileops/FileCommands.h"
#include "search/FolderWatch.h"
#include "search/SearchSession.h"
#include "settings/modPProfile.h"

#include <QApplication>
#include <QSocketNotifier>
#include <QStatusBar>
#include <QTimer>

ChangeMonitor::ChangeMonitor(QWidget& owner, WindowContext& shared, Hooks hooks)
    : owner_(owner), hooks_(std::move(hooks)), shared_(shared), retry_(new QTimer(&owner)) {
    retry_->setSingleShot(true);
    QObject::connect(retry_, &QTimer::timeout, &owner, [this] { Act(); });
}

ChangeMonitor::~ChangeMonitor() {
    Stop();
    JoinCloser();
}

// The last search's watches closed: usually long since.
void ChangeMonitor::JoinCloser() {
    if (closer_.joinable()) {
        RunNormally(closer_);
        closer_.join();
    }
}

void ChangeMonitor::Watch(const SearchSession& session) {
    Stop();
    if (!shared_.profile.Settings().WatchForChanges) {
        return;
    }
    if (session.RootKind() != FileSystemKind::Disk) {
        hooks_.explain(FolderWatch::RemoteProblem());
        return;
    }
    watch_ = std::make_unique<FolderWatch>(session.Options(), limit_);
    if (watch_->CurrentState() == FolderWatch::State::Failed) {
        hooks_.explain(watch_->Problem());
        watch_.reset();
        return;
    }
    notifier_ = new QSocketNotifier(watch_->Fd(), QSocketNotifier::Read, &owner_);
    QObject::connect(notifier_, &QSocketNotifier::activated, &owner_, [this] { ReadChanges(); });
    auto added = std::make_shared<std::promise<void>>();
    added_ = added->get_future().share();
    // Once the list is painted (its events are posted before this); the thread tells the
    // window when it is done, and a watch begun since makes the word stale.
    QMetaObject::invokeMethod(
        &owner_,
        [this, &session, added, generation = generation_] {
            if (generation != generation_) {
                added->set_value();
                return;
            }
            // The same search still (a new one makes the word stale): its store stands.
            watch_->Start(FolderPaths(session.Store()), [this, added, generation] {
                QMetaObject::invokeMethod(
                    &owner_, [this, generation] { Added(generation); }, Qt::QueuedConnection);
                added->set_value();
            });
        },
        Qt::QueuedConnection);
}

void ChangeMonitor::Stop() {
    ++generation_;
    hooks_.explain({}); // nothing watched, nothing to explain
    if (notifier_ != nullptr) {
        // Perhaps in its own signal (a change that made the search run again).
        notifier_->setEnabled(false);
        notifier_->deleteLater();
        notifier_ = nullptr;
    }
    // Closing thousands of watches takes a while: not on this thread, which is about to search.
    JoinCloser();
    if (watch_) {
        closer_ = std::thread([watch = std::move(watch_)]() mutable {
            RunOnlyWhenIdle();
            watch.reset();
        });
    }
    changed_ = false;
    retry_->stop();
}

void ChangeMonitor::Added(unsigned generation) {
    if (generation != generation_ || !watch_) {
        return;
    }
    if (watch_->CurrentState() != FolderWatch::State::Watching) {
        const QString problem = watch_->Problem();
        Stop();
        // The status line's tool tip says why nothing is watched.
        hooks_.explain(problem);
    }
}

void ChangeMonitor::Forget() {
    if (watch_) {
        watch_->ReadEvents();
    }
    changed_ = false;
    retry_->stop();
}

void ChangeMonitor::ReadChanges() {
    if (watch_ && watch_->ReadEvents()) {
        changed_ = true;
        Act();
    }
}

void ChangeMonitor::Act() {
    if (!changed_) {
        return;
    }
    if (shared_.busy || hooks_.commandRunning() || QApplication::activeModalWidget()) {
        retry_->start(1000);
        return;
    }
    const Rescan advice = RescanOrAdvise(shared_.profile.Settings(), hooks_.visibleRows());
    if (advice != Rescan::Now) {
        changed_ = false;
        shared_.status.Set(StatusPart::Message, RescanAdviceText(advice));
        return;
    }
    if (lastRescan_.isValid() && lastRescan_.elapsed() < 1000) {
        retry_->start(static_cast<int>(1000 - lastRescan_.elapsed()));
        return;
    }
    changed_ = false;
    lastRescan_.start();
    hooks_.rescan();
}

void ChangeMonitor::WaitForWatchesForTesting() {
    QCoreApplication::sendPostedEvents(); // the start
    if (added_.valid()) {
        added_.wait();
    }
    QCoreApplication::sendPostedEvents(); // the word that it is done
}

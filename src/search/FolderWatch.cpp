#include "search/FolderWatch.h"

#include <QCoreApplication>
#include <cerrno>
#include <climits>
#include <cstring>
#include <fcntl.h>
#include <fstream>
#include <pthread.h>
#include <sched.h>
#include <sys/inotify.h>
#include <sys/resource.h>
#include <unistd.h>
#include <vector>

namespace {

constexpr uint32_t kEvents = IN_CREATE | IN_DELETE | IN_MOVED_FROM | IN_MOVED_TO | IN_DELETE_SELF |
                             IN_CLOSE_WRITE | IN_ATTRIB | IN_MOVE_SELF | IN_DONT_FOLLOW |
                             IN_ONLYDIR | IN_EXCL_UNLINK;

long UserWatchLimit() {
    std::ifstream file("/proc/sys/fs/inotify/max_user_watches");
    long limit = 8192; // the kernel's default
    file >> limit;
    return limit;
}

} // namespace

FolderWatch::FolderWatch(const SearchOptions& options, long limit)
    : options_(options), matcher_(options.MaskText), limit_(limit > 0 ? limit : UserWatchLimit()),
      fd_(inotify_init1(IN_NONBLOCK | IN_CLOEXEC)) {
    if (!fd_) {
        error_ = errno;
        state_ = State::Failed;
    }
}

FolderWatch::~FolderWatch() {
    stop_ = true;
    if (adder_.joinable()) {
        RunNormally(adder_);
        adder_.join();
    }
}

void FolderWatch::Start(std::vector<std::string> folders, std::function<void()> done) {
    adder_ = std::thread([this, folders = std::move(folders), done = std::move(done)] {
        RunOnlyWhenIdle(); // the window goes first
        AddWatches(folders);
        done();
    });
}

void FolderWatch::AddWatches(const std::vector<std::string>& folders) {
    for (size_t i = 0; i < folders.size() && state_ == State::Adding && !stop_; ++i) {
        Watch(folders[i]);
    }
    if (state_ == State::Adding) {
        state_ = State::Watching;
    }
}

QString FolderWatch::RemoteProblem() {
    return QCoreApplication::translate(
        "FolderWatch", "Changes are not watched: the folders are on a network or FUSE file "
                       "system, where changes made on the server are never told.");
}

// False when watching must stop: the user's limit is reached, or the watches failed.
bool FolderWatch::Watch(const std::string& folder) {
    if (folder.size() >= PATH_MAX) {
        return true; // beyond what a watch can name; the rest is watched
    }
    if (watched_ >= limit_) {
        state_ = State::TooManyFolders;
        return false;
    }
    if (inotify_add_watch(fd_.Get(), folder.c_str(), kEvents) < 0) {
        if (errno == ENOSPC) {
            state_ = State::TooManyFolders;
            return false;
        }
        return true; // gone since the search, or not readable: nothing there to change
    }
    ++watched_;
    return true;
}

QString FolderWatch::Problem() const {
    switch (state_.load()) {
    case State::TooManyFolders:
        return QCoreApplication::translate(
                   "FolderWatch",
                   "Changes on the disk are not watched: the search went into more folders than "
                   "the %1 this user may watch (fs.inotify.max_user_watches).")
            .arg(limit_);
    case State::Failed:
        return QCoreApplication::translate("FolderWatch", "Changes on the disk are not watched: %1")
            .arg(QString::fromLocal8Bit(std::strerror(error_)));
    case State::Adding:
    case State::Watching:
        break;
    }
    return {};
}

bool FolderWatch::ReadEvents() {
    bool alters = false;
    alignas(inotify_event) char buffer[16 * 1024];
    for (;;) {
        const ssize_t n = read(fd_.Get(), buffer, sizeof buffer);
        if (n <= 0) {
            return alters;
        }
        for (ssize_t at = 0; at < n;) {
            const auto* event = reinterpret_cast<const inotify_event*>(buffer + at);
            alters = alters || Alters(event->mask, event->len > 0 ? event->name : "");
            at += static_cast<ssize_t>(sizeof(inotify_event) + event->len);
        }
    }
}

// A change the search would have seen: a name it lists, or a folder it would go into.
bool FolderWatch::Alters(uint32_t mask, const char* name) const {
    if (mask & (IN_Q_OVERFLOW | IN_DELETE_SELF | IN_MOVE_SELF)) {
        return true; // events were lost, or a searched folder went away
    }
    if (!(mask & (IN_CREATE | IN_DELETE | IN_MOVED_FROM | IN_MOVED_TO))) {
        // A file written and closed, or its times set: the list shows its time and size. A
        // folder's are not shown.
        return (mask & (IN_CLOSE_WRITE | IN_ATTRIB)) && !(mask & IN_ISDIR) &&
               !options_.FoldersOnly && matcher_.Matches(name) == (options_.ExpectedMatch == 1);
    }
    if (mask & IN_ISDIR) {
        return name[0] != '.' && (options_.FoldersOnly || options_.Recurse);
    }
    return !options_.FoldersOnly && matcher_.Matches(name) == (options_.ExpectedMatch == 1);
}

void RunOnlyWhenIdle() {
    const sched_param none{};
    if (pthread_setschedparam(pthread_self(), SCHED_IDLE, &none) != 0) {
        setpriority(PRIO_PROCESS, static_cast<id_t>(gettid()), 19);
    }
}

void RunNormally(std::thread& thread) {
    const sched_param none{};
    pthread_setschedparam(thread.native_handle(), SCHED_OTHER, &none);
}

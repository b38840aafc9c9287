#include "fileops/CommandThread.h"

#include "text/PathText.h"

#include <QCoreApplication>
#include <QEventLoop>
#include <QTimer>
#include <thread>

namespace {

constexpr int kTickMs = 50;
std::atomic<int> graceTicks{CommandThread::kGraceTicks};

// The threads still running, for tests that must outlive them. Never destroyed: a thread may
// end after main has returned.
struct Running {
    std::mutex mutex;
    std::condition_variable ended;
    int count = 0;
};
Running& Threads() {
    static auto* running = new Running;
    return *running;
}

} // namespace

std::shared_ptr<CommandThread> CommandThread::Make(const CancelFlag& windowCancel) {
    return std::shared_ptr<CommandThread>(new CommandThread(windowCancel));
}

bool CommandThread::Run(std::function<void()> body) {
    QEventLoop loop;
    loop_ = &loop;
    {
        const std::lock_guard lock(Threads().mutex);
        ++Threads().count;
    }
    std::thread([self = shared_from_this(), body = std::move(body)]() mutable {
        body();
        body = nullptr; // what it holds goes now, on this thread
        self->Post([self] {
            self->finished_ = true;
            if (self->loop_ != nullptr) {
                self->loop_->quit();
            }
        });
        self.reset();
        const std::lock_guard lock(Threads().mutex);
        --Threads().count;
        Threads().ended.notify_all();
    }).detach();
    QTimer watch;
    QObject::connect(&watch, &QTimer::timeout, &loop, [this] { Watch(); });
    watch.start(kTickMs);
    if (!finished_) {
        loop.exec();
    }
    loop_ = nullptr;
    if (finished_) {
        return true;
    }
    cancel_.Raise();
    {
        const std::lock_guard lock(mutex_);
        leftBehind_.store(true);
    }
    answered_.notify_all();
    return false;
}

// A cancelled body that shows no progress for the grace period is stuck in a call.
void CommandThread::Watch() {
    if (windowCancel_.IsRaised()) {
        cancel_.Raise();
    }
    const uint64_t beats = beats_.load();
    if (!cancel_.IsRaised() || asking_ || beats != lastBeats_) {
        lastBeats_ = beats;
        quietTicks_ = 0;
        return;
    }
    if (++quietTicks_ > graceTicks.load() && loop_ != nullptr) {
        loop_->quit();
    }
}

std::string CommandThread::WaitedOn() const {
    const std::lock_guard lock(mutex_);
    return waitedOn_;
}

void CommandThread::Post(std::function<void()> call) {
    // The counter's release here and its acquire on the window's thread hand over what the body
    // wrote before posting, in a way a thread checker sees (Qt's queue does it too, unseen).
    beats_.fetch_add(1);
    QMetaObject::invokeMethod(
        QCoreApplication::instance(),
        [self = shared_from_this(), call = std::move(call)] {
            self->beats_.load();
            if (!self->leftBehind_.load()) {
                call();
            }
        },
        Qt::QueuedConnection);
}

bool CommandThread::Ask(const std::function<void()>& call) {
    auto ran = std::make_shared<bool>(false); // under mutex_
    Post([this, &call, ran] {
        asking_ = true;
        call();
        asking_ = false;
        {
            const std::lock_guard lock(mutex_);
            *ran = true;
        }
        answered_.notify_all();
    });
    std::unique_lock lock(mutex_);
    answered_.wait(lock, [&] { return *ran || leftBehind_.load(); });
    beats_.fetch_add(1);
    return *ran;
}

void CommandThread::Working(std::string_view path) {
    beats_.fetch_add(1);
    const std::lock_guard lock(mutex_);
    waitedOn_.assign(path);
}

void CommandThread::SetGraceForTesting(int ticks) {
    graceTicks.store(ticks);
}

void CommandThread::WaitForAllForTesting() {
    std::unique_lock lock(Threads().mutex);
    Threads().ended.wait(lock, [] { return Threads().count == 0; });
}

std::string WriteOffThread(const CancelFlag& cancel, const std::string& path,
                           std::function<std::string(CommandThread&)> write) {
    const auto thread = CommandThread::Make(cancel);
    const auto error = std::make_shared<std::string>();
    thread->Working(path);
    if (thread->Run(
            [self = thread.get(), error, write = std::move(write)] { *error = write(*self); })) {
        return *error;
    }
    return FillIn(QCoreApplication::translate("TextFile", "Cannot write %1: the file system did "
                                                          "not answer")
                      .toStdString(),
                  {path});
}

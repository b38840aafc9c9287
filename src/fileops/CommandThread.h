#pragma once

#include "platform/CancelFlag.h"

#include <atomic>
#include <condition_variable>
#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <string_view>

class QEventLoop;

// A command's body run on a thread of its own while the window's thread keeps its event loop
// running: repaints, Cancel and the close box answer whatever the disk does. What the body tells
// the window goes through Post and Ask, run on the window's thread in the order sent. A body
// stuck in a call that does not return (a share that stopped answering) is left behind once the
// command is cancelled: Run returns, the body's own cancel flag stays raised, and nothing it
// sends reaches the window any more.
class CommandThread : public std::enable_shared_from_this<CommandThread> {
public:
    // `windowCancel`: the flag the window raises; it is passed on to the body's own.
    static std::shared_ptr<CommandThread> Make(const CancelFlag& windowCancel);

    // Runs `body` on a new thread and returns when it ended: true. False when it was left
    // behind: cancelled, then no sign of progress (Working, Post, Ask) for the grace period.
    bool Run(std::function<void()> body);
    // The path the body last said it works on: the one that did not answer.
    std::string WaitedOn() const;

    // For the body. `call` runs on the window's thread after what was posted before.
    void Post(std::function<void()> call);
    // Runs `call` on the window's thread and waits until it ran; false (it never runs) once
    // the body was left behind.
    bool Ask(const std::function<void()>& call);
    // The item the body is about to touch.
    void Working(std::string_view path);
    // The body goes on (bytes copied).
    void Beat() { beats_.fetch_add(1, std::memory_order_relaxed); }
    const CancelFlag& Cancel() const { return cancel_; }
    bool LeftBehind() const { return leftBehind_.load(); }

    // How many watch ticks (50 ms each) a cancelled body may show no progress before it is left
    // behind: Cancel is answered within about 0.4 s even when the body's call never returns.
    static constexpr int kGraceTicks = 6;
    static void SetGraceForTesting(int ticks);
    // Tests wait for the threads they left behind before what those threads reach goes away.
    static void WaitForAllForTesting();

private:
    explicit CommandThread(const CancelFlag& windowCancel) : windowCancel_(windowCancel) {}
    void Watch();

    const CancelFlag& windowCancel_;
    CancelFlag cancel_;
    std::atomic<bool> leftBehind_{false};
    std::atomic<uint64_t> beats_{0};
    // Window's thread only.
    QEventLoop* loop_ = nullptr;
    bool finished_ = false;
    bool asking_ = false;
    uint64_t lastBeats_ = 0;
    int quietTicks_ = 0;

    mutable std::mutex mutex_;
    std::condition_variable answered_;
    std::string waitedOn_;
};

// Writes a file the user named (`write`, on a thread of its own, which may post to the window
// and should stop once the thread's cancel flag is raised) while the event loop runs: the
// failure, or "" when it was written. Cancelled while a call did not return, the write is left
// behind, and the failure says that the file system did not answer.
std::string WriteOffThread(const CancelFlag& cancel, const std::string& path,
                           std::function<std::string(CommandThread&)> write);

class Progress;
class Prompts;
struct CommandContext;

// The window's progress window as a body reaches it from its thread: each call posted, the bar
// as its latest value.
std::shared_ptr<Progress> ProgressThrough(CommandThread& thread, Progress& window);

// The window's prompts as a body reaches them from its thread: asked on the window's thread
// while the body waits, cancelled once it is left behind.
std::unique_ptr<Prompts> PromptsThrough(CommandThread& thread, Prompts& window);

// What a command's body reaches from a thread of its own: the window's prompts, status line,
// progress window and views, each reached through the thread on the window's thread (status
// texts and the bar as their latest values); the settings as they were when it started; the
// trash refused once the body is left behind.
class ThreadedContext {
public:
    // Made on the window's thread from the window's context, whose `shortPath` must be safe to
    // call from another thread.
    static std::shared_ptr<ThreadedContext> Make(const std::shared_ptr<CommandThread>& thread,
                                                 const CommandContext& window);
    virtual ~ThreadedContext() = default;
    virtual CommandContext& Context() = 0;
};

#pragma once

#include <atomic>

// The cancel flag of the window or the command line that owns it. A task lowers it before it
// starts; the search button, the progress dialog's Cancel and the command line's Ctrl-C raise
// it; long loops poll it between items. Atomic and lock-free so that a signal handler may raise
// it.
class CancelFlag {
public:
    void Raise() { raised_.store(true, std::memory_order_relaxed); }
    void Lower() { raised_.store(false, std::memory_order_relaxed); }
    bool IsRaised() const { return raised_.load(std::memory_order_relaxed); }

private:
    std::atomic<bool> raised_{false};
    static_assert(std::atomic<bool>::is_always_lock_free);
};

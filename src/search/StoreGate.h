#pragma once

#include <atomic>
#include <cstdint>
#include <thread>

// Lets a thread that fills a store be stopped for good by another that then takes the store,
// without a lock taken for every record. The filling thread enters before it changes the store
// and leaves after; once another thread has closed the gate, nobody enters again, and Close
// returns only when the one inside, if any, has left. The filler never holds the gate while it
// waits on the file system, so Close takes microseconds even while a share does not answer.
class StoreGate {
public:
    // `objects`: how many objects the walk has examined so far, kept for the closer.
    bool Enter(int64_t objects) {
        writing_.store(true); // ordered before the look at closed_ (both sequentially consistent)
        if (closed_.load()) {
            writing_.store(false, std::memory_order_release);
            return false;
        }
        objects_.store(objects, std::memory_order_relaxed);
        return true;
    }
    void Leave() { writing_.store(false, std::memory_order_release); }

    // After it returns, the store and what the filler wrote inside the gate are the closer's.
    void Close() {
        closed_.store(true);
        while (writing_.load()) {
            std::this_thread::yield();
        }
    }
    // The objects examined when the store last changed.
    int64_t Objects() const { return objects_.load(std::memory_order_relaxed); }

private:
    std::atomic<bool> writing_{false};
    std::atomic<bool> closed_{false};
    std::atomic<int64_t> objects_{0};
};

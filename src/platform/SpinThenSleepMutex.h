#pragma once

#include <mutex>

// Tells the processor this thread is waiting in a loop, so a sibling thread runs meanwhile.
inline void CpuRelax() {
#if defined(__x86_64__) || defined(__i386__)
    __builtin_ia32_pause();
#elif defined(__aarch64__) || defined(__arm__)
    asm volatile("yield");
#endif
}

// A mutex that spins a while before it sleeps. For locks held for a microsecond or so by no
// more threads than processors, where a sleep and a wake-up would cost more than the wait.
class SpinThenSleepMutex {
public:
    void lock() {
        for (int spin = 0; spin < 1000; ++spin) {
            if (inner_.try_lock()) {
                return;
            }
            CpuRelax();
        }
        inner_.lock();
    }
    void unlock() { inner_.unlock(); }

private:
    std::mutex inner_;
};

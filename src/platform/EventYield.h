#pragma once

#include <chrono>
#include <functional>

// Long loops call Yield() where the event loop may run. It runs the event loop only when about
// 15 ms have passed since it last did, so yielding after every item costs almost nothing, yet
// repaints and a Cancel click still get through. The window owns one; tests give it a clock.
class EventYield {
public:
    using Clock = std::function<std::chrono::steady_clock::time_point()>;
    static constexpr auto kInterval = std::chrono::milliseconds(15);

    explicit EventYield(Clock clock = [] { return std::chrono::steady_clock::now(); });

    // Runs the event loop when it is due.
    void Yield();
    // True when the event loop is due. A caller with work to do before the loop runs (putting
    // status texts into labels) asks first, then calls Now().
    bool Due();
    // Runs the event loop now, whatever the time since the last run (a Cancel click).
    void Now();

private:
    // Reading the clock is cheap but not free; a tight loop asks it only every 16th call.
    static constexpr unsigned kCallsPerClockRead = 16;

    Clock clock_;
    std::chrono::steady_clock::time_point lastRun_;
    unsigned callsSinceClockRead_ = 0;
};

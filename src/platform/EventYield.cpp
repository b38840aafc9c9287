#include "platform/EventYield.h"

#include <QCoreApplication>
#include <chrono>

namespace {

using Clock = std::chrono::steady_clock;
constexpr auto kInterval = std::chrono::milliseconds(15);
// Reading the clock is cheap but not free; a tight loop asks it only every 16th call.
constexpr unsigned kCallsPerClockRead = 16;

Clock::time_point lastRun = Clock::now();
unsigned callsSinceClockRead = 0;

} // namespace

void YieldNow() {
    lastRun = Clock::now();
    callsSinceClockRead = 0;
    if (QCoreApplication::instance() != nullptr) {
        QCoreApplication::processEvents();
    }
}

bool EventLoopDue() {
    if (++callsSinceClockRead < kCallsPerClockRead) {
        return false;
    }
    callsSinceClockRead = 0;
    return Clock::now() - lastRun >= kInterval;
}

void YieldToEventLoop() {
    if (EventLoopDue()) {
        YieldNow();
    }
}

#include "platform/EventYield.h"

#include <QCoreApplication>

EventYield::EventYield(Clock clock) : clock_(std::move(clock)), lastRun_(clock_()) {
}

void EventYield::Now() {
    lastRun_ = clock_();
    callsSinceClockRead_ = 0;
    if (QCoreApplication::instance() != nullptr) {
        QCoreApplication::processEvents();
    }
}

bool EventYield::Due() {
    if (++callsSinceClockRead_ < kCallsPerClockRead) {
        return false;
    }
    callsSinceClockRead_ = 0;
    return clock_() - lastRun_ >= kInterval;
}

void EventYield::Yield() {
    if (Due()) {
        Now();
    }
}

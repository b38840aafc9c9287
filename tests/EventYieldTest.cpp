#include "platform/EventYield.h"

#include <QCoreApplication>
#include <QMetaObject>
#include <gtest/gtest.h>

namespace {

TEST(EventYield, RunsTheEventLoopOnlyOnceItsIntervalHasPassed) {
    int argc = 1;
    char name[] = "tallymoor_tests";
    char* argv[] = {name, nullptr};
    QCoreApplication app(argc, argv);
    auto now = std::chrono::steady_clock::time_point{};
    EventYield yield([&] { return now; });
    int runs = 0;
    const auto post = [&] {
        QMetaObject::invokeMethod(
            &app, [&] { ++runs; }, Qt::QueuedConnection);
    };
    post();
    for (int i = 0; i < 1000; ++i) {
        yield.Yield();
    }
    EXPECT_EQ(runs, 0) << "a tight loop must not pay for the event loop on every item";
    now += EventYield::kInterval;
    for (int i = 0; i < 16; ++i) {
        yield.Yield();
    }
    EXPECT_EQ(runs, 1) << "due once the interval has passed";
    post();
    yield.Now();
    EXPECT_EQ(runs, 2) << "Now does not wait";
}

} // namespace

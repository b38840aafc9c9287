#include "platform/EventYield.h"

#include <QCoreApplication>
#include <QMetaObject>
#include <chrono>
#include <gtest/gtest.h>
#include <thread>

namespace {

TEST(EventYield, RunsTheEventLoopOnlyOnceItsIntervalHasPassed) {
    int argc = 1;
    char name[] = "tallymoor_tests";
    char* argv[] = {name, nullptr};
    QCoreApplication app(argc, argv);
    bool ran = false;
    YieldNow();
    QMetaObject::invokeMethod(
        &app, [&] { ran = true; }, Qt::QueuedConnection);
    for (int i = 0; i < 1000; ++i) {
        YieldToEventLoop();
    }
    EXPECT_FALSE(ran) << "a tight loop must not pay for the event loop on every item";
    std::this_thread::sleep_for(std::chrono::milliseconds(20));
    for (int i = 0; i < 100 && !ran; ++i) {
        YieldToEventLoop();
    }
    EXPECT_TRUE(ran);
    ran = false;
    QMetaObject::invokeMethod(
        &app, [&] { ran = true; }, Qt::QueuedConnection);
    YieldNow();
    EXPECT_TRUE(ran);
}

} // namespace

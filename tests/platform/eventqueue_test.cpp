#include <gtest/gtest.h>

#include <QElapsedTimer>
#include <QTimer>
#include <ctime>

#include "platform/qteventqueue.h"
#include "platform/qtticktimer.h"

namespace kelp::platform {
namespace {

double cpuSeconds() {
    timespec t{};
    clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &t);
    return static_cast<double>(t.tv_sec) + static_cast<double>(t.tv_nsec) * 1e-9;
}

// A wait on the tick timer sleeps in the dispatcher: it ends on the tick and costs next to
// no processor time.
TEST(QtEventQueue, AWaitSleepsUntilTheTick) {
    QtEventQueue events;
    QtTickTimer timer;
    bool elapsed = false;
    timer.onTick = [&] { elapsed = true; };
    timer.setInterval(300);
    QElapsedTimer clock;
    clock.start();
    const double cpu0 = cpuSeconds();
    timer.enable();
    while (!elapsed) events.waitForEvent();
    timer.disable();
    const double cpu = cpuSeconds() - cpu0;
    EXPECT_GE(clock.elapsed(), 295);
    EXPECT_LT(clock.elapsed(), 600);
    EXPECT_LT(cpu, 0.05);
    EXPECT_FALSE(timer.enabled());
}

TEST(QtTickTimer, ZeroIntervalStaysQuiet) {
    QtTickTimer timer;
    timer.setInterval(0);
    timer.enable();
    EXPECT_FALSE(timer.enabled());
}

}  // namespace
}  // namespace kelp::platform

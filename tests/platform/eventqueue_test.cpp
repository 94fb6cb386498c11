#include <gtest/gtest.h>

#include <QElapsedTimer>
#include <ctime>

#include "platform/qteventqueue.h"
#include "platform/qtticktimer.h"

namespace kelp::platform {
namespace {

// A wait on the tick timer sleeps in the dispatcher until the tick: next to no processor time.
// A timer without an interval never starts, or it would tick on every pass of the loop.
TEST(QtEventQueue, AWaitSleepsUntilTheTick) {
    QtEventQueue events;
    QtTickTimer timer;
    bool elapsed = false;
    timer.onTick = [&] { elapsed = true; };
    timer.setInterval(300);
    QElapsedTimer clock;
    clock.start();
    const std::clock_t cpu0 = std::clock();
    timer.enable();
    while (!elapsed) events.waitForEvent();
    timer.disable();
    EXPECT_LT(static_cast<double>(std::clock() - cpu0) / CLOCKS_PER_SEC, 0.05);
    EXPECT_GE(clock.elapsed(), 295);
    EXPECT_LT(clock.elapsed(), 600);
    timer.setInterval(0);
    timer.enable();
    EXPECT_FALSE(timer.enabled());
}

}  // namespace
}  // namespace kelp::platform

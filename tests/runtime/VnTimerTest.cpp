#include "runtime/VnTimer.h"

#include <gtest/gtest.h>

#include <sys/time.h>

#include <csignal>
#include <ctime>

namespace {

TEST(VnTimer, MeasuresAndStartsAnew) {
    VnTimer timer;
    VnSleep(30);
    EXPECT_GE(timer.GetElapsedNS(), 30000000);
    EXPECT_GE(timer.GetElapsedMS(/*reset=*/true), 30.0);
    const double behindReset = timer.GetElapsedMS();
    VnSleep(20);
    EXPECT_GE(timer.GetElapsedMS(), behindReset + 20.0);
    EXPECT_GE(timer.GetElapsedNS(/*reset=*/true), 20000000);
}

TEST(VnTimer, AgreesWithTheWallClock) {
    const double before = static_cast<double>(std::time(nullptr)) * 1000.0;
    const double now = VnTimer().GetNowMS();
    EXPECT_GE(now, before);
    EXPECT_LT(now, before + 60000.0);
    EXPECT_NEAR(static_cast<double>(VnGetCurrentMS()), now, 10000.0);
}

TEST(VnSleepFunction, LastsThroughASignal) {
    struct sigaction action {};
    action.sa_handler = [](int) {};
    struct sigaction old {};
    sigaction(SIGALRM, &action, &old);
    const itimerval alarm{{0, 0}, {0, 20000}};
    setitimer(ITIMER_REAL, &alarm, nullptr);
    VnTimer timer;
    VnSleep(80);
    EXPECT_GE(timer.GetElapsedMS(), 79.0);
    sigaction(SIGALRM, &old, nullptr);
}

} // namespace

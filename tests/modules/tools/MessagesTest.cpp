#include "runtime/IMainThreadMessageManager.h"
#include "runtime/IVnToolsRoot.h"
#include "runtime/VnSiblingModules.h"

#include <gtest/gtest.h>

#include <poll.h>

#include <atomic>
#include <functional>
#include <new>
#include <string>
#include <thread>
#include <vector>

namespace {

IMainThreadMessageManager& Messages() {
    return *VnGetToolsRoot()->GetMainThreadMessageManager(1);
}

class Target final : public IMainThreadMessageManagerCallback {
public:
    int64_t OnMainThreadMessage(int32_t message, int64_t parameter) override {
        Received += std::to_string(message) + "/" + std::to_string(parameter) + " ";
        if (Reaction) {
            Reaction();
        }
        return 0;
    }
    std::string Received;
    std::function<void()> Reaction;
};

bool IsSignalled() {
    pollfd descriptor = {Messages().GetEventDescriptor(), POLLIN, 0};
    return ::poll(&descriptor, 1, 0) == 1;
}

} // namespace

TEST(MainThreadMessages, ArriveInOrderWhenPumped) {
    Target a;
    Target b;
    EXPECT_FALSE(IsSignalled());
    EXPECT_TRUE(Messages().Post(&a, 1, 10));
    EXPECT_TRUE(Messages().Post(&b, 2, -5));
    EXPECT_TRUE(Messages().Post(&a, 3, INT64_MAX));
    EXPECT_TRUE(IsSignalled());
    EXPECT_EQ(a.Received, "");
    EXPECT_EQ(Messages().Pump(), 3);
    EXPECT_EQ(a.Received, "1/10 3/9223372036854775807 ");
    EXPECT_EQ(b.Received, "2/-5 ");
    EXPECT_FALSE(IsSignalled());
    EXPECT_EQ(Messages().Pump(), 0);
    EXPECT_FALSE(Messages().Post(nullptr, 1, 1));
}

TEST(MainThreadMessages, OfATargetAreDropped) {
    Target a;
    Target b;
    Messages().Post(&a, 1, 0);
    Messages().Post(&b, 2, 0);
    Messages().Purge(&a);
    EXPECT_TRUE(IsSignalled());
    Messages().Forget(&b);
    EXPECT_FALSE(IsSignalled());
    EXPECT_EQ(Messages().Pump(), 0);
    Messages().Post(&a, 3, 0);
    EXPECT_EQ(Messages().Pump(), 1);
    EXPECT_EQ(a.Received + b.Received, "3/0 ");
}

TEST(MainThreadMessages, MayAnswerWithMessages) {
    Target target;
    target.Reaction = [&target] {
        if (target.Received == "1/0 ") {
            Messages().Post(&target, 9, 0);
            Messages().Forget(&target); // on the delivering thread itself: no wait
            Messages().Post(&target, 8, 0);
            EXPECT_LE(Messages().Pump(), 1);
        }
    };
    Messages().Post(&target, 1, 0);
    EXPECT_EQ(Messages().Pump(), 1);
    EXPECT_EQ(target.Received, "1/0 8/0 ");
    EXPECT_FALSE(IsSignalled());
}

TEST(MainThreadMessages, ACallbackThatThrowsIsDoneWith) {
    Target target;
    target.Reaction = [] { throw std::bad_alloc(); };
    Messages().Post(&target, 1, 0);
    EXPECT_THROW(Messages().Pump(), std::bad_alloc);
    std::thread([&target] { Messages().Forget(&target); }).join();
}

TEST(MainThreadMessages, ForgetWaitsForADeliveryElsewhere) {
    Target target;
    std::atomic<bool> inside{false};
    std::atomic<bool> release{false};
    std::atomic<bool> ended{false};
    target.Reaction = [&] {
        inside = true;
        while (!release) {
            std::this_thread::yield();
        }
        ended = true;
    };
    Messages().Post(&target, 1, 0);
    std::thread pump([] { Messages().Pump(); });
    while (!inside) {
        std::this_thread::yield();
    }
    std::thread later([&release] {
        std::this_thread::sleep_for(std::chrono::milliseconds(30));
        release = true;
    });
    Messages().Forget(&target);
    EXPECT_TRUE(ended);
    pump.join();
    later.join();
}

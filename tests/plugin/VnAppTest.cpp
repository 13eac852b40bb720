#include "plugin/VnApp.h"

#include "plugin/VnDllApp.h"

#include <gtest/gtest.h>

#include <csignal>
#include <cstdlib>
#include <initializer_list>
#include <string>
#include <vector>

namespace {

/// An application that notes its calls.
class Recorder : public VnApp {
public:
    int32_t OnStart(uintptr_t handle, intptr_t second, int32_t third) override {
        Calls += "start(" + std::to_string(handle) + "," + std::to_string(second) + ","
                 + std::to_string(third) + ") ";
        return StartResult;
    }
    int32_t OnExit() override {
        Calls += "exit ";
        return 1;
    }
    void OnMain() override {
        Calls += "main ";
        SetExitCode(5);
    }

    std::string Calls;
    int32_t StartResult = 1;
};

struct AttachStep {
    int32_t Reason;
    uintptr_t Handle;
    int32_t Result;
};

struct AttachCase {
    const char* What;
    int32_t StartResult;
    std::vector<AttachStep> Steps;
    const char* Calls;
    int32_t Count;
    uintptr_t Handle;
};

TEST(VnAppAttach, WorksOnTheFirstAndTheLastOnly) {
    const AttachCase cases[] = {
        {"attach and detach", 1, {{1, 5, 1}, {0, 0, 1}}, "start(5,0,0) exit ", 0, 5},
        {"second attach", 1, {{1, 5, 1}, {1, 6, 1}, {0, 0, 1}}, "start(5,0,0) ", 1, 5},
        {"a new round",
         1,
         {{1, 5, 1}, {0, 0, 1}, {1, 6, 1}},
         "start(5,0,0) exit start(6,0,0) ",
         1,
         6},
        {"detach alone", 1, {{0, 0, 1}}, "", -1, 0},
        {"failed start", 0, {{1, 5, 0}}, "start(5,0,0) exit ", 1, 5},
        {"detach behind a failed start",
         0,
         {{1, 5, 0}, {0, 0, 1}},
         "start(5,0,0) exit exit ",
         0,
         5},
        {"attach behind a failed start", 0, {{1, 5, 0}, {1, 6, 1}}, "start(5,0,0) exit ", 2, 5},
        {"other reasons", 1, {{2, 5, 1}, {-1, 5, 1}}, "", 0, 0},
    };
    for (const AttachCase& row : cases) {
        SCOPED_TRACE(row.What);
        Recorder app;
        EXPECT_EQ(VnApp::GetCurrent(), &app);
        app.StartResult = row.StartResult;
        for (const AttachStep& step : row.Steps) {
            EXPECT_EQ(app.AttachEntry(step.Handle, step.Reason, 0), step.Result);
        }
        EXPECT_EQ(app.Calls, row.Calls);
        EXPECT_EQ(app.GetAttachCount(), row.Count);
        EXPECT_EQ(app.GetModuleHandle(), row.Handle);
    }
    EXPECT_EQ(VnApp::GetCurrent(), nullptr) << "it is current only while it lives";
}

TEST(VnAppRun, StoresItsArgumentsOnlyWithTheHandler) {
    Recorder app;
    EXPECT_EQ(app.Run(5), 5);
    EXPECT_EQ(app.Calls, "start(5,0,0) main exit ");
    EXPECT_EQ(app.GetModuleHandle(), 0U);

    app.Calls.clear();
    EXPECT_EQ(app.RunWithHangupHandler(6, 7, 8), 5);
    EXPECT_EQ(app.Calls, "start(6,7,8) main exit ");
    EXPECT_EQ(app.GetModuleHandle(), 6U);
    EXPECT_EQ(app.GetStartArgument(), 8);
    std::signal(SIGHUP, SIG_DFL);

    Recorder refused;
    refused.StartResult = 0;
    EXPECT_EQ(refused.Run(1) + refused.RunWithHangupHandler(1, 0, 0), 0);
    EXPECT_EQ(refused.Calls, "start(1,0,0) exit start(1,0,0) exit ") << "no work was to be done";
}

/// Gets a hang-up in the middle of its work.
class HungUp : public VnApp {
public:
    void OnMain() override {
        const int before = VnIsExitRequested() ? 1 : 0;
        std::raise(SIGHUP);
        SetExitCode(before == 0 && VnIsExitRequested() ? 3 : 4);
    }
};

TEST(VnAppRun, SurvivesAHangup) {
    EXPECT_EXIT(std::_Exit(HungUp().RunWithHangupHandler(1, 0, 0)), testing::ExitedWithCode(3),
                "^Received a hangup signal, will exit!\n$");
    EXPECT_EXIT(HungUp().Run(1), testing::KilledBySignal(SIGHUP), "");
}

/// A module's application whose tools are not loaded in earnest.
class DllRecorder : public VnDllApp {
public:
    int32_t AttachEntry(uintptr_t /*handle*/, int32_t /*reason*/, intptr_t /*reserved*/) override {
        return Slot(2);
    }
    int32_t
    RunWithHangupHandler(uintptr_t /*handle*/, intptr_t /*second*/, int32_t /*third*/) override {
        return Slot(3);
    }
    int32_t Run(uintptr_t /*handle*/) override { return Slot(4); }
    int32_t OnExit() override { return Slot(6); }
    void OnMain() override { Slot(7); }
    int32_t OnFirstHook() override { return Slot(8); }
    void OnSecondHook() override { Slot(9); }
    int32_t OnThirdHook() override { return Slot(10); }
    int32_t LoadToolsModule() override {
        Slot(11);
        return LoadResult;
    }
    int32_t IgnoreAbortSignal() override { return Slot(12); }
    void OnDllHook() override { Slot(13); }
    int32_t OnDllStart() override {
        Slot(14);
        return 0;
    }

    int32_t Slot(int32_t slot) {
        Slots.push_back(slot);
        return slot;
    }

    std::vector<int32_t> Slots;
    int32_t LoadResult = 1;
};

TEST(VnDllApp, KeepsTheOrderOfItsSlots) {
    DllRecorder app;
    using Operation = int32_t(VnApp * self, uintptr_t, intptr_t, int32_t);
    auto* const* table = *reinterpret_cast<Operation* const**>(static_cast<VnApp*>(&app));
    const std::vector<int32_t> slots = {2, 3, 4, 6, 7, 8, 9, 10, 11, 12, 13, 14};
    for (const int32_t slot : slots) {
        table[slot](&app, 0, 0, 0);
    }
    EXPECT_EQ(app.Slots, slots);
    app.Slots.clear();
    table[5](&app, 0, 0, 0);
    EXPECT_EQ(app.Slots, (std::vector<int32_t>{14, 11}))
        << "the start prepares the module, then loads the tools";
    for (const int32_t result : {0, 1}) {
        app.LoadResult = result;
        EXPECT_EQ(app.OnStart(1, 0, 0), result) << "and gives what that gives";
    }
}

TEST(VnDllApp, CanIgnoreTheAbortSignal) {
    EXPECT_EXIT(
        {
            const int32_t result = VnDllApp().IgnoreAbortSignal();
            std::raise(SIGABRT);
            std::_Exit(result);
        },
        testing::ExitedWithCode(1), "");
}

} // namespace

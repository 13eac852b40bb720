#include "data/CFileLoaderThread.h"

#include "runtime/IMainThreadMessageManager.h"
#include "runtime/IVnToolsRoot.h"
#include "runtime/VnSiblingModules.h"
#include "tests/support/HTTPServerProcess.h"
#include "tests/support/TestEnvironment.h"
#include "tests/support/TestText.h"

#include <gtest/gtest.h>

#include <chrono>
#include <memory>
#include <string>
#include <thread>

namespace {

class Callback final : public IFileLoaderThreadCallback {
public:
    void OnFileLoaded(CFileLoaderThread& thread, int32_t message, int64_t parameter) override {
        Caller = std::this_thread::get_id();
        Calls += std::to_string(message) + "/" + std::to_string(parameter) + " ";
        Size = thread.GetResultFilename().GetFileSize();
    }
    std::thread::id Caller;
    std::string Calls;
    int64_t Size = -2;
};

int32_t Pump() {
    return VnGetToolsRoot()->GetMainThreadMessageManager(1)->Pump();
}

} // namespace

TEST(CFileLoaderThread, ReportsOnTheMainThread) {
    const TestFolder folder;
    struct Row {
        std::string Path;
        const char* Calls;
        int64_t Size;
    };
    const Row rows[] = {{folder.Write("a", "12345"), "1/1 ", 5}, {folder / "missing", "1/0 ", -1}};
    for (const Row& row : rows) {
        SCOPED_TRACE(row.Path);
        Callback callback;
        CFileLoaderThread thread(VnFilename(ToText(row.Path)), &callback, true);
        thread.WaitUntilDone();
        EXPECT_EQ(callback.Calls, "") << "nothing arrives before the main thread asks";
        EXPECT_EQ(Pump(), 1);
        EXPECT_EQ(callback.Calls, row.Calls);
        EXPECT_EQ(callback.Size, row.Size);
        EXPECT_EQ(callback.Caller, std::this_thread::get_id());
        EXPECT_EQ(thread.GetResult(), row.Size >= 0);
    }
}

TEST(CFileLoaderThread, StartsWhenTold) {
    const TestFolder folder;
    CFileLoaderThread thread(VnFilename(ToText(folder.Write("a", "x"))), nullptr, false);
    EXPECT_FALSE(thread.IsRunning());
    EXPECT_EQ(thread.GetStartCount(), 0);
    EXPECT_TRUE(thread.Start());
    thread.WaitUntilDone();
    EXPECT_EQ(thread.GetResultFilename().GetFileSize(), 1);
    EXPECT_EQ(Pump(), 1) << "without a callback the message is simply taken";
}

TEST(CFileLoaderThread, IsCancelledByItsEnd) {
    const HTTPServerProcess server;
    Callback callback;
    for (const int delayMS : {0, 150}) { // ahead of the load, and in its middle
        SCOPED_TRACE(delayMS);
        const auto start = std::chrono::steady_clock::now();
        {
            CFileLoaderThread thread(VnFilename(server.URL(L"/stall/1000").c_str()), &callback,
                                     true);
            std::this_thread::sleep_for(std::chrono::milliseconds(delayMS));
            EXPECT_TRUE(thread.IsRunning());
        }
        EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(8));
    }
    EXPECT_EQ(Pump(), 0) << "what a stopped thread posted is dropped";
    EXPECT_EQ(callback.Calls, "");
}

TEST(CFileLoaderThread, LoadsAgainAfterAStop) {
    const TestFolder folder;
    CFileLoaderThread thread(VnFilename(ToText(folder.Write("a", "x"))), nullptr, true);
    thread.Stop();
    EXPECT_TRUE(thread.Start());
    thread.WaitUntilDone();
    EXPECT_EQ(thread.GetResultFilename().GetFileSize(), 1);
}

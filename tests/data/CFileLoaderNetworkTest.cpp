#include "data/CFileLoader.h"

#include "data/CFileLoaderThread.h"
#include "files/VnFilename.h"
#include "runtime/IMainThreadMessageManager.h"
#include "runtime/IVnToolsRoot.h"
#include "runtime/VnSiblingModules.h"
#include "tests/support/HTTPServerTest.h"
#include "tests/support/TestEnvironment.h"
#include "tests/support/TestTerminal.h"
#include "tests/support/TestText.h"

#include <gtest/gtest.h>

#include <utime.h>

#include <chrono>
#include <fstream>
#include <limits>
#include <string>
#include <thread>

namespace {

using Clock = std::chrono::steady_clock;

/// How far the resident memory of this process rises.
class PeakMemory {
public:
    PeakMemory() {
        std::ofstream("/proc/self/clear_refs") << "5"; // the peak begins anew
        Start = Get("VmRSS:");
    }
    int64_t GetRise() const { return Get("VmHWM:") - Start; } ///< bytes

private:
    static int64_t Get(const std::string& name) {
        std::ifstream status("/proc/self/status");
        int64_t kilobytes = 0;
        for (std::string word; status >> word && word != name;) {
        }
        EXPECT_TRUE(status >> kilobytes) << name;
        return kilobytes * 1024;
    }
    int64_t Start = 0;
};

class CFileLoaderNetwork : public HTTPServerTest {
protected:
    static VnFilename URL(const std::wstring& path) {
        return VnFilename(Server->URL(path).c_str());
    }

    /// Whether the load succeeded, and its bytes in `Result`.
    bool Load(const std::wstring& path) {
        VnBuffer buffer;
        const bool loaded = Loader.LoadToBuffer(URL(path), buffer);
        Result = ToBytes(buffer);
        return loaded;
    }

    CFileLoader Loader;
    std::string Result;
};

constexpr time_t kServerDate = 1600000002; ///< the Last-Modified of the server

class CFileLoaderFile : public CFileLoaderNetwork {
protected:
    /// The server's log of requests since the last call.
    std::string NewRequests() {
        CFileLoader loader;
        VnString text;
        loader.LoadToString(URL(L"/log"), text);
        const std::string all = ToBytes(text);
        const std::string added = all.substr(Logged);
        Logged = all.size();
        return added;
    }
    bool Load(const std::wstring& path, const std::string& name, CFileLoader::FileMode mode) {
        Target = VnFilename(ToText(Folder / name));
        return Loader.LoadToFile(URL(path), Target, mode);
    }
    std::string TargetText() const { return ToBytes(Target.Filename); }
    void SetDate(const std::string& name, time_t date) {
        const utimbuf times = {date, date};
        ASSERT_EQ(::utime((Folder / name).c_str(), &times), 0);
    }

    const TestFolder Folder;
    VnFilename Target;
    size_t Logged = 0;
};

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

TEST_F(CFileLoaderNetwork, LoadsBodiesOfKnownAndUnknownSize) {
    struct Row {
        const wchar_t* Path;
        bool Loaded;
        size_t Size;
    };
    constexpr Row kRows[] = {
        {L"/bytes/0", true, 0},
        {L"/bytes/200000", true, 200000},
        {L"/chunked/200000", true, 200000},
        {L"/close/70000", true, 70000},
        {L"/chunked/0", false, 0},
        {L"/short/1000", false, 0},
        {L"/status/404", false, 0},
        {L"/redirect/2", true, 100},
        {L"/gzip/100000", true, 100000},
        {L"/badgzip", false, 0},
    };
    for (const Row& row : kRows) {
        SCOPED_TRACE(row.Path);
        EXPECT_EQ(Load(row.Path), row.Loaded);
        EXPECT_EQ(Result == Pattern(row.Size), true) << Result.size();
    }
}

TEST_F(CFileLoaderNetwork, LimitsWhatItReads) {
    for (const wchar_t* path : {L"/bytes/1000", L"/chunked/1000"}) {
        SCOPED_TRACE(path);
        Loader.SetMaximumSize(100);
        EXPECT_TRUE(Load(path));
        EXPECT_EQ(Result, Pattern(100));
        Loader.SetMaximumSize(100, true);
        EXPECT_EQ(Load(path), path[1] == L'c') << "only a known size can be too large";
        Loader.SetMaximumSize(1000, true);
        EXPECT_TRUE(Load(path));
        EXPECT_EQ(Result.size(), 1000U);
    }
}

TEST_F(CFileLoaderNetwork, TellsWhatTheServerSaid) {
    EXPECT_TRUE(Load(L"/redirect/1"));
    EXPECT_EQ(ToBytes(Loader.GetStatusCode()), "200");
    EXPECT_EQ(Loader.GetLocation(), VnString(Server->URL(L"/bytes/100").c_str()));
    EXPECT_EQ(ToBytes(Loader.GetResponseHeader(L"ACCEPT-ranges")), "bytes");
    EXPECT_EQ(ToBytes(Loader.GetResponseHeader(L"Missing")), "");
    EXPECT_EQ(ToBytes(Loader.GetResponseHeader(L"")), "");
    EXPECT_FALSE(Load(L"/status/404"));
    EXPECT_EQ(ToBytes(Loader.GetStatusCode()), "404");
    EXPECT_TRUE(Load(L"/echo"));
    EXPECT_EQ(ToBytes(Loader.GetResponseHeader(L"X-Test")), "some value");
}

TEST_F(CFileLoaderNetwork, SendsARequestOnce) {
    Loader.SetProperty(L"INFO_HEADERS", L"X-Mine: 1");
    Loader.SetPostData("body", 4, true);
    EXPECT_TRUE(Load(L"/echo"));
    EXPECT_NE(Result.find("x-mine: 1\n"), std::string::npos) << Result;
    EXPECT_EQ(Result.substr(Result.size() - 6), "\n\nbody");
    EXPECT_TRUE(Load(L"/echo"));
    EXPECT_EQ(Result.substr(0, 4), "GET ");
    EXPECT_EQ(Result.find("x-mine"), std::string::npos) << Result;

    Loader.SetProperty(L"SUCCEED_ON_ERROR", L"1");
    EXPECT_TRUE(Load(L"/status/500"));
    EXPECT_EQ(Result, "status 500");
    EXPECT_FALSE(Load(L"/status/500"));

    Loader.PostJSON(L"{\"a\":\"\u00fc\"}");
    EXPECT_TRUE(Load(L"/echo"));
    EXPECT_NE(Result.find("content-type: application/json; charset=UTF-8\n"), std::string::npos)
        << Result;
    EXPECT_NE(Result.find("content-length: 10\n"), std::string::npos) << Result;
    EXPECT_EQ(Result.substr(Result.find("\n\n") + 2), "{\"a\":\"\xC3\xBC\"}");
}

TEST_F(CFileLoaderNetwork, GivesUpAfterItsTime) {
    Loader.SetTimeout(300);
    const auto start = Clock::now();
    EXPECT_FALSE(Load(L"/silent"));
    EXPECT_FALSE(Load(L"/stall/1000"));
    EXPECT_LT(Clock::now() - start, std::chrono::seconds(10));
}

TEST_F(CFileLoaderNetwork, IsCancelledFromAnotherThread) {
    CCancelHelper shared;
    for (const bool useShared : {false, true}) {
        for (const wchar_t* path : {L"/silent", L"/stall/1000"}) {
            SCOPED_TRACE(path);
            shared.SetCancelled(false);
            Loader.SetCancelFlag(useShared ? &shared : nullptr);
            const auto start = Clock::now();
            std::thread canceller([this, useShared, &shared] {
                std::this_thread::sleep_for(std::chrono::milliseconds(150));
                if (useShared) {
                    shared.SetCancelled(true);
                } else {
                    Loader.Cancel();
                }
            });
            EXPECT_FALSE(Load(path));
            EXPECT_LT(Clock::now() - start, std::chrono::seconds(8));
            canceller.join();
        }
    }
}

TEST_F(CFileLoaderNetwork, IsNotHeldUpByAHostileServer) {
    constexpr int64_t kMaximum = 1 << 20;
    constexpr int64_t kMostMemory = 256 << 20; // a sanitizer has its share
    struct Row {
        const wchar_t* Path;
        bool Strict; ///< what is larger than the maximum fails
        bool Loaded;
        size_t Size;
    };
    constexpr Row kRows[] = {
        {L"/headers", false, false, 0},
        {L"/line", false, false, 0},
        {L"/continue", false, false, 0},
        {L"/drip", false, false, 0},
        {L"/loop", false, false, 0},
        {L"/circle", false, false, 0},
        {L"/endless", true, true, kMaximum}, // its size is never known to be larger
        {L"/more", true, true, 1000},
        {L"/length/5", true, true, 5},
        {L"/length/1000", true, false, 0},
        {L"/length/1099511627776", false, false, 0},
        {L"/length/1099511627776", true, false, 0},
        {L"/length/99999999999999999999999", false, true, 10}, // as if it were not there
        {L"/length/-5", false, false, 0},
        {L"/length/many", false, false, 0},
        {L"/bomb/128", true, false, 0},
        {L"/bomb/128", false, true, kMaximum},
    };
    Loader.SetTimeout(2000);
    for (const Row& row : kRows) {
        SCOPED_TRACE(testing::Message() << row.Path << " strictly " << row.Strict);
        Loader.SetMaximumSize(kMaximum, row.Strict);
        Loader.SetHeaders(VnStringArray(), /*addAcceptEncoding=*/true);
        const PeakMemory memory;
        const Clock::time_point start = Clock::now();
        EXPECT_EQ(Load(row.Path), row.Loaded);
        EXPECT_EQ(Result.size(), row.Size);
        EXPECT_LT(Clock::now() - start, std::chrono::seconds(10));
        EXPECT_LT(memory.GetRise(), kMostMemory);
    }
    // Without a maximum a length is only a claim, too.
    Loader.SetMaximumSize(-1);
    const PeakMemory memory;
    EXPECT_FALSE(Load(L"/length/" + std::to_wstring(std::numeric_limits<int64_t>::max())));
    EXPECT_LT(memory.GetRise(), kMostMemory);
}

TEST_F(CFileLoaderNetwork, ShowsItsStatusToWhoeverWaits) {
    /// Gives the dialog time to be seen.
    class Slow final : public IFileLoaderProgress {
    public:
        bool IsCancelled() override {
            std::this_thread::sleep_for(std::chrono::milliseconds(250));
            return false;
        }
        void SetProgress(float) override {}
    };
    const TestFolder folder;
    const VnFilename file(ToText(folder.Write("f", "12345")));
    const struct {
        VnFilename Source;
        bool TitleOnly;
        const wchar_t* Title;
        const char* Shown;
    } rows[] = {
        {file, false, L"My file", "Reading 'My file'  (5 bytes of 5 bytes)"},
        {file, true, L"My file", "My file  (5 bytes of 5 bytes)"},
        {file, true, L"", "Reading 'Local resource'  (5 bytes of 5 bytes)"},
        {URL(L"/bytes/5"), false, L"", "Downloading 'Internet resource'  (5 bytes of 5 bytes)"},
        {URL(L"/chunked/5"), true, L"Mine", "Mine  (5 bytes)"},
    };
    for (const auto& row : rows) {
        std::string shown;
        {
            const TestTerminal terminal;
            Slow slow;
            CFileLoader loader;
            loader.SetProgress(&slow);
            loader.SetWaitDialog(true, 0, true, row.TitleOnly, row.Title, L"");
            VnBuffer buffer;
            EXPECT_TRUE(loader.LoadToBuffer(row.Source, buffer));
            shown = terminal.TakeOutput();
        }
        EXPECT_NE(shown.find(std::string("\033[K") + row.Shown + "\r"), std::string::npos) << shown;
    }
}

TEST_F(CFileLoaderFile, IsCreatedOrReplacedAndDecoded) {
    Folder.Write("a", std::string(5000, 'o'));
    EXPECT_TRUE(Load(L"/bytes/1000", "a", CFileLoader::LoadCreate));
    EXPECT_EQ(Folder.Read("a"), Pattern(1000));
    EXPECT_EQ(TargetText(), Folder / "a");
    EXPECT_TRUE(Load(L"/chunked/200000", "b", CFileLoader::LoadCreate));
    EXPECT_TRUE(Folder.Read("b") == Pattern(200000));
    EXPECT_TRUE(Load(L"/gzip/100000", "d", CFileLoader::LoadCreate));
    EXPECT_TRUE(Folder.Read("d") == Pattern(100000)) << "unpacked";
    EXPECT_FALSE(Folder.Exists("d.tmp"));

    const VnFilename local(ToText(Folder.Write("source", "local")));
    Target = VnFilename(ToText(Folder / "c"));
    EXPECT_TRUE(Loader.LoadToFile(local, Target, CFileLoader::LoadCreate));
    EXPECT_EQ(Folder.Read("c"), "local");
}

TEST_F(CFileLoaderFile, GetsAFreeName) {
    Folder.Write("a.bin", "old");
    EXPECT_TRUE(Load(L"/bytes/10", "a.bin", CFileLoader::LoadMakeUnique));
    EXPECT_EQ(TargetText(), Folder / "a (1).bin");
    EXPECT_EQ(Folder.Read("a.bin"), "old");
    EXPECT_EQ(Folder.Read("a (1).bin"), Pattern(10));
}

TEST_F(CFileLoaderFile, IsDeletedWhenItsLoadFails) {
    Loader.SetMaximumSize(1 << 20); // which a packed body may exceed only once it is unpacked
    for (const wchar_t* path : {L"/short/1000", L"/badgzip", L"/bomb/128"}) {
        SCOPED_TRACE(path);
        EXPECT_FALSE(Load(path, "a", CFileLoader::LoadCreate));
        EXPECT_FALSE(Folder.Exists("a"));
        EXPECT_FALSE(Folder.Exists("a.tmp"));
        EXPECT_EQ(TargetText(), "");
    }
    Folder.Write("kept", "old");
    EXPECT_FALSE(Load(L"/status/404", "kept", CFileLoader::LoadCreate));
    EXPECT_EQ(Folder.Read("kept"), "old") << "what never opened leaves the file alone";
    EXPECT_FALSE(Load(L"/short/1000", "part", CFileLoader::LoadResumeKeep));
    EXPECT_EQ(Folder.Read("part"), Pattern(500));
    EXPECT_FALSE(Load(L"/bytes/10", "no/such/folder", CFileLoader::LoadCreate));
}

TEST_F(CFileLoaderFile, IsResumed) {
    for (const CFileLoader::FileMode mode :
         {CFileLoader::LoadResume, CFileLoader::LoadResumeKeep}) {
        SCOPED_TRACE(mode);
        Folder.Write("part", Pattern(400));
        NewRequests();
        EXPECT_TRUE(Load(L"/bytes/1000", "part", mode));
        EXPECT_EQ(Folder.Read("part"), Pattern(1000));
        EXPECT_NE(NewRequests().find("GET /bytes/1000 bytes=400-\n"), std::string::npos);

        EXPECT_TRUE(Load(L"/bytes/1000", "part", mode));
        EXPECT_EQ(NewRequests().find("GET /bytes"), std::string::npos)
            << "a complete file transfers no body";

        Folder.Write("empty", "");
        EXPECT_TRUE(Load(L"/bytes/1000", "empty", mode));
        EXPECT_EQ(Folder.Read("empty"), Pattern(1000));
        EXPECT_TRUE(Load(L"/bytes/1000", mode == CFileLoader::LoadResume ? "new1" : "new2", mode));

        Folder.Write("stuck", "abc");
        for (const wchar_t* path : {L"/chunked/1000", L"/shift", L"/bytes/2"}) {
            SCOPED_TRACE(path);
            EXPECT_FALSE(Load(path, "stuck", mode))
                << "no ranges, another range, fewer bytes than are there";
            EXPECT_EQ(Folder.Read("stuck"), "abc");
        }
        Folder.Write("alone", Pattern(400));
        NewRequests();
        Loader.SetAllowInternet(false);
        EXPECT_FALSE(Load(L"/bytes/1000", "alone", mode));
        EXPECT_EQ(NewRequests().find("/bytes"), std::string::npos);
        Loader.SetAllowInternet(true);
    }
    EXPECT_EQ(Folder.Read("new1"), Pattern(1000));
    const VnFilename local(ToText(Folder.Write("source", "0123456789")));
    Target = VnFilename(ToText(Folder.Write("begun", "0123")));
    EXPECT_TRUE(Loader.LoadToFile(local, Target, CFileLoader::LoadResume));
    EXPECT_EQ(Folder.Read("begun"), "0123456789");
}

TEST_F(CFileLoaderFile, IsItsOwnCache) {
    Folder.Write("e", "cached");
    SetDate("e", kServerDate);
    EXPECT_TRUE(Load(L"/echo", "e", CFileLoader::LoadIfModified));
    const std::string seen = Folder.Read("e");
    EXPECT_NE(seen.find("if-modified-since: Sun, 13 Sep 2020 12:26:42 GMT\n"), seen.npos) << seen;

    // Without a file, and with one of another size, the body comes.
    EXPECT_TRUE(Load(L"/stale", "a", CFileLoader::LoadIfModified));
    EXPECT_EQ(Folder.Read("a"), Pattern(1000));

    // The server's word.
    Folder.Write("b", "cached");
    SetDate("b", kServerDate);
    EXPECT_TRUE(Load(L"/dated", "b", CFileLoader::LoadIfModified));
    EXPECT_EQ(Folder.Read("b"), "cached");
    EXPECT_EQ(ToBytes(Loader.GetStatusCode()), "304");
    EXPECT_EQ(TargetText(), Folder / "b");
    CCancelHelper cancel;
    cancel.SetCancelled(true);
    Loader.SetCancelFlag(&cancel);
    EXPECT_FALSE(Load(L"/dated", "b", CFileLoader::LoadIfModified)) << "an old 304 says nothing";
    Loader.SetCancelFlag(nullptr);

    // A server that ignores the condition: date and size decide.
    const std::string other(1000, 'c');
    for (const int difference : {5, 0}) {
        Folder.Write("c", other);
        SetDate("c", kServerDate + difference);
        EXPECT_TRUE(Load(L"/stale", "c", CFileLoader::LoadIfModified));
        EXPECT_EQ(Folder.Read("c"), other);
    }
    SetDate("c", kServerDate - 5);
    EXPECT_TRUE(Load(L"/stale", "c", CFileLoader::LoadIfModified));
    EXPECT_EQ(Folder.Read("c"), Pattern(1000)) << "the other end is newer";
    Folder.Write("d", "short");
    SetDate("d", kServerDate + 5);
    EXPECT_TRUE(Load(L"/stale", "d", CFileLoader::LoadIfModified));
    EXPECT_EQ(Folder.Read("d"), Pattern(1000)) << "the size differs";

    // A failure that is no 304 keeps the file all the same, since it was never made anew.
    Folder.Write("e", "cached");
    EXPECT_FALSE(Load(L"/status/500", "e", CFileLoader::LoadIfModified));
    EXPECT_EQ(Folder.Read("e"), "cached");
}

TEST_F(CFileLoaderFile, GoesToATempFile) {
    const VnFilename first = Loader.LoadToTempFile(URL(L"/bytes/10"), L"dat");
    const VnFilename second = Loader.LoadToTempFile(URL(L"/bytes/20"), L"dat");
    EXPECT_NE(ToBytes(first.Filename), "");
    EXPECT_NE(ToBytes(first.Filename), ToBytes(second.Filename));
    EXPECT_EQ(first.GetFileSize(), 10);
    EXPECT_EQ(second.GetFileSize(), 20);
    EXPECT_EQ(ToBytes(first.GetExtension()), "dat");
    EXPECT_TRUE(first.Filename.StartsWith(ToText(TestEnvironment::GetHome())))
        << ToBytes(first.Filename);
    EXPECT_EQ(ToBytes(Loader.LoadToTempFile(URL(L"/status/404"), L"dat").Filename), "");
}

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

#include "data/CFileLoader.h"

#include "files/VnFilename.h"
#include "tests/support/HTTPServerTest.h"
#include "tests/support/TestEnvironment.h"
#include "tests/support/TestTerminal.h"
#include "tests/support/TestText.h"

#include <gtest/gtest.h>

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
        Result.assign(reinterpret_cast<const char*>(buffer.GetData()),
                      static_cast<size_t>(buffer.GetSize()));
        return loaded;
    }

    CFileLoader Loader;
    std::string Result;
};

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

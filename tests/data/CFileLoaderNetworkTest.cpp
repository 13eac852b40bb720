#include "data/CFileLoader.h"

#include "files/VnFilename.h"
#include "tests/support/HTTPServerProcess.h"
#include "tests/support/TestText.h"

#include <gtest/gtest.h>

#include <chrono>
#include <memory>
#include <string>
#include <thread>

namespace {

std::string Pattern(size_t count) {
    std::string bytes;
    for (size_t i = 0; i < count; i++) {
        bytes += static_cast<char>(i % 251);
    }
    return bytes;
}

class CFileLoaderNetwork : public testing::Test {
protected:
    static void SetUpTestSuite() { Server = std::make_unique<HTTPServerProcess>(); }
    static void TearDownTestSuite() { Server.reset(); }

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

    static std::unique_ptr<HTTPServerProcess> Server;
    CFileLoader Loader;
    std::string Result;
};

std::unique_ptr<HTTPServerProcess> CFileLoaderNetwork::Server;

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
    const auto start = std::chrono::steady_clock::now();
    EXPECT_FALSE(Load(L"/silent"));
    EXPECT_FALSE(Load(L"/stall/1000"));
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(10));
}

TEST_F(CFileLoaderNetwork, IsCancelledFromAnotherThread) {
    CCancelHelper shared;
    for (const bool useShared : {false, true}) {
        for (const wchar_t* path : {L"/silent", L"/stall/1000"}) {
            SCOPED_TRACE(path);
            shared.SetCancelled(false);
            Loader.SetCancelFlag(useShared ? &shared : nullptr);
            const auto start = std::chrono::steady_clock::now();
            std::thread canceller([this, useShared, &shared] {
                std::this_thread::sleep_for(std::chrono::milliseconds(150));
                if (useShared) {
                    shared.SetCancelled(true);
                } else {
                    Loader.Cancel();
                }
            });
            EXPECT_FALSE(Load(path));
            EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(8));
            canceller.join();
        }
    }
}

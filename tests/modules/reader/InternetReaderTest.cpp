#include "core/VnDllString.h"
#include "files/VnFilename.h"
#include "runtime/IVnReader.h"
#include "runtime/VnSiblingModules.h"
#include "tests/support/HTTPServerTest.h"
#include "tests/support/TestText.h"

#include <gtest/gtest.h>

#include <chrono>
#include <memory>
#include <string>
#include <thread>

namespace {

using Reader = std::unique_ptr<IVnReader>;
using Clock = std::chrono::steady_clock;

class InternetReader : public HTTPServerTest {
protected:
    static Reader Make(const std::wstring& path, const wchar_t* properties = L"") {
        Reader reader(CreateInternetReaderDLL(Server->URL(path).c_str()));
        reader->SetTimeout(10000);
        reader->SetProperties(properties);
        return reader;
    }
    static std::string Property(IVnReader& reader, const wchar_t* name) {
        VnString value;
        VnDllString adapter(value);
        reader.GetProperty(name, adapter);
        return ToBytes(value);
    }
    /// All that is left, read in steps of `step`.
    static std::string ReadAll(IVnReader& reader, int32_t step = 1000) {
        std::string all;
        std::string block(static_cast<size_t>(step), '\0');
        for (int32_t count = step; count == step;) {
            count = reader.Read(block.data(), step);
            all.append(block, 0, static_cast<size_t>(count));
        }
        return all;
    }
};

} // namespace

TEST_F(InternetReader, ReadsBodiesOfAnyFraming) {
    struct Row {
        const wchar_t* Path;
        size_t Size;
        int64_t Length;
    };
    constexpr Row kRows[] = {
        {L"/bytes/0", 0, 0},
        {L"/bytes/1", 1, 1},
        {L"/bytes/3000000", 3000000, 3000000},
        {L"/chunked/0", 0, -1},
        {L"/chunked/123456", 123456, -1},
        {L"/close/70000", 70000, -1},
        {L"/short/1000", 500, 1000}, // half of what it promised
    };
    for (const Row& row : kRows) {
        for (const int32_t step : {777, 1 << 20}) {
            SCOPED_TRACE(testing::Message() << row.Path << " by " << step);
            const Reader reader = Make(row.Path);
            ASSERT_TRUE(reader->Open());
            EXPECT_EQ(reader->GetLength(), row.Length);
            EXPECT_EQ(Property(*reader, L"StatusCode"), "200");
            EXPECT_EQ(ReadAll(*reader, step), Pattern(row.Size));
            EXPECT_EQ(reader->GetPosition(), static_cast<int64_t>(row.Size));
        }
    }
}

TEST_F(InternetReader, TellsWhatTheServerSaid) {
    const Reader reader = Make(L"/typed?type=audio%2Fmpeg&body=abc");
    EXPECT_EQ(Property(*reader, L"StatusCode"), "") << "nothing is known yet";
    ASSERT_TRUE(reader->Open());
    EXPECT_EQ(Property(*reader, L"ContentType"), "audio/mpeg");
    EXPECT_EQ(Property(*reader, L"contentlength"), "3");
    EXPECT_EQ(Property(*reader, L"ContentEncoding"), "");
    EXPECT_NE(Property(*reader, L"AllHeaders").find("HTTP/1.1 200 OK\r\n"), std::string::npos);
    EXPECT_EQ(Property(*reader, L"Unknown"), "");
    const Reader packed = Make(L"/gzip/100");
    ASSERT_TRUE(packed->Open());
    EXPECT_EQ(Property(*packed, L"ContentEncoding"), "gzip");
    EXPECT_EQ(ReadAll(*packed).substr(0, 2), "\x1f\x8b") << "a body is delivered as it came";
}

TEST_F(InternetReader, FollowsRedirects) {
    const Reader reader = Make(L"/redirect/3");
    ASSERT_TRUE(reader->Open());
    EXPECT_EQ(ToText(Property(*reader, L"Location")), VnString(Server->URL(L"/bytes/100").c_str()));
    EXPECT_EQ(ReadAll(*reader), Pattern(100));
    EXPECT_EQ(Property(*reader, L"AllHeaders").find("302"), std::string::npos);
    EXPECT_FALSE(Make(L"/loop")->Open());
}

TEST_F(InternetReader, FailsOnErrorsUnlessAsked) {
    for (const wchar_t* path : {L"/status/404", L"/status/500", L"/nothing"}) {
        SCOPED_TRACE(path);
        const Reader refused = Make(path);
        EXPECT_FALSE(refused->Open());
        const std::string code = Property(*refused, L"StatusCode");
        EXPECT_TRUE(code == "404" || code == "500") << code;
        const Reader accepted = Make(path, L"SUCCEED_ON_ERROR|1");
        ASSERT_TRUE(accepted->Open());
        EXPECT_FALSE(ReadAll(*accepted).empty());
    }
    const Reader nobody(CreateInternetReaderDLL(L"http://127.0.0.1:1/"));
    EXPECT_FALSE(nobody->Open());
    EXPECT_EQ(Property(*nobody, L"StatusCode"), "");
    EXPECT_FALSE(Reader(CreateInternetReaderDLL(L"file:///etc/passwd"))->Open());
    EXPECT_FALSE(Reader(CreateInternetReaderDLL(L"nonsense://x"))->Open());
}

TEST_F(InternetReader, SendsWhatTheRequestSays) {
    const Reader reader = Make(
        L"/echo?q=a b\u00fc",
        L"HTTPREQUEST_TYPE|put|INFO_HEADERS|X-One: 1|2\nX-Two: zwei\r\nContent-length: 999|USE_CACHE|1");
    reader->SetPostData("body|text", 9);
    ASSERT_TRUE(reader->Open());
    const std::string seen = ReadAll(*reader);
    EXPECT_EQ(seen.substr(0, seen.find('\n')), "PUT /echo?q=a%20b%C3%BC");
    EXPECT_NE(seen.find("x-one: 1|2\n"), std::string::npos) << seen;
    EXPECT_NE(seen.find("x-two: zwei\n"), std::string::npos) << seen;
    EXPECT_NE(seen.find("content-length: 9\n"), std::string::npos) << seen;
    EXPECT_EQ(seen.substr(seen.find("\n\n") + 2), "body|text");

    const Reader post = Make(L"/echo");
    post->SetPostData("x", 1);
    ASSERT_TRUE(post->Open());
    EXPECT_EQ(ReadAll(*post).substr(0, 5), "POST ");

    VnFilename name(Server->URL(L"/echo").c_str());
    name.SetProperty(VnFilename::kUserAgent, L"Special/1");
    const Reader agent(CreateGenericReaderDLL(name.GetXMLForm()));
    ASSERT_TRUE(agent->Open());
    EXPECT_NE(ReadAll(*agent).find("user-agent: Special/1\n"), std::string::npos);
}

TEST_F(InternetReader, AsksForTheHeadAlone) {
    const Reader reader = Make(L"/bytes/5000", L"HTTPREQUEST_TYPE|HEAD");
    ASSERT_TRUE(reader->Open());
    EXPECT_EQ(reader->GetLength(), 5000);
    EXPECT_EQ(ReadAll(*reader), "");
    EXPECT_EQ(VnFilename(Server->URL(L"/bytes/5000").c_str()).GetFileSize(true), 5000);
}

TEST_F(InternetReader, ReadsRangesAndSeeks) {
    const Reader range = Make(L"/bytes/1000", L"RANGE_START|400");
    ASSERT_TRUE(range->Open());
    EXPECT_EQ(range->GetLength(), 600);
    EXPECT_EQ(ReadAll(*range), Pattern(600, 400));
    EXPECT_FALSE(Make(L"/bytes/1000", L"RANGE_START|1000")->Open());
    EXPECT_FALSE(Make(L"/chunked/1000", L"RANGE_START|10")->Open()) << "a server without ranges";

    const Reader reader = Make(L"/bytes/1000");
    ASSERT_TRUE(reader->Open());
    EXPECT_EQ(reader->Seek(-100, IVnReader::kFromEnd), 900);
    EXPECT_EQ(reader->GetLength(), 1000);
    EXPECT_EQ(ReadAll(*reader), Pattern(100, 900));
    EXPECT_EQ(reader->Seek(10, IVnReader::kFromStart), 10);
    EXPECT_EQ(ReadAll(*reader), Pattern(990, 10));
    EXPECT_EQ(reader->Seek(-5, IVnReader::kFromStart), -1);
}

TEST_F(InternetReader, GivesUpAfterItsTime) {
    for (const wchar_t* path : {L"/silent", L"/stall/1000"}) {
        SCOPED_TRACE(path);
        const Reader reader = Make(path);
        reader->SetTimeout(300);
        const Clock::time_point start = Clock::now();
        const bool opened = reader->Open();
        EXPECT_EQ(opened, path[2] == L't');
        EXPECT_EQ(ReadAll(*reader), opened ? Pattern(10) : "");
        EXPECT_LT(Clock::now() - start, std::chrono::seconds(8));
    }
}

TEST_F(InternetReader, IsClosedFromAnotherThread) {
    for (const wchar_t* path : {L"/silent", L"/stall/1000"}) {
        SCOPED_TRACE(path);
        const Reader reader = Make(path);
        const Clock::time_point start = Clock::now();
        std::thread closer([&reader] {
            std::this_thread::sleep_for(std::chrono::milliseconds(150));
            EXPECT_FALSE(reader->IsBusy());
            reader->Close();
        });
        reader->Open();
        char block[1000];
        reader->Read(block, sizeof(block));
        EXPECT_LT(Clock::now() - start, std::chrono::seconds(8));
        closer.join();
        EXPECT_EQ(reader->Read(block, sizeof(block)), 0);
    }
    const Reader early = Make(L"/bytes/10");
    early->Close();
    EXPECT_FALSE(early->Open()) << "closed ahead of its open";
    EXPECT_TRUE(early->Open());
}

TEST_F(InternetReader, CanNotWrite) {
    const Reader reader = Make(L"/bytes/10");
    EXPECT_FALSE(reader->Create());
    EXPECT_FALSE(reader->OpenForAppend());
    EXPECT_EQ(reader->Write("x", 1), 0);
}

#include "data/CFileLoader.h"

#include "files/VnFilename.h"
#include "tests/support/HTTPServerTest.h"
#include "tests/support/TestEnvironment.h"
#include "tests/support/TestText.h"

#include <gtest/gtest.h>

#include <sys/stat.h>
#include <utime.h>

#include <memory>
#include <string>

namespace {

constexpr time_t kServerDate = 784111777; ///< the Last-Modified of the server

class CFileLoaderFile : public HTTPServerTest {
protected:
    static VnFilename URL(const std::wstring& path) {
        return VnFilename(Server->URL(path).c_str());
    }
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
    CFileLoader Loader;
    VnFilename Target;
    size_t Logged = 0;
};

} // namespace

TEST_F(CFileLoaderFile, IsCreatedOrReplaced) {
    Folder.Write("a", std::string(5000, 'o'));
    EXPECT_TRUE(Load(L"/bytes/1000", "a", CFileLoader::LoadCreate));
    EXPECT_EQ(Folder.Read("a"), Pattern(1000));
    EXPECT_EQ(TargetText(), Folder / "a");
    EXPECT_TRUE(Load(L"/chunked/200000", "b", CFileLoader::LoadCreate));
    EXPECT_EQ(Folder.Read("b") == Pattern(200000), true);

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

TEST_F(CFileLoaderFile, IsDecoded) {
    EXPECT_TRUE(Load(L"/gzip/100000", "a", CFileLoader::LoadCreate));
    EXPECT_EQ(Folder.Read("a") == Pattern(100000), true);
    EXPECT_FALSE(Folder.Exists("a.tmp"));
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
    Folder.Write("c", other);
    SetDate("c", kServerDate + 5);
    EXPECT_TRUE(Load(L"/stale", "c", CFileLoader::LoadIfModified));
    EXPECT_EQ(Folder.Read("c"), other);
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

TEST_F(CFileLoaderFile, SendsItsDateInTheFormOfHTTP) {
    Folder.Write("a", "cached");
    SetDate("a", kServerDate);
    EXPECT_TRUE(Load(L"/echo", "a", CFileLoader::LoadIfModified));
    EXPECT_NE(Folder.Read("a").find("if-modified-since: Sun, 6 Nov 1994 08:49:37 GMT\n"),
              std::string::npos)
        << Folder.Read("a");
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

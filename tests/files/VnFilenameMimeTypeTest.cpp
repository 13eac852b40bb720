#include "files/VnFilename.h"

#include "core/VnBuffer.h"
#include "files/VnURL.h"
#include "runtime/IVnReader.h"
#include "runtime/VnSiblingModules.h"
#include "tests/support/HTTPServerTest.h"
#include "tests/support/TextRows.h"

#include <gtest/gtest.h>

#include <memory>
#include <string>

namespace {

class VnFilenameMimeType : public HTTPServerTest {
protected:
    void SetUp() override { ASSERT_NE(VnGetToolsRoot(), nullptr); }

    static VnString URL(const VnString& path) { return Server->URL(path.GetText()).c_str(); }

    /// The path of a body with a content type, none when `type` is empty.
    static VnString Typed(const wchar_t* type, const wchar_t* body) {
        return L"/typed?type=" + VnString::URLEncoded(type) + L"&body="
               + VnString::URLEncoded(body);
    }

    /// The file type found for a path, and "-" when the result is false.
    std::string Probe(const VnString& path, bool followPlaylist = true) {
        Filename.Set(URL(path));
        const bool found =
            Filename.SetFileTypeFromURLMimeType(followPlaylist, /*allowNetwork=*/true);
        const std::string type = ToBytes(Filename.GetProperty(VnFilename::kFileType));
        EXPECT_EQ(found, !type.empty()) << ToBytes(path);
        return found ? type : "-";
    }

    VnFilename Filename;
};

constexpr const wchar_t* kASF = L"video/x-ms-asf";

TEST_F(VnFilenameMimeType, MapsTheContentType) {
    EXPECT_EQ(Probe(Typed(L"audio/mpeg", L"x")), "mp3");
    EXPECT_EQ(Probe(Typed(L"audio/flac; q=1", L"x") + L"&name=a.mp3"), "flac");
    EXPECT_EQ(Probe(Typed(L"", L"")), "mp3");
    EXPECT_EQ(Probe(Typed(L"", L"icy\nCONTENT-Type:  audio/flac \r\nrest")), "flac");
    EXPECT_EQ(Probe(Typed(L"made/up", L"x")), "-");
    EXPECT_EQ(Probe(L"/status/404"), "-");
}

TEST_F(VnFilenameMimeType, LooksIntoWhatMayBeAPlaylist) {
    EXPECT_EQ(Probe(Typed(kASF, L"<?x?>\n<AsX version=\"3\">")), "asx");
    EXPECT_EQ(Probe(Typed(L"text/html", L"<asx>")), "asx");
    EXPECT_EQ(Probe(Typed(kASF, L"0&")), "asf");
    EXPECT_EQ(Probe(Typed(kASF, L"")), "asf");
    EXPECT_EQ(Probe(L"/asx/65535"), "asx");
    EXPECT_EQ(Probe(L"/asx/65536"), "asf") << "too large for a playlist";
    EXPECT_EQ(Probe(Typed(kASF, L"http://h/a\r\nhttp://h/b\r\n")), "asf");
}

TEST_F(VnFilenameMimeType, FollowsABodyThatPointsAtTheStream) {
    const VnString pointer = Typed(kASF, L"mms://h/stream\r\nmore");
    EXPECT_EQ(Probe(pointer, /*followPlaylist=*/false), "asf");
    EXPECT_EQ(Filename.Filename, URL(pointer));
    EXPECT_EQ(Probe(pointer), "asf");
    EXPECT_EQ(ToBytes(Filename.Filename), "mms://h/stream");
    const VnString target = Typed(L"audio/flac", L"x");
    EXPECT_EQ(Probe(L"/hop/hop" + target), "flac");
    EXPECT_EQ(Filename.Filename, URL(target));
    EXPECT_EQ(Probe(L"/hop"), "asf") << "points at itself";

    VnString chain;
    for (int32_t i = 0; i < 30; ++i) {
        chain += L"/hop";
    }
    EXPECT_EQ(Probe(chain + target), "asf") << "a chain without end is given up";
    EXPECT_GT(Filename.Filename.Count(L"/hop"), 10);
}

TEST_F(VnFilenameMimeType, TakesTheSchemeOfARedirectThatCannotBeOpened) {
    EXPECT_EQ(Probe(L"/moved?to=rtmp://h/live"), "rtmp");
    EXPECT_EQ(Probe(L"/moved?to=gopher://h/x"), "-");
}

TEST_F(VnFilenameMimeType, AsksAServerForASize) {
    EXPECT_EQ(VnFilename(URL(L"/bytes/1234")).GetFileSize(/*allowRemote=*/true), 1234);
    EXPECT_EQ(VnFilename(URL(L"/status/404")).GetFileSize(/*allowRemote=*/true), -1);
}

TEST_F(VnFilenameMimeType, ReadsABodyPieceByPiece) {
    const VnFilename name(URL(Typed(L"", L"abcdef")));
    std::unique_ptr<IVnReader> reader;
    VnBuffer buffer(100);
    EXPECT_FALSE(ReadURLData(name, reader, buffer, 4, /*openFirst=*/false, 0)) << "no reader";
    EXPECT_TRUE(ReadURLData(name, reader, buffer, 4, /*openFirst=*/true, 5000));
    EXPECT_EQ(ToBytes(buffer), "abcd");
    EXPECT_TRUE(ReadURLData(name, reader, buffer, 4, /*openFirst=*/false, 0));
    EXPECT_EQ(ToBytes(buffer), "ef");
    EXPECT_FALSE(ReadURLData(name, reader, buffer, 4, /*openFirst=*/false, 0));
    EXPECT_TRUE(buffer.IsEmpty());
    const VnFilename missing(URL(L"/status/404"));
    EXPECT_FALSE(ReadURLData(missing, reader, buffer, 4, /*openFirst=*/true, 5000));
}

} // namespace

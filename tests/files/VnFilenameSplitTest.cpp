#include "files/VnFilename.h"

#include "tests/support/TestText.h"

#include <gtest/gtest.h>

#include <clocale>
#include <string>
#include <vector>

namespace {

struct SplitCase {
    const char* Text;
    const char* Drive;
    const char* Directory;
    const char* Name;
    const char* Extension;
};

std::string SplitToLine(const VnString& text, bool lowerCaseExtension = true) {
    VnString drive = L"stale";
    VnString directory = L"stale";
    VnString name = L"stale";
    VnString extension = L"stale";
    EXPECT_TRUE(VnFilename::Split(
        text, {.Drive = &drive, .Directory = &directory, .Name = &name, .Extension = &extension},
        lowerCaseExtension));
    return ToBytes(drive + L"|" + directory + L"|" + name + L"|" + extension);
}

std::string Line(const SplitCase& expected) {
    return std::string(expected.Drive) + '|' + expected.Directory + '|' + expected.Name + '|'
           + expected.Extension;
}

constexpr SplitCase kLocalCases[] = {
    {"", "", "", "", ""},
    {"a", "", "", "a", ""},
    {"a.mp3", "", "", "a", "mp3"},
    {"/", "", "/", "", ""},
    {"/a", "", "/", "a", ""},
    {"/m/", "", "/m/", "", ""},
    {"/m/a.b.MP3", "", "/m/", "a.b", "mp3"},
    {"/m.x/a", "", "/m.x/", "a", ""},
    {"m\\a.mp3", "", "m\\", "a", "mp3"},
    {"/m\\n/a.ogg", "", "/m\\n/", "a", "ogg"},
    // Dots at the start and the end of a name.
    {".hidden", "", "", "", "hidden"},
    {"/a/.hidden", "", "/a/", ".hidden", ""},
    {"/a/.hidden.txt", "", "/a/", ".hidden", "txt"},
    {"/a/..", "", "/a/", "..", ""},
    {"/a/...", "", "/a/", "..", ""},
    {"/a/.", "", "/a/", ".", ""},
    {"/a/b.", "", "/a/", "b", ""},
    {"/a/b..c", "", "/a/", "b.", "c"},
    // Drive letters.
    {"C:\\Music\\a.MP3", "C:", "\\Music\\", "a", "mp3"},
    {"c:/a", "C:", "/", "a", ""},
    {"c:", "C:", "/", "", ""},
    {"c:a.mp3", "C:", "a", "", "mp3"},
    {"ab:c/d", "", "ab:c/", "d", ""},
    {"/:a", "/:", "a", "", ""},
    // Servers.
    {"\\\\server\\share\\a.mp3", "\\\\server", "\\share\\", "a", "mp3"},
    {"\\\\server\\share", "\\\\server", "\\", "share", ""},
    {"\\\\server", "\\\\server", "/", "server", ""},
    {"//server\\x.mp3", "//server", "\\", "x", "mp3"},
    // Device nodes.
    {"/dev/sdb1", "/dev/sdb1", "/", "", ""},
    {"/dev/sdb1/", "/dev/sdb1", "/", "", ""},
    {"/dev/sdb1/music/a.mp3", "/dev/sdb1", "/music/", "a", "mp3"},
    {"/DEV/sdb1/a", "/DEV/sdb1", "/", "a", ""},
    {"/dev", "", "/", "dev", ""},
    {"/device/a", "", "/device/", "a", ""},
    {"xdev/a", "", "xdev/", "a", ""},
};

TEST(VnFilenameSplit, TakesLocalPathsApart) {
    for (const SplitCase& row : kLocalCases) {
        SCOPED_TRACE(row.Text);
        EXPECT_EQ(SplitToLine(ToText(row.Text)), Line(row));
    }
}

TEST(VnFilenameSplit, LowersTheExtensionOfLocalPathsOnRequestOnly) {
    // Only a locale that knows letters beyond ASCII has lower-case forms for them.
    ASSERT_NE(std::setlocale(LC_ALL, "C.UTF-8"), nullptr);
    VnStringGlobals::Get().RebuildTables(false);
    EXPECT_EQ(SplitToLine(L"/a.\x00C4MP3", true), ToBytes(L"|/|a|\x00E4mp3"));
    EXPECT_EQ(SplitToLine(L"/a.\x0416X", true), ToBytes(L"|/|a|\x0436x"));
    std::setlocale(LC_ALL, "C");
    VnStringGlobals::Get().RebuildTables(false);
    EXPECT_EQ(SplitToLine(L"/a.MP3", false), "|/|a|MP3");
    EXPECT_EQ(SplitToLine(L"http://h/a.MP3", true), "http://|h/|a|MP3");
    const std::string longExtension(100, 'X');
    EXPECT_EQ(SplitToLine(ToText("/a." + longExtension)), "|/|a|" + std::string(100, 'x'));
}

TEST(VnFilenameSplit, AsksForEachPartAlone) {
    const VnString text = L"http://u:p@h:81/d/a.mp3?q";
    struct Part {
        VnString* VnFilenameParts::*Member;
        const char* Expected;
    };
    for (const Part& part : std::vector<Part>{{&VnFilenameParts::Drive, "http://"},
                                              {&VnFilenameParts::Directory, "u:p@h:81/d/"},
                                              {&VnFilenameParts::Name, "a"},
                                              {&VnFilenameParts::Extension, "mp3"},
                                              {&VnFilenameParts::Query, "q"},
                                              {&VnFilenameParts::User, "u"},
                                              {&VnFilenameParts::Password, "p"},
                                              {&VnFilenameParts::Host, "h"},
                                              {&VnFilenameParts::PathOnHost, "/d/"}}) {
        VnString value = L"a value that was there before, and is longer";
        VnFilenameParts parts;
        parts.*part.Member = &value;
        VnFilename::Split(text, parts);
        EXPECT_EQ(ToBytes(value), part.Expected);
        EXPECT_EQ(value.GetLength(), static_cast<int32_t>(std::string(part.Expected).size()));
    }
    int32_t port = -1;
    bool isURL = false;
    VnFilename::Split(text, {.IsURL = &isURL, .Port = &port});
    EXPECT_EQ(port, 81);
    EXPECT_TRUE(isURL);
    VnFilename::Split(L"/a:81/b", {.IsURL = &isURL, .Port = &port});
    EXPECT_EQ(port, 0);
    EXPECT_FALSE(isURL);
}

TEST(VnFilenameSplit, LeavesATwinOfAnOutputAlone) {
    VnString name = L"shared by two";
    const VnString twin = name;
    VnFilename::Split(L"/m/a.mp3", {.Name = &name});
    EXPECT_EQ(name, L"a");
    EXPECT_EQ(twin, L"shared by two");
}

struct URLCase {
    const char* Text;
    const char* Parts;     ///< drive, directory, name, extension
    const char* Authority; ///< user, password, host, port, path on the host, query
};

constexpr URLCase kURLCases[] = {
    {"http://host", "http://|host||", "||host|0||"},
    {"http://host/", "http://|host/||", "||host|0|/|"},
    {"http://host:8080/d/a.flac?x=1", "http://|host:8080/d/|a|flac", "||host|8080|/d/|x=1"},
    {"http://u:p@host:80/a.mp3", "http://|u:p@host:80/|a|mp3", "u|p|host|80|/|"},
    {"http://u@host/a.mp3", "http://|u@host/|a|mp3", "u||host|0|/|"},
    {"http://u:p:q@host/", "http://|u:p:q@host/||", "u|p|host|0|/|"},
    {"http://h/a?b?c", "http://|h/|a?b|", "||h|0|/|c"},
    {"http://h/a?u=http://x/y", "http://|h/|a|", "||h|0|/|u=http://x/y"},
    // The extension of a URL has three or four characters.
    {"http://h/page.x", "http://|h/|page.x|", "||h|0|/|"},
    {"http://h/page.js", "http://|h/|page.js|", "||h|0|/|"},
    {"http://h/track.mp3", "http://|h/|track|mp3", "||h|0|/|"},
    {"http://h/track.flac", "http://|h/|track|flac", "||h|0|/|"},
    {"http://h/file.mpeg2", "http://|h/|file.mpeg2|", "||h|0|/|"},
    {"http://h/.mp3", "http://|h/||mp3", "||h|0|/|"},
    {"http://h\\d\\a.mp3", "http://|h\\d\\|a|mp3", "||h|0|\\d\\|"},
    {"http://h:x/a", "http://|h:x/|a|", "||h|0|/|"},
    {"http://", "http://|||", "|||0||"},
    {"://", "://|||", "|||0||"},
    {"/m/a.mp3?x=://", "|/m/|a|mp3", "|||0|/m/|x=://"},
    // A file URL is split as one, although its text has become a path.
    {"file://localhost/home/a%20b.mp3", "|/home/|a b|mp3", "|||0|/home/|"},
    {"FILE:///m/a.mp3", "|/m/|a|mp3", "|||0|/m/|"},
};

TEST(VnFilenameSplit, TakesURLsApart) {
    for (const URLCase& row : kURLCases) {
        SCOPED_TRACE(row.Text);
        const VnString text = ToText(row.Text);
        EXPECT_EQ(SplitToLine(text), row.Parts);
        VnString user;
        VnString password;
        VnString host;
        VnString path;
        VnString query;
        int32_t port = -1;
        bool isURL = false;
        VnFilename::Split(text, {.Query = &query,
                                 .IsURL = &isURL,
                                 .User = &user,
                                 .Password = &password,
                                 .Host = &host,
                                 .Port = &port,
                                 .PathOnHost = &path});
        EXPECT_EQ(ToBytes(user + L"|" + password + L"|" + host + L"|" + VnString::FromInt(port)
                          + L"|" + path + L"|" + query),
                  row.Authority);
        EXPECT_TRUE(isURL);
    }
}

/// Every short text of the characters that mean something, so that no order of them reads past an
/// end.
TEST(VnFilenameSplit, KeepsEveryCharacterOfShortPathsInOnePlace) {
    constexpr wchar_t kAlphabet[] = {L'/', L'\\', L'.', L':', L'a'};
    for (int32_t length = 0; length <= 6; ++length) {
        int32_t count = 1;
        for (int32_t i = 0; i < length; ++i) {
            count *= 5;
        }
        for (int32_t number = 0; number < count; ++number) {
            VnString text;
            for (int32_t i = 0, rest = number; i < length; ++i, rest /= 5) {
                text += kAlphabet[rest % 5];
            }
            VnString drive;
            VnString directory;
            VnString name;
            VnString extension;
            VnFilename::Split(
                text,
                {.Drive = &drive, .Directory = &directory, .Name = &name, .Extension = &extension},
                /*lowerCaseExtension=*/false);
            if (VnFilename::GetIsFileRemote(text)
                || (text.StartsWith(L"\\\\") || text.StartsWith(L"//")) || text.StartsWith(L"/\\")
                || text.StartsWith(L"\\/")) {
                continue; // a server without a share is both drive and name
            }
            const bool addedRoot = !drive.IsEmpty() && directory == L"/" && text.Mid(2, 1) != L"/";
            drive.MakeLower();
            const VnString base = drive + (addedRoot ? VnString() : directory) + name;
            const VnString whole = extension.IsEmpty() ? base : base + L"." + extension;
            EXPECT_TRUE(whole == text || whole + L"." == text)
                << ToBytes(text) << " -> " << ToBytes(whole);
        }
    }
}

} // namespace

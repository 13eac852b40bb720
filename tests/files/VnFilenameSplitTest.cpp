#include "files/VnFilename.h"

#include "tests/support/TestText.h"

#include <gtest/gtest.h>

#include <clocale>
#include <iterator>
#include <string>

namespace {

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

TEST(VnFilenameSplit, TakesLocalPathsApart) {
    // Drive, directory, name and extension of paths that are these four joined.
    for (const std::string parts : {"|||",           "||a|",          "||a|mp3",
                                    "|/||",          "|/|a|",         "|/m/||",
                                    "|/m/|a.b|mp3",  "|/m.x/|a|",     "|m\\|a|mp3",
                                    "|/m\\n/|a|ogg", "|||hidden",     "|/a/|.hidden|",
                                    "|/a/|..|",      "|/a/|.|",       "|/a/|b.|c",
                                    "C:|/|a|",       "C:|a||mp3",     "/:|a||",
                                    "|ab:c/|d|",     "/dev/sdb1|/||", "/DEV/sdb1|/|a|",
                                    "|/|dev|",       "|/device/|a|",  "|xdev/|a|"}) {
        const size_t last = parts.rfind('|');
        std::string text = parts;
        text.replace(last, 1, last + 1 < parts.size() ? "." : "");
        std::erase(text, '|');
        EXPECT_EQ(SplitToLine(ToText(text)), parts) << text;
    }
    constexpr const char* kOthers[][2] = {
        {"C:\\Music\\a.MP3", "C:|\\Music\\|a|mp3"},
        {"c:", "C:|/||"},
        {"/a/...", "|/a/|..|"},
        {"/a/b.", "|/a/|b|"},
        {"/a/.hidden.txt", "|/a/|.hidden|txt"},
        {"\\\\server\\share\\a.mp3", "\\\\server|\\share\\|a|mp3"},
        {"\\\\server\\share", "\\\\server|\\|share|"},
        {"\\\\server", "\\\\server|/|server|"},
        {"//server\\x.mp3", "//server|\\|x|mp3"},
        {"/dev/sdb1", "/dev/sdb1|/||"},
        {"/dev/sdb1/music/a.mp3", "/dev/sdb1|/music/|a|mp3"},
    };
    for (const auto& [text, parts] : kOthers) {
        EXPECT_EQ(SplitToLine(ToText(text)), parts) << text;
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
    using Parts = VnFilenameParts;
    VnString* Parts::*const members[] = {&Parts::Drive,     &Parts::Directory, &Parts::Name,
                                         &Parts::Extension, &Parts::Query,     &Parts::User,
                                         &Parts::Password,  &Parts::Host,      &Parts::PathOnHost};
    const wchar_t* const expected[] = {L"http://", L"u:p@h:81/d/", L"a", L"mp3", L"q",
                                       L"u",       L"p",           L"h", L"/d/"};
    for (size_t i = 0; i < std::size(members); ++i) {
        VnString value = L"a value that was there before, and is longer";
        VnFilenameParts parts;
        parts.*members[i] = &value;
        VnFilename::Split(L"http://u:p@h:81/d/a.mp3?q", parts);
        EXPECT_EQ(ToBytes(value), ToBytes(expected[i]));
        EXPECT_EQ(value.GetLength(), VnString(expected[i]).GetLength());
    }
    int32_t port = -1;
    bool isURL = false;
    VnFilename::Split(L"http://u:p@h:81/d/a.mp3?q", {.IsURL = &isURL, .Port = &port});
    EXPECT_TRUE(isURL && port == 81);
    VnFilename::Split(L"/a:81/b", {.IsURL = &isURL, .Port = &port});
    EXPECT_TRUE(!isURL && port == 0);
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

/// Every text of up to six of the characters that mean something, so that no order of them reads
/// past an end.
TEST(VnFilenameSplit, KeepsEveryCharacterOfShortPathsInOnePlace) {
    for (int32_t number = 0; number < 6 * 6 * 6 * 6 * 6 * 6; ++number) {
        VnString text;
        for (int32_t rest = number; rest > 0; rest /= 6) {
            text += VnString(L"/\\.:a").Mid(rest % 6, 1);
        }
        VnString drive;
        VnString directory;
        VnString name;
        VnString extension;
        VnFilename::Split(
            text,
            {.Drive = &drive, .Directory = &directory, .Name = &name, .Extension = &extension},
            /*lowerCaseExtension=*/false);
        if (drive == text || VnFilename::GetIsFileRemote(text)) {
            continue; // a server without a share is both drive and name
        }
        const bool addedRoot = !drive.IsEmpty() && directory == L"/" && text.Mid(2, 1) != L"/";
        VnFilename joined;
        joined.Assemble(drive, addedRoot ? VnString() : directory, name, extension);
        EXPECT_TRUE(joined.Filename.EqualsNoCase(text)
                    || (joined.Filename + L'.').EqualsNoCase(text))
            << ToBytes(text) << " -> " << ToBytes(joined.Filename);
    }
}

} // namespace

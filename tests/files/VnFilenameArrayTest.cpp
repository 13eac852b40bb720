#include "files/VnFilenameArray.h"

#include "tests/support/TestEnvironment.h"
#include "tests/support/TestText.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <string>
#include <vector>

namespace {

class CProgressRecorder final : public IVnProgressText {
public:
    void ShowProgress(const VnString& text) override { Texts.push_back(ToBytes(text)); }
    std::vector<std::string> Texts;
};

} // namespace

TEST(VnFilenameArray, ReadsTheTextFormOfAList) {
    struct Row {
        const wchar_t* Text;
        const wchar_t* Joined;
        int32_t Count;
    };
    constexpr Row kRows[] = {
        {L"\"a b.mp3\" \"c.mp3\"", L"a b.mp3|c.mp3", 2},
        {L"a.mp3|c.mp3", L"a.mp3|c.mp3", 2},
        {L"a.mp3 | \"c.mp3\"", L"a.mp3|\"c.mp3", 2},
        {L"|", L"", 0},
        {L"", L"", 0},
        {nullptr, L"", 0},
        {L"\" a \"", L"a", 1},
        {L"||a|| |", L"a", 1},
        {L"one name.mp3", L"one name.mp3", 1},
    };
    for (const Row& row : kRows) {
        VnFilenameArray names;
        names.Add(L"old");
        EXPECT_EQ(names.SetFromText(row.Text), row.Count) << ToBytes(row.Text);
        EXPECT_EQ(ToBytes(names.GetAsText()), ToBytes(row.Joined));
    }
}

TEST(VnFilenameArray, AnXMLFormKeepsItsSeparators) {
    const wchar_t* form = L"<xmlfn version=\"1.0\"><Item Name=\"Filename\">a|b</Item>"
                          L"<Item Name=\"x\" \"y\">c</Item></XMLfn>";
    VnFilenameArray names;
    EXPECT_EQ(names.SetFromText(L"first|" + VnString(form) + L"|last"), 3);
    EXPECT_EQ(ToBytes(names[1]), ToBytes(form));
    EXPECT_EQ(ToBytes(names[2]), "last");
}

TEST(VnFilenameArray, GathersTreesWithTheirRelativeDirectories) {
    const TestFolder folder;
    folder.Write("music/a.mp3", "");
    folder.Write("music/sub/b.mp3", "");
    folder.Write("music/sub/deep/c.mp3", "");
    folder.Write("music/.hidden/d.mp3", "");
    folder.Write("single.mp3", "");
    std::filesystem::create_directory_symlink("../..", folder / "music/sub/loop");
    VnStringArray files;
    files.Add(ToText(folder / "single.mp3"));
    files.Add(ToText(folder / "music"));
    files.Add(ToText(folder / "missing.mp3"));
    VnFilenameArray names;
    VnStringArray directories;
    VnStringArray relative;
    CProgressRecorder progress;
    EXPECT_TRUE(names.AddWithDirectories(files, &progress, &directories, &relative));
    ASSERT_EQ(names.GetCount(), relative.GetCount());
    std::vector<std::string> found;
    for (int32_t i = 0; i < names.GetCount(); ++i) {
        found.push_back(ToBytes(relative[i]) + "="
                        + ToBytes(names[i]).substr((folder / "").size()));
    }
    // The link leads to the parent of what was named: that is another directory, and is entered
    // once.
    EXPECT_EQ(found, (std::vector<std::string>{
                         "=single.mp3", "music/=music/a.mp3", "music/sub/=music/sub/b.mp3",
                         "music/sub/deep/=music/sub/deep/c.mp3",
                         "music/sub/loop/=music/sub/loop/single.mp3", "=missing.mp3"}));
    EXPECT_EQ(ToBytes(directories.Join(L" ")),
              "music/sub/ music/sub/deep/ music/sub/loop/ music/sub/loop/music/");
    ASSERT_EQ(progress.Texts.size(), 4U + 3U);
    EXPECT_EQ(progress.Texts[0], "Gathering files (1 found)");
    EXPECT_EQ(progress.Texts[1], "Gathering files (2 found)");
    EXPECT_EQ(progress.Texts[6], "Gathering files (6 found)");
}

TEST(VnFilenameArray, MissingFilesAndDirectoriesAreRemoved) {
    const TestFolder folder;
    VnFilenameArray names;
    names.Add(ToText(folder / "missing1"));
    names.Add(ToText(folder.Write("here", "")));
    names.Add(ToText(folder.Path().string()));
    names.Add(ToText(folder / "missing2"));
    names.Add(ToText(folder.Write("and here", "")));
    names.RemoveMissing();
    EXPECT_EQ(ToBytes(names.GetAsText()), folder / "here" + "|" + folder / "and here");
    names.RemoveMissing();
    EXPECT_EQ(names.GetCount(), 2) << "nothing is missing any more";
    names.Clear();
    EXPECT_EQ(names.GetCount(), 0);
}

#include "drive/CPortableDriveGeneric.h"
#include "runtime/IVnDialogService.h"
#include "runtime/IVnToolsRoot.h"
#include "runtime/VnSiblingModules.h"
#include "tests/support/FakeHandheld.h"

namespace {

/// Answers every question with one button, and keeps what was asked.
class Answer : public IVnDialogHandler {
public:
    explicit Answer(int32_t button) : Button(button) {
        VnGetToolsRoot()->GetDialogService(1)->SetHandler(this);
    }
    Answer(const Answer&) = delete;
    Answer& operator=(const Answer&) = delete;
    ~Answer() { VnGetToolsRoot()->GetDialogService(1)->SetHandler(nullptr); }
    int32_t ShowMessage(const wchar_t* text, const wchar_t* caption, int32_t, int32_t) override {
        Text = text;
        Caption = caption;
        return Button;
    }
    std::wstring Text;
    std::wstring Caption;

private:
    int32_t Button;
};

class CommandsTest : public DeviceFixture {
protected:
    std::vector<int32_t> Menu(const wchar_t* location) {
        FakeMenu menu;
        EXPECT_EQ(Front->HandleFolderMenu(location, 0, &menu), 0);
        std::vector<int32_t> ids;
        for (const auto& [id, text] : menu.Entries) {
            ids.push_back(id);
        }
        return ids;
    }
    void RunEntry(const wchar_t* location, int32_t id) {
        FakeMenu menu;
        menu.ChosenId = id;
        EXPECT_EQ(Front->HandleFolderMenu(location, 1, &menu), 0);
    }
};

using Ids = std::vector<int32_t>;

TEST_F(CommandsTest, OffersWhatFitsTheNode) {
    Start({{L"PlaylistBasePath", L"Lists"}});
    Device.Write("Lists/Road.m3u", "x");
    std::filesystem::create_directories(Device / "Music");
    EXPECT_EQ(Menu(L"Card"), (Ids{105, 109}));
    EXPECT_EQ(Menu(L"Card/Music"), (Ids{105}));
    EXPECT_EQ(Menu(L"Card/Road"), (Ids{103}));
    EXPECT_EQ(Menu(L"Card/Nothing"), (Ids{}));
    EXPECT_EQ(Menu(L""), (Ids{}));
}

TEST_F(CommandsTest, DeletesPlaylistsAsxFirst) {
    Start({{L"PlaylistBasePath", L"Lists"}});
    Device.Write("Lists/Road.m3u", "x");
    Device.Write("Lists/Road.asx", "x");
    RunEntry(L"Card/Road", 103);
    EXPECT_FALSE(Device.Exists("Lists/Road.asx"));
    EXPECT_TRUE(Device.Exists("Lists/Road.m3u"));
    RunEntry(L"Card/Road", 103);
    EXPECT_FALSE(Device.Exists("Lists/Road.m3u"));
    EXPECT_EQ(Host.ContentsChanged, 2);
}

TEST_F(CommandsTest, AsksBeforeAFolderGoes) {
    Start();
    Device.Write("Music/it's/a.mp3", "x");
    const std::string kept = Library.Write("kept.mp3", "x");
    std::filesystem::create_directory_symlink(Library.Path(), Device.Path() / "Music/Out");
    std::filesystem::create_directory_symlink(Library.Path(), Device.Path() / "Link");
    {
        const Answer no(IVnDialogService::kButtonNo);
        RunEntry(L"Card/Music", 102);
        EXPECT_EQ(no.Caption, L"Confirm Delete");
        EXPECT_EQ(no.Text, L"Are you sure you want to delete this folder and all subfolders?");
    }
    EXPECT_TRUE(Device.Exists("Music/it's/a.mp3"));
    EXPECT_EQ(Host.ContentsChanged, 1);
    const Answer yes(IVnDialogService::kButtonYes);
    RunEntry(L"Card/Music", 102);
    EXPECT_FALSE(Device.Exists("Music"));
    EXPECT_EQ(Host.ContentsChanged, 2);
    RunEntry(L"Card/Link", 102);
    EXPECT_TRUE(std::filesystem::exists(kept)) << "a delete follows no link";
}

TEST_F(CommandsTest, RebuildsOnYesOnly) {
    Start();
    Device.Write("a.mp3", "x");
    Scan();
    {
        const Answer no(IVnDialogService::kButtonNo);
        RunEntry(L"Card", 109);
        EXPECT_EQ(
            no.Text,
            L"Rebuilding the database on your handheld player may take several minutes.\r\n\r\n"
            L"Are you sure you want to continue?");
    }
    EXPECT_TRUE(Device.Exists(".Database.mpl"));
    EXPECT_EQ(Host.DatabaseRemoved, 0);
    const Answer yes(IVnDialogService::kButtonYes);
    RunEntry(L"Card", 109);
    EXPECT_FALSE(Device.Exists(".Database.mpl"));
    EXPECT_EQ(Host.DatabaseRemoved, 1);
}

TEST_F(CommandsTest, NamesTheDevice) {
    const std::pair<Properties, const wchar_t*> rows[] = {
        {{{L"DisplayName", L"Card (/media/u/C)"}}, L"Card (/media/u/C)"},
        {{{L"DisplayName", L"Card (/media/u/C)"},
          {L"IsDrive", L"1"},
          {L"DriveLetter", L"/media/u/D"}},
         L"Card (/media/u/D)"},
        {{{L"DisplayName", L"(/media/u/C)"}, {L"IsDrive", L"1"}, {L"DriveLetter", L"x"}},
         L"(/media/u/C) (x)"},
        {{{L"DisplayName", L"C (/media/x)"}, {L"IsDrive", L"1"}, {L"DeviceType", L"4"}},
         L"C (/media/x)"},
        {{{L"DisplayName", L""}, {L"IsDrive", L"1"}}, L""},
    };
    for (const auto& [values, expected] : rows) {
        Start(values);
        CPortableDriveGeneric drive(Front.get());
        EXPECT_EQ(drive.GetDisplayName(), expected);
    }
}

TEST_F(CommandsTest, ASyncIsDoneOnlyBehindItsBeginning) {
    Start();
    CPortableDriveGeneric drive(Front.get());
    drive.ProcessCommand(nullptr, kCommandEndSync, nullptr);
    EXPECT_EQ(Database(), "<?xml version=\"1.0\" encoding=\"UTF-8\" standalone=\"yes\" ?>\r\n"
                          "<MPL Version=\"2.0\">\r\n</MPL>");
    EXPECT_FALSE(drive.IsSyncDone());
    drive.ProcessCommand(nullptr, kCommandBeginSync, nullptr);
    drive.ProcessCommand(nullptr, kCommandEndSync, nullptr);
    EXPECT_TRUE(drive.IsSyncDone());
    EXPECT_EQ(drive.ProcessCommand(nullptr, 1029, nullptr), 0);
    EXPECT_EQ(drive.ProcessCommand(nullptr, kCommandHook, nullptr), 0);
}

} // namespace

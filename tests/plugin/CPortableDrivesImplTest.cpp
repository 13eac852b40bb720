#include "core/VnPropertyMap.h"
#include "drive/CPortableDriveBase.h"
#include "runtime/VnSharedText.h"
#include "tests/support/FakeHandheld.h"

namespace {

constexpr int32_t kFailure = static_cast<int32_t>(0x80004005);

/// What a record holds after Initialize has seen `text`.
VnString Eject(CPortableDrivesImpl& front, const wchar_t* text) {
    wchar_t* record = VnCreateSharedText(text);
    EXPECT_EQ(front.Initialize(&record), 0);
    VnPropertyMap map;
    map.Deserialize(VnTakeSharedText(record));
    return map.GetString(L"SupportsEject", L"missing");
}

TEST(CPortableDrivesImpl, AnswersBeforeInitialize) {
    CPortableDrivesImpl front(nullptr);
    FakeList list;
    int32_t failed = 0;
    wchar_t* text = nullptr;
    EXPECT_EQ(front.GetFiles(L"Card", &list), kFailure);
    EXPECT_EQ(front.GetLastErrorText(&text), kFailure);
    EXPECT_EQ(front.Cancel(), 0);
    EXPECT_EQ(front.ProcessCommand(nullptr, kCommandEndSync, nullptr, 0, nullptr), 0);
    EXPECT_EQ(front.ProcessCommand(nullptr, kCommandEndSync, nullptr, 0, &failed), 0);
    EXPECT_EQ(failed, 1);
    failed = 0;
    EXPECT_EQ(front.ProcessCommand(L"", kCommandSetProperties, nullptr, 0, &failed), 0);
    EXPECT_EQ(failed, 0);
    EXPECT_EQ(front.ProcessCommand(nullptr, kCommandEject, nullptr, 0, &failed), 0);
    EXPECT_EQ(failed, 1); // no root, so it goes to the drive that is not there
}

TEST(CPortableDrivesImpl, TellsWhetherTheDeviceEjects) {
    CPortableDrivesImpl front(nullptr);
    EXPECT_EQ(Eject(front, L""), L"0");
    EXPECT_EQ(front.GetDeviceInfo().GetString(L"AudioBasePath", L"gone"), L"gone");
    EXPECT_EQ(Eject(front, L"(1:1)(11:DriveLetter)(2:/x)"), L"1");
    EXPECT_EQ(Eject(front, L"(1:1)(9:DrivePath)(2:/x)"), L"1");
    EXPECT_EQ(Eject(front, L"(1:9)(broken"), L"0");
    int32_t failed = 0;
    EXPECT_EQ(front.ProcessCommand(nullptr, kCommandEject, nullptr, 0, &failed), 0);
    EXPECT_EQ(failed, 0) << "what has no root is not ejected";
    wchar_t* text = nullptr;
    EXPECT_EQ(front.Initialize(&text), 0);
    EXPECT_NE(text, nullptr);
    VnFreeSharedText(text);
    EXPECT_EQ(front.Initialize(nullptr), 0);
    EXPECT_EQ(front.GetLastErrorText(&text), 0);
    EXPECT_EQ(VnTakeSharedText(text), L"");
}

struct DefaultCase {
    const wchar_t* Type;
    const wchar_t* Key;
    const wchar_t* Expected;
};

TEST(CDeviceInfo, HasDefaultsByType) {
    constexpr DefaultCase kRows[] = {
        {nullptr, L"DeviceType", L"-1"},
        {nullptr, L"AudioBasePath", L"Music/"},
        {nullptr, L"SupportedFileTypes", L"*"},
        {nullptr, L"SupportsFolders", L"-1"},
        {nullptr, L"AlbumArtEnabled", L"1"},
        {nullptr, L"ChangeKeyExpression", L"[Rating]\x01"},
        {L"2", L"SaveVideoThumbnailToFileJPG", L"1"},
        {L"2", L"AudioBasePath", L"Music/[Album Artist (auto)]\\[Album]\\/"},
        {L"3", L"ResyncIfDateModified", L"1"},
        {L"3", L"ChangeKeyExpression",
         L"If(IsEqual([Media Type], Image), , [Rating]\x01[Composer]\x01)"},
        {L"4", L"IsDrive", L"1"},
        {L"4", L"AudioBasePath", L"[Album Artist (auto)]\\[Album]\\/"},
    };
    for (const DefaultCase& row : kRows) {
        CDeviceInfo info;
        if (row.Type != nullptr) {
            info.SetString(L"DeviceType", row.Type, false);
        }
        info.SetDefaults();
        EXPECT_EQ(info.GetString(row.Key, L"missing"), row.Expected)
            << VnStringUTF8(row.Key).GetBytes() << " of type "
            << (row.Type == nullptr ? "none" : VnStringUTF8(row.Type).GetBytes());
    }
}

} // namespace

#include "core/VnDllString.h"
#include "runtime/IVnApplicationInfo.h"
#include "runtime/IVnDecompressor.h"
#include "runtime/IVnDialogService.h"
#include "runtime/IVnMIMEService.h"
#include "runtime/IVnPathService.h"
#include "runtime/IVnSettingsKey.h"
#include "runtime/IVnToolsRoot.h"
#include "runtime/VnSiblingModules.h"
#include "runtime/VnTranslation.h"
#include "tests/support/Packing.h"
#include "tests/support/TestEnvironment.h"
#include "tests/support/TestTerminal.h"
#include "tests/support/TestText.h"

#include <gtest/gtest.h>

#include <sys/stat.h>
#include <unistd.h>

#include <atomic>
#include <chrono>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <string>
#include <thread>
#include <utility>

namespace {

IVnToolsRoot& Root() {
    return *VnGetToolsRoot();
}

using MIMECase = std::pair<const wchar_t*, const char*>;

constexpr MIMECase kExtensions[] = {
    {L"audio/mpeg", "mp3"},
    {L" Audio/MPEG ; charset=x", "mp3"},
    {L"video/x-ms-asf", "asf"},
    {L"video/x-ms-wmv", "wmv"},
    {L"audio/x-ms-wma", "wma"},
    {L"text/html; charset=UTF-8", "htm"},
    {L"application/epub+zip", "epub"}, // of the system's table
    {L"nothing/at-all", ""},
    {L"", ""},
    {nullptr, ""},
};

constexpr MIMECase kTypes[] = {
    {L"mp3", "audio/mpeg"},
    {L".FLAC", "audio/flac"},
    {L"jpg", "image/jpeg"},
    {L"htm", "text/html"},
    {L"epub", "application/epub+zip"},
    {L"zzzz", "application/octet-stream"},
    {L"", "application/octet-stream"},
};

/// All that a stream gives in pieces of `step`; "!" behind it when it ends in an error.
std::string Unpack(const std::string& packed, int32_t step) {
    // A block of exact size, so that a read past the end shows.
    const std::unique_ptr<char[]> data(new char[packed.size()]);
    std::memcpy(data.get(), packed.data(), packed.size());
    const std::unique_ptr<IVnDecompressor> stream(
        Root().CreateDecompressor(data.get(), static_cast<int64_t>(packed.size())));
    std::string result;
    std::string block(static_cast<size_t>(step), '\0');
    for (;;) {
        const int32_t count = stream->Read(block.data(), step);
        if (count <= 0) {
            return result + (count < 0 ? "!" : "");
        }
        result.append(block, 0, static_cast<size_t>(count));
    }
}

} // namespace

TEST(MIMEService, MapsTypesToExtensions) {
    VnString text;
    VnDllString adapter(text);
    for (const auto& [type, extension] : kExtensions) {
        Root().GetMIMEService(1)->GetExtension(type, adapter);
        EXPECT_EQ(ToBytes(text), extension) << (type ? type : L"null");
    }
    for (const auto& [extension, type] : kTypes) {
        Root().GetMIMEService(1)->GetContentType(extension, adapter);
        EXPECT_EQ(ToBytes(text), type) << extension;
    }
}

TEST(Decompressor, DecodesGzipAndZlibInAnySteps) {
    std::string plain;
    for (int i = 0; i < 20000; i++) {
        plain += static_cast<char>(i * i % 251);
    }
    for (const int32_t step : {1, 1000, 1000000}) {
        EXPECT_EQ(Unpack(Pack(plain, kGzip), step), plain);
        EXPECT_EQ(Unpack(Pack(plain, kZlib), step), plain);
        EXPECT_EQ(Unpack(Pack(plain, kGzip) + Pack("second", kGzip), step), plain + "second");
        EXPECT_EQ(Unpack(Pack("padded", kGzip) + std::string(100, '\0'), step), "padded");
        EXPECT_EQ(Unpack(Pack("", kGzip), step), "");
    }
}

TEST(Decompressor, TellsDamagedDataFromTheEnd) {
    const std::string packed = Pack(std::string(5000, 'a') + "tail of the text", kGzip);
    EXPECT_EQ(Unpack("", 100), "!");
    EXPECT_EQ(Unpack("not packed at all", 100), "!");
    for (size_t length = 1; length < packed.size(); length++) {
        const std::string result = Unpack(packed.substr(0, length), 100);
        EXPECT_EQ(result.back(), '!') << "cut to " << length;
    }
}

TEST(PathService, TellsFilesFromDirectories) {
    const TestFolder folder;
    const std::string file = folder.Write("a.mp3", "x");
    const std::string odd = folder.Write("odd \xFF\xF0\x9F\x8E\xB5", "x");
    const std::string link = folder / "link";
    ASSERT_EQ(::symlink("nowhere", link.c_str()), 0);
    const std::string path = folder.Path().string();
    IVnPathService& paths = *Root().GetPathService(1);
    struct Row {
        std::string Path;
        bool IsFile;
        bool IsDirectory;
        bool IsAvailable;
    };
    const Row rows[] = {
        {file, true, false, false},
        {odd, true, false, false},
        {path, false, true, true},
        {path + "/", false, true, true},
        {path + "/*", false, true, true},
        {path + "*", false, false, true},
        {file + "/*", false, false, false},
        {path + "/missing", false, false, true},
        {path + "/missing/deep/er/", false, false, true},
        {path + "/missing/*", false, false, true},
        {file + "/below", false, false, false},
        {link, false, false, true},
        {"", false, false, false},
        {"/", false, true, true},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.Path);
        EXPECT_EQ(paths.FileExists(ToText(row.Path), 0), row.IsFile);
        EXPECT_EQ(paths.DirectoryExists(ToText(row.Path)), row.IsDirectory);
        EXPECT_EQ(paths.IsPathAvailable(ToText(row.Path)), row.IsAvailable);
    }
    EXPECT_TRUE(paths.FileExists(ToText(link), 2)) << "the link itself";
    EXPECT_FALSE(paths.FileExists(nullptr, 0));
    EXPECT_FALSE(paths.DirectoryExists(nullptr));
}

TEST(Translator, FollowsTheEnvironment) {
    ::setenv("LANGUAGE", "de", 1);
    EXPECT_EQ(ToBytes(VnTranslated(L"Delete Playlist")), "Wiedergabeliste l\xC3\xB6schen");
    EXPECT_EQ(
        ToBytes(VnTranslated(L"Rebuilding the database on your handheld player may take several"
                             L" minutes.\r\n\r\n")),
        "Der Neuaufbau der Datenbank auf dem Ger\xC3\xA4t kann mehrere Minuten dauern.\r\n\r\n");
    EXPECT_EQ(ToBytes(VnTranslated(L"no such text")), "no such text");
    EXPECT_EQ(ToBytes(VnTranslated(L"")), "");
    VnString language;
    VnDllString adapter(language);
    Root().GetApplicationInfo(1)->GetLanguage(adapter);
    EXPECT_EQ(ToBytes(language), "German");
    ::unsetenv("LANGUAGE");
}

TEST(ApplicationInfo, NamesTheUsersFolder) {
    VnString text;
    VnDllString adapter(text);
    Root().GetApplicationInfo(1)->GetUserDataPath(adapter);
    EXPECT_EQ(ToBytes(text), TestEnvironment::GetHome() + "/.velnor/Generic/");
    EXPECT_TRUE(Root().GetApplicationInfo(1)->LoadProduct(L"", adapter, false, false));
}

TEST(DialogService, AnswersByTheHandlerOrTheDefault) {
    class Handler final : public IVnDialogHandler {
    public:
        int32_t
        ShowMessage(const wchar_t* text, const wchar_t* caption, int32_t style, int32_t) override {
            Seen = ToBytes(text) + "|" + ToBytes(caption) + "|" + std::to_string(style);
            return IVnDialogService::kButtonNo;
        }
        std::string Seen;
    };
    IVnDialogService& dialogs = *Root().GetDialogService(1);
    const auto ask = [&dialogs] {
        return dialogs.ShowMessage(L"Text?", L"Caption", IVnDialogService::kStyleYesNo,
                                   IVnDialogService::kButtonYes, nullptr, nullptr, 1);
    };
    Handler handler;
    dialogs.SetHandler(&handler);
    EXPECT_EQ(ask(), IVnDialogService::kButtonNo);
    EXPECT_EQ(handler.Seen, "Text?|Caption|4");
    dialogs.SetHandler(nullptr);
    if (::isatty(STDIN_FILENO) == 0) {
        EXPECT_EQ(ask(), IVnDialogService::kButtonYes);
    }
    IVnWaitDialog* wait = dialogs.OpenWaitDialog(L"Title", L"Text", 1, true, nullptr, nullptr);
    ASSERT_NE(wait, nullptr);
    wait->SetStatus(L"half");
    wait->Close();
}

TEST(DialogService, AsksOnTheTerminal) {
    struct Row {
        const char* What;
        const char* Typed;
        int32_t Style;
        int32_t Default;
        int32_t Pressed;
    };
    using Service = IVnDialogService;
    constexpr Row kRows[] = {
        {"a key", "n\n", Service::kStyleYesNo, Service::kButtonYes, Service::kButtonNo},
        {"a word in capitals", "YES please\n", Service::kStyleYesNo, Service::kButtonNo,
         Service::kButtonYes},
        {"an empty line", "\n", Service::kStyleYesNo, Service::kButtonYes, Service::kButtonYes},
        {"what is not offered", "o\nc\ny\n", Service::kStyleYesNo, Service::kButtonNo,
         Service::kButtonYes},
        {"cancel", "c\n", Service::kStyleYesNoCancel, Service::kButtonNo, Service::kButtonCancel},
        {"no answer in time", "", Service::kStyleOkCancel, Service::kButtonCancel,
         Service::kButtonCancel},
    };
    for (const Row& row : kRows) {
        SCOPED_TRACE(row.What);
        int32_t pressed = 0;
        std::string shown;
        {
            const TestTerminal terminal;
            terminal.Type(row.Typed);
            pressed = Root().GetDialogService(1)->ShowMessage(L"Really\r\nsure?\x1b[2J", L"Caption",
                                                              row.Style, row.Default, nullptr,
                                                              nullptr, 200);
            shown = terminal.TakeOutput();
        }
        EXPECT_EQ(pressed, row.Pressed);
        EXPECT_EQ(shown.find("Caption\nReally\nsure?[2J\n"), 0U) << shown;
    }
}

TEST(DialogService, ShowsAWaitDialogAfterItsDelay) {
    std::string early;
    std::string late;
    {
        const TestTerminal terminal;
        IVnWaitDialog* quick = Root().GetDialogService(1)->OpenWaitDialog(L"Quick", L"", 60000,
                                                                          true, nullptr, nullptr);
        quick->SetStatus(L"never seen");
        quick->Close();
        early = terminal.TakeOutput();
        IVnWaitDialog* slow =
            Root().GetDialogService(1)->OpenWaitDialog(L"Slow", L"work", 0, true, nullptr, nullptr);
        late = terminal.TakeOutput();
        slow->SetStatus(L"half done");
        std::this_thread::sleep_for(std::chrono::milliseconds(250));
        slow->Close();
        late += terminal.TakeOutput();
        const std::atomic<bool> cancelled{true};
        IVnWaitDialog* gone =
            Root().GetDialogService(1)->OpenWaitDialog(L"Gone", L"", 0, true, &cancelled, nullptr);
        late += terminal.TakeOutput();
        gone->Close();
    }
    EXPECT_EQ(early, "");
    EXPECT_EQ(late, "\r\033[KSlow work\r\033[Khalf done\r\033[K");
}

TEST(ToolsRoot, IsThereForItsVersionAlone) {
    auto* entry = reinterpret_cast<IVnToolsRoot* (*)(int32_t)>(
        VnSiblingModules::GetInstance().GetSymbol(VnSiblingModule::Tools, "GetVnToolsDLL"));
    ASSERT_NE(entry, nullptr);
    ASSERT_NE(VnGetToolsRoot(), nullptr);
    EXPECT_EQ(entry(IVnToolsRoot::kVersion), VnGetToolsRoot());
    EXPECT_EQ(entry(IVnToolsRoot::kVersion + 1), nullptr);
    EXPECT_EQ(entry(0), nullptr);
}

TEST(ToolsRoot, ServesAgainAfterAnUnload) {
    VnSiblingModules::GetInstance().UnloadAll(true);
    EXPECT_EQ(VnGetToolsRoot(false), nullptr);
    ASSERT_NE(VnGetToolsRoot(), nullptr);
    EXPECT_TRUE(Root().GetPathService(1)->DirectoryExists(L"/"));
    IVnSettingsKey* key = Root().OpenKey(L"Properties", 1, 0);
    ASSERT_NE(key, nullptr);
    key->Close();
}

#pragma once

#include "core/VnString.h"
#include "plugin/CPortableDrivesImpl.h"
#include "plugin/IVnHandheldFile.h"
#include "plugin/IVnHandheldFileList.h"
#include "plugin/IVnHandheldHost.h"
#include "plugin/IVnHandheldMenu.h"
#include "tests/support/TestEnvironment.h"

#include <functional>
#include <map>
#include <memory>
#include <string>
#include <vector>

/// A text result of the host's interfaces.
VnHandheldText MakeHandheldText(const std::wstring& text);

/// UTF-8 of a wide text and back, for messages and paths.
std::string ToUTF8(const std::wstring& text);
std::wstring ToWide(const std::string& text);

/// A library file: fields by name, and answers that a test sets.
class FakeFile : public IVnHandheldFile {
public:
    VnHandheldText GetField(const wchar_t* name, int32_t flag) override;
    VnHandheldText GetLibraryPath() override { return MakeHandheldText(Source); }
    /// The expression itself, unless Expressions has an answer for it.
    VnHandheldText Evaluate(const wchar_t* expression, int32_t flag) override;
    VnHandheldText GetSourcePath() override { return MakeHandheldText(Source); }
    VnHandheldText GetCoverArtPath(int32_t reserved) override;
    void SetField(const wchar_t* name, const wchar_t* value) override { Fields[name] = value; }
    VnHandheldText GetFieldList(int32_t) override { return MakeHandheldText(FieldList); }

    std::map<std::wstring, std::wstring> Fields;
    std::map<std::wstring, std::wstring> Expressions;
    std::wstring Source;
    std::wstring Art;
    std::wstring FieldList = L"Filename|Name|Artist";
    int ArtQuestions = 0;
};

class FakeList : public IVnHandheldFileList {
public:
    int32_t GetCount() override { return static_cast<int32_t>(Items.size()); }
    IVnHandheldFile* GetItem(int32_t index) override {
        return Items[static_cast<size_t>(index)].get();
    }
    IVnHandheldFile* CreateRecord() override;
    VnHandheldText GetFieldList(int32_t) override { return MakeHandheldText(FieldList); }
    int32_t WritePlaylist(const wchar_t* path, const wchar_t* kind) override;

    FakeFile& Add(const std::map<std::wstring, std::wstring>& fields = {});

    std::vector<std::unique_ptr<FakeFile>> Items; ///< a null entry is a missing item
    std::wstring FieldList = L"Filename|Name|Artist";
    bool GivesRecords = true;
    std::string PlaylistText; ///< bytes that WritePlaylist writes
    bool WriterWorks = true;
    std::wstring WrittenPath;
    std::wstring WrittenKind;
    std::function<void()> OnRecord; ///< called ahead of each new record
};

class FakeHost : public IVnHandheldHost {
public:
    void OnContentsChanged() override { ++ContentsChanged; }
    void OnDatabaseRemoved() override { ++DatabaseRemoved; }
    void OnProgress(int64_t bytesDone, int64_t bytesInAll, bool* cancel) override;

    struct Step {
        int64_t Done;
        int64_t All;
        bool operator==(const Step&) const = default;
    };
    int ContentsChanged = 0;
    int DatabaseRemoved = 0;
    std::vector<Step> Steps;
    int CancelAtStep = 0; ///< 1 cancels at the first; 0 never
    std::function<void()> OnStep;
};

class FakeMenu : public IVnHandheldMenu {
public:
    void AddEntry(int32_t commandId, const wchar_t* text, int32_t, int32_t, int32_t) override {
        Entries.emplace_back(commandId, text);
    }
    std::vector<std::pair<int32_t, std::wstring>> Entries;
};

/// A device in a folder of its own, driven the way a host drives it.
class DeviceFixture : public testing::Test {
protected:
    using Properties = std::map<std::wstring, std::wstring>;

    /// Makes the handheld object with DrivePath set and the given properties on top.
    void Start(const Properties& properties = {});
    /// Replaces the record, DrivePath included.
    void Reconfigure(const Properties& properties);

    std::wstring Root() const { return ToWide(Device / ""); }
    std::wstring OnDevice(const std::string& name) const { return ToWide(Device / name); }
    /// Runs a command and gives its result.
    int32_t Run(int32_t code, IVnHandheldFileList* list = nullptr, const wchar_t* text = nullptr);
    /// A scan, of the whole device unless told otherwise; the file names reported, below the root
    /// and sorted.
    std::vector<std::string> Scan(FakeList& list, const std::wstring& location = L"Card");
    std::vector<std::string> Scan();
    /// A scan of one playlist of the device.
    std::vector<std::string> ScanPlaylist(const std::wstring& name);
    std::string Database() const { return Device.Read(".Database.mpl"); }
    TestFolder Device;
    TestFolder Library;
    FakeHost Host;
    std::unique_ptr<CPortableDrivesImpl> Front;

private:
    VnString Record(const Properties& properties) const;
    std::vector<std::string> NamesOf(const FakeList& list) const;
};

#include "tests/support/FakeHandheld.h"

#include "core/VnBuffer.h"
#include "core/VnPropertyMap.h"
#include "runtime/VnSharedText.h"

#include <algorithm>
#include <fstream>

VnHandheldText MakeHandheldText(const std::wstring& text) {
    return VnHandheldText{VnCreateSharedText(text.c_str())};
}

std::string ToUTF8(const std::wstring& text) {
    return VnStringUTF8(text.c_str()).GetBytes();
}

std::wstring ToWide(const std::string& text) {
    return VnString::FromFileSystemText(text.c_str()).GetText();
}

VnHandheldText FakeFile::GetField(const wchar_t* name, int32_t) {
    const auto found = Fields.find(name);
    return MakeHandheldText(found == Fields.end() ? std::wstring() : found->second);
}

VnHandheldText FakeFile::Evaluate(const wchar_t* expression, int32_t) {
    const auto found = Expressions.find(expression);
    return MakeHandheldText(found == Expressions.end() ? expression : found->second);
}

VnHandheldText FakeFile::GetCoverArtPath(int32_t) {
    ++ArtQuestions;
    return MakeHandheldText(Art);
}

IVnHandheldFile* FakeList::CreateRecord() {
    if (OnRecord) {
        OnRecord();
    }
    return GivesRecords ? &Add() : nullptr;
}

int32_t FakeList::WritePlaylist(const wchar_t* path, const wchar_t* kind) {
    WrittenPath = path;
    WrittenKind = kind;
    if (!WriterWorks) {
        return 0;
    }
    const std::filesystem::path file(ToUTF8(path));
    std::filesystem::create_directories(file.parent_path());
    std::ofstream(file, std::ios::binary) << PlaylistText;
    return 1;
}

FakeFile& FakeList::Add(const std::map<std::wstring, std::wstring>& fields) {
    Items.push_back(std::make_unique<FakeFile>());
    Items.back()->Fields = fields;
    return *Items.back();
}

void FakeHost::OnProgress(int64_t bytesDone, int64_t bytesInAll, bool* cancel) {
    Steps.push_back({bytesDone, bytesInAll});
    if (OnStep) {
        OnStep();
    }
    if (static_cast<int>(Steps.size()) == CancelAtStep) {
        *cancel = true;
    }
}

VnString DeviceFixture::Record(const Properties& properties) const {
    VnPropertyMap map;
    map.SetString(L"DrivePath", Root().c_str(), false);
    map.SetString(L"DisplayName", L"Card", false);
    for (const auto& [key, value] : properties) {
        map.SetString(key.c_str(), value.c_str(), false);
    }
    VnString text;
    map.Serialize(text, true);
    return text;
}

void DeviceFixture::Start(const Properties& properties) {
    Front = std::make_unique<CPortableDrivesImpl>(&Host);
    wchar_t* text = VnCreateSharedText(Record(properties));
    ASSERT_EQ(Front->Initialize(&text), 0);
    VnFreeSharedText(text);
}

void DeviceFixture::Reconfigure(const Properties& properties) {
    ASSERT_EQ(Run(kCommandSetProperties, nullptr, Record(properties)), 0);
}

int32_t DeviceFixture::Run(int32_t code, IVnHandheldFileList* list, const wchar_t* text) {
    return Front->ProcessCommand(text, code, list, 0, nullptr);
}

std::vector<std::string> DeviceFixture::NamesOf(const FakeList& list) const {
    std::vector<std::string> names;
    const std::string root = Device / "";
    for (const auto& item : list.Items) {
        std::string name = ToUTF8(item->Fields[L"Filename"]);
        if (name.starts_with(root)) {
            name.erase(0, root.size());
        }
        names.push_back(name);
    }
    std::sort(names.begin(), names.end());
    return names;
}

std::vector<std::string> DeviceFixture::Scan(FakeList& list, const std::wstring& location) {
    EXPECT_EQ(Front->GetFiles(location.c_str(), &list), 0);
    return NamesOf(list);
}

std::vector<std::string> DeviceFixture::Scan() {
    FakeList list;
    return Scan(list);
}

std::vector<std::string> DeviceFixture::ScanPlaylist(const std::wstring& name) {
    FakeList list;
    return Scan(list, L"Card/" + name);
}

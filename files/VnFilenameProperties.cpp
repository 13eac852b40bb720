#include "files/VnFilename.h"

void VnFilename::SetFileType(const VnString& type) {
    Properties.SetString(kFileType, type, /*removeIfEmpty=*/true);
}

bool VnFilename::SetProperty(const wchar_t* key, const wchar_t* value) {
    return Properties.SetString(key, value, /*removeIfEmpty=*/false);
}

VnString VnFilename::GetProperty(const wchar_t* key, const wchar_t* defaultValue) const {
    return Properties.GetString(key, defaultValue);
}

void VnFilename::SetPropertyInt(const wchar_t* key, int32_t value) {
    Properties.SetInt(key, value);
}

int32_t VnFilename::GetPropertyInt(const wchar_t* key, int32_t defaultValue) const {
    return Properties.GetInt(key, defaultValue);
}

void VnFilename::RemoveProperty(const wchar_t* key) {
    Properties.Remove(key);
}

bool VnFilename::HasProperties() const {
    return !Properties.IsEmpty();
}

void VnFilename::SetPlaybackInfo(const VnPropertyMap& map) {
    VnString records;
    map.Serialize(records, /*includeEntries=*/true);
    SetProperty(kPlaybackInfo, records);
}

bool VnFilename::GetPlaybackInfo(VnPropertyMap& map) const {
    map.Deserialize(GetProperty(kPlaybackInfo));
    return !map.IsEmpty();
}

void VnFilename::AppendPostExtensionData(VnString& text) const {
    const VnString data = GetPostExtensionData();
    if (!data.IsEmpty()) {
        text.Append(L";", 1, data, data.GetLength());
    }
}

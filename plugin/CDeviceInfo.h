#pragma once

#include "core/VnPropertyMap.h"
#include "core/VnStringArray.h"

/// The property record of one device: every setting that the host and the plug-in share, as text
/// under its key.
class CDeviceInfo : public VnPropertyMap {
public:
    ~CDeviceInfo() override;

    /// Stores what a device gets when the host has said nothing yet, and on a record that already
    /// carries a DeviceType what that type adds.
    void SetDefaults();

    /// Stores `text` as SupportedFileTypes: extensions without dots, separated by ";" ("|" and ","
    /// count as such), each once in any letter case; "*" alone when it is among them.
    void NormalizeSupportedFileTypes(const VnString& text);

private:
    void SetPlainDefaults();
    void SetTypeDefaults(int32_t deviceType);
    void ApplyFolderTemplate();

    VnStringArray Reserved; ///< nothing fills it here
};

#pragma once

#include "host/CDeviceProperties.h"
#include "host/CHostObjects.h"
#include "plugin/IVnHandheld.h"

#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <vector>

/// The plug-in's module, loaded at run time. One object a process is enough; it must outlive its
/// devices.
class CPlugin {
public:
    CPlugin() = default;
    CPlugin(const CPlugin&) = delete;
    CPlugin& operator=(const CPlugin&) = delete;
    ~CPlugin();

    /// Finds the folder that the modules stand in, points the process block at it, loads the
    /// plug-in from it and attaches it. Looked at, in this order: "../lib", "../lib/tonehall"
    /// beside the program's folder, and the folder itself. False, with the reason in `error`.
    bool Load(std::string& error);

    IVnHandheld* CreateDevice(IVnHandheldHost* host) const;

    /// Writes and removes the plug-in's values in the settings tree. False when the export is
    /// missing.
    bool Register() const { return CallPlain("DllRegisterServer"); }
    bool Unregister() const { return CallPlain("DllUnregisterServer"); }

    const std::string& GetPath() const { return Path; }

private:
    bool CallPlain(const char* name) const;

    std::string Path;
    void* Handle = nullptr;
    CreatePortableDriveFunction Create = nullptr;
};

/// One device: the plug-in's object for it, with the calls of the host in the host's types.
class CDevice {
public:
    CDevice(const CPlugin& plugin, const CDeviceProperties& properties);

    /// Hands the property text over. False when the drive did not start.
    bool Initialize();

    /// What the drive tells of its own accord.
    CHandheldHost& GetHost() { return Host; }

    bool GetSpace(uint64_t& total, uint64_t& available);

    /// Reports each file at a location below the device ("" is the whole device, "Road" a
    /// playlist). `isCancelled` (may be empty) is asked ahead of each record.
    void GetFiles(const std::wstring& location,
                  const std::function<void(const CMediaFields&)>& sink,
                  const std::function<bool()>& isCancelled = {});

    std::vector<std::wstring> GetPlaylists();

    /// Asks the drive to delete files by their absolute paths.
    void Delete(const std::vector<std::string>& paths);
    bool Upload(CHandheldUpload& file);
    bool SendPlaylist(const std::wstring& name, CHandheldList& list);
    void BeginSync();
    void EndSync();

    /// Fills the menu of a location, or runs the entry that it carries.
    void HandleMenu(const std::wstring& location, bool run, CHandheldMenu& menu);

private:
    std::wstring MakeLocation(const std::wstring& below) const;
    bool Command(int32_t code, const wchar_t* text, IVnHandheldFileList* list);

    CHandheldHost Host;
    const CDeviceProperties& Properties;
    std::unique_ptr<IVnHandheld> Drive;
};

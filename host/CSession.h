#pragma once

#include "host/CConsole.h"
#include "host/CDevice.h"
#include "host/CDeviceProperties.h"
#include "host/CDeviceRoot.h"

#include <cstddef>
#include <memory>
#include <string>
#include <vector>

/// What every command on a device begins with: the device's folder, its property text, the plug-in,
/// and the drive.
class CSession {
public:
    explicit CSession(CConsole& console) : Console(console) {}

    /// Finds the device and works out its properties. On a failure the reason goes to standard
    /// error and to GetError, and the result is the exit code.
    ExitCode OpenRoot(const std::string& device,
                      const std::vector<std::string>& settings,
                      bool mustBeWritable);
    /// Loads the plug-in and makes the drive. Properties may be changed between the two steps.
    ExitCode Start();
    /// Both steps.
    ExitCode
    Open(const std::string& device, const std::vector<std::string>& settings, bool mustBeWritable);

    const CDeviceRoot& GetRoot() const { return Root; }
    CDeviceProperties& GetProperties() const { return *Properties; }
    CDevice& GetDevice() const { return *Device; }
    const std::string& GetError() const { return Error; }

    /// Whether the module that reads files for the drive can be loaded; it is loaded with that. A
    /// scan needs none, sending does.
    static bool HasReader();

    /// The drive's database on the device, as an absolute path.
    std::string GetDatabasePath() const;

    /// Writes out everything that the system still holds for the device. False when that fails.
    bool Flush() const;

    /// The end of a command that changed the device: flushes, and makes sure that the database,
    /// which the drive has saved just before and which knows about `records` files, stands there
    /// whole: the drive itself does not tell when it could not. On a failure the cause goes to
    /// standard error and to GetError, and the result is kExitNoSpace when the device is full,
    /// otherwise kExitFailure.
    ExitCode Settle(size_t records);
    /// The same after a change that leaves the database alone.
    ExitCode SettleWithoutDatabase();

    /// The folder of the host's own files, made when need be; ends in "/". Empty when there is no
    /// home.
    static std::string GetDataFolder();

private:
    ExitCode Fail(ExitCode code, const std::string& text);

    CConsole& Console;
    CDeviceRoot Root;
    std::unique_ptr<CDeviceProperties> Properties;
    CPlugin Plugin;
    std::unique_ptr<CDevice> Device; ///< goes before the plug-in
    std::string Error;
};

#pragma once

#include "runtime/IVnLogManager.h"

#include <atomic>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

class CSettingsStore;
class VnString;

namespace spdlog {
class logger;
} // namespace spdlog

/// The log of the process: a rotating file below the user's data directory, and the custom outputs.
///
/// An entry goes to the file when its category has a bit in common with the value "Log Categories"
/// of the settings key "Properties" (kLogGeneral when there is none), and to every custom output,
/// which filters by itself. An entry that nobody wants costs two atomic loads. The file is opened
/// by the first entry for it. Custom outputs are called one at a time under the log's lock, with
/// "name: text" as the finished line; an entry that an output writes in its turn goes to the file
/// only.
class CLogManager final : public IVnLogManager {
public:
    explicit CLogManager(CSettingsStore& settings);
    ~CLogManager();

    void Log(uint32_t category,
             const wchar_t* name,
             const wchar_t* format,
             const VnFormatArg* const* args,
             int32_t count) override;
    void LogNarrow(uint32_t category,
                   const wchar_t* name,
                   const char* format,
                   const VnFormatArg* const* args,
                   int32_t count) override;
    void AddCustomOutput(ILogManagerCustomOutput* output) override;
    void RemoveCustomOutput(ILogManagerCustomOutput* output) override;
    bool IsWanted(uint32_t category) override;

    /// Closes the file; the next entry opens it again, where the data directory is by then.
    void Close();

private:
    uint32_t GetFileCategories();
    void ReadCategories();
    void Write(uint32_t category, const VnString& line);
    void WriteToFile(uint32_t category, const VnString& line);
    bool OpenFile();

    CSettingsStore& Settings;
    std::atomic<uint32_t> FileCategories{0};       ///< as read at SeenGeneration
    std::atomic<uint32_t> SeenGeneration{0};       ///< of the settings
    std::atomic<int32_t> OutputCount{0};           ///< size of Outputs
    std::recursive_mutex Lock;                     ///< guards all below
    std::vector<ILogManagerCustomOutput*> Outputs; ///< not owned
    std::unique_ptr<spdlog::logger> File;
    bool FileFailed = false;   ///< the file could not be opened; not tried again until Close
    bool InsideOutput = false; ///< an output is being called, on the thread that holds the lock
};

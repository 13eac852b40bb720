#pragma once

#include <cstdint>

class ILogManagerCustomOutput;
struct VnFormatArg;

/// Bits of a log category.
enum VnLogCategory : uint32_t {
    kLogGeneral = 1,   ///< general and file-system entries
    kLogHandheld = 32, ///< the drive and its front end
    kLogDelete = 2048, ///< details of file deletion
};

/// The log of the process: formats, filters and serialises entries. Any thread may call it.
///
/// `args` is an array of 0, 4 or 20 pointers (`count`) to arguments; spare ones have tag 0. A null
/// `name` or `format` counts as empty.
class IVnLogManager {
public:
    /// Slot 0.
    virtual void Log(uint32_t category,
                     const wchar_t* name,
                     const wchar_t* format,
                     const VnFormatArg* const* args,
                     int32_t count) = 0;
    /// Slot 1. `format` is UTF-8.
    virtual void LogNarrow(uint32_t category,
                           const wchar_t* name,
                           const char* format,
                           const VnFormatArg* const* args,
                           int32_t count) = 0;
    /// Slot 2. The output stays the caller's and must be removed before it dies.
    virtual void AddCustomOutput(ILogManagerCustomOutput* output) = 0;
    /// Slot 3. When it returns, the output is not being called any more.
    virtual void RemoveCustomOutput(ILogManagerCustomOutput* output) = 0;
    /// Slot 4. Whether an entry of this category would reach the file or any output; lets a caller
    /// skip work.
    virtual bool IsWanted(uint32_t category) = 0;

protected:
    ~IVnLogManager() = default;
};

#pragma once

#include "core/VnFormatArg.h"
#include "core/VnString.h"
#include "core/VnStringArray.h"
#include "runtime/ILogManagerCustomOutput.h"
#include "runtime/IVnLogManager.h"
#include "runtime/VnTimer.h"

#include <cstdint>

/// Hands one entry to the log manager, with at most 20 arguments; the array goes out at its fixed
/// size of 0, 4 or 20, filled up with arguments of no type. Nothing happens without the tools
/// module, which is not loaded for this. `name` and `format` may be null.
void VnLogEntry(uint32_t category,
                const wchar_t* name,
                const wchar_t* format,
                const VnFormatArg* args,
                int32_t count);
void VnLogEntry(uint32_t category,
                const wchar_t* name,
                const char* format,
                const VnFormatArg* args,
                int32_t count);

/// Whether an entry of this category would reach anybody; lets a caller skip costly preparations.
bool VnIsLogWanted(uint32_t category);

/// Logs one entry without a scope: `name` is the name of the logging function, `format` and `args`
/// are those of VnString::Format.
template<typename... Args>
void VnLog(uint32_t category, const VnString& name, const wchar_t* format, const Args&... args) {
    static_assert(sizeof...(Args) <= 20);
    const VnFormatArg list[sizeof...(Args) + 1] = {VnFormatArg(args)...};
    VnLogEntry(category, name.GetText(), format, list, static_cast<int32_t>(sizeof...(Args)));
}

/// VnLog, only when `flag` is set.
template<typename... Args>
void VnLog(bool flag,
           uint32_t category,
           const VnString& name,
           const wchar_t* format,
           const Args&... args) {
    if (flag) {
        VnLog(category, name, format, args...);
    }
}

/// Log entries of one function: "Start" when the scope begins, "Finish" with the time when it ends,
/// and stage lines between, all under the function's name. A local object of one thread; it never
/// fails its owner, and keeps time without a log as well.
class VnLogScope {
public:
    /// Value of Result that stands for none; the last line then tells no result.
    static constexpr int32_t kNoResult = static_cast<int32_t>(0x8a33f231U);

    /// Begins the scope of the function `name`. Without `printStartFinish` the framing lines are
    /// left out.
    VnLogScope(uint32_t category, const char* name, bool printStartFinish = true);
    VnLogScope(uint32_t category, const wchar_t* name, bool printStartFinish = true);
    /// Logs "Finish" with the milliseconds, and with Result if it was set.
    ~VnLogScope();
    VnLogScope(const VnLogScope&) = delete;
    VnLogScope& operator=(const VnLogScope&) = delete;

    /// Logs a stage line; `format` and up to 20 `args` are those of VnString::Format.
    template<typename... Args>
    void Write(const char* format, const Args&... args) const {
        static_assert(sizeof...(Args) <= 20);
        const VnFormatArg list[sizeof...(Args) + 1] = {VnFormatArg(args)...};
        VnLogEntry(Category, Name.GetText(), format, list, static_cast<int32_t>(sizeof...(Args)));
    }
    template<typename... Args>
    void Write(const wchar_t* format, const Args&... args) const {
        static_assert(sizeof...(Args) <= 20);
        const VnFormatArg list[sizeof...(Args) + 1] = {VnFormatArg(args)...};
        VnLogEntry(Category, Name.GetText(), format, list, static_cast<int32_t>(sizeof...(Args)));
    }

    /// Write, only when `flag` is set.
    template<typename... Args>
    void Write(bool flag, const char* format, const Args&... args) const {
        if (flag) {
            Write(format, args...);
        }
    }
    template<typename... Args>
    void Write(bool flag, const wchar_t* format, const Args&... args) const {
        if (flag) {
            Write(format, args...);
        }
    }

    /// Milliseconds since the scope began.
    int32_t GetElapsedMS();

    /// Logs `size` bytes of `data` in lines of `bytesPerLine` (at least 8) that begin with `indent`
    /// blanks: each as "0x%.2x ", or, with `showCharacters`, a printable one as the character and
    /// four blanks.
    void HexDump(const void* data,
                 int64_t size,
                 int32_t indent = 0,
                 int32_t bytesPerLine = 16,
                 bool showCharacters = false) const;

private:
    void Begin();

    uint32_t Category;
    VnString Name;         ///< of the function
    bool PrintStartFinish; ///< write the framing lines
    VnTimer Timer;         ///< since the scope began

public:
    /// The function's result code, which its owner sets at will.
    int32_t Result = kNoResult;
};

/// Collects log lines while it lives: registers itself with the log manager, and removes itself in
/// the destructor. It takes no lock, so it is for the time in which one thread works; its lines are
/// read when that is done.
class CLogToStringItem final : public ILogManagerCustomOutput {
public:
    /// Collects the entries whose category has a bit in common with `mask`.
    explicit CLogToStringItem(uint32_t mask);
    void Output(uint32_t category, const wchar_t* text, int32_t length) override;
    ~CLogToStringItem() override;
    CLogToStringItem(const CLogToStringItem&) = delete;
    CLogToStringItem& operator=(const CLogToStringItem&) = delete;

    /// The lines so far; never cleared by the item.
    VnStringArray& GetLines() { return Lines; }
    const VnStringArray& GetLines() const { return Lines; }

private:
    uint32_t Mask;
    VnStringArray Lines;
};

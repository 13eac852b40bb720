#include "modules/tools/CLogManager.h"

#include "core/VnFormatArg.h"
#include "core/VnString.h"
#include "modules/tools/CApplicationInfo.h"
#include "modules/tools/CSettingsStore.h"
#include "modules/tools/ToolsText.h"
#include "runtime/ILogManagerCustomOutput.h"

#include <spdlog/logger.h>
#include <spdlog/sinks/rotating_file_sink.h>

#include <algorithm>
#include <cstdio>
#include <exception>

namespace {

constexpr char kFileName[] = "Logs/Velnor.log";
constexpr size_t kFileSize = 5 << 20;
constexpr size_t kOldFiles = 3;
constexpr int32_t kMaximumArguments = 20;
constexpr char kLayout[] = "%Y-%m-%d %H:%M:%S.%e %P/%t %v";

/// "name: text", or the text alone without a name.
VnString MakeLine(const wchar_t* name,
                  const wchar_t* format,
                  const VnFormatArg* const* args,
                  int32_t count) {
    VnFormatArg list[kMaximumArguments];
    const int32_t used = args == nullptr ? 0 : std::clamp(count, 0, kMaximumArguments);
    for (int32_t i = 0; i < used; i++) {
        if (args[i] != nullptr) {
            list[i] = *args[i];
        }
    }
    VnString line;
    if (name != nullptr && *name != 0) {
        line = name;
        line.Append(L": ", 2);
    }
    if (format != nullptr) {
        line.AppendFormatList(format, list, used);
    }
    return line;
}

/// A log never fails its caller; what is missing of it is told here.
void TellFailure(const char* what) {
    static_cast<void>(std::fprintf(stderr, "Log: %s\n", what));
}

} // namespace

CLogManager::CLogManager(CSettingsStore& settings) : Settings(settings) {
}

CLogManager::~CLogManager() = default;

void CLogManager::ReadCategories() {
    // The generation is stored first: a change during the read is then seen by the next entry.
    SeenGeneration.store(Settings.GetGeneration(), std::memory_order_relaxed);
    const CSettingsStore::Value value = Settings.PeekValue({"Properties"}, "Log Categories");
    const auto* number = std::get_if<int64_t>(&value);
    FileCategories.store(number == nullptr ? kLogGeneral : static_cast<uint32_t>(*number),
                         std::memory_order_relaxed);
}

uint32_t CLogManager::GetFileCategories() {
    if (SeenGeneration.load(std::memory_order_relaxed) != Settings.GetGeneration()) [[unlikely]] {
        ReadCategories();
    }
    return FileCategories.load(std::memory_order_relaxed);
}

bool CLogManager::IsWanted(uint32_t category) {
    return (GetFileCategories() & category) != 0
           || OutputCount.load(std::memory_order_relaxed) != 0;
}

void CLogManager::Log(uint32_t category,
                      const wchar_t* name,
                      const wchar_t* format,
                      const VnFormatArg* const* args,
                      int32_t count) {
    if (IsWanted(category)) {
        Write(category, MakeLine(name, format, args, count));
    }
}

void CLogManager::LogNarrow(uint32_t category,
                            const wchar_t* name,
                            const char* format,
                            const VnFormatArg* const* args,
                            int32_t count) {
    if (IsWanted(category)) {
        Write(category, MakeLine(name, VnString::FromUTF8(format), args, count));
    }
}

void CLogManager::Write(uint32_t category, const VnString& line) {
    const std::lock_guard<std::recursive_mutex> guard(Lock);
    if ((FileCategories.load(std::memory_order_relaxed) & category) != 0) {
        WriteToFile(category, line);
    }
    if (InsideOutput) {
        return;
    }
    InsideOutput = true;
    // An output may remove itself, or another, while it is called: the next one then stands in its
    // place.
    for (size_t i = 0; i < Outputs.size();) {
        ILogManagerCustomOutput* const output = Outputs[i];
        try {
            output->Output(category, line, line.GetLength());
        } catch (const std::exception& failure) {
            TellFailure(failure.what());
        } catch (...) {
            TellFailure("an output failed");
        }
        const auto last = std::find(Outputs.begin(), Outputs.end(), output);
        i = last == Outputs.end() ? i : static_cast<size_t>(last - Outputs.begin()) + 1;
    }
    InsideOutput = false;
}

bool CLogManager::OpenFile() {
    if (File != nullptr || FileFailed) {
        return File != nullptr;
    }
    const std::string folder = GetUserDataDirectory();
    try {
        if (!folder.empty()) {
            auto sink = std::make_shared<spdlog::sinks::rotating_file_sink_st>(
                folder + kFileName, kFileSize, kOldFiles);
            File = std::make_unique<spdlog::logger>("Velnor", std::move(sink));
            File->set_pattern(kLayout);
            File->flush_on(spdlog::level::info);
        }
    } catch (const spdlog::spdlog_ex& failure) {
        TellFailure(failure.what());
    }
    FileFailed = File == nullptr;
    return File != nullptr;
}

void CLogManager::WriteToFile(uint32_t category, const VnString& line) {
    if (!OpenFile()) {
        return;
    }
    std::string bytes = "[" + std::to_string(category) + "] " + ToUTF8(line);
    // One entry, one line: a name on a device may hold line ends.
    std::replace_if(
        bytes.begin(), bytes.end(), [](char byte) { return byte == '\r' || byte == '\n'; }, ' ');
    File->log(spdlog::level::info, spdlog::string_view_t(bytes));
}

void CLogManager::AddCustomOutput(ILogManagerCustomOutput* output) {
    const std::lock_guard<std::recursive_mutex> guard(Lock);
    if (output != nullptr && std::find(Outputs.begin(), Outputs.end(), output) == Outputs.end()) {
        Outputs.push_back(output);
        OutputCount.store(static_cast<int32_t>(Outputs.size()));
    }
}

void CLogManager::RemoveCustomOutput(ILogManagerCustomOutput* output) {
    const std::lock_guard<std::recursive_mutex> guard(Lock);
    std::erase(Outputs, output);
    OutputCount.store(static_cast<int32_t>(Outputs.size()));
}

void CLogManager::Close() {
    const std::lock_guard<std::recursive_mutex> guard(Lock);
    File.reset();
    FileFailed = false;
}

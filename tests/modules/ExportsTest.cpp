#include "tests/support/TestEnvironment.h"

#include <gtest/gtest.h>

#include <array>
#include <cstdio>
#include <memory>
#include <set>
#include <sstream>
#include <string>

namespace {

struct ModuleCase {
    const char* File;
    std::set<std::string> Exports;
};

const ModuleCase kModules[] = {
    {"libVnTools.so", {"Attach", "Detach", "GetVnToolsDLL"}},
    {"libVnReader.so",
     {"Attach", "CreateFromMemoryReaderDLL", "CreateGenericReaderDLL", "CreateInternetReaderDLL",
      "CreateLocalReaderDLL", "CreateMemoryReaderDLL", "CreateSocketReaderDLL",
      "CreateStringReaderDLL", "Detach", "VnReaderInitialize", "VnReaderUninitialize"}},
};

/// What a command writes to its standard output.
std::string RunCommand(const std::string& command) {
    const std::unique_ptr<FILE, decltype(&::pclose)> pipe(::popen(command.c_str(), "r"), &::pclose);
    std::string output;
    std::array<char, 4096> block;
    while (pipe
           && std::fgets(block.data(), static_cast<int>(block.size()), pipe.get()) != nullptr) {
        output += block.data();
    }
    return output;
}

} // namespace

TEST(ModuleExports, AreThePlainNamesAndNothingElse) {
    for (const ModuleCase& module : kModules) {
        SCOPED_TRACE(module.File);
        std::istringstream lines(RunCommand(
            "nm -D --defined-only -P '" + TestEnvironment::GetModuleFolder() + module.File + "'"));
        std::set<std::string> found;
        for (std::string line; std::getline(lines, line);) {
            found.insert(line.substr(0, line.find(' ')));
        }
        EXPECT_EQ(found, module.Exports);
    }
}

#pragma once

#include "core/VnString.h"
#include "runtime/CProcessInfo.h"
#include "tests/support/TestEnvironment.h"

#include <filesystem>
#include <sstream>
#include <string>
#include <vector>

/// Has the process load its sibling modules from the test modules of one kind: "Entry", complete
/// ones that note what is done to them, or "Bare", ones without entries. Any other kind has no
/// modules.
inline void UseTestModules(const std::string& kind) {
    const std::string folder = std::string(VN_BUILD_FOLDER) + "/tests/modules/" + kind;
    CProcessInfo::GetInstance()->SetModuleDirectory(VnString::FromFileSystemText(folder.c_str()));
}

/// The lines that test modules have written into the file "journal" of a folder; the file is
/// removed.
inline std::vector<std::string> TakeJournal(const TestFolder& folder) {
    std::vector<std::string> lines;
    std::istringstream text(folder.Read("journal"));
    for (std::string line; std::getline(text, line);) {
        lines.push_back(line);
    }
    std::error_code error;
    std::filesystem::remove(folder.Path() / "journal", error);
    return lines;
}

#include "tests/support/TestEnvironment.h"

#include <unistd.h>

#include <csignal>
#include <cstdlib>
#include <fstream>
#include <iostream>
#include <sstream>

#ifndef VN_PARTIAL
#include "core/VnString.h"
#include "runtime/CProcessInfo.h"
#endif

namespace {

std::filesystem::path MakeTempFolder(const char* kind) {
    std::string pattern =
        (std::filesystem::temp_directory_path() / (std::string("vn-") + kind + "-XXXXXX")).string();
    if (mkdtemp(pattern.data()) == nullptr) {
        std::cerr << "no temporary folder for the test: " << pattern << '\n';
        std::abort();
    }
    return std::filesystem::canonical(pattern);
}

std::string& Home() {
    static std::string home;
    return home;
}

} // namespace

void TestEnvironment::SetUp() {
    Home() = MakeTempFolder("home").string();
    setenv("HOME", Home().c_str(), 1);
    unsetenv("XDG_CONFIG_HOME");
    unsetenv("LANGUAGE");
#ifndef VN_PARTIAL
    if (CProcessInfo* info = CProcessInfo::GetInstance(true); info != nullptr) {
        const VnString home = VnString::FromFileSystemText(Home().c_str());
        info->SetModuleDirectory(VnString::FromFileSystemText(GetModuleFolder().c_str()));
        info->SetApplicationDataPath(home + L"/");
    }
#endif
}

void TestEnvironment::TearDown() {
    std::error_code error;
    std::filesystem::remove_all(Home(), error);
}

std::string TestEnvironment::GetModuleFolder() {
    return std::string(VN_BUILD_FOLDER) + "/lib/";
}

std::string TestEnvironment::GetHome() {
    return Home();
}

TestFolder::TestFolder() : Folder(MakeTempFolder("test")) {
}

TestFolder::~TestFolder() {
    if (testing::Test::HasFailure()) {
        std::cout << "kept: " << Folder.string() << '\n';
        return;
    }
    std::error_code error;
    std::filesystem::remove_all(Folder, error);
}

std::string TestFolder::Write(const std::string& name, const std::string& bytes) const {
    const std::filesystem::path path = Folder / name;
    std::filesystem::create_directories(path.parent_path());
    std::ofstream(path, std::ios::binary) << bytes;
    return path.string();
}

std::string TestFolder::Read(const std::string& name) const {
    std::ifstream file(Folder / name, std::ios::binary);
    std::ostringstream bytes;
    bytes << file.rdbuf();
    return bytes.str();
}

bool TestFolder::Exists(const std::string& name) const {
    std::error_code error;
    return std::filesystem::exists(std::filesystem::symlink_status(Folder / name, error));
}

FileSizeLimit::FileSizeLimit(rlim_t bytes) {
    std::signal(SIGXFSZ, SIG_IGN);
    getrlimit(RLIMIT_FSIZE, &Before);
    const rlimit limited{bytes, Before.rlim_max};
    setrlimit(RLIMIT_FSIZE, &limited);
}

#pragma once

#include <gtest/gtest.h>

#include <sys/resource.h>

#include <filesystem>
#include <string>

/// Set-up that every test program shares: a HOME of its own, and the process block pointed at the
/// modules of the build tree, so that no test reads or writes the user's files.
class TestEnvironment : public testing::Environment {
public:
    void SetUp() override;
    void TearDown() override;

    /// The folder that holds the built modules, ending in "/".
    static std::string GetModuleFolder();
    /// The folder that stands for the user's home, without a final "/".
    static std::string GetHome();
};

/// A folder that lives as long as one test; kept, with its path printed, when the test has failed.
class TestFolder {
public:
    TestFolder();
    TestFolder(const TestFolder&) = delete;
    TestFolder& operator=(const TestFolder&) = delete;
    ~TestFolder();

    /// Absolute, without a final "/".
    const std::filesystem::path& Path() const { return Folder; }
    /// A path below the folder as text.
    std::string operator/(const std::string& name) const { return (Folder / name).string(); }
    /// Writes a file below the folder, making the folders on its way; the result is its path.
    std::string Write(const std::string& name, const std::string& bytes) const;
    /// The bytes of a file below the folder; empty when it is missing.
    std::string Read(const std::string& name) const;
    bool Exists(const std::string& name) const;

private:
    std::filesystem::path Folder;
};

/// Lets no file of this process grow beyond a size for the length of a scope: the write that meets
/// it is short, the next one fails.
class FileSizeLimit {
public:
    explicit FileSizeLimit(rlim_t bytes);
    FileSizeLimit(const FileSizeLimit&) = delete;
    FileSizeLimit& operator=(const FileSizeLimit&) = delete;
    ~FileSizeLimit() { setrlimit(RLIMIT_FSIZE, &Before); }

private:
    rlimit Before{};
};

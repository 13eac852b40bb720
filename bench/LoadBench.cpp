// Loading one large resource into memory: a local file against a plain read loop, and a URL of a
// server on the loopback device against curl.

#include "core/VnBuffer.h"
#include "core/VnString.h"
#include "data/CFileLoader.h"
#include "files/VnFilename.h"
#include "runtime/CProcessInfo.h"
#include "runtime/IVnReader.h"
#include "runtime/VnSiblingModules.h"
#include "tests/support/HTTPServerProcess.h"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <memory>
#include <vector>

#include "bench/BenchSupport.h"

namespace {

constexpr double kGoal = 1.2;
constexpr int64_t kSize = int64_t{1} << 30; ///< bytes
constexpr int64_t kBlock = 1 << 20;         ///< bytes, of the plain loop
constexpr int64_t kPeriod = 251;            ///< byte i of the server's bodies is i modulo this

bool IsPattern(const uint8_t* bytes, int64_t count) {
    for (int64_t i = 0; i < count; i++) {
        if (bytes[i] != static_cast<uint8_t>(i % kPeriod)) {
            return false;
        }
    }
    return true;
}

/// A load by the product into the null device, as curl does it; 0 when it has succeeded.
int LoadToNowhere(const char* source) {
    const std::unique_ptr<IVnReader> writer(CreateGenericReaderDLL(L"/dev/null"));
    CFileLoader loader;
    bool created = false; // the device is there
    return writer != nullptr && writer->OpenForAppend()
                   && loader.Load(VnFilename(VnString::FromFileSystemText(source)), nullptr,
                                  writer.get(), nullptr, created, 0.0)
               ? 0
               : 1;
}

/// A load by the product into a buffer; 0 when `size` bytes arrived and, with `check`, they are the
/// right ones.
int LoadToBuffer(const char* source, int64_t size, bool check) {
    VnBuffer buffer;
    CFileLoader loader;
    if (!loader.LoadToBuffer(VnFilename(VnString::FromFileSystemText(source)), buffer)
        || buffer.GetSize() != size) {
        return 1;
    }
    return check && !IsPattern(buffer.GetData(), size) ? 1 : 0;
}

/// One load by read(2) in blocks of 1 MiB into one new buffer of the file's size; 0 when `size`
/// bytes arrived.
int ReadPlainly(const char* path, int64_t size) {
    const int file = ::open(path, O_RDONLY | O_CLOEXEC);
    const std::unique_ptr<char[]> buffer(new char[static_cast<size_t>(size)]);
    int64_t done = 0;
    while (done < size) {
        const ssize_t count =
            ::read(file, buffer.get() + done, static_cast<size_t>(std::min(kBlock, size - done)));
        if (count <= 0) {
            break;
        }
        done += count;
    }
    ::close(file);
    return done == size ? 0 : 1;
}

void WriteFile(const std::string& path, int64_t size) {
    std::vector<char> block(static_cast<size_t>(kPeriod * 4096));
    for (size_t i = 0; i < block.size(); i++) {
        block[i] = static_cast<char>(i % kPeriod);
    }
    FILE* const file = std::fopen(path.c_str(), "wb");
    for (int64_t left = size; file != nullptr && left > 0;) {
        const auto count = std::min(block.size(), static_cast<size_t>(left));
        if (std::fwrite(block.data(), 1, count, file) != count) {
            break;
        }
        left -= static_cast<int64_t>(count);
    }
    if (file == nullptr || std::fclose(file) != 0
        || static_cast<int64_t>(std::filesystem::file_size(path)) != size) {
        Fail("the file for the load cannot be written");
    }
}

/// A side that runs this program once more, for one load.
BenchSide
Self(const std::string& name, const std::string& work, const std::string& source, int64_t size) {
    return {name, [=] {
                return RunTimed({GetProgram("LoadBench"), work, source, std::to_string(size)});
            }};
}

void CheckLoad(const std::string& source, int64_t size) {
    if (Self("", "check", source, size).Run().ExitCode != 0) {
        Fail("the loader has not brought the bytes of " + source);
    }
}

void MeasureFile(BenchTable& table, int64_t size, int rounds) {
    const BenchFolder folder(size + size / 8);
    if (folder.GetPath().empty()) {
        std::printf("a local file: skipped, there is no room for it\n");
        return;
    }
    const std::string path = folder.GetPath() + "/file";
    WriteFile(path, size);
    CheckLoad(path, size);
    const std::vector<BenchSide> sides = {Self("CFileLoader", "load", path, size),
                                          Self("read loop, 1 MiB blocks", "read", path, size),
                                          {"cat FILE >/dev/null", [&] {
                                               return RunTimed({"cat", path});
                                           }}};
    const std::vector<BenchResult> results = Compare(sides, rounds);
    table.AddRatio("a local file into a buffer", sides[0], results[0], sides[1], results[1], kGoal);
    table.AddRatio("the same", sides[0], results[0], sides[2], results[2], 0);
}

void MeasureURL(BenchTable& table, int64_t size, int rounds) {
    const BenchFolder folder(size + size / 8);
    const HTTPServerProcess server(GetProgram("LoadServer"));
    const std::wstring wide = server.URL(L"/bytes/" + std::to_wstring(size));
    const std::string url(wide.begin(), wide.end());
    CheckLoad(url, size);
    const auto curl = [&url](const std::string& target) {
        return BenchSide{"curl -o " + (target == "/dev/null" ? target : "FILE"), [=] {
                             return RunTimed({"curl", "-s", "-o", target, url});
                         }};
    };
    std::vector<BenchSide> sides = {Self("CFileLoader", "pass", url, size), curl("/dev/null"),
                                    Self("CFileLoader", "load", url, size)};
    if (!folder.GetPath().empty()) {
        sides.push_back(curl(folder.GetPath() + "/file"));
    }
    const std::vector<BenchResult> results = Compare(sides, rounds);
    table.AddRatio("a URL to the null device", sides[0], results[0], sides[1], results[1], kGoal);
    table.AddRatio("a URL into a buffer", sides[2], results[2], sides[1], results[1], 0);
    if (sides.size() > 3) {
        table.AddRatio("the same, kept by both", sides[2], results[2], sides[3], results[3], kGoal);
    }
}

} // namespace

int main(int argc, char** argv) {
    if (argc == 4 && argv[1][0] != '-') {
        const std::string work = argv[1];
        const int64_t size = std::strtoll(argv[3], nullptr, 10);
        if (work == "read") {
            return ReadPlainly(argv[2], size);
        }
        CProcessInfo* const info = CProcessInfo::GetInstance(true);
        if (info != nullptr) {
            info->SetModuleDirectory(
                VnString::FromFileSystemText((GetProgram("../lib") + "/").c_str()));
        }
        return work == "pass" ? LoadToNowhere(argv[2])
                              : LoadToBuffer(argv[2], size, work == "check");
    }
    const auto rounds = static_cast<int>(GetArgument(argc, argv, "--rounds", 5));
    const int64_t size = GetArgument(argc, argv, "--size", kSize);
    BenchTable table("Loading " + std::to_string(size >> 20) + " MiB (median of "
                     + std::to_string(rounds) + " runs)");
    MeasureFile(table, size, rounds);
    MeasureURL(table, size, rounds);
    return table.GetExitCode();
}

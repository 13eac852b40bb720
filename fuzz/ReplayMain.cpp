// Runs a fuzz target over the files of a corpus, without a fuzzing engine: every preset does so
// under ctest.

#include <cstdint>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <iterator>
#include <string>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size);

namespace {

void Replay(const std::filesystem::path& path) {
    std::ifstream file(path, std::ios::binary);
    const std::string bytes((std::istreambuf_iterator<char>(file)),
                            std::istreambuf_iterator<char>());
    std::cout << path.filename().string() << std::endl;
    LLVMFuzzerTestOneInput(reinterpret_cast<const uint8_t*>(bytes.data()), bytes.size());
    // Every beginning of a short input too: texts break off anywhere.
    for (size_t length = 0; bytes.size() <= 512 && length < bytes.size(); ++length) {
        const std::string part = bytes.substr(0, length);
        LLVMFuzzerTestOneInput(reinterpret_cast<const uint8_t*>(part.data()), part.size());
    }
}

} // namespace

int main(int argc, char** argv) {
    int replayed = 0;
    for (int i = 1; i < argc; ++i) {
        for (const auto& entry : std::filesystem::directory_iterator(argv[i])) {
            Replay(entry.path());
            ++replayed;
        }
    }
    std::cout << replayed << " inputs\n";
    return replayed > 0 ? 0 : 1;
}

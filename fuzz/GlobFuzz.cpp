#include "files/VnFileFinder.h"
#include "files/VnFileInfo.h"

#include <fcntl.h>
#include <unistd.h>

#include <cstdlib>
#include <string>
#include <string_view>

#include "fuzz/FuzzText.h"

namespace {

constexpr const char* kNames[] = {"a.mp3", "ab.mp3", "b*", "[a].txt", ".hidden", "Ab", "a?b\\c"};

/// A folder in memory with files of these names, removed with the process.
class CFolder {
public:
    CFolder() {
        Require(mkdtemp(Path.data()) != nullptr);
        for (const char* name : kNames) {
            Require(close(open((Path + "/" + name).c_str(), O_CREAT | O_WRONLY, 0600)) == 0);
        }
    }
    ~CFolder() {
        for (const char* name : kNames) {
            unlink((Path + "/" + name).c_str());
        }
        rmdir(Path.c_str());
    }
    std::string Path = access("/dev/shm", W_OK) == 0 ? "/dev/shm/glob-XXXXXX" : "/tmp/glob-XXXXXX";
};

/// Whether a pattern whose only wildcard is "*" takes a name.
bool Matches(std::string_view pattern, std::string_view name) {
    if (pattern.empty()) {
        return name.empty();
    }
    if (pattern[0] == '*') {
        return Matches(pattern.substr(1), name)
               || (!name.empty() && Matches(pattern, name.substr(1)));
    }
    return !name.empty() && pattern[0] == name[0] && Matches(pattern.substr(1), name.substr(1));
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    static CFolder folder;
    const std::string pattern(data, data + std::min<size_t>(size, 12));
    if (pattern.empty() || pattern[0] == '.'
        || pattern.find_first_of(std::string("/;\0:", 4)) < 12) {
        return 0;
    }
    int expected = 0;
    for (const char* name : kNames) {
        expected += name[0] != '.' && Matches(pattern, name) ? 1 : 0;
    }
    const std::string path = folder.Path + "/" + pattern;
    VnFileFinder finder(VnString::FromFileSystemText(path.c_str()));
    Require(finder.IsValid());
    VnFileInfo info;
    while (finder.Next(info)) {
        --expected;
    }
    Require(expected == 0);
    return 0;
}

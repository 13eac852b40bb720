// The peer of a first scan: walks a tree with fts and reads the tags of each mp3 file with TagLib,
// and nothing else. Prints one line a file.

#include <taglib/fileref.h>
#include <taglib/tag.h>

#include <fts.h>
#include <sys/stat.h>

#include <cstdio>
#include <cstring>

namespace {

int CompareNames(const FTSENT** left, const FTSENT** right) {
    return std::strcmp((*left)->fts_name, (*right)->fts_name);
}

void Print(const char* path) {
    const TagLib::FileRef file(path);
    if (file.isNull() || file.tag() == nullptr) {
        return;
    }
    const TagLib::Tag& tag = *file.tag();
    const int length =
        file.audioProperties() == nullptr ? 0 : file.audioProperties()->lengthInSeconds();
    std::printf("%s\t%s\t%s\t%s\t%u\t%u\t%s\t%d\n", path, tag.title().toCString(true),
                tag.artist().toCString(true), tag.album().toCString(true), tag.track(), tag.year(),
                tag.genre().toCString(true), length);
}

} // namespace

int main(int argc, char** argv) {
    if (argc != 2) {
        std::fprintf(stderr, "usage: TagLibLoop DIR\n");
        return 2;
    }
    char* const roots[] = {argv[1], nullptr};
    FTS* walk = fts_open(roots, FTS_PHYSICAL | FTS_NOCHDIR, CompareNames);
    if (walk == nullptr) {
        return 1;
    }
    while (const FTSENT* entry = fts_read(walk)) {
        if (entry->fts_info == FTS_F && entry->fts_namelen > 4
            && std::strcmp(entry->fts_name + entry->fts_namelen - 4, ".mp3") == 0) {
            Print(entry->fts_path);
        }
    }
    return fts_close(walk) == 0 && std::fflush(stdout) == 0 ? 0 : 1;
}

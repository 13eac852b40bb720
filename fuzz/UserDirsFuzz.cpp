#include "files/VnFileSystem.h"
#include "files/VnFilenameDetail.h"

#include "fuzz/FuzzText.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const VnString text = TextOf(data, size);
    const VnString music = VnFilenameDetail::FindUserDirectory(text, L"XDG_MUSIC_DIR", L"/home/a");
    Require(music.IsEmpty() || music.EndsWith(L'/'));
    // A line ahead of all others wins.
    const VnString first = VnFilenameDetail::FindUserDirectory(
        L"XDG_MUSIC_DIR=\"$HOME/b\"\n" + text, L"XDG_MUSIC_DIR", L"/home/a");
    Require(first == L"/home/a/b/");
    return 0;
}

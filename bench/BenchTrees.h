#pragma once

#include <cstdint>
#include <string>

/// An mp3 file with tags: ID3v2.3 frames for title, artist, album, album artist, genre, track and
/// year, and silence behind them, at least up to `size` bytes. `number` goes into the tags, so that
/// no two files are the same song.
std::string MakeTaggedMp3(int64_t number, int64_t size);

/// Makes a tree of tagged mp3 files of about `size` bytes below `folder`: ten songs an album, ten
/// albums an artist. Ends the program when a file cannot be written.
void MakeMp3Tree(const std::string& folder, int64_t count, int64_t size);

#pragma once

#include <map>
#include <string>

/// Tags of a made file by their ID3v2 frame name, such as TIT2; values in UTF-8.
using SampleTags = std::map<std::string, std::string>;

/// The bytes of a valid MPEG-1 layer III file of silence with an ID3v2.3 tag. `frames` of 417 bytes
/// follow the tag.
std::string MakeMp3(const SampleTags& tags, int frames = 8);

#include "drive/CDatabaseText.h"

#include <cstring>

namespace {

constexpr char kHead[] =
    "<?xml version=\"1.0\" encoding=\"UTF-8\" standalone=\"yes\" ?>\r\n<MPL Version=\"2.0\">\r\n";
constexpr char kTail[] = "</MPL>";
constexpr char kItemStart[] = "<Item>\r\n";
constexpr char kItemEnd[] = "</Item>\r\n";
constexpr char kFieldStart[] = "<Field Name=\"";
constexpr char kNameEnd[] = "\">";
constexpr char kFieldEnd[] = "</Field>";
constexpr char kLineEnd[] = "\r\n";

/// Moves `position` behind `wanted` when that stands there. The length is fixed, so that the
/// comparison is made in line.
template<size_t SIZE>
bool Skip(std::string_view bytes, size_t& position, const char (&wanted)[SIZE]) {
    constexpr size_t kLength = SIZE - 1;
    if (bytes.size() - position < kLength
        || std::memcmp(bytes.data() + position, wanted, kLength) != 0) {
        return false;
    }
    position += kLength;
    return true;
}

/// Moves `position` from behind the start of a field to behind its end.
bool SkipField(std::string_view bytes, size_t& position) {
    position = bytes.find('"', position);
    if (position == std::string_view::npos || !Skip(bytes, position, kNameEnd)) {
        return false;
    }
    position = bytes.find('<', position);
    return position != std::string_view::npos && Skip(bytes, position, kFieldEnd);
}

} // namespace

bool CDatabaseText::SkipRecord(std::string_view bytes, size_t& position) {
    const size_t start = position;
    size_t end = start;
    while (Skip(bytes, position, kFieldStart)) {
        if (!SkipField(bytes, position)) {
            return false;
        }
        end = position;
        Skip(bytes, position, kLineEnd);
    }
    if (!Skip(bytes, position, kItemEnd)) {
        return false;
    }
    Records.push_back(bytes.substr(start, end - start));
    return true;
}

void CDatabaseText::Close() {
    Records.clear();
    Records.shrink_to_fit();
}

bool CDatabaseText::Open(std::string_view bytes) {
    Records.clear();
    size_t position = 0;
    bool plain = bytes.find('\0') == std::string_view::npos && Skip(bytes, position, kHead);
    while (plain && Skip(bytes, position, kItemStart)) {
        plain = SkipRecord(bytes, position);
    }
    if (!plain || bytes.substr(position) != kTail) {
        Records.clear();
        return false;
    }
    return true;
}

VnString CDatabaseText::GetItemText(int32_t index) {
    const std::string_view record = GetBytes(index);
    Scratch.SetFileSystemText(record.data(), static_cast<int64_t>(record.size()));
    // The decoder leaves room behind the text; a record lives long and gets a block of its size.
    return VnString(Scratch.GetText(), Scratch.GetLength());
}

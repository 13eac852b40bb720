#include "drive/CDatabaseText.h"

namespace {

constexpr std::string_view kHead =
    "<?xml version=\"1.0\" encoding=\"UTF-8\" standalone=\"yes\" ?>\r\n<MPL Version=\"2.0\">\r\n";
constexpr std::string_view kTail = "</MPL>";
constexpr std::string_view kItemStart = "<Item>\r\n";
constexpr std::string_view kItemEnd = "</Item>\r\n";
constexpr std::string_view kFieldStart = "<Field Name=\"";
constexpr std::string_view kNameEnd = "\">";
constexpr std::string_view kFieldEnd = "</Field>";
constexpr std::string_view kLineEnd = "\r\n";

bool Skip(std::string_view bytes, size_t& position, std::string_view wanted) {
    if (bytes.compare(position, wanted.size(), wanted) != 0) {
        return false;
    }
    position += wanted.size();
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
    const std::string_view record = Records[static_cast<size_t>(index)];
    Scratch.SetFileSystemText(record.data(), static_cast<int64_t>(record.size()));
    // The decoder leaves room behind the text; a record lives long and gets a block of its size.
    return VnString(Scratch.GetText(), Scratch.GetLength());
}

#include "drive/CStoredRecords.h"

#include "core/VnTextFolding.h"

#include <bit>
#include <cwchar>
#include <string>

namespace {

constexpr std::string_view kFilenameStart = "<Field Name=\"Filename\">";
constexpr std::string_view kFieldEnd = "</Field>";

VnTextKey MakeKey(const VnString& path) {
    return VnTextKey::Make</*CASE=*/false>(path.GetText());
}

} // namespace

bool CStoredRecords::Open(VnBuffer& bytes) {
    Close();
    if (!Text.Open({reinterpret_cast<const char*>(bytes.GetData()),
                    static_cast<size_t>(bytes.GetSize())})) {
        return false;
    }
    const auto count = static_cast<size_t>(Text.GetCount());
    Table.assign(std::bit_ceil(2 * count + 1), CSlot{0, -1});
    for (int32_t index = 0; index < Text.GetCount(); ++index) {
        if (!AddToTable(index)) {
            Close();
            return false;
        }
    }
    Bytes.Swap(bytes); // the bytes themselves stay where they are
    return true;
}

void CStoredRecords::Close() {
    Text.Close();
    Table.clear();
    Table.shrink_to_fit();
    Bytes.Empty();
}

/// What stands between the literal marks of a record's file name field.
std::string_view CStoredRecords::GetKeyBytes(int32_t index) const {
    const std::string_view record = Text.GetBytes(index);
    // Nearly always the first field.
    const size_t mark = record.starts_with(kFilenameStart) ? 0 : record.find(kFilenameStart);
    if (mark == std::string_view::npos) {
        return {};
    }
    const size_t start = mark + kFilenameStart.size();
    const size_t end = record.find(kFieldEnd, start);
    return end == std::string_view::npos ? std::string_view() : record.substr(start, end - start);
}

void CStoredRecords::ReadKey(int32_t index) {
    const std::string_view bytes = GetKeyBytes(index);
    Key.SetFileSystemText(bytes.data(), static_cast<int64_t>(bytes.size()));
    Key.DecodeEntities();
}

bool CStoredRecords::HasKey(int32_t index, const VnString& path) {
    const std::string_view bytes = GetKeyBytes(index);
    bool isSame = bytes.size() == static_cast<size_t>(path.GetLength());
    const wchar_t* const text = path.GetText();
    for (size_t i = 0; isSame && i < bytes.size(); ++i) {
        const auto byte = static_cast<unsigned char>(bytes[i]);
        isSame = byte < 0x80 && byte != '&' && static_cast<wchar_t>(byte) == text[i];
    }
    if (!isSame) {
        // In its plain form it may be another text than in its bytes.
        ReadKey(index);
        isSame = Key == path;
    }
    return isSame;
}

bool CStoredRecords::AddToTable(int32_t index) {
    ReadKey(index);
    const uint32_t hash = MakeKey(Key).Hash;
    const size_t mask = Table.size() - 1;
    size_t slot = hash & mask;
    for (; Table[slot].Index >= 0; slot = (slot + 1) & mask) {
        if (Table[slot].Hash == hash) {
            const VnString added = Key;
            ReadKey(Table[slot].Index);
            if (Key.EqualsNoCase(added)) {
                return false;
            }
        }
    }
    Table[slot] = {hash, index};
    return true;
}

int32_t CStoredRecords::Find(const VnString& path) {
    if (Table.empty()) {
        return -1;
    }
    const uint32_t hash = MakeKey(path).Hash;
    const size_t mask = Table.size() - 1;
    for (size_t slot = hash & mask; Table[slot].Index >= 0; slot = (slot + 1) & mask) {
        if (Table[slot].Hash == hash && HasKey(Table[slot].Index, path)) {
            return Table[slot].Index;
        }
    }
    return -1;
}

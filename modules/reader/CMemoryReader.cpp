#include "modules/reader/CMemoryReader.h"

#include <algorithm>
#include <cstring>

CMemoryReader::CMemoryReader(const void* data, int64_t size)
    : Borrowed(static_cast<const char*>(data))
    , BorrowedSize(data == nullptr ? 0 : std::max<int64_t>(size, 0)) {
}

CMemoryReader::CMemoryReader(const wchar_t* text) {
    const VnStringUTF8 bytes(text);
    Own.assign(bytes.GetBytes(), bytes.GetBytes() + std::strlen(bytes));
}

bool CMemoryReader::Open() {
    Position = 0;
    return true;
}

int64_t CMemoryReader::GetLength() {
    return Borrowed != nullptr ? BorrowedSize : static_cast<int64_t>(Own.size());
}

int32_t CMemoryReader::Read(void* target, int32_t count) {
    const int64_t available = std::max<int64_t>(GetLength() - Position, 0);
    const auto taken = static_cast<int32_t>(std::min<int64_t>(std::max(count, 0), available));
    if (taken > 0) {
        std::memcpy(target, GetBytes() + Position, static_cast<size_t>(taken));
        Position += taken;
    }
    return taken;
}

int64_t CMemoryReader::Seek(int64_t offset, int32_t origin) {
    const int64_t base = origin == kFromCurrent ? Position : origin == kFromEnd ? GetLength() : 0;
    if (base + offset < 0) {
        return -1;
    }
    Position = base + offset;
    return Position;
}

bool CMemoryReader::Create() {
    Own.clear();
    Position = 0;
    return Borrowed == nullptr;
}

bool CMemoryReader::OpenForAppend() {
    Position = GetLength();
    return Borrowed == nullptr;
}

int32_t CMemoryReader::Write(const void* data, int32_t count) {
    if (Borrowed != nullptr || count < 1) {
        return 0;
    }
    const auto end = static_cast<size_t>(Position + count);
    if (Own.size() < end) {
        Own.resize(end); // a gap that a seek left is filled with zeros
    }
    std::memcpy(Own.data() + Position, data, static_cast<size_t>(count));
    Position += count;
    return count;
}

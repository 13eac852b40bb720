#include "modules/reader/CReader.h"

#include "core/VnDllString.h"

int32_t CReader::Read([[maybe_unused]] void* target, [[maybe_unused]] int32_t count) {
    return 0;
}

int64_t CReader::Seek([[maybe_unused]] int64_t offset, [[maybe_unused]] int32_t origin) {
    return -1;
}

void CReader::GetProperty([[maybe_unused]] const wchar_t* name, IVnDllString& value) {
    value.Empty();
}

void CReader::SetTimeout([[maybe_unused]] int32_t milliseconds) {
}

void CReader::SetPostData([[maybe_unused]] const void* data, [[maybe_unused]] int64_t size) {
}

void CReader::SetProperties([[maybe_unused]] const wchar_t* text) {
}

int32_t CReader::Write([[maybe_unused]] const void* data, [[maybe_unused]] int32_t count) {
    return 0;
}

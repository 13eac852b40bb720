#include "core/VnDllString.h"

#include "core/VnString.h"

const wchar_t* VnDllString::GetCharacters() const {
    return Text->GetText();
}

void VnDllString::Set(const wchar_t* characters, int32_t count) {
    Text->Assign(characters, count);
}

void VnDllString::Empty() {
    Text->Empty();
}

wchar_t* VnDllString::GetBuffer(int32_t length, bool keepContents) {
    return Text->GetBuffer(length, false, keepContents);
}

void VnDllString::ReleaseBuffer(int32_t length) {
    Text->ReleaseBuffer(length);
}

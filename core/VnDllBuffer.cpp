#include "core/VnDllBuffer.h"

#include "core/VnBuffer.h"

void VnDllBuffer::SetSize(int64_t size) {
    Buffer->SetSize(size);
}

void* VnDllBuffer::GetData() {
    return Buffer->GetData();
}

int64_t VnDllBuffer::GetSize() const {
    return Buffer->GetSize();
}

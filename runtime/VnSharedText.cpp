#include "runtime/VnSharedText.h"

#include "core/VnString.h"
#include "runtime/IVnToolsRoot.h"
#include "runtime/VnSiblingModules.h"

#include <cstring>

wchar_t* VnCreateSharedText(const VnString& text) {
    IVnToolsRoot* root = VnGetToolsRoot();
    if (root == nullptr) {
        return nullptr;
    }
    const size_t size = (static_cast<size_t>(text.GetLength()) + 1) * sizeof(wchar_t);
    auto* copy = static_cast<wchar_t*>(root->Allocate(size));
    if (copy != nullptr) {
        std::memcpy(copy, text.GetText(), size);
    }
    return copy;
}

void VnFreeSharedText(wchar_t* text) {
    if (text == nullptr) {
        return;
    }
    if (IVnToolsRoot* root = VnGetToolsRoot(); root != nullptr) {
        root->Free(text);
    }
}

VnString VnTakeSharedText(wchar_t* text) {
    VnString result(text);
    VnFreeSharedText(text);
    return result;
}

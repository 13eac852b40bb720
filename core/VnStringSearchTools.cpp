#include "core/VnString.h"

#include "runtime/IVnStringTools.h"
#include "runtime/IVnToolsRoot.h"
#include "runtime/VnSiblingModules.h"

int32_t VnString::FindNoCase(const wchar_t* text, int32_t start, bool wantEnd) const {
    if (text == nullptr || start < 0 || start >= GetLength()) {
        return -1;
    }
    IVnToolsRoot* root = VnGetToolsRoot();
    IVnStringTools* tools = root == nullptr ? nullptr : root->GetStringTools(1);
    return tools == nullptr ? -1 : tools->FindNoCase(Characters, GetLength(), text, start, wantEnd);
}

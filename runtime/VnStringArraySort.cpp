#include "runtime/VnStringArraySort.h"

#include "core/VnStringArray.h"
#include "runtime/IVnStringTools.h"
#include "runtime/IVnToolsRoot.h"
#include "runtime/VnSiblingModules.h"

VnStringArraySort::VnStringArraySort(int32_t mode, bool flag)
    : Mode(mode)
    , Flag(flag)
    , Tools(VnGetToolsRoot()) {
}

int32_t VnStringArraySort::Compare(const VnString* a, const VnString* b) {
    IVnStringTools* tools = Tools == nullptr ? nullptr : Tools->GetStringTools(/*create=*/1);
    return tools == nullptr ? 0 : tools->Compare(a->GetText(), b->GetText(), Mode, Flag, -1);
}

void VnStringArray::Sort(int32_t mode, bool flag) {
    VnStringArraySort order(mode, flag);
    const VnQSort<VnString> sort(Data, GetCount(), order);
}

bool VnStringArray::IsSorted(int32_t mode) const {
    VnStringArraySort order(mode, /*flag=*/true);
    for (int32_t index = 1; index < GetCount(); ++index) {
        if (order.Compare(Data + index - 1, Data + index) > 0) {
            return false;
        }
    }
    return true;
}

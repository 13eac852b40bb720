#include "core/VnUniqueStringArray.h"

VnUniqueStringArray::VnUniqueStringArray(bool caseFlag) : CaseFlag(caseFlag) {
    Hashes.SetNodeAllocator(true);
}

int32_t VnUniqueStringArray::Add(const VnString& text) {
    return InsertAt(Strings.GetCount(), text);
}

int32_t VnUniqueStringArray::InsertAt(int32_t index, const VnString& text) {
    return Hashes.Add(GetHash(text)) ? Strings.InsertAt(index, text) : -1;
}

bool VnUniqueStringArray::Contains(const VnString& text) const {
    return Hashes.Contains(GetHash(text));
}

void VnUniqueStringArray::Empty() {
    Strings.Empty();
    Hashes.RemoveAll();
}

VnStringHashBase<false> VnUniqueStringArray::GetHash(const VnString& text) const {
    return VnStringHashBase<false>(text.Hash64(/*fold=*/!CaseFlag));
}

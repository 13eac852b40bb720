#pragma once

#include "core/VnString.h"
#include "runtime/VnQSort.h"

#include <cstdint>

class IVnToolsRoot;

/// Order of texts by the compare of the tools module, which is loaded for it. Without the module
/// all texts are of equal order.
class VnStringArraySort final : public IVnQSortCompare<VnString> {
public:
    /// `mode` and `flag` are handed to IVnStringTools::Compare as they are.
    explicit VnStringArraySort(int32_t mode, bool flag = true);

    int32_t Compare(const VnString* a, const VnString* b) override;

private:
    int32_t Mode;
    bool Flag;
    IVnToolsRoot* Tools; ///< null without the module
};

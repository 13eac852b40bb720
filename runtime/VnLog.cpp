#include "runtime/VnLog.h"

#include "runtime/IVnToolsRoot.h"
#include "runtime/VnSiblingModules.h"

#include <algorithm>

namespace {

constexpr int32_t kSmallArgumentCount = 4;
constexpr int32_t kLargeArgumentCount = 20;

/// Null without the tools module, which isn't loaded for the log.
IVnLogManager* GetLogManager() {
    IVnToolsRoot* tools = VnGetToolsRoot(/*load=*/false);
    return tools == nullptr ? nullptr : tools->GetLogManager(/*create=*/1);
}

/// The arguments as the log manager takes them: an array of pointers at one of its fixed sizes.
class CArgumentPointers {
public:
    CArgumentPointers(const VnFormatArg* args, int32_t count) {
        count = std::clamp(count, 0, kLargeArgumentCount);
        if (count > 0) {
            Count = count <= kSmallArgumentCount ? kSmallArgumentCount : kLargeArgumentCount;
        }
        for (int32_t index = 0; index < Count; ++index) {
            Pointers[index] = index < count ? args + index : &Spare;
        }
    }

    const VnFormatArg* const* Get() const { return Pointers; }
    int32_t GetCount() const { return Count; }

private:
    const VnFormatArg Spare; ///< no type
    const VnFormatArg* Pointers[kLargeArgumentCount];
    int32_t Count = 0;
};

} // namespace

void VnLogEntry(uint32_t category,
                const wchar_t* name,
                const wchar_t* format,
                const VnFormatArg* args,
                int32_t count) {
    if (IVnLogManager* manager = GetLogManager()) {
        const CArgumentPointers pointers(args, count);
        manager->Log(category, name, format, pointers.Get(), pointers.GetCount());
    }
}

void VnLogEntry(uint32_t category,
                const wchar_t* name,
                const char* format,
                const VnFormatArg* args,
                int32_t count) {
    if (IVnLogManager* manager = GetLogManager()) {
        const CArgumentPointers pointers(args, count);
        manager->LogNarrow(category, name, format, pointers.Get(), pointers.GetCount());
    }
}

bool VnIsLogWanted(uint32_t category) {
    IVnLogManager* manager = GetLogManager();
    return manager != nullptr && manager->IsWanted(category);
}

CLogToStringItem::CLogToStringItem(uint32_t mask) : Mask(mask) {
    if (IVnLogManager* manager = GetLogManager()) {
        manager->AddCustomOutput(this);
    }
}

CLogToStringItem::~CLogToStringItem() {
    if (IVnLogManager* manager = GetLogManager()) {
        manager->RemoveCustomOutput(this);
    }
}

void CLogToStringItem::Output(uint32_t category, const wchar_t* text, int32_t length) {
    if ((category & Mask) != 0) {
        Lines.Add(VnString(text, length));
    }
}

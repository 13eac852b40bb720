#pragma once

#include <cstdint>

/// A context menu that the plug-in fills (mode 0) or whose chosen entry it runs (mode 1). Owned by
/// the host.
class IVnHandheldMenu {
public:
    /// Slot 0. Adds an entry; the three last arguments are 0.
    virtual void AddEntry(
        int32_t commandId, const wchar_t* text, int32_t first, int32_t second, int32_t third) = 0;

    int32_t ChosenId = 0; ///< id of the entry that the user chose; the first data member

protected:
    ~IVnHandheldMenu() = default;
};

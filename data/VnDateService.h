#pragma once

#include "runtime/IVnDateService.h"
#include "runtime/IVnToolsRoot.h"
#include "runtime/VnSiblingModules.h"

/// The date service of the tools module, null without the module. It belongs to the module.
inline IVnDateService* VnGetDateService() {
    IVnToolsRoot* root = VnGetToolsRoot();
    return root == nullptr ? nullptr : root->GetDateService(1);
}

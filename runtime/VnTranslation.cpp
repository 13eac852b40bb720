#include "runtime/VnTranslation.h"

#include "core/VnDllString.h"
#include "runtime/IVnToolsRoot.h"
#include "runtime/IVnTranslator.h"
#include "runtime/VnSiblingModules.h"

VnString VnTranslated(const wchar_t* text) {
    VnString result(text);
    IVnToolsRoot* root = VnGetToolsRoot();
    IVnTranslator* translator = root == nullptr ? nullptr : root->GetTranslator(1);
    if (translator != nullptr) {
        VnDllString adapter(result);
        translator->Translate(adapter);
    }
    return result;
}
